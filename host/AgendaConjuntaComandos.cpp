// The commands of the day of all notaries.

#include "host/AgendaConjunta.h"

#include "agenda/GuardaVentana.h"
#include "agenda/IAgenda3P.h"
#include "agenda/Rnumcad.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "host/DialogoHora.h"

#include <QtCore/QScopedValueRollback>
#include <QtGui/QAction>
#include <QtWidgets/QStatusBar>

#include <algorithm>
#include <set>

using dataset::DataSet;

namespace
{

const QString Titulo = QStringLiteral("Agenda conjunta");

int Minutos(const QString &hora)
{
    return Cad_Int(hora.left(2)) * 60 + Cad_Int(hora.mid(3));
}

} // namespace

bool TFAgendaConjunta::ConGuarda(const TOrden &orden)
{
    const QScopedValueRollback<int> enCurso(m_ordenes, m_ordenes + 1);
    return EjecutaConGuarda(orden);
}

bool TFAgendaConjunta::Ejecuta(const TOrden &orden)
{
    if (m_ordenes > 0 || !CierraEditor())
        return false;
    const TPuestoConjunto antes = m_modelo->Puesto(m_rejilla->currentIndex());
    static_cast<void>(m_motor.TomaError());
    ConGuarda(orden);
    const QModelIndex ahora = m_rejilla->currentIndex();
    ConGuarda([&] { Muestra(ahora.isValid() ? m_modelo->Puesto(ahora) : antes); });
    CambiaCelda();
    m_rejilla->setFocus();
    return true;
}

void TFAgendaConjunta::AvisaError(const QString &texto)
{
    const QScopedValueRollback<int> enCurso(m_ordenes, m_ordenes + 1);
    AvisaDeError(texto);
}

void TFAgendaConjunta::AvisaSiFallo(const QString &que)
{
    const QString causa = m_motor.TomaError();
    if (!causa.isEmpty())
        AvisaError(que + u'\n' + causa);
}

bool TFAgendaConjunta::Pregunta(const QString &pregunta, const QString &explicacion) const
{
    return Servicios().Mensaje->Mensaje_SiNo(pregunta, explicacion, Titulo) == RespuestaSi;
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

bool TFAgendaConjunta::SituaTodosEn(int fila)
{
    const QString hora = m_modelo->Hora(fila);
    for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario) {
        DataSet *const tabla = m_motor.Tabla(notario);
        const dataset::Bookmark linea = m_modelo->Linea(fila, notario);
        if (!tabla || (linea != 0 && tabla->goToBookmark(linea)))
            continue;
        // Not on a line of this hour that belongs to another row, which would be deleted with it.
        const int campo = tabla->fieldIndex(u"HORA");
        int otra = 0;
        while (otra < tabla->rowCount() && tabla->textAt(otra, campo) == hora)
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
    if (m_modelo->FilaDe(hora) >= 0 && !Pregunta(QStringLiteral("¿Desea añadir otro (S/N)?"),
                                                 QStringLiteral("Ya hay un hueco a las %1.").arg(hora)))
        return;
    const int columna = std::max(0, m_rejilla->currentIndex().column());
    const bool todas = m_motor.Anadir(m_fecha, hora);
    m_modelo->Relee();
    int orden = 0;
    for (int fila = std::max(0, m_modelo->FilaDe(hora)); m_modelo->Hora(fila) == hora; ++fila)
        orden = m_modelo->Puesto(m_modelo->index(fila, 0)).Orden;
    m_rejilla->setCurrentIndex(m_modelo->Celda({hora, orden, columna}));
    if (!todas)
        AvisaSiFallo(
            QStringLiteral("El hueco de las %1 no se ha podido añadir en todas las agendas.").arg(hora));
}

void TFAgendaConjunta::BorraHueco()
{
    const int fila = Fila();
    if (!SituaTodosEn(fila) || !SituaEn(fila, Notario()))
        return;
    m_motor.Borrar(true);
    AvisaSiFallo(QStringLiteral("El hueco de las %1 no se ha podido borrar en todas las agendas.")
                     .arg(m_modelo->Hora(fila)));
}

void TFAgendaConjunta::Completa()
{
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
    if (!SituaEn(Fila(), Notario()))
        return;
    m_motor.Limpiar(true);
    AvisaSiFallo(QStringLiteral("No se ha podido limpiar la cita."));
}

void TFAgendaConjunta::MarcaSalida()
{
    if (SituaEn(Fila(), Notario()) && !m_motor.Salida())
        AvisaSiFallo(QStringLiteral("No se ha podido marcar la salida."));
}

void TFAgendaConjunta::MarcaAusente()
{
    m_motor.PonNotarioActual(Notario());
    m_motor.Ausente();
    AvisaSiFallo(QStringLiteral("No se ha podido marcar la ausencia en todas las líneas."));
}

void TFAgendaConjunta::Copia()
{
    // By notary, and his lines as they stand in the day.
    std::set<std::pair<int, int>> lineas;
    for (const QModelIndex &celda : m_rejilla->selectionModel()->selectedIndexes())
        lineas.emplace(TModeloConjunto::NotarioDe(celda.column()), celda.row());
    if (lineas.empty())
        lineas.emplace(Notario(), Fila());
    const int actual = Notario();
    for (const auto &[notario, fila] : lineas) {
        if (m_modelo->Linea(fila, notario) == 0)
            continue;
        if (!SituaEn(fila, notario))
            break;
        m_motor.Copiar();
        m_horasCopiadas << m_modelo->Hora(fila);
    }
    m_motor.PonNotarioActual(actual);
    statusBar()->showMessage(
        QStringLiteral("Copiado. «Pegar» añade cada cita a su hora en el día y el notario "
                       "que se vean entonces."),
        8000);
}

bool TFAgendaConjunta::PermiteEscribirEncima(const QStringList &horas)
{
    QStringList ocupadas;
    for (const QString &hora : horas) {
        const int fila = m_modelo->FilaDe(hora);
        if (fila >= 0 && m_modelo->EstaOcupada(fila, Notario()) && !ocupadas.contains(hora))
            ocupadas << hora;
    }
    return ocupadas.isEmpty() || Pregunta(QStringLiteral("¿Desea escribir encima (S/N)?"),
                                          QStringLiteral("En %1 ya hay citas a las %2, que se perderán.")
                                              .arg(DeQuien(Notario()), ocupadas.join(QStringLiteral(", "))));
}

void TFAgendaConjunta::PegaAqui()
{
    Refresca(); // what is asked about is the day as it is now
    m_motor.PonNotarioActual(Notario());
    if (!PermiteEscribirEncima(m_horasCopiadas))
        return;
    m_motor.Pegar(m_fecha);
    TerminaPegado(m_horasCopiadas.value(0));
}

void TFAgendaConjunta::PegaAUnaHora()
{
    TDialogoHora dialogo(m_modelo->Hora(Fila()), QStringLiteral("Hora de la primera cita copiada:"),
                         QStringLiteral("Pegar a una hora"), this);
    if (dialogo.exec() != QDialog::Accepted || m_horasCopiadas.isEmpty())
        return;
    const int desplaza = Minutos(dialogo.Hora()) - Minutos(m_horasCopiadas.first());
    QStringList horas;
    for (const QString &hora : std::as_const(m_horasCopiadas)) {
        const int total = Minutos(hora) + desplaza;
        if (total < 0 || total >= 24 * 60) {
            AvisaError(QStringLiteral("La cita copiada de las %1 quedaría fuera del día.").arg(hora));
            return;
        }
        horas << StrCeros(total / 60, 2) + u':' + StrCeros(total % 60, 2);
    }
    m_motor.PonNotarioActual(Notario());
    if (!PermiteEscribirEncima(horas))
        return;
    m_motor.PegarHora(m_fecha, dialogo.Hora());
    TerminaPegado(horas.value(0));
}

void TFAgendaConjunta::TerminaPegado(const QString &primera)
{
    const int columna = std::max(0, m_rejilla->currentIndex().column());
    AvisaSiFallo(QStringLiteral("No se han podido pegar todas las citas."));
    if (m_motor.TablaActual().isEditing())
        m_motor.CancelarAgendaN(false); // the engine leaves it pending; nobody would see it here
    m_modelo->Relee();
    m_rejilla->setCurrentIndex(m_modelo->Celda({primera, 0, columna}));
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
    const TPuestoConjunto puesto = m_modelo->Puesto(m_rejilla->currentIndex());
    if (adelante ? m_motor.SiguienteDia() : m_motor.AnteriorDia()) {
        m_fecha = m_motor.TablaActual().field(u"FECHA").asDate();
        Muestra(puesto);
        return;
    }
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
