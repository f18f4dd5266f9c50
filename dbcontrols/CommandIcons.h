#pragma once

#include "dbcontrols/Export.h"

#include <QtGui/QIcon>

namespace dbcontrols
{

/// The pictures of commands.
enum class CommandIcon {
    previous,
    next,
    add,
    edit,
    remove,
    print,
    clear,
    outing,
    absent,
    copy,
    paste,
    contact,
    settings,
    leave
};

/// Draws a picture at whatever size and scale is asked for, in the text colour of the theme in force.
[[nodiscard]] DBCONTROLS_EXPORT QIcon commandIcon(CommandIcon icon);

} // namespace dbcontrols
