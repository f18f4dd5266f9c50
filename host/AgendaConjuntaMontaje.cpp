// The window of the day of all notaries is put together, placed, and remembered.

#include "host/AgendaConjunta.h"

#include "agenda/IAgenda3P.h"
#include "agenda/host/Servicios.h"
#include "dbcontrols/CommandIcons.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/PlainText.h"
#include "dbcontrols/WindowPlace.h"

#include <QtCore/QScopedValueRollback>
#include <QtCore/QSettings>
#include <QtGui/QAction>
#include <QtGui/QScreen>
#include <QtWidgets/QFrame>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QToolButton>

#include <algorithm>
#include <array>

namespace
{

const QString ClaveAnchos = QStringLiteral("/Columnas");

/// Shares of a notary's width, and characters below which a column is not made narrower.
constexpr std::array<int, CamposPorNotario> Partes = {48, 34, 18};
constexpr std::array<int, CamposPorNotario> LetrasMinimas = {14, 11, 7};
constexpr int LineasDelDetalle = 3;

} // namespace

QAction *TFAgendaConjunta::CreaComando(const char *nombre, const QString &titulo, const QString &pista,
                                       const QKeySequence &teclas, const TOrden &orden, TSobre sobre)
{
    auto *const comando = new QAction(titulo, this);
    comando->setObjectName(QLatin1String(nombre));
    comando->setStatusTip(pista);
    comando->setToolTip(dbcontrols::plainTip(
        teclas.isEmpty() ? pista
                         : pista + QStringLiteral(" (%1)").arg(teclas.toString(QKeySequence::NativeText))));
    comando->setShortcut(teclas);
    comando->setMenuRole(QAction::NoRole);
    connect(comando, &QAction::triggered, this, [this, orden, sobre] { Ejecuta(orden, sobre); });
    addAction(comando);
    return comando;
}

void TFAgendaConjunta::CreaComandosDeHuecos()
{
    ANuevo = CreaComando("ANuevo", QStringLiteral("&Nuevo hueco..."),
                         QStringLiteral("Añade un hueco en todas las agendas"), Qt::Key_Insert,
                         [this] { NuevoHueco(); });
    ABorrar = CreaComando(
        "ABorrar", QStringLiteral("&Borrar hueco"), QStringLiteral("Borra el hueco de todas las agendas"),
        QKeySequence(Qt::CTRL | Qt::Key_Delete), [this] { BorraHueco(); }, TSobre::loElegido);
    ACompletar = CreaComando("ACompletar", QStringLiteral("Completar las ho&jas"),
                             QStringLiteral("Añade a cada notario los huecos que otros tienen y él no"),
                             QKeySequence(Qt::CTRL | Qt::Key_M), [this] { Completa(); });
    ASalir = new QAction(QStringLiteral("Sali&r"), this);
    ASalir->setStatusTip(QStringLiteral("Cierra esta ventana (Esc)"));
    connect(ASalir, &QAction::triggered, this, &QWidget::close);
}

void TFAgendaConjunta::CreaComandosDeLineas()
{
    AModificar = new QAction(QStringLiteral("&Modificar"), this);
    AModificar->setObjectName(QStringLiteral("AModificar"));
    AModificar->setStatusTip(QStringLiteral("Escribe en la celda (Intro, F2 o la primera letra)"));
    connect(AModificar, &QAction::triggered, this, [this] {
        if (Prepara(TSobre::loElegido))
            m_rejilla->QAbstractItemView::edit(m_rejilla->currentIndex());
    });
    ALimpiar = CreaComando(
        "ALimpiar", QStringLiteral("&Limpiar"), QStringLiteral("Deja libre el hueco de este notario"),
        Qt::Key_Delete, [this] { Limpia(); }, TSobre::loElegido);
    ASalida = CreaComando(
        "ASalida", QStringLiteral("&Salida"),
        QStringLiteral("Pone o quita la salida del notario a esta hora"), QKeySequence(Qt::CTRL | Qt::Key_S),
        [this] { MarcaSalida(); }, TSobre::loElegido);
    AAusente = CreaComando(
        "AAusente", QStringLiteral("&Ausente todo el día"),
        QStringLiteral("Pone o quita la ausencia del notario en todo el día"),
        QKeySequence(Qt::CTRL | Qt::Key_U), [this] { MarcaAusente(); }, TSobre::loElegido);
    ACopiar = CreaComando(
        "ACopiar", QStringLiteral("&Copiar"), QStringLiteral("Añade las citas elegidas a lo copiado"),
        QKeySequence::Copy, [this] { Copia(); }, TSobre::loElegido);
    APegar = CreaComando("APegar", QStringLiteral("&Pegar aquí"),
                         QStringLiteral("Escribe lo copiado a las mismas horas de este día y notario"),
                         QKeySequence::Paste, [this] { Pega({}); });
    APegarHora = CreaComando("APegarHora", QStringLiteral("Pegar a una &hora..."),
                             QStringLiteral("Escribe lo copiado a partir de una hora"),
                             QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_V), [this] { PegaAUnaHora(); });
    AVaciar = CreaComando("AVaciar", QStringLiteral("&Vaciar lo copiado"),
                          QStringLiteral("Olvida las citas copiadas"),
                          QKeySequence(Qt::CTRL | Qt::Key_Backspace), [this] { VaciaPortapapeles(); });
}

void TFAgendaConjunta::CreaComandosDelDia()
{
    ADiaAnterior = CreaComando("ADiaAnterior", QStringLiteral("Día &anterior"),
                               QStringLiteral("Muestra el día anterior de este notario"),
                               QKeySequence(Qt::CTRL | Qt::Key_PageUp), [this] { MueveDia(false); });
    ADiaSiguiente = CreaComando("ADiaSiguiente", QStringLiteral("Día &siguiente"),
                                QStringLiteral("Muestra el día siguiente de este notario"),
                                QKeySequence(Qt::CTRL | Qt::Key_PageDown), [this] { MueveDia(true); });
    AHoy = CreaComando("AHoy", QStringLiteral("&Hoy"), QStringLiteral("Muestra el día de hoy"),
                       QKeySequence(Qt::CTRL | Qt::Key_Home), [this] { VeAlDia(Servicios().Reloj->Hoy()); });
    ABuscarDia = CreaComando("ABuscarDia", QStringLiteral("&Buscar día..."),
                             QStringLiteral("Muestra el día que se elija"),
                             QKeySequence(Qt::CTRL | Qt::Key_B), [this] { BuscaDia(); });
    AImprimirDia = CreaComando("AImprimirDia", QStringLiteral("Imprimir un &día"),
                               QStringLiteral("Imprime el día del notario actual"), QKeySequence::Print,
                               [this] { Imprime(&IAgenda3P::InformeDia); });
    AImprimirSemana = CreaComando("AImprimirSemana", QStringLiteral("Imprimir una &semana"),
                                  QStringLiteral("Imprime la semana del notario actual"),
                                  QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_P),
                                  [this] { Imprime(&IAgenda3P::InformeSemana); });
    AImprimirDiaOficial =
        CreaComando("AImprimirDiaOficial", QStringLiteral("Imprimir un día por &oficial..."),
                    QStringLiteral("Imprime el día de un oficial con el notario actual"), {},
                    [this] { Imprime(&IAgenda3P::InformeDia_PorOficial); });
    AImprimirSemanaOficial =
        CreaComando("AImprimirSemanaOficial", QStringLiteral("Imprimir una semana por o&ficial..."),
                    QStringLiteral("Imprime la semana de un oficial con el notario actual"), {},
                    [this] { Imprime(&IAgenda3P::InformeSemana_PorOficial); });
}

void TFAgendaConjunta::PonDibujos()
{
    const std::pair<QAction *, dbcontrols::CommandIcon> dibujos[] = {
        {ANuevo, dbcontrols::CommandIcon::add},         {ABorrar, dbcontrols::CommandIcon::remove},
        {ALimpiar, dbcontrols::CommandIcon::clear},     {ASalida, dbcontrols::CommandIcon::outing},
        {AAusente, dbcontrols::CommandIcon::absent},    {ACopiar, dbcontrols::CommandIcon::copy},
        {APegar, dbcontrols::CommandIcon::paste},       {ADiaAnterior, dbcontrols::CommandIcon::previous},
        {ADiaSiguiente, dbcontrols::CommandIcon::next}, {AImprimirDia, dbcontrols::CommandIcon::print},
        {ASalir, dbcontrols::CommandIcon::leave},       {AModificar, dbcontrols::CommandIcon::edit},
    };
    for (const auto &[comando, dibujo] : dibujos)
        comando->setIcon(dbcontrols::commandIcon(dibujo));
}

void TFAgendaConjunta::CreaBarra()
{
    MEFecha = new dbcontrols::MaskEdit(this);
    MEFecha->setObjectName(QStringLiteral("MEFecha"));
    MEFecha->setMask(QStringLiteral("99/99/9999;1; "));
    MEFecha->setToolTip(QStringLiteral("Día que se ve; F4 abre el calendario"));
    MEFecha->setAccessibleName(QStringLiteral("Fecha de la agenda"));
    MEFecha->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("00/00/0000")) +
                           fontMetrics().averageCharWidth() * 3);
    MEFecha->installEventFilter(this);
    connect(MEFecha, &dbcontrols::MaskEdit::focusLeft, this, &TFAgendaConjunta::FechaDejada);
    auto *const calendario = new QToolButton(this);
    calendario->setArrowType(Qt::DownArrow);
    calendario->setFocusPolicy(Qt::NoFocus);
    calendario->setAccessibleName(QStringLiteral("Calendario"));
    calendario->setToolTip(QStringLiteral("Calendario (F4 en la fecha)"));
    connect(calendario, &QToolButton::clicked, this, &TFAgendaConjunta::AbreCalendario);

    m_barra = addToolBar(QStringLiteral("Herramientas"));
    m_barra->setMovable(false);
    m_barra->setContextMenuPolicy(Qt::PreventContextMenu);
    const int lado = fontMetrics().height() + 6;
    m_barra->setIconSize({lado, lado});
    m_barra->addAction(ADiaAnterior);
    m_barra->addWidget(MEFecha);
    m_barra->addWidget(calendario);
    m_barra->addAction(ADiaSiguiente);
    m_barra->addAction(AHoy);
    m_barra->addSeparator();
    m_barra->addActions({ANuevo, ABorrar});
    m_barra->addSeparator();
    m_barra->addActions({AModificar, ALimpiar, ASalida, AAusente});
    m_barra->addSeparator();
    m_barra->addActions({ACopiar, APegar});
    m_barra->addSeparator();
    auto *const imprimir = new QToolButton(m_barra);
    auto *const menu = new QMenu(imprimir);
    menu->addActions({AImprimirDia, AImprimirSemana, AImprimirDiaOficial, AImprimirSemanaOficial});
    imprimir->setDefaultAction(AImprimirDia);
    imprimir->setMenu(menu);
    imprimir->setPopupMode(QToolButton::MenuButtonPopup);
    imprimir->setFocusPolicy(Qt::NoFocus);
    m_barra->addWidget(imprimir);
    m_barra->addAction(ASalir);
}

void TFAgendaConjunta::CreaMenus()
{
    QMenu *const citas = menuBar()->addMenu(QStringLiteral("&Citas"));
    citas->addActions({AModificar, ALimpiar, ASalida, AAusente});
    citas->addSeparator();
    citas->addActions({ACopiar, APegar, APegarHora, AVaciar});
    citas->addSeparator();
    citas->addActions({ANuevo, ABorrar, ACompletar});
    citas->addSeparator();
    citas->addAction(ASalir);
    QMenu *const dias = menuBar()->addMenu(QStringLiteral("&Día"));
    dias->addActions({ADiaAnterior, ADiaSiguiente, AHoy, ABuscarDia});
    QMenu *const imprimir = menuBar()->addMenu(QStringLiteral("&Imprimir"));
    imprimir->addActions({AImprimirDia, AImprimirSemana, AImprimirDiaOficial, AImprimirSemanaOficial});
    m_menu = new QMenu(this);
    m_menu->addActions(citas->actions());
}

void TFAgendaConjunta::CreaCentro()
{
    auto *const centro = new QWidget(this);
    LDia = dbcontrols::plainLabel({}, centro);
    LDia->setObjectName(QStringLiteral("LDia"));
    QFont grande = LDia->font();
    grande.setPointSizeF(grande.pointSizeF() * 1.4);
    grande.setBold(true);
    LDia->setFont(grande);

    CreaAviso(*centro);
    CreaRejilla(*centro);
    m_detalle = new QPlainTextEdit(centro);
    m_detalle->setObjectName(QStringLiteral("Detalle"));
    m_detalle->setAccessibleName(QStringLiteral("Cita de la celda actual"));
    m_detalle->setReadOnly(true);
    m_detalle->setContextMenuPolicy(Qt::NoContextMenu);
    m_detalle->setTabChangesFocus(true);
    m_detalle->setFixedHeight(fontMetrics().lineSpacing() * LineasDelDetalle + 14);

    auto *const orden = new QVBoxLayout(centro);
    orden->setContentsMargins(4, 4, 4, 2);
    orden->setSpacing(4);
    orden->addWidget(LDia);
    orden->addWidget(m_aviso);
    orden->addWidget(m_rejilla, 1);
    orden->addWidget(m_detalle);
    setCentralWidget(centro);
    LPortapapeles = dbcontrols::plainLabel({}, this);
    LPortapapeles->setObjectName(QStringLiteral("LPortapapeles"));
    statusBar()->addPermanentWidget(LPortapapeles);
    // After the notice: the grid is entered again after every command.
    setTabOrder(m_rejilla, m_detalle);
    setTabOrder(m_detalle, MEFecha);
}

void TFAgendaConjunta::CreaAviso(QWidget &centro)
{
    auto *const aviso = new QFrame(&centro);
    aviso->setFrameShape(QFrame::StyledPanel);
    m_aviso = aviso;
    LAviso = dbcontrols::plainLabel({}, aviso);
    LAviso->setObjectName(QStringLiteral("LAviso"));
    LAviso->setWordWrap(true);
    auto *const completar = new QToolButton(aviso);
    completar->setDefaultAction(ACompletar);
    completar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    completar->setFocusPolicy(Qt::NoFocus);
    auto *const fila = new QHBoxLayout(aviso);
    fila->setContentsMargins(6, 2, 6, 2);
    fila->addWidget(LAviso, 1);
    fila->addWidget(completar);
}

void TFAgendaConjunta::CreaRejilla(QWidget &centro)
{
    m_rejilla = new TRejillaConjunta(*m_modelo, *this, &centro);
    m_rejilla->setObjectName(QStringLiteral("RejillaConjunta"));
    m_rejilla->setAccessibleName(QStringLiteral("El día de todos los notarios"));
    m_rejilla->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
    m_rejilla->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_rejilla, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &lugar) { m_menu->popup(m_rejilla->viewport()->mapToGlobal(lugar)); });
    connect(m_rejilla->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &TFAgendaConjunta::CambiaCelda);
    connect(m_rejilla, &TRejillaConjunta::Redimensionada, this, &TFAgendaConjunta::ReparteColumnas);

    connect(&m_rejilla->Cabecera(), &QHeaderView::sectionResized, this, [this] {
        m_anchosPropios = m_anchosPropios || (isVisible() && !m_repartiendo); // the clerk's from now on
    });
}

void TFAgendaConjunta::ReparteColumnas()
{
    if (m_anchosPropios)
        return;
    const QScopedValueRollback<bool> repartiendo(m_repartiendo, true);
    const int notarios = std::max(1, m_modelo->NumNotarios());
    const int ancho = m_rejilla->viewport()->width() / notarios;
    const int letra = fontMetrics().averageCharWidth();
    for (int columna = 0; columna < m_modelo->columnCount(); ++columna) {
        const auto campo = static_cast<std::size_t>(columna % CamposPorNotario);
        m_rejilla->setColumnWidth(columna,
                                  std::max(ancho * Partes.at(campo) / 100, LetrasMinimas.at(campo) * letra));
    }
}

void TFAgendaConjunta::Coloca()
{
    const QScreen *const pantalla = m_propietario ? m_propietario->screen() : screen();
    const QRect disponible = pantalla->availableGeometry();
    const int letra = fontMetrics().averageCharWidth();
    const QSize medida(letra * 60 * std::max(2, m_modelo->NumNotarios()), fontMetrics().height() * 48);
    resize(medida.boundedTo(disponible.size() * 0.94));
    const QPoint centro = m_propietario ? m_propietario->window()->geometry().center() : disponible.center();
    move(qBound(disponible.left(), centro.x() - width() / 2,
                qMax(disponible.left(), disponible.right() - width())),
         qBound(disponible.top(), centro.y() - height() / 2,
                qMax(disponible.top(), disponible.bottom() - height())));
    const QString fichero = Servicios().Config->GetFicheroVentanas();
    if (!dbcontrols::restorePlace(*this, fichero))
        return;
    QSettings memoria(fichero, QSettings::IniFormat);
    const QStringList anchos = memoria.value(objectName() + ClaveAnchos).toStringList();
    m_anchosPropios = anchos.size() == m_modelo->columnCount();
    for (int columna = 0; m_anchosPropios && columna < m_modelo->columnCount(); ++columna)
        m_rejilla->setColumnWidth(columna, std::clamp(anchos.at(columna).toInt(), 20, disponible.width()));
}

void TFAgendaConjunta::RecuerdaLugar() const
{
    const QString fichero = Servicios().Config->GetFicheroVentanas();
    dbcontrols::rememberPlace(*this, fichero);
    if (fichero.isEmpty() || !m_anchosPropios)
        return;
    QStringList anchos;
    for (int columna = 0; columna < m_modelo->columnCount(); ++columna)
        anchos << QString::number(m_rejilla->columnWidth(columna));
    QSettings(fichero, QSettings::IniFormat).setValue(objectName() + ClaveAnchos, anchos);
}
