#include "dbcontrols/DbGridDelegate.h"

#include "dbcontrols/CellEditor.h"
#include "dbcontrols/ColorPanel.h"
#include "dbcontrols/DbGrid.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QHeaderView>

namespace dbcontrols
{

namespace
{

constexpr int TextMargin = 2;

QColor selectedBackground()
{
    return {0, 0, 255};
}

} // namespace

DbGridDelegate::DbGridDelegate(DbGrid &grid)
    : QStyledItemDelegate(&grid)
    , m_grid(grid)
{
}

DbGridDelegate::~DbGridDelegate() = default;

void DbGridDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                           const QModelIndex &index) const
{
    QColor background = option.palette.color(QPalette::Base);
    QColor text = option.palette.color(QPalette::Text);
    if (const std::optional<QColor> color = m_grid.cellColor(index)) {
        background = *color;
        text = readableOn(background, text);
    }
    if (option.state & QStyle::State_Selected) {
        background = selectedBackground();
        text = Qt::white;
    }
    painter->save();
    painter->setClipRect(option.rect);
    painter->fillRect(option.rect, background);
    const auto alignment = static_cast<Qt::Alignment>(index.data(Qt::TextAlignmentRole).toInt());
    const QRect inner = option.rect.adjusted(TextMargin, 0, -TextMargin, 0);
    QString line = index.data().toString();
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    // A centred text is a short code: it is drawn whole and its edges may touch the cell's.
    if (!(alignment & Qt::AlignHCenter))
        line = option.fontMetrics.elidedText(line, Qt::ElideRight, inner.width());
    painter->setFont(option.font);
    painter->setPen(text);
    painter->drawText(alignment & Qt::AlignHCenter ? option.rect : inner,
                      static_cast<int>(alignment) | Qt::TextSingleLine, line);
    paintFrame(*painter, option.rect, index, text);
    painter->restore();
}

void DbGridDelegate::paintFrame(QPainter &painter, const QRect &cell, const QModelIndex &index,
                                const QColor &color) const
{
    const QModelIndex current = m_grid.currentIndex();
    const bool wholeRow = m_grid.mode() == DbGrid::Mode::rows;
    if (index.row() != current.row() || (!wholeRow && index.column() != current.column()))
        return;
    // Thick where the keys go, thin where they will go when the grid is entered again.
    const int width = m_grid.hasFocus() || m_grid.isEditorOpen() ? 2 : 1;
    painter.fillRect(cell.left(), cell.top(), cell.width(), width, color);
    painter.fillRect(cell.left(), cell.bottom() - width + 1, cell.width(), width, color);
    const QHeaderView *const header = m_grid.horizontalHeader();
    const int visual = header->visualIndex(index.column());
    int lastVisual = header->count() - 1;
    while (lastVisual > visual && header->isSectionHidden(header->logicalIndex(lastVisual)))
        --lastVisual;
    if (!wholeRow || visual == 0)
        painter.fillRect(cell.left(), cell.top(), width, cell.height(), color);
    if (!wholeRow || visual == lastVisual)
        painter.fillRect(cell.right() - width + 1, cell.top(), width, cell.height(), color);
}

QWidget *DbGridDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem & /*option*/,
                                      const QModelIndex &index) const
{
    auto *const editor = new CellEditor(parent); // the view owns and deletes its editors
    const int width = m_grid.gridModel().fieldWidth(index.column());
    if (width > 0)
        editor->setMaxLength(width);
    editor->setAlignment(static_cast<Qt::Alignment>(index.data(Qt::TextAlignmentRole).toInt()));
    editor->setAccessibleName(m_grid.gridModel().columns().at(index.column()).title);
    connect(editor, &QLineEdit::textEdited, &m_grid, [this, editor] { m_grid.editorEdited(*editor); });
    m_grid.m_editor = editor;
    return editor;
}

void DbGridDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    auto *const cell = qobject_cast<CellEditor *>(editor);
    // The view fills the editor again whenever the line changes; what the user has typed stays.
    if (cell && !cell->isModified())
        cell->fill(index.data(Qt::EditRole).toString());
}

void DbGridDelegate::setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const
{
    const auto *const cell = qobject_cast<CellEditor *>(editor);
    if (cell && cell->text() != index.data(Qt::EditRole).toString())
        model->setData(index, cell->text(), Qt::EditRole);
}

void DbGridDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                          const QModelIndex & /*index*/) const
{
    editor->setGeometry(option.rect);
}

bool DbGridDelegate::eventFilter(QObject *object, QEvent *event)
{
    // The box that says what was wrong takes the focus; the same text is not to be refused, and told, again.
    if (event->type() == QEvent::FocusOut && m_grid.m_telling > 0)
        return false;
    if (event->type() != QEvent::KeyPress)
        return QStyledItemDelegate::eventFilter(object, event);
    auto *const key = static_cast<QKeyEvent *>(event);
    switch (key->key()) {
    case Qt::Key_Escape:
        m_grid.cancelEditing();
        return true;
    case Qt::Key_Enter:
    case Qt::Key_Return:
        // The text goes into the field first: whoever listens to the key may post the line.
        if (m_grid.commitEditor())
            emit m_grid.keyDown(key);
        return true;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        if (key->modifiers() & Qt::ControlModifier)
            return false; // to the next page, not to the next cell
        if (m_grid.commitEditor())
            m_grid.moveColumn(key->key() == Qt::Key_Tab ? 1 : -1);
        return true;
    default:
        if (!m_grid.m_opening)
            emit m_grid.keyDown(key);
        return false;
    }
}

} // namespace dbcontrols
