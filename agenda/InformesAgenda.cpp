#include "agenda/InformesAgenda.h"

#include "dataset/DatabaseError.h"

#include <QtCore/QStringList>

void HazInforme(const TMotorDeInformes &motor, TClaseInforme clase, QDate fecha)
{
    if (!motor.Informes)
        throw dataset::EDatabaseError(QStringLiteral("La agenda no tiene hojas impresas."));
    const bool porOficial = clase == TClaseInforme::diaPorOficial || clase == TClaseInforme::semanaPorOficial;
    std::optional<QString> oficial;
    if (porOficial && !(oficial = PreguntaOficialDelInforme()))
        return;
    QStringList deQuien{motor.Notario, oficial.value_or(QString())};
    deQuien.removeAll(QString());
    const auto muestra = [&deQuien](std::unique_ptr<IInforme> informe) {
        informe->PonDeQuien(deQuien.join(QStringLiteral(" - ")));
        informe->Preview();
    };
    if (clase == TClaseInforme::dia || clase == TClaseInforme::diaPorOficial) {
        // A preview may stay open for long, and a host may keep its engine all morning.
        motor.Semana.Tabla.refresh();
        if (!motor.Semana.Tabla.hasRange())
            motor.Semana.PonRango(fecha);
        if (!motor.Semana.Tabla.hasRange()) // years of lines are no day sheet
            throw dataset::EDatabaseError(QStringLiteral("No se sabe de qué día ha de ser la hoja impresa."));
        muestra(motor.Informes->CreaQRAgendaDiaN(motor.Propietario, fecha, motor.Semana.Tabla, oficial));
        return;
    }
    HazInformeSemana(motor.Semana, fecha, oficial, [&](QDate lunes) {
        muestra(motor.Informes->CreaQRAgendaN(motor.Propietario, lunes, motor.Semana.Semana));
    });
}
