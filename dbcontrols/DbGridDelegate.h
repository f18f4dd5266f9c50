#pragma once

#include <QtWidgets/QStyledItemDelegate>

namespace dbcontrols
{

class DbGrid;

/// Paints the grid's cells and lends its editors their keys. Internal to the grid.
class DbGridDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    explicit DbGridDelegate(DbGrid &grid);
    ~DbGridDelegate() override;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    void paintFrame(QPainter &painter, const QRect &cell, const QModelIndex &index,
                    const QColor &color) const;

    DbGrid &m_grid;
};

} // namespace dbcontrols
