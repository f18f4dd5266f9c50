#include "agenda1/ImpresosAgenda1.h"

#include "agenda1/AgendaDia2QR.h"
#include "agenda1/AgendaDiaQR.h"
#include "agenda1/AgendaZenQR.h"

std::unique_ptr<IInforme> TInformesAgenda1::CreaQRAgendaZen(QObject *propietario, QDate lunes,
                                                            dataset::DataSet &semana)
{
    return std::make_unique<TQRAgendaZen>(propietario, lunes, semana);
}

std::unique_ptr<IInforme> TInformesAgenda1::CreaQRAgendaDia(QObject *propietario, QDate fecha,
                                                            dataset::DataSet &datos)
{
    return std::make_unique<TQRAgendaDia>(propietario, fecha, datos);
}

std::unique_ptr<IInforme> TInformesAgenda1::CreaQRAgendaDia2(QObject *propietario, QDate fecha,
                                                             dataset::DataSet &datos)
{
    return std::make_unique<TQRAgendaDia2>(propietario, fecha, datos);
}
