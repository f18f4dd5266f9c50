#pragma once

#include "agenda/InformesAgenda.h"
#include "report/Report.h"

/// The week of the single-table agenda, three days side by side, from week-report rows; each half-week begins
/// a page. It only reads the data set.
class TQRAgendaZen : public IInforme
{
public:
    /// @param propietario  window behind the preview when no other is in front; may be null.
    /// @param lunes        the week's Monday.
    /// @param semana       week-report rows; not owned, outlives the layout.
    TQRAgendaZen(QObject *propietario, QDate lunes, dataset::DataSet &semana);

    void Preview() override { QR.preview(); }

    report::Report QR;

private:
    static constexpr int Dias = 3; ///< side by side

    void MontaCabecera(report::Band &banda, double arriba);
    void MontaTitulo();
    void MontaDetalle();
    /// Names the days of the half-week on which the data set stands.
    void PonDias(report::Band &banda);
    void DetailBand1BeforePrint(report::BandPrint &banda);

    QDate m_lunes;
    int m_mitad = 0; ///< half-week of the line before; 0 at the beginning of a run
};
