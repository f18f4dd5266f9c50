#pragma once

#include "dbcontrols/DataSource.h"
#include "dbcontrols/Export.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QList>
#include <QtCore/QPointer>
#include <QtCore/QString>

#include <functional>

namespace dbcontrols
{

/// One column of a grid.
struct GridColumn {
    QString title;
    QString field;
    int width = 64; ///< device-independent pixels
    Qt::Alignment alignment = Qt::AlignLeft;
    bool visible = true;
    bool readOnly = false;
    /// What is stored for a typed text; throws EConvertError for one that may not be stored. Empty: the text
    /// itself.
    std::function<QString(const QString &)> accept = {};
};

/// The rows of a data set as a table. It reads a row only when the view asks for it. The list of rows is the
/// data set's own until a notice changes it; from then on it follows the notices one by one, as the views
/// need it.
class DBCONTROLS_EXPORT DbGridModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    explicit DbGridModel(QObject *parent = nullptr);
    ~DbGridModel() override;

    /// @param source not owned; may be null.
    void setDataSource(DataSource *source);
    [[nodiscard]] DataSource *dataSource() const { return m_source; }
    void setColumns(const QList<GridColumn> &columns);
    [[nodiscard]] const QList<GridColumn> &columns() const { return m_columns; }
    /// Whether cells of columns that are not read-only can be changed; false at first.
    void setEditable(bool editable) { m_editable = editable; }
    /// Between the notices of added or removed rows: the view's selection follows by itself, nobody has moved
    /// it.
    [[nodiscard]] bool isChangingRows() const { return m_changingRows; }

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;
    /// Puts the line into edit when it is not yet and writes the field; posts nothing.
    /// @return false, after failed(), when the line is locked or the text does not fit the field's kind.
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

    /// The record shown in a row; 0 for a row that is not there.
    [[nodiscard]] dataset::Bookmark bookmarkAt(int row) const { return m_rows.value(row, 0); }

    /// Width of a column's field in characters; 0 when it has none.
    [[nodiscard]] int fieldWidth(int column) const;

signals:
    /// What was to be written could not be. @param text for the user.
    void failed(const QString &text);

private:
    void reload();
    void insertRowsFromSource(int first, int count);
    void removeRowsFromSource(int first, int count);
    void announceRows(int first, int count);
    void announceField(int field);
    [[nodiscard]] dataset::DataSet *activeSet() const;

    QPointer<DataSource> m_source;
    QList<GridColumn> m_columns;
    QList<int> m_fields; ///< field number of each column, -1 when the data set has none of that name
    QList<dataset::Bookmark> m_rows; ///< as the views know them
    bool m_editable = false;
    bool m_changingRows = false;
};

} // namespace dbcontrols
