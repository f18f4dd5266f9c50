#pragma once

#include "dataset/DataSet.h"

#include <QtCore/QDate>
#include <QtCore/QString>

#include <functional>

// The rules of a day sheet that every engine of the house shares.

/// Marks in front of an appointment's subject.
inline const QString MarcaSalida = QStringLiteral("[SALIDA]");
inline const QString MarcaAusente = QStringLiteral("[AUSENTE]");

/// The settings that a day sheet is built from, asked at every slot.
struct TParrilla {
    std::function<int()> HoraInicio;
    std::function<int()> HoraFin;   ///< the last hour, included
    std::function<int()> Intervalo; ///< minutes; 0 or less ends the sheet after its first line
};

/// Calls `hueco` with hour and minute of every slot of a sheet, in order. Deliberate: past minute 59 the hour
/// steps once, whatever the interval; an hour of more than two digits ends the sheet.
void RecorreHuecos(const TParrilla &parrilla, const std::function<void(int hora, int minuto)> &hueco);

/// Which lines a day has: those with an hour between 00:00 and 23:59, or all of its date.
enum class TLineasDelDia { conHora, todas };

/// Restricts a table to the lines of a day (an invalid date changes nothing); when there are any, the table's
/// tag becomes 1, the mark of an active range.
/// @return whether the day has lines. @throws dataset::EDatabaseError
bool PonRangoDelDia(dataset::DataSet &tabla, QDate fecha, TLineasDelDia lineas = TLineasDelDia::conHora);
/// Whether the table bears the mark of an active range, and has one.
[[nodiscard]] bool HayRangoDelDia(const dataset::DataSet &tabla);
/// Drops the range, and the mark with it.
void QuitaRangoDelDia(dataset::DataSet &tabla);
/// Orders a table so that days can be shown, whatever indexes it has. Where that is another order than
/// before, the range goes, and the mark with it. @throws dataset::EDatabaseError
void OrdenaPorDia(dataset::DataSet &tabla);

/// Searches a table for a date and hour. With `exacta` false and an empty time: whether the line reached is
/// of that day. @throws dataset::EDatabaseError
bool BuscaLineaDeFecha(dataset::DataSet &tabla, QDate fecha, const QString &hora, bool exacta);

/// Runs work on every line of the table's range, in order; lines that are gone meanwhile are left out. The
/// cursor goes back to where it stood, or to the first line. @throws dataset::EDatabaseError
void RecorreLineas(dataset::DataSet &tabla, const std::function<void()> &trabajo);

enum class TSentido { anterior, siguiente };

/// Goes from the shown day to the nearest other one with lines, and shows it; lines of the shown day whose
/// hours are none of its sheet's are passed over.
/// @param tabla     the table that is looked at; its notices are held back meanwhile.
/// @param mostrado  the day shown now; it may have no lines.
/// @param rango     shows a day and tells whether it has lines; called once, with the day shown before when
///                  there is no other, and not where none could be looked for.
/// @return false when there is no other day. @throws dataset::EDatabaseError, with the day shown before in
/// place.
bool VeAOtroDia(dataset::DataSet &tabla, QDate mostrado, TSentido sentido,
                const std::function<bool(QDate)> &rango);
