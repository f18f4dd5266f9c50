#pragma once

#include "module/ZenAgenda.h"

#include <QtCore/QPluginLoader>

/// The agenda module, loaded and registered for as long as this lives.
class TModuloAgenda
{
public:
    /// @param servicios  stay until the end of this object's life.
    /// @throws dataset::EDatabaseError when the module is missing, is another one, or was built for another
    /// host.
    explicit TModuloAgenda(const TServicios &servicios);
    ~TModuloAgenda();
    TModuloAgenda(const TModuloAgenda &) = delete;
    TModuloAgenda &operator=(const TModuloAgenda &) = delete;

    IZenAgenda *operator->() const { return m_modulo; }

private:
    QPluginLoader m_cargador;
    IZenAgenda *m_modulo = nullptr; ///< owned by the loader
};
