#pragma once

#include "agenda/InformesAgenda.h"

/// The printed sheets of the multi-notary agenda.
class TInformesAgendaN : public IInformesAgenda
{
public:
    [[nodiscard]] std::unique_ptr<IInforme> CreaQRAgendaDiaN(QObject *propietario, QDate fecha,
                                                             dataset::DataSet &datos,
                                                             const std::optional<QString> &oficial) override;
    [[nodiscard]] std::unique_ptr<IInforme> CreaQRAgendaN(QObject *propietario, QDate lunes,
                                                          dataset::DataSet &semana) override;
};
