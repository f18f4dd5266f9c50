#include "agendan/ClaseAgendaN.h"

#include "agenda/AgendaNDM.h"
#include "agenda/InformesAgenda.h"

void TClassAgendaN::InformeDia(QDate fecha)
{
    MuestraInforme(TClaseInforme::dia, fecha);
}

void TClassAgendaN::InformeDia_PorOficial(QDate fecha)
{
    MuestraInforme(TClaseInforme::diaPorOficial, fecha);
}

void TClassAgendaN::InformeSemana(QDate fecha)
{
    MuestraInforme(TClaseInforme::semana, fecha);
}

void TClassAgendaN::InformeSemana_PorOficial(QDate fecha)
{
    MuestraInforme(TClaseInforme::semanaPorOficial, fecha);
}

void TClassAgendaN::MuestraInforme(TClaseInforme clase, QDate fecha)
{
    TMotorDeTablas::MuestraInforme(clase, fecha, m_datos ? &m_datos->cdsAgendaSemanal : nullptr,
                                   [this](QDate dia) { RangoPorFecha(dia); });
}
