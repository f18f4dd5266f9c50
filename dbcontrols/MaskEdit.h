#pragma once

#include "dbcontrols/Export.h"
#include "dbcontrols/Mask.h"

#include <QtWidgets/QLineEdit>

namespace dbcontrols
{

/// A line edit with a classic mask (see Mask). Typing overwrites, typed blanks are kept, literals are
/// skipped; Backspace and Delete blank a place and shift nothing. Qt's own input mask drops blanks and will
/// not let go of a half-filled field, so it is not used.
///
/// The text is always as long as the mask, whatever key, menu, input method or program has touched it.
class DBCONTROLS_EXPORT MaskEdit : public QLineEdit
{
    Q_OBJECT
public:
    explicit MaskEdit(QWidget *parent = nullptr);
    ~MaskEdit() override;

    /// Sets the mask and empties the field.
    void setMask(const QString &mask);
    [[nodiscard]] const Mask &mask() const { return m_mask; }
    /// Shows a text, brought into the mask where it can be; anything else empties the field. text() gives it
    /// back with blanks and literals.
    void setMaskedText(const QString &text);
    [[nodiscard]] bool isBlank() const { return m_mask.isBlank(text()); }
    [[nodiscard]] bool isAcceptable() const { return m_mask.isAcceptable(text()); }
    void clearText();
    /// A part of two places that is left with one digit, by typing the literal behind it, gets a zero in
    /// front. Off at first.
    void setZeroPadding(bool padding) { m_zeroPadding = padding; }

signals:
    void focusEntered();
    /// The focus went to another control; not when only a menu or another window took it for a while.
    void focusLeft();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void type(const QString &characters);
    void cutSelection();
    void pasteText(const QString &text);
    void blankSelectionOr(int first, int last, int cursor);
    void blankAll(int first);
    void apply(const QString &text, int cursor);
    void keepInPlaces(const QString &text);

    Mask m_mask;
    QString m_lastText; ///< that fitted, or was set by the program as it stands
    bool m_zeroPadding = false;
};

} // namespace dbcontrols
