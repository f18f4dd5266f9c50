#pragma once

#include "dbcontrols/Export.h"

#include <QtWidgets/QDialog>

#include <initializer_list>

class QKeyEvent;
class QPushButton;

namespace dbcontrols
{

/// A modal dialog of fields that are gone through with Enter. It sees keys before the control that has the
/// focus: Enter goes to the next control, on buttons as well, and Esc presses one button.
class DBCONTROLS_EXPORT FieldDialog : public QDialog
{
    Q_OBJECT
protected:
    /// @param owner  the dialog is centred on its window; may be null.
    explicit FieldDialog(QWidget *owner);

    /// Fields of the dialog that takesKey(), entered() and left() are called for.
    void watch(std::initializer_list<QWidget *> fields);
    /// @param button  a child of the dialog.
    void setEscapeButton(QPushButton *button) { m_escape = button; }
    /// Draws the focus where it is; styles do so on buttons only when it has come with Tab.
    void showFocus();

    /// Whether a watched field may have a key; no: it is lost.
    [[nodiscard]] virtual bool takesKey(const QWidget &field, const QKeyEvent &key) const;
    /// The focus has come to a watched field.
    virtual void entered(QWidget &field) = 0;
    /// It has gone to another control, and not only to a menu or to another window.
    virtual void left(QWidget &field) = 0;

    bool eventFilter(QObject *object, QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    bool dialogKey(int key);
    QPushButton *m_escape = nullptr;
};

} // namespace dbcontrols
