#include "agendan/ClaseAgendaN.h"

#include "agenda/AgendaNDM.h"
#include "agenda/ClaseConfAgendaN.h"
#include "agenda/HojaDia.h"
#include "agenda/HojaNueva.h"
#include "agenda/LineaAgenda.h"
#include "agenda/MotorComun.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>
#include <QtCore/QScopeGuard>

#include <algorithm>

using dataset::DataSet;

namespace
{

Q_LOGGING_CATEGORY(registro, "agenda.motor")

} // namespace

/// Runs work on the current table; a failure cancels the pending change, is logged and gives false.
template <class TTrabajo> bool TClassAgendaN::ConGuarda(const char *operacion, TTrabajo &&trabajo)
{
    try {
        return trabajo();
    } catch (const std::exception &error) {
        qCWarning(registro, "%s: %s", operacion, error.what());
        m_ultimoError = QString::fromUtf8(error.what());
        CancelaSinPreguntar(TablaActual());
        return false;
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Notaries

TClassAgendaN::TClassAgendaN(QObject *propietario, TClientesRaiz *clientes, const TTablas &tablas,
                             IVistasAgendaN *vistas, IInformesAgenda *informes)
    : m_propietario(propietario)
    , m_clientes(clientes)
    , m_vistas(vistas)
    , m_informes(informes)
    , m_tablas(tablas)
{
    if (m_tablas.front()) {
        m_numNotarios = CuentaNotarios(m_tablas);
        PreparaTablasDelHost(m_tablas);
    } else {
        AbreTablasPropias();
    }
    m_tablaActual = m_tablas.front();
}

void TClassAgendaN::AbreTablasPropias()
{
    // Without a parent: the engine is the one that deletes it.
    m_datos = std::make_unique<TDMAgendaN>(*Servicios().Aliases, nullptr);
    m_numNotarios = AbreTablasDeNotarios(
        m_tablas, [this](int notario) -> dataset::DbfTable & { return m_datos->TAgendaN(notario); });
}

TClassAgendaN::~TClassAgendaN()
{
    if (!m_datos)
        return;
    // The first cursor every time; the others close when the data module goes.
    for (int posicion = 1; posicion <= std::min(m_numNotarios, MaxNotarios); ++posicion) {
        try {
            m_datos->TAgendaN1.close();
        } catch (const std::exception &error) {
            qCWarning(registro, "Closing the agenda: %s", error.what());
            CancelaSinPreguntar(m_datos->TAgendaN1);
        }
    }
}

DataSet *TClassAgendaN::Tabla(int notario) const
{
    return TablaDe(m_tablas, std::min(notario, MaxNotarios));
}

DataSet &TClassAgendaN::TablaActual() const
{
    Q_ASSERT_X(m_tablaActual, "TClassAgendaN", "there is no current table");
    return *m_tablaActual;
}

void TClassAgendaN::PonNotarioActual(int notario)
{
    if (DataSet *tabla = Tabla(notario))
        m_tablaActual = tabla;
}

QString TClassAgendaN::NombreNotario(int notario) const
{
    const TConfig &config = *Servicios().Config;
    if (config.GetnCuantos() != 0)
        return config.GetNotarios().value(notario - 1);
    return config.GetDon() + u' ' + config.GetNombre1();
}

// ---------------------------------------------------------------------------------------------------------------------
// Day sheets

bool TClassAgendaN::RangoPorFecha(QDate fecha)
{
    const bool hay = PonRangoDelDia(TablaActual(), fecha);
    if (fecha.isValid())
        m_dias.insert(m_tablaActual, fecha);
    return hay;
}

QDate TClassAgendaN::DiaMostrado() const
{
    const QDate deLaLinea = TLineaAgenda::Actual(TablaActual()).Fecha;
    return deLaLinea.isValid() ? deLaLinea : m_dias.value(m_tablaActual);
}
bool TClassAgendaN::HayRangoPorFecha() const
{
    return HayRangoDelDia(TablaActual());
}
void TClassAgendaN::CancelaRangoPorFecha()
{
    QuitaRangoDelDia(TablaActual());
}

bool TClassAgendaN::InsertaDia(QDate fecha, bool preguntar)
{
    if (!fecha.isValid() || (preguntar && !PreguntaHojaNueva(fecha)))
        return false;
    return ConstruyeHoja(fecha, false);
}

/// @param soloSiFalta  nothing is built when another workstation has built the day in the meantime.
bool TClassAgendaN::ConstruyeHoja(QDate fecha, bool soloSiFalta)
{
    DataSet &tabla = TablaActual();
    const dataset::ControlsGuard sinAvisos(tabla);
    try {
        for (const QString &hueco : AnadeHojaDelDia(tabla, fecha, soloSiFalta))
            AvisaHuecoPerdido(hueco);
    } catch (...) {
        RangoPorFecha(fecha); // the settings could not be read: the day, not the whole table, is to be seen
        throw;
    }
    return RangoPorFecha(fecha);
}

void TClassAgendaN::SincronizaTablaActual(QDate fecha)
{
    DataSet &tabla = TablaActual();
    if (HayRangoPorFecha() && TLineaAgenda::Actual(tabla).Fecha == fecha)
        return;
    if (!RangoPorFecha(fecha))
        ConstruyeHoja(fecha, true);
}

void TClassAgendaN::SincronizarTablasAFecha(QDate fecha, bool todos)
{
    if (!fecha.isValid())
        return;
    if (!todos) {
        SincronizaTablaActual(fecha);
        return;
    }
    /// Puts the current table back also when one of them fails.
    struct TVuelve {
        TClassAgendaN &Motor;
        DataSet *Tabla;
        ~TVuelve() { Motor.m_tablaActual = Tabla; }
    } const vuelve{*this, m_tablaActual};
    QStringList fallidos;
    for (int notario = 1; notario <= m_numNotarios; ++notario) {
        if (!Tabla(notario))
            continue;
        PonNotarioActual(notario);
        try {
            SincronizaTablaActual(fecha);
        } catch (const std::exception &error) { // the others show the date all the same
            if (notario <= MaxNotarios)
                fallidos << NombreNotario(notario) + QStringLiteral(": ") + QString::fromUtf8(error.what());
        }
    }
    if (!fallidos.isEmpty())
        throw dataset::EDatabaseError(
            QStringLiteral("No se ha podido mostrar el %1 en todas las agendas:\n%2")
                .arg(Date_Cad(fecha), fallidos.join(u'\n')),
            dbase::ErrorKind::inputOutput);
}

bool TClassAgendaN::AnteriorDia()
{
    return VeAOtroDia(TablaActual(), DiaMostrado(), TSentido::anterior,
                      [this](QDate fecha) { return RangoPorFecha(fecha); });
}

bool TClassAgendaN::SiguienteDia()
{
    return VeAOtroDia(TablaActual(), DiaMostrado(), TSentido::siguiente,
                      [this](QDate fecha) { return RangoPorFecha(fecha); });
}

bool TClassAgendaN::BuscarPorFecha(QDate fecha, const QString &hora, bool exacta)
{
    return BuscaLineaDeFecha(TablaActual(), fecha, hora, exacta);
}

void TClassAgendaN::OrdenarListaPorFecha()
{
    OrdenaPorDia(TablaActual());
}

// ---------------------------------------------------------------------------------------------------------------------
// Lines

bool TClassAgendaN::Anadir(QDate fecha, const QString &hora)
{
    return ConGuarda("Anadir", [&] {
        InsertaLinea(TablaActual(), fecha, hora);
        return true;
    });
}

bool TClassAgendaN::Modificar(dataset::EditOf linea)
{
    return ConGuarda("Modificar", [&] {
        DataSet &tabla = TablaActual();
        if (tabla.isEmpty()) {
            AvisaMotor(QStringLiteral("No hay AgendaN introducidos que modificar"),
                       QStringLiteral("Inserte primero un AgendaN."), TituloAtencion);
            return false;
        }
        tabla.edit(linea);
        return true;
    });
}

bool TClassAgendaN::Borrar(bool preguntar)
{
    return ConGuarda("Borrar", [&] {
        DataSet &tabla = TablaActual();
        if (tabla.isEmpty()) {
            AvisaMotor(QStringLiteral("No hay citas para ese día introducidas que borrar"),
                       QStringLiteral("Inserte primero una."), TituloAtencion);
            return true;
        }
        if (preguntar && !PreguntaMotor(QStringLiteral("¿Desea borrar la cita de las %1 de la base de datos?")
                                            .arg(TLineaAgenda::Actual(tabla).Hora),
                                        TituloAtencion))
            return false;
        TBDelete(tabla);
        return true;
    });
}

bool TClassAgendaN::AceptarAgendaN()
{
    return ConGuarda("AceptarAgendaN", [&] {
        TBPost(TablaActual());
        return true;
    });
}

bool TClassAgendaN::CancelarAgendaN(bool preguntar)
{
    if (preguntar && !PreguntaMotor(QStringLiteral("¿Desea cancelar la operación?"), TituloAtencionPuntos))
        return false;
    CancelaSinPreguntar(TablaActual());
    return true;
}

void TClassAgendaN::EscribeMarca(const QString &marca)
{
    TLineaAgenda linea = TLineaAgenda::Actual(TablaActual());
    linea.Concepto.prepend(marca);
    linea.Salida = EstaFuera;
    linea.Escribe(TablaActual(), std::array{TCampoLinea::concepto, TCampoLinea::salida});
}

/// @return what AceptarAgendaN said; nothing when a failure came before it.
std::optional<bool> TClassAgendaN::MarcaLineaActual(const QString &marca)
{
    const bool preparada = Modificar() && ConGuarda("Marcar", [&] {
                               EscribeMarca(marca);
                               return true;
                           });
    if (preparada)
        return AceptarAgendaN();
    CancelarAgendaN(false);
    return {};
}

bool TClassAgendaN::Salida()
{
    return MarcaLineaActual(MarcaSalida).value_or(false);
}

bool TClassAgendaN::Ausente()
{
    DataSet &tabla = TablaActual();
    const dataset::ControlsGuard sinAvisos(tabla);
    return ConGuarda("Ausente", [&] {
        const dataset::Bookmark donde = tabla.bookmark();
        if (!HayRangoPorFecha())
            RangoPorFecha(TLineaAgenda::Actual(tabla).Fecha);
        if (!tabla.hasRange())
            return false; // a line without a date: the whole table would be marked
        bool ultimaAceptada = false;
        RecorreLineas(tabla,
                      [&] { ultimaAceptada = MarcaLineaActual(MarcaAusente).value_or(ultimaAceptada); });
        tabla.goToBookmark(donde); // the range may have gone to its first line
        return ultimaAceptada;
    });
}

/// Back to the line that was current, in every case; without it, to the first one of the shown day.
void TClassAgendaN::VuelveALaLinea(const TLineaAgenda &linea) noexcept
{
    try {
        // By number first: of two lines with the same hour a search finds the first.
        if (!TablaActual().goToBookmark(linea.Registro()) && !BuscarPorFecha(linea.Fecha, linea.Hora, true))
            TablaActual().first();
    } catch (const std::exception &error) {
        qCWarning(registro, "The line that was copied could not be found again: %s", error.what());
    }
}

bool TClassAgendaN::CopiarCita(QDate destino)
{
    DataSet &tabla = TablaActual();
    const dataset::ControlsGuard sinAvisos(tabla);
    // What is being typed is part of the line, and must not be lost with a copy that fails.
    if (tabla.isModified())
        TBPost(tabla);
    const dataset::Bookmark origen = tabla.bookmark();
    if (origen == 0 || !destino.isValid())
        return false;
    const TLineaAgenda linea = TLineaAgenda::Actual(tabla);
    const auto vuelve = qScopeGuard([&] { VuelveALaLinea(linea); });

    if (!Anadir(destino, {}))
        return false;
    EscribeCopia(linea);
    return true;
}

/// Fills the new line that has been begun with what was seen of another one, but for the date, and posts it.
void TClassAgendaN::EscribeCopia(TLineaAgenda linea)
{
    DataSet &tabla = TablaActual();
    dataset::PendingEditGuard pendiente(tabla);
    // Deliberate: codes lose their fraction, and no client is written as 0.
    linea.CodCliente = static_cast<double>(linea.Codigo());
    linea.Escribe(tabla, CamposDeCita);
    linea.Escribe(tabla, TCampoLinea::hora);
    TBPost(tabla);
    pendiente.keep();
}

TClassAgendaN::TFallidas TClassAgendaN::PorCadaLinea(const TLineas &lineas,
                                                     const TOperacionDeLinea &operacion)
{
    TFallidas fallidas;
    for (const dataset::SeenRecord &linea : lineas) {
        try {
            operacion(linea);
        } catch (const std::exception &error) {
            qCWarning(registro, "A line of several: %s", error.what());
            CancelaSinPreguntar(TablaActual());
            fallidas.append({linea, QString::fromUtf8(error.what())});
        }
    }
    return fallidas;
}

TClassAgendaN::TFallidas TClassAgendaN::EnUnGrupo(const TLineas &lineas, const TOperacionDeLinea &operacion)
{
    const dataset::ControlsGuard sinAvisos(TablaActual());
    if (lineas.size() > 1) {
        try {
            dataset::CommitGroup juntas(TablaActual());
            const TFallidas fallidas = PorCadaLinea(lineas, operacion);
            juntas.commit();
            return fallidas;
        } catch (const dataset::EDatabaseError &error) {
            qCWarning(registro, "The lines could not be written as a whole: %s", error.what());
        }
    }
    return PorCadaLinea(lineas, operacion);
}

TClassAgendaN::TFallidas TClassAgendaN::BorrarLineas(const TLineas &lineas)
{
    return EnUnGrupo(lineas, [this](const dataset::SeenRecord &linea) { TablaActual().remove(linea); });
}

TClassAgendaN::TFallidas TClassAgendaN::CopiarLineas(const TLineas &lineas, QDate destino)
{
    return EnUnGrupo(lineas, [this, destino](const dataset::SeenRecord &linea) {
        TablaActual().goToSeen(linea);
        InsertaLinea(TablaActual(), destino, {});
        EscribeCopia(TLineaAgenda::DeVista(TablaActual(), linea));
    });
}

/// To be called in a group. @return the lines that could not be deleted, of which nothing has been written.
/// @throws std::exception when a copy cannot be made: the group is to be dropped.
TClassAgendaN::TFallidas TClassAgendaN::Mueve(const TLineas &lineas, QDate destino)
{
    // From the last to the first, and the copies afterwards: in one commit nobody sees the day in between,
    // and what cannot be deleted never has a copy that would have to be taken back.
    TFallidas fallidas =
        PorCadaLinea(TLineas(lineas.rbegin(), lineas.rend()),
                     [this](const dataset::SeenRecord &linea) { TablaActual().remove(linea); });
    std::reverse(fallidas.begin(), fallidas.end());
    for (const dataset::SeenRecord &linea : lineas) {
        if (std::any_of(fallidas.begin(), fallidas.end(),
                        [&](const TLineaFallida &una) { return una.Linea.bookmark() == linea.bookmark(); }))
            continue;
        InsertaLinea(TablaActual(), destino, {});
        EscribeCopia(TLineaAgenda::DeVista(TablaActual(), linea));
    }
    return fallidas;
}

TClassAgendaN::TFallidas TClassAgendaN::MoverLineas(const TLineas &lineas, QDate destino)
{
    DataSet &tabla = TablaActual();
    const dataset::ControlsGuard sinAvisos(tabla);
    const auto enUnCommit = [&](const TLineas &cuales) {
        dataset::CommitGroup juntas(tabla);
        TFallidas fallidas = Mueve(cuales, destino);
        juntas.commit();
        return fallidas;
    };
    if (lineas.size() > 1) {
        try {
            return enUnCommit(lineas);
        } catch (const std::exception &error) {
            qCWarning(registro, "The lines could not be moved as a whole: %s", error.what());
            CancelaSinPreguntar(tabla);
        }
    }
    TFallidas fallidas;
    for (const dataset::SeenRecord &linea : lineas) {
        try {
            fallidas << enUnCommit({linea});
        } catch (const std::exception &error) {
            qCWarning(registro, "A line that could not be moved: %s", error.what());
            CancelaSinPreguntar(tabla);
            fallidas.append({linea, QString::fromUtf8(error.what())});
        }
    }
    return fallidas;
}

TClassAgendaN::TFallidas TClassAgendaN::MarcarSalidas(const TLineas &lineas)
{
    return PorCadaLinea(lineas, [this](const dataset::SeenRecord &linea) {
        TablaActual().edit(linea);
        EscribeMarca(MarcaSalida);
        TBPost(TablaActual());
    });
}

// ---------------------------------------------------------------------------------------------------------------------
// Windows

void TClassAgendaN::FichaAgendaN()
{
    const auto ficha = m_vistas->CreaFichaAgendaN(m_propietario);
    for (int notario = 1; notario <= std::min(m_numNotarios, MaxNotarios); ++notario)
        ficha->PonNotario(notario, NombreNotario(notario), Tabla(notario));
    ficha->PonMotor(*this);
    ficha->PonSincronizarDia(goConfAgendaN->GetSincronizarDia());
    ficha->PCAgendaChange();
    ficha->ShowModal();
}

void TClassAgendaN::FichaCita(TOperacion operacion)
{
    m_vistas->MuestraFichaCitas(*this, operacion, m_propietario);
}
