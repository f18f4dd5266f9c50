#pragma once

#include "module/ZenAgenda.h"

#include <QtCore/QPluginLoader>

/// The agenda module, loaded and registered for as long as this lives.
class TModuloAgenda
{
public:
    /// @param servicios  stay until the end of this object's life.
    /// @param fichero    the module's file; empty: where the program's own one is (beside the program, or in
    ///                   the folder of its libraries where it has been installed).
    /// @throws dataset::EDatabaseError when the module is missing, is another one, or of another version.
    explicit TModuloAgenda(const TServicios &servicios, const QString &fichero = {});
    ~TModuloAgenda();
    TModuloAgenda(const TModuloAgenda &) = delete;
    TModuloAgenda &operator=(const TModuloAgenda &) = delete;

    IZenAgenda *operator->() const { return m_modulo; }
    [[nodiscard]] QString Fichero() const { return m_cargador.fileName(); }

private:
    QPluginLoader m_cargador;
    IZenAgenda *m_modulo = nullptr; ///< owned by the loader
};
