#include "dataset/MemTable.h"

#include "dataset/MemStore.h"

#include <utility>

namespace dataset
{

MemTable::MemTable(QObject *parent)
    : DataSet(std::make_unique<MemStore>(), parent)
{
}

MemTable::~MemTable() = default;

void MemTable::create(const QList<FieldInfo> &fields)
{
    if (isActive())
        throw EDatabaseError(QStringLiteral("La tabla en memoria ya está abierta"));
    static_cast<MemStore &>(store()).create(fields);
    open();
}

void MemTable::emptyTable()
{
    cancel();
    const ControlsGuard guard(*this);
    cancelRange();
    static_cast<MemStore &>(store()).clear();
    storeEmptied();
}

void MemTable::setCanKeep(std::function<bool(QChar)> canKeep)
{
    static_cast<MemStore &>(store()).setCanKeep(std::move(canKeep));
}

} // namespace dataset
