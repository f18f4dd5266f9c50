#pragma once

#include "agenda1/ImpresosAgenda1.h"
#include "agenda1/VentanasAgenda.h"
#include "agendan/ConfAgendaN.h"
#include "agendan/ImpresosAgendaN.h"
#include "agendan/VentanasAgendaN.h"
#include "module/ZenAgenda.h"

#include <memory>

/// The module's one object, made by the loader.
class TModulo : public QObject, public IZenAgenda
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID IZenAgenda_iid)
    Q_INTERFACES(IZenAgenda)
public:
    TModulo();
    ~TModulo() override;

    [[nodiscard]] int Version() const override { return VersionInterfaz; }
    bool Registra(const TServicios &servicios) override;
    bool Libera() override;
    [[nodiscard]] std::unique_ptr<IAgendaN> CreaAgendaN(QObject *propietario, TClientesRaiz *clientes,
                                                        const TTablas &tablas) override;
    [[nodiscard]] std::unique_ptr<IAgenda1> CreaAgenda1(QObject *propietario, QDate fecha) override;
    [[nodiscard]] std::unique_ptr<IAgenda3P> CreaAgenda3P(QObject *propietario, QDate fecha,
                                                          const TTablas &tablas) override;
    [[nodiscard]] quint32 ColorSalida() const override;

private:
    void RegistraUnidades();
    void LiberaUnidades();
    /// Gives everything back, also under an agenda that lives: the settings object must not outlive what it
    /// shows itself with.
    void Deshaz();

    std::unique_ptr<TServiciosInstalados> m_servicios;
    std::unique_ptr<TVistaConfiguracion> m_vistaConfiguracion;
    std::unique_ptr<TVistasAgendaN> m_vistas;
    std::unique_ptr<TInformesAgendaN> m_informes;
    std::unique_ptr<TVistasAgenda> m_vistas1;
    std::unique_ptr<TInformesAgenda1> m_informes1;
    int m_agendas = 0; ///< alive
};
