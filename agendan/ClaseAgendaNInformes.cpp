#include "agendan/ClaseAgendaN.h"

#include "agenda/AgendaNDM.h"
#include "agenda/InformesAgenda.h"
#include "agenda/SemanaAgenda.h"

void TClassAgendaN::InformeDia(QDate fecha)
{
    MuestraInformeDia(fecha, std::nullopt);
}

void TClassAgendaN::InformeDia_PorOficial(QDate fecha)
{
    if (const auto oficial = PreguntaOficialDelInforme())
        MuestraInformeDia(fecha, oficial);
}

void TClassAgendaN::InformeSemana(QDate fecha)
{
    MuestraInformeSemana(fecha, std::nullopt);
}

void TClassAgendaN::InformeSemana_PorOficial(QDate fecha)
{
    if (const auto oficial = PreguntaOficialDelInforme())
        MuestraInformeSemana(fecha, oficial);
}

void TClassAgendaN::MuestraInformeDia(QDate fecha, const std::optional<QString> &oficial)
{
    m_informes->CreaQRAgendaDiaN(m_propietario, fecha, TablaActual(), oficial)->Preview();
}

void TClassAgendaN::MuestraInformeSemana(QDate fecha, const std::optional<QString> &oficial)
{
    dataset::MemTable &semana = SemanaDeInforme();
    HazInformeSemana({TablaActual(), semana, [this] { CancelaRangoPorFecha(); },
                      [this](QDate dia) { RangoPorFecha(dia); }},
                     fecha, oficial, [&](QDate lunes) {
                         m_informes->CreaQRAgendaN(m_propietario, lunes, semana)->Preview();
                     });
}

dataset::MemTable &TClassAgendaN::SemanaDeInforme()
{
    if (m_datos)
        return m_datos->cdsAgendaSemanal;
    if (!m_semanaPropia)
        m_semanaPropia = std::make_unique<dataset::MemTable>();
    return *m_semanaPropia;
}
