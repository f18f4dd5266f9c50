// How the windows of the single-table agenda are put together, and what they remember of their place.

#include "agenda1/VentanaAgenda.h"

#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/host/Servicios.h"
#include "dbcontrols/DataSource.h"
#include "dbcontrols/DbEdit.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/HelpLine.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/PlainText.h"
#include "dbcontrols/WindowPlace.h"

#include <QtGui/QAction>
#include <QtGui/QScreen>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMenu>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStatusBar>

using dbcontrols::DbEdit;
using dbcontrols::DbGrid;
using dbcontrols::MaskEdit;

namespace
{

constexpr QSize AreaDeLaVentana{940, 600};
constexpr int PuntosPulgada = 96;

} // namespace

TVentanaAgenda::TVentanaAgenda(TAgenda &motor, const QString &nombre, const TRotulos &rotulos)
    : m_motor(motor)
{
    setObjectName(nombre);
    setWindowTitle(QStringLiteral("Agenda del día"));
    setContextMenuPolicy(Qt::PreventContextMenu);
    statusBar()->setObjectName(QStringLiteral("LExplica"));
    statusBar()->setAccessibleName(QStringLiteral("Ayuda"));
    m_pista = dbcontrols::plainLabel({}, statusBar());
    m_pista->setAccessibleName(QStringLiteral("Explicación"));
    dbcontrols::addUnderMessages(*statusBar(), *m_pista, 1);

    LFecha = dbcontrols::plainLabel(FechaCorta(motor.Fecha()), this);
    LFecha->setObjectName(QStringLiteral("LFecha"));
    LFecha->setAccessibleName(QStringLiteral("Fecha de la agenda"));
    LFecha->setAlignment(Qt::AlignCenter);
    QFont grande = font();
    grande.setPointSizeF(grande.pointSizeF() * 1.6);
    grande.setBold(true);
    LFecha->setFont(grande);

    m_fuente = new dbcontrols::DataSource(this);
    m_fuente->setAutoEdit(false); // only the engine begins a change
    m_rejilla = new DbGrid(this);
    m_rejilla->setEnterOpensEditor(false);
    m_rejilla->setSelectionMode(
        QAbstractItemView::NoSelection); // commands are for one line; colours stay seen
    m_rejilla->setDataSource(m_fuente);
    m_rejilla->setAccessibleName(QStringLiteral("Anotaciones del día"));
    m_rejilla->setStatusTip(QStringLiteral("Anotaciones del día"));
    CreaComandos(rotulos);
    CreaPanel(rotulos);
    connect(m_rejilla, &DbGrid::failed, this, &TVentanaAgenda::Avisa);
    connect(m_rejilla, &DbGrid::viewportResized, this, [this] { FormResize(); });
    connect(m_rejilla, &DbGrid::doubleClicked, Modificar, &QAction::trigger);
    m_rejilla->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_rejilla, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &lugar) { PMCopiar->popup(m_rejilla->viewport()->mapToGlobal(lugar)); });
    connect(qApp, &QApplication::focusChanged, this, &TVentanaAgenda::CambiaFoco);
}

QAction *TVentanaAgenda::CreaComando(const char *nombre, const QString &titulo, const QString &pista,
                                     const TOrden &orden, const QKeySequence &tecla)
{
    auto *const comando = new QAction(titulo, this);
    comando->setObjectName(QLatin1String(nombre));
    comando->setToolTip(dbcontrols::plainTip(pista));
    comando->setStatusTip(pista);
    comando->setShortcut(tecla);
    comando->setMenuRole(QAction::NoRole);
    if (orden) {
        connect(comando, &QAction::triggered, this, [this, orden] {
            Ejecuta(orden);
            if (!Editando())
                m_rejilla->setFocus();
        });
    }
    addAction(comando);
    m_comandos << comando;
    return comando;
}

void TVentanaAgenda::CreaComandos(const TRotulos &rotulos)
{
    Nuevo = CreaComando(
        "Nuevo", rotulos.Nuevo, QStringLiteral("Nueva anotación (Insertar)"), [this] { NuevoExecute(); },
        Qt::Key_Insert);
    Modificar = CreaComando(
        "Modificar", rotulos.Modificar, QStringLiteral("Modificar la anotación (Mayúsculas+Insertar)"),
        [this] { ModificarExecute(); }, Qt::SHIFT | Qt::Key_Insert);
    Borrar = CreaComando(
        "Borrar", rotulos.Borrar, QStringLiteral("Borrar la anotación (Suprimir)"),
        [this] { BorrarExecute(); }, Qt::Key_Delete);
    Anterior = CreaComando("Anterior", rotulos.Anterior, QStringLiteral("Día anterior que tiene anotaciones"),
                           [this] { LFecha->setText(m_motor.BuscarAnterior()); });
    Siguiente =
        CreaComando("Siguiente", rotulos.Siguiente, QStringLiteral("Día siguiente que tiene anotaciones"),
                    [this] { LFecha->setText(m_motor.BuscarSiguiente()); });
}

QPushButton *TVentanaAgenda::CreaPulsador(const char *nombre, const QString &titulo)
{
    auto *const boton = new QPushButton(titulo, this);
    boton->setObjectName(QLatin1String(nombre));
    boton->setAutoDefault(false);
    return boton;
}

QPushButton *TVentanaAgenda::CreaBoton(const char *nombre, QAction *comando)
{
    QPushButton *const boton = CreaPulsador(nombre, comando->text());
    boton->setToolTip(comando->toolTip());
    boton->setStatusTip(comando->statusTip());
    if (comando->menu())
        boton->setMenu(comando->menu());
    else
        connect(boton, &QPushButton::clicked, comando, &QAction::trigger);
    connect(comando, &QAction::enabledChanged, boton, &QWidget::setEnabled);
    return boton;
}

DbEdit *TVentanaAgenda::CreaEdicion(const char *nombre, const QString &rotulo)
{
    auto *const edicion = new DbEdit(PActualiza);
    edicion->setObjectName(QLatin1String(nombre));
    edicion->setAccessibleName(rotulo);
    edicion->setStatusTip(rotulo + QStringLiteral(" de la anotación"));
    edicion->setDataSource(m_fuente);
    connect(edicion, &DbEdit::failed, this, &TVentanaAgenda::Avisa);
    return edicion;
}

void TVentanaAgenda::PonEnFila(QBoxLayout &fila, const QString &rotulo, QWidget &control, int estirado)
{
    auto *const texto = dbcontrols::plainLabel(rotulo, PActualiza);
    texto->setBuddy(&control);
    fila.addWidget(texto);
    fila.addWidget(&control, estirado);
    m_orden << &control;
}

void TVentanaAgenda::CreaPanel(const TRotulos &rotulos)
{
    PActualiza = new QGroupBox(this);
    PActualiza->setObjectName(QStringLiteral("PActualiza"));
    PActualiza->setAccessibleName(QStringLiteral("Anotación"));
    const QString hora = QStringLiteral("Hora");
    DBEHora = CreaEdicion("DBEHora", hora);
    DBEHora->setField(NombreDe(TCampoLinea::hora));
    DBEHora->hide();
    MEHora = new MaskEdit(PActualiza);
    MEHora->setObjectName(QStringLiteral("MEHora"));
    MEHora->setMask(QStringLiteral("99:99;1; "));
    MEHora->setZeroPadding(true);
    MEHora->setAccessibleName(hora);
    MEHora->setStatusTip(QStringLiteral("Hora de la anotación, de 01:00 a 23:59"));
    MEHora->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("00:00")) + 18);
    connect(MEHora, &MaskEdit::focusLeft, this, &TVentanaAgenda::MEHoraExit);
    connect(DBEHora, &DbEdit::shown, this, [this] { MEHora->setMaskedText(DBEHora->text()); });
    DBEConcepto = CreaEdicion("DBEConcepto", QStringLiteral("Concepto"));
    DBEInteresado = CreaEdicion("DBEInteresado", QStringLiteral("Interesado"));
    DBEOficial = CreaEdicion("DBEOficial", QStringLiteral("Oficial"));
    BAceptar = CreaPulsador("BAceptar", rotulos.Aceptar);
    BAceptar->setStatusTip(QStringLiteral("Guardar la anotación"));
    BAceptar->setParent(PActualiza);
    connect(BAceptar, &QPushButton::clicked, this, &TVentanaAgenda::BAceptarClick);
    BSalir = CreaPulsador("BSalir", rotulos.Salir);
    BSalir->setStatusTip(QStringLiteral("Deshacer los cambios o cerrar la ventana (Esc)"));
    connect(BSalir, &QPushButton::clicked, this, &TVentanaAgenda::BSalirClick);

    auto *const filas = new QVBoxLayout(PActualiza);
    m_filaUno = new QHBoxLayout;
    m_filaDos = new QHBoxLayout;
    filas->addLayout(m_filaUno);
    filas->addLayout(m_filaDos);
    PonEnFila(*m_filaUno, hora, *MEHora);
    PonEnFila(*m_filaUno, QStringLiteral("Concepto"), *DBEConcepto, 1);
    PonEnFila(*m_filaDos, QStringLiteral("Interesado"), *DBEInteresado, 3);
    PonEnFila(*m_filaDos, QStringLiteral("Oficial"), *DBEOficial, 1);
}

void TVentanaAgenda::Monta()
{
    m_filaDos->addWidget(BAceptar);
    PMCopiar = new QMenu(this);
    PMCopiar->setObjectName(QStringLiteral("PMCopiar"));
    PMCopiar->addActions({Copiar, Pegar});

    auto *const centro = new QWidget(this);
    auto *const orden = new QVBoxLayout(centro);
    auto *const arriba = new QHBoxLayout;
    QPushButton *const anterior = CreaBoton("BAnterior", Anterior);
    QPushButton *const siguiente = CreaBoton("BSiguiente", Siguiente);
    arriba->addWidget(anterior);
    arriba->addWidget(LFecha, 1);
    arriba->addWidget(siguiente);
    m_filaComandos->addStretch();
    m_filaComandos->addWidget(BSalir);
    orden->addLayout(arriba);
    orden->addWidget(m_rejilla, 1);
    orden->addWidget(PActualiza);
    orden->addLayout(m_filaComandos);
    setCentralWidget(centro);
    QWidget *antes = m_rejilla;
    for (QWidget *const control : std::as_const(m_orden)) {
        setTabOrder(antes, control);
        antes = control;
    }
    setTabOrder(antes, BAceptar);
    // The resting panel and the resting day are read all the same.
    for (QWidget *const parte : std::initializer_list<QWidget *>{PActualiza, m_rejilla}) {
        QPalette paleta = parte->palette();
        paleta.setColor(QPalette::Disabled, QPalette::Text, paleta.color(QPalette::Active, QPalette::Text));
        parte->setPalette(paleta);
    }
    PonEscribible(false);
}

// Place

void TVentanaAgenda::Coloca()
{
    ensurePolished();
    winId(); // gives the window a handle, so that it can be put in front of its owner
    const QWidget *const delante = QApplication::activeWindow();
    if (delante && delante->windowHandle())
        windowHandle()->setTransientParent(delante->windowHandle());
    if (dbcontrols::restorePlace(*this, Servicios().Config->GetFicheroVentanas()))
        return;
    const QRect disponible = (delante ? delante->screen() : screen())->availableGeometry();
    resize(
        (AreaDeLaVentana * qMax(PuntosPulgada, logicalDpiX()) / PuntosPulgada).boundedTo(disponible.size()));
    QRect lugar = frameGeometry();
    lugar.moveCenter(delante ? delante->frameGeometry().center() : disponible.center());
    move(qMax(disponible.left(), qMin(lugar.left(), disponible.right() - lugar.width() + 1)),
         qMax(disponible.top(), qMin(lugar.top(), disponible.bottom() - lugar.height() + 1)));
}

void TVentanaAgenda::RecuerdaLugar() const
{
    dbcontrols::rememberPlace(*this, Servicios().Config->GetFicheroVentanas());
}
