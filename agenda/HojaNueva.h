#pragma once

#include "agenda/HojaDia.h"

#include <QtCore/QDate>
#include <QtCore/QString>

// How a day sheet comes to be, the same for every engine over AGENDA_N tables.

/// What the settings say about a day sheet, asked for again at every slot.
[[nodiscard]] TParrilla ParrillaDeAjustes();

/// Leaves a new line (SALIDA and AVISO "N") in insert mode. @throws dataset::EDatabaseError
void InsertaLinea(dataset::DataSet &tabla, QDate fecha, const QString &hora);

/// Adds the lines of a day sheet to a table, whose range is dropped for it. The whole sheet is one change of
/// the table; when that cannot be, it is added line by line, and the user is told of each line that is lost.
/// @param soloSiFalta  nothing is added when another workstation has built the day in the meantime.
/// @throws dataset::EDatabaseError when the settings cannot be read.
void AnadeHojaDelDia(dataset::DataSet &tabla, QDate fecha, bool soloSiFalta);
