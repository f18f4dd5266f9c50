#include "agenda1/TablaQR.h"

#include "agenda/host/Servicios.h"
#include "dataset/DataSet.h"

#include <algorithm>

using report::Alignment;

namespace
{

constexpr double AltoCaja = 27; ///< of the title's box
constexpr double AltoTitulos = 21;
constexpr double AltoLinea = 27; ///< two lines of text; 24 of them fit a page, upright or not
constexpr double LetraTitulo = 11;
constexpr double LetraCabecera = 8;
constexpr QRgb Gris = 0xFFEDEDEDU;
constexpr QRgb RojoDeSalida = 0xFFFF0000U; // colour 255

double Derecha(const TColumnaQR &columna)
{
    return columna.Izquierda + columna.Ancho;
}

/// An outing is red, whole.
void PonColorDeSalida(report::BandPrint &banda, dataset::DataSet &datos)
{
    const bool salida = TLineaAgenda::Actual(datos).Salida.trimmed() == EstaFuera;
    for (report::DataField &campo : banda.band.fields)
        campo.style.color = salida ? RojoDeSalida : report::black;
}

void PonGruesas(report::Band &banda, std::span<const TColumnaQR> columnas,
                std::span<const std::size_t> divisorias, double arriba, double abajo)
{
    for (const std::size_t una : divisorias)
        banda.addRule(columnas[una].Izquierda, arriba, columnas[una].Izquierda, abajo, ReglaGruesa);
}

} // namespace

void PreparaQR(report::Report &informe, const QString &nombre, QObject *propietario, const QString &documento)
{
    informe.name = nombre;
    informe.owner = propietario;
    informe.documentName = documento;
    informe.printerName = Servicios().Config->GetPrnOtros();
    informe.onPreview = [](report::Report &mostrado) { Servicios().Rut->Visualizador(mostrado); };
}

void PonReglas(report::Band &banda, std::span<const TColumnaQR> columnas, double arriba, double abajo,
               double izquierda)
{
    for (std::size_t i = 1; i < columnas.size(); ++i) {
        const double x = izquierda + columnas[i].Izquierda;
        banda.addRule(x, arriba, x, abajo, ReglaFina);
    }
    for (const double x : {izquierda + columnas.front().Izquierda, izquierda + Derecha(columnas.back())})
        banda.addRule(x, arriba, x, abajo);
}

void PonTitulos(report::Band &banda, std::span<const TColumnaQR> columnas, double arriba, double alto,
                double izquierda)
{
    const double letra = LetraCabecera * report::unitsPerInch / 72 * 1.15;
    for (const TColumnaQR &columna : columnas)
        banda.addLabel({}, {izquierda + columna.Izquierda, arriba + (alto - letra) / 2, columna.Ancho, alto},
                       QString::fromUtf8(columna.Titulo), {LetraCabecera, true, Alignment::center, false});
}

void MontaHojaDia(report::Report &informe, const QString &titulo, std::span<const TColumnaQR> columnas,
                  std::span<const std::size_t> divisorias)
{
    const double izquierda = columnas.front().Izquierda;
    const double derecha = Derecha(columnas.back());
    constexpr double Fin = AltoCaja + AltoTitulos;
    report::Band &cabecera = informe.pageHeader;
    cabecera.name = QStringLiteral("PageHeaderBand1");
    cabecera.height = Fin;
    cabecera.shapes.push_back(
        {{izquierda, AltoCaja, derecha - izquierda, AltoTitulos}, 0, report::black, Gris});
    cabecera.addShape({izquierda, 0.5, derecha - izquierda, Fin - 0.5});
    cabecera.addRule(izquierda, AltoCaja, derecha, AltoCaja);
    cabecera.addLabel(QStringLiteral("QRLTitulo"), {izquierda, 5, derecha - izquierda, 20}, titulo,
                      {LetraTitulo, true, Alignment::center, false});
    PonTitulos(cabecera, columnas, AltoCaja, AltoTitulos);
    PonReglas(cabecera, columnas, AltoCaja, Fin);
    PonGruesas(cabecera, columnas, divisorias, AltoCaja, Fin);

    report::Band &detalle = informe.detail;
    detalle.name = QStringLiteral("DetailBand1");
    detalle.height = AltoLinea;
    detalle.beforePrint = [&informe](report::BandPrint &banda) { PonColorDeSalida(banda, *informe.dataSet); };
    for (const TColumnaQR &columna : columnas)
        detalle.addField(
            QLatin1String(columna.Nombre),
            {columna.Izquierda + MargenDeCelda, 1.2, columna.Ancho - 2 * MargenDeCelda, AltoLinea - 2},
            NombreDe(columna.Campo, columna.Notario), {8, false, columna.Alineacion, true});
    PonReglas(detalle, columnas, 0, AltoLinea);
    PonGruesas(detalle, columnas, divisorias, 0, AltoLinea);
    // Over each line: so the last of a page stays open, as a sheet does that goes on, and the summary closes
    // the whole.
    detalle.addRule(izquierda, 0, derecha, 0, ReglaFina);

    informe.summary.name = QStringLiteral("SummaryBand1");
    informe.summary.height = 8;
    informe.summary.opensPage = false;
    informe.summary.addRule(izquierda, 0, derecha, 0);
    informe.pageFooter.name = QStringLiteral("PageFooterBand1");
    informe.pageFooter.height = 8;
}
