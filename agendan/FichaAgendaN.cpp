#include "agendan/FichaAgendaN.h"

#include "agenda/ClaseConfAgendaN.h"
#include "agenda/GuardaVentana.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Rvarias.h"
#include "agenda/host/Servicios.h"
#include "agendan/PestanasAgendaN.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/ColorPanel.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/DbMemo.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/MaskEdit.h"

#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QCloseEvent>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTabBar>

using dataset::DataSet;
using dbcontrols::DbGrid;
using dbcontrols::MaskEdit;

namespace
{

constexpr int PeriodoRefresco = 5000; // ms

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
    connect(qApp, &QApplication::focusChanged, this, &TFFichaAgendaN::CambiaFoco);
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
    // While the pages go, the tab control would still tell of other tabs becoming the current one, and the
    // focus of its way from one control to another.
    PCAgenda->disconnect(this);
    qApp->disconnect(this);
}

void TFFichaAgendaN::PonNotario(int notario, const QString &nombre, DataSet *tabla)
{
    if (notario < 1 || notario > NumPestanas)
        return;
    const auto indice = static_cast<std::size_t>(notario - 1);
    PCAgenda->PonRotulo(notario - 1, nombre);
    DBGAgendaN[indice]->setAccessibleName(QStringLiteral("Citas de ") + nombre);
    DSAgendaN[indice]->setDataSet(tabla);
    PonPestanaALaVista(notario - 1, true);
    if (!PCAgenda->isTabVisible(PCAgenda->currentIndex()))
        PCAgenda->setCurrentIndex(notario - 1);
}

void TFFichaAgendaN::PonMotor(TClassAgendaN &motor)
{
    m_motor = &motor;
    AContacto->setEnabled(motor.Clientes() != nullptr);
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
    const DataSet *const tabla = GetDatosAgendaN();
    return tabla && tabla->isActive() ? m_motor->Dia(Pestana() + 1).ALaVista() : QDate();
}

// Opening and closing

void TFFichaAgendaN::ShowModal()
{
    setWindowModality(Qt::ApplicationModal);
    Coloca();
    LeeColorSalida();
    MiraFueraDeHora();
    m_cerrada = false;
    show();
    activateWindow();
    GetDBGAgendaN()->setFocus();
    Timer1->start();
    m_bucle.exec(QEventLoop::DialogExec);
    Timer1->stop();
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
    CuentaAvisos();
    m_cerrada = true;
    RecuerdaLugar();
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
    return ConGuarda([tabla] {
        if (!tabla->isModified()) {
            tabla->cancel();
            return;
        }
        const QString hora = TLineaAgenda::Actual(*tabla).Hora;
        try {
            tabla->post();
        } catch (const dataset::EDatabaseError &error) {
            throw dataset::EDatabaseError(
                QStringLiteral("No se ha podido guardar la cita de las %1.\n%2").arg(hora, plainText(error)),
                error.kind());
        }
    });
}

void TFFichaAgendaN::resizeEvent(QResizeEvent *evento)
{
    QMainWindow::resizeEvent(evento);
    FormResize();
}

void TFFichaAgendaN::changeEvent(QEvent *evento)
{
    QMainWindow::changeEvent(evento);
    if (evento->type() == QEvent::FontChange && Timer1)
        AjustaMedidasALaLetra();
}

// Colours, date field, timer

void TFFichaAgendaN::LeeColorSalida()
{
    // Kept between commands: the setting is a file, and a paint asks for it once per cell.
    QColor color = m_colorSalida;
    try {
        if (goConfAgendaN)
            color = dbcontrols::screenColor(goConfAgendaN->GetColorSalida(), palette());
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
    const int fila = DBGAgendaN[static_cast<std::size_t>(pestana)]->dataRow(linea);
    if (!tabla || fila < 0 || TextoDeFila(*tabla, fila, TCampoLinea::salida) != EstaFuera)
        return std::nullopt;
    return m_colorSalida;
}

void TFFichaAgendaN::PCAgendaChange()
{
    if (!m_motor)
        return;
    // A line left half written on the tab before would stay locked for the other workstations.
    const int anterior = m_pestanaAnterior;
    if (anterior != Pestana() && !AceptaPendiente(anterior)) {
        m_pestanaAnterior = Pestana();       // this page passes its focus on, too
        PCAgenda->setCurrentIndex(anterior); // back to what could not be written
        DBGAgendaN[static_cast<std::size_t>(anterior)]->setFocus();
        return;
    }
    m_pestanaAnterior = Pestana();
    ConGuarda([this] {
        m_motor->PonNotarioActual(Pestana() + 1);
        ActualizaFecha();
        MiraFueraDeHora();
    });
    ADiaAnterior->setEnabled(true);
    ADiaSiguiente->setEnabled(true);
    // The grid that had the focus has gone with its page.
    if (!m_cerrada && !PCAgenda->tabBar()->hasFocus() && !MEFecha->hasFocus())
        GetDBGAgendaN()->setFocus();
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
    if (m_pestanaAnterior != Pestana())
        return; // a page that goes passes its focus on, with the other notary's date still in the field
    QString fecha = MEFecha->text();
    m_fechaAtendida = true;
    if (QuitaCaracter(QuitaCaracter(fecha, QLatin1Char(' ')), QLatin1Char('/')).isEmpty())
        return;
    if (VerificaFecha(fecha)) {
        MEFecha->setMaskedText(fecha);
        m_fechaAtendida = ConGuarda([this, &fecha] { SincronizaA(Cad_Date(fecha)); });
        // A day that could not be shown is not to stand over the lines of the one before.
        if (!m_fechaAtendida)
            ConGuarda([this] { ActualizaFecha(); });
        MiraFueraDeHora();
        return;
    }
    m_fechaAtendida = false;
    // From the event loop: the focus is on its way to another control and can be called back only when it is
    // there.
    dbcontrols::callLater(this, [this] {
        ConGuarda([] { AvisaAlUsuario(QStringLiteral("La fecha introducida no es correcta")); });
        MEFecha->setFocus(Qt::OtherFocusReason);
    });
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
        LExplica->showMessage(dataset::plainText(error), PeriodoRefresco);
    }
    LeeColorSalida();
    CuentaAvisos();
}

void TFFichaAgendaN::CambiaFoco(QWidget *antes, QWidget *ahora)
{
    for (dbcontrols::DbMemo *const memo : DBMConcepto) {
        if (memo == antes)
            Servicios().Rvarias->DejaFocoControl(*memo);
        if (memo == ahora)
            Servicios().Rvarias->TomaFocoControl(*memo);
    }
    MuestraPistaDelFoco(ahora);
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
