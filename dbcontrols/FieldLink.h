#pragma once

#include "dbcontrols/DataSource.h"
#include "dbcontrols/Export.h"

#include <QtCore/QPointer>
#include <QtCore/QString>

namespace dbcontrols
{

/// A text without the characters that a data set cannot keep, composed where it came in pieces, and with
/// blanks for line ends and tabulators.
[[nodiscard]] DBCONTROLS_EXPORT QString keptBy(const dataset::DataSet &set, const QString &text);

/// What ties a control to one field of the current record: it says when to show the field's text afresh, and
/// puts what was typed into the field. Internal to the controls.
class FieldLink : public QObject
{
    Q_OBJECT
public:
    explicit FieldLink(QObject *parent);
    ~FieldLink() override;

    /// @param source not owned; may be null.
    void setDataSource(DataSource *source);
    void setField(const QString &name);
    [[nodiscard]] QString field() const { return m_field; }

    /// The open data set that has the field, otherwise null.
    [[nodiscard]] dataset::DataSet *dataSet() const;
    /// The field's text when it was last shown or stored.
    [[nodiscard]] const QString &text() const { return m_shown; }
    /// Characters that the field takes; 0 for no limit, and without a field.
    [[nodiscard]] int width() const;
    [[nodiscard]] bool isText() const;
    /// A text as the field will keep it: what does not fit and what the table's code page lacks is left out.
    [[nodiscard]] QString fitted(const QString &text) const;
    /// Puts a text into the field, and the record into edit where that is needed.
    /// @return false, after changed() and failed(), when the field did not take it.
    bool store(const QString &text);

signals:
    /// The field may say something else now.
    void changed();
    /// @param text for the user.
    void failed(const QString &text);

private:
    void reload();
    void rowsChanged();
    void fieldChanged(int field);

    QPointer<DataSource> m_source;
    QString m_field;
    QString m_shown;
    bool m_storing = false;
};

} // namespace dbcontrols
