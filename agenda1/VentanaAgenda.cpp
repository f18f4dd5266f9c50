#include "agenda1/VentanaAgenda.h"

#include "agenda/Avisos.h"
#include "agenda/GuardaVentana.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/Rvarias.h"
#include "agenda/host/Servicios.h"
#include "dbcontrols/DataSource.h"
#include "dbcontrols/DbEdit.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/MaskEdit.h"

#include <QtCore/QScopedValueRollback>
#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QCloseEvent>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStatusBar>

#include <utility>

using dataset::DataSet;

namespace
{

constexpr int PeriodoRecarga = 15000; // ms

} // namespace

TVentanaAgenda::~TVentanaAgenda()
{
    Suelta();
}

void TVentanaAgenda::Suelta()
{
    qApp->disconnect(this); // the focus still moves while the controls go
    for (QObject *const parte : findChildren<QObject *>())
        parte->disconnect(this);
}

bool TVentanaAgenda::Ejecuta(const TOrden &orden)
{
    const QScopedValueRollback<int> enCurso(m_ordenes, m_ordenes + 1);
    const bool hecho = EjecutaConGuarda(orden);
    CuentaAvisosPronto();
    return hecho;
}

void TVentanaAgenda::Avisa(const QString &texto)
{
    const QScopedValueRollback<int> enCurso(m_ordenes, m_ordenes + 1);
    AvisaAlUsuario(texto);
    CuentaAvisosPronto();
}

void TVentanaAgenda::CuentaAvisos()
{
    if (Ocupada() || QApplication::activePopupWidget() || QApplication::activeModalWidget() != this)
        return;
    const QScopedValueRollback<int> enCurso(m_ordenes, m_ordenes + 1);
    CuentaAvisosDe(m_motor.Tabla());
}

void TVentanaAgenda::CuentaAvisosPronto()
{
    dbcontrols::callLater(this, [this] { CuentaAvisos(); });
}

// Opening and closing

void TVentanaAgenda::ShowModal()
{
    setWindowModality(Qt::ApplicationModal);
    Coloca();
    show();
    activateWindow();
    m_rejilla->setFocus();
    m_bucle.exec(QEventLoop::DialogExec);
}

void TVentanaAgenda::showEvent(QShowEvent *evento)
{
    QMainWindow::showEvent(evento);
    // On the window's handle, not on controls: so each key is seen once, before the control that has the
    // focus.
    windowHandle()->removeEventFilter(this);
    windowHandle()->installEventFilter(this);
    if (!Timer1) {
        Timer1 = new QTimer(this);
        Timer1->setObjectName(QStringLiteral("Timer1"));
        connect(Timer1, &QTimer::timeout, this, &TVentanaAgenda::Timer1Timer);
        Timer1->start(PeriodoRecarga);
    }
}

void TVentanaAgenda::closeEvent(QCloseEvent *evento)
{
    if (Editando()) {
        evento->ignore();
        BSalirClick();
        return;
    }
    CuentaAvisos();
    RecuerdaLugar();
    evento->accept();
    m_bucle.quit();
}

// Editing

bool TVentanaAgenda::Editando() const
{
    return PActualiza->isEnabled();
}

void TVentanaAgenda::PonEscribible(bool escribible)
{
    for (QLineEdit *const edicion : PActualiza->findChildren<QLineEdit *>())
        edicion->setReadOnly(!escribible);
    PActualiza->setEnabled(escribible);
    BAceptar->setEnabled(escribible);
    m_rejilla->setEnabled(!escribible);
}

void TVentanaAgenda::Habilita(QWidget &foco)
{
    m_borrador.Empieza(m_motor.TablaDeLaVentana());
    m_horaPendiente = false;
    if (!Editando()) {
        m_parados.clear();
        for (QAction *const comando : std::as_const(m_comandos)) {
            if (comando->isEnabled())
                m_parados << comando;
            comando->setEnabled(false);
        }
    }
    PonEscribible(true);
    foco.setFocus();
}

void TVentanaAgenda::Deshabilita()
{
    PonEscribible(false);
    for (QAction *const comando : std::as_const(m_parados))
        comando->setEnabled(true);
    m_parados.clear();
    m_rejilla->setFocus();
}

void TVentanaAgenda::NuevoExecute()
{
    if (m_motor.Insertar())
        Habilita(*MEHora);
    else
        Avisa(QStringLiteral("Problemas modificando la tabla"));
}

void TVentanaAgenda::ModificarExecute()
{
    if (m_motor.Modificar(dataset::EditOf::fresh)) // shown before the clerk can type
        Habilita(*DBEConcepto);
    else
        Avisa(ProblemasCita);
}

void TVentanaAgenda::BorrarExecute()
{
    if (Servicios().Mensaje->Mensaje_SiNo(QStringLiteral("¿Desea eliminar la anotación (S/N)?"),
                                          QStringLiteral("Borrar una anotación"),
                                          QStringLiteral("Atencion")) != RespuestaSi)
        return;
    if (m_motor.Borrar())
        TrasBorrar();
    else
        Avisa(QStringLiteral("Problemas borrando la anotación"));
}

void TVentanaAgenda::BAceptarClick()
{
    m_horaPendiente = false;
    if (!AceptaHora()) {
        MEHora->setFocus();
        return;
    }
    Ejecuta([this] {
        DataSet &tabla = m_motor.TablaDeLaVentana();
        m_borrador.Guarda(tabla);
        if (m_motor.Aceptar()) {
            Deshabilita();
            return;
        }
        Avisa(ProblemasCita);
        m_motor.Cancelar();
        VuelveAEscribir();
    });
}

/// What a failed accept has dropped is typed again, so that the user can try once more or give it up.
void TVentanaAgenda::VuelveAEscribir()
{
    DataSet &tabla = m_motor.TablaDeLaVentana();
    const auto lugar = m_borrador.Recupera(
        tabla, {[this] { return m_motor.Modificar(dataset::EditOf::fresh); },
                m_borrador.EsNueva() ? [this] { return m_motor.Insertar(); } : std::function<bool()>()});
    if (lugar == TBorrador::TLugar::suLinea) {
        if (const QString suyo = m_borrador.LoDeOtros().trimmed(); !suyo.isEmpty())
            Avisa(suyo);
        return;
    }
    Avisa(QStringLiteral("Había escrito:\n") + m_borrador.Tecleado().join(u'\n'));
    Deshabilita();
    tabla.refresh(); // a line that has gone is seen to be gone
}

void TVentanaAgenda::BSalirClick()
{
    if (!Editando()) {
        close();
        return;
    }
    const bool horaPendiente = std::exchange(m_horaPendiente, false);
    Ejecuta([this, horaPendiente] {
        if (PreguntaMotor(QStringLiteral("¿Desea deshacer los cambios?"), TituloAtencionPuntos)) {
            m_motor.Cancelar();
            Deshabilita();
            Recarga(); // the day is as the table has it, not as it was when the line was begun
        } else if (horaPendiente) {
            AceptaHora();
        }
    });
}

QStringList TVentanaAgenda::Textos(const QStringList &campos) const
{
    QStringList textos;
    for (const QString &campo : campos)
        textos << m_motor.TablaDeLaVentana().field(campo).asText();
    return textos;
}

void TVentanaAgenda::PegaEnLaLinea(const QStringList &campos, const QStringList &valores)
{
    if (!m_motor.Modificar()) {
        Avisa(ProblemasCita);
        return;
    }
    try {
        for (qsizetype i = 0; i < campos.size(); ++i)
            m_motor.TablaDeLaVentana().field(campos.at(i)).setText(valores.at(i));
    } catch (...) {
        m_motor.Cancelar();
        throw;
    }
    if (m_motor.Aceptar())
        return;
    Avisa(ProblemasCita);
    m_motor.Cancelar();
}

void TVentanaAgenda::Timer1Timer()
{
    // Not under a question or a preview either: both are about the lines as they are now.
    if (Ocupada() || m_fuente->state() != DataSet::State::browse)
        return;
    Ejecuta([this] {
        try {
            Recarga();
        } catch (const std::exception &error) {
            // In the help line: a box every fifteen seconds would keep the clerk from working.
            statusBar()->showMessage(dataset::plainText(error), PeriodoRecarga);
        }
    });
    CuentaAvisos();
}

// The hour

bool TVentanaAgenda::HoraTecleada(QString &hora) const
{
    constexpr int UltimaHora = 23;
    constexpr int Minutos = 60;
    const int horas = Cad_Int(StrLeft(MEHora->text(), 2));
    const int minutos = Cad_Int(StrRight(MEHora->text(), 2));
    hora = StrCeros(horas, 2) + u':' + StrCeros(minutos, 2);
    return horas >= 1 && horas <= UltimaHora && minutos >= 0 && minutos < Minutos;
}

bool TVentanaAgenda::AceptaHora()
{
    // A sheet may hold hours that nobody could type; left as they are they stay.
    if (!m_fuente->isEditing() || (!MEHora->isBlank() && MEHora->text() == DBEHora->text()))
        return true;
    QString hora;
    if (HoraTecleada(hora)) {
        MEHora->setMaskedText(hora);
        return DBEHora->putText(hora);
    }
    Avisa(QStringLiteral("La hora no es válida"));
    MEHora->setMaskedText(DBEHora->text());
    return false;
}

void TVentanaAgenda::MEHoraExit()
{
    QString hora;
    if (HoraTecleada(hora)) {
        Ejecuta([this] { AceptaHora(); });
        return;
    }
    // From the event loop: a box must not open while the focus is on its way.
    m_horaPendiente = Editando();
    dbcontrols::callLater(this, [this] {
        if (std::exchange(m_horaPendiente, false))
            Ejecuta([this] { AceptaHora(); });
    });
}

// Keys and focus

bool TVentanaAgenda::eventFilter(QObject *objeto, QEvent *evento)
{
    if (evento->type() == QEvent::KeyPress && objeto == windowHandle() &&
        !QApplication::activePopupWidget() && QApplication::activeModalWidget() == this &&
        FormKeyDown(static_cast<QKeyEvent *>(evento)->key()))
        return true;
    return QMainWindow::eventFilter(objeto, evento);
}

bool TVentanaAgenda::FormKeyDown(int tecla)
{
    if (tecla == Qt::Key_Escape) {
        BSalir->click();
        return true;
    }
    if ((tecla != Qt::Key_Return && tecla != Qt::Key_Enter) || !Editando())
        return false;
    // At once: what has been typed behind it may be waiting already.
    setAttribute(Qt::WA_KeyboardFocusChange); // styles show the focus of buttons only then
    focusNextChild();
    return true;
}

void TVentanaAgenda::CambiaFoco(QWidget *antes, QWidget *ahora)
{
    for (QLineEdit *const edicion : PActualiza->findChildren<QLineEdit *>()) {
        if (edicion == antes)
            Servicios().Rvarias->DejaFocoControl(*edicion);
        if (edicion == ahora)
            Servicios().Rvarias->TomaFocoControl(*edicion);
    }
    if (ahora && isAncestorOf(ahora))
        m_pista->setText(ahora->statusTip());
}
