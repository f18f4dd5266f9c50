// The reports of the current table. Meanwhile the other tables go on showing their day.

#include "agenda/AgendaZenDM.h"
#include "agenda/InformesAgenda.h"
#include "agenda/MotorComun.h"
#include "agenda3p/Agenda3P.h"

#include <algorithm>
#include <vector>

using dataset::DataSet;

void TAgenda3P::InformeDia(QDate fecha)
{
    MuestraInforme(TClaseInforme::dia, fecha);
}

void TAgenda3P::InformeDia_PorOficial(QDate fecha)
{
    MuestraInforme(TClaseInforme::diaPorOficial, fecha);
}

void TAgenda3P::InformeSemana(QDate fecha)
{
    MuestraInforme(TClaseInforme::semana, fecha);
}

void TAgenda3P::InformeSemana_PorOficial(QDate fecha)
{
    MuestraInforme(TClaseInforme::semanaPorOficial, fecha);
}

void TAgenda3P::MuestraInforme(TClaseInforme clase, QDate fecha)
{
    if (!m_datos && !m_semanaPropia)
        m_semanaPropia = std::make_unique<dataset::MemTable>();
    dataset::MemTable &semana = m_datos ? m_datos->cdsAgendaSemanal : *m_semanaPropia;
    const auto actual = std::find(m_tablas.begin(), m_tablas.end(), m_tablaActual);
    HazInforme({m_propietario,
                m_informes,
                {TablaActual(), semana, [this] { QuitaRangoDelDia(TablaActual()); },
                 [this](QDate dia) { VuelveAlDia(dia); }},
                NombreDeNotario(static_cast<int>(actual - m_tablas.begin()) + 1)},
               clase, fecha);
}

/// Shows a day in every table; one that shows it already stays on its line.
void TAgenda3P::VuelveAlDia(QDate fecha)
{
    std::vector<std::pair<DataSet *, dataset::Bookmark>> lineas;
    for (DataSet *const tabla : m_tablas) {
        if (tabla && tabla != m_tablaActual)
            lineas.emplace_back(tabla, tabla->bookmark());
    }
    RangoPorFecha(fecha);
    for (const auto &[tabla, linea] : lineas) {
        if (tabla->rowOf(linea) >= 0)
            tabla->goToBookmark(linea);
    }
}
