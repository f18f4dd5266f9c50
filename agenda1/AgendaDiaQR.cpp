#include "agenda1/AgendaDiaQR.h"

#include "agenda/Rnumcad.h"
#include "agenda1/TablaQR.h"

#include <array>

namespace
{

using report::Alignment;

constexpr std::array<TColumnaQR, 5> ColumnasDeUno{{
    {"HORA", "QRDBHORA", "HORA", 0, 40, Alignment::center},
    {"CONCEPTO", "QRDBCONCEPTO", "CONCEPTO", 40, 260},
    {"INTERESADO", "QRDBINTERESADO", "INTERESADO", 300, 276},
    {"OFICIAL", "QRDBOFICIAL", "OFICIAL", 576, 108},
    {"SAL.", "QRDBSALIDA", "SALIDA", 684, 33, Alignment::center},
}};

} // namespace

TQRAgendaDia::TQRAgendaDia(QObject *propietario, QDate fecha, dataset::DataSet &datos)
{
    QR.page = report::PageSetup::a4Portrait();
    QR.dataSet = &datos;
    PreparaQR(QR, QStringLiteral("TQRAgendaDia"), propietario,
              QStringLiteral("Agenda ") + fecha.toString(Qt::ISODate));
    MontaHojaDia(QR, QStringLiteral("AGENDA DEL DÍA: ") + Date_Cad(fecha), ColumnasDeUno);
}
