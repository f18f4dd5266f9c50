#include "dbcontrols/DbGrid.h"

#include "dbcontrols/CellEditor.h"
#include "dbcontrols/DbGridDelegate.h"
#include "dbcontrols/FieldLink.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/Texts.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QScopedValueRollback>
#include <QtCore/QSet>
#include <QtCore/QTimer>
#include <QtGui/QInputMethodEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QScrollBar>

#include <algorithm>

namespace dbcontrols
{

using dataset::Bookmark;
using dataset::DataSet;

namespace
{

QList<int> rowsOf(const QItemSelection &selection)
{
    QList<int> rows;
    for (const QItemSelectionRange &range : selection) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.append(row);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

bool isMove(int key)
{
    switch (key) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        return true;
    default:
        return false;
    }
}

} // namespace

DbGrid::DbGrid(QWidget *parent)
    : QTableView(parent)
    , m_model(new DbGridModel(this))
    , m_reconcile(new QTimer(this))
{
    m_reconcile->setSingleShot(true);
    m_reconcile->setInterval(0);
    connect(m_reconcile, &QTimer::timeout, this, [this] {
        syncCurrent();
        syncSelection();
    });
    QTableView::setModel(m_model);
    setItemDelegate(new DbGridDelegate(*this));
    connect(m_model, &DbGridModel::failed, this, [this](const QString &text) {
        m_commitFailed = true;
        report(text);
    });
    connect(m_model, &DbGridModel::modelReset, this, [this] {
        syncCurrent();
        syncSelection();
    });
    connect(m_model, &DbGridModel::rowsInserted, this, &DbGrid::reconcileSoon);
    connect(m_model, &DbGridModel::rowsRemoved, this, &DbGrid::reconcileSoon);

    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setTabKeyNavigation(false); // Tab leaves the grid, the arrows go from cell to cell
    setWordWrap(false);
    setHorizontalScrollMode(ScrollPerPixel);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    horizontalHeader()->setSectionsClickable(false);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setMinimumSectionSize(8);
    // Their menus are Qt's own and would speak English.
    verticalScrollBar()->setContextMenuPolicy(Qt::PreventContextMenu);
    horizontalScrollBar()->setContextMenuPolicy(Qt::PreventContextMenu);
    setMode(Mode::cells);
}

DbGrid::~DbGrid() = default;

void DbGrid::setDataSource(DataSource *source)
{
    if (dataSource() == source)
        return;
    if (dataSource())
        dataSource()->disconnect(this);
    m_selected.clear();
    m_model->setDataSource(source); // connected first: the model is up to date when the grid follows
    if (source)
        connect(source, &DataSource::currentChanged, this, &DbGrid::syncCurrent);
}

void DbGrid::setColumns(const QList<GridColumn> &columns)
{
    m_model->setColumns(columns);
    for (int i = 0; i < columns.size(); ++i) {
        setColumnWidth(i, columns.at(i).width);
        setColumnHidden(i, !columns.at(i).visible);
    }
}

void DbGrid::setMode(Mode mode)
{
    m_mode = mode;
    m_model->setEditable(mode == Mode::cells);
    setEditTriggers(mode == Mode::cells ? EditKeyPressed | AnyKeyPressed : NoEditTriggers);
    viewport()->update();
}

void DbGrid::setRowColor(RowColor color)
{
    m_rowColor = std::move(color);
    viewport()->update();
}

std::optional<QColor> DbGrid::rowColor(int row) const
{
    return m_rowColor ? m_rowColor(row) : std::nullopt;
}

int DbGrid::dataRow(int row) const
{
    const dataset::DataSet *const set = dataSource() ? dataSource()->activeDataSet() : nullptr;
    return set ? set->rowOf(m_model->bookmarkAt(row)) : -1;
}

void DbGrid::setCellColor(CellColor color)
{
    m_cellColor = std::move(color);
    viewport()->update();
}

std::optional<QColor> DbGrid::cellColor(const QModelIndex &cell) const
{
    return m_cellColor ? m_cellColor(cell.row(), cell.column()) : rowColor(cell.row());
}

DataSet *DbGrid::activeSet() const
{
    return dataSource() ? dataSource()->activeDataSet() : nullptr;
}

// Current row

void DbGrid::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTableView::currentChanged(current, previous);        // puts the text of an open editor into its field
    viewport()->update();                                 // the frame may go round a whole line
    if (m_commitFailed && isEditorOpen() && !m_syncing) { // else it is on its way back to the editor
        m_column = previous.column();
        m_moveFailed = true;
        reconcileSoon();
        return;
    }
    if (current.isValid())
        m_column = current.column();
    const DataSet *const set = activeSet();
    if (!m_syncing && !m_model->isChangingRows() && current.isValid() && set &&
        set->currentRow() != current.row())
        moveDataSet(current.row());
}

void DbGrid::moveDataSet(int row)
{
    DataSet *const set = activeSet();
    try {
        // By bookmark: posting the line that is left may move others to another row.
        // Of a row that is one no more the set may know already, where the grid has not been told yet.
        const dataset::Bookmark bookmark = m_model->bookmarkAt(row);
        if (set->rowOf(bookmark) >= 0 && set->goToBookmark(bookmark)) {
            syncCurrent();
            return;
        }
        set->refresh(); // somebody has deleted it, or moved it elsewhere
    } catch (const dataset::EDatabaseError &error) {
        report(dataset::plainText(error));
    }
    m_moveFailed = true;
    reconcileSoon();
}

void DbGrid::syncCurrent()
{
    const QScopedValueRollback<bool> syncing(m_syncing, true);
    const DataSet *const set = activeSet();
    const int row = set ? set->currentRow() : -1;
    if (row < 0 || row >= m_model->rowCount()) {
        selectionModel()->setCurrentIndex({}, QItemSelectionModel::NoUpdate);
        return;
    }
    int column = qBound(0, m_column, qMax(0, m_model->columnCount() - 1));
    if (isColumnHidden(column))
        column = 0;
    const QModelIndex wanted = m_model->index(row, column);
    // The view's own setter, because it also moves the place from which Shift selects.
    if (currentIndex() == wanted)
        return;
    executeDelayedItemsLayout(); // so that a row just added can be scrolled to, and is seen whole
    setCurrentIndex(wanted);
}

void DbGrid::reconcileSoon()
{
    m_reconcile->start();
}

void DbGrid::report(const QString &text)
{
    // From the event loop: a message box must not open in the middle of a click or of a change of focus.
    ++m_telling;
    callLater(this, [this, text, grid = QPointer<DbGrid>(this)] {
        emit failed(text);
        if (grid) // the window may have been closed over the box
            --m_telling;
    });
}

// Selection

QList<Bookmark> DbGrid::selectedBookmarks() const
{
    QList<Bookmark> present;
    if (const DataSet *const set = activeSet())
        std::copy_if(m_selected.begin(), m_selected.end(), std::back_inserter(present),
                     [set](Bookmark bookmark) { return set->rowOf(bookmark) >= 0; });
    return present;
}

void DbGrid::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTableView::selectionChanged(selected, deselected);
    const DataSet *const set = activeSet();
    if (m_syncing || m_model->isChangingRows() || !set)
        return;
    const int rows = set->rowCount();
    QSet<Bookmark> gone;
    for (const int row : rowsOf(deselected)) {
        if (row < rows && !selectionModel()->isRowSelected(row, {}))
            gone.insert(set->bookmarkAt(row));
    }
    m_selected.removeIf([&gone](Bookmark bookmark) { return gone.contains(bookmark); });
    const QSet<Bookmark> before(m_selected.begin(), m_selected.end());
    QList<int> added = rowsOf(selected);
    // Shift selects from a line up to the current one, so that is the order, upwards as well as downwards.
    if (!added.isEmpty() && currentIndex().row() <= added.constFirst())
        std::reverse(added.begin(), added.end());
    for (const int row : std::as_const(added)) {
        if (row < rows && !before.contains(set->bookmarkAt(row)))
            m_selected.append(set->bookmarkAt(row));
    }
}

void DbGrid::syncSelection()
{
    const QScopedValueRollback<bool> syncing(m_syncing, true);
    if (m_moveFailed)
        m_selected.clear(); // what was clicked is not where the data set is
    m_moveFailed = false;
    m_selected = selectedBookmarks();
    QItemSelection wanted;
    const DataSet *const set = activeSet();
    const int lastColumn = m_model->columnCount() - 1;
    for (const Bookmark bookmark : std::as_const(m_selected)) {
        const int row = set->rowOf(bookmark);
        if (row < m_model->rowCount() && lastColumn >= 0)
            wanted.select(m_model->index(row, 0), m_model->index(row, lastColumn));
    }
    if (rowsOf(wanted) != rowsOf(selectionModel()->selection()))
        selectionModel()->select(wanted, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

QItemSelectionModel::SelectionFlags DbGrid::selectionCommand(const QModelIndex &index,
                                                             const QEvent *event) const
{
    if (m_syncing)
        return QItemSelectionModel::NoUpdate;
    if (event && event->type() == QEvent::KeyPress) {
        const auto *const key = static_cast<const QKeyEvent *>(event);
        if (isMove(key->key()) && !(key->modifiers() & Qt::ShiftModifier))
            return key->modifiers() & Qt::ControlModifier ? QItemSelectionModel::NoUpdate
                                                          : QItemSelectionModel::Clear;
    }
    return QTableView::selectionCommand(index, event);
}

void DbGrid::mousePressEvent(QMouseEvent *event)
{
    QTableView::mousePressEvent(event);
    // Posting the line that was left may have moved the clicked one away from under the mouse.
    if (selectionMode() != NoSelection && event->button() == Qt::LeftButton &&
        event->modifiers() == Qt::NoModifier && currentIndex().isValid() && indexAt(event->pos()).isValid() &&
        !m_moveFailed)
        selectionModel()->select(currentIndex(),
                                 QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void DbGrid::mouseDoubleClickEvent(QMouseEvent *event)
{
    QTableView::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton && !indexAt(event->pos()).isValid())
        emit doubleClickedOutside();
}

void DbGrid::mouseMoveEvent(QMouseEvent *event)
{
    // A hand that slips while clicking must not select more lines: commands would act on all of them.
    if (!(event->buttons() & Qt::LeftButton))
        QTableView::mouseMoveEvent(event);
}

// Editing

bool DbGrid::isEditorOpen() const
{
    return m_editor && state() == EditingState;
}

bool DbGrid::beginEdit()
{
    DataSet *const set = activeSet();
    if (!set)
        return false;
    try {
        if (!set->isEditing())
            set->edit();
        return true;
    } catch (const dataset::EDatabaseError &error) {
        report(dataset::plainText(error));
        return false;
    }
}

bool DbGrid::edit(const QModelIndex &index, EditTrigger trigger, QEvent *event)
{
    const QPersistentModelIndex cell = index; // reading the line afresh may move rows
    if (trigger == AnyKeyPressed && event && !isEditorOpen() && (index.flags() & Qt::ItemIsEditable)) {
        const bool types = event->type() == QEvent::KeyPress ||
                           (event->type() == QEvent::InputMethod &&
                            !static_cast<QInputMethodEvent *>(event)->commitString().isEmpty());
        if (types && !beginEdit())
            return true;
    }
    const QScopedValueRollback<bool> opening(m_opening, true);
    return QTableView::edit(cell, trigger, event);
}

void DbGrid::editorEdited(CellEditor &editor)
{
    const DataSet *const set = activeSet();
    if (!set)
        return;
    if (const QString kept = keptBy(*set, editor.text()); kept != editor.text()) {
        const auto position =
            static_cast<int>(keptBy(*set, editor.text().left(editor.cursorPosition())).size());
        editor.setText(kept);
        editor.setModified(true);
        editor.setCursorPosition(position);
    }
    if (set->isEditing())
        return;
    const QString believed = editor.original();
    const bool begun = beginEdit();
    const QString now = currentIndex().data(Qt::EditRole).toString();
    if (begun && now == believed)
        return;
    if (begun)
        report(changedElsewhere());
    editor.fill(now);
}

bool DbGrid::commitEditor()
{
    if (!isEditorOpen())
        return true;
    commitData(m_editor);
    if (m_commitFailed)
        return false;
    if (isEditorOpen())
        closeEditor(m_editor, QAbstractItemDelegate::NoHint);
    return true;
}

void DbGrid::cancelEditing()
{
    if (isEditorOpen())
        closeEditor(m_editor, QAbstractItemDelegate::RevertModelCache);
    DataSet *const set = activeSet();
    if (!set || !set->isEditing())
        return;
    try {
        set->cancel();
    } catch (const dataset::EDatabaseError &error) {
        report(dataset::plainText(error));
    }
}

void DbGrid::commitData(QWidget *editor)
{
    m_commitFailed = false;
    QTableView::commitData(editor);
}

void DbGrid::closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint)
{
    if (m_commitFailed && hint != QAbstractItemDelegate::RevertModelCache) {
        // What was typed stays before the user's eyes, and under the keys.
        callLater(editor, [editor] { editor->setFocus(); });
        return;
    }
    m_commitFailed = false;
    m_editor = nullptr;
    QTableView::closeEditor(editor, hint);
}

void DbGrid::moveColumn(int step)
{
    const QHeaderView *const header = horizontalHeader();
    int visual = header->visualIndex(currentIndex().column()) + step;
    while (visual >= 0 && visual < header->count() && header->isSectionHidden(header->logicalIndex(visual)))
        visual += step;
    if (visual >= 0 && visual < header->count())
        selectionModel()->setCurrentIndex(m_model->index(currentIndex().row(), header->logicalIndex(visual)),
                                          QItemSelectionModel::NoUpdate);
}

// Events

void DbGrid::keyboardSearch(const QString & /*search*/)
{
    // A letter in a grid that cannot be edited does nothing; jumping to another line would move the data set.
}

void DbGrid::keyPressEvent(QKeyEvent *event)
{
    emit keyDown(event);
    if (!event->isAccepted())
        return;
    // Who was told of the key may have taken in what others have written. The view's own current row has
    // slipped with that; the key is for the line that the data set stands on.
    if (m_reconcile->isActive())
        syncCurrent();
    switch (event->key()) {
    case Qt::Key_Enter:
    case Qt::Key_Return:
        if (m_enterOpensEditor && m_mode == Mode::cells)
            edit(currentIndex(), EditKeyPressed, event);
        else
            event->ignore();
        return;
    case Qt::Key_Escape:
        if (dataSource() && dataSource()->isEditing())
            cancelEditing();
        else
            event->ignore();
        return;
    case Qt::Key_Space:
        return; // too easily hit to replace a text; windows give it a meaning of their own
    default:
        QTableView::keyPressEvent(event);
    }
}

void DbGrid::inputMethodEvent(QInputMethodEvent *event)
{
    // A letter made with a dead key comes finished, without ever being composed; the view would let it fall.
    const bool finished = !event->commitString().isEmpty() && event->preeditString().isEmpty();
    if (!finished || isEditorOpen() || !(currentIndex().flags() & Qt::ItemIsEditable)) {
        QTableView::inputMethodEvent(event);
        return;
    }
    if (beginEdit() && edit(currentIndex(), EditKeyPressed, nullptr))
        QCoreApplication::sendEvent(m_editor, event);
}

void DbGrid::focusInEvent(QFocusEvent *event)
{
    {
        // The view would make its first row current when there is none, and so move the data set.
        const QScopedValueRollback<bool> syncing(m_syncing, true);
        QTableView::focusInEvent(event);
    }
    syncCurrent();
    viewport()->update();
}

void DbGrid::focusOutEvent(QFocusEvent *event)
{
    QTableView::focusOutEvent(event);
    viewport()->update();
}

void DbGrid::resizeEvent(QResizeEvent *event)
{
    QTableView::resizeEvent(event);
    emit viewportResized();
}

void DbGrid::showEvent(QShowEvent *event)
{
    QTableView::showEvent(event);
    if (currentIndex().isValid())
        scrollTo(currentIndex());
}

} // namespace dbcontrols
