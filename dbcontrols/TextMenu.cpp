#include "dbcontrols/TextMenu.h"

#include <QtGui/QAction>
#include <QtWidgets/QMenu>

namespace dbcontrols
{

namespace
{

void addCommand(QMenu &menu, const QString &text, const std::function<void()> &command)
{
    QAction *const action = menu.addAction(text);
    action->setEnabled(static_cast<bool>(command));
    if (command)
        QObject::connect(action, &QAction::triggered, &menu, command);
}

} // namespace

void showTextMenu(QWidget &control, const QPoint &position, const TextCommands &commands)
{
    QMenu menu(&control);
    addCommand(menu, QStringLiteral("&Deshacer"), commands.undo);
    menu.addSeparator();
    addCommand(menu, QStringLiteral("Cor&tar"), commands.cut);
    addCommand(menu, QStringLiteral("&Copiar"), commands.copy);
    addCommand(menu, QStringLiteral("&Pegar"), commands.paste);
    menu.addSeparator();
    addCommand(menu, QStringLiteral("Seleccionar &todo"), commands.selectAll);
    menu.exec(position);
}

} // namespace dbcontrols
