#include "dbcontrols/TextMenu.h"

#include <QtGui/QAction>
#include <QtWidgets/QLineEdit>
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

void showTextMenu(QLineEdit &edit, const QPoint &position)
{
    TextCommands commands;
    const bool writable = !edit.isReadOnly();
    if (writable && edit.isUndoAvailable())
        commands.undo = [&edit] { edit.undo(); };
    if (edit.hasSelectedText()) {
        if (writable)
            commands.cut = [&edit] { edit.cut(); };
        commands.copy = [&edit] { edit.copy(); };
    }
    if (writable)
        commands.paste = [&edit] { edit.paste(); };
    commands.selectAll = [&edit] { edit.selectAll(); };
    showTextMenu(edit, position, commands);
}

void useTextMenu(QLineEdit &edit)
{
    edit.setContextMenuPolicy(Qt::CustomContextMenu);
    QObject::connect(&edit, &QWidget::customContextMenuRequested, &edit,
                     [&edit](const QPoint &place) { showTextMenu(edit, edit.mapToGlobal(place)); });
}

} // namespace dbcontrols
