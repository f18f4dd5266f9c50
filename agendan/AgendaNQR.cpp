#include "agendan/AgendaNQR.h"

#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/host/Servicios.h"
#include "dataset/DataSet.h"

using report::Alignment;

namespace
{

/// A column of a day: places inside the first day's block.
struct TColumnaSemana {
    const char *Titulo;
    double IzquierdaTitulo;
    double AnchoTitulo;
    double Izquierda;
    double Ancho;
    TCampoLinea Campo;
    std::array<const char *, 3> Nombre; ///< of the data fields' items
};

constexpr std::array<TColumnaSemana, 5> ColumnasSemana{{
    {"HORA", 13, 31, 12, 34, TCampoLinea::hora, {"QRDBTHORA_1", "QRDBTHora_2", "QRDBTHora_3"}},
    {"CONCEPTO",
     50,
     116,
     48,
     122,
     TCampoLinea::concepto,
     {"QRDBTConcepto_1", "QRDBTconcepto_2", "QRDBTconcepto_3"}},
    {"INTERESADO",
     175,
     116,
     174,
     119,
     TCampoLinea::interesado,
     {"QRDBTInteresado_1", "QRDBTInteresado_2", "QRDBTInteresado_3"}},
    {"OFIC.", 296, 31, 296, 31, TCampoLinea::oficial, {"QRDBTOficial_1", "QRDBTOficial_2", "QRDBTOficial_3"}},
    {"SAL.", 329, 20, 329, 20, TCampoLinea::salida, {"QRDBTSalida_1", "QRDBTSalida_2", "QRDBTSalida_3"}},
}};

constexpr double PasoDia = 341; ///< from one day's block to the next
constexpr double Borde = 10.5;  ///< left edge of the first day's block; that of the next is its right edge
constexpr std::array<double, 4> SeparadoresDia{47, 172, 294.5, 327};
constexpr double GrosorFino = 0.75;
constexpr double GrosorDoble = 2;

constexpr double AltoBanda = 156;
constexpr double TopeBloque = 104;
constexpr double BaseDias = 129;
constexpr double BaseBloque = 152;
constexpr double AltoDetalle = 27;
constexpr double ReglaDetalle = 23;

constexpr std::array<const char *, 6> NombresDeDias{"LUNES - ",  "MARTES - ",  "MIERCOLES - ",
                                                    "JUEVES - ", "VIERNES - ", "SABADO - "};

} // namespace

TQRAgendaN::TQRAgendaN(QObject *propietario, QDate lunes, dataset::DataSet &semana)
    : m_lunes(lunes)
{
    QR.name = QStringLiteral("TQRAgendaN");
    QR.owner = propietario;
    QR.dataSet = &semana;
    QR.documentName = QStringLiteral("Agenda semana ") + lunes.toString(Qt::ISODate);
    FormCreate();
    QR.page = report::PageSetup::a4Landscape();
    QR.headerOnFirstPage = false;
    QR.footerOnLastPage = true;
    MontaTitulo();
    QR.pageHeader.name = QStringLiteral("Band1");
    QR.pageHeader.beforePrint = [this](report::BandPrint &banda) { Band1BeforePrint(banda); };
    MontaBloques(QR.pageHeader, "");
    MontaDetalle();
    QR.pageFooter.name = QStringLiteral("PageFooterBand1");
    QR.pageFooter.height = 34;
}

void TQRAgendaN::PonDeQuien(const QString &deQuien)
{
    if (!deQuien.isEmpty())
        QR.documentName += QStringLiteral(" - ") + deQuien;
}

void TQRAgendaN::FormCreate()
{
    QR.printerName = Servicios().Config->GetPrnOtros();
    QR.onPreview = [](report::Report &informe) { Servicios().Rut->Visualizador(informe); };
}

void TQRAgendaN::MontaTitulo()
{
    report::Band &titulo = QR.title;
    titulo.name = QStringLiteral("QRBand1");
    titulo.beforePrint = [this](report::BandPrint &banda) { QRBand1BeforePrint(banda); };
    titulo.addShape({10.5, 36, 1023, 43});
    titulo.addShape({13.5, 39, 1017, 37}, GrosorDoble);
    titulo.addShape({16.5, 42, 1011, 31});
    MontaBloques(titulo, "Bis");
    titulo.addLabel(QStringLiteral("QRLTitulo"), {19, 46, 1006, 23},
                    QStringLiteral("SEMANA DEL ") + FechaCorta(m_lunes) + QStringLiteral(" AL ") +
                        FechaCorta(m_lunes.addDays(5)),
                    {14, true, Alignment::center, false});
}

/// Day headings, column headings and their frames, the same in the title band and the page header.
void TQRAgendaN::MontaBloques(report::Band &banda, const char *sufijo)
{
    banda.height = AltoBanda;
    for (int dia = 0; dia < Dias; ++dia) {
        const double x = dia * PasoDia;
        banda.addLabel(QStringLiteral("QRLDia%1%2").arg(dia + 1).arg(QLatin1String(sufijo)),
                       {13 + x, 108, 336, 17}, {}, {10, true, Alignment::center, false});
        for (const TColumnaSemana &columna : ColumnasSemana)
            banda.addLabel({}, {columna.IzquierdaTitulo + x, 133, columna.AnchoTitulo, 17},
                           QLatin1String(columna.Titulo), {8, true, Alignment::center, false});
        for (const double separador : SeparadoresDia)
            banda.addRule(separador + x, BaseDias, separador + x, BaseBloque, GrosorFino);
        for (const double y : {TopeBloque, BaseDias, BaseBloque})
            banda.addRule(Borde + x, y, Borde + x + PasoDia, y);
    }
    for (int borde = 0; borde <= Dias; ++borde) {
        const double x = Borde + borde * PasoDia;
        banda.addRule(x, TopeBloque - 0.5, x, BaseBloque, GrosorDoble);
    }
}

void TQRAgendaN::MontaDetalle()
{
    report::Band &detalle = QR.detail;
    detalle.name = QStringLiteral("DetailBand1");
    detalle.height = AltoDetalle;
    detalle.beforePrint = [this](report::BandPrint &banda) { DetailBand1BeforePrint(banda); };
    for (int dia = 0; dia < Dias; ++dia)
        MontaDia(detalle, dia);
    for (int borde = 0; borde <= Dias; ++borde) {
        const double x = Borde + borde * PasoDia;
        // From the rule of the line above to the line's own.
        detalle.addRule(x, ReglaDetalle - AltoDetalle, x, ReglaDetalle + 0.5, GrosorDoble);
    }
}

void TQRAgendaN::MontaDia(report::Band &detalle, int dia)
{
    const double x = dia * PasoDia;
    for (const TColumnaSemana &columna : ColumnasSemana)
        detalle.addField(QLatin1String(columna.Nombre[static_cast<std::size_t>(dia)]),
                         {columna.Izquierda + x, 4, columna.Ancho, 17},
                         NombreDe(columna.Campo) + u'_' + QString::number(dia + 1));
    detalle.addRule(Borde + x, ReglaDetalle, Borde + x + PasoDia, ReglaDetalle);
    for (const double separador : SeparadoresDia)
        detalle.addRule(separador + x, ReglaDetalle - AltoDetalle, separador + x, ReglaDetalle, GrosorFino);
}

/// Writes the days of the half-week on which the data set stands.
void TQRAgendaN::PonDias(report::Band &banda)
{
    const int primero = Semisemana() == 1 ? 0 : Dias;
    int dia = primero;
    for (report::Label &rotulo : banda.labels) {
        if (!rotulo.name.startsWith(QLatin1String("QRLDia")))
            continue;
        rotulo.text = QLatin1String(NombresDeDias[static_cast<std::size_t>(dia)]) +
                      QString::number(m_lunes.addDays(dia).day());
        ++dia;
    }
}

/// Which half of the week the data set stands on; only hooks read it, so the run cannot miss it for them.
qint64 TQRAgendaN::Semisemana() const
{
    const QString campo = QStringLiteral("SEMISEMANA");
    if (QR.dataSet->fieldIndex(campo) < 0)
        throw report::EReportError::missingField(QR.name, campo);
    return QR.dataSet->field(campo).asInteger();
}

void TQRAgendaN::QRBand1BeforePrint(report::BandPrint &banda)
{
    m_otraMitad = false; // preview and printing are runs of their own
    PonDias(banda.band);
}

void TQRAgendaN::Band1BeforePrint(report::BandPrint &banda)
{
    PonDias(banda.band);
}

void TQRAgendaN::DetailBand1BeforePrint(report::BandPrint &banda)
{
    if (m_otraMitad || Semisemana() != 2)
        return;
    banda.newPage = true;
    m_otraMitad = true;
}
