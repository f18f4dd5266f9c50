// The printed sheets of the single-table agenda.

#include "agenda/SemanaAgenda.h"
#include "agenda1/ClasAge.h"

#include <QtCore/QCoreApplication>

void TAgenda::InformeSemanal()
{
    dataset::MemTable &semana = m_datos->cdsAgendaSemanal;
    // It leaves the day for as long as it is looked at, and the way back may fail.
    DiaActual().TodoONada([&] {
        HazInformeSemana(
            {*FTabla, semana, [this] { DiaActual().MuestraTodo(); },
             [this](QDate dia) { DiaActual().Muestra(dia); }},
            FFecha, std::nullopt, [&](QDate lunes) {
                m_informes->CreaQRAgendaZen(QCoreApplication::instance(), lunes, semana)->Preview();
            });
    });
}

void TAgenda::InformeDia()
{
    QObject *const propietario = QCoreApplication::instance();
    if (DosNotarios()) { // as it stands on the screen, also while AGENDA cannot be read
        m_informes->CreaQRAgendaDia2(propietario, FFecha, Tabla2())->Preview();
        return;
    }
    FTabla->refresh(); // as others have it now
    m_informes->CreaQRAgendaDia(propietario, FFecha, Tabla())->Preview();
}
