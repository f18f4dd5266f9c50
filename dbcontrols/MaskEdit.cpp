#include "dbcontrols/MaskEdit.h"

#include "dbcontrols/Focus.h"

#include "dbcontrols/TextMenu.h"

#include <QtCore/QMimeData>
#include <QtGui/QClipboard>
#include <QtGui/QContextMenuEvent>
#include <QtGui/QDropEvent>
#include <QtGui/QFocusEvent>
#include <QtGui/QGuiApplication>
#include <QtGui/QInputMethodEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>

namespace dbcontrols
{

MaskEdit::MaskEdit(QWidget *parent)
    : QLineEdit(parent)
{
    setInputMethodHints(Qt::ImhPreferNumbers | Qt::ImhNoPredictiveText);
    // First of all who listen, so that nobody meets a text of another length.
    connect(this, &QLineEdit::textChanged, this, &MaskEdit::keepInPlaces);
}

MaskEdit::~MaskEdit() = default;

void MaskEdit::setMask(const QString &mask)
{
    m_mask = Mask(mask);
    setMaxLength(m_mask.length());
    clearText();
}

void MaskEdit::setMaskedText(const QString &text)
{
    const QString fitted =
        text.size() == m_mask.length() && m_mask.isAcceptable(text) ? text : m_mask.fitted(text);
    setText(fitted.isEmpty() ? m_mask.blankText() : fitted);
    setCursorPosition(m_mask.nextPlace(0));
}

void MaskEdit::clearText()
{
    setText(m_mask.blankText());
    setCursorPosition(m_mask.nextPlace(0));
}

/// A line edit has commands, of the desktop and of aids for the blind, that take characters out.
void MaskEdit::keepInPlaces(const QString &changed)
{
    if (changed.size() == m_mask.length()) {
        m_lastText = changed;
        return;
    }
    const int cursor = cursorPosition();
    setText(m_mask.mended(m_lastText, changed));
    setCursorPosition(cursor);
}

void MaskEdit::apply(const QString &changed, int cursor)
{
    if (changed != text()) {
        setText(changed);
        emit textEdited(changed);
    }
    setCursorPosition(cursor);
}

void MaskEdit::type(const QString &characters)
{
    QString changed = text();
    int cursor = hasSelectedText() ? selectionStart() : cursorPosition();
    if (hasSelectedText())
        m_mask.blank(changed, cursor, selectionEnd());
    bool taken = false;
    for (const QChar character : characters) {
        if (m_zeroPadding)
            m_mask.padPart(changed, cursor, character);
        const int after = m_mask.type(changed, cursor, character);
        if (after < 0)
            continue;
        cursor = after;
        taken = true;
    }
    // What has no place here replaces nothing either.
    if (taken)
        apply(changed, cursor);
}

void MaskEdit::pasteText(const QString &pasted)
{
    const QString fitted = m_mask.fitted(pasted);
    if (fitted.isEmpty())
        type(pasted);
    else
        apply(fitted, m_mask.length());
}

void MaskEdit::blankSelectionOr(int first, int last, int cursor)
{
    QString changed = text();
    if (hasSelectedText()) {
        cursor = selectionStart();
        m_mask.blank(changed, cursor, selectionEnd());
    } else {
        m_mask.blank(changed, first, last);
    }
    apply(changed, cursor);
}

void MaskEdit::blankAll(int first)
{
    QString changed = text();
    m_mask.blank(changed, first, m_mask.length());
    deselect();
    apply(changed, m_mask.nextPlace(first));
}

void MaskEdit::cutSelection()
{
    if (!hasSelectedText())
        return;
    copy();
    blankSelectionOr(0, 0, 0);
}

void MaskEdit::keyPressEvent(QKeyEvent *event)
{
    const int cursor = cursorPosition();
    // Some letters come with AltGr, which is both of these keys.
    const auto commandKeys = event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    const bool printable = !event->text().isEmpty() && event->text().front().isPrint() &&
                           (!commandKeys || commandKeys == (Qt::ControlModifier | Qt::AltModifier));
    if (isReadOnly()) {
        QLineEdit::keyPressEvent(event);
    } else if (event->matches(QKeySequence::Paste)) {
        pasteText(QGuiApplication::clipboard()->text());
    } else if (event->matches(QKeySequence::Cut)) {
        cutSelection();
    } else if (event->matches(QKeySequence::Undo) || event->matches(QKeySequence::Redo)) {
        event->accept(); // the history knows nothing of places
    } else if (event->matches(QKeySequence::DeleteCompleteLine)) {
        blankAll(0);
    } else if (event->matches(QKeySequence::DeleteEndOfLine)) {
        blankAll(cursor);
    } else if (event->key() == Qt::Key_Backspace) {
        const int place = m_mask.previousPlace(cursor);
        blankSelectionOr(place, place + 1, place < 0 ? cursor : place);
    } else if (event->key() == Qt::Key_Delete) {
        const int place = m_mask.nextPlace(cursor);
        blankSelectionOr(place, place + 1, place);
    } else if (printable) {
        type(event->text());
    } else {
        QLineEdit::keyPressEvent(event);
    }
}

void MaskEdit::inputMethodEvent(QInputMethodEvent *event)
{
    // Nothing that is still being composed can become a digit, so only what is finished counts.
    if (!isReadOnly() && !event->commitString().isEmpty())
        type(event->commitString());
    event->accept();
}

void MaskEdit::focusInEvent(QFocusEvent *event)
{
    QLineEdit::focusInEvent(event);
    if (isPassingFocus(event->reason()))
        return;
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason)
        selectAll();
    emit focusEntered();
}

void MaskEdit::focusOutEvent(QFocusEvent *event)
{
    QLineEdit::focusOutEvent(event);
    if (!isPassingFocus(event->reason()))
        emit focusLeft();
}

void MaskEdit::mouseReleaseEvent(QMouseEvent *event)
{
    QLineEdit::mouseReleaseEvent(event);
    // A click into an empty field means its beginning.
    if (!hasSelectedText() && isBlank())
        setCursorPosition(m_mask.nextPlace(0));
}

void MaskEdit::contextMenuEvent(QContextMenuEvent *event)
{
    TextCommands commands;
    if (hasSelectedText())
        commands.copy = [this] { copy(); };
    if (!isReadOnly()) {
        if (hasSelectedText())
            commands.cut = [this] { cutSelection(); };
        commands.paste = [this] { pasteText(QGuiApplication::clipboard()->text()); };
    }
    commands.selectAll = [this] { selectAll(); };
    showTextMenu(*this, event->globalPos(), commands);
}

void MaskEdit::dropEvent(QDropEvent *event)
{
    if (!isReadOnly() && event->mimeData()->hasText()) {
        pasteText(event->mimeData()->text());
        event->acceptProposedAction();
    }
}

} // namespace dbcontrols
