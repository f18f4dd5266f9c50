#pragma once

#include "tests/driver/FileCalls.h"
#include "tests/support/OficinaDePrueba.h"

#include <cerrno>

namespace support
{

/// File calls of one notary's folder that fail when they are told to. Meanwhile boxes are only noted, and
/// nobody waits for a lock. On Linux alone; a program that uses it links file_calls.
class Fallos
{
public:
    Fallos(OficinaDePrueba &oficina, int notario)
    {
        oficina.Aliases.setLockPatience(std::chrono::milliseconds(0));
        driver::filecalls::watch(oficina.carpetaDe("NOTARIO" + std::to_string(notario)), false);
        TServicios servicios = Servicios();
        servicios.Mensaje = &mensajes;
        m_servicios = std::make_unique<TServiciosInstalados>(servicios);
    }
    ~Fallos() { driver::filecalls::unwatch(); }
    Fallos(const Fallos &) = delete;
    Fallos &operator=(const Fallos &) = delete;

    /// Does something while a call fails, and all further ones of its kind where that lasts.
    /// @param llamada  empty: any kind. @param numero  the first one is 1.
    /// @return whether it has come to that call.
    template <class TTrabajo>
    static bool durante(std::optional<driver::filecalls::Call> llamada, int numero, bool dura,
                        TTrabajo &&trabajo)
    {
        driver::filecalls::fail(driver::filecalls::Fault{llamada, numero, EIO, dura, false});
        trabajo();
        const bool met = driver::filecalls::faultMet();
        driver::filecalls::fail({});
        return met;
    }

    MensajesApuntados mensajes;

private:
    std::unique_ptr<TServiciosInstalados> m_servicios;
};

} // namespace support
