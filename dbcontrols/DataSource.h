#pragma once

#include "dataset/DataSet.h"
#include "dbcontrols/Export.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>

namespace dbcontrols
{

/// The link between a data set and the controls that show it. Controls hang on the source, so the data set
/// can be changed, or go away, without their knowing.
class DBCONTROLS_EXPORT DataSource : public QObject
{
    Q_OBJECT
public:
    explicit DataSource(QObject *parent = nullptr);
    ~DataSource() override;

    /// @param dataSet not owned; may be null. A data set that is destroyed is dropped by itself.
    void setDataSet(dataset::DataSet *dataSet);
    [[nodiscard]] dataset::DataSet *dataSet() const { return m_dataSet; }
    /// The data set when there is one and it is open, otherwise null.
    [[nodiscard]] dataset::DataSet *activeDataSet() const;
    /// State of the data set; inactive without one.
    [[nodiscard]] dataset::DataSet::State state() const;
    [[nodiscard]] bool isEditing() const;
    /// Whether typing into a control puts the record into edit by itself; true at first. Without it a control
    /// refuses what is typed while nobody has begun a change.
    void setAutoEdit(bool autoEdit) { m_autoEdit = autoEdit; }
    /// Makes sure of the edit or insert state, by itself where that is allowed.
    /// @throws dataset::EDatabaseError when the record cannot be changed now.
    void requireEditing() const;

signals:
    /// Another data set, none, or the same one opened or closed: everything shown is out of date.
    void sourceChanged();
    // The data set's notices, passed on.
    void stateChanged();
    void currentChanged();
    void fieldChanged(int field);
    void rowsReset();
    void rowsInserted(int first, int count);
    void rowsRemoved(int first, int count);
    void rowsChanged(int first, int count);

private:
    QPointer<dataset::DataSet> m_dataSet;
    bool m_autoEdit = true;
};

} // namespace dbcontrols
