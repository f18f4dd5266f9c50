// A module that was built for another host: whatever but its version is asked, the test fails.

#include "module/ZenAgenda.h"

#include <cstdlib>

class TModuloDeOtraVersion : public QObject, public IZenAgenda
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID IZenAgenda_iid)
    Q_INTERFACES(IZenAgenda)
public:
    [[nodiscard]] int Version() const override { return VersionInterfaz + 1; }
    bool Registra(const TServicios & /*servicios*/) override { std::abort(); }
    bool Libera() override { std::abort(); }
    [[nodiscard]] std::unique_ptr<IAgendaN>
    CreaAgendaN(QObject * /*propietario*/, TClientesRaiz * /*clientes*/, const TTablas & /*tablas*/) override
    {
        std::abort();
    }
    [[nodiscard]] std::unique_ptr<IAgenda1> CreaAgenda1(QObject * /*propietario*/, QDate /*fecha*/) override
    {
        std::abort();
    }
    [[nodiscard]] std::unique_ptr<IAgenda3P> CreaAgenda3P(QObject * /*propietario*/, QDate /*fecha*/,
                                                          const TTablas & /*tablas*/) override
    {
        std::abort();
    }
    [[nodiscard]] quint32 ColorSalida() const override { std::abort(); }
};

#include "ModuloDeOtraVersion.moc"
