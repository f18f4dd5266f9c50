#pragma once

#include <QtCore/QString>

/// A text brought to a width with blanks on its right / on its left; longer ones are cut at the end.
[[nodiscard]] QString AlineaIzda(const QString &texto, int ancho);
[[nodiscard]] QString AlineaDecha(const QString &texto, int ancho);
