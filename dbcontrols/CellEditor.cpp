#include "dbcontrols/CellEditor.h"

#include "dbcontrols/TextMenu.h"

#include <QtGui/QContextMenuEvent>

namespace dbcontrols
{

CellEditor::CellEditor(QWidget *parent)
    : QLineEdit(parent)
{
    setFrame(false);
    setAutoFillBackground(true);
}

CellEditor::~CellEditor() = default;

void CellEditor::fill(const QString &text)
{
    m_original = text;
    setText(text);
    selectAll();
}

void CellEditor::contextMenuEvent(QContextMenuEvent *event)
{
    TextCommands commands;
    if (isUndoAvailable())
        commands.undo = [this] { undo(); };
    if (hasSelectedText()) {
        commands.cut = [this] { cut(); };
        commands.copy = [this] { copy(); };
    }
    commands.paste = [this] { paste(); };
    commands.selectAll = [this] { selectAll(); };
    showTextMenu(*this, event->globalPos(), commands);
}

} // namespace dbcontrols
