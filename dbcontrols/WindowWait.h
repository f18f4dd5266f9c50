#pragma once

#include "dbase/LockWait.h"
#include "dbcontrols/Export.h"

namespace dbcontrols
{

/// For tables that windows work with: while one of them waits for a lock of a colleague's, the program's
/// windows come back to the screen when they are uncovered, the desktop gets its answers, and after a moment
/// the pointer tells that something is waited for. Nothing else happens: the operation that waits has not
/// ended, so keys and clicks stay in their queue, and timers, focus, closing, painting of what has changed
/// and calls of callLater() come when it is over. Queued calls that others post are the exception; they must
/// not use the tables that wait.
/// @return null outside the thread of the windows, which then sleeps.
[[nodiscard]] DBCONTROLS_EXPORT std::unique_ptr<dbase::LockWait> windowWait();

} // namespace dbcontrols
