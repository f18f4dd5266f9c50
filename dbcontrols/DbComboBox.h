#pragma once

#include "dbcontrols/DataSource.h"
#include "dbcontrols/Export.h"

#include <QtWidgets/QComboBox>

namespace dbcontrols
{

class FieldLink;
class UpperCaseValidator;

/// A combo box over one field of the current record: a text with proposals, or a list to choose from. What is
/// typed or chosen goes into the field at once; posting is left to others. What is too long for the field, or
/// not in the table's code page, is not taken.
class DBCONTROLS_EXPORT DbComboBox : public QComboBox
{
    Q_OBJECT
public:
    explicit DbComboBox(QWidget *parent = nullptr);
    ~DbComboBox() override;

    /// @param source not owned; may be null.
    void setDataSource(DataSource *source);
    void setField(const QString &name);
    [[nodiscard]] QString field() const;
    /// With it only the items can be chosen; a field that says something else shows as no choice. Without it,
    /// as at first, any text can be typed.
    void setListOnly(bool listOnly);
    /// What is typed or chosen is written in capitals. The field's own text is shown as it is.
    void setUpperCase(bool upperCase);

signals:
    /// @param text for the user.
    void failed(const QString &text);

protected:
    void wheelEvent(QWheelEvent *event) override;

private:
    void prepareEditor();
    void load();
    void loadEditor();
    void store(const QString &text);

    FieldLink *m_link;
    UpperCaseValidator *m_capitals;
    bool m_upperCase = false;
    bool m_loading = false;
};

} // namespace dbcontrols
