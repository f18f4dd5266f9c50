#pragma once

#include <QtWidgets/QHeaderView>
#include <QtWidgets/QStyledItemDelegate>
#include <QtWidgets/QTableView>

class QLineEdit;
class TModeloConjunto;

/// Column titles in two storeys: the notary's name over his three columns.
class TCabeceraConjunta : public QHeaderView
{
    Q_OBJECT
public:
    /// @param modelo  not owned, outlives this.
    TCabeceraConjunta(const TModeloConjunto &modelo, QWidget *padre);
    /// The notary whose name stands out; 1-based.
    void PonNotarioActual(int notario);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintSection(QPainter *pintor, const QRect &lugar, int columna) const override;

private:
    const TModeloConjunto &m_modelo;
    int m_notario = 0;
};

/// What the grid asks of its window while cells are edited.
class IEdicionConjunta
{
public:
    virtual ~IEdicionConjunta() = default;
    /// Takes the line of a cell for changing. @return false, after telling why, when it cannot be had.
    virtual bool EmpiezaEdicion(const QModelIndex &celda) = 0;
    /// The editor is about to open over a cell.
    virtual void PreparaEditor(QLineEdit &editor, const QModelIndex &celda) = 0;
    /// Writes what was typed. @return false, after telling why, when it stays in the cell, to be tried again.
    virtual bool GuardaEdicion(QLineEdit &editor, const QModelIndex &celda) = 0;
    /// The editor has closed; what is still pending is given up.
    virtual void TerminaEdicion() = 0;
    /// A list or a message box stands over the editor: that it loses the focus means nothing.
    [[nodiscard]] virtual bool HayDialogo() const = 0;
};

/// The grid of the day of all notaries: the hour stays in sight at the left, cells are edited in place.
class TRejillaConjunta : public QTableView
{
    Q_OBJECT
public:
    /// @param edicion  not owned, outlives this.
    TRejillaConjunta(TModeloConjunto &modelo, IEdicionConjunta &edicion, QWidget *padre);
    /// Whether a cell's editor is open.
    [[nodiscard]] bool EstaEditando() const { return state() == EditingState || m_editada.isValid(); }
    /// The cell whose editor is open; invalid for none.
    [[nodiscard]] QModelIndex CeldaEditada() const { return m_editada; }
    [[nodiscard]] TCabeceraConjunta &Cabecera() { return *m_cabecera; }
    /// Makes a cell the current one, and the only one chosen, whatever keys are held down: those of a command
    /// are not meant for the choice.
    void VeA(const QModelIndex &celda);

signals:
    /// There is more or less room for the columns.
    void Redimensionada();

protected:
    bool edit(const QModelIndex &celda, EditTrigger motivo, QEvent *evento) override;
    void keyPressEvent(QKeyEvent *tecla) override;
    void inputMethodEvent(QInputMethodEvent *evento) override;
    void resizeEvent(QResizeEvent *evento) override;
    void closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint luego) override;

private:
    IEdicionConjunta &m_edicion;
    TCabeceraConjunta *m_cabecera;
    QPersistentModelIndex m_editada;
};

/// Paints the cells and opens their editors.
class TDelegadoConjunto : public QStyledItemDelegate
{
    Q_OBJECT
public:
    /// @param edicion  not owned, outlives this.
    TDelegadoConjunto(IEdicionConjunta &edicion, QObject *padre);
    void paint(QPainter *pintor, const QStyleOptionViewItem &opcion, const QModelIndex &celda) const override;
    QWidget *createEditor(QWidget *padre, const QStyleOptionViewItem &opcion,
                          const QModelIndex &celda) const override;
    void setEditorData(QWidget *editor, const QModelIndex &celda) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *modelo, const QModelIndex &celda) const override;
    /// Whether what was typed last could not be written.
    [[nodiscard]] bool QuedaPendiente() const { return m_pendiente; }

protected:
    bool eventFilter(QObject *objeto, QEvent *evento) override;

private:
    IEdicionConjunta &m_edicion;
    mutable bool m_pendiente = false;
};
