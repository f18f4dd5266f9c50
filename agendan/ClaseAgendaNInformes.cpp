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
    QString notario;
    for (int n = 1; n <= NumNotarios(); ++n) {
        if (Tabla(n) == &TablaActual())
            notario = NombreNotario(n);
    }
    HazInforme({m_propietario,
                m_informes,
                {TablaActual(), SemanaDeInforme(), [this] { CancelaRangoPorFecha(); },
                 [this](QDate dia) { RangoPorFecha(dia); }},
                notario},
               clase, fecha);
}

dataset::MemTable &TClassAgendaN::SemanaDeInforme()
{
    if (m_datos)
        return m_datos->cdsAgendaSemanal;
    if (!m_semanaPropia)
        m_semanaPropia = std::make_unique<dataset::MemTable>();
    return *m_semanaPropia;
}
