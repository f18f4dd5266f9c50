#include "agenda1/AgendaZenQR.h"

#include "agenda/Rnumcad.h"
#include "agenda1/TablaQR.h"
#include "dataset/DataSet.h"

#include <array>

using report::Alignment;

namespace
{

constexpr double AnchoDia = 347;
/// Places inside a day's block; the fields' names lack the digit of their day.
constexpr std::array<TColumnaQR, 5> ColumnasDelDia{{
    {"HORA", "QRDBHORA_", TCampoLinea::hora, 0, 36, Alignment::center},
    {"CONCEPTO", "QRDBCONCEPTO_", TCampoLinea::concepto, 36, 122},
    {"INTERESADO", "QRDBINTERESADO_", TCampoLinea::interesado, 158, 112},
    {"OFICIAL", "QRDBOFICIAL_", TCampoLinea::oficial, 270, 50},
    {"SAL.", "QRDBSALIDA_", TCampoLinea::salida, 320, 27, Alignment::center},
}};

constexpr double AltoTituloSemana = 34;
constexpr double AltoDia = 23;
constexpr double AltoColumnas = 19;
constexpr double AltoLineaSemana = 26; ///< two lines of text; a half-week of 24 lines fits its page
constexpr double LetraLinea = 7.5;
constexpr QRgb GrisDia = 0xFFEDEDEDU;

constexpr std::array<const char *, 6> NombresDeDia{"LUNES - ",  "MARTES - ",  "MIERCOLES - ",
                                                   "JUEVES - ", "VIERNES - ", "SABADO - "};

} // namespace

TQRAgendaZen::TQRAgendaZen(QObject *propietario, QDate lunes, dataset::DataSet &semana)
    : m_lunes(lunes)
{
    QR.page = report::PageSetup::a4Landscape();
    QR.dataSet = &semana;
    PreparaQR(QR, QStringLiteral("TQRAgendaZen"), propietario,
              QStringLiteral("Agenda semana ") + lunes.toString(Qt::ISODate));
    QR.headerOnFirstPage = false;
    MontaTitulo();
    QR.pageHeader.name = QStringLiteral("PageHeaderBand1");
    QR.pageHeader.height = AltoDia + AltoColumnas;
    QR.pageHeader.beforePrint = [this](report::BandPrint &banda) { PonDias(banda.band); };
    MontaCabecera(QR.pageHeader, 0);
    MontaDetalle();
}

void TQRAgendaZen::MontaTitulo()
{
    report::Band &titulo = QR.title;
    titulo.name = QStringLiteral("TitleBand1");
    titulo.height = AltoTituloSemana + 8 + AltoDia + AltoColumnas;
    titulo.beforePrint = [this](report::BandPrint &banda) {
        m_mitad = 0; // preview and printing are runs of their own
        PonDias(banda.band);
    };
    titulo.addShape({0, 0.5, Dias * AnchoDia, AltoTituloSemana});
    titulo.addLabel(QStringLiteral("QRLTitulo"), {0, 6, Dias * AnchoDia, 24},
                    QStringLiteral("SEMANA DEL ") + FechaCorta(m_lunes) + QStringLiteral(" AL ") +
                        FechaCorta(m_lunes.addDays(5)),
                    {13, true, Alignment::center, false});
    MontaCabecera(titulo, AltoTituloSemana + 8);
}

/// Days and column titles with their frames, the same in the title and on the pages after it.
void TQRAgendaZen::MontaCabecera(report::Band &banda, double arriba)
{
    const double columnas = arriba + AltoDia;
    const double abajo = columnas + AltoColumnas;
    banda.shapes.push_back({{0, arriba, Dias * AnchoDia, AltoDia}, 0, report::black, GrisDia});
    for (int dia = 0; dia < Dias; ++dia) {
        const double x = dia * AnchoDia;
        banda.addLabel(QStringLiteral("QRLDia%1").arg(dia + 1), {x, arriba + 4, AnchoDia, AltoDia - 4}, {},
                       {9, true, Alignment::center, false});
        PonTitulos(banda, ColumnasDelDia, columnas, AltoColumnas, x);
        PonReglas(banda, ColumnasDelDia, columnas, abajo, x);
    }
    for (int borde = 0; borde <= Dias; ++borde)
        banda.addRule(borde * AnchoDia, arriba, borde * AnchoDia, abajo, ReglaGruesa);
    for (const double y : {arriba, columnas, abajo})
        banda.addRule(0, y, Dias * AnchoDia, y);
}

void TQRAgendaZen::MontaDetalle()
{
    report::Band &detalle = QR.detail;
    detalle.name = QStringLiteral("DetailBand1");
    detalle.height = AltoLineaSemana;
    detalle.beforePrint = [this](report::BandPrint &banda) { DetailBand1BeforePrint(banda); };
    for (int dia = 0; dia < Dias; ++dia) {
        const QString digito = QString::number(dia + 1);
        const double x = dia * AnchoDia;
        for (const TColumnaQR &columna : ColumnasDelDia)
            detalle.addField(QLatin1String(columna.Nombre) + digito,
                             {x + columna.Izquierda + MargenDeCelda, 1.5, columna.Ancho - 2 * MargenDeCelda,
                              AltoLineaSemana - 2},
                             NombreDe(columna.Campo) + u'_' + digito,
                             {LetraLinea, false, columna.Alineacion, true});
        PonReglas(detalle, ColumnasDelDia, 0, AltoLineaSemana, x);
    }
    for (int borde = 0; borde <= Dias; ++borde)
        detalle.addRule(borde * AnchoDia, 0, borde * AnchoDia, AltoLineaSemana, ReglaGruesa);
    detalle.addRule(0, AltoLineaSemana, Dias * AnchoDia, AltoLineaSemana, ReglaFina);
}

void TQRAgendaZen::PonDias(report::Band &banda)
{
    const bool segunda = !QR.dataSet->isEmpty() && QR.dataSet->field(u"SEMISEMANA").asInteger() == 2;
    int dia = segunda ? Dias : 0;
    for (report::Label &rotulo : banda.labels) {
        if (!rotulo.name.startsWith(QLatin1String("QRLDia")))
            continue;
        rotulo.text = QLatin1String(NombresDeDia[static_cast<std::size_t>(dia)]) +
                      QString::number(m_lunes.addDays(dia).day());
        ++dia;
    }
}

void TQRAgendaZen::DetailBand1BeforePrint(report::BandPrint &banda)
{
    const auto mitad = static_cast<int>(QR.dataSet->field(u"SEMISEMANA").asInteger());
    banda.newPage = m_mitad != 0 && mitad != m_mitad;
    m_mitad = mitad;
}
