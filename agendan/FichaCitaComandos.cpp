// The buttons of the card.

#include "agenda/ClaseConfAgendaN.h"
#include "agenda/GuardaVentana.h"
#include "agenda/host/Servicios.h"
#include "agendan/FichaCita.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/DataSource.h"
#include "dbcontrols/MaskEdit.h"

#include <QtCore/QHash>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>

#include <array>
#include <utility>

using dataset::DataSet;

/// Which lines an appointment may be written over: those that still are as its clerk has seen them, and of
/// days that he does not see the empty ones.
class TLineasVistas
{
public:
    explicit TLineasVistas(const DataSet &tabla)
        : m_hayDia(tabla.hasRange())
    {
        if (!m_hayDia)
            return; // no sheet is shown, and the whole table is too much to look at
        for (const dataset::Bookmark linea : tabla.rows())
            m_vistas.insert(linea, tabla.seen(linea));
    }
    /// @throws dataset::EDatabaseError, kind conflict, when the current line is not to be written over.
    void Comprueba(DataSet &tabla) const
    {
        if (const auto vista = m_vistas.constFind(tabla.bookmark()); vista != m_vistas.cend()) {
            tabla.goToSeen(*vista);
            return;
        }
        for (const QStringView campo : {u"CONCEPTO", u"INTERESADO"}) {
            if (m_hayDia && !tabla.field(campo).asText().trimmed().isEmpty())
                throw dataset::EDatabaseError(QStringLiteral("Hay otra cita que no estaba a la vista"),
                                              dbase::ErrorKind::conflict);
        }
    }

private:
    bool m_hayDia;
    QHash<dataset::Bookmark, dataset::SeenRecord> m_vistas;
};

namespace
{

/// What an appointment hands on to the slots up to its end.
class TDatosDeCita
{
public:
    explicit TDatosDeCita(DataSet &tabla)
        : m_codigo(tabla.field(u"CODCLIENTE").isNull() ? QVariant() : tabla.field(u"CODCLIENTE").asInteger())
    {
        for (std::size_t i = 0; i < Textos.size(); ++i)
            m_textos[i] = tabla.field(Textos[i]).asText();
    }
    void Escribe(DataSet &tabla) const
    {
        for (std::size_t i = 0; i < Textos.size(); ++i)
            tabla.field(Textos[i]).setText(m_textos[i]);
        tabla.field(u"CODCLIENTE").setValue(m_codigo);
    }

private:
    static constexpr std::array<QStringView, 5> Textos{u"OFICIAL", u"SALIDA", u"AVISO", u"INTERESADO",
                                                       u"CONCEPTO"};
    std::array<QString, 5> m_textos;
    QVariant m_codigo;
};

/// Shows a day's lines for as long as it lives, where the table is restricted to another day; the day shown
/// before comes back afterwards. The current line stays the current one both times.
class TDiaDeLaCita
{
public:
    TDiaDeLaCita(TClassAgendaN &motor, QDate fecha)
        : m_motor(motor)
        , m_mostrado(motor.DiaPedido())
        , m_marca(motor.TablaActual().tag())
        , m_cambiado(motor.TablaActual().hasRange() && m_mostrado.isValid() && fecha.isValid() &&
                     m_mostrado != fecha)
    {
        if (m_cambiado)
            Muestra(fecha);
    }
    ~TDiaDeLaCita()
    {
        if (!m_cambiado)
            return;
        try {
            Muestra(m_mostrado);
            m_motor.TablaActual().setTag(m_marca);
        } catch (const dataset::EDatabaseError &error) {
            qWarning("The day shown before could not be shown again: %s", error.what());
        }
    }
    TDiaDeLaCita(const TDiaDeLaCita &) = delete;
    TDiaDeLaCita &operator=(const TDiaDeLaCita &) = delete;

private:
    void Muestra(QDate fecha)
    {
        const dataset::Bookmark linea = m_motor.TablaActual().bookmark();
        m_motor.RangoPorFecha(fecha);
        m_motor.TablaActual().goToBookmark(linea);
    }
    TClassAgendaN &m_motor;
    QDate m_mostrado;
    int m_marca;
    bool m_cambiado;
};

/// Copies the appointment into a line that the engine has put into edit or insert. @return false when it was
/// not written.
bool EscribeYAcepta(TClassAgendaN &motor, const TDatosDeCita &datos)
{
    dataset::PendingEditGuard aMedias(motor.TablaActual());
    datos.Escribe(motor.TablaActual());
    const bool aceptada = motor.AceptarAgendaN();
    aMedias.keep();
    return aceptada;
}

} // namespace

void TFFichaCitas::AvisaSiFallo(const QString &que)
{
    // Without an error of its own the engine has done what it was asked, has spoken itself, or the user has
    // said no.
    const QString causa = m_motor->TomaError();
    if (!causa.isEmpty())
        AvisaDeError(que + u'\n' + causa);
}

void TFFichaCitas::EmpiezaEdicion()
{
    m_borrador.Empieza(Tabla());
    ActivarHoraFin(true);
    DesactivarBotones();
}

void TFFichaCitas::BNuevoClick()
{
    EjecutaConGuarda([this] {
        DataSet &tabla = Tabla();
        const QDate deLaLinea = tabla.field(u"FECHA").asDate();
        const QString hora = IncrementaHora(tabla.field(u"HORA").asText(), goConfAgendaN->GetIncrementoMin());
        static_cast<void>(m_motor->TomaError());
        // A day without lines has no line to take the date from.
        m_motor->Anadir(deLaLinea.isValid() ? deLaLinea : m_motor->DiaPedido(), hora);
        // Deliberate: whether that went well makes no difference to the card.
        EmpiezaEdicion();
        AvisaSiFallo(QStringLiteral("No se ha podido añadir la cita."));
    });
}

void TFFichaCitas::BModificarClick()
{
    EjecutaConGuarda([this] {
        static_cast<void>(m_motor->TomaError());
        if (m_motor->Modificar(dataset::EditOf::fresh)) // the card shows it before anything is typed
            EmpiezaEdicion();
        else
            AvisaSiFallo(QStringLiteral("No se ha podido modificar la cita."));
    });
}

void TFFichaCitas::BBorrarClick()
{
    EjecutaConGuarda([this] {
        if (Tabla().isEmpty()) {
            TMensaje mensaje;
            mensaje.Texto = QStringLiteral("No hay citas introducidos para borrar");
            mensaje.Titulo = QStringLiteral(" ATENCIÓN");
            mensaje.Texto2 = QStringLiteral("Inserte primero una.");
            Servicios().Mensaje->Mensajes(mensaje);
            return;
        }
        static_cast<void>(m_motor->TomaError());
        m_motor->Borrar(true);
        AvisaSiFallo(QStringLiteral("No se ha podido borrar la cita."));
    });
}

void TFFichaCitas::BCancelarClick()
{
    EjecutaConGuarda([this] {
        QWidget *const antes = m_conFoco == BCancelar ? m_salidaPendiente : m_conFoco;
        PonFoco(*BCancelar);
        LExplica->clear();
        if (m_motor->CancelarAgendaN(true))
            ActivarBotones();
        else if (antes)
            PonFoco(*antes); // back to what was being typed, which has not been looked at yet
    });
}

void TFFichaCitas::BSalirClick()
{
    close();
}

void TFFichaCitas::BAceptarClick()
{
    // A press that began before the clerk was told of a bad date may end after it: he may want another day
    // than the one before.
    if (std::exchange(m_fechaRechazada, false))
        return;
    // The date, time and party fields write into the record when they are left.
    PonFoco(*BAceptar);
    if (m_fechaRechazada)
        return;
    // What leaving the party field has just told is to be read, also when the card goes back to rest.
    m_avisoAyuda = LExplica->toolTip();
    if (m_avisoAyuda.isEmpty())
        LExplica->clear();
    EjecutaConGuarda([this] { Acepta(); });
}

void TFFichaCitas::Acepta()
{
    DataSet &tabla = Tabla();
    static_cast<void>(m_motor->TomaError());
    const TLineasVistas vistas(tabla); // storing the line takes in what others have written
    m_borrador.Guarda(tabla);
    const bool enSuLinea =
        !m_borrador.EnEspera() || m_borrador.Recupera(*m_motor) == TBorradorCita::TLugar::suLinea;
    if (!enSuLinea || !m_motor->AceptarAgendaN()) {
        RecuperaLoTecleado();
        return;
    }
    /// Also when an error escapes.
    struct TReposo {
        TFFichaCitas &Ficha;
        ~TReposo() { Ficha.ActivarBotones(); }
    } const reposo{*this};
    const QString horaFin = MEHoraFin->text();
    if (!MEHoraFin->isHidden() && horaFin.trimmed() != u":")
        RellenaHasta(horaFin, vistas);
}

void TFFichaCitas::RecuperaLoTecleado()
{
    const QString causa = m_motor->TomaError();
    const TBorradorCita::TLugar lugar = m_borrador.Recupera(*m_motor);
    static_cast<void>(m_motor->TomaError());
    QString destino;
    switch (lugar) {
    case TBorradorCita::TLugar::suLinea:
    case TBorradorCita::TLugar::enEspera:
        destino = QStringLiteral("Lo que ha escrito sigue en la ficha: puede aceptarlo de nuevo.");
        break;
    case TBorradorCita::TLugar::lineaNueva:
        destino = QStringLiteral("Lo que ha escrito está ahora en una cita nueva: puede aceptarla.");
        m_borrador.Empieza(Tabla());
        break;
    case TBorradorCita::TLugar::ninguno:
        destino = QStringLiteral("Lo que ha escrito no se ha podido conservar.");
        break;
    }
    const QString porQue = causa.isEmpty() ? QString() : causa + u'\n';
    AvisaDeError(QStringLiteral("No se ha podido guardar la cita.\n") + porQue + destino);
    if (lugar == TBorradorCita::TLugar::ninguno)
        ActivarBotones();
}

/// Copies the accepted line, the current one, onto the lines of its day that follow up to an end time, and
/// onto the line of that time, which is added where there is none. Lines that are not to be written over are
/// named.
/// @throws dataset::EConvertError for an end time that is none.
void TFFichaCitas::RellenaHasta(const QString &horaFin, const TLineasVistas &vistas)
{
    // Said before the first line, also where no line follows that it would be compared with.
    static_cast<void>(CompararHoras(horaFin, QStringLiteral("00:00")));
    DataSet &tabla = Tabla();
    QStringList sinRellenar;
    QString causa;
    {
        const dataset::ControlsGuard sinAvisos(tabla);
        const QDate fecha = tabla.field(u"FECHA").asDate();
        const TDatosDeCita datos(tabla);
        const TDiaDeLaCita dia(*m_motor, fecha);
        const auto rellena = [&](bool preparada, const QString &hora) {
            if (!preparada || !EscribeYAcepta(*m_motor, datos))
                sinRellenar << hora;
        };
        const auto modifica = [&] {
            try {
                vistas.Comprueba(tabla);
            } catch (const dataset::EDatabaseError &error) {
                causa = error.text();
                return false;
            }
            return m_motor->Modificar();
        };
        tabla.next();
        while (!tabla.eof() && CompararHoras(horaFin, tabla.field(u"HORA").asText()) == 1 &&
               tabla.field(u"FECHA").asDate() == fecha) {
            const dataset::Bookmark linea = tabla.bookmark();
            const QString hora = tabla.field(u"HORA").asText();
            rellena(modifica(), hora);
            // A line that another workstation has just deleted has made room for the one behind it already.
            if (tabla.bookmark() == linea)
                tabla.next();
        }
        // Deliberate: only the time and the end of the table count here, not the day. In a table that is not
        // restricted to a day this may be the first line of the next one.
        const bool hayLinea = !tabla.eof() && tabla.field(u"HORA").asText() == horaFin;
        rellena(hayLinea ? modifica() : m_motor->Anadir(fecha, horaFin), horaFin);
    }
    if (const QString delMotor = m_motor->TomaError(); !delMotor.isEmpty())
        causa = delMotor;
    if (!sinRellenar.isEmpty())
        AvisaDeError(
            QStringLiteral("La cita se ha guardado, pero no se han podido rellenar estas horas: %1.\n%2")
                .arg(sinRellenar.join(QStringLiteral(", ")), causa));
}
