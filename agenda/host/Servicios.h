#pragma once

#include "agenda/host/Clacliraiz.h"
#include "agenda/host/Confzen.h"
#include "agenda/host/Mensaje.h"
#include "agenda/host/Registro.h"
#include "agenda/host/Reloj.h"
#include "agenda/host/Rut.h"
#include "agenda/host/Rvarias.h"
#include "dataset/Aliases.h"

/// What the host lends to the agenda from load to unload. All of it belongs to the host.
struct TServicios {
    IMensaje *Mensaje = nullptr;
    IRut *Rut = nullptr;
    IRvarias *Rvarias = nullptr;
    TConfig *Config = nullptr;
    IReloj *Reloj = nullptr;
    const dataset::Aliases *Aliases = nullptr;
    IRegistro *Registro = nullptr; ///< may be missing: then nobody is told of units

    [[nodiscard]] bool Completos() const { return Mensaje && Rut && Rvarias && Config && Reloj && Aliases; }
};

/// The services in force. Asking while none are installed is a programming error (asserted).
[[nodiscard]] const TServicios &Servicios();

/// Installs services for as long as it lives; the ones in force before come back afterwards.
class TServiciosInstalados
{
public:
    explicit TServiciosInstalados(const TServicios &servicios);
    ~TServiciosInstalados();
    TServiciosInstalados(const TServiciosInstalados &) = delete;
    TServiciosInstalados &operator=(const TServiciosInstalados &) = delete;

private:
    TServicios m_servicios;
    const TServicios *m_anteriores;
};
