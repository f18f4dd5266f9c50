#pragma once

#include "agenda/InformesAgenda.h"
#include "report/Report.h"

#include <array>

/// The week of one notary, three days side by side, from week-report rows. It only reads the data set.
class TQRAgendaN : public IInforme
{
public:
    /// @param propietario  window behind the preview when no other is in front; may be null.
    /// @param lunes        the week's Monday.
    /// @param semana       week-report rows; not owned, outlives the layout.
    TQRAgendaN(QObject *propietario, QDate lunes, dataset::DataSet &semana);

    void Preview() override { QR.preview(); }
    void PonDeQuien(const QString &deQuien) override;

    report::Report QR;

private:
    static constexpr int Dias = 3; ///< side by side

    void FormCreate();
    void MontaBloques(report::Band &banda, const char *sufijo);
    void MontaTitulo();
    void MontaDetalle();
    void MontaDia(report::Band &detalle, int dia);
    [[nodiscard]] qint64 Semisemana() const;
    void PonDias(report::Band &banda);
    void QRBand1BeforePrint(report::BandPrint &banda);
    void Band1BeforePrint(report::BandPrint &banda);
    void DetailBand1BeforePrint(report::BandPrint &banda);

    QDate m_lunes;
    bool m_otraMitad = false; ///< Thursday to Saturday have been given their own page in this run
};
