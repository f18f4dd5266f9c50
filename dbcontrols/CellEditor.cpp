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
    showTextMenu(*this, event->globalPos());
}

} // namespace dbcontrols
