#include "agendan/ImpresosAgendaN.h"

#include "agendan/AgendaDiaNQR.h"
#include "agendan/AgendaNQR.h"

std::unique_ptr<IInforme> TInformesAgendaN::CreaQRAgendaDiaN(QObject *propietario, QDate fecha,
                                                             dataset::DataSet &datos,
                                                             const std::optional<QString> &oficial)
{
    if (oficial)
        return std::make_unique<TQRAgendaDiaN>(propietario, fecha, datos, *oficial);
    return std::make_unique<TQRAgendaDiaN>(propietario, fecha, datos);
}

std::unique_ptr<IInforme> TInformesAgendaN::CreaQRAgendaN(QObject *propietario, QDate lunes,
                                                          dataset::DataSet &semana)
{
    return std::make_unique<TQRAgendaN>(propietario, lunes, semana);
}
