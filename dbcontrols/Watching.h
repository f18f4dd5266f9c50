#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>

namespace dbcontrols
{

/// Has a watcher look at another sender: its connections to the old one end, `connectTo(next)` makes those to
/// the new one when there is one.
/// @param held  where the watcher keeps its sender.
/// @return false, and nothing done, when it is the one that it looks at already.
template <class Sender, class Connect>
bool watchInstead(QPointer<Sender> &held, Sender *next, const QObject &watcher, Connect connectTo)
{
    if (held == next)
        return false;
    if (held)
        held->disconnect(&watcher);
    held = next;
    if (next)
        connectTo(*next);
    return true;
}

} // namespace dbcontrols
