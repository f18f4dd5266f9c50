#include "agenda1/AgendaDia2QR.h"

#include "agenda/Rnumcad.h"
#include "agenda1/TablaQR.h"

#include <array>

namespace
{

using report::Alignment;

// Deliberate: the second notary's titles stand in another order than his fields.
constexpr std::array<TColumnaQR, 7> ColumnasDeDos{{
    {"HORA", "QRDBHORA", "HORA", 0, 42, Alignment::center},
    {"INTERESADO", "QRDBINTERESADO1", "INTERESADO1", 42, 230},
    {"OFICIAL", "QRDBOFICIAL1", "OFICIAL1", 272, 80},
    {"CONCEPTO", "QRDBCONCEPTO1", "CONCEPTO1", 352, 190},
    {"CONCEPTO", "QRDBINTERESADO2", "INTERESADO2", 542, 230},
    {"OFICIAL", "QRDBOFICIAL2", "OFICIAL2", 772, 80},
    {"INTERESADO", "QRDBCONCEPTO2", "CONCEPTO2", 852, 190},
}};
constexpr std::array<std::size_t, 2> Bloques{1, 4}; ///< where a notary's columns begin

} // namespace

TQRAgendaDia2::TQRAgendaDia2(QObject *propietario, QDate fecha, dataset::DataSet &datos)
{
    QR.page = report::PageSetup::a4Landscape();
    QR.dataSet = &datos;
    PreparaQR(QR, QStringLiteral("TQRAgendaDia2"), propietario,
              QStringLiteral("Agenda ") + fecha.toString(Qt::ISODate));
    MontaHojaDia(QR, QStringLiteral("AGENDA DEL DÍA: ") + Date_Cad(fecha), ColumnasDeDos, Bloques);
}
