#pragma once

#include "dataset/Export.h"
#include "dbase/LockWait.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>

namespace dataset
{

/// The databases of the office: each alias is a name for a folder of tables. A plain value, kept by the host.
class DATASET_EXPORT Aliases
{
public:
    /// Names are compared without regard to case; a second folder for a name replaces the first.
    void add(const QString &name, const QString &folder);
    /// @throws EDatabaseError, kind notFound, for an unknown name.
    [[nodiscard]] QString folderOf(const QString &name) const;
    [[nodiscard]] bool contains(const QString &name) const;
    [[nodiscard]] QStringList names() const;
    /// How long a table of these waits for each lock before it says who is in the way; 1 s at first, so that
    /// a window is not dead for long.
    void setLockPatience(std::chrono::milliseconds patience) { m_lockPatience = patience; }
    [[nodiscard]] std::chrono::milliseconds lockPatience() const { return m_lockPatience; }
    /// How the time passes meanwhile; empty, as at first: the thread sleeps.
    void setLockWait(dbase::LockWaitFactory wait) { m_lockWait = std::move(wait); }
    [[nodiscard]] const dbase::LockWaitFactory &lockWait() const { return m_lockWait; }

private:
    QMap<QString, QString> m_folders;
    std::chrono::milliseconds m_lockPatience{1000};
    dbase::LockWaitFactory m_lockWait;
};

} // namespace dataset
