#pragma once

#include "dataset/Aliases.h"
#include "dataset/DataSet.h"

namespace dataset
{

class DbfStore;

/// A cursor over a shared dBase table, TABLE.DBF in the folder of an alias.
class DATASET_EXPORT DbfTable : public DataSet
{
    Q_OBJECT
public:
    /// @param aliases  must outlive the table; looked at when the table opens.
    explicit DbfTable(const Aliases &aliases, QObject *parent = nullptr);
    ~DbfTable() override;

    // Settings for the next open(); changing one of an open table is an EDatabaseError.
    void setDatabaseName(const QString &alias);
    [[nodiscard]] QString databaseName() const;
    void setTableName(const QString &name); ///< with or without ".DBF", any case
    [[nodiscard]] QString tableName() const;
    void setOpenReadOnly(bool readOnly);
    void setDurable(bool durable); ///< default true: a post that has returned survives a power cut
    /// How long to wait for each lock; without it, as long as the aliases say.
    void setLockPatience(std::chrono::milliseconds patience);
    /// Makes sure of an index: when the table has no tag of that name it gets one.
    /// @param name        capitals, at most 10 characters.
    /// @param expression  such as "DTOS(FECHA)+HORA".
    void addIndexDefinition(const QString &name, const QString &expression);

    /// Makes the table's file, empty, with the indexes defined so far; it is not opened. Numbers without a
    /// width get 20 places. @throws EDatabaseError, also when the file is there already.
    void createFile(const QList<FieldInfo> &fields);

private:
    [[nodiscard]] DbfStore &dbfStore() const;
    [[nodiscard]] DbfStore &closedStore() const;
};

} // namespace dataset
