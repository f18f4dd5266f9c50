#include "dbcontrols/DbMemo.h"

#include "dbcontrols/FieldLink.h"
#include "dbcontrols/TextMenu.h"
#include "dbcontrols/Texts.h"
#include "dbcontrols/Watching.h"

#include <QtCore/QScopedValueRollback>
#include <QtGui/QContextMenuEvent>
#include <QtGui/QTextCursor>
#include <QtWidgets/QScrollBar>

namespace dbcontrols
{

using dataset::DataSet;

DbMemo::DbMemo(QWidget *parent)
    : QPlainTextEdit(parent)
{
    setTabChangesFocus(true);
    // Their menus are Qt's own and would speak English.
    verticalScrollBar()->setContextMenuPolicy(Qt::PreventContextMenu);
    horizontalScrollBar()->setContextMenuPolicy(Qt::PreventContextMenu);
    connect(this, &QPlainTextEdit::textChanged, this, &DbMemo::store);
}

DbMemo::~DbMemo() = default;

void DbMemo::setDataSource(DataSource *source)
{
    const auto follow = [this](DataSource &next) {
        connect(&next, &DataSource::sourceChanged, this, &DbMemo::load);
        connect(&next, &DataSource::currentChanged, this, &DbMemo::load);
        connect(&next, &DataSource::stateChanged, this, &DbMemo::load);
        connect(&next, &DataSource::fieldChanged, this, &DbMemo::load);
        connect(&next, &DataSource::rowsReset, this, &DbMemo::load);
        connect(&next, &DataSource::rowsChanged, this, &DbMemo::load);
        connect(&next, &QObject::destroyed, this, &DbMemo::load);
    };
    if (watchInstead(m_source, source, *this, follow))
        load();
}

void DbMemo::setField(const QString &name)
{
    m_field = name;
    load();
}

void DbMemo::load()
{
    if (m_storing)
        return;
    DataSet *const set = m_source ? m_source->activeDataSet() : nullptr;
    const int index = set ? set->fieldIndex(m_field) : -1;
    const QString text = index < 0 ? QString() : set->field(index).asText();
    m_shown = text;
    if (text == toPlainText())
        return; // a refresh leaves cursor and scroll bar where they are
    const QScopedValueRollback<bool> loading(m_loading, true);
    setPlainText(text);
}

void DbMemo::keepWithinField()
{
    DataSet *const set = m_source->activeDataSet();
    const int index = set ? set->fieldIndex(m_field) : -1;
    const int width = index < 0 ? 0 : set->fieldInfo(index).width;
    const auto surplus = static_cast<int>(toPlainText().size()) - width;
    if (width <= 0 || surplus <= 0)
        return;
    // What was typed beyond the width goes, not what was there before.
    const QScopedValueRollback<bool> loading(m_loading, true);
    QTextCursor cursor = textCursor();
    cursor.movePosition(QTextCursor::PreviousCharacter, QTextCursor::KeepAnchor, surplus);
    cursor.removeSelectedText();
    setTextCursor(cursor);
}

void DbMemo::dropForeignCharacters(const DataSet &set)
{
    const QString text = toPlainText();
    const QString kept = keptBy(set, text);
    if (kept == text)
        return;
    const auto position = static_cast<int>(keptBy(set, text.left(textCursor().position())).size());
    const QScopedValueRollback<bool> loading(m_loading, true);
    setPlainText(kept);
    QTextCursor cursor = textCursor();
    cursor.setPosition(position);
    setTextCursor(cursor);
}

void DbMemo::store()
{
    DataSet *const set = m_source ? m_source->activeDataSet() : nullptr;
    if (m_loading || !set || set->fieldIndex(m_field) < 0)
        return;
    QString error;
    try {
        const QScopedValueRollback<bool> storing(m_storing, true);
        m_source->requireEditing();
        if (set->field(m_field).asText() != m_shown)
            throw dataset::EDatabaseError(changedElsewhere());
        dropForeignCharacters(*set);
        keepWithinField();
        set->field(m_field).setText(toPlainText());
        m_shown = set->field(m_field).asText();
        return;
    } catch (const dataset::EDatabaseError &failure) {
        error = dataset::plainText(failure);
    } catch (const dataset::EConvertError &failure) {
        error = failure.text();
    }
    load();
    emit failed(error);
}

void DbMemo::contextMenuEvent(QContextMenuEvent *event)
{
    TextCommands commands;
    if (textCursor().hasSelection())
        commands.copy = [this] { copy(); };
    if (!isReadOnly()) {
        commands.undo = [this] { undo(); };
        if (textCursor().hasSelection())
            commands.cut = [this] { cut(); };
        if (canPaste())
            commands.paste = [this] { paste(); };
    }
    commands.selectAll = [this] { selectAll(); };
    showTextMenu(*this, event->globalPos(), commands);
}

} // namespace dbcontrols
