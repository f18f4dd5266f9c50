#pragma once

#include "dataset/Export.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

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

private:
    QMap<QString, QString> m_folders;
};

} // namespace dataset
