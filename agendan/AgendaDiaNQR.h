#pragma once

#include "agenda/InformesAgenda.h"
#include "report/Report.h"

/// The day sheet of one notary: all lines, or only one clerk's. It only reads the data set.
class TQRAgendaDiaN : public IInforme
{
public:
    /// @param propietario  window behind the preview when no other is in front; may be null.
    /// @param datos        lines of an agenda table; not owned, outlives the layout.
    TQRAgendaDiaN(QObject *propietario, QDate fecha, dataset::DataSet &datos);
    /// @param oficial  without blanks at its ends; the title does not name him.
    TQRAgendaDiaN(QObject *propietario, QDate fecha, dataset::DataSet &datos, QString oficial);

    void Preview() override { QR.preview(); }
    void PonDeQuien(const QString &deQuien) override;

    report::Report QR;

private:
    void FormCreate();
    void MontaPagina();
    void MontaDetalle();
    void DetailBand1BeforePrint(report::BandPrint &banda);

    bool m_porOficial = false;
    QString m_oficial;
};
