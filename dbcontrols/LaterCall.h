#pragma once

#include "dbcontrols/Export.h"

#include <QtCore/QEvent>

#include <functional>

class QObject;

namespace dbcontrols
{

/// Calls from the event loop, once what is going on now is over, the focus has arrived, and no table waits
/// for a lock (see WindowWait).
/// @param context  when it dies first, nothing is called.
DBCONTROLS_EXPORT void callLater(QObject *context, std::function<void()> call);

/// The type of the events by which such calls travel; they may be cloned.
[[nodiscard]] QEvent::Type laterCallEvent();

} // namespace dbcontrols
