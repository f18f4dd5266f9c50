// The reports of the current table. Meanwhile the other tables go on showing their day.

#include "agenda/AgendaZenDM.h"
#include "agenda/InformesAgenda.h"
#include "agenda3p/Agenda3P.h"

#include <utility>
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
    TMotorDeTablas::MuestraInforme(clase, fecha, m_datos ? &m_datos->cdsAgendaSemanal : nullptr,
                                   [this](QDate dia) { VuelveAlDia(dia); });
}

/// Shows a day in every table; one that shows it already stays on its line.
void TAgenda3P::VuelveAlDia(QDate fecha)
{
    std::vector<std::pair<DataSet *, dataset::Bookmark>> lineas;
    for (int notario = 1; notario <= MaxNotarios; ++notario) {
        DataSet *const tabla = Tabla(notario);
        if (tabla && tabla != &TablaActual())
            lineas.emplace_back(tabla, tabla->bookmark());
    }
    RangoPorFecha(fecha);
    for (const auto &[tabla, linea] : lineas) {
        if (tabla->rowOf(linea) >= 0)
            tabla->goToBookmark(linea);
    }
}
