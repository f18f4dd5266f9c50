#pragma once

#include <QtCore/QString>

/// Adds minutes to a time text "hh:nn" and gives a time text; past midnight it wraps, no day is carried.
/// @param hora     the hour is all that stands before the first ":", the minute the last two characters.
/// @param minutos  may be negative.
/// @throws dataset::EConvertError for an hour of 24 or more or a minute of 60 or more.
[[nodiscard]] QString IncrementaHora(const QString &hora, int minutos);

/// What a clerk types for an hour, as a time text "hh:nn": "9", "9:5", "930", "0930", "9.30" and blanks are
/// understood.
/// @throws dataset::EConvertError for anything that is no time of day.
[[nodiscard]] QString NormalizaHora(const QString &tecleado);
