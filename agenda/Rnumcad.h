#pragma once

#include <QtCore/QDate>
#include <QtCore/QString>

/// A number, or a text, padded on the left with "0" to a width; longer ones stay whole. A negative number
/// keeps its sign in front of the zeros.
[[nodiscard]] QString StrCeros(int numero, int ancho);
[[nodiscard]] QString StrCeros(const QString &texto, int ancho);
/// The first / last characters of a text, all of it when it is shorter.
[[nodiscard]] QString StrLeft(const QString &texto, int cuantos);
[[nodiscard]] QString StrRight(const QString &texto, int cuantos);
/// A text brought to a width: padded with blanks on the right, or cut.
[[nodiscard]] QString Espacios(const QString &texto, int ancho);
/// A text without any occurrence of one character.
[[nodiscard]] QString QuitaCaracter(const QString &texto, QChar caracter);
/// Decimal text to integer, blanks around it allowed; 0 for anything that is not a number or does not fit.
[[nodiscard]] int Cad_Int(const QString &texto);
[[nodiscard]] QString Int_Cad(int numero);
/// Text "dd/mm/yyyy" to date. @throws dataset::EConvertError for anything else.
[[nodiscard]] QDate Cad_Date(const QString &texto);
/// Date to "dd/mm/yyyy"; empty for an invalid date.
[[nodiscard]] QString Date_Cad(QDate fecha);
/// A date as the desktop writes a short one.
[[nodiscard]] QString FechaCorta(QDate fecha);
