#include "agenda/host/Servicios.h"

#include <QtCore/QtGlobal>

namespace
{
const TServicios *g_enVigor = nullptr;
} // namespace

const TServicios &Servicios()
{
    Q_ASSERT_X(g_enVigor && g_enVigor->Completos(), "Servicios",
               "the host's services have not been installed");
    return *g_enVigor;
}

TServiciosInstalados::TServiciosInstalados(const TServicios &servicios)
    : m_servicios(servicios)
    , m_anteriores(g_enVigor)
{
    g_enVigor = &m_servicios;
}

TServiciosInstalados::~TServiciosInstalados()
{
    g_enVigor = m_anteriores;
}
