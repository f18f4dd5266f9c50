#pragma once

#include "agenda/InformesAgenda.h"

/// Where the single-table engine gets its report layouts from: the printed sheets in the office, doubles in
/// tests. The layouts only read the data set, which must outlive them.
class IInformesAgenda1
{
public:
    virtual ~IInformesAgenda1() = default;
    /// TQRAgendaZen: the week that begins on a Monday, from week-report rows.
    /// @param propietario  owner of the layout's windows; may be null.
    [[nodiscard]] virtual std::unique_ptr<IInforme> CreaQRAgendaZen(QObject *propietario, QDate lunes,
                                                                    dataset::DataSet &semana) = 0;
    /// TQRAgendaDia: the day of one notary.
    [[nodiscard]] virtual std::unique_ptr<IInforme> CreaQRAgendaDia(QObject *propietario, QDate fecha,
                                                                    dataset::DataSet &datos) = 0;
    /// TQRAgendaDia2: the day of two notaries side by side.
    [[nodiscard]] virtual std::unique_ptr<IInforme> CreaQRAgendaDia2(QObject *propietario, QDate fecha,
                                                                     dataset::DataSet &datos) = 0;
};
