#pragma once

// What can be pressed and chosen, and the small world in which it happens.

#include "tests/simulacion/Mensajes.h"

#include <QtCore/QDate>
#include <QtCore/QStringList>
#include <QtCore/Qt>

#include <array>

namespace simulacion
{

inline constexpr int Notarios = 2;
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

enum TTecla { arriba, abajo, intro, escape, tabulador, suprimir, insertar, espacio, borraTexto, cifra };
struct TPulsacion {
    Qt::Key Tecla;
    Qt::KeyboardModifiers Con;
    const char *Nombre;
};
inline const std::array<TPulsacion, 10> Teclas{{{Qt::Key_Up, {}, "arriba"},
                                                {Qt::Key_Down, {}, "abajo"},
                                                {Qt::Key_Return, {}, "Intro"},
                                                {Qt::Key_Escape, {}, "Esc"},
                                                {Qt::Key_Tab, {}, "Tab"},
                                                {Qt::Key_Delete, {}, "Supr"},
                                                {Qt::Key_Insert, {}, "Ins"},
                                                {Qt::Key_Space, {}, "espacio"},
                                                {Qt::Key_U, Qt::ControlModifier, "Ctrl+U"},
                                                {Qt::Key_1, {}, "1"}}};

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
    imprimirSemana
};
inline constexpr std::array<const char *, 14> Acciones{
    "ANuevo",      "AModificar",      "ADetalles",    "ABorrar",        "ASalida",
    "AAusente",    "ASincronizarDia", "ADiaAnterior", "ADiaSiguiente",  "ABuscarDia",
    "ACopiarCita", "AMoverCita",      "AImprimirDia", "AImprimirSemana"};

enum TCampo { enConcepto, enHora, enHoraFin, enFecha, enInteresado };
inline constexpr std::array<const char *, 5> Campos{"DBMConcepto", "MEHora", "MEHoraFin", "MEFecha",
                                                    "EInteresado"};
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
