// The printed sheets: every text at its place, on the list of primitives and in the PDF as another program
// reads it. Places are typed in; a band's left edge lies at 10 mm.

#include "agenda/SemanaAgenda.h"
#include "agendan/AgendaDiaNQR.h"
#include "agendan/AgendaNQR.h"
#include "agendan/ImpresosAgendaN.h"
#include "report/Error.h"
#include "report/Pdf.h"
#include "tests/agendan/Motor.h"
#include "tests/support/Paginas.h"

#include <algorithm>
#include <cmath>

namespace
{

using namespace report;
using support::Lunes;
using support::textoDe;
using support::textosEntre;

constexpr double Margen = 37.795; // 10 mm
constexpr QRgb RojoClaro = 0xFFFFC6C6U;

class Hojas : public testing::Test
{
protected:
    Hojas() { tabla = oficina.agenda(1); }

    struct TLinea {
        QString Hora;
        QString Concepto;
        QString Interesado = QString();
        QString Oficial = QString();
        QString Salida = QStringLiteral("N");
    };
    void linea(QDate fecha, const TLinea &una)
    {
        tabla->append();
        tabla->field(u"FECHA").setDate(fecha);
        tabla->field(u"HORA").setText(una.Hora);
        tabla->field(u"CONCEPTO").setText(una.Concepto);
        tabla->field(u"INTERESADO").setText(una.Interesado);
        tabla->field(u"OFICIAL").setText(una.Oficial);
        tabla->field(u"SALIDA").setText(una.Salida);
        tabla->post();
    }
    void dia(QDate fecha, int lineas, const QString &prefijo)
    {
        for (int i = 0; i < lineas; ++i)
            linea(
                fecha,
                {QStringLiteral("%1:%2").arg(9 + i / 4, 2, 10, QChar('0')).arg(i % 4 * 15, 2, 10, QChar('0')),
                 prefijo + QString::number(i + 1)});
    }
    void enSemana(const std::function<void(TQRAgendaN &)> &pasos)
    {
        dataset::MemTable semana;
        HazInformeSemana({*tabla, semana, [this] { tabla->cancelRange(); }, [](QDate) {}}, Lunes, {},
                         [&](QDate lunes) {
                             TQRAgendaN hoja(nullptr, lunes, semana);
                             pasos(hoja);
                         });
    }
    /// Where a text begins inside its band.
    static double izquierda(const Page &pagina, const QString &texto)
    {
        const TextPrimitive *const uno = textoDe(pagina, texto);
        return uno ? uno->left - Margen : -1;
    }
    static double centro(const Page &pagina, const QString &texto)
    {
        const TextPrimitive *const uno = textoDe(pagina, texto);
        return uno ? uno->left + uno->width / 2 - Margen : -1;
    }
    using TRayas = QList<std::pair<double, double>>; ///< place inside the band's area, and width
    /// The upright rules that a height is crossed by, from left to right.
    static TRayas verticales(const Page &pagina, double y)
    {
        TRayas rayas;
        for (const LinePrimitive &una : pagina.lines) {
            if (una.line.dx() == 0 && una.line.y1() < Margen + y && una.line.y2() > Margen + y)
                rayas << std::pair{redondo(una.line.x1()), una.width};
        }
        return unaVez(rayas);
    }
    /// The level rules that cross a place, from the top downwards.
    static TRayas horizontales(const Page &pagina, double x)
    {
        TRayas rayas;
        for (const LinePrimitive &una : pagina.lines) {
            if (una.line.dy() == 0 && una.line.x1() < Margen + x && una.line.x2() > Margen + x)
                rayas << std::pair{redondo(una.line.y1()), una.width};
        }
        return unaVez(rayas);
    }
    static QList<QRectF> cajas(const Page &pagina)
    {
        QList<QRectF> todas;
        for (const RectanglePrimitive &una : pagina.rectangles)
            todas << QRectF(redondo(una.box.left()), redondo(una.box.top()), una.box.width(),
                            una.box.height());
        return todas;
    }
    static double redondo(double lugar) { return std::round((lugar - Margen) * 100) / 100; }
    static TRayas unaVez(TRayas rayas)
    {
        std::sort(rayas.begin(), rayas.end());
        rayas.erase(std::unique(rayas.begin(), rayas.end()), rayas.end());
        return rayas;
    }
    static QString cabecera(const Page &pagina)
    {
        return textosEntre(pagina, Margen + 107, Margen + 120).join(", ");
    }
    support::OficinaDePrueba oficina;
    std::unique_ptr<dataset::DbfTable> tabla;
};

TEST_F(Hojas, ADaySheetStandsInItsColumns)
{
    linea(Lunes, {"09:00", "Firma de la herencia de los hermanos Muñoz Peláez y de sus primos", "Íñigo Peña",
                  "ANA RUIZ"});
    linea(Lunes, {"09:30", "[SALIDA]Juzgado", "Nadie", "LUIS", "S"});
    linea(Lunes, {"10:00", "Libre", {}, {}, {}});
    TQRAgendaDiaN hoja(nullptr, Lunes, *tabla);
    const auto paginas = layOut(hoja.QR);
    ASSERT_EQ(paginas.size(), 1U);
    const Page &pagina = paginas[0];
    EXPECT_NEAR(hoja.QR.page.paperRect().width(), 794, 0.5);
    EXPECT_NEAR(hoja.QR.page.paperRect().height(), 1123, 0.6);

    const auto *const titulo = textoDe(pagina, "AGENDA DEL DÍA: 16/11/2026");
    ASSERT_TRUE(titulo);
    EXPECT_NEAR(titulo->left + titulo->width / 2, Margen + 21 + 678.0 / 2, 0.01);
    EXPECT_NEAR(titulo->top, Margen + 36, 0.01);
    EXPECT_TRUE(titulo->bold && titulo->points == 10);
    const struct {
        QString titulo;
        double centro;
        QString dato;
        double izquierda;
    } columnas[] = {
        {"HORA", 21 + 32 / 2.0, "09:00", 21},
        {"CONCEPTO", 56 + 203 / 2.0, "Firma de la herencia de los hermanos", 56}, // one line, whole words
        {"INTERESADO", 262 + 279 / 2.0, "Íñigo Peña", 262},
        {"OFICIAL", 545 + 133 / 2.0, "ANA RUIZ", 545},
        {"SAL.", 682 + 17 / 2.0, "N", 682},
    };
    for (const auto &columna : columnas) {
        EXPECT_NEAR(centro(pagina, columna.titulo), columna.centro, 0.01) << columna.titulo.toStdString();
        EXPECT_NEAR(textoDe(pagina, columna.titulo)->top, Margen + 61, 0.01);
        EXPECT_FALSE(textoDe(pagina, columna.titulo)->bold);
        EXPECT_NEAR(izquierda(pagina, columna.dato), columna.izquierda, 0.01) << columna.dato.toStdString();
        EXPECT_NEAR(textoDe(pagina, columna.dato)->top, Margen + 82 + 4, 0.01);
    }
    // No column's text reaches the next one.
    for (const TextPrimitive &texto : pagina.texts) {
        for (const double raya : {54.5, 260.5, 543.5}) {
            if (texto.top > Margen + 80) {
                EXPECT_FALSE(texto.left < Margen + raya && texto.left + texto.width > Margen + raya)
                    << texto.text.toStdString();
            }
        }
    }
    // Outings are coloured, all but their hour.
    const QMap<QString, QRgb> colores{
        {"09:00", black},     {"ANA RUIZ", black}, {"09:30", black}, {"[SALIDA]Juzgado", RojoClaro},
        {"Nadie", RojoClaro}, {"LUIS", RojoClaro}, {"S", RojoClaro}, {"Libre", black}};
    for (auto uno = colores.begin(); uno != colores.end(); ++uno)
        EXPECT_EQ(textoDe(pagina, uno.key())->color, uno.value()) << uno.key().toStdString();
}

TEST_F(Hojas, ADaySheetByClerkTrimsTheStoredName)
{
    linea(Lunes, {"09:00", "una", {}, " ANA"});
    linea(Lunes, {"09:30", "dos", {}, "ANABEL"});
    linea(Lunes, {"10:00", "tres", {}, "ANA"});
    linea(Lunes, {"10:30", "cuatro", {}, "Ana"});
    const struct {
        QString oficial;
        QStringList conceptos;
    } casos[] = {{"ANA", {"una", "tres"}}, {"PEDRO", {}}, {"", {}}};
    for (const auto &caso : casos) {
        TQRAgendaDiaN hoja(nullptr, Lunes, *tabla, caso.oficial);
        const auto paginas = layOut(hoja.QR);
        ASSERT_EQ(paginas.size(), 1U);
        QStringList conceptos;
        for (const TextPrimitive &texto : paginas[0].texts) {
            if (qAbs(texto.left - Margen - 56) < 0.01)
                conceptos << texto.text;
        }
        EXPECT_EQ(conceptos, caso.conceptos) << caso.oficial.toStdString();
        EXPECT_TRUE(textoDe(paginas[0], "AGENDA DEL DÍA: 16/11/2026"));
    }
}

TEST_F(Hojas, ALongDayRepeatsItsHeaderAndClosesOnItsLastPage)
{
    dia(Lunes, 35, "c"); // (297 - 20) mm less header and footer hold 35 lines of 26
    TQRAgendaDiaN hoja(nullptr, Lunes, *tabla);
    EXPECT_EQ(layOut(hoja.QR).size(), 1U); // the closing rule opens no page of its own
    EXPECT_EQ(horizontales(layOut(hoja.QR)[0], 100), (TRayas{{57, 1}, {82 + 35 * 26, 1}}));
    linea(Lunes, {"23:00", "c36"});
    const auto paginas = layOut(hoja.QR);
    ASSERT_EQ(paginas.size(), 2U);
    EXPECT_TRUE(textoDe(paginas[1], "AGENDA DEL DÍA: 16/11/2026"));
    EXPECT_NEAR(textoDe(paginas[1], "c36")->top, Margen + 82 + 4, 0.01);
    for (const Page &pagina : paginas)
        EXPECT_EQ(horizontales(pagina, 100), (TRayas{{57, 1}, {82 + (pagina.number == 1 ? 35 : 1) * 26, 1}}))
            << "its frame is closed";
}

TEST_F(Hojas, RulesAndBoxesStandBetweenTheColumns)
{
    linea(Lunes, {"09:00", "una"});
    TQRAgendaDiaN hojaDia(nullptr, Lunes, *tabla);
    const Page dia = layOut(hojaDia.QR).front();
    EXPECT_EQ(cajas(dia), (QList<QRectF>{{18, 30, 685.5, 52}}));
    const TRayas columnasDia{{54.5, 0.75}, {260.5, 0.75}, {543.5, 0.75}, {678.5, 0.75}};
    EXPECT_EQ(verticales(dia, 70), columnasDia);
    EXPECT_EQ(verticales(dia, 82 + 13), TRayas({{18, 1}}) + columnasDia + TRayas({{703.5, 1}}));
    const std::pair<double, double> bordes[] = {{53, 56}, {259, 262}, {542, 545}, {678, 682}};
    for (int i = 0; i < 4; ++i) { // behind what ends a column, before what begins the next
        EXPECT_GE(columnasDia[i].first, bordes[i].first);
        EXPECT_LE(columnasDia[i].first, bordes[i].second);
    }
    EXPECT_EQ(horizontales(dia, 100), (TRayas{{57, 1}, {82 + 26, 1}}));

    linea(Lunes.addDays(3), {"09:00", "jueves"});
    enSemana([](TQRAgendaN &hoja) {
        const auto paginas = layOut(hoja.QR);
        ASSERT_EQ(paginas.size(), 2U);
        EXPECT_EQ(cajas(paginas[0]),
                  (QList<QRectF>{{10.5, 36, 1023, 43}, {13.5, 39, 1017, 37}, {16.5, 42, 1011, 31}}));
        EXPECT_EQ(paginas[0].rectangles[1].width, 2);
        EXPECT_TRUE(cajas(paginas[1]).isEmpty());
        TRayas entreDias;
        TRayas todas;
        for (int d = 0; d < 3; ++d) {
            entreDias << std::pair{10.5 + 341 * d, 2.0};
            todas << entreDias.last();
            for (const double x : {47.0, 172.0, 294.5, 327.0})
                todas << std::pair{x + 341 * d, 0.75};
        }
        entreDias << std::pair{10.5 + 341 * 3, 2.0};
        todas << entreDias.last();
        for (const Page &pagina : paginas) {
            EXPECT_EQ(verticales(pagina, 116), entreDias) << "names of the days";
            EXPECT_EQ(verticales(pagina, 140), todas) << "headings";
            EXPECT_EQ(verticales(pagina, 156 + 10), todas) << "lines";
            for (const double x : {100.0, 441.0, 782.0})
                EXPECT_EQ(horizontales(pagina, x), (TRayas{{104, 1}, {129, 1}, {152, 1}, {156 + 23, 1}}));
        }
    });
}

TEST_F(Hojas, ADaySheetTakesOnlyColoursThatPaperHas)
{
    linea(Lunes, {"09:00", "fuera", {}, {}, "S"});
    const struct {
        const char *texto;
        QRgb color;
    } casos[] = {
        {"$00123456", 0xFF563412U}, {"clNone", black}, {"clBtnFace", black}, {"clMaroon", 0xFF800000U}};
    for (const auto &caso : casos) {
        const auto color = TextoAColor(caso.texto);
        ASSERT_TRUE(color) << caso.texto;
        goConfAgendaN->SetColorSalida(*color);
        TQRAgendaDiaN hoja(nullptr, Lunes, *tabla);
        EXPECT_EQ(textoDe(layOut(hoja.QR).front(), "fuera")->color, caso.color) << caso.texto;
    }
}

// The way of the office: the engine, the layouts that it is given, the printer of the settings, the viewer.
TEST_F(Hojas, TheEngineShowsTheSheetsThatItIsAskedFor)
{
    linea(Lunes, {"09:00", "de Ana", {}, "ANA"});
    linea(Lunes, {"09:30", "de Luis", {}, "LUIS"});
    oficina.Config.Cuantos = 1;
    oficina.Config.PrnOtros = "Impresora de la entrada";
    TInformesAgendaN informes;
    TClassAgendaN motor(nullptr, nullptr, TClassAgendaN::TTablas{}, nullptr, &informes);
    motor.SincronizarTablasAFecha(Lunes, true);
    linea(Lunes, {"10:00", "de ahora", {}, "ANA"}); // from another workstation
    QString documento;
    QStringList conceptos;
    oficina.Rut.EnVisualizador = [&](Report &informe) {
        documento = informe.documentName;
        EXPECT_EQ(informe.printerName, "Impresora de la entrada");
        conceptos.clear();
        for (const Page &pagina : layOut(informe)) {
            for (const TextPrimitive &texto : pagina.texts) {
                if (texto.text.startsWith("de "))
                    conceptos << texto.text;
            }
        }
    };
    oficina.Rut.OficialElegido = "ANA";
    const struct {
        void (TClassAgendaN::*informe)(QDate);
        QString documento;
        QStringList conceptos;
    } casos[] = {
        {&TClassAgendaN::InformeDia, "Agenda 2026-11-16 - Ana Núñez", {"de Ana", "de Luis", "de ahora"}},
        {&TClassAgendaN::InformeDia_PorOficial,
         "Agenda 2026-11-16 - Ana Núñez - ANA",
         {"de Ana", "de ahora"}},
        {&TClassAgendaN::InformeSemana,
         "Agenda semana 2026-11-16 - Ana Núñez",
         {"de Ana", "de Luis", "de ahora"}},
        {&TClassAgendaN::InformeSemana_PorOficial,
         "Agenda semana 2026-11-16 - Ana Núñez - ANA",
         {"de Ana", "de ahora"}},
    };
    for (const auto &caso : casos) {
        (motor.*caso.informe)(Lunes);
        EXPECT_EQ(documento, caso.documento);
        EXPECT_EQ(conceptos, caso.conceptos) << caso.documento.toStdString();
    }
}

TEST_F(Hojas, AWeekStandsInItsFifteenColumns)
{
    for (int d = 0; d < 3; ++d)
        linea(Lunes.addDays(d),
              {QStringLiteral("0%1:00").arg(d + 1), "c" + QString::number(d + 1),
               "i" + QString::number(d + 1), "o" + QString::number(d + 1), QString(QChar('W' + d))});
    linea(Lunes.addDays(3), {"09:00", "jueves", {}, "BARTOLOME GARCIA"});
    enSemana([](TQRAgendaN &hoja) {
        const auto paginas = layOut(hoja.QR);
        ASSERT_EQ(paginas.size(), 2U);
        const Page &pagina = paginas[0];
        EXPECT_NEAR(hoja.QR.page.paperRect().width(), 1123, 0.6);
        const auto *const titulo = textoDe(pagina, "SEMANA DEL 16/11/2026 AL 21/11/2026");
        ASSERT_TRUE(titulo);
        EXPECT_NEAR(titulo->left + titulo->width / 2, Margen + 19 + 1006 / 2.0, 0.01);
        EXPECT_NEAR(titulo->top, Margen + 46, 0.01);
        EXPECT_TRUE(titulo->bold && titulo->points == 14);
        const QStringList dias{"LUNES - 16", "MARTES - 17", "MIERCOLES - 18"};
        const double izquierdas[] = {13, 354, 695};
        for (int d = 0; d < 3; ++d) {
            EXPECT_NEAR(centro(pagina, dias[d]), izquierdas[d] + 336 / 2.0, 0.01);
            EXPECT_NEAR(textoDe(pagina, dias[d])->top, Margen + 108, 0.01);
            const QString n = QString::number(d + 1);
            const std::pair<QString, double> datos[] = {{"0" + n + ":00", 12},
                                                        {"c" + n, 48},
                                                        {"i" + n, 174},
                                                        {"o" + n, 296},
                                                        {QString(QChar('W' + d)), 329}};
            for (const auto &[texto, x] : datos) {
                EXPECT_NEAR(izquierda(pagina, texto), x + 341 * d, 0.01) << texto.toStdString();
                EXPECT_NEAR(textoDe(pagina, texto)->top, Margen + 156 + 4, 0.01);
            }
        }
        // The fifteen headings, three times the five.
        const std::pair<QString, double> titulos[] = {{"HORA", 13 + 31 / 2.0},
                                                      {"CONCEPTO", 50 + 116 / 2.0},
                                                      {"INTERESADO", 175 + 116 / 2.0},
                                                      {"OFIC.", 296 + 31 / 2.0},
                                                      {"SAL.", 329 + 20 / 2.0}};
        for (const auto &[texto, x] : titulos) {
            int d = 0;
            for (const TextPrimitive &uno : pagina.texts) {
                if (uno.text == texto) {
                    EXPECT_NEAR(uno.left + uno.width / 2 - Margen, x + 341 * d++, 0.01)
                        << texto.toStdString();
                }
            }
            EXPECT_EQ(d, 3);
        }
        // Of the clerk only the beginning: the column is 31 wide.
        const TextPrimitive *oficial = nullptr;
        for (const TextPrimitive &uno : paginas[1].texts) {
            if (uno.text.startsWith("BAR"))
                oficial = &uno;
        }
        ASSERT_TRUE(oficial);
        EXPECT_LE(oficial->width, 31);
        EXPECT_LT(oficial->text.size(), 6);
    });
}

TEST_F(Hojas, ThursdayBeginsAPageInEveryRun)
{
    // A title page holds 19 rows, as do the others.
    const struct {
        const char *que;
        int lineas[6];
        QStringList cabeceras; ///< a page each
        QStringList primeras;  ///< subject of the first row
    } casos[] = {
        {"both halves short",
         {2, 1, 0, 1, 0, 0},
         {"LUNES - 16, MARTES - 17, MIERCOLES - 18", "JUEVES - 19, VIERNES - 20, SABADO - 21"},
         {"a1", "d1"}},
        {"first half of three pages",
         {0, 45, 0, 0, 20, 0},
         {"LUNES - 16, MARTES - 17, MIERCOLES - 18", "LUNES - 16, MARTES - 17, MIERCOLES - 18",
          "LUNES - 16, MARTES - 17, MIERCOLES - 18", "JUEVES - 19, VIERNES - 20, SABADO - 21",
          "JUEVES - 19, VIERNES - 20, SABADO - 21"},
         {"b1", "b20", "b39", "e1", "e20"}},
        {"first half of just a page",
         {19, 0, 0, 0, 0, 1},
         {"LUNES - 16, MARTES - 17, MIERCOLES - 18", "JUEVES - 19, VIERNES - 20, SABADO - 21"},
         {"a1", "f1"}},
        {"empty first half",
         {0, 0, 0, 0, 1, 0},
         {"JUEVES - 19, VIERNES - 20, SABADO - 21", "JUEVES - 19, VIERNES - 20, SABADO - 21"},
         {"", "e1"}},
        {"empty week", {0, 0, 0, 0, 0, 0}, {"JUEVES - 19, VIERNES - 20, SABADO - 21"}, {""}},
    };
    for (const auto &caso : casos) {
        tabla->cancelRange();
        while (!tabla->isEmpty())
            tabla->remove();
        for (int d = 0; d < 6; ++d)
            dia(Lunes.addDays(d), caso.lineas[d], QString(QChar('a' + d)));
        enSemana([&](TQRAgendaN &hoja) {
            for (int vez = 0; vez < 2; ++vez) { // preview and printing
                QStringList cabeceras;
                QStringList primeras;
                for (const Page &pagina : layOut(hoja.QR)) {
                    cabeceras << cabecera(pagina);
                    primeras << textosEntre(pagina, Margen + 158, Margen + 165).value(1);
                    EXPECT_EQ(textoDe(pagina, "SEMANA DEL 16/11/2026 AL 21/11/2026") != nullptr,
                              pagina.number == 1);
                }
                EXPECT_EQ(cabeceras, caso.cabeceras) << caso.que;
                EXPECT_EQ(primeras, caso.primeras) << caso.que;
            }
        });
    }
}

TEST_F(Hojas, AnotherProgramReadsThePdfAtTheSamePlaces)
{
    if (!support::hayLectorDePdf())
        GTEST_SKIP() << "pdftotext (poppler-utils) is not installed";
    const support::TempFolder carpeta;
    const QString fichero = QString::fromStdString((carpeta.path() / "hoja.pdf").string());
    const auto palabra = [&](const std::vector<support::PalabraPdf> &todas, int pagina,
                             const QString &texto) {
        for (const auto &una : todas) {
            if (una.pagina == pagina && una.texto == texto)
                return una;
        }
        ADD_FAILURE() << texto.toStdString() << " is not on page " << pagina;
        return support::PalabraPdf{};
    };
    linea(Lunes, {"09:00", "Cancelación", "Muñoz", "ANA"});
    linea(Lunes.addDays(4), {"09:00", "viernes"});
    tabla->setRange({{"FECHA", Lunes}}, {{"FECHA", Lunes}});
    TQRAgendaDiaN hojaDia(nullptr, Lunes, *tabla);
    ASSERT_TRUE(writePdf(hojaDia.QR, fichero));
    auto palabras = support::palabrasDePdf(fichero);
    constexpr double Cerca = 0.07; // 0.05 points
    EXPECT_NEAR(palabra(palabras, 1, "09:00").izquierda, Margen + 21, Cerca);
    EXPECT_NEAR(palabra(palabras, 1, "Cancelación").izquierda, Margen + 56, Cerca);
    EXPECT_NEAR(palabra(palabras, 1, "Muñoz").izquierda, Margen + 262, Cerca);
    EXPECT_NEAR(palabra(palabras, 1, "ANA").izquierda, Margen + 545, Cerca);
    EXPECT_NEAR(palabra(palabras, 1, "N").izquierda, Margen + 682, Cerca);
    EXPECT_NEAR(palabra(palabras, 1, "Muñoz").arriba, Margen + 86, Cerca);
    const auto concepto = palabra(palabras, 1, "CONCEPTO");
    EXPECT_NEAR((concepto.izquierda + concepto.derecha) / 2, Margen + 56 + 203 / 2.0,
                2 * Cerca); // widths in a PDF are rounded
    enSemana([&](TQRAgendaN &hoja) { ASSERT_TRUE(writePdf(hoja.QR, fichero)); });
    palabras = support::palabrasDePdf(fichero);
    EXPECT_NEAR(palabra(palabras, 1, "Cancelación").izquierda, Margen + 48, Cerca);
    EXPECT_NEAR(palabra(palabras, 1, "Cancelación").arriba, Margen + 160, Cerca);
    EXPECT_NEAR(palabra(palabras, 2, "viernes").izquierda, Margen + 48 + 341, Cerca);
    EXPECT_NEAR(palabra(palabras, 2, "VIERNES").arriba, Margen + 108, Cerca);
}

TEST_F(Hojas, DataWithoutTheirFieldsAreRefused)
{
    dataset::MemTable otra;
    otra.create({{"HORA", dataset::FieldKind::text, 5}, {"CONCEPTO", dataset::FieldKind::text, 20}});
    TQRAgendaDiaN hoja(nullptr, Lunes, otra);
    try {
        static_cast<void>(layOut(hoja.QR));
        ADD_FAILURE() << "nothing thrown";
    } catch (const EReportError &error) {
        EXPECT_EQ(error.layout(), "TQRAgendaDiaN");
        EXPECT_EQ(error.field(), "INTERESADO");
    }
    auto campos = CamposAgendaSemanal();
    campos.removeIf([](const dataset::FieldInfo &campo) { return campo.name == "SEMISEMANA"; });
    dataset::MemTable sinMitades;
    sinMitades.create(campos);
    TQRAgendaN semana(nullptr, Lunes, sinMitades);
    try {
        static_cast<void>(layOut(semana.QR));
        ADD_FAILURE() << "nothing thrown";
    } catch (const EReportError &error) {
        EXPECT_EQ(error.layout(), "TQRAgendaN");
        EXPECT_EQ(error.field(), "SEMISEMANA");
    }
}

} // namespace
