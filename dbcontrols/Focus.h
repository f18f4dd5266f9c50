#pragma once

#include <QtCore/Qt>

namespace dbcontrols
{

/// Whether focus goes for a while only, to a menu, a list or another window: the control is not being left.
[[nodiscard]] inline bool isPassingFocus(Qt::FocusReason reason)
{
    return reason == Qt::PopupFocusReason || reason == Qt::ActiveWindowFocusReason ||
           reason == Qt::MenuBarFocusReason;
}

} // namespace dbcontrols
