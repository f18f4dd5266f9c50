#pragma once

#include "dataset/DataSet.h"
#include "host/BuscaNombre.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QList>
#include <QtWidgets/QDialog>

#include <functional>

class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;

/// One column of a list.
struct TColumnaLista {
    QString Titulo;
    QString Campo;
    int Letras = 10; ///< width in characters
};

/// The rows of a data set, read only when they are shown.
class TModeloLista : public QAbstractTableModel
{
    Q_OBJECT
public:
    /// @param tabla  open; not owned, outlives this. Fields that it lacks are left out.
    TModeloLista(dataset::DataSet &tabla, const QList<TColumnaLista> &columnas, QObject *padre);
    [[nodiscard]] int rowCount(const QModelIndex &padre = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &padre = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &indice, int papel = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int seccion, Qt::Orientation orientacion, int papel) const override;
    [[nodiscard]] const QList<TColumnaLista> &Columnas() const { return m_columnas; }

private:
    void Relee();

    dataset::DataSet &m_tabla;
    QList<TColumnaLista> m_columnas;
    int m_filas = 0; ///< as the views know them
};

/// A list of names to be looked at, chosen from, or maintained. Typing goes to the first name that begins so;
/// the arrows move in the list meanwhile. A list that is maintained takes in every few seconds what others
/// have changed, and keys and buttons add (Insert), change (Enter) and delete (Delete) lines; Delete belongs
/// to the text being searched for as long as it has something to delete there.
class TDialogoLista : public QDialog
{
    Q_OBJECT
public:
    /// Something done to the list. Takes the current line, 0 for none; answers with the line to go to
    /// afterwards, 0 when nothing was done.
    using TOrden = std::function<dataset::Bookmark(dataset::Bookmark)>;
    struct TOpciones {
        QString Titulo;
        QString Inicial;     ///< the list comes at the first name that begins so
        QString QueBusca;    ///< what one name is: "cliente"
        bool Elegir = false; ///< otherwise the list is only looked at
        /// Shows more about the current line; empty for none.
        std::function<void()> Ficha = {};
        // With these the list is maintained.
        TOrden Anadir = {};
        TOrden Cambiar = {};
        TOrden Borrar = {};
        bool Busqueda = true; ///< false for a few lines in an order of their own
    };
    /// @param tabla     open, and ordered by UPPER of the first column's field where names are searched
    /// for; not owned, outlives this. Its
    /// current line is the one chosen, and the one about which Ficha is asked.
    TDialogoLista(dataset::DataSet &tabla, const QList<TColumnaLista> &columnas, const TOpciones &opciones,
                  QWidget *padre);
    /// Does nothing when there is no line to choose.
    void accept() override;

protected:
    bool eventFilter(QObject *objeto, QEvent *evento) override;
    void keyPressEvent(QKeyEvent *evento) override;

private:
    void CreaBusqueda();
    void CreaMantenimiento();
    QPushButton *Boton(const QString &titulo, const char *nombre, const std::function<void()> &orden);
    void Ordena(const TOrden &orden, bool pideLinea = true);
    void Refresca();
    bool OrdenDeTecla(int tecla);
    [[nodiscard]] bool SeMantiene() const { return static_cast<bool>(m_opciones.Cambiar); }
    void CreaLista(const QList<TColumnaLista> &columnas);
    void CreaPie();
    void VeA(const QString &inicial);
    void Busca(const QString &comienzo);
    void PonFila(int fila);
    void CambiaFila(const QModelIndex &indice);
    void TomaAMano();
    [[nodiscard]] bool HayElegida() const;
    void MuestraFicha();
    void MuestraQueHay();
    bool ConGuarda(const std::function<void()> &orden);

    dataset::DataSet &m_tabla;
    TOpciones m_opciones;
    TBuscaNombre m_busca;
    QLineEdit *EBusqueda = nullptr;
    QTableView *TVLista = nullptr;
    QLabel *LAviso = nullptr;
    QPushButton *m_aceptar = nullptr;
    QPushButton *m_ficha = nullptr;
    QPushButton *m_cambiar = nullptr;
    QPushButton *m_borrar = nullptr;
    int m_desplazamiento = 0;       ///< of the list, while its rows are told anew
    bool m_sinCoincidencia = false; ///< no name begins as typed: Enter must not take another one for it
};
