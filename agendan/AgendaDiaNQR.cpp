#include "agendan/AgendaDiaNQR.h"

#include "agenda/ClaseConfAgendaN.h"
#include "agenda/Color.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/host/Servicios.h"
#include "dataset/DataSet.h"

#include <QtGui/QColor>

#include <array>
#include <utility>

using report::Alignment;

namespace
{

/// A column: its heading's place and that of its field, which are not quite the same.
struct TColumnaDia {
    const char *Titulo;
    const char *Nombre; ///< of the data field's item
    TCampoLinea Campo;
    double Izquierda;
    double AnchoTitulo;
    double AnchoCampo;
};

constexpr std::array<TColumnaDia, 5> ColumnasDia{{
    {"HORA", "QRDBHORA", TCampoLinea::hora, 21, 32, 31},
    {"CONCEPTO", "QRDBCONCEPTO", TCampoLinea::concepto, 56, 203, 203},
    {"INTERESADO", "QRDBINTERESADO", TCampoLinea::interesado, 262, 279, 280},
    {"OFICIAL", "QRDBOFICIAL", TCampoLinea::oficial, 545, 133, 133},
    {"SAL.", "QRDBSALIDA", TCampoLinea::salida, 682, 17, 18},
}};

// Where the frame's edges and the rules between the columns run.
constexpr double BordeIzquierdo = 18;
constexpr double BordeDerecho = 703.5;
constexpr std::array<double, 4> Separadores{54.5, 260.5, 543.5, 678.5};
constexpr double Fino = 0.75;

constexpr double AltoCabecera = 82;
constexpr double AltoLinea = 26;
constexpr double TopeCaja = 30;
constexpr double TopeTitulos = 57;

/// A colour of the desktop, or none at all, has no meaning on paper.
QRgb ColorEnPapel(TColor color)
{
    constexpr TColor UltimoDeTres = 0x00FFFFFF;
    return color > UltimoDeTres ? report::black : qRgb(Rojo(color), Verde(color), Azul(color));
}

} // namespace

TQRAgendaDiaN::TQRAgendaDiaN(QObject *propietario, QDate fecha, dataset::DataSet &datos)
{
    QR.name = QStringLiteral("TQRAgendaDiaN");
    QR.owner = propietario;
    QR.dataSet = &datos;
    QR.documentName = QStringLiteral("Agenda ") + fecha.toString(Qt::ISODate);
    FormCreate();
    MontaPagina();
    MontaDetalle();
    QR.pageHeader.addLabel(QStringLiteral("QRLTitulo"), {21, 36, 678, 17},
                           QStringLiteral("AGENDA DEL DÍA: ") + Date_Cad(fecha),
                           {10, true, Alignment::center, false});
}

TQRAgendaDiaN::TQRAgendaDiaN(QObject *propietario, QDate fecha, dataset::DataSet &datos, QString oficial)
    : TQRAgendaDiaN(propietario, fecha, datos)
{
    m_oficial = std::move(oficial);
    m_porOficial = true;
}

void TQRAgendaDiaN::PonDeQuien(const QString &deQuien)
{
    if (!deQuien.isEmpty())
        QR.documentName += QStringLiteral(" - ") + deQuien;
}

void TQRAgendaDiaN::FormCreate()
{
    QR.printerName = Servicios().Config->GetPrnOtros();
    QR.onPreview = [](report::Report &informe) { Servicios().Rut->Visualizador(informe); };
}

void TQRAgendaDiaN::MontaPagina()
{
    QR.page = report::PageSetup::a4Portrait();
    report::Band &cabecera = QR.pageHeader;
    cabecera.name = QStringLiteral("PageHeaderBand1");
    cabecera.height = AltoCabecera;
    cabecera.addShape({BordeIzquierdo, TopeCaja, BordeDerecho - BordeIzquierdo, AltoCabecera - TopeCaja});
    cabecera.addRule(BordeIzquierdo, TopeTitulos, BordeDerecho, TopeTitulos);
    for (const double x : Separadores)
        cabecera.addRule(x, TopeTitulos, x, AltoCabecera, Fino);
    for (const TColumnaDia &columna : ColumnasDia)
        cabecera.addLabel({}, {columna.Izquierda, 61, columna.AnchoTitulo, 17}, QLatin1String(columna.Titulo),
                          {8, false, Alignment::center, false});
    // The sheet is closed under its last line, which may be the last that fits on its page.
    QR.summary.name = QStringLiteral("SummaryBand1");
    QR.summary.height = 40;
    QR.summary.opensPage = false;
    QR.summary.addRule(BordeIzquierdo, 0, BordeDerecho, 0);
    // So is each page before, or a long day would look cut off.
    QR.pageEnd.push_back({{BordeIzquierdo, 0, BordeDerecho, 0}, 1, report::black});
    QR.pageFooter.name = QStringLiteral("PageFooterBand1");
    QR.pageFooter.height = 40;
}

void TQRAgendaDiaN::MontaDetalle()
{
    report::Band &detalle = QR.detail;
    detalle.name = QStringLiteral("DetailBand1");
    detalle.height = AltoLinea;
    detalle.beforePrint = [this](report::BandPrint &banda) { DetailBand1BeforePrint(banda); };
    for (const double x : {BordeIzquierdo, BordeDerecho})
        detalle.addRule(x, 0, x, AltoLinea);
    for (const double x : Separadores)
        detalle.addRule(x, 0, x, AltoLinea, Fino);
    for (const TColumnaDia &columna : ColumnasDia)
        detalle.addField(QLatin1String(columna.Nombre), {columna.Izquierda, 4, columna.AnchoCampo, 17},
                         NombreDe(columna.Campo));
}

void TQRAgendaDiaN::DetailBand1BeforePrint(report::BandPrint &banda)
{
    const TLineaAgenda linea = TLineaAgenda::Actual(*QR.dataSet);
    if (m_porOficial && linea.Oficial.trimmed() != m_oficial) {
        banda.print = false;
        return;
    }
    const bool salida = linea.Salida.trimmed() == EstaFuera;
    const QRgb color = salida ? ColorEnPapel(goConfAgendaN->GetColorSalida()) : report::black;
    // The hour of an outing keeps its own colour, deliberately.
    for (report::DataField &campo : banda.band.fields) {
        if (campo.name != QLatin1String("QRDBHORA"))
            campo.style.color = color;
    }
}
