#pragma once

#include "dbcontrols/DataSource.h"
#include "dbcontrols/Export.h"

#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtWidgets/QPlainTextEdit>

namespace dbcontrols
{

/// A text box over one field of the current record. Typing puts the record into edit and goes into the field
/// at once; posting is left to others. What is too long for the field, or not in the table's code page, is
/// not taken.
class DBCONTROLS_EXPORT DbMemo : public QPlainTextEdit
{
    Q_OBJECT
public:
    explicit DbMemo(QWidget *parent = nullptr);
    ~DbMemo() override;

    /// @param source not owned; may be null.
    void setDataSource(DataSource *source);
    [[nodiscard]] DataSource *dataSource() const { return m_source; }
    void setField(const QString &name);
    [[nodiscard]] QString field() const { return m_field; }

signals:
    /// The record could not be put into edit; the field's text is shown again. @param text for the user.
    void failed(const QString &text);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void load();
    void store();
    void keepWithinField();
    void dropForeignCharacters(const dataset::DataSet &set);

    QPointer<DataSource> m_source;
    QString m_field;
    QString m_shown; ///< the field's text when it was last shown or stored
    bool m_loading = false;
    bool m_storing = false;
};

} // namespace dbcontrols
