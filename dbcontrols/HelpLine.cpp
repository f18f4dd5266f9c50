#include "dbcontrols/HelpLine.h"

#include <QtWidgets/QStatusBar>

namespace dbcontrols
{

void addUnderMessages(QStatusBar &bar, QWidget &widget, int stretch)
{
    bar.addWidget(&widget, stretch);
    QObject::connect(&bar, &QStatusBar::messageChanged, &widget,
                     [&widget](const QString &message) { widget.setVisible(message.isEmpty()); });
}

} // namespace dbcontrols
