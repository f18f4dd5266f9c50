#include "module/Modulo.h"

#include "agenda/ClaseConfAgendaN.h"
#include "agenda/host/Constanteszen.h"
#include "agenda1/ClasAge.h"
#include "agenda3p/Agenda3P.h"
#include "agendan/ClaseAgendaN.h"

#include <array>

namespace
{

/// An engine as the host holds it.
class TAgendaDelModulo : public IAgendaN
{
public:
    TAgendaDelModulo(int &vivas, QObject *propietario, TClientesRaiz *clientes,
                     const IZenAgenda::TTablas &tablas, IVistasAgendaN *vistas, IInformesAgenda *informes)
        : m_motor(propietario, clientes, tablas, vistas, informes)
        , m_vivas(vivas)
    {
        ++m_vivas;
    }
    ~TAgendaDelModulo() override { --m_vivas; }
    TAgendaDelModulo(const TAgendaDelModulo &) = delete;
    TAgendaDelModulo &operator=(const TAgendaDelModulo &) = delete;

    void SincronizarTablasAFecha(QDate fecha, bool todos) override
    {
        m_motor.SincronizarTablasAFecha(fecha, todos);
    }
    void FichaAgendaN() override { m_motor.FichaAgendaN(); }

private:
    TClassAgendaN m_motor;
    int &m_vivas;
};

class TAgendaUnicaDelModulo : public IAgenda1
{
public:
    TAgendaUnicaDelModulo(int &vivas, QObject *propietario, QDate fecha, IVistasAgenda *vistas,
                          IInformesAgenda1 *informes)
        : m_motor(fecha, vistas, informes)
        , m_propietario(propietario)
        , m_vivas(vivas)
    {
        ++m_vivas;
    }
    ~TAgendaUnicaDelModulo() override { --m_vivas; }
    TAgendaUnicaDelModulo(const TAgendaUnicaDelModulo &) = delete;
    TAgendaUnicaDelModulo &operator=(const TAgendaUnicaDelModulo &) = delete;

    void IAgenda() override
    {
        clAgendaSalida = goConfAgendaN->GetColorSalida(); // another workstation may have set it
        m_motor.IAgenda(m_propietario);
    }
    void IConfiguracion() override { m_motor.IConfiguracion(m_propietario); }

private:
    TAgenda m_motor;
    QObject *m_propietario;
    int &m_vivas;
};

class TAgenda3PDelModulo : public TAgenda3P
{
public:
    TAgenda3PDelModulo(int &vivas, QObject *propietario, QDate fecha, const IZenAgenda::TTablas &tablas,
                       IInformesAgenda *informes)
        : TAgenda3P(propietario, fecha, tablas, informes)
        , m_vivas(vivas)
    {
        ++m_vivas;
    }
    ~TAgenda3PDelModulo() override { --m_vivas; }
    TAgenda3PDelModulo(const TAgenda3PDelModulo &) = delete;
    TAgenda3PDelModulo &operator=(const TAgenda3PDelModulo &) = delete;

private:
    int &m_vivas;
};

/// What the module brings, in the order in which the units are made.
constexpr std::array Unidades = {"ClaseConfAgendaN", "ConfAgendaN", "ClaseAgendaN", "FichaAgendaN",
                                 "FichaCita",        "AgendaNQR",   "AgendaDiaNQR", "Agenda3P",
                                 "ClasAge",          "Agenda1",     "Agenda2",      "ConfAgenda",
                                 "AgendaZenQR",      "AgendaDiaQR", "AgendaDia2QR"};

} // namespace

TModulo::TModulo() = default;

TModulo::~TModulo()
{
    Deshaz();
}

bool TModulo::Registra(const TServicios &servicios)
{
    if (m_servicios || !servicios.Completos())
        return false;
    try {
        // The members only at the end: what fails before leaves nothing behind.
        auto instalados = std::make_unique<TServiciosInstalados>(servicios);
        auto vistaConfiguracion = std::make_unique<TVistaConfiguracion>();
        auto configuracion = std::make_unique<TClassConfAgendaN>(vistaConfiguracion.get());
        auto vistas = std::make_unique<TVistasAgendaN>();
        auto informes = std::make_unique<TInformesAgendaN>();
        auto vistas1 = std::make_unique<TVistasAgenda>();
        auto informes1 = std::make_unique<TInformesAgenda1>();
        RegistraUnidades();
        m_servicios = std::move(instalados);
        m_vistaConfiguracion = std::move(vistaConfiguracion);
        goConfAgendaN = std::move(configuracion);
        m_vistas = std::move(vistas);
        m_informes = std::move(informes);
        m_vistas1 = std::move(vistas1);
        m_informes1 = std::move(informes1);
        return true;
    } catch (...) { // nothing may cross the boundary from here
        return false;
    }
}

void TModulo::RegistraUnidades()
{
    IRegistro *const registro = Servicios().Registro;
    if (!registro)
        return;
    std::size_t dichas = 0;
    try {
        for (; dichas < Unidades.size(); ++dichas)
            registro->RegistraUnidad(QLatin1String(Unidades[dichas]));
    } catch (...) {
        while (dichas > 0)
            registro->LiberaUnidad(QLatin1String(Unidades[--dichas]));
        throw;
    }
}

void TModulo::LiberaUnidades()
{
    if (IRegistro *const registro = Servicios().Registro) {
        for (std::size_t quedan = Unidades.size(); quedan > 0; --quedan)
            registro->LiberaUnidad(QLatin1String(Unidades.at(quedan - 1)));
    }
}

bool TModulo::Libera()
{
    if (m_agendas > 0)
        return false;
    Deshaz();
    return true;
}

void TModulo::Deshaz()
{
    if (m_servicios)
        LiberaUnidades();
    m_informes1.reset();
    m_vistas1.reset();
    m_informes.reset();
    m_vistas.reset();
    goConfAgendaN.reset();
    m_vistaConfiguracion.reset();
    m_servicios.reset();
}

std::unique_ptr<IAgendaN> TModulo::CreaAgendaN(QObject *propietario, TClientesRaiz *clientes,
                                               const TTablas &tablas)
{
    if (!m_servicios)
        return nullptr;
    return std::make_unique<TAgendaDelModulo>(m_agendas, propietario, clientes, tablas, m_vistas.get(),
                                              m_informes.get());
}

std::unique_ptr<IAgenda1> TModulo::CreaAgenda1(QObject *propietario, QDate fecha)
{
    if (!m_servicios)
        return nullptr;
    return std::make_unique<TAgendaUnicaDelModulo>(m_agendas, propietario, fecha, m_vistas1.get(),
                                                   m_informes1.get());
}

std::unique_ptr<IAgenda3P> TModulo::CreaAgenda3P(QObject *propietario, QDate fecha, const TTablas &tablas)
{
    if (!m_servicios)
        return nullptr;
    return std::make_unique<TAgenda3PDelModulo>(m_agendas, propietario, fecha, tablas, m_informes.get());
}

quint32 TModulo::ColorSalida() const
{
    return goConfAgendaN->GetColorSalida();
}
