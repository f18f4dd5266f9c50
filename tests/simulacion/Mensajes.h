#pragma once

// What the scheduler and a workstation say to each other: one order, one answer.

#include <QtCore/QDataStream>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <compare>
#include <tuple>

namespace simulacion
{

/// What a step does. The clerk's ones first, then those of the machine, then those of another program.
enum class TVerbo : quint8 {
    tecla,        ///< a: key of Teclas
    texto,        ///< a: number of the text that is typed
    accion,       ///< a: command of Acciones
    clic,         ///< a: row, b: 1 with Ctrl
    pestana,      ///< a: tab
    fecha,        ///< a: day, b: way of typing it, see TFormaDeFecha
    memo,         ///< a: number of the text that is typed into the memo below the grid
    responde,     ///< a: 1 yes
    eligeDia,     ///< a: day or hour; -1: the prompt is cancelled
    campo,        ///< of the card; a: one of Campos, b: what is typed
    boton,        ///< of the card; a: one of Botones
    abre,         ///< the window is opened again
    tic,          ///< the refresh timer fires
    sigue,        ///< a slow file call comes to its end
    mata,         ///< the workstation dies where it stands
    otroCambia,   ///< another program; a: notary, b: which line, c: number of the text
    otroMueve,    ///< b: which line, c: day
    otraHora,     ///< b: which line, c: hour
    otroBorra,    ///< b: which line
    otroAnade,    ///< b: day, c: number of the text
    bloqueaTabla, ///< a: notary; nobody else writes until "suelta"
    bloqueaLinea, ///< a: notary, b: which line
    suelta,
};

/// What goes wrong with a file call of the step; broken: with all further ones of its kind.
enum class TPercance : quint8 { ninguno, falla, lenta, muere, rota };

struct TPaso {
    quint8 Puesto = 0;
    TVerbo Verbo = TVerbo::tic;
    qint32 A = 0;
    qint32 B = 0;
    qint32 C = 0;
    TPercance Percance = TPercance::ninguno;
    qint32 Llamada = 0; ///< which file call of the step, from 1
    friend bool operator==(const TPaso &, const TPaso &) = default;
    template <class T> static auto Partes(T &x)
    {
        return std::tie(x.Puesto, x.Verbo, x.A, x.B, x.C, x.Percance, x.Llamada);
    }
};
using TPasos = QList<TPaso>;

/// A line as a screen or a table has it; FECHA as yyyyMMdd, and SALIDA where a field of its own tells it.
struct TLinea {
    QString Fecha, Hora, Concepto, Interesado, Oficial, Salida;
    friend bool operator==(const TLinea &, const TLinea &) = default;
    template <class T> static auto Partes(T &x)
    {
        return std::tie(x.Fecha, x.Hora, x.Concepto, x.Interesado, x.Oficial, x.Salida);
    }
    [[nodiscard]] bool SinTexto() const
    {
        return Concepto.isEmpty() && Interesado.isEmpty() && Oficial.isEmpty();
    }
    [[nodiscard]] QString EnTexto() const
    {
        return QStringList{Fecha, Hora, Concepto, Interesado, Oficial}.join(u'|') +
               (Salida.isEmpty() ? QString() : u'|' + Salida);
    }
};

/// Where a line stands, whatever it says.
struct TSitio {
    qint32 Notario = 1; ///< whose table
    quint32 Marca = 0;  ///< record number; 0: none
    friend auto operator<=>(const TSitio &, const TSitio &) = default;
    template <class T> static auto Partes(T &x) { return std::tie(x.Notario, x.Marca); }
};

struct TFila {
    TSitio Sitio;
    TLinea Linea;
    template <class T> static auto Partes(T &x) { return std::tie(x.Sitio, x.Linea); }
};

/// What stands on a workstation's screen.
struct TPantalla {
    QString Fecha; ///< text of the date field
    bool FechaConFoco = false;
    QList<TFila> Filas;
    TSitio Actual;
    qint32 FilaActual = -1;
    QList<TSitio> Seleccion;
    bool Editando = false; ///< the table's line, wherever
    bool Editor = false;   ///< a cell, or the panel, can be typed into
    bool Ficha = false;
    bool FichaEditando = false;
    TFila EnFicha;
    QString Pendiente; ///< what has been typed and not stored
    bool FueraDeHora = false;
    QString Ayuda; ///< the help line, where a failed refresh is told
    QString Foco;  ///< name of the control under the keys
    template <class T> static auto Partes(T &x)
    {
        return std::tie(x.Fecha, x.FechaConFoco, x.Filas, x.Actual, x.FilaActual, x.Seleccion, x.Editando,
                        x.Editor, x.Ficha, x.FichaEditando, x.EnFicha, x.Pendiente, x.FueraDeHora, x.Ayuda,
                        x.Foco);
    }
};

enum class TEstado : quint8 {
    listo,
    pregunta,
    fecha,     ///< a date, or an hour, is asked for
    vista,     ///< a sheet is shown
    enLlamada, ///< in the middle of a slow file call
    cerrado,
    muerto
};

struct THoja {
    QString Fecha; ///< of the title
    QList<TLinea> Lineas;
    template <class T> static auto Partes(T &x) { return std::tie(x.Fecha, x.Lineas); }
};

struct TRespuesta {
    TEstado Estado = TEstado::cerrado;
    QString Pregunta;
    QStringList Avisos; ///< boxes that were only read
    TPantalla Pantalla;
    QList<THoja> Hojas;
    bool Hecho = true; ///< the step meant something in the state it met
    template <class T> static auto Partes(T &x)
    {
        return std::tie(x.Estado, x.Pregunta, x.Avisos, x.Pantalla, x.Hojas, x.Hecho);
    }
};

/// What goes over the channel says what it is made of.
template <class T>
concept TMensajePartido = requires(T &mensaje)
{
    T::Partes(mensaje);
};
template <TMensajePartido T> QDataStream &operator<<(QDataStream &s, const T &mensaje)
{
    std::apply([&s](const auto &...partes) { (s << ... << partes); }, T::Partes(mensaje));
    return s;
}
template <TMensajePartido T> QDataStream &operator>>(QDataStream &s, T &mensaje)
{
    std::apply([&s](auto &...partes) { (s >> ... >> partes); }, T::Partes(mensaje));
    return s;
}

} // namespace simulacion
