#include "agenda1/AgendaDiaQR.h"

#include "agenda/Rnumcad.h"
#include "agenda1/TablaQR.h"

#include <array>

namespace
{

using report::Alignment;

constexpr std::array<TColumnaQR, 5> ColumnasDeUno{{
    {"HORA", "QRDBHORA", TCampoLinea::hora, 0, 40, Alignment::center},
    {"CONCEPTO", "QRDBCONCEPTO", TCampoLinea::concepto, 40, 260},
    {"INTERESADO", "QRDBINTERESADO", TCampoLinea::interesado, 300, 276},
    {"OFICIAL", "QRDBOFICIAL", TCampoLinea::oficial, 576, 108},
    {"SAL.", "QRDBSALIDA", TCampoLinea::salida, 684, 33, Alignment::center},
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
