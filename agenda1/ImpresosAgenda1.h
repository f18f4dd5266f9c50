#pragma once

#include "agenda1/InformesAgenda1.h"

/// The printed sheets of the single-table agenda.
class TInformesAgenda1 : public IInformesAgenda1
{
public:
    [[nodiscard]] std::unique_ptr<IInforme> CreaQRAgendaZen(QObject *propietario, QDate lunes,
                                                            dataset::DataSet &semana) override;
    [[nodiscard]] std::unique_ptr<IInforme> CreaQRAgendaDia(QObject *propietario, QDate fecha,
                                                            dataset::DataSet &datos) override;
    [[nodiscard]] std::unique_ptr<IInforme> CreaQRAgendaDia2(QObject *propietario, QDate fecha,
                                                             dataset::DataSet &datos) override;
};
