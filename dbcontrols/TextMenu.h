#pragma once

#include "dbcontrols/Export.h"

#include <functional>

class QLineEdit;
class QPoint;
class QWidget;

namespace dbcontrols
{

/// What the edit menu of a control can do just now; an empty function is shown disabled.
struct TextCommands {
    std::function<void()> undo;
    std::function<void()> cut;
    std::function<void()> copy;
    std::function<void()> paste;
    std::function<void()> selectAll;
};

/// Shows an edit menu. The one of Qt speaks Spanish only where its translation is installed; this one always
/// does.
/// @param position in the screen's coordinates.
DBCONTROLS_EXPORT void showTextMenu(QWidget &control, const QPoint &position, const TextCommands &commands);
/// The same for a plain line edit, with the commands that it offers just now.
DBCONTROLS_EXPORT void showTextMenu(QLineEdit &edit, const QPoint &position);
/// Gives a line edit this menu instead of Qt's.
DBCONTROLS_EXPORT void useTextMenu(QLineEdit &edit);

} // namespace dbcontrols
