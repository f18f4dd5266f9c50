#include "agendan/FichaCita.h"

#include "agenda/GuardaVentana.h"
#include "agenda/host/Servicios.h"
#include "dbcontrols/DataSource.h"
#include "dbcontrols/DbComboBox.h"
#include "dbcontrols/DbEdit.h"
#include "dbcontrols/DbMemo.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/PlainText.h"

#include <QtGui/QCloseEvent>
#include <QtGui/QInputMethodEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QScreen>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

using dataset::DataSet;

namespace
{
constexpr QSize AreaDeLaFicha{635, 190};
} // namespace

TFFichaCitas::TFFichaCitas(QWidget *propietario)
    : QDialog(QApplication::activeModalWidget() ? QApplication::activeModalWidget() : propietario)
    , m_propietario(propietario ? propietario->window() : nullptr)
{
    setObjectName(QStringLiteral("FichaCitas"));
    setWindowTitle(QStringLiteral("Ficha de Citas"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    DSAgendaN = new dbcontrols::DataSource(this);
    DSAgendaN->setObjectName(QStringLiteral("DSAgendaN"));
    // Only the engine begins a change: where it could not, nothing typed may land in the line shown.
    DSAgendaN->setAutoEdit(false);
    CreaDetalles();
    CreaBotones();
    CreaEspejos();
    AjustaMedidasALaLetra();
    PonColores();
    ActivarHoraFin(false);
    CargaComboOficial();
    connect(qApp, &QApplication::focusChanged, this,
            [this](const QWidget * /*antes*/, QWidget *ahora) { CambiaFoco(ahora); });
}

TFFichaCitas::~TFFichaCitas()
{
    // While the controls go, the focus would still wander and the mirrors still show.
    disconnect(qApp, nullptr, this, nullptr);
    for (const dbcontrols::DbEdit *const espejo : {DBEFecha, DBEHora, DBEInteresado, DBECodCliente})
        disconnect(espejo, nullptr, this, nullptr);
}

void TFFichaCitas::PonMotor(TClassAgendaN &motor)
{
    m_motor = &motor;
    DSAgendaN->setDataSet(&motor.TablaActual());
}

// Opening and closing

void TFFichaCitas::ShowModal()
{
    m_filaAlAbrir = Tabla().currentRow();
    m_lineaAlAbrir = Tabla().bookmark();
    m_diaAlAbrir = m_motor->DiaActual().Mostrado();
    m_vistasAlAbrir.clear();
    for (int fila = 0; m_diaAlAbrir.isValid() && fila < Tabla().rowCount(); ++fila)
        m_vistasAlAbrir.insert(Tabla().bookmarkAt(fila), Tabla().seen(Tabla().bookmarkAt(fila)));
    Coloca();
    exec();
    EjecutaConGuarda([this] {
        if (Tabla()
                .isEditing()) // closed over the clerk's head, as when the program ends: nobody has accepted
            m_motor->CancelarAgendaN(false);
        VuelveAlDiaMostrado();
    });
}

void TFFichaCitas::Coloca()
{
    ensurePolished();
    resize(AreaDeLaFicha.expandedTo(minimumSizeHint()));
    const QWidget *const centro = m_propietario ? m_propietario.data() : parentWidget();
    if (!centro)
        return;
    const QRect disponible = centro->screen()->availableGeometry();
    QRect lugar = rect();
    lugar.moveCenter(centro->frameGeometry().center());
    move(qMax(disponible.left(), qMin(lugar.left(), disponible.right() - lugar.width() + 1)),
         qMax(disponible.top(), qMin(lugar.top(), disponible.bottom() - lugar.height() + 1)));
}

void TFFichaCitas::showEvent(QShowEvent *evento)
{
    QDialog::showEvent(evento);
    // On the window's handle, not on controls: so each key is seen once, before the control that has the
    // focus.
    windowHandle()->removeEventFilter(this);
    windowHandle()->installEventFilter(this);
    if (!evento->spontaneous())
        FormShow();
}

void TFFichaCitas::FormShow()
{
    ActivarBotones();
    if (Tabla().isReadOnly()) {
        for (QPushButton *const boton : {BNuevo, BModificar, BBorrar})
            boton->setEnabled(false);
        PonFoco(*BSalir);
    }
    int tecla = 0;
    switch (m_operacion) {
    case TOperacion::nuevo:
        tecla = Qt::Key_Insert;
        break;
    case TOperacion::borrar:
        tecla = Qt::Key_Delete;
        break;
    case TOperacion::modificar:
        tecla = Qt::Key_Space;
        break;
    default:
        Avisa(m_sinOficiales);
        return;
    }
    // Posted to the card's own handler, not sent as a key: it must not matter when the desktop gives the card
    // the focus.
    dbcontrols::callLater(this, [this, tecla] {
        FormKeyDown(tecla);
        if (LExplica->toolTip().isEmpty()) // else there is more urgent news of the line
            Avisa(m_sinOficiales);
    });
}

void TFFichaCitas::closeEvent(QCloseEvent *evento)
{
    // Closed by its frame in the middle of a change: nothing typed goes without a question.
    if (Editando()) {
        BCancelar->click();
        if (Editando()) {
            evento->ignore();
            return;
        }
    }
    QDialog::closeEvent(evento);
}

void TFFichaCitas::reject()
{
    if (!Editando())
        QDialog::reject();
}

void TFFichaCitas::VuelveAlDiaMostrado()
{
    DataSet &tabla = Tabla();
    // A line written to another day is current now, and no grid shows it: the next command would hit it
    // unseen.
    const bool fuera = tabla.hasRange() && m_filaAlAbrir >= 0 && tabla.currentRow() < 0;
    if (!fuera || tabla.rowCount() == 0)
        return;
    if (tabla.rowOf(m_lineaAlAbrir) >= 0 && tabla.goToBookmark(m_lineaAlAbrir))
        return;
    tabla.setCurrentRow(qMin(m_filaAlAbrir, tabla.rowCount() - 1));
}

void TFFichaCitas::changeEvent(QEvent *evento)
{
    QDialog::changeEvent(evento);
    if (!BSalir)
        return;
    if (evento->type() == QEvent::FontChange)
        AjustaMedidasALaLetra();
    else if (evento->type() == QEvent::PaletteChange)
        PonColores();
}

// Keys

bool TFFichaCitas::eventFilter(QObject *objeto, QEvent *evento)
{
    if (objeto == windowHandle() && evento->type() == QEvent::KeyPress &&
        !QApplication::activePopupWidget() && QApplication::activeModalWidget() == this) {
        const auto *const tecla = static_cast<QKeyEvent *>(evento);
        return FormKeyDown(tecla->key());
    }
    if (objeto == MEFecha && evento->type() == QEvent::KeyPress) {
        const auto *const tecla = static_cast<QKeyEvent *>(evento);
        const bool abajo = tecla->key() == Qt::Key_Down && (tecla->modifiers() & Qt::AltModifier);
        const bool f4 = tecla->key() == Qt::Key_F4 && tecla->modifiers() == Qt::NoModifier;
        if (abajo || f4) {
            AbreCalendario();
            return true;
        }
    }
    if (objeto == EInteresado) {
        switch (evento->type()) {
        case QEvent::KeyPress:
            if (const auto *const tecla = static_cast<QKeyEvent *>(evento);
                tecla->key() == Qt::Key_Delete && tecla->modifiers() == Qt::ControlModifier) {
                QuitaInteresado();
                return true;
            }
            m_tecleandoInteresado = true;
            break;
        case QEvent::InputMethod:
            // What a dead key composes comes without a key of its own.
            if (!static_cast<QInputMethodEvent *>(evento)->commitString().isEmpty())
                dbcontrols::callLater(this, [this] { EInteresadoKeyUp(0); });
            break;
        case QEvent::KeyRelease:
            // A key that went down elsewhere, and brought the focus here, was not typed here.
            if (m_tecleandoInteresado && !static_cast<QKeyEvent *>(evento)->isAutoRepeat())
                EInteresadoKeyUp(static_cast<QKeyEvent *>(evento)->key());
            break;
        default:
            break;
        }
    }
    return QDialog::eventFilter(objeto, evento);
}

/// @return true when the key is not to reach the focused control any more: it has moved the focus, and would
/// be typed into the control that has it now.
bool TFFichaCitas::FormKeyDown(int tecla)
{
    switch (tecla) {
    case Qt::Key_Enter:
    case Qt::Key_Return:
        if (qobject_cast<QLineEdit *>(focusWidget()) || focusWidget() == DBMConcepto) {
            focusNextPrevChild(true); // at once: what has been typed behind it may be waiting already
            return true;
        }
        dbcontrols::callLater(this, [this] { focusNextPrevChild(true); }); // buttons and lists want the key
        return false;
    case Qt::Key_Escape:
        (BSalir->isEnabled() ? BSalir : BCancelar)->click();
        return true;
    case Qt::Key_Space:
        if (BModificar->isEnabled() &&
            (!Servicios().Rvarias->EsBoton(focusWidget()) || focusWidget() == BModificar)) {
            BModificar->click();
            return true;
        }
        return false;
    case Qt::Key_Insert:
        if (!BNuevo->isEnabled())
            return false;
        BNuevo->click();
        return true;
    case Qt::Key_Delete:
        if (!BBorrar->isEnabled())
            return false;
        BBorrar->click();
        return true;
    default:
        return false;
    }
}

void TFFichaCitas::keyPressEvent(QKeyEvent *evento)
{
    // A dialog of its own accord would close on Esc and press its default button on Enter.
    evento->ignore();
}

// States

bool TFFichaCitas::Editando() const
{
    return BCancelar->isEnabled();
}

void TFFichaCitas::ActivarBotones()
{
    PonEstado(false);
    m_salidaPendiente = nullptr;
}

void TFFichaCitas::DesactivarBotones()
{
    PonEstado(true);
}

void TFFichaCitas::PonEstado(bool editando)
{
    // What is going to be disabled must not push the focus about: first enable, then move it, then disable.
    const auto activa = [this](bool botonesDeEdicion) {
        PCita->setEnabled(botonesDeEdicion);
        for (QPushButton *const boton : {BAceptar, BCancelar})
            boton->setEnabled(botonesDeEdicion);
    };
    const auto activaReposo = [this](bool botonesDeReposo) {
        for (QPushButton *const boton : {BSalir, BNuevo, BModificar, BBorrar})
            boton->setEnabled(botonesDeReposo);
    };
    if (editando) {
        activa(true);
        PonFoco(*MEFecha);
        MEFecha->selectAll();
        activaReposo(false);
    } else {
        activaReposo(true);
        m_salidaPendiente = nullptr;
        PonFoco(*BModificar);
        activa(false);
    }
}

void TFFichaCitas::ActivarHoraFin(bool mostrar)
{
    for (QWidget *const uno : {static_cast<QWidget *>(lblHoraFin), static_cast<QWidget *>(MEHoraFin),
                               static_cast<QWidget *>(lblHorafinComentario)})
        uno->setVisible(mostrar);
}

// Focus

void TFFichaCitas::Ayuda(const QWidget *control)
{
    const QString aviso = std::exchange(m_avisoAyuda, {});
    LExplica->setText(!aviso.isEmpty() ? aviso : control ? control->statusTip() : QString());
    LExplica->setToolTip(dbcontrols::plainTip(aviso)); // a name or a path in it may be longer than the line
}

void TFFichaCitas::Avisa(const QString &aviso)
{
    if (aviso.isEmpty())
        return;
    LExplica->setText(aviso);
    LExplica->setToolTip(dbcontrols::plainTip(aviso));
}

bool TFFichaCitas::EsCajaDeEdicion(const QWidget *control) const
{
    return control == MEFecha || control == MEHora || control == MEHoraFin || control == DBCBOficial ||
           control == DBCBSalida || control == EInteresado || control == DBMConcepto;
}

void TFFichaCitas::TomaFoco(QWidget &control)
{
    if (EsCajaDeEdicion(&control))
        Servicios().Rvarias->TomaFocoControl(control);
    Ayuda(&control);
}

void TFFichaCitas::DejaFoco(QWidget &control)
{
    if (EsCajaDeEdicion(&control))
        Servicios().Rvarias->DejaFocoControl(control);
}

void TFFichaCitas::PonFoco(QWidget &control)
{
    control.setFocus(Qt::OtherFocusReason);
    // A card that is not the active window yet hears of its own focus only later.
    if (focusWidget() == &control)
        CambiaFoco(&control);
}

void TFFichaCitas::CambiaFoco(QWidget *ahora)
{
    if (!isVisible() || !ahora || ahora == m_conFoco || ahora == this || !isAncestorOf(ahora))
        return;
    QWidget *const antes = std::exchange(m_conFoco, ahora);
    if (antes)
        Sale(*antes);
    if (m_conFoco != ahora)
        return; // leaving has called the focus back
    if (ahora == EInteresado)
        EInteresadoEnter();
    TomaFoco(*ahora);
}

void TFFichaCitas::Sale(QWidget &control)
{
    if (&control == BCancelar && Editando()) {
        QWidget *const pendiente = std::exchange(m_salidaPendiente, nullptr);
        if (pendiente && pendiente != m_conFoco)
            Sale(*pendiente);
        return;
    }
    if (m_conFoco == BCancelar)
        m_salidaPendiente = &control;
    if (&control == MEFecha)
        MEFechaExit();
    else if (&control == MEHora)
        MEHoraExit();
    else if (&control == MEHoraFin)
        MEHoraFinExit();
    else if (&control == EInteresado)
        EInteresadoExit();
    else
        DejaFoco(control);
}
