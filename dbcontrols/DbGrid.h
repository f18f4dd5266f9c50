#pragma once

#include "dbcontrols/DbGridModel.h"
#include "dbcontrols/Export.h"

#include <QtCore/QList>
#include <QtCore/QPointer>
#include <QtGui/QColor>
#include <QtWidgets/QTableView>

#include <functional>
#include <optional>

class QKeyEvent;
class QTimer;

namespace dbcontrols
{

class CellEditor;
class DbGridDelegate;

/// A grid over a data set. Its current row is the data set's current record, both ways: moving in the grid
/// moves the data set (which posts or cancels a pending edit), moving the data set moves the grid. When a
/// post fails the grid goes back to the line that could not be written.
///
/// Selection: a click selects one line, Ctrl adds or takes away, Shift selects up to the line clicked or
/// moved to; the arrows alone only move. Lines are remembered by bookmark in the order in which they were
/// selected, so the selection outlives a refresh and lines that others write or delete.
///
/// Editing in place: a typed character, also one made with a dead key, replaces the cell's text; F2 and Enter
/// open it. The data set is put into edit with the first change and not before. Enter, Tab or leaving the
/// cell put the text into the field; Esc drops it together with the line's edit. Nothing is posted here but
/// by moving.
class DBCONTROLS_EXPORT DbGrid : public QTableView
{
    Q_OBJECT
public:
    enum class Mode {
        cells, ///< one cell is current and can be edited
        rows   ///< the whole line is current and read-only
    };
    /// Background of a row of the grid; nothing for the palette's. While the data set's notices are off its
    /// rows are not those of the grid: see dataRow().
    using RowColor = std::function<std::optional<QColor>(int row)>;
    using CellColor = std::function<std::optional<QColor>(int row, int column)>;

    explicit DbGrid(QWidget *parent = nullptr);
    ~DbGrid() override;

    /// @param source not owned; may be null.
    void setDataSource(DataSource *source);
    [[nodiscard]] DataSource *dataSource() const { return m_model->dataSource(); }
    void setColumns(const QList<GridColumn> &columns);
    [[nodiscard]] const DbGridModel &gridModel() const { return *m_model; }
    void setMode(Mode mode);
    [[nodiscard]] Mode mode() const { return m_mode; }
    /// Whether Enter opens the current cell; true at first. Off where Enter has another meaning.
    void setEnterOpensEditor(bool opens) { m_enterOpensEditor = opens; }
    /// Selected lines are painted blue with white text whatever the function says.
    void setRowColor(RowColor color);
    [[nodiscard]] std::optional<QColor> rowColor(int row) const;
    /// The same cell by cell, for grids whose columns tell of different things; goes before the row's.
    void setCellColor(CellColor color);
    [[nodiscard]] std::optional<QColor> cellColor(const QModelIndex &cell) const;

    /// The selected lines in the order in which they were selected.
    [[nodiscard]] QList<dataset::Bookmark> selectedBookmarks() const;
    /// Where the line that a row of the grid shows stands in the data set now; -1 when it is out of its
    /// range.
    [[nodiscard]] int dataRow(int row) const;
    [[nodiscard]] bool isEditorOpen() const;
    /// Closes an open cell editor, its text put into the field. @return false, after failed() and with the
    /// editor still open, when the field did not take it.
    bool commitEditor();
    /// Drops what was typed into an open cell editor and the pending edit of the line.
    void cancelEditing();

signals:
    /// Something could not be locked, written or moved; always emitted from the event loop. @param text for
    /// the user.
    void failed(const QString &text);
    /// A key pressed in the grid or its cell editor, before either acts on it; for Enter in the editor, after
    /// the text has gone into the field.
    void keyDown(QKeyEvent *event);
    /// A double click of the left button on none of the lines.
    void doubleClickedOutside();
    /// The width or height in which lines are shown has changed, also by a scroll bar that came or went.
    void viewportResized();

protected:
    using QTableView::edit;
    bool edit(const QModelIndex &index, EditTrigger trigger, QEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    [[nodiscard]] QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex &index,
                                                                       const QEvent *event) const override;
    void commitData(QWidget *editor) override;
    void closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint) override;
    void keyboardSearch(const QString &search) override;
    void keyPressEvent(QKeyEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    friend class DbGridDelegate;
    void editorEdited(CellEditor &editor);
    void moveColumn(int step);
    bool beginEdit();
    void moveDataSet(int row);
    void syncCurrent();
    void syncSelection();
    void reconcileSoon();
    void report(const QString &text);
    [[nodiscard]] dataset::DataSet *activeSet() const;

    DbGridModel *m_model;
    QTimer *m_reconcile; ///< brings current row and selection back into line once a batch of notices is over
    QPointer<CellEditor> m_editor;
    QList<dataset::Bookmark> m_selected;
    RowColor m_rowColor;
    CellColor m_cellColor;
    Mode m_mode = Mode::cells;
    bool m_enterOpensEditor = true;
    int m_column = 0;       ///< where the current cell was when there was a current line
    bool m_opening = false; ///< the key that opens an editor is on its way into it
    bool m_syncing = false; ///< the grid follows the data set; nobody has moved in it
    bool m_moveFailed = false;
    bool m_commitFailed = false;
    int m_telling = 0; ///< failures on their way to the user, or before him in a box
};

} // namespace dbcontrols
