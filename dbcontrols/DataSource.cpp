#include "dbcontrols/DataSource.h"

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
    if (m_dataSet == dataSet)
        return;
    if (m_dataSet)
        m_dataSet->disconnect(this);
    m_dataSet = dataSet;
    if (dataSet) {
        connect(dataSet, &DataSet::activeChanged, this, &DataSource::sourceChanged);
        connect(dataSet, &DataSet::stateChanged, this, &DataSource::stateChanged);
        connect(dataSet, &DataSet::currentChanged, this, &DataSource::currentChanged);
        connect(dataSet, &DataSet::fieldChanged, this, &DataSource::fieldChanged);
        connect(dataSet, &DataSet::rowsReset, this, &DataSource::rowsReset);
        connect(dataSet, &DataSet::rowsInserted, this, &DataSource::rowsInserted);
        connect(dataSet, &DataSet::rowsRemoved, this, &DataSource::rowsRemoved);
        connect(dataSet, &DataSet::rowsChanged, this, &DataSource::rowsChanged);
        // The pointer is null already when this comes, so the controls find no data set.
        connect(dataSet, &QObject::destroyed, this, &DataSource::sourceChanged);
    }
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
