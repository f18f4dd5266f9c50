// The commands of the day of all notaries.

#include "host/AgendaConjunta.h"

#include "agenda/GuardaVentana.h"
#include "agenda/HoraTexto.h"
#include "agenda/IAgenda3P.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/Texts.h"
#include "host/DialogoHora.h"

#include <QtCore/QScopedValueRollback>
#include <QtCore/QSet>
#include <QtGui/QAction>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStatusBar>

#include <utility>

using dataset::DataSet;

namespace
{

constexpr int MensajeLargo = 8000; // ms
constexpr int MinutosDelDia = 24 * 60;

} // namespace

bool TFAgendaConjunta::ConGuarda(const TOrden &orden)
{
    const QScopedValueRollback<int> enCurso(m_ordenes, m_ordenes + 1);
    const bool hecho = EjecutaConGuarda(orden);
    CuentaAvisosPronto();
    return hecho;
}

bool TFAgendaConjunta::Ejecuta(const TOrden &orden)
{
    if (m_ordenes > 0 || !CierraEditor() || !AceptaFecha())
        return false;
    ConGuarda([&] {
        orden();
        SueltaLineas();
        Muestra(PuestoActual());
    });
    SueltaLineas();
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
    QMetaObject::invokeMethod(this, &TFAgendaConjunta::CuentaAvisos, Qt::QueuedConnection);
}

void TFAgendaConjunta::AvisaSiFallo(const TRespuesta &respuesta, const QString &que)
{
    if (!respuesta.Causa().isEmpty())
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

bool TFAgendaConjunta::SituaEn(int fila, int notario)
{
    m_motor.PonNotarioActual(notario);
    const dataset::Bookmark linea = m_modelo->Linea(fila, notario);
    DataSet &tabla = m_motor.TablaActual();
    if (linea != 0 && tabla.rowOf(linea) >= 0 && tabla.goToBookmark(linea))
        return true;
    tabla.refresh();
    AvisaError(
        linea == 0
            ? QStringLiteral("No hay hueco a las %1 en %2.").arg(m_modelo->Hora(fila), DeQuien(notario))
            : QStringLiteral("Otro puesto ha borrado la línea de las %1 de %2.")
                  .arg(m_modelo->Hora(fila), DeQuien(notario)));
    return false;
}

bool TFAgendaConjunta::TomaLinea(int fila, int notario)
{
    if (!SituaEn(fila, notario))
        return false;
    DataSet &tabla = m_motor.TablaActual();
    if (const TRespuesta tomada = m_motor.Modificar(); !tomada) {
        AvisaSiFallo(tomada, QStringLiteral("No se puede cambiar la línea de las %1 de %2.")
                                 .arg(m_modelo->Hora(fila), DeQuien(notario)));
        tabla.refresh(); // so that a line that has gone is seen to be gone
        return false;
    }
    if (m_modelo->EsComoSeVe(fila, notario, tabla))
        return true;
    m_motor.CancelarAgendaN(false);
    tabla.refresh();
    AvisaError(dbcontrols::changedElsewhere());
    return false;
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

bool TFAgendaConjunta::TomaTodas(int fila)
{
    const QString hora = m_modelo->Hora(fila);
    for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario) {
        DataSet *const tabla = m_motor.Tabla(notario);
        if (!tabla)
            continue;
        if (m_modelo->Linea(fila, notario) != 0) {
            if (!TomaLinea(fila, notario))
                return false;
            continue;
        }
        // Not on a line of this hour that belongs to another row, which would be deleted with it.
        int otra = 0;
        while (otra < tabla->rowCount() && TextoDeFila(*tabla, otra, TCampoLinea::hora) == hora)
            ++otra;
        if (otra < tabla->rowCount()) {
            tabla->setCurrentRow(otra);
        } else if (tabla->rowCount() > 0) {
            AvisaError(QStringLiteral("En %1 solo hay huecos a las %2, y este no es suyo. Bórrelo en la "
                                      "agenda de cada notario.")
                           .arg(DeQuien(notario), hora));
            return false;
        }
    }
    return true;
}

int TFAgendaConjunta::FilaAlDia(const TPuestoConjunto &puesto)
{
    RefrescaTablas();
    Muestra(puesto);
    const QModelIndex celda = m_modelo->Celda(puesto);
    if (celda.isValid() && m_modelo->Puesto(celda) == puesto)
        return celda.row();
    AvisaError(QStringLiteral("Otro puesto ha borrado el hueco de las %1.").arg(puesto.Hora));
    return -1;
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
    m_modelo->Relee(m_fecha);
    if (m_modelo->FilaDe(hora) >= 0 && !Pregunta(QStringLiteral("¿Desea añadir otro (S/N)?"),
                                                 QStringLiteral("Ya hay un hueco a las %1.").arg(hora)))
        return;
    m_motor.PonNotarioActual(Notario());
    const TRespuesta todas = m_motor.Anadir(m_fecha, hora);
    const dataset::Bookmark nueva = m_motor.TablaActual().bookmark();
    m_modelo->Relee(m_fecha);
    if (const int fila = m_modelo->FilaDeLinea(nueva, Notario()); fila >= 0)
        m_rejilla->setCurrentIndex(m_modelo->index(fila, m_columna));
    if (!todas)
        AvisaSiFallo(
            todas,
            QStringLiteral("El hueco de las %1 no se ha podido añadir en todas las agendas.").arg(hora));
}

void TFAgendaConjunta::BorraHueco()
{
    const int fila = FilaAlDia(PuestoActual());
    if (fila < 0)
        return;
    QStringList ocupadas;
    for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario) {
        if (notario != Notario() && m_modelo->EstaOcupada(fila, notario))
            ocupadas << m_modelo->Nombre(notario);
    }
    const QString hora = m_modelo->Hora(fila);
    // Held while the question is on the screen: what is answered about is what is deleted.
    if (!TomaTodas(fila))
        return;
    if (!ocupadas.isEmpty() && !PreguntaGrave(QStringLiteral("¿Desea borrar también esas citas (S/N)?"),
                                              QStringLiteral("A las %1 tienen cita además: %2.")
                                                  .arg(hora, ocupadas.join(QStringLiteral(", ")))))
        return;
    m_motor.PonNotarioActual(Notario());
    AvisaSiFallo(m_motor.Borrar(true),
                 QStringLiteral("El hueco de las %1 no se ha podido borrar en todas las agendas.").arg(hora));
}

void TFAgendaConjunta::Completa()
{
    RefrescaTablas();
    m_modelo->Relee(m_fecha);
    for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario) {
        QStringList horas;
        for (int fila = 0; fila < m_modelo->rowCount(); ++fila) {
            if (m_modelo->Linea(fila, notario) == 0)
                horas << m_modelo->Hora(fila);
        }
        if (!horas.isEmpty())
            AnadeHuecoA(notario, horas);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Lines

void TFAgendaConjunta::Limpia()
{
    const int fila = FilaAlDia(PuestoActual());
    if (fila < 0 || !TomaLinea(fila, Notario()))
        return;
    AvisaSiFallo(m_motor.Limpiar(true), QStringLiteral("No se ha podido limpiar la cita."));
}

std::set<std::pair<int, int>> TFAgendaConjunta::LineasElegidas() const
{
    std::set<std::pair<int, int>> lineas;
    for (const QModelIndex &celda : m_rejilla->selectionModel()->selectedIndexes()) {
        const int notario = TModeloConjunto::NotarioDe(celda.column());
        if (m_modelo->Linea(celda.row(), notario) != 0)
            lineas.emplace(notario, celda.row());
    }
    if (lineas.empty() && Fila() >= 0)
        lineas.emplace(Notario(), Fila());
    return lineas;
}

void TFAgendaConjunta::MarcaSalida()
{
    for (const auto &[notario, fila] : LineasElegidas()) {
        if (!SituaEn(fila, notario))
            return;
        AvisaSiFallo(m_motor.Salida(), QStringLiteral("No se ha podido marcar la salida de las %1 en %2.")
                                           .arg(m_modelo->Hora(fila), DeQuien(notario)));
    }
}

void TFAgendaConjunta::MarcaAusente()
{
    if (!Pregunta(QStringLiteral("¿Desea poner o quitar la ausencia en todo el día (S/N)?"),
                  DeQuien(Notario())))
        return;
    m_motor.PonNotarioActual(Notario());
    AvisaSiFallo(m_motor.Ausente(),
                 QStringLiteral("No se ha podido marcar la ausencia en todas las líneas."));
}

void TFAgendaConjunta::Copia()
{
    int copiadas = 0;
    for (const auto &[notario, fila] : LineasElegidas()) {
        if (!SituaEn(fila, notario))
            break;
        m_motor.Copiar();
        m_horasCopiadas << TLineaAgenda::Actual(m_motor.TablaActual()).Hora;
        ++copiadas;
    }
    m_motor.PonNotarioActual(Notario());
    if (copiadas > 0)
        statusBar()->showMessage(
            QStringLiteral("Copiadas %1. «Pegar» escribe cada una a su hora en el día y el "
                           "notario en que se esté entonces.")
                .arg(copiadas),
            MensajeLargo);
}

QStringList TFAgendaConjunta::Ocupadas(const QStringList &horas) const
{
    QStringList ocupadas;
    for (const QString &hora : horas) {
        const int fila = m_modelo->FilaDe(hora);
        if (fila >= 0 && m_modelo->EstaOcupada(fila, Notario()) && !ocupadas.contains(hora))
            ocupadas << hora;
    }
    return ocupadas;
}

bool TFAgendaConjunta::PreparaPegado(const QStringList &horas)
{
    const QSet<QString> distintas(horas.begin(), horas.end());
    if (distintas.size() < horas.size() &&
        !PreguntaGrave(
            QStringLiteral("¿Desea pegar (S/N)?"),
            QStringLiteral("Varias citas copiadas van a la misma hora, y de ellas solo quedará la última.")))
        return false;
    // Asked about the day as it is, and again when somebody has booked meanwhile.
    QStringList consentidas;
    for (;;) {
        RefrescaTablas();
        m_modelo->Relee(m_fecha);
        QStringList ocupadas = Ocupadas(horas);
        if (ocupadas == consentidas)
            break;
        if (!ocupadas.isEmpty() &&
            !PreguntaGrave(QStringLiteral("¿Desea escribir encima (S/N)?"),
                           QStringLiteral("En %1 ya hay citas a las %2, que se perderán.")
                               .arg(DeQuien(Notario()), ocupadas.join(QStringLiteral(", ")))))
            return false;
        consentidas = std::move(ocupadas);
    }
    // A slot that others have and this notary has not is his alone to add; the engine would add it to all.
    QStringList suyas;
    for (const QString &hora : distintas) {
        if (m_modelo->FilaDe(hora) >= 0 && m_modelo->LineasA(hora, Notario()) == 0)
            suyas << hora;
    }
    if (!suyas.isEmpty())
        AnadeHuecoA(Notario(), suyas);
    m_motor.PonNotarioActual(Notario());
    return true;
}

void TFAgendaConjunta::PegaAqui()
{
    if (!PreparaPegado(m_horasCopiadas))
        return;
    TerminaPegado(m_motor.Pegar(m_fecha), m_horasCopiadas.value(0));
}

void TFAgendaConjunta::PegaAUnaHora()
{
    TDialogoHora dialogo(m_modelo->Hora(Fila()), QStringLiteral("Hora de la primera cita copiada:"),
                         QStringLiteral("Pegar a una hora"), this);
    if (dialogo.exec() != QDialog::Accepted || m_horasCopiadas.isEmpty())
        return;
    const int desplaza =
        MinutosDeHora(dialogo.Hora()).value_or(0) - MinutosDeHora(m_horasCopiadas.first()).value_or(0);
    QStringList horas;
    for (const QString &hora : std::as_const(m_horasCopiadas)) {
        const int total = MinutosDeHora(hora).value_or(-1) + desplaza;
        if (!hora.contains(u':') || total < 0 || total >= MinutosDelDia) {
            AvisaError(QStringLiteral("La cita copiada de las %1 quedaría fuera del día.").arg(hora));
            return;
        }
        horas << HoraDeMinutos(total);
    }
    if (!PreparaPegado(horas))
        return;
    TerminaPegado(m_motor.PegarHora(m_fecha, dialogo.Hora()), horas.value(0));
}

void TFAgendaConjunta::TerminaPegado(const TRespuesta &pegado, const QString &primera)
{
    SueltaLineas(); // the engine leaves pending what it could not write; nobody would see it here
    RefrescaTablas();
    m_modelo->Relee(m_fecha);
    if (const int fila = m_modelo->FilaDe(primera); fila >= 0)
        m_rejilla->setCurrentIndex(m_modelo->index(fila, m_columna));
    AvisaSiFallo(pegado, QStringLiteral("No se han podido pegar todas las citas."));
}

void TFAgendaConjunta::VaciaPortapapeles()
{
    m_motor.LimpiarBufferDeCopia();
    m_horasCopiadas.clear();
}

// ---------------------------------------------------------------------------------------------------------------------
// Days

void TFAgendaConjunta::MueveDia(bool adelante)
{
    m_motor.PonNotarioActual(Notario());
    const TPuestoConjunto puesto = PuestoActual();
    m_motor.RangoPorFecha(m_fecha); // from a line of this day, wherever others have moved the one stood on
    if (adelante ? m_motor.SiguienteDia() : m_motor.AnteriorDia()) {
        const QDate fecha = TLineaAgenda::Actual(m_motor.TablaActual()).Fecha;
        if (fecha.isValid())
            m_fecha = fecha;
        m_motor.RangoPorFecha(m_fecha);
        Muestra(puesto);
        return;
    }
    m_motor.RangoPorFecha(m_fecha);
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
    m_motor.PonNotarioActual(Notario());
    (m_motor.*informe)(m_fecha);
}
