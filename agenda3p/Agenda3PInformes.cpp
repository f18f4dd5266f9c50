// The reports of the current table. Meanwhile the other tables go on showing their day.

#include "agenda/AgendaZenDM.h"
#include "agenda/InformesAgenda.h"
#include "agenda3p/Agenda3P.h"

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
                                   [this](QDate dia) { VeDiaConLasDemas(dia); });
}
