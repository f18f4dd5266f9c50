// The commands of the day of all notaries.

#include "host/AgendaConjunta.h"

#include "agenda/GuardaVentana.h"
#include "agenda/HoraTexto.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/LaterCall.h"
#include "host/DialogoHora.h"

#include <QtCore/QScopedValueRollback>
#include <QtGui/QAction>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStatusBar>

#include <set>
#include <utility>

using dataset::DataSet;

namespace
{

constexpr int MensajeLargo = 8000; // ms

} // namespace

bool TFAgendaConjunta::ConGuarda(const TOrden &orden)
{
    const QScopedValueRollback<int> enCurso(m_ordenes, m_ordenes + 1);
    const bool hecho = EjecutaConGuarda(orden);
    CuentaAvisosPronto();
    return hecho;
}

bool TFAgendaConjunta::Prepara(TSobre sobre)
{
    const QDate antes = m_fecha;
    const TPuestoConjunto puesto = m_modelo->Puesto(m_rejilla->currentIndex());
    if (m_ordenes > 0 || !CierraEditor() || !AceptaFecha())
        return false;
    // A line that was being typed into may have gone, and what comes in its place was not meant.
    const bool sigue = puesto.Hora.isEmpty() || (m_porDecir.isEmpty() && m_modelo->Sigue(puesto));
    if ((m_fecha == antes && sigue) || sobre == TSobre::elDia)
        return true;
    m_rejilla->setFocus();
    statusBar()->showMessage(
        m_fecha != antes
            ? QStringLiteral("Ahora se ve el %1: elija en él y repita la orden.").arg(Date_Cad(m_fecha))
            : QStringLiteral("Ya no está la línea de las %1: elija otra y repita la orden.").arg(puesto.Hora),
        MensajeLargo);
    return false;
}

bool TFAgendaConjunta::Ejecuta(const TOrden &orden, TSobre sobre)
{
    if (!Prepara(sobre))
        return false;
    ConGuarda(orden);
    SueltaLineas();
    ConGuarda([this] { // also where it has failed
        RefrescaTablas();
        Muestra(PuestoActual());
    });
    CambiaCelda();
    m_rejilla->setFocus();
    return true;
}

void TFAgendaConjunta::AvisaError(const QString &texto)
{
    const QScopedValueRollback<int> abierto(m_dialogos, m_dialogos + 1);
    AvisaDeError(texto);
    CuentaAvisosPronto();
}

void TFAgendaConjunta::CuentaAvisos()
{
    if (m_ordenes > 0 || m_dialogos > 0 || m_rejilla->EstaEditando() || QApplication::activePopupWidget() ||
        QApplication::activeModalWidget() != this)
        return;
    const QScopedValueRollback<int> abierto(m_dialogos, m_dialogos + 1);
    for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario) {
        if (DataSet *const tabla = m_motor.Tabla(notario))
            CuentaAvisosDe(*tabla);
    }
}

void TFAgendaConjunta::CuentaAvisosPronto()
{
    dbcontrols::callLater(this, [this] { CuentaAvisos(); });
}

void TFAgendaConjunta::AvisaSiFallo(const TRespuesta &respuesta, const QString &que)
{
    if (respuesta.Causa().isEmpty())
        return;
    RefrescaTablas(); // what it was refused for is to be seen behind the box
    Muestra(PuestoActual());
    AvisaError(que + u'\n' + respuesta.Causa());
}

bool TFAgendaConjunta::Pregunta(const QString &pregunta, const QString &explicacion) const
{
    const QScopedValueRollback<int> abierto(m_dialogos, m_dialogos + 1);
    return Servicios().Mensaje->Mensaje_SiNo(pregunta, explicacion, windowTitle()) == RespuestaSi;
}

bool TFAgendaConjunta::PreguntaGrave(const QString &pregunta, const QString &explicacion) const
{
    const QScopedValueRollback<int> abierto(m_dialogos, m_dialogos + 1);
    return Servicios().Mensaje->Mensaje_NoSi(pregunta, explicacion, windowTitle()) == RespuestaSi;
}

bool TFAgendaConjunta::HayLinea(int fila, int notario)
{
    if (m_modelo->Linea(fila, notario) != 0)
        return true;
    if (!EstaALaVista(notario))
        return false;
    AvisaError(
        fila < 0
            ? QStringLiteral("Este día no tiene ningún hueco.")
            : QStringLiteral("No hay hueco a las %1 en %2.").arg(m_modelo->Hora(fila), DeQuien(notario)));
    return false;
}

bool TFAgendaConjunta::PonNotario(int notario)
{
    const auto seLee = [&] { return m_motor.DiaMostrado(notario) == m_fecha && m_motor.EsLegible(notario); };
    m_motor.PonNotarioActual(notario);
    if (!seLee())
        RefrescaTablas();
    if (seLee())
        return true;
    AvisaError(QStringLiteral("No se puede leer este día en %1.").arg(DeQuien(notario)));
    return false;
}

bool TFAgendaConjunta::EstaALaVista(int notario)
{
    const bool seVeia = !m_modelo->EsIlegible(notario) && m_motor.DiaMostrado(notario) == m_fecha;
    if (!PonNotario(notario))
        return false;
    if (seVeia)
        return true;
    Muestra(PuestoActual());
    AvisaError(
        (m_modelo->EsIlegible(notario)
             ? QStringLiteral("No se puede leer este día en %1.")
             : QStringLiteral("Se ha vuelto a leer este día en %1. Mire lo que dice antes de cambiarlo."))
            .arg(DeQuien(notario)));
    return false;
}

bool TFAgendaConjunta::TomaLinea(const TElegida &linea)
{
    m_motor.PonNotarioActual(linea.Notario);
    const TRespuesta tomada = m_motor.Modificar(linea.Linea);
    AvisaSiFallo(tomada, QStringLiteral("No se puede cambiar la línea de las %1 de %2.")
                             .arg(linea.Hora, DeQuien(linea.Notario)));
    return tomada;
}

void TFAgendaConjunta::SueltaLineas()
{
    const int actual = Notario();
    for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario) {
        const DataSet *const tabla = m_motor.Tabla(notario);
        if (!tabla || !tabla->isEditing())
            continue;
        m_motor.PonNotarioActual(notario);
        m_motor.CancelarAgendaN(false);
    }
    m_motor.PonNotarioActual(actual);
}

// ---------------------------------------------------------------------------------------------------------------------
// Slots

void TFAgendaConjunta::NuevoHueco()
{
    TDialogoHora dialogo(m_modelo->Hora(Fila()),
                         QStringLiteral("Hora del hueco nuevo, en todas las agendas:"),
                         QStringLiteral("Nuevo hueco"), this);
    if (dialogo.exec() != QDialog::Accepted)
        return;
    const QString hora = dialogo.Hora();
    RefrescaTablas();
    Muestra(PuestoActual());
    if (m_modelo->FilaDe(hora) >= 0 && !Pregunta(QStringLiteral("¿Desea añadir otro (S/N)?"),
                                                 QStringLiteral("Ya hay un hueco a las %1.").arg(hora)))
        return;
    m_motor.PonNotarioActual(Notario());
    const TRespuesta todas = m_motor.Anadir(m_fecha, hora);
    Muestra({hora, 0, m_columna, m_motor.TablaActual().bookmark()});
    if (!todas)
        AvisaSiFallo(
            todas,
            QStringLiteral("El hueco de las %1 no se ha podido añadir en todas las agendas.").arg(hora));
}

void TFAgendaConjunta::BorraHueco()
{
    const int fila = Fila();
    if (!HayLinea(fila, Notario()))
        return;
    // Taken before anything is asked: what the clerk sees is what goes, or nothing does.
    const THueco hueco = m_modelo->Hueco(fila);
    const QString hora = m_modelo->Hora(fila);
    QStringList ocupadas;
    for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario) {
        if (notario != Notario() && m_modelo->EstaOcupada(fila, notario))
            ocupadas << m_modelo->Nombre(notario);
    }
    if (!ocupadas.isEmpty() && !PreguntaGrave(QStringLiteral("¿Desea borrar también esas citas (S/N)?"),
                                              QStringLiteral("A las %1 tienen cita además: %2.")
                                                  .arg(hora, ocupadas.join(QStringLiteral(", ")))))
        return;
    m_motor.PonNotarioActual(Notario());
    AvisaSiFallo(m_motor.BorrarHueco(hueco, true),
                 QStringLiteral("El hueco de las %1 no se ha borrado.").arg(hora));
}

void TFAgendaConjunta::Completa()
{
    AvisaSiFallo(m_motor.Completar(m_fecha), QStringLiteral("No se han podido completar todas las hojas."));
}

// ---------------------------------------------------------------------------------------------------------------------
// Lines

void TFAgendaConjunta::Limpia()
{
    if (!HayLinea(Fila(), Notario()) || !TomaLinea(LineaDe(Fila(), Notario())))
        return;
    AvisaSiFallo(m_motor.Limpiar(true), QStringLiteral("No se ha podido limpiar la cita."));
}

TFAgendaConjunta::TElegida TFAgendaConjunta::LineaDe(int fila, int notario) const
{
    return {notario, m_modelo->Hora(fila), m_modelo->Vista(fila, notario)};
}

std::vector<TFAgendaConjunta::TElegida> TFAgendaConjunta::LineasElegidas()
{
    std::set<std::pair<int, int>> lugares; // several cells of a line are one
    for (const QModelIndex &celda : m_rejilla->selectionModel()->selectedIndexes()) {
        const int notario = TModeloConjunto::NotarioDe(celda.column());
        if (m_modelo->Linea(celda.row(), notario) != 0)
            lugares.emplace(notario, celda.row());
    }
    if (lugares.empty() && HayLinea(Fila(), Notario()))
        lugares.emplace(Notario(), Fila());
    std::vector<TElegida> lineas;
    for (const auto &[notario, fila] : lugares)
        lineas.push_back(LineaDe(fila, notario));
    return lineas;
}

void TFAgendaConjunta::MarcaSalida()
{
    for (const TElegida &linea : LineasElegidas()) {
        if (!TomaLinea(linea))
            continue;
        const TRespuesta marcada = m_motor.Salida();
        AvisaSiFallo(marcada, (marcada ? QStringLiteral("Salida de las %1 en %2.")
                                       : QStringLiteral("No se ha podido marcar la salida de las %1 en %2."))
                                  .arg(linea.Hora, DeQuien(linea.Notario)));
    }
}

void TFAgendaConjunta::MarcaAusente()
{
    // Looked at again behind the question: a table may be away and back in that time.
    if (!EstaALaVista(Notario()) ||
        !Pregunta(QStringLiteral("¿Desea poner o quitar la ausencia en todo el día (S/N)?"),
                  DeQuien(Notario())) ||
        !EstaALaVista(Notario()))
        return;
    AvisaSiFallo(m_motor.Ausente(), QStringLiteral("La ausencia no ha quedado bien en todas las líneas."));
}

void TFAgendaConjunta::Copia()
{
    THueco lineas;
    for (const TElegida &linea : LineasElegidas())
        lineas << TLineaDeHueco{linea.Notario, linea.Linea};
    if (lineas.isEmpty())
        return;
    m_motor.PonNotarioActual(lineas.first().Notario); // whose table can be read
    const TRespuesta copiadas = m_motor.CopiarVistas(lineas);
    m_motor.PonNotarioActual(Notario());
    AvisaSiFallo(copiadas, QStringLiteral("No se ha copiado nada."));
    if (copiadas)
        statusBar()->showMessage(
            QStringLiteral("Copiadas %1. «Pegar» escribe cada una a su hora en el día y el "
                           "notario en que se esté entonces.")
                .arg(lineas.size()),
            MensajeLargo);
}

/// Lines are written over as they are shown, which may be older than what the engine has read: the way back
/// from its look may fail. @return false, after telling so, where one is not shown at all.
bool TFAgendaConjunta::SeVenLosDestinos(TPegado &pegado)
{
    for (TPegado::TDestino &destino : pegado.Destinos) {
        if (destino.Linea.bookmark() == 0)
            continue;
        const int fila = m_modelo->FilaDeLinea(destino.Linea.bookmark(), pegado.Notario);
        if (fila < 0) {
            AvisaError(QStringLiteral("No se ha pegado nada.\nNo se ve lo que hay a las %1 en %2.")
                           .arg(destino.Hora, DeQuien(pegado.Notario)));
            return false;
        }
        destino.Linea = m_modelo->Vista(fila, pegado.Notario);
    }
    return true;
}

void TFAgendaConjunta::Pega(const QString &hora)
{
    if (!PonNotario(Notario()))
        return;
    TPegado pegado = m_motor.PreparaPegado(m_fecha, hora);
    for (const TPegado::TDestino &destino : pegado.Destinos) {
        if (SeVeEnSuHoja(destino.Hora))
            continue;
        AvisaError(QStringLiteral("La cita copiada de las %1 quedaría fuera del día.").arg(destino.Copiada));
        return;
    }
    Muestra(PuestoActual()); // what is asked about is seen
    if (!SeVenLosDestinos(pegado))
        return;
    if (pegado.SePisan &&
        !PreguntaGrave(
            QStringLiteral("¿Desea pegar (S/N)?"),
            QStringLiteral("Varias citas copiadas van a la misma hora, y de ellas solo quedará la última.")))
        return;
    if (!pegado.Ocupadas.isEmpty() &&
        !PreguntaGrave(QStringLiteral("¿Desea escribir encima (S/N)?"),
                       QStringLiteral("En %1 ya hay citas a las %2, que se perderán.")
                           .arg(DeQuien(Notario()), pegado.Ocupadas.join(QStringLiteral(", ")))))
        return;
    const TRespuesta hecho = m_motor.PegaPreparado(pegado);
    RefrescaTablas();
    const TPegado::TDestino primero = pegado.Destinos.value(0);
    Muestra(hecho ? TPuestoConjunto{primero.Hora, 0, m_columna, primero.Linea.bookmark()} : PuestoActual());
    if (hecho)
        m_rejilla->VeA(m_rejilla->currentIndex());
    AvisaSiFallo(hecho, hecho ? QStringLiteral(
                                    "Está pegado, pero el hueco no se ha podido añadir en todas las agendas.")
                              : QStringLiteral("No se ha pegado nada."));
}

void TFAgendaConjunta::PegaAUnaHora()
{
    TDialogoHora dialogo(m_modelo->Hora(Fila()), QStringLiteral("Hora de la primera cita copiada:"),
                         QStringLiteral("Pegar a una hora"), this);
    if (dialogo.exec() == QDialog::Accepted)
        Pega(dialogo.Hora());
}

void TFAgendaConjunta::VaciaPortapapeles()
{
    m_motor.LimpiarBufferDeCopia();
}

// ---------------------------------------------------------------------------------------------------------------------
// Days

void TFAgendaConjunta::MueveDia(bool adelante)
{
    if (!PonNotario(Notario()))
        return;
    const TPuestoConjunto puesto = PuestoActual();
    const bool hay = adelante ? m_motor.SiguienteDia() : m_motor.AnteriorDia();
    if (hay)
        PonDia(m_motor.DiaMostrado(Notario()));
    Muestra(puesto);
    if (!hay)
        AvisaAlUsuario(QStringLiteral("No hay días %1 en %2")
                           .arg(adelante ? QStringLiteral("posteriores") : QStringLiteral("anteriores"),
                                DeQuien(Notario())));
}

void TFAgendaConjunta::BuscaDia()
{
    QDate fecha = m_fecha;
    if (Servicios().Rut->PreguntaFecha(fecha, QStringLiteral("Fecha de la agenda"),
                                       QStringLiteral("Agenda del día:")))
        VeAlDia(fecha);
}

void TFAgendaConjunta::Imprime(void (IAgenda3P::*informe)(QDate))
{
    if (PonNotario(Notario()))
        (m_motor.*informe)(m_fecha);
}
