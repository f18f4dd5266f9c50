#include "agenda/MotorDeTablas.h"

#include "agenda/AgendaNDM.h"
#include "agenda/Avisos.h"
#include "agenda/InformesAgenda.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"

#include <QtCore/QLoggingCategory>

#include <algorithm>

using dataset::DataSet;

namespace
{

Q_LOGGING_CATEGORY(registroMotor, "agenda.motor")

} // namespace

TMotorDeTablas::TMotorDeTablas(QObject *propietario, const TTablasNotarios &tablas, IInformesAgenda *informes)
    : m_propietario(propietario)
    , m_informes(informes)
    , m_tablas(tablas)
{
    if (!m_tablas.front())
        return;
    // Deliberate: one more than the tables up to the first empty place, six when none is empty.
    const auto vacia = std::find(m_tablas.begin() + 1, m_tablas.end(), nullptr);
    m_numNotarios = static_cast<int>(vacia - m_tablas.begin()) + 1;
    for (DataSet *const tabla : m_tablas) {
        if (!tabla || !tabla->isActive())
            continue;
        CompruebaCamposAgendaN(*tabla);
        // A day is a range over date and hour; an order that has both is kept as it is.
        TBIndexa(OrdenDeLaAgenda(), *tabla);
    }
    PonTablas();
}

TMotorDeTablas::~TMotorDeTablas() = default;

void TMotorDeTablas::AbreTablas(const std::function<dataset::DbfTable &(int)> &tabla,
                                const std::function<void(int)> &sinAbrir)
{
    const TServicios &servicios = Servicios();
    m_tablas = {}; // what the host has given behind an empty first place is not used
    m_numNotarios = std::max(servicios.Config->GetnCuantos(), 1);
    for (int notario = 1; notario <= std::min(m_numNotarios, MaxNotarios); ++notario) {
        dataset::DbfTable &una = tabla(notario);
        una.setDatabaseName(servicios.Rut->AliasNotario(notario));
        una.setIndexFieldNames(NombreDe(TCampoLinea::fecha));
        m_tablas.at(static_cast<std::size_t>(notario - 1)) = &una;
        try {
            AbreAgendaN(una);
            CuentaAvisosDe(una);
        } catch (const std::exception &error) {
            if (!sinAbrir)
                throw;
            qCWarning(registroMotor, "Opening the table of notary %d: %s", notario, error.what());
            sinAbrir(notario);
        }
    }
    PonTablas();
}

void TMotorDeTablas::AbreAgendaN(dataset::DbfTable &tabla)
{
    tabla.open();
    try {
        CompruebaCamposAgendaN(tabla);
    } catch (...) {
        CierraTabla(tabla); // it is none that could be worked on
        throw;
    }
}

void TMotorDeTablas::PonTablas()
{
    for (std::size_t i = 0; i < m_tablas.size(); ++i) {
        if (m_tablas.at(i))
            m_dias.at(i) = std::make_unique<TDiaDeTabla>(*m_tablas.at(i));
    }
}

void TMotorDeTablas::PonTablaUnica(DataSet &tabla, TLineasDelDia lineas)
{
    m_numNotarios = 1;
    m_tablas.front() = &tabla;
    m_dias.front() = std::make_unique<TDiaDeTabla>(tabla, lineas);
}

DataSet *TMotorDeTablas::Tabla(int notario) const
{
    return notario >= 1 && notario <= MaxNotarios ? m_tablas.at(static_cast<std::size_t>(notario - 1))
                                                  : nullptr;
}

DataSet &TMotorDeTablas::TablaActual() const
{
    DataSet *const tabla = Tabla(m_actual);
    Q_ASSERT_X(tabla, "TMotorDeTablas", "there is no current table");
    return *tabla;
}

void TMotorDeTablas::PonNotarioActual(int notario)
{
    if (Tabla(notario))
        m_actual = notario;
}

QString TMotorDeTablas::NombreNotario(int notario)
{
    const TConfig &config = *Servicios().Config;
    if (config.GetnCuantos() != 0)
        return config.GetNotarios().value(notario - 1);
    return config.GetDon() + u' ' + config.GetNombre1();
}

bool TMotorDeTablas::BuscarPorFecha(QDate fecha, const QString &hora, bool exacta)
{
    return BuscaLineaDeFecha(TablaActual(), fecha, hora, exacta);
}

void TMotorDeTablas::OrdenarListaPorFecha()
{
    OrdenaPorDia(TablaActual());
}

TMotorDeTablas::TSinLinea TMotorDeTablas::SinCitaQue(const QString &verbo, bool respuesta)
{
    return {QStringLiteral("No hay citas para ese día introducidas que ") + verbo,
            QStringLiteral("Inserte primero una."), respuesta};
}

std::optional<TRespuesta> TMotorDeTablas::RespuestaSinLinea(TALaVista vista, const TSinLinea &aviso) const
{
    const DataSet &tabla = TablaActual();
    if (vista == TALaVista::ficha ? tabla.bookmark() == 0 : tabla.isEmpty()) {
        AvisaMotor(aviso.Texto, aviso.Consejo, TituloAtencion);
        return aviso.Respuesta;
    }
    if (vista == TALaVista::dia && DiaActual().LineaFuera())
        return TRespuesta::Fallo(LineaDeOtroDia);
    return std::nullopt;
}

TRespuesta TMotorDeTablas::Modificar(TALaVista vista)
{
    DataSet &tabla = TablaActual();
    return ConGuarda(tabla, "Modificar", [&]() -> TRespuesta {
        if (const auto sinLinea =
                RespuestaSinLinea(vista, {QStringLiteral("No hay AgendaN introducidos que modificar"),
                                          QStringLiteral("Inserte primero un AgendaN."), false}))
            return *sinLinea;
        tabla.edit(vista == TALaVista::ficha ? dataset::EditOf::fresh : dataset::EditOf::seen);
        return true;
    });
}

TRespuesta TMotorDeTablas::Modificar(const dataset::SeenRecord &linea)
{
    return ConGuarda(TablaActual(), "Modificar", [&] {
        TablaActual().edit(linea);
        return true;
    });
}

bool TMotorDeTablas::CancelarAgendaN(bool preguntar)
{
    if (preguntar && !PreguntaMotor(QStringLiteral("¿Desea cancelar la operación?"), TituloAtencionPuntos))
        return false;
    CancelaSinPreguntar(TablaActual());
    return true;
}

TRespuesta TMotorDeTablas::AceptaPendiente(DataSet &tabla, const char *operacion, TTrasFallo despues)
{
    return ConGuarda(
        tabla, operacion,
        [&tabla] {
            TBPost(tabla);
            return true;
        },
        despues);
}

void TMotorDeTablas::TrasFallo(DataSet &tabla, const char *operacion, const std::exception &error,
                               TTrasFallo despues)
{
    qCWarning(registroMotor, "%s: %s", operacion, error.what());
    if (despues == TTrasFallo::cancela)
        CancelaSinPreguntar(tabla);
}

void TMotorDeTablas::MuestraInforme(TClaseInforme clase, QDate fecha, dataset::MemTable *semana,
                                    const std::function<void(QDate)> &ponRango)
{
    dataset::MemTable propia;
    const auto haz = [&] {
        HazInforme(
            {m_propietario,
             m_informes,
             {TablaActual(), semana ? *semana : propia, [this] { DiaActual().MuestraTodo(); }, ponRango},
             NombreNotario(m_actual)},
            clase, fecha);
    };
    // A week leaves the day for as long as it is looked at, and the way back may fail.
    if (clase == TClaseInforme::semana || clase == TClaseInforme::semanaPorOficial)
        DiaActual().TodoONada(haz);
    else
        haz();
}
