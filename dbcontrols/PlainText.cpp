#include "dbcontrols/PlainText.h"

#include <QtGui/QTextDocument>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMessageBox>

namespace dbcontrols
{

QLabel *plainLabel(const QString &text, QWidget *parent)
{
    auto *const label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    return label;
}

QString plainTip(const QString &text)
{
    return Qt::mightBeRichText(text) ? text.toHtmlEscaped() : text;
}

void setPlainTexts(QMessageBox &box, const QString &text, const QString &explanation)
{
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    if (explanation.isEmpty())
        return;
    // The box makes the second label by itself and lets it guess; so it is made with a text that is none.
    box.setInformativeText(QStringLiteral(" "));
    if (auto *const label = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel"))) {
        label->setTextFormat(Qt::PlainText);
        label->setOpenExternalLinks(false);
        box.setInformativeText(explanation);
    } else {
        box.setInformativeText(plainTip(explanation));
    }
}

} // namespace dbcontrols
