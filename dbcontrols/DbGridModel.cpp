#include "dbcontrols/DbGridModel.h"

#include "dbcontrols/Watching.h"

#include <QtCore/QScopedValueRollback>

namespace dbcontrols
{

using dataset::DataSet;

DbGridModel::DbGridModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

DbGridModel::~DbGridModel() = default;

void DbGridModel::setDataSource(DataSource *source)
{
    const auto follow = [this](DataSource &next) {
        connect(&next, &DataSource::sourceChanged, this, &DbGridModel::reload);
        connect(&next, &DataSource::rowsReset, this, &DbGridModel::reload);
        connect(&next, &DataSource::rowsInserted, this, &DbGridModel::insertRowsFromSource);
        connect(&next, &DataSource::rowsRemoved, this, &DbGridModel::removeRowsFromSource);
        connect(&next, &DataSource::rowsChanged, this, &DbGridModel::announceRows);
        connect(&next, &DataSource::fieldChanged, this, &DbGridModel::announceField);
        connect(&next, &QObject::destroyed, this, &DbGridModel::reload);
    };
    if (watchInstead(m_source, source, *this, follow))
        reload();
}

void DbGridModel::setColumns(const QList<GridColumn> &columns)
{
    m_columns = columns;
    reload();
}

DataSet *DbGridModel::activeSet() const
{
    return m_source ? m_source->activeDataSet() : nullptr;
}

void DbGridModel::reload()
{
    const QScopedValueRollback<bool> changing(m_changingRows, true);
    beginResetModel();
    const DataSet *const set = activeSet();
    m_rows = set ? set->rows() : QList<dataset::Bookmark>();
    m_fields.clear();
    for (const GridColumn &column : std::as_const(m_columns))
        m_fields.append(set ? set->fieldIndex(column.field) : -1);
    endResetModel();
}

void DbGridModel::insertRowsFromSource(int first, int count)
{
    if (count <= 0)
        return;
    if (first < 0 || first > m_rows.size()) { // a notice was missed, perhaps while another data set was shown
        reload();
        return;
    }
    const QScopedValueRollback<bool> changing(m_changingRows, true);
    beginInsertRows({}, first, first + count - 1);
    const DataSet *const set = activeSet();
    for (int row = first; row < first + count; ++row)
        m_rows.insert(row, set ? set->bookmarkAt(row) : 0);
    endInsertRows();
}

void DbGridModel::removeRowsFromSource(int first, int count)
{
    if (count <= 0)
        return;
    if (first < 0 || first + count > m_rows.size()) {
        reload();
        return;
    }
    const QScopedValueRollback<bool> changing(m_changingRows, true);
    beginRemoveRows({}, first, first + count - 1);
    m_rows.remove(first, count);
    endRemoveRows();
}

void DbGridModel::announceRows(int first, int count)
{
    const int last = qMin(first + count, rowCount()) - 1;
    if (first >= 0 && last >= first && !m_columns.isEmpty())
        emit dataChanged(index(first, 0), index(last, static_cast<int>(m_columns.size()) - 1));
}

void DbGridModel::announceField(int field)
{
    const DataSet *const set = activeSet();
    const int row = set ? set->currentRow() : -1;
    if (row < 0 || row >= m_rows.size())
        return;
    for (int column = 0; column < m_fields.size(); ++column) {
        if (field < 0 || m_fields.at(column) == field)
            emit dataChanged(index(row, column), index(row, column));
    }
}

int DbGridModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int DbGridModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

QVariant DbGridModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    if (role == Qt::TextAlignmentRole)
        return (m_columns.at(index.column()).alignment | Qt::AlignVCenter).toInt();
    if (role != Qt::DisplayRole && role != Qt::EditRole)
        return {};
    const DataSet *const set = activeSet();
    const int field = m_fields.value(index.column(), -1);
    // While a batch of notices is under way the data set is already ahead of this model.
    const int row = set ? set->rowOf(bookmarkAt(index.row())) : -1;
    return row < 0 || field < 0 ? QVariant() : set->textAt(row, field);
}

QVariant DbGridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= m_columns.size())
        return {};
    if (role == Qt::DisplayRole)
        return m_columns.at(section).title;
    if (role == Qt::TextAlignmentRole)
        return (m_columns.at(section).alignment | Qt::AlignVCenter).toInt();
    return {};
}

Qt::ItemFlags DbGridModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (!index.isValid() || !m_editable)
        return flags;
    const DataSet *const set = activeSet();
    const bool writable = set && !set->isReadOnly() && m_fields.value(index.column(), -1) >= 0;
    if (writable && !m_columns.at(index.column()).readOnly)
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool DbGridModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    DataSet *const set = activeSet();
    if (role != Qt::EditRole || !set || !(flags(index) & Qt::ItemIsEditable))
        return false;
    try {
        // Typed over what the row showed, wherever the data set's cursor stands.
        const dataset::Bookmark line = set->bookmarkAt(index.row());
        if (set->currentRow() != index.row())
            set->edit(set->seen(line));
        else if (!set->isEditing())
            set->edit();
        const GridColumn &column = m_columns.at(index.column());
        const QString text = column.accept ? column.accept(value.toString()) : value.toString();
        set->field(m_fields.at(index.column())).setText(text);
        return true;
    } catch (const dataset::EDatabaseError &error) {
        emit failed(dataset::plainText(error));
    } catch (const dataset::EConvertError &error) {
        emit failed(error.text());
    }
    return false;
}

int DbGridModel::fieldWidth(int column) const
{
    const DataSet *const set = activeSet();
    const int field = m_fields.value(column, -1);
    return set && field >= 0 ? set->fieldInfo(field).width : 0;
}

} // namespace dbcontrols
