#pragma once

#include "agenda/InformesAgenda.h"
#include "report/Report.h"

/// The day sheet of two notaries side by side, over the day in memory. It only reads the data set.
class TQRAgendaDia2 : public IInforme
{
public:
    /// @param propietario  window behind the preview when no other is in front; may be null.
    /// @param datos        the lines of the day; not owned, outlives the layout.
    TQRAgendaDia2(QObject *propietario, QDate fecha, dataset::DataSet &datos);

    void Preview() override { QR.preview(); }

    report::Report QR;
};
