#pragma once

#include "dbcontrols/Export.h"

class QString;
class QWidget;

namespace dbcontrols
{

/// Puts a window where it was when rememberPlace() was last called for its object name.
/// @param file  settings file of this user; empty for none.
/// @return false, with nothing done, when nothing is remembered or the screen has another resolution: sizes
/// of a finer or coarser one would clip the texts.
DBCONTROLS_EXPORT bool restorePlace(QWidget &window, const QString &file);
/// Keeps the place and size of a window under its object name; does nothing without a file.
DBCONTROLS_EXPORT void rememberPlace(const QWidget &window, const QString &file);

} // namespace dbcontrols
