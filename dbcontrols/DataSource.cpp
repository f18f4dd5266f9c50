#include "dbcontrols/DataSource.h"

#include "dbcontrols/Watching.h"

namespace dbcontrols
{

using dataset::DataSet;

DataSource::DataSource(QObject *parent)
    : QObject(parent)
{
}

DataSource::~DataSource() = default;

void DataSource::setDataSet(DataSet *dataSet)
{
    const auto passOn = [this](DataSet &next) {
        connect(&next, &DataSet::activeChanged, this, &DataSource::sourceChanged);
        connect(&next, &DataSet::stateChanged, this, &DataSource::stateChanged);
        connect(&next, &DataSet::currentChanged, this, &DataSource::currentChanged);
        connect(&next, &DataSet::fieldChanged, this, &DataSource::fieldChanged);
        connect(&next, &DataSet::rowsReset, this, &DataSource::rowsReset);
        connect(&next, &DataSet::rowsInserted, this, &DataSource::rowsInserted);
        connect(&next, &DataSet::rowsRemoved, this, &DataSource::rowsRemoved);
        connect(&next, &DataSet::rowsChanged, this, &DataSource::rowsChanged);
        // The pointer is null already when this comes, so the controls find no data set.
        connect(&next, &QObject::destroyed, this, &DataSource::sourceChanged);
    };
    if (watchInstead(m_dataSet, dataSet, *this, passOn))
        emit sourceChanged();
}

DataSet *DataSource::activeDataSet() const
{
    return m_dataSet && m_dataSet->isActive() ? m_dataSet.data() : nullptr;
}

DataSet::State DataSource::state() const
{
    return m_dataSet ? m_dataSet->state() : DataSet::State::inactive;
}

bool DataSource::isEditing() const
{
    return state() == DataSet::State::edit || state() == DataSet::State::insert;
}

void DataSource::requireEditing() const
{
    if (isEditing())
        return;
    DataSet *const set = activeDataSet();
    if (!set || !m_autoEdit)
        throw dataset::EDatabaseError(QStringLiteral("La línea no se está modificando"));
    set->edit();
}

} // namespace dbcontrols
