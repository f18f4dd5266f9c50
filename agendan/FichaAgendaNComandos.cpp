#include "agendan/FichaAgendaN.h"

#include "agenda/Rnumcad.h"
#include "agenda/host/Servicios.h"
#include "agendan/PestanasAgendaN.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/MaskEdit.h"

#include <QtCore/QLoggingCategory>
#include <QtCore/QScopedValueRollback>
#include <QtGui/QAction>
#include <QtWidgets/QStatusBar>

using dataset::Bookmark;

namespace
{

Q_LOGGING_CATEGORY(registro, "agendan.ventanas")

const QString Atencion = QStringLiteral(" ATENCIÓN");
const QString AtencionDosPuntos = QStringLiteral(" ATENCIÓN:");
const QString IndicacionFecha = QStringLiteral("Fecha de la agenda");
const QString TituloFecha = QStringLiteral("Agenda del día:");

} // namespace

bool TFFichaAgendaN::Ejecuta(const TOrden &orden)
{
    if (!m_motor || !GetDBGAgendaN()->commitEditor())
        return false; // what was typed did not fit and is still there; the grid says why
    const QPointer<QWidget> conFoco = focusWidget();
    static_cast<void>(m_motor->TomaError());
    ConGuarda(orden);
    LeeColorSalida();
    if (!conFoco || !conFoco->isVisible())
        GetDBGAgendaN()->setFocus();
    return true;
}

void TFFichaAgendaN::AvisaSiFallo(const QString &que)
{
    // Without an error of its own the engine has done what it was asked, or the user has said no.
    const QString causa = m_motor->TomaError();
    if (!causa.isEmpty())
        AvisaError(que + u'\n' + causa);
}

bool TFFichaAgendaN::ConGuarda(const TOrden &orden)
{
    const QScopedValueRollback<int> enCurso(m_ordenesEnCurso, m_ordenesEnCurso + 1);
    QString texto;
    try {
        orden();
        return true;
    } catch (const dataset::EDatabaseError &error) {
        texto = error.text();
    } catch (const dataset::EConvertError &error) {
        texto = error.text();
    } catch (const std::exception &error) {
        texto = QString::fromUtf8(error.what());
    }
    AvisaError(texto);
    return false;
}

void TFFichaAgendaN::AvisaError(const QString &texto)
{
    qCWarning(registro) << texto;
    const QScopedValueRollback<int> enCurso(m_ordenesEnCurso, m_ordenesEnCurso + 1);
    TMensaje mensaje;
    mensaje.Texto = texto;
    mensaje.Icono = TIconoMensaje::error;
    mensaje.Titulo = AtencionDosPuntos;
    Servicios().Mensaje->Mensajes(mensaje);
}

void TFFichaAgendaN::Avisa(const QString &texto)
{
    TMensaje mensaje;
    mensaje.Texto = texto;
    mensaje.Titulo = AtencionDosPuntos;
    Servicios().Mensaje->Mensajes(mensaje);
}

void TFFichaAgendaN::PorCadaSeleccionada(const std::function<bool()> &orden)
{
    dataset::DataSet *const tabla = GetDatosAgendaN();
    const QList<Bookmark> seleccion = GetDBGAgendaN()->selectedBookmarks();
    for (const Bookmark linea : seleccion) {
        if (tabla->goToBookmark(linea))
            orden();
    }
}

void TFFichaAgendaN::ABorrarExecute()
{
    if (!GetDatosAgendaN())
        return;
    if (GetDBGAgendaN()->selectedBookmarks().size() < 2) {
        m_motor->Borrar(true);
        AvisaSiFallo(QStringLiteral("No se ha podido borrar la cita."));
        return;
    }
    TMensaje pregunta;
    pregunta.Clase = TClaseMensaje::pregunta;
    pregunta.Texto = QStringLiteral("¿Desea borrar las citas seleccionadas?");
    pregunta.Icono = TIconoMensaje::pregunta;
    pregunta.Titulo = Atencion;
    if (Servicios().Mensaje->Mensajes(pregunta) != RespuestaSi)
        return;
    PorCadaSeleccionada([this] { return m_motor->Borrar(false); });
    AvisaSiFallo(QStringLiteral("No se han podido borrar todas las citas seleccionadas."));
}

void TFFichaAgendaN::ASalidaExecute()
{
    if (!GetDatosAgendaN())
        return;
    if (GetDBGAgendaN()->selectedBookmarks().size() >= 2)
        PorCadaSeleccionada([this] { return m_motor->Salida(); });
    else
        m_motor->Salida();
    AvisaSiFallo(QStringLiteral("No se ha podido marcar la salida."));
}

void TFFichaAgendaN::AAusenteExecute()
{
    if (!GetDatosAgendaN())
        return;
    m_motor->Ausente();
    AvisaSiFallo(QStringLiteral("No se ha podido marcar la ausencia en todas las líneas."));
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
        Avisa(QStringLiteral("No hay días anteriores en la agenda de ") + PCAgenda->Rotulo(Pestana()));
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
        Avisa(QStringLiteral("No hay días posteriores en la agenda de ") + PCAgenda->Rotulo(Pestana()));
        ADiaSiguiente->setEnabled(false);
    }
}

void TFFichaAgendaN::ABuscarDiaExecute()
{
    QDate fecha = QDate::fromString(MEFecha->text(), QStringLiteral("dd/MM/yyyy"));
    if (!fecha.isValid())
        fecha = Servicios().Reloj->Hoy();
    if (!Servicios().Rut->PreguntaFecha(fecha, IndicacionFecha, TituloFecha))
        return;
    SincronizaA(fecha);
    ActualizaFecha();
}

void TFFichaAgendaN::Imprime(void (TClassAgendaN::*informe)(QDate))
{
    if (!GetDatosAgendaN())
        return;
    // A date typed and not left yet is shown first: the sheet's title and its lines are of one day.
    if (MEFecha->hasFocus())
        GetDBGAgendaN()->setFocus();
    (m_motor->*informe)(Cad_Date(MEFecha->text()));
}

void TFFichaAgendaN::SincronizaA(QDate fecha)
{
    // On a tab without a table only the others can move, and only together.
    const bool todos = ASincronizarDia->isChecked();
    if (todos || GetDatosAgendaN())
        m_motor->SincronizarTablasAFecha(fecha, todos);
}
