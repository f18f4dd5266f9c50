// How commands are run, and those that go from day to day.

#include "agendan/FichaAgendaN.h"

#include "agenda/GuardaVentana.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"
#include "agendan/PestanasAgendaN.h"
#include "dbcontrols/CalendarPopup.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/MaskEdit.h"

#include <QtCore/QScopedValueRollback>
#include <QtGui/QAction>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStatusBar>

using dataset::DataSet;

bool TFFichaAgendaN::Ejecuta(TAlcance alcance, const TOrden &orden)
{
    const bool tecleando = GetDatosAgendaN() && GetDatosAgendaN()->isEditing();
    const TLineasVistas antes = tecleando ? LasDemas() : TLineasVistas();
    if (!m_motor || (alcance == TAlcance::citas && !AceptaFecha()) || !AceptaPendiente(Pestana()))
        return false; // what was typed is still there, and the reason has been told
    m_diaVisto = !tecleando || SiguenIguales(antes);
    const QPointer<QWidget> conFoco = focusWidget();
    ConGuarda(orden);
    LeeColorSalida();
    MiraFueraDeHora();
    if (alcance == TAlcance::citas || !conFoco || !conFoco->isVisible())
        GetDBGAgendaN()->setFocus();
    return true;
}

bool TFFichaAgendaN::AceptaFecha()
{
    if (!MEFecha->hasFocus() || MEFecha->text() == Date_Cad(FechaActual()))
        return true;
    GetDBGAgendaN()->setFocus(); // leaving the field is what makes its date count
    return m_fechaAtendida;
}

void TFFichaAgendaN::AvisaSiFallo(const TRespuesta &respuesta, const QString &que)
{
    if (!respuesta.Causa().isEmpty())
        AvisaError(que + u'\n' + respuesta.Causa());
}

bool TFFichaAgendaN::ConGuarda(const TOrden &orden)
{
    const QScopedValueRollback<int> enCurso(m_ordenesEnCurso, m_ordenesEnCurso + 1);
    const bool hecho = EjecutaConGuarda(orden);
    CuentaAvisosPronto();
    return hecho;
}

void TFFichaAgendaN::AvisaError(const QString &texto)
{
    const QScopedValueRollback<int> enCurso(m_ordenesEnCurso, m_ordenesEnCurso + 1);
    AvisaDeError(texto);
    CuentaAvisosPronto();
}

void TFFichaAgendaN::CuentaAvisos()
{
    if (!m_motor || m_ordenesEnCurso > 0 || GetDBGAgendaN()->isEditorOpen() ||
        QApplication::activePopupWidget() || QApplication::activeModalWidget() != this)
        return;
    const QScopedValueRollback<int> enCurso(m_ordenesEnCurso, m_ordenesEnCurso + 1);
    for (int notario = 1; notario <= NumPestanas; ++notario) {
        if (DataSet *const tabla = m_motor->Tabla(notario))
            CuentaAvisosDe(*tabla);
    }
}

void TFFichaAgendaN::CuentaAvisosPronto()
{
    dbcontrols::callLater(this, [this] { CuentaAvisos(); });
}

void TFFichaAgendaN::ASincronizarDiaExecute()
{
    // The command has flipped its mark already. Taking the mark away moves nothing.
    const QDate fecha = FechaActual();
    if (ASincronizarDia->isChecked() && fecha.isValid())
        m_motor->SincronizarTablasAFecha(fecha, true);
}

void TFFichaAgendaN::ADiaAnteriorExecute()
{
    if (!GetDatosAgendaN())
        return;
    if (m_motor->AnteriorDia()) {
        ADiaSiguiente->setEnabled(true);
        ActualizaFecha();
        ASincronizarDiaExecute();
    } else {
        AvisaAlUsuario(QStringLiteral("No hay días anteriores en la agenda de ") +
                       PCAgenda->Rotulo(Pestana()));
        ADiaAnterior->setEnabled(false);
    }
}

void TFFichaAgendaN::ADiaSiguienteExecute()
{
    if (!GetDatosAgendaN())
        return;
    if (m_motor->SiguienteDia()) {
        ADiaAnterior->setEnabled(true);
        ActualizaFecha();
        ASincronizarDiaExecute();
    } else {
        AvisaAlUsuario(QStringLiteral("No hay días posteriores en la agenda de ") +
                       PCAgenda->Rotulo(Pestana()));
        ADiaSiguiente->setEnabled(false);
    }
}

void TFFichaAgendaN::ABuscarDiaExecute()
{
    QDate fecha = QDate::fromString(MEFecha->text(), QStringLiteral("dd/MM/yyyy"));
    if (!fecha.isValid())
        fecha = Servicios().Reloj->Hoy();
    if (PreguntaFecha(fecha))
        VeAlDia(fecha);
}

bool TFFichaAgendaN::PreguntaFecha(QDate &fecha)
{
    return Servicios().Rut->PreguntaFecha(fecha, QStringLiteral("Fecha de la agenda"),
                                          QStringLiteral("Agenda del día:"));
}

void TFFichaAgendaN::VeAlDia(QDate fecha)
{
    try {
        SincronizaA(fecha);
    } catch (...) {
        ActualizaFecha(); // this notary's table may have gone there, or not
        throw;
    }
    ActualizaFecha();
}

void TFFichaAgendaN::AbreCalendario()
{
    if (!m_calendario) {
        m_calendario = new dbcontrols::CalendarPopup(this);
        connect(m_calendario, &dbcontrols::CalendarPopup::chosen, this, [this](QDate fecha) {
            if (m_motor && AceptaPendiente(Pestana()))
                ConGuarda([this, fecha] { VeAlDia(fecha); });
            MiraFueraDeHora();
            GetDBGAgendaN()->setFocus();
        });
    }
    const QDate escrita = QDate::fromString(MEFecha->text(), QStringLiteral("dd/MM/yyyy"));
    m_calendario->open(*MEFecha, escrita.isValid() ? escrita : Servicios().Reloj->Hoy());
}

void TFFichaAgendaN::Imprime(void (TClassAgendaN::*informe)(QDate))
{
    if (!GetDatosAgendaN())
        return;
    // A date typed and not left yet has been shown before, and one that could not be shown is none: the
    // sheet's title and its lines are of one day, that of the lines in front.
    ActualizaFecha();
    (m_motor->*informe)(FechaActual());
}

void TFFichaAgendaN::SincronizaA(QDate fecha)
{
    // On a tab without a table only the others can move, and only together.
    const bool todos = ASincronizarDia->isChecked();
    if (todos || GetDatosAgendaN())
        m_motor->SincronizarTablasAFecha(fecha, todos);
}
