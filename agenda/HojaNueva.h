#pragma once

#include "agenda/HojaDia.h"

#include <QtCore/QDate>
#include <QtCore/QString>
#include <QtCore/QStringList>

// How a day sheet comes to be, the same for every engine over AGENDA_N tables.

/// What the settings say about a day sheet now. @throws dataset::EDatabaseError when they cannot be read.
[[nodiscard]] TParrilla ParrillaDeAjustes();

/// Adds the lines of a day sheet to a table, whose range is dropped for it. The whole sheet is one change of
/// the table; when that cannot be, it is added line by line.
/// @param soloSiFalta  nothing is added when another workstation has built the day in the meantime.
/// @return the slots that could not be added, of which the user is to be told.
/// @throws dataset::EDatabaseError when the settings cannot be read.
[[nodiscard]] QStringList AnadeHojaDelDia(dataset::DataSet &tabla, QDate fecha, bool soloSiFalta);
