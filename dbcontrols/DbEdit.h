#pragma once

#include "dbcontrols/DataSource.h"
#include "dbcontrols/Export.h"

#include <QtWidgets/QLineEdit>

namespace dbcontrols
{

class FieldLink;

/// A line edit over one field of the current record. A text goes into its field while it is typed, a date or
/// a number when the control is left; posting is left to others. What is too long for the field, or not in
/// the table's code page, is not taken.
class DBCONTROLS_EXPORT DbEdit : public QLineEdit
{
    Q_OBJECT
public:
    explicit DbEdit(QWidget *parent = nullptr);
    ~DbEdit() override;

    /// @param source not owned; may be null.
    void setDataSource(DataSource *source);
    void setField(const QString &name);
    [[nodiscard]] QString field() const;
    /// Shows a text and puts it into the field, as if it had been typed.
    /// @return false, after failed(), when the field did not take it; its own text is shown again.
    bool putText(const QString &text);

signals:
    /// The field's text has been shown afresh, whether it is another one or not.
    void shown();
    /// @param text for the user.
    void failed(const QString &text);

private:
    void load();
    void typed();
    void left();

    FieldLink *m_link;
    bool m_pending = false; ///< typed and not yet in the field
};

} // namespace dbcontrols
