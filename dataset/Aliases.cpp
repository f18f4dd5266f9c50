#include "dataset/Aliases.h"

#include "dataset/DatabaseError.h"

namespace dataset
{

void Aliases::add(const QString &name, const QString &folder)
{
    m_folders.insert(name.toUpper(), folder);
}

QString Aliases::folderOf(const QString &name) const
{
    const auto found = m_folders.constFind(name.toUpper());
    if (found == m_folders.constEnd())
        throw EDatabaseError(QStringLiteral("No se conoce la base de datos «%1»").arg(name),
                             dbase::ErrorKind::notFound);
    return *found;
}

bool Aliases::contains(const QString &name) const
{
    return m_folders.contains(name.toUpper());
}

QStringList Aliases::names() const
{
    return m_folders.keys();
}

} // namespace dataset
