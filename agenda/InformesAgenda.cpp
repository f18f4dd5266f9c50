#include "agenda/InformesAgenda.h"

void HazInforme(const TMotorDeInformes &motor, TClaseInforme clase, QDate fecha)
{
    const bool porOficial = clase == TClaseInforme::diaPorOficial || clase == TClaseInforme::semanaPorOficial;
    std::optional<QString> oficial;
    if (porOficial && !(oficial = PreguntaOficialDelInforme()))
        return;
    if (clase == TClaseInforme::dia || clase == TClaseInforme::diaPorOficial) {
        motor.Informes.CreaQRAgendaDiaN(motor.Propietario, fecha, motor.Semana.Tabla, oficial)->Preview();
        return;
    }
    HazInformeSemana(motor.Semana, fecha, oficial, [&motor](QDate lunes) {
        motor.Informes.CreaQRAgendaN(motor.Propietario, lunes, motor.Semana.Semana)->Preview();
    });
}
