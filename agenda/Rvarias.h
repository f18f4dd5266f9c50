#pragma once

#include <QtCore/QString>

/// Whether a text is made of decimal digits only; false for an empty one.
[[nodiscard]] bool EsUnNumero(const QString &texto);
[[nodiscard]] bool EsUnNumero(QChar caracter);

/// Checks a date as a clerk types it and normalises it in place to "dd/mm/yyyy".
///
/// Taken: day, month and year with "/", "-", "." or blanks between them, the first two of one or two digits;
/// or without separators as ddmmyy or ddmmyyyy; blanks inside the parts are ignored. A two-digit year lies in
/// the hundred years that begin 80 before the current one: an office writes down appointments of the coming
/// years and, at most, dates of this working life.
/// @param fecha           the text; untouched when it is refused.
/// @param admiteVacia     an empty text (or a mask's blanks and slashes) is then valid and becomes empty.
/// @param admiteSinAnyo   day and month alone then mean the current year.
/// @return true for a date that exists; 31/02 does not.
bool VerificaFecha(QString &fecha, bool admiteVacia = false, bool admiteSinAnyo = false);
