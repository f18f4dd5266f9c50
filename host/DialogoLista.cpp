#include "host/DialogoLista.h"

#include "dataset/DatabaseError.h"
#include "dbcontrols/PlainText.h"
#include "host/Dialogos.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QItemSelectionModel>
#include <QtCore/QSignalBlocker>
#include <QtCore/QTimer>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QApplication>
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
    const QString texto =
        m_tabla.textAt(indice.row(), m_tabla.fieldIndex(m_columnas.at(indice.column()).Campo));
    return papel == Qt::ToolTipRole ? dbcontrols::plainTip(texto) : texto;
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
    new QVBoxLayout(this);
    CreaBusqueda();
    CreaLista(columnas);
    LAviso = dbcontrols::plainLabel({}, this);
    LAviso->setObjectName(QStringLiteral("LAviso"));
    LAviso->setWordWrap(true);
    layout()->addWidget(TVLista);
    layout()->addWidget(LAviso);
    if (SeMantiene())
        CreaMantenimiento();
    else
        CreaPie();
    VeA(opciones.Inicial);
    MuestraQueHay();
    resize(sizeHint() + QSize(0, 6 * TVLista->verticalHeader()->defaultSectionSize()));
    TVLista->setFocus();
    connect(EBusqueda, &QLineEdit::textChanged, this, &TDialogoLista::Busca);
}

void TDialogoLista::CreaBusqueda()
{
    EBusqueda = new QLineEdit(this);
    EBusqueda->setObjectName(QStringLiteral("EBusqueda"));
    EBusqueda->setAccessibleName(QStringLiteral("Comienzo del nombre de ") + m_opciones.QueBusca);
    EBusqueda->setClearButtonEnabled(true);
    EBusqueda->setContextMenuPolicy(Qt::NoContextMenu); // Qt's own, which may speak English
    EBusqueda->installEventFilter(this);
    EBusqueda->setVisible(m_opciones.Busqueda);
    if (!m_opciones.Busqueda)
        return;
    auto *const rotulo = dbcontrols::plainLabel(QStringLiteral("&Buscar:"), this);
    rotulo->setBuddy(EBusqueda);
    auto *const fila = new QHBoxLayout;
    fila->addWidget(rotulo);
    fila->addWidget(EBusqueda);
    static_cast<QVBoxLayout *>(layout())->addLayout(fila);
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
    if (m_opciones.Busqueda)
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
    connect(TVLista, &QTableView::doubleClicked, this, [this] {
        if (SeMantiene())
            Ordena(m_opciones.Cambiar);
        else if (m_opciones.Elegir || !m_ficha)
            accept();
        else
            MuestraFicha();
    });
    connect(TVLista->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &TDialogoLista::CambiaFila);
    // Changes of others leave the list where the clerk is looking.
    connect(modelo, &QAbstractItemModel::modelAboutToBeReset, this,
            [this] { m_desplazamiento = TVLista->verticalScrollBar()->value(); });
    connect(modelo, &QAbstractItemModel::modelReset, this, [this] {
        const QModelIndex indice = TVLista->model()->index(m_tabla.currentRow(), 0);
        TVLista->setCurrentIndex(indice);
        TVLista->verticalScrollBar()->setValue(m_desplazamiento);
        TVLista->scrollTo(indice);
    });
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

QPushButton *TDialogoLista::Boton(const QString &titulo, const char *nombre,
                                  const std::function<void()> &orden)
{
    auto *const boton = new QPushButton(titulo, this);
    boton->setObjectName(QLatin1String(nombre));
    boton->setAutoDefault(false);
    connect(boton, &QPushButton::clicked, this, orden);
    return boton;
}

void TDialogoLista::CreaMantenimiento()
{
    constexpr int RefrescoMs = 5000;
    auto *const fila = new QHBoxLayout;
    fila->addWidget(
        Boton(QStringLiteral("&Añadir (Ins)"), "BAnadir", [this] { Ordena(m_opciones.Anadir, false); }));
    m_cambiar = Boton(QStringLiteral("Ca&mbiar (Intro)"), "BCambiar", [this] { Ordena(m_opciones.Cambiar); });
    m_cambiar->setDefault(true);
    fila->addWidget(m_cambiar);
    m_borrar = Boton(QStringLiteral("B&orrar (Supr)"), "BBorrar", [this] { Ordena(m_opciones.Borrar); });
    fila->addWidget(m_borrar);
    fila->addStretch();
    m_aceptar = Boton(QStringLiteral("&Cerrar (Esc)"), "BCerrar", [this] { reject(); });
    fila->addWidget(m_aceptar);
    static_cast<QVBoxLayout *>(layout())->addLayout(fila);
    auto *const reloj = new QTimer(this);
    connect(reloj, &QTimer::timeout, this, [this] {
        if (QApplication::activeModalWidget() == this)
            Refresca();
    });
    reloj->start(RefrescoMs);
}

void TDialogoLista::Refresca()
{
    try {
        m_tabla.refresh();
    } catch (const dataset::EDatabaseError &error) {
        LAviso->setText(error.text()); // a message box every few seconds would help nobody
        return;
    }
    MuestraQueHay();
}

void TDialogoLista::Ordena(const TOrden &orden, bool pideLinea)
{
    if (pideLinea && !HayElegida())
        return;
    ConGuarda([&] {
        const dataset::Bookmark linea = orden(HayElegida() ? m_tabla.bookmark() : 0);
        m_tabla.refresh();
        if (linea != 0 && m_tabla.goToBookmark(linea)) {
            const QSignalBlocker sinBuscar(EBusqueda);
            EBusqueda->clear();
            m_sinCoincidencia = false;
        }
        const QModelIndex indice = TVLista->model()->index(m_tabla.currentRow(), 0);
        TVLista->setCurrentIndex(indice);
        TVLista->scrollTo(indice);
    });
    MuestraQueHay();
    TVLista->setFocus();
}

bool TDialogoLista::OrdenDeTecla(int tecla)
{
    if (!SeMantiene())
        return false;
    if (tecla == Qt::Key_Insert)
        Ordena(m_opciones.Anadir, false);
    else if (tecla == Qt::Key_Delete)
        Ordena(m_opciones.Borrar);
    else if (tecla == Qt::Key_F5)
        Refresca();
    else
        return false;
    return true;
}

void TDialogoLista::keyPressEvent(QKeyEvent *evento)
{
    if (!OrdenDeTecla(evento->key()))
        QDialog::keyPressEvent(evento);
}

void TDialogoLista::VeA(const QString &inicial)
{
    ConGuarda([&] {
        if (m_opciones.Busqueda && m_busca.Busca(inicial)) {
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
    for (QPushButton *const boton : {m_ficha, m_cambiar, m_borrar}) {
        if (boton)
            boton->setEnabled(!vacia && !m_sinCoincidencia);
    }
}

bool TDialogoLista::eventFilter(QObject *objeto, QEvent *evento)
{
    if (objeto != EBusqueda || evento->type() != QEvent::KeyPress)
        return QDialog::eventFilter(objeto, evento);
    const auto &tecla = *static_cast<QKeyEvent *>(evento);
    const bool borraTexto =
        tecla.key() == Qt::Key_Delete &&
        (EBusqueda->hasSelectedText() || EBusqueda->cursorPosition() < EBusqueda->text().size());
    if (!borraTexto && OrdenDeTecla(tecla.key()))
        return true;
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
