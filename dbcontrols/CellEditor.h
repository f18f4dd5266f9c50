#pragma once

#include <QtWidgets/QLineEdit>

namespace dbcontrols
{

/// The line edit that opens in a cell. Internal to the grid.
class CellEditor : public QLineEdit
{
    Q_OBJECT
public:
    explicit CellEditor(QWidget *parent);
    ~CellEditor() override;

    /// Text of the cell when the editor was filled: what the user believes to be changing.
    [[nodiscard]] const QString &original() const { return m_original; }
    void fill(const QString &text);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    QString m_original;
};

} // namespace dbcontrols
