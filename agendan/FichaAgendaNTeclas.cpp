// The keys of the agenda window, and the editing in the first grid that they start and end.

#include "agendan/FichaAgendaN.h"

#include "agenda/LineaAgenda.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/MaskEdit.h"

#include <QtGui/QAction>
#include <QtGui/QKeyEvent>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>

using dataset::DataSet;

namespace
{

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

} // namespace

bool TFFichaAgendaN::eventFilter(QObject *objeto, QEvent *evento)
{
    if (evento->type() == QEvent::KeyPress && objeto == windowHandle() &&
        !QApplication::activePopupWidget()) {
        const QWidget *const modal = QApplication::activeModalWidget();
        if (!modal || modal == this)
            FormKeyDown(static_cast<QKeyEvent *>(evento)->key());
    }
    if (evento->type() == QEvent::KeyPress && objeto == MEFecha) {
        const auto &tecla = *static_cast<QKeyEvent *>(evento);
        const bool altAbajo = tecla.key() == Qt::Key_Down && (tecla.modifiers() & Qt::AltModifier);
        if (altAbajo || (tecla.key() == Qt::Key_F4 && tecla.modifiers() == Qt::NoModifier)) {
            AbreCalendario();
            return true;
        }
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
        dbcontrols::callLater(this, [this] {
            // What the line or its table did not take waits under the keys to be mended.
            const bool aMedias = focusWidget() == GetDBGAgendaN() &&
                                 DSAgendaN[static_cast<std::size_t>(Pestana())]->isEditing();
            if (!aMedias && !GetDBGAgendaN()->isEditorOpen())
                focusNextPrevChild(true);
        });
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
    // Ctrl or Alt alone command and type nothing; both at once are how some desktops know AltGr.
    const bool manda =
        tecla->modifiers().testFlag(Qt::ControlModifier) != tecla->modifiers().testFlag(Qt::AltModifier);
    if (!fuente.isEditing() && !manda && EmpiezaEdicion(CodigoDeTecla(*tecla)))
        EmpiezaAEditar(*tecla);
    else if (fuente.isEditing() && intro)
        GuardaLinea();
}

void TFFichaAgendaN::EmpiezaAEditar(QKeyEvent &tecla)
{
    ConGuarda([this, &tecla] {
        const QString hora = TLineaAgenda::Actual(m_motor->TablaActual()).Hora; // as it is seen
        const TRespuesta enEdicion = m_motor->Modificar();
        if (enEdicion)
            return;
        tecla.ignore(); // the grid would try, and wait, a second time
        DataSet &tabla = m_motor->TablaActual();
        if (tabla.isEmpty())
            return; // the engine has spoken itself
        AvisaSiFallo(enEdicion, QStringLiteral("No se ha podido modificar la cita de las %1.").arg(hora));
        tabla.refresh(); // so that a line that has gone is seen to be gone
    });
}

void TFFichaAgendaN::GuardaLinea()
{
    DataSet &tabla = m_motor->TablaActual();
    TBorrador escrito = m_borrador;
    ConGuarda([&, this] {
        escrito.Guarda(tabla);
        const QString hora = TLineaAgenda::Actual(tabla).Hora;
        const TRespuesta aceptada = m_motor->AceptarAgendaN();
        if (aceptada)
            return;
        // The engine has dropped the change; what was typed comes back into the line before the clerk is
        // told.
        const auto vuelve =
            escrito.Recupera(tabla, {[this] { return bool(m_motor->Modificar(TALaVista::ficha)); }, {}});
        if (vuelve == TBorrador::TLugar::suLinea) {
            m_borrador = escrito; // what was there before is still what it was
            AvisaError(QStringLiteral(
                           "No se ha podido guardar la cita de las %1.\n%2\n\nLo que ha escrito sigue en la "
                           "línea: pulse Intro para volver a intentarlo o Esc para dejarlo.")
                           .arg(hora, aceptada.Causa()) +
                       escrito.LoDeOtros());
            return;
        }
        AvisaError(QStringLiteral("No se ha podido guardar la cita de las %1.\n%2\n\nHabía escrito:\n%3")
                       .arg(hora, aceptada.Causa(), escrito.Tecleado().join(u'\n')));
        tabla.refresh();
    });
}
