#pragma once

#include "dbcontrols/Export.h"

class QStatusBar;
class QWidget;

namespace dbcontrols
{

/// Adds a widget to the left of a status bar, to be seen while the bar has no message to show. The bar itself
/// takes it away only where it is seen already, and a hint may come before its window is.
/// @param widget   becomes the bar's. @param stretch  as in QStatusBar::addWidget().
DBCONTROLS_EXPORT void addUnderMessages(QStatusBar &bar, QWidget &widget, int stretch = 0);

} // namespace dbcontrols
