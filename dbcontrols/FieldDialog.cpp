#include "dbcontrols/FieldDialog.h"

#include "dbcontrols/Focus.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPushButton>

namespace dbcontrols
{

FieldDialog::FieldDialog(QWidget *owner)
    : QDialog(owner ? owner->window() : nullptr)
{
    setWindowModality(Qt::ApplicationModal);
}

void FieldDialog::watch(std::initializer_list<QWidget *> fields)
{
    for (QWidget *const field : fields)
        field->installEventFilter(this);
}

void FieldDialog::showFocus()
{
    setAttribute(Qt::WA_KeyboardFocusChange);
    if (QWidget *const field = focusWidget())
        field->update();
}

bool FieldDialog::takesKey(const QWidget & /*field*/, const QKeyEvent & /*key*/) const
{
    return true;
}

void FieldDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    windowHandle()->removeEventFilter(this);
    windowHandle()->installEventFilter(this);
}

bool FieldDialog::eventFilter(QObject *object, QEvent *event)
{
    const bool isKey = event->type() == QEvent::KeyPress;
    if (object == windowHandle())
        return isKey && !QApplication::activePopupWidget() && QApplication::activeModalWidget() == this &&
               dialogKey(static_cast<QKeyEvent *>(event)->key());
    auto *const field = qobject_cast<QWidget *>(object);
    if (!field)
        return QDialog::eventFilter(object, event);
    if (isKey && !takesKey(*field, *static_cast<QKeyEvent *>(event)))
        return true;
    if (event->type() == QEvent::FocusIn)
        entered(*field);
    else if (event->type() == QEvent::FocusOut &&
             !isPassingFocus(static_cast<QFocusEvent *>(event)->reason()))
        left(*field);
    return QDialog::eventFilter(object, event);
}

bool FieldDialog::dialogKey(int key)
{
    switch (key) {
    case Qt::Key_Enter:
    case Qt::Key_Return:
        focusNextChild(); // at once: what has been typed behind it may be waiting already
        showFocus();
        return true;
    case Qt::Key_Escape:
        if (m_escape)
            m_escape->click();
        return true;
    default:
        return false;
    }
}

} // namespace dbcontrols
