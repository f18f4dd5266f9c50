#include "agendan/FichaAgendaN.h"

#include "agenda/ClaseConfAgendaN.h"
#include "agenda/HoraTexto.h"
#include "agenda/LineaAgenda.h"
#include "agendan/PestanasAgendaN.h"
#include "dbcontrols/CommandIcons.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/DbMemo.h"
#include "dbcontrols/HelpLine.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/PlainText.h"

#include <QtGui/QAction>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

using dbcontrols::DbGrid;
using dbcontrols::DbMemo;
using dbcontrols::GridColumn;
using dbcontrols::MaskEdit;

namespace
{

QList<GridColumn> ColumnasAgendaN()
{
    const auto alinea = Qt::AlignLeft;
    return {
        // An hour in another form would fall out of its day, whose range goes by the text.
        {QStringLiteral("Hora"), NombreDe(TCampoLinea::hora), 33, Qt::AlignHCenter, true, false,
         NormalizaHora},
        {QStringLiteral("Cita"), NombreDe(TCampoLinea::concepto), 272, alinea, true, false},
        {QStringLiteral("Interesado"), NombreDe(TCampoLinea::interesado), 210, alinea, true, false},
        {QStringLiteral("Oficial"), NombreDe(TCampoLinea::oficial), 88, alinea, true, false},
        {QStringLiteral("Av"), NombreDe(TCampoLinea::aviso), 20, alinea, false, false},
    };
}

QString Numerado(const char *nombre, int pestana)
{
    return QLatin1String(nombre) + QString::number(pestana + 1);
}

/// The whole grid is meant, also where it has no lines.
void ConectaDobleClic(const DbGrid &rejilla, const QAction &orden)
{
    QObject::connect(&rejilla, &DbGrid::doubleClicked, &orden, &QAction::trigger);
    QObject::connect(&rejilla, &DbGrid::doubleClickedOutside, &orden, &QAction::trigger);
}

} // namespace

void TFFichaAgendaN::CreaComandos()
{
    using enum TAlcance;
    const auto cita = [this](TOperacion operacion) { return [this, operacion] { FichaCita(operacion); }; };
    ANuevo = CreaComando("ANuevo", QStringLiteral("&Nuevo"), QStringLiteral("Nueva cita"), citas,
                         cita(TOperacion::nuevo));
    AModificar = CreaComando("AModificar", QStringLiteral("&Modificar"), QStringLiteral("Modificar cita"),
                             citas, cita(TOperacion::modificar));
    ADetalles = CreaComando("ADetalles", QStringLiteral("&Ver Detalles"),
                            QStringLiteral("Ver detalles de la cita"), citas, cita(TOperacion::ver));
    ABorrar =
        CreaComando("ABorrar", QStringLiteral("&Borrar"), QStringLiteral("Borrar cita/citas seleccinadas"),
                    citas, [this] { ABorrarExecute(); });
    ASalida = CreaComando("ASalida", QStringLiteral("&Salida"), QStringLiteral("Salida del notario"), citas,
                          [this] { ASalidaExecute(); });
    AAusente = CreaComando("AAusente", QStringLiteral("&Ausente todo el día"),
                           QStringLiteral("Ausencia del notario para todo el día"), citas,
                           [this] { AAusenteExecute(); });
    ACopiarCita = CreaComando("ACopiarCita", QStringLiteral("Copia&r"),
                              QStringLiteral("Copia la cita o citas seleccionadas a un dia en concreto"),
                              citas, [this] { CopiaCitas(TTrasCopiar::nada); });
    AMoverCita = CreaComando("AMoverCita", QStringLiteral("&Mover"),
                             QStringLiteral("Mueve la cita o citas seleccionadas a un dia en concreto"),
                             citas, [this] { CopiaCitas(TTrasCopiar::borrar); });
    AContacto = CreaComando("AContacto", QStringLiteral("&Contacto"),
                            QStringLiteral("Ficha del cliente con el que se ha citado el notario"), citas,
                            [this] { AContactoExecute(); });
    CreaComandosDelDia();
    ASalir = new QAction(QStringLiteral("&Salir"), this);
    ASalir->setObjectName(QStringLiteral("ASalir"));
    ASalir->setToolTip(QStringLiteral("Cerrar esta ventana"));
    ASalir->setStatusTip(ASalir->toolTip());
    connect(ASalir, &QAction::triggered, this, &QWidget::close);
    PonIconos();
}

void TFFichaAgendaN::CreaComandosDelDia()
{
    using enum TAlcance;
    ASincronizarDia =
        CreaComando("ASincronizarDia", QStringLiteral("Sincronizar &día"),
                    QStringLiteral("Si esta marcada, cada una de las agendas de cada notario estará "
                                   "situada en la misma fecha"),
                    dias, [this] { ASincronizarDiaExecute(); });
    ASincronizarDia->setCheckable(true);
    ADiaAnterior = CreaComando("ADiaAnterior", QStringLiteral("Día anterior"),
                               QStringLiteral("Se selecciona la agenda del día anterior"), dias,
                               [this] { ADiaAnteriorExecute(); });
    ADiaSiguiente = CreaComando("ADiaSiguiente", QStringLiteral("Día siguiente"),
                                QStringLiteral("Se selecciona la agenda del día siguiente"), dias,
                                [this] { ADiaSiguienteExecute(); });
    ABuscarDia =
        CreaComando("ABuscarDia", QStringLiteral("&Buscar día"), QStringLiteral("Buscar las citas de un día"),
                    dias, [this] { ABuscarDiaExecute(); });
    AImprimirDia = CreaComando("AImprimirDia", QStringLiteral("&Imprimir un día"),
                               QStringLiteral("Imprimir día del notario actual"), citas,
                               [this] { Imprime(&TClassAgendaN::InformeDia); });
    AImprimirSemana = CreaComando("AImprimirSemana", QStringLiteral("Imprimir una se&mana"),
                                  QStringLiteral("Imprimir semana del notario actual"), citas,
                                  [this] { Imprime(&TClassAgendaN::InformeSemana); });
    AImprimirDiaOficial = CreaComando("AImprimirDiaOficial", QStringLiteral("Imprimir un día por oficial"),
                                      QStringLiteral("Imprimir día del notario actual por oficial"), citas,
                                      [this] { Imprime(&TClassAgendaN::InformeDia_PorOficial); });
    AImprimirSemanaOficial =
        CreaComando("AImprimirSemanaOficial", QStringLiteral("Imprimir una semana por oficial"),
                    QStringLiteral("Imprimir semana del notario actual por oficial"), citas,
                    [this] { Imprime(&TClassAgendaN::InformeSemana_PorOficial); });
    AConfiguracion = CreaComando("AConfiguracion", QStringLiteral("Configuración"),
                                 QStringLiteral("Ficha de configuración de la agenda"), dias,
                                 [this] { goConfAgendaN->FichaConfiguracion(this); });
}

QAction *TFFichaAgendaN::CreaComando(const char *nombre, const QString &titulo, const QString &pista,
                                     TAlcance alcance, TOrden orden)
{
    auto *const comando = new QAction(titulo, this);
    comando->setObjectName(QLatin1String(nombre));
    comando->setToolTip(dbcontrols::plainTip(pista));
    comando->setStatusTip(pista);
    comando->setMenuRole(QAction::NoRole);
    connect(comando, &QAction::triggered, this, [this, comando, alcance, orden = std::move(orden)] {
        if (!Ejecuta(alcance, orden) && comando->isCheckable())
            comando->setChecked(!comando->isChecked()); // it has flipped already, and nothing came of it
    });
    return comando;
}

void TFFichaAgendaN::PonIconos()
{
    ADiaAnterior->setIcon(dbcontrols::commandIcon(dbcontrols::CommandIcon::previous));
    ADiaSiguiente->setIcon(dbcontrols::commandIcon(dbcontrols::CommandIcon::next));
    ANuevo->setIcon(dbcontrols::commandIcon(dbcontrols::CommandIcon::add));
    AModificar->setIcon(dbcontrols::commandIcon(dbcontrols::CommandIcon::edit));
    ABorrar->setIcon(dbcontrols::commandIcon(dbcontrols::CommandIcon::remove));
    AImprimirDia->setIcon(dbcontrols::commandIcon(dbcontrols::CommandIcon::print));
    AContacto->setIcon(dbcontrols::commandIcon(dbcontrols::CommandIcon::contact));
    AConfiguracion->setIcon(dbcontrols::commandIcon(dbcontrols::CommandIcon::settings));
    ASalir->setIcon(dbcontrols::commandIcon(dbcontrols::CommandIcon::leave));
}

void TFFichaAgendaN::CreaFecha()
{
    MEFecha = new MaskEdit(this);
    MEFecha->setObjectName(QStringLiteral("MEFecha"));
    MEFecha->setMask(QStringLiteral("99/99/9999;1; "));
    MEFecha->setToolTip(QStringLiteral("Agenda del día"));
    MEFecha->setStatusTip(MEFecha->toolTip());
    MEFecha->setAccessibleName(QStringLiteral("Fecha de la agenda"));
    MEFecha->setAccessibleDescription(QStringLiteral("F4 o Alt y flecha abajo abren el calendario"));
    MEFecha->installEventFilter(this);
    connect(MEFecha, &MaskEdit::focusEntered, this, &TFFichaAgendaN::MEFechaEnter);
    connect(MEFecha, &MaskEdit::focusLeft, this, &TFFichaAgendaN::MEFechaExit);

    BCalendario = new QToolButton(this);
    BCalendario->setObjectName(QStringLiteral("BCalendario"));
    BCalendario->setArrowType(Qt::DownArrow);
    BCalendario->setAutoRaise(true);
    BCalendario->setFocusPolicy(Qt::NoFocus); // the field opens it by key; the order of the controls stays
    BCalendario->setToolTip(QStringLiteral("Calendario (F4 en la fecha)"));
    BCalendario->setStatusTip(BCalendario->toolTip());
    BCalendario->setAccessibleName(QStringLiteral("Calendario"));
    connect(BCalendario, &QToolButton::clicked, this, &TFFichaAgendaN::AbreCalendario);
}

void TFFichaAgendaN::CreaBarra()
{
    CreaFecha();
    PMImprimir = new QMenu(this);
    PMImprimir->setObjectName(QStringLiteral("PMImprimir"));
    PMImprimir->addActions({AImprimirDia, AImprimirSemana, AImprimirDiaOficial, AImprimirSemanaOficial});
    MuestraPistasDe(*PMImprimir);

    TBAgendaN = new QToolBar(QStringLiteral("Herramientas de la agenda"), this);
    TBAgendaN->setObjectName(QStringLiteral("TBAgendaN"));
    TBAgendaN->setAccessibleName(TBAgendaN->windowTitle());
    TBAgendaN->setMovable(false);
    TBAgendaN->setContextMenuPolicy(Qt::PreventContextMenu); // nothing to hide or show
    TBAgendaN->addAction(ADiaAnterior);
    TBAgendaN->addWidget(MEFecha);
    TBAgendaN->addWidget(BCalendario);
    TBAgendaN->addAction(ADiaSiguiente);
    TBAgendaN->addSeparator();
    TBAgendaN->addActions({ANuevo, AModificar, ABorrar});
    TBAgendaN->addSeparator();
    auto *const imprimir = new QToolButton(TBAgendaN);
    imprimir->setDefaultAction(AImprimirDia);
    imprimir->setMenu(PMImprimir);
    imprimir->setPopupMode(QToolButton::MenuButtonPopup);
    imprimir->setFocusPolicy(Qt::NoFocus);
    TBAgendaN->addWidget(imprimir);
    TBAgendaN->addActions({AContacto, AConfiguracion});
    TBAgendaN->addSeparator();
    TBAgendaN->addAction(ASalir);
    addToolBar(Qt::TopToolBarArea, TBAgendaN);
}

void TFFichaAgendaN::CreaMenus()
{
    QMenu *const citas = menuBar()->addMenu(QStringLiteral("&Citas"));
    citas->addActions({ANuevo, AModificar, ADetalles, ABorrar, AContacto, ACopiarCita, AMoverCita});
    citas->addSeparator();
    citas->addAction(ASalir);
    QMenu *const agenda = menuBar()->addMenu(QStringLiteral("&Agenda"));
    agenda->addActions({ASincronizarDia, ADiaAnterior, ADiaSiguiente, ABuscarDia});
    agenda->addSeparator();
    agenda->addActions({ASalida, AAusente});
    agenda->addSeparator();
    agenda->addActions(PMImprimir->actions());
    agenda->addSeparator();
    agenda->addAction(AConfiguracion);

    PMAgendaN = new QMenu(this);
    PMAgendaN->setObjectName(QStringLiteral("PMAgendaN"));
    PMAgendaN->addActions({ADetalles, ASincronizarDia});
    PMAgendaN->addSeparator();
    PMAgendaN->addActions({ANuevo, AModificar, ABorrar});
    PMAgendaN->addSeparator();
    PMAgendaN->addActions({ACopiarCita, AMoverCita});
    PMAgendaN->addSeparator();
    PMAgendaN->addActions({ASalida, AAusente});
    PMAgendaN->addSeparator();
    PMAgendaN->addActions(PMImprimir->actions());
    MuestraPistasDe(*PMAgendaN);
}

void TFFichaAgendaN::MuestraPistasDe(QMenu &menu)
{
    // Menus of the menu bar do this by themselves; a pop-up menu is a window of its own and does not.
    connect(&menu, &QMenu::hovered, this,
            [this](const QAction *comando) { LExplica->showMessage(comando->statusTip()); });
    connect(&menu, &QMenu::aboutToHide, this, [this] { LExplica->clearMessage(); });
}

void TFFichaAgendaN::CreaPestanas()
{
    PCAgenda = new TPestanasAgendaN(this);
    PCAgenda->setObjectName(QStringLiteral("PCAgenda"));
    PCAgenda->setAccessibleName(QStringLiteral("Notarios"));
    PCAgenda->tabBar()->setAccessibleName(PCAgenda->accessibleName());
    PCAgenda->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(PCAgenda, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &lugar) { PMAgendaN->popup(PCAgenda->mapToGlobal(lugar)); });
    for (int pestana = 0; pestana < NumPestanas; ++pestana)
        CreaPestana(pestana);
    for (int pestana = 0; pestana < NumPestanas; ++pestana)
        PonPestanaALaVista(pestana, false);
    connect(PCAgenda, &QTabWidget::currentChanged, this, &TFFichaAgendaN::PCAgendaChange);
    setCentralWidget(PCAgenda);
}

void TFFichaAgendaN::PonPestanaALaVista(int pestana, bool aLaVista)
{
    // Also disabled when hidden: Ctrl+Tab stops at hidden tabs otherwise.
    PCAgenda->setTabVisible(pestana, aLaVista);
    PCAgenda->setTabEnabled(pestana, aLaVista);
}

void TFFichaAgendaN::CreaPestana(int pestana)
{
    const auto indice = static_cast<std::size_t>(pestana);
    DSAgendaN[indice] = new dbcontrols::DataSource(this);
    DSAgendaN[indice]->setObjectName(Numerado("DSAgendaN", pestana));

    auto *const pagina = new QWidget(PCAgenda);
    TSNotario[indice] = pagina;
    pagina->setObjectName(Numerado("TSNotario", pestana));
    PCAgenda->addTab(pagina, Numerado("Notario &", pestana));

    PreparaRejilla(pestana);
    DbGrid *const rejilla = DBGAgendaN[indice];
    auto *const memo = new DbMemo(pagina);
    DBMConcepto[indice] = memo;
    memo->setObjectName(Numerado(pestana < 3 ? "DBMConcepto" : "DBMAgendaN", pestana));
    memo->setAccessibleName(QStringLiteral("Cita de la línea actual"));
    memo->setReadOnly(true);
    memo->setTabChangesFocus(true);
    memo->setField(NombreDe(TCampoLinea::concepto));
    memo->setDataSource(DSAgendaN[indice]);

    auto *const orden = new QVBoxLayout(pagina);
    orden->setContentsMargins(2, 2, 2, 2);
    orden->setSpacing(3);
    if (pestana == 0) {
        // Deliberate: only the first notary's memo can be made higher.
        auto *const divisor = new QSplitter(Qt::Vertical, pagina);
        divisor->setObjectName(QStringLiteral("Splitter1"));
        divisor->setChildrenCollapsible(false);
        divisor->addWidget(rejilla);
        divisor->addWidget(memo);
        divisor->setStretchFactor(0, 1);
        divisor->setStretchFactor(1, 0);
        orden->addWidget(divisor);
    } else {
        orden->addWidget(rejilla, 1);
        orden->addWidget(memo);
    }
}

void TFFichaAgendaN::PreparaRejilla(int pestana)
{
    const auto indice = static_cast<std::size_t>(pestana);
    auto *const rejilla = new DbGrid(TSNotario[indice]);
    DBGAgendaN[indice] = rejilla;
    rejilla->setObjectName(Numerado("DBGAgendaN", pestana));
    rejilla->setAccessibleName(QStringLiteral("Citas del notario"));
    rejilla->setColumns(ColumnasAgendaN());
    rejilla->setDataSource(DSAgendaN[indice]);
    rejilla->setRowColor([this, pestana](int linea) { return ColorDeLinea(pestana, linea); });
    connect(rejilla, &DbGrid::failed, this, &TFFichaAgendaN::AvisaError);
    connect(rejilla, &DbGrid::viewportResized, this, &TFFichaAgendaN::FormResize);
    // Deliberate asymmetry: the first notary's lines are edited in place, the others' only on the card.
    if (pestana == 0) {
        rejilla->setMode(DbGrid::Mode::cells);
        rejilla->setEnterOpensEditor(false);
        rejilla->setToolTip(QStringLiteral("Citas del notario en un día"));
        rejilla->setStatusTip(rejilla->toolTip());
        ConectaDobleClic(*rejilla, *AModificar);
        connect(rejilla, &DbGrid::keyDown, this, &TFFichaAgendaN::DBGAgendaN1KeyDown);
        connect(DSAgendaN[indice], &dbcontrols::DataSource::stateChanged, this, [this] {
            if (DSAgendaN.front()->state() == dataset::DataSet::State::edit)
                m_borrador.Empieza(*DSAgendaN.front()->dataSet());
            else
                CuentaAvisosPronto(); // the grid posts a line by itself when it is left
        });
    } else {
        rejilla->setMode(DbGrid::Mode::rows);
        ConectaDobleClic(*rejilla, *ADetalles);
    }
}

void TFFichaAgendaN::CreaLineaDeAyuda()
{
    LExplica = statusBar();
    LExplica->setObjectName(QStringLiteral("LExplica"));
    LExplica->setAccessibleName(QStringLiteral("Ayuda"));
    m_pista = dbcontrols::plainLabel({}, LExplica);
    m_pista->setAccessibleName(QStringLiteral("Explicación"));
    dbcontrols::addUnderMessages(*LExplica, *m_pista, 1);
    CreaFueraDeHora();
}
