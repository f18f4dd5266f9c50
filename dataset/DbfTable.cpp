#include "dataset/DbfTable.h"

#include "dataset/DatabaseError.h"
#include "dataset/DbfStore.h"

namespace dataset
{

namespace
{

constexpr int dateWidth = 8;
constexpr int logicalWidth = 1;
constexpr int defaultNumberWidth = 20;

dbase::FieldDefinition definitionOf(const FieldInfo &field)
{
    dbase::FieldDefinition definition;
    definition.name = field.name.toUpper().toStdString();
    int width = field.width;
    switch (field.kind) {
    case FieldKind::text:
        definition.type = dbase::FieldType::character;
        break;
    case FieldKind::date:
        definition.type = dbase::FieldType::date;
        width = dateWidth;
        break;
    case FieldKind::logical:
        definition.type = dbase::FieldType::logical;
        width = logicalWidth;
        break;
    case FieldKind::number:
    case FieldKind::integer:
        definition.type =
            field.kind == FieldKind::number ? dbase::FieldType::floating : dbase::FieldType::numeric;
        width = width == 0 ? defaultNumberWidth : width;
        definition.decimals = static_cast<std::uint8_t>(field.decimals);
        break;
    }
    if (width < 1 || width > 254)
        throw EDatabaseError(
            QStringLiteral("El campo «%1» no puede tener %2 de ancho").arg(field.name).arg(width));
    definition.width = static_cast<std::uint8_t>(width);
    return definition;
}

} // namespace

DbfTable::DbfTable(const Aliases &aliases, QObject *parent)
    : DataSet(std::make_unique<DbfStore>(aliases), parent)
{
}

DbfTable::~DbfTable() = default;

DbfStore &DbfTable::dbfStore() const
{
    return static_cast<DbfStore &>(store());
}

DbfStore &DbfTable::closedStore() const
{
    if (isActive())
        throw EDatabaseError(QStringLiteral("La tabla «%1» está abierta").arg(tableName()));
    return dbfStore();
}

void DbfTable::setDatabaseName(const QString &alias)
{
    closedStore().databaseName = alias;
}
QString DbfTable::databaseName() const
{
    return dbfStore().databaseName;
}
void DbfTable::setTableName(const QString &name)
{
    closedStore().tableName = name;
}
QString DbfTable::tableName() const
{
    return dbfStore().tableName;
}
void DbfTable::setOpenReadOnly(bool readOnly)
{
    closedStore().openReadOnly = readOnly;
}
void DbfTable::setDurable(bool durable)
{
    closedStore().durable = durable;
}

void DbfTable::setLockPatience(std::chrono::milliseconds patience)
{
    closedStore().lockPatience = patience;
}

void DbfTable::addIndexDefinition(const QString &name, const QString &expression)
{
    closedStore().tags.push_back({name.toStdString(), expression.toStdString()});
}

void DbfTable::createFile(const QList<FieldInfo> &fields)
{
    DbfStore &store = closedStore();
    const std::filesystem::path folder(store.aliases().folderOf(store.databaseName).toStdU16String());
    const auto file = dbase::newTablePath(folder, store.tableName.toStdString());
    if (!file.ok())
        throw EDatabaseError(file.status());
    dbase::TableDefinition definition;
    for (const FieldInfo &field : fields)
        definition.fields.push_back(definitionOf(field));
    definition.tags = store.tags;
    if (const dbase::Status status = dbase::Table::create(file.value(), definition); !status.ok())
        throw EDatabaseError(status);
}

} // namespace dataset
