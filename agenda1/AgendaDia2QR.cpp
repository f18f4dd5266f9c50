#include "agenda1/AgendaDia2QR.h"

#include "agenda/Rnumcad.h"
#include "agenda1/TablaQR.h"

#include <array>

namespace
{

using report::Alignment;

// Deliberate: the second notary's titles stand in another order than his fields.
constexpr std::array<TColumnaQR, 7> ColumnasDeDos{{
    {"HORA", "QRDBHORA", TCampoLinea::hora, 0, 42, Alignment::center},
    {"INTERESADO", "QRDBINTERESADO1", TCampoLinea::interesado, 42, 230, Alignment::left, 1},
    {"OFICIAL", "QRDBOFICIAL1", TCampoLinea::oficial, 272, 80, Alignment::left, 1},
    {"CONCEPTO", "QRDBCONCEPTO1", TCampoLinea::concepto, 352, 190, Alignment::left, 1},
    {"CONCEPTO", "QRDBINTERESADO2", TCampoLinea::interesado, 542, 230, Alignment::left, 2},
    {"OFICIAL", "QRDBOFICIAL2", TCampoLinea::oficial, 772, 80, Alignment::left, 2},
    {"INTERESADO", "QRDBCONCEPTO2", TCampoLinea::concepto, 852, 190, Alignment::left, 2},
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
