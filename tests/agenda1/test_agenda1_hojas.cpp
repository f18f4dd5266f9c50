// The printed sheets of the single-table agenda, as pages laid out from a real table.

#include "agenda1/ImpresosAgenda1.h"
#include "tests/agenda1/Unica.h"
#include "tests/support/Paginas.h"

namespace
{

using support::Dia;
using support::textoDe;

class HojasUnicaTest : public support::UnicaTest
{
protected:
    HojasUnicaTest() { informes = &hojas; }

    /// Opens the agenda of a day and lays out what it prints.
    void imprime(void (TAgenda::*informe)(), QDate fecha = Dia)
    {
        oficina.Rut.EnVisualizador = [this](report::Report &mostrado) {
            nombre = mostrado.name;
            paginas = report::layOut(mostrado);
        };
        abre(
            [&](TAgenda &motor) {
                (motor.*informe)();
                EXPECT_EQ(motor.Tabla().rowCount(), dia(fecha).size()) << "the table holds the day again";
            },
            fecha);
    }
    [[nodiscard]] QStringList textos(std::size_t pagina) const
    {
        QStringList todos;
        for (const report::TextPrimitive &uno : paginas.at(pagina).texts)
            todos << uno.text;
        return todos;
    }
    static void cabeEnSuPagina(const std::vector<report::Page> &hoja, const report::PageSetup &papel)
    {
        const QRectF area = papel.printableRect().adjusted(-1, -1, 1, 1);
        for (const report::Page &pagina : hoja) {
            for (const report::TextPrimitive &texto : pagina.texts)
                EXPECT_TRUE(area.contains(QRectF(texto.left, texto.top, texto.width, 8)))
                    << texto.text.toStdString();
            for (const report::LinePrimitive &regla : pagina.lines)
                EXPECT_TRUE(area.contains(regla.line.p1()) && area.contains(regla.line.p2()));
        }
    }

    TInformesAgenda1 hojas;
    QString nombre;
    std::vector<report::Page> paginas;
};

TEST_F(HojasUnicaTest, TheDayOfOneNotary)
{
    ajustes();
    for (int linea1 = 0; linea1 < 24; ++linea1)
        linea({Dia,
               QStringLiteral("%1:%2").arg(9 + linea1 / 2, 2, 10, QChar(u'0')).arg(linea1 % 2 ? "30" : "00"),
               QString(75, u'M'), "GARCÍA", "MARTA", linea1 == 3 ? "S" : "N"});
    imprime(&TAgenda::InformeDia);
    EXPECT_EQ(nombre, "TQRAgendaDia");
    ASSERT_EQ(paginas.size(), 1U); // a full day is one page
    cabeEnSuPagina(paginas, report::PageSetup::a4Portrait());
    EXPECT_EQ(textos(0).mid(0, 6), (QStringList{"AGENDA DEL DÍA: 16/11/2026", "HORA", "CONCEPTO",
                                                "INTERESADO", "OFICIAL", "SAL."}));
    EXPECT_EQ(textoDe(paginas[0], "10:30")->color, 0xFFFF0000U);
    EXPECT_EQ(textoDe(paginas[0], "11:00")->color, report::black);
}

TEST_F(HojasUnicaTest, TheDayOfTwoNotaries)
{
    ajustes("0920", "30", {"Ana", "Benito"});
    linea({Dia, "09:00", QStringLiteral("PODER").leftJustified(45) + "ACTA",
           QStringLiteral("GARCÍA").leftJustified(50) + "RUIZ",
           QStringLiteral("MARTA").leftJustified(8) + "LUIS", "1"});
    imprime(&TAgenda::InformeDia);
    EXPECT_EQ(nombre, "TQRAgendaDia2");
    ASSERT_EQ(paginas.size(), 1U);
    cabeEnSuPagina(paginas, report::PageSetup::a4Landscape());
    EXPECT_EQ(textos(0), (QStringList{"AGENDA DEL DÍA: 16/11/2026", "HORA", "INTERESADO", "OFICIAL",
                                      "CONCEPTO", "CONCEPTO", "OFICIAL", "INTERESADO", "09:00", "GARCÍA",
                                      "MARTA", "PODER", "RUIZ", "LUIS", "ACTA"}));
    EXPECT_EQ(textoDe(paginas[0], "GARCÍA")->color, report::black); // only "S" is red
    abre([&](TAgenda &motor) {
        linea({Dia, "10:00", "SUYA"});
        motor.InformeDia();
        EXPECT_EQ(motor.Tabla().rowCount(), 1) << "what stands in memory is printed without reading";
        EXPECT_EQ(textoDe(paginas[0], "SUYA"), nullptr);
    });
}

TEST_F(HojasUnicaTest, TheWeekThreeDaysSideBySide)
{
    ajustes();
    const QDate domingo = Dia.addDays(6);
    linea({domingo, "09:00", "Domingo"}); // its week is the one that ends the day before
    linea({Dia.addDays(-1), "09:00", "Semana anterior"});
    for (const char *const hora : {"09:00", "10:00"})
        linea({Dia, hora, QStringLiteral("Lunes") + hora});
    for (const char *const hora : {"09:00", "10:00", "11:00", "12:00"})
        linea({Dia.addDays(1), hora, QStringLiteral("Martes") + hora});
    linea({Dia.addDays(5), "09:00", "Firma"});
    imprime(&TAgenda::InformeSemanal, domingo);
    EXPECT_EQ(nombre, "TQRAgendaZen");
    ASSERT_EQ(paginas.size(), 2U); // each half begins a page
    cabeEnSuPagina(paginas, report::PageSetup::a4Landscape());
    EXPECT_EQ(textos(0).first(), "SEMANA DEL 16/11/2026 AL 21/11/2026");
    for (const char *const texto :
         {"LUNES - 16", "MARTES - 17", "MIERCOLES - 18", "Lunes10:00", "Martes12:00"})
        EXPECT_NE(textoDe(paginas[0], texto), nullptr) << texto;
    for (const char *const texto : {"JUEVES - 19", "VIERNES - 20", "SABADO - 21", "Firma"})
        EXPECT_NE(textoDe(paginas[1], texto), nullptr) << texto;
    EXPECT_EQ(textoDe(paginas[0], "Lunes09:00")->top, textoDe(paginas[0], "Martes09:00")->top);
    for (const char *const ajeno : {"Domingo", "Semana anterior"}) {
        EXPECT_EQ(textoDe(paginas[0], ajeno), nullptr);
        EXPECT_EQ(textoDe(paginas[1], ajeno), nullptr);
    }
}

TEST_F(HojasUnicaTest, AHalfOrWholeWeekWithoutLines)
{
    ajustes();
    linea({Dia.addDays(4), "09:00", "Viernes"}); // nothing from Monday to Wednesday: no empty page for it
    imprime(&TAgenda::InformeSemanal, Dia.addDays(4));
    ASSERT_EQ(paginas.size(), 1U);
    EXPECT_NE(textoDe(paginas[0], "JUEVES - 19"), nullptr);
    linea({Dia.addDays(13), "09:00", "Domingo"});
    imprime(&TAgenda::InformeSemanal, Dia.addDays(13));
    ASSERT_EQ(paginas.size(), 1U);
    EXPECT_NE(textoDe(paginas[0], "LUNES - 23"), nullptr); // headers only
    EXPECT_EQ(textoDe(paginas[0], "Domingo"), nullptr);
}

} // namespace
