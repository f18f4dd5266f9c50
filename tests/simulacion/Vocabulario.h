#pragma once

// What can be pressed and chosen, and the small world in which it happens.

#include "tests/simulacion/Mensajes.h"

#include <QtCore/QDate>
#include <QtCore/QStringList>
#include <QtCore/Qt>

#include <array>
#include <functional>

namespace simulacion
{

/// The agenda that the workstations work in: that of several notaries one by one, the single table of one
/// notary or of two, or the day of several notaries side by side.
enum class TCual : quint8 { multi, unica, doble, conjunta };
inline constexpr std::array<TCual, 4> Agendas{TCual::multi, TCual::unica, TCual::doble, TCual::conjunta};
inline constexpr std::array<const char *, 4> NombresDeAgendas{"multi", "unica", "doble", "conjunta"};
inline QString NombreDe(TCual cual)
{
    return QString::fromUtf8(NombresDeAgendas.at(static_cast<std::size_t>(cual)));
}

inline constexpr int Notarios = 2;
constexpr bool EsDeUnaTabla(TCual cual)
{
    return cual == TCual::unica || cual == TCual::doble;
}
/// How many tables an agenda has.
constexpr int TablasDe(TCual cual)
{
    return EsDeUnaTabla(cual) ? 1 : Notarios;
}
/// Between the two notaries' halves of a text.
inline constexpr QChar EntreMitades = u'/';
/// A line out of its fields, whoever holds them. @param texto  the text of a field by its name; of a day of
/// two notaries of each half.
[[nodiscard]] TLinea LineaDe(TCual cual, const QString &fecha,
                             const std::function<QString(const char *)> &texto);

/// Added to a record number where a step names a line by it, not by its place among the live ones.
inline constexpr int PorMarca = 1'000'000;
inline constexpr int Dias = 4;
/// The days of the small world, Monday the first.
inline QDate Dia(int cual)
{
    return QDate(2026, 11, 16).addDays(cual);
}
/// A text of its own for every step, found again wherever it goes.
inline QString Texto(int numero)
{
    return QStringLiteral("T%1.").arg(numero);
}
inline QString Hora(int cual)
{
    static const QStringList horas{QStringLiteral("09:00"), QStringLiteral("09:30"), QStringLiteral("10:00"),
                                   QStringLiteral("10:30"), QStringLiteral("11:00"), QStringLiteral("11:30")};
    return horas.at(cual % horas.size());
}

enum TTecla {
    arriba,
    abajo,
    intro,
    escape,
    tabulador,
    suprimir,
    insertar,
    espacio,
    borraTexto,
    cifra,
    mayInsertar,
    ctrlC,
    ctrlV,
    izquierda,
    derecha
};
struct TPulsacion {
    Qt::Key Tecla;
    Qt::KeyboardModifiers Con;
    const char *Nombre;
};
inline const std::array<TPulsacion, 15> Teclas{{{Qt::Key_Up, {}, "arriba"},
                                                {Qt::Key_Down, {}, "abajo"},
                                                {Qt::Key_Return, {}, "Intro"},
                                                {Qt::Key_Escape, {}, "Esc"},
                                                {Qt::Key_Tab, {}, "Tab"},
                                                {Qt::Key_Delete, {}, "Supr"},
                                                {Qt::Key_Insert, {}, "Ins"},
                                                {Qt::Key_Space, {}, "espacio"},
                                                {Qt::Key_U, Qt::ControlModifier, "Ctrl+U"},
                                                {Qt::Key_1, {}, "1"},
                                                {Qt::Key_Insert, Qt::ShiftModifier, "Mayús+Ins"},
                                                {Qt::Key_C, Qt::ControlModifier, "Ctrl+C"},
                                                {Qt::Key_V, Qt::ControlModifier, "Ctrl+V"},
                                                {Qt::Key_Left, {}, "izquierda"},
                                                {Qt::Key_Right, {}, "derecha"}}};

enum TAccion {
    nuevo,
    modificar,
    detalles,
    borrar,
    salida,
    ausente,
    sincronizar,
    anterior,
    siguiente,
    buscarDia,
    copiar,
    mover,
    imprimirDia,
    imprimirSemana,
    copiarAnotacion,
    pegar,
    volver,
    salidaDelOtro,
    ausenteElOtro,
    limpiar,
    completar,
    pegarAHora,
    vaciar
};
/// The names of the commands in each agenda; null where it has none.
inline constexpr std::array<std::array<const char *, 4>, 23> Acciones{
    {{"ANuevo", "Nuevo", "Nuevo", "ANuevo"},
     {"AModificar", "Modificar", "Modificar", nullptr},
     {"ADetalles", nullptr, nullptr, nullptr},
     {"ABorrar", "Borrar", "Borrar", "ABorrar"},
     {"ASalida", "Salida", "AcSalidaNotario1", "ASalida"},
     {"AAusente", "Ausente", "AcAusenteNotario1", "AAusente"},
     {"ASincronizarDia", nullptr, nullptr, nullptr},
     {"ADiaAnterior", "Anterior", "Anterior", "ADiaAnterior"},
     {"ADiaSiguiente", "Siguiente", "Siguiente", "ADiaSiguiente"},
     {"ABuscarDia", nullptr, nullptr, "ABuscarDia"},
     {"ACopiarCita", nullptr, nullptr, nullptr},
     {"AMoverCita", nullptr, nullptr, nullptr},
     {"AImprimirDia", "ImprimirDia", "Imprimir", "AImprimirDia"},
     {"AImprimirSemana", "ImprimirSemana", nullptr, "AImprimirSemana"},
     {nullptr, "Copiar", "Copiar", "ACopiar"},
     {nullptr, "Pegar", "Pegar", "APegar"},
     {nullptr, nullptr, "AcAceptar", nullptr},
     {nullptr, nullptr, "AcSalidaNotario2", nullptr},
     {nullptr, nullptr, "AcAusenteNotario2", nullptr},
     {nullptr, nullptr, nullptr, "ALimpiar"},
     {nullptr, nullptr, nullptr, "ACompletar"},
     {nullptr, nullptr, nullptr, "APegarHora"},
     {nullptr, nullptr, nullptr, "AVaciar"}}};
/// A command's name in the first agenda that has it.
[[nodiscard]] QString NombreDeAccion(int accion);

enum TCampo { enConcepto, enHora, enHoraFin, enFecha, enInteresado, enOficial, enSalida };
/// Of the card, and of the panel below the lines of the single table.
inline constexpr std::array<const char *, 7> Campos{"DBMConcepto", "MEHora", "MEHoraFin", "MEFecha",
                                                    "EInteresado", nullptr,  nullptr};
inline constexpr std::array<const char *, 7> CamposDelPanel{
    "DBEConcepto", "MEHora", nullptr, nullptr, "DBEInteresado", "DBEOficial", "DBCBSalida"};
enum TBoton { aceptar, cancelar, salir, modificarFicha, borrarFicha, nuevoFicha };
inline constexpr std::array<const char *, 6> Botones{"BAceptar",   "BCancelar", "BSalir",
                                                     "BModificar", "BBorrar",   "BNuevo"};
/// What a step with a failing call fails in.
enum TLlamada { alLeer, alProyectar, alAbrir, alBloquear, alReservar };
/// How a date is typed into the window's field.
enum TFormaDeFecha { entera, aMedias, trasBorrarTodo, sinSalir };

/// Whether a step may show another day, and so build sheets.
inline bool LlevaAOtroDia(const TPaso &paso)
{
    return paso.Verbo == TVerbo::fecha || paso.Verbo == TVerbo::abre ||
           (paso.Verbo == TVerbo::accion && paso.A >= sincronizar && paso.A <= buscarDia);
}

/// A step, for who reads a run.
[[nodiscard]] QString EnPalabras(const TPaso &paso);

} // namespace simulacion
