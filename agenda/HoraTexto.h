#pragma once

#include <QtCore/QString>

#include <optional>

/// Adds minutes to a time text "hh:nn" and gives a time text; past midnight it wraps, no day is carried.
/// @param hora     the hour is all that stands before the first ":", the minute the last two characters.
/// @param minutos  may be negative.
/// @throws dataset::EConvertError for an hour of 24 or more or a minute of 60 or more.
[[nodiscard]] QString IncrementaHora(const QString &hora, int minutos);

/// Compares two time texts: hours first, then minutes. One part may be blank and counts 0 then.
///
/// Deliberate: the bounds are lax, so that 24:60 passes, and two equal texts are not checked at all.
/// @return 1 when `a` is later, -1 when it is earlier, 0 for the same time.
/// @throws dataset::EConvertError "FORMATO DE HORA INCORRECTO" for a text that is not two parts around ":" or
/// is out of bounds; another text for a part that is no number.
[[nodiscard]] int CompararHoras(const QString &a, const QString &b);

/// Minutes since midnight of a time text, which may lie outside the day; nothing when it holds no ":", or
/// more hours than a line's field has room for.
[[nodiscard]] std::optional<int> MinutosDeHora(const QString &hora);
/// The time text of a number of minutes. Deliberate: no wrap at midnight, and none below zero.
[[nodiscard]] QString HoraDeMinutos(int minutos);

/// What a clerk types for an hour, as a time text "hh:nn": "9", "9:5", "930", "0930", "9.30" and blanks are
/// understood.
/// @throws dataset::EConvertError for anything that is no time of day.
[[nodiscard]] QString NormalizaHora(const QString &tecleado);

/// Whether a line of this hour is seen in the sheet of its day: 00:00 to 23:59, compared as texts.
[[nodiscard]] bool SeVeEnSuHoja(const QString &hora);
