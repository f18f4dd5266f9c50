// Slots as a screen shows them: a row is a set of lines that somebody has seen, and a command works on those.

#include "agenda/HojaDia.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Ruttb.h"
#include "agenda3p/Sitio3P.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QHash>
#include <QtCore/QLoggingCategory>
#include <QtCore/QScopeGuard>

#include <algorithm>
#include <deque>
#include <utility>

using dataset::DataSet;

namespace
{

/// How many lines of a day and hour a table has by now.
int CuentaLineas(DataSet &tabla, QDate fecha, const QString &hora)
{
    int lineas = 0;
    for (bool esa = BuscaLineaDeFecha(tabla, fecha, hora, true); esa; ++lineas) {
        tabla.next();
        const TLineaAgenda linea = TLineaAgenda::Actual(tabla);
        esa = !tabla.eof() && linea.Fecha == fecha && linea.Hora == hora;
    }
    return lineas;
}

Q_LOGGING_CATEGORY(registroHuecos, "agenda.motor")

} // namespace

QString TAgenda3P::SinHueco(int notario)
{
    return QStringLiteral("%1 no tiene ese hueco.").arg(NombreNotario(notario));
}

TAgenda3P::TSitio::TSitio(TAgenda3P &motor)
    : m_motor(motor)
{
    for (int notario = 1; notario <= MaxNotarios; ++notario) {
        DataSet *const tabla = motor.Tabla(notario);
        if (!tabla)
            continue;
        m_quietas.emplace_back(*tabla);
        m_lugares.push_back({notario, tabla->keepView()});
    }
}

TAgenda3P::TSitio::~TSitio()
{
    for (TLugar &lugar : m_lugares) {
        const DataSet &tabla = *m_motor.Tabla(lugar.Notario);
        if (!tabla.isEditing()) {
            m_motor.VuelveA(lugar);
        } else if (lugar.Notario == m_motor.NotarioActual()) {
            lugar.Dia = m_motor.DiaMostrado(lugar.Notario);
            lugar.Pendiente = tabla.bookmark();
            m_motor.m_trasPegar = lugar;
        }
    }
}

/// Throws nothing: from memory where the table cannot be read.
void TAgenda3P::VuelveA(const TLugar &lugar)
{
    DataSet &tabla = *Tabla(lugar.Notario);
    if (!tabla.isActive())
        return;
    tabla.showAgain(lugar.Vista);
    try {
        tabla.refresh();
    } catch (const std::exception &error) {
        qCWarning(registroHuecos, "The day shown before is shown as it was: %s", error.what());
    }
}

/// Ends what is pending in the current table, which goes back to its place where a paste had left that there.
/// @param acaba  does it, and answers whether it is done with.
template <class TAcaba> auto TAgenda3P::AcabaPendiente(TAcaba &&acaba)
{
    const DataSet &tabla = TablaActual();
    const bool dePegar = m_trasPegar && tabla.isEditing() && m_trasPegar->Notario == NotarioActual() &&
                         m_trasPegar->Pendiente == tabla.bookmark() &&
                         m_trasPegar->Dia == DiaMostrado(NotarioActual());
    const auto acabado = acaba();
    if (acabado && dePegar)
        VuelveA(*m_trasPegar);
    if (acabado)
        m_trasPegar.reset();
    return acabado;
}

TRespuesta TAgenda3P::AceptarAgendaN()
{
    return AcabaPendiente(
        [this] { return AceptaPendiente(TablaActual(), "AceptarAgendaN", TTrasFallo::deja); });
}

bool TAgenda3P::CancelarAgendaN(bool preguntar)
{
    return AcabaPendiente([&] { return TMotorDeTablas::CancelarAgendaN(preguntar); });
}

// ---------------------------------------------------------------------------------------------------------------------
// Adding

/// Adds lines to one table alone, as one commit; meanwhile nobody else adds any.
/// @param faltan  how many are to be added at an hour. @return how many lines were added.
int TAgenda3P::AnadeSolas(DataSet &tabla, QDate fecha, const QStringList &horas, const TFaltan &faltan)
{
    const dataset::ControlsGuard sinAvisos(tabla);
    const dataset::PendingEditGuard sinResto(tabla);
    dataset::CommitGroup todas(tabla);
    int puestas = 0;
    for (const QString &hora : horas) {
        for (int quedan = faltan(hora, CuentaLineas(tabla, fecha, hora)); quedan > 0; --quedan, ++puestas) {
            InsertaLinea(tabla, fecha, hora);
            TBPost(tabla);
        }
    }
    todas.commit();
    tabla.refresh();
    return puestas;
}

TRespuesta TAgenda3P::AnadirSolo(QDate fecha, const QString &hora, int tenia)
{
    if (!fecha.isValid())
        return false;
    DataSet &tabla = TablaActual();
    return ConGuarda(tabla, "AnadirSolo", [&]() -> TRespuesta {
        const dataset::Bookmark linea = tabla.bookmark();
        if (AnadeSolas(tabla, fecha, {hora},
                       [tenia](const QString &, int tiene) { return tiene > tenia ? 0 : 1; }) > 0)
            return true;
        tabla.goToBookmark(linea); // the look has led away from it
        return TRespuesta::Fallo(
            QStringLiteral("Otro puesto ha añadido ya ese hueco. Mire lo que dice ahora."));
    });
}

TRespuesta TAgenda3P::Completar(QDate fecha)
{
    QStringList causas{VeDia(fecha).Causa()};
    const TSitio vuelve(*this);
    QHash<QString, int> mayor; // the most that any table has at an hour
    QList<int> leidas;
    // A table that has failed, now or when the day was looked at, neither gives slots nor gets any.
    for (int notario = 1; notario <= MaxNotarios; ++notario) {
        if (!fecha.isValid() || !EsLegible(notario) || DiaMostrado(notario) != fecha)
            continue;
        QHash<QString, int> suyas;
        const TRespuesta leida = ConGuarda(*Tabla(notario), "Completar", [&] {
            for (const TLineaAgenda &linea : LineasQueSeVen(*Tabla(notario)))
                suyas[linea.Hora] += linea.Fecha == fecha ? 1 : 0; // others may have moved it meanwhile
            return true;
        });
        if (!leida) {
            causas << ConNombre(notario, leida.Causa());
            continue;
        }
        leidas << notario;
        for (auto hora = suyas.cbegin(); hora != suyas.cend(); ++hora)
            mayor[hora.key()] = std::max(mayor.value(hora.key()), hora.value());
    }
    QStringList horas = mayor.keys();
    horas.sort();
    for (const int notario : std::as_const(leidas)) {
        const TRespuesta suya = ConGuarda(*Tabla(notario), "Completar", [&] {
            AnadeSolas(*Tabla(notario), fecha, horas,
                       [&](const QString &hora, int tiene) { return mayor.value(hora) - tiene; });
            return true;
        });
        if (!suya)
            causas << ConNombre(notario, suya.Causa());
    }
    causas.removeAll(QString());
    return {causas.isEmpty(), causas.join(u'\n')};
}

// ---------------------------------------------------------------------------------------------------------------------
// Deleting

/// Takes the lock of every line, as it was seen.
TRespuesta TAgenda3P::TomaHueco(const THueco &hueco)
{
    for (const TLineaDeHueco &una : hueco) {
        DataSet &tabla = *Tabla(una.Notario);
        const TRespuesta tomada = ConGuarda(tabla, "BorrarHueco", [&] {
            tabla.edit(una.Linea);
            return true;
        });
        if (!tomada)
            return TRespuesta::Fallo(ConNombre(una.Notario, tomada.Causa()));
    }
    return true;
}

/// Deletes the lines in one commit of each table. None is written before all of them are known to be as they
/// were seen, and from then on to the end nobody else writes into any of the tables.
TRespuesta TAgenda3P::BorraTomado(const THueco &hueco)
{
    QStringList borradas;
    int actual = 0;
    try {
        std::deque<dataset::CommitGroup> grupos;
        for (const TLineaDeHueco &una : hueco) {
            actual = una.Notario;
            grupos.emplace_back(*Tabla(actual));
            Tabla(actual)->remove(una.Linea);
        }
        for (qsizetype i = 0; i < hueco.size(); ++i) {
            actual = hueco.at(i).Notario;
            grupos.at(static_cast<std::size_t>(i)).commit();
            borradas << NombreNotario(actual);
        }
        return true;
    } catch (const std::exception &error) {
        QString causa = ConNombre(actual, dataset::plainText(error));
        if (!borradas.isEmpty())
            causa +=
                QStringLiteral("\nBorrada ya en la agenda de ") + borradas.join(QStringLiteral(", ")) + u'.';
        return TRespuesta::Fallo(causa);
    }
}

TRespuesta TAgenda3P::BorrarHueco(const THueco &hueco, bool preguntar)
{
    // Always in the same order, so that two workstations do not wait for each other.
    THueco lineas = hueco;
    std::sort(lineas.begin(), lineas.end(),
              [](const TLineaDeHueco &una, const TLineaDeHueco &otra) { return una.Notario < otra.Notario; });
    const auto suya = std::find_if(lineas.cbegin(), lineas.cend(), [this](const TLineaDeHueco &una) {
        return una.Notario == NotarioActual() && una.Linea.bookmark() != 0;
    });
    const bool todasTienenTabla = std::all_of(
        lineas.cbegin(), lineas.cend(), [this](const TLineaDeHueco &una) { return Tabla(una.Notario); });
    const bool repetidas = std::adjacent_find(lineas.cbegin(), lineas.cend(),
                                              [](const TLineaDeHueco &una, const TLineaDeHueco &otra) {
                                                  return una.Notario == otra.Notario;
                                              }) != lineas.cend();
    if (suya == lineas.cend() || !todasTienenTabla || repetidas)
        return TRespuesta::Fallo(SinHueco(NotarioActual()));
    const QString hora = TLineaAgenda::DeVista(TablaActual(), suya->Linea).Hora;
    std::deque<dataset::ControlsGuard> sinAvisos;
    for (const TLineaDeHueco &una : std::as_const(lineas))
        sinAvisos.emplace_back(*Tabla(una.Notario));
    const auto suelta = qScopeGuard([&] {
        for (const TLineaDeHueco &una : std::as_const(lineas))
            CancelaSinPreguntar(*Tabla(una.Notario));
    });
    if (const TRespuesta tomado = TomaHueco(lineas); !tomado)
        return tomado;
    if (preguntar && !PreguntaBorrar(hora))
        return false;
    return BorraTomado(lineas);
}
