#pragma once

#include "dataset/DataSet.h"

#include <functional>

namespace dataset
{

/// A table in memory, for carrying rows from one place of the program to another. Without an order its rows
/// stay as they were appended.
class DATASET_EXPORT MemTable : public DataSet
{
    Q_OBJECT
public:
    explicit MemTable(QObject *parent = nullptr);
    ~MemTable() override;

    /// Gives the table its fields and opens it, empty. @throws EDatabaseError when it is open or a name comes
    /// twice.
    void create(const QList<FieldInfo> &fields);
    /// Drops every row; fields, order and the open state stay. A pending change is cancelled, a range
    /// dropped.
    void emptyTable();
    /// Says which characters its texts may hold, for rows that are to go to a table which lacks some.
    void setCanKeep(std::function<bool(QChar)> canKeep);
};

} // namespace dataset
