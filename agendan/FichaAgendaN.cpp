#include "agendan/FichaAgendaN.h"

#include "agenda/ClaseConfAgendaN.h"
#include "agenda/Rnumcad.h"
#include "agenda/Rvarias.h"
#include "agenda/host/Servicios.h"
#include "agendan/PestanasAgendaN.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/DbMemo.h"
#include "dbcontrols/MaskEdit.h"

#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QScreen>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTabBar>

using dataset::DataSet;
using dbcontrols::DbGrid;
using dbcontrols::MaskEdit;

namespace
{

constexpr QSize AreaCliente{635, 437};
constexpr int PeriodoRefresco = 5000; // ms

/// The code by which the desktop knows a key: 48..57 the digits, 65..90 the letters, 97..105 the keypad's
/// digits 1 to 9, 106..111 its operators, 112..122 F1 to F11, and 209 for Ñ. 0 for keys that do not matter
/// here.
int CodigoDeTecla(const QKeyEvent &tecla)
{
    const int qt = tecla.key();
    const bool tecladoNumerico = tecla.modifiers() & Qt::KeypadModifier;
    if (qt >= Qt::Key_0 && qt <= Qt::Key_9)
        return tecladoNumerico ? 96 + (qt - Qt::Key_0) : 48 + (qt - Qt::Key_0);
    if (qt >= Qt::Key_A && qt <= Qt::Key_Z)
        return 65 + (qt - Qt::Key_A);
    if (qt >= Qt::Key_F1 && qt <= Qt::Key_F11)
        return 112 + (qt - Qt::Key_F1);
    if (qt == Qt::Key_Ntilde)
        return 209;
    if (!tecladoNumerico)
        return 0;
    switch (qt) {
    case Qt::Key_Asterisk:
        return 106;
    case Qt::Key_Plus:
        return 107;
    case Qt::Key_Minus:
        return 109;
    case Qt::Key_Period:
    case Qt::Key_Comma:
        return 110;
    case Qt::Key_Slash:
        return 111;
    default:
        return 0;
    }
}

bool EmpiezaEdicion(int codigo)
{
    // Deliberate: the range 97..122 was meant for small letters and lets keypad keys and F1..F11 through as
    // well.
    return (codigo >= 48 && codigo <= 57) || (codigo >= 65 && codigo <= 90) ||
           (codigo >= 97 && codigo <= 122) || codigo == 209 || codigo == 241;
}

QColor ColorDePantalla(TColor color, const QPalette &paleta)
{
    constexpr TColor DelEscritorio = 0x80000000;
    if (!(color & DelEscritorio))
        return {Rojo(color), Verde(color), Azul(color)};
    switch (color & ~DelEscritorio) {
    case 7:  // menu text
    case 8:  // window text
    case 18: // button text
        return paleta.color(QPalette::WindowText);
    case 2:  // active caption
    case 13: // selection
    case 26: // link
    case 29: // selected menu entry
        return paleta.color(QPalette::Highlight);
    case 0:  // scroll bar
    case 3:  // inactive caption
    case 4:  // menu
    case 15: // button face
    case 22: // light edge
    case 30: // menu bar
        return paleta.color(QPalette::Button);
    case 12: // work area
    case 16: // shadow
    case 17: // grey text
        return paleta.color(QPalette::Mid);
    case 24: // tool tip
        return paleta.color(QPalette::ToolTipBase);
    default:
        return paleta.color(QPalette::Base);
    }
}

} // namespace

TFFichaAgendaN::TFFichaAgendaN(QWidget *propietario)
    : m_propietario(propietario)
{
    setObjectName(QStringLiteral("FichaAgendaN"));
    setWindowTitle(QStringLiteral("Agenda del día:"));
    setContextMenuPolicy(Qt::PreventContextMenu); // the window's own menu would only hide the tool bar
    CreaComandos();
    CreaLineaDeAyuda();
    CreaBarra();
    CreaMenus();
    CreaPestanas();
    AjustaMedidasALaLetra();
    Timer1 = new QTimer(this);
    Timer1->setObjectName(QStringLiteral("Timer1"));
    Timer1->setInterval(PeriodoRefresco);
    connect(Timer1, &QTimer::timeout, this, &TFFichaAgendaN::Timer1Timer);
    connect(qApp, &QApplication::focusChanged, this,
            [this](const QWidget * /*antes*/, const QWidget *ahora) { MuestraPistaDelFoco(ahora); });
    setTabOrder(MEFecha, PCAgenda->tabBar());
    QWidget *anterior = PCAgenda->tabBar();
    for (std::size_t i = 0; i < DBGAgendaN.size(); ++i) {
        setTabOrder(anterior, DBGAgendaN[i]);
        setTabOrder(DBGAgendaN[i], DBMConcepto[i]);
        anterior = DBMConcepto[i];
    }
}

TFFichaAgendaN::~TFFichaAgendaN()
{
    // While the pages go, the tab control would still tell of other tabs becoming the current one.
    PCAgenda->disconnect(this);
}

void TFFichaAgendaN::PonNotario(int notario, const QString &nombre, DataSet *tabla)
{
    if (notario < 1 || notario > NumPestanas)
        return;
    const auto indice = static_cast<std::size_t>(notario - 1);
    PCAgenda->PonRotulo(notario - 1, nombre);
    DBGAgendaN[indice]->setAccessibleName(QStringLiteral("Citas de ") + nombre);
    DSAgendaN[indice]->setDataSet(tabla);
    PCAgenda->setTabVisible(notario - 1, true);
    if (!PCAgenda->isTabVisible(PCAgenda->currentIndex()))
        PCAgenda->setCurrentIndex(notario - 1);
}

void TFFichaAgendaN::PonMotor(TClassAgendaN &motor)
{
    m_motor = &motor;
}

void TFFichaAgendaN::PonSincronizarDia(bool marcado)
{
    ASincronizarDia->setChecked(marcado);
}

int TFFichaAgendaN::Pestana() const
{
    const int activa = PCAgenda->currentIndex();
    return activa >= 0 && activa < NumPestanas ? activa : 0;
}

DbGrid *TFFichaAgendaN::GetDBGAgendaN() const
{
    return DBGAgendaN[static_cast<std::size_t>(Pestana())];
}

QWidget *TFFichaAgendaN::GetTSNotario() const
{
    return TSNotario[static_cast<std::size_t>(Pestana())];
}

DataSet *TFFichaAgendaN::GetDatosAgendaN() const
{
    return m_motor ? m_motor->Tabla(Pestana() + 1) : nullptr;
}

QDate TFFichaAgendaN::FechaActual() const
{
    DataSet *const tabla = GetDatosAgendaN();
    return tabla && tabla->isActive() ? tabla->field(u"FECHA").asDate() : QDate();
}

// Opening and closing

void TFFichaAgendaN::ShowModal()
{
    setWindowModality(Qt::ApplicationModal);
    Coloca();
    LeeColorSalida();
    m_cerrada = false;
    show();
    activateWindow();
    GetDBGAgendaN()->setFocus();
    Timer1->start();
    m_bucle.exec(QEventLoop::DialogExec);
    Timer1->stop();
}

void TFFichaAgendaN::Coloca()
{
    ensurePolished();
    resize(AreaCliente.width(), AreaCliente.height() + menuBar()->sizeHint().height());
    winId(); // gives the window a handle, so that it can be put in front of its owner
    const QWidget *const propietario = m_propietario ? m_propietario->window() : nullptr;
    const QScreen *const pantalla = propietario ? propietario->screen() : screen();
    const QRect disponible = pantalla->availableGeometry();
    QRect lugar = frameGeometry();
    lugar.moveCenter(propietario ? propietario->frameGeometry().center() : disponible.center());
    move(qMax(disponible.left(), qMin(lugar.left(), disponible.right() - lugar.width() + 1)),
         qMax(disponible.top(), qMin(lugar.top(), disponible.bottom() - lugar.height() + 1)));
    if (propietario && propietario->windowHandle())
        windowHandle()->setTransientParent(propietario->windowHandle());
}

void TFFichaAgendaN::showEvent(QShowEvent *evento)
{
    QMainWindow::showEvent(evento);
    // On the window's handle, not on controls: so each key is seen once, before the control that has the
    // focus.
    windowHandle()->removeEventFilter(this);
    windowHandle()->installEventFilter(this);
}

void TFFichaAgendaN::closeEvent(QCloseEvent *evento)
{
    for (int pestana = 0; pestana < NumPestanas; ++pestana) {
        if (!AceptaPendiente(pestana)) {
            PCAgenda->setCurrentIndex(pestana);
            evento->ignore();
            return;
        }
    }
    m_cerrada = true;
    evento->accept();
    m_bucle.quit();
}

bool TFFichaAgendaN::AceptaPendiente(int pestana)
{
    const auto indice = static_cast<std::size_t>(pestana);
    DataSet *const tabla = DSAgendaN[indice]->activeDataSet();
    if (!DBGAgendaN[indice]->commitEditor())
        return false;
    if (!tabla || !tabla->isEditing())
        return true;
    return ConGuarda([tabla] { tabla->isModified() ? tabla->post() : tabla->cancel(); });
}

void TFFichaAgendaN::resizeEvent(QResizeEvent *evento)
{
    QMainWindow::resizeEvent(evento);
    FormResize();
}

void TFFichaAgendaN::FormResize()
{
    for (DbGrid *const rejilla : DBGAgendaN) {
        if (!rejilla)
            continue; // a grid tells its size while its neighbours are still being made
        const int ocupado = rejilla->columnWidth(ColumnaHora) + rejilla->columnWidth(ColumnaCita) +
                            rejilla->columnWidth(ColumnaOficial);
        rejilla->setColumnWidth(ColumnaInteresado, qMax(20, rejilla->viewport()->width() - ocupado - 5));
    }
}

void TFFichaAgendaN::changeEvent(QEvent *evento)
{
    QMainWindow::changeEvent(evento);
    if (evento->type() == QEvent::FontChange && Timer1)
        AjustaMedidasALaLetra();
}

// Keys

bool TFFichaAgendaN::eventFilter(QObject *objeto, QEvent *evento)
{
    if (evento->type() == QEvent::KeyPress && objeto == windowHandle() &&
        !QApplication::activePopupWidget()) {
        const QWidget *const modal = QApplication::activeModalWidget();
        if (!modal || modal == this)
            FormKeyDown(static_cast<QKeyEvent *>(evento)->key());
    }
    return QMainWindow::eventFilter(objeto, evento);
}

void TFFichaAgendaN::FormKeyDown(int tecla)
{
    const bool escribiendo = GetDBGAgendaN()->isEditorOpen() && !MEFecha->hasFocus();
    switch (tecla) {
    case Qt::Key_Enter:
    case Qt::Key_Return:
        // Posted, so that the control that has the focus still gets the key.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (!GetDBGAgendaN()->isEditorOpen()) // a text that the line did not take waits to be mended
                    focusNextPrevChild(true);
            },
            Qt::QueuedConnection);
        break;
    case Qt::Key_Escape:
        if (escribiendo && GetDBGAgendaN()->isAncestorOf(focusWidget()))
            break;
        // A line that is being edited is given up first, so that nothing typed goes without being seen to go.
        if (escribiendo || DSAgendaN[static_cast<std::size_t>(Pestana())]->isEditing())
            GetDBGAgendaN()->cancelEditing();
        else
            close();
        break;
    case Qt::Key_Space:
        if (!escribiendo && !Servicios().Rvarias->EsBoton(focusWidget()) && AModificar->isEnabled())
            AModificar->trigger();
        break;
    case Qt::Key_Insert:
        if (!escribiendo && ANuevo->isEnabled())
            ANuevo->trigger();
        break;
    case Qt::Key_Delete:
        if (!escribiendo && ABorrar->isEnabled())
            ABorrar->trigger();
        break;
    default:
        break;
    }
}

void TFFichaAgendaN::DBGAgendaN1KeyDown(QKeyEvent *tecla)
{
    const dbcontrols::DataSource &fuente = *DSAgendaN.front();
    if (!m_motor || Pestana() != 0 || !fuente.activeDataSet())
        return;
    const bool intro = tecla->key() == Qt::Key_Enter || tecla->key() == Qt::Key_Return;
    if (!fuente.isEditing() && EmpiezaEdicion(CodigoDeTecla(*tecla))) {
        ConGuarda([this, tecla] {
            if (m_motor->Modificar())
                return;
            tecla->ignore(); // the grid would try, and wait, a second time
            // About a day without lines the engine has spoken itself.
            if (!m_motor->TablaActual().isEmpty())
                Avisa(QStringLiteral(
                    "No se ha podido modificar la cita: puede que otro puesto la esté usando."));
        });
    } else if (fuente.isEditing() && intro) {
        ConGuarda([this] {
            // The engine has dropped what was typed, so the clerk must know.
            if (!m_motor->AceptarAgendaN())
                Avisa(QStringLiteral("No se ha podido guardar la cita."));
        });
    }
}

// Colours, date field, timer

void TFFichaAgendaN::LeeColorSalida()
{
    // Kept between commands: the setting is a file, and a paint asks for it once per cell.
    QColor color = m_colorSalida;
    try {
        if (goConfAgendaN)
            color = ColorDePantalla(goConfAgendaN->GetColorSalida(), palette());
    } catch (const std::exception &error) {
        // A colour is not worth an interruption: the one before does until the file can be read again.
        qWarning("The colour of outings could not be read: %s", error.what());
    }
    if (color == m_colorSalida)
        return;
    m_colorSalida = color;
    GetDBGAgendaN()->viewport()->update();
}

std::optional<QColor> TFFichaAgendaN::ColorDeLinea(int pestana, int linea) const
{
    const DataSet *const tabla = DSAgendaN[static_cast<std::size_t>(pestana)]->activeDataSet();
    const int salida = tabla ? tabla->fieldIndex(u"SALIDA") : -1;
    if (salida < 0 || linea >= tabla->rowCount() || tabla->textAt(linea, salida) != QLatin1String("S"))
        return std::nullopt;
    return m_colorSalida;
}

void TFFichaAgendaN::PCAgendaChange()
{
    if (!m_motor)
        return;
    // A line left half written on the tab before would stay locked for the other workstations.
    const int anterior = std::exchange(m_pestanaAnterior, Pestana());
    if (anterior != Pestana())
        AceptaPendiente(anterior);
    ConGuarda([this] {
        m_motor->PonNotarioActual(Pestana() + 1);
        ActualizaFecha();
    });
    ADiaAnterior->setEnabled(true);
    ADiaSiguiente->setEnabled(true);
}

void TFFichaAgendaN::ActualizaFecha()
{
    MEFecha->setMaskedText(Date_Cad(FechaActual()));
}

void TFFichaAgendaN::MEFechaEnter()
{
    Servicios().Rvarias->TomaFocoControl(*MEFecha);
}

void TFFichaAgendaN::MEFechaExit()
{
    Servicios().Rvarias->DejaFocoControl(*MEFecha);
    if (m_cerrada || !m_motor)
        return; // the window has closed over a date that nobody has asked for
    QString fecha = MEFecha->text();
    if (QuitaCaracter(QuitaCaracter(fecha, QLatin1Char(' ')), QLatin1Char('/')).isEmpty())
        return;
    if (VerificaFecha(fecha)) {
        MEFecha->setMaskedText(fecha);
        ConGuarda([this, &fecha] { SincronizaA(Cad_Date(fecha)); });
        return;
    }
    // From the event loop: the focus is on its way to another control and can be called back only when it is
    // there.
    QMetaObject::invokeMethod(
        this,
        [this] {
            ConGuarda([this] { Avisa(QStringLiteral("La fecha introducida no es correcta")); });
            MEFecha->setFocus(Qt::OtherFocusReason);
        },
        Qt::QueuedConnection);
}

void TFFichaAgendaN::Timer1Timer()
{
    DataSet *const tabla = DSAgendaN[static_cast<std::size_t>(Pestana())]->activeDataSet();
    if (!tabla || m_ordenesEnCurso > 0 || tabla->state() != DataSet::State::browse ||
        GetDBGAgendaN()->isEditorOpen())
        return;
    try {
        tabla->refresh();
    } catch (const dataset::EDatabaseError &error) {
        // In the help line: a box every five seconds would keep the clerk from saving anything.
        LExplica->showMessage(error.text(), PeriodoRefresco);
    }
    LeeColorSalida();
}

void TFFichaAgendaN::MuestraPistaDelFoco(const QWidget *control)
{
    if (!control || !isAncestorOf(control))
        return;
    QString pista;
    for (; pista.isEmpty() && control && control != this; control = control->parentWidget())
        pista = control->statusTip();
    m_pista->setText(pista);
}
