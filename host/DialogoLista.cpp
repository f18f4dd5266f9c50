#include "host/DialogoLista.h"

#include "dataset/DatabaseError.h"
#include "host/Dialogos.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QItemSelectionModel>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QTableView>
#include <QtWidgets/QVBoxLayout>

using dataset::DataSet;

TModeloLista::TModeloLista(DataSet &tabla, const QList<TColumnaLista> &columnas, QObject *padre)
    : QAbstractTableModel(padre)
    , m_tabla(tabla)
{
    for (const TColumnaLista &columna : columnas) {
        if (tabla.fieldIndex(columna.Campo) >= 0)
            m_columnas << columna;
    }
    m_filas = tabla.rowCount();
    // Others may add clients meanwhile.
    connect(&tabla, &DataSet::rowsReset, this, &TModeloLista::Relee);
    connect(&tabla, &DataSet::rowsInserted, this, &TModeloLista::Relee);
    connect(&tabla, &DataSet::rowsRemoved, this, &TModeloLista::Relee);
    connect(&tabla, &DataSet::rowsChanged, this, [this](int primera, int cuantas) {
        emit dataChanged(index(primera, 0), index(primera + cuantas - 1, columnCount() - 1));
    });
}

void TModeloLista::Relee()
{
    beginResetModel();
    m_filas = m_tabla.rowCount();
    endResetModel();
}

int TModeloLista::rowCount(const QModelIndex &padre) const
{
    return padre.isValid() ? 0 : m_filas;
}

int TModeloLista::columnCount(const QModelIndex &padre) const
{
    return padre.isValid() ? 0 : static_cast<int>(m_columnas.size());
}

QVariant TModeloLista::data(const QModelIndex &indice, int papel) const
{
    if (!indice.isValid() || (papel != Qt::DisplayRole && papel != Qt::ToolTipRole))
        return {};
    return m_tabla.textAt(indice.row(), m_tabla.fieldIndex(m_columnas.at(indice.column()).Campo));
}

QVariant TModeloLista::headerData(int seccion, Qt::Orientation orientacion, int papel) const
{
    if (orientacion != Qt::Horizontal || seccion < 0 || seccion >= m_columnas.size())
        return {};
    if (papel == Qt::DisplayRole)
        return m_columnas.at(seccion).Titulo;
    if (papel == Qt::TextAlignmentRole)
        return static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

TDialogoLista::TDialogoLista(DataSet &tabla, const QList<TColumnaLista> &columnas, const TOpciones &opciones,
                             QWidget *padre)
    : QDialog(padre)
    , m_tabla(tabla)
    , m_opciones(opciones)
    , m_busca(tabla, columnas.front().Campo)
{
    setWindowTitle(opciones.Titulo);
    auto *const rotulo = new QLabel(QStringLiteral("&Buscar:"), this);
    EBusqueda = new QLineEdit(this);
    EBusqueda->setObjectName(QStringLiteral("EBusqueda"));
    EBusqueda->setAccessibleName(QStringLiteral("Comienzo del nombre de ") + opciones.QueBusca);
    EBusqueda->setClearButtonEnabled(true);
    EBusqueda->setContextMenuPolicy(Qt::NoContextMenu); // Qt's own, which may speak English
    EBusqueda->installEventFilter(this);
    rotulo->setBuddy(EBusqueda);
    CreaLista(columnas);
    LAviso = new QLabel(this);
    LAviso->setObjectName(QStringLiteral("LAviso"));
    LAviso->setWordWrap(true);
    auto *const orden = new QVBoxLayout(this);
    auto *const fila = new QHBoxLayout;
    fila->addWidget(rotulo);
    fila->addWidget(EBusqueda);
    orden->addLayout(fila);
    orden->addWidget(TVLista);
    orden->addWidget(LAviso);
    CreaPie();
    VeA(opciones.Inicial);
    MuestraQueHay();
    resize(sizeHint() + QSize(0, 6 * TVLista->verticalHeader()->defaultSectionSize()));
    EBusqueda->setFocus();
    connect(EBusqueda, &QLineEdit::textChanged, this, &TDialogoLista::Busca);
}

void TDialogoLista::CreaLista(const QList<TColumnaLista> &columnas)
{
    TVLista = new QTableView(this);
    TVLista->setObjectName(QStringLiteral("TVLista"));
    TVLista->setAccessibleName(m_opciones.Titulo);
    auto *const modelo = new TModeloLista(m_tabla, columnas, TVLista);
    TVLista->setModel(modelo);
    TVLista->setSelectionBehavior(QAbstractItemView::SelectRows);
    TVLista->setSelectionMode(QAbstractItemView::SingleSelection);
    TVLista->setTabKeyNavigation(false);
    TVLista->setShowGrid(false);
    TVLista->setAlternatingRowColors(true);
    TVLista->setWordWrap(false);
    TVLista->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    TVLista->setFocusProxy(EBusqueda); // what is typed is always meant for the search
    QHeaderView *const lineas = TVLista->verticalHeader();
    lineas->hide();
    lineas->setSectionResizeMode(QHeaderView::Fixed); // one height for all: none is measured
    lineas->setDefaultSectionSize(fontMetrics().height() + 6);
    QHeaderView *const titulos = TVLista->horizontalHeader();
    titulos->setSectionsClickable(false);
    titulos->setHighlightSections(false);
    titulos->setVisible(modelo->columnCount() > 1);
    titulos->setStretchLastSection(true);
    int ancho = TVLista->verticalScrollBar()->sizeHint().width() + 2 * TVLista->frameWidth() + 4;
    for (int i = 0; i < modelo->columnCount(); ++i) {
        const int suyo = modelo->Columnas().at(i).Letras * fontMetrics().averageCharWidth() + 12;
        TVLista->setColumnWidth(i, suyo);
        ancho += suyo;
    }
    TVLista->setMinimumSize(qMin(ancho, 620), 8 * lineas->defaultSectionSize());
    connect(TVLista, &QTableView::clicked, this, &TDialogoLista::TomaAMano);
    connect(TVLista, &QTableView::doubleClicked, this,
            [this] { m_opciones.Elegir || !m_ficha ? accept() : MuestraFicha(); });
    connect(TVLista->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &TDialogoLista::CambiaFila);
    connect(modelo, &QAbstractItemModel::modelReset, this, [this] { PonFila(m_tabla.currentRow()); });
}

void TDialogoLista::CreaPie()
{
    const bool elegir = m_opciones.Elegir;
    QDialogButtonBox *const botones =
        CreaBotones(*this, elegir ? QStringLiteral("&Aceptar") : QStringLiteral("&Cerrar"),
                    elegir ? QStringLiteral("&Cancelar") : QString());
    m_aceptar = qobject_cast<QPushButton *>(botones->buttons().front());
    if (m_opciones.Ficha) {
        m_ficha = botones->addButton(QStringLiteral("&Ver ficha"), QDialogButtonBox::ActionRole);
        m_ficha->setAutoDefault(!elegir);
        m_ficha->setDefault(!elegir); // who only looks wants to see more, not to close
        connect(m_ficha, &QPushButton::clicked, this, &TDialogoLista::MuestraFicha);
    }
    layout()->addWidget(botones);
}

void TDialogoLista::VeA(const QString &inicial)
{
    ConGuarda([&] {
        if (m_busca.Busca(inicial)) {
            EBusqueda->setText(inicial);
            EBusqueda->selectAll(); // the first letter typed replaces it
        } else {
            m_tabla.first();
        }
    });
    PonFila(m_tabla.currentRow());
}

void TDialogoLista::Busca(const QString &comienzo)
{
    m_sinCoincidencia = false;
    ConGuarda([&] {
        if (comienzo.isEmpty())
            m_tabla.first();
        else
            m_sinCoincidencia = !m_busca.Busca(comienzo);
    });
    PonFila(m_tabla.currentRow());
    MuestraQueHay();
}

void TDialogoLista::PonFila(int fila)
{
    const QModelIndex indice = TVLista->model()->index(fila, 0);
    TVLista->setCurrentIndex(indice);
    TVLista->scrollTo(indice, QAbstractItemView::PositionAtTop);
}

void TDialogoLista::MuestraQueHay()
{
    const bool vacia = TVLista->model()->rowCount() == 0;
    QString aviso;
    if (vacia)
        aviso = QStringLiteral("La lista está vacía.");
    else if (m_sinCoincidencia)
        aviso = QStringLiteral("Ningún %1 empieza por «%2».").arg(m_opciones.QueBusca, EBusqueda->text());
    LAviso->setText(aviso);
    m_aceptar->setEnabled(!m_opciones.Elegir || (!vacia && !m_sinCoincidencia));
    if (m_ficha)
        m_ficha->setEnabled(!vacia && !m_sinCoincidencia);
}

bool TDialogoLista::eventFilter(QObject *objeto, QEvent *evento)
{
    if (objeto != EBusqueda || evento->type() != QEvent::KeyPress)
        return QDialog::eventFilter(objeto, evento);
    const auto &tecla = *static_cast<QKeyEvent *>(evento);
    const bool alExtremo = (tecla.modifiers() & Qt::ControlModifier) &&
                           (tecla.key() == Qt::Key_Home || tecla.key() == Qt::Key_End);
    const bool mueve = tecla.key() == Qt::Key_Up || tecla.key() == Qt::Key_Down ||
                       tecla.key() == Qt::Key_PageUp || tecla.key() == Qt::Key_PageDown;
    if (!alExtremo && !mueve)
        return QDialog::eventFilter(objeto, evento);
    QCoreApplication::sendEvent(TVLista, evento);
    TomaAMano();
    return true;
}

void TDialogoLista::TomaAMano()
{
    if (!m_sinCoincidencia)
        return;
    m_sinCoincidencia = false;
    MuestraQueHay();
}

void TDialogoLista::CambiaFila(const QModelIndex &indice)
{
    if (!indice.isValid())
        return;
    ConGuarda([&] { m_tabla.setCurrentRow(indice.row()); });
    // The focus stays in the search box, so it is there that the line is read out.
    EBusqueda->setAccessibleDescription(indice.siblingAtColumn(0).data().toString());
}

bool TDialogoLista::HayElegida() const
{
    return TVLista->currentIndex().isValid() && !m_sinCoincidencia;
}

void TDialogoLista::accept()
{
    if (!m_opciones.Elegir || HayElegida())
        QDialog::accept();
}

void TDialogoLista::MuestraFicha()
{
    if (HayElegida())
        ConGuarda(m_opciones.Ficha);
}

bool TDialogoLista::ConGuarda(const std::function<void()> &orden)
{
    try {
        orden();
        return true;
    } catch (const dataset::EDatabaseError &error) {
        AvisaAtencion(error.text());
        return false;
    }
}
