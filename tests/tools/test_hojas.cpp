// The verbs that print: what is on the sheet, whose colour, and what they refuse.

#include "tests/support/Paginas.h"
#include "tests/support/TempFolder.h"
#include "tools/agendatool/Run.h"

#include <algorithm>
#include <sstream>
#include <tuple>
#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace
{

using agendatool::exitDone;
using agendatool::exitFailed;
using agendatool::exitUsage;

class Hojas : public testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(carpeta);
        ASSERT_EQ(orden({"create", carpeta.string(), "AGENDA_N"}), exitDone) << err;
        support::writeFile(temp.path() / "lineas.csv", "FECHA,HORA,CONCEPTO,INTERESADO,OFICIAL,SALIDA\r\n"
                                                       "2026-11-16,09:00,Donación,Muñoz,ANA,N\r\n"
                                                       "2026-11-16,09:30,Poder,Ruiz,LUIS,N\r\n"
                                                       "2026-11-19,10:00,Acta,Saá,ANA,N\r\n");
        ASSERT_EQ(orden({"import", carpeta.string(), "AGENDA_N", (temp.path() / "lineas.csv").string()}),
                  exitDone)
            << err;
    }
    int orden(const std::vector<std::string> &palabras)
    {
        std::ostringstream dicho;
        std::ostringstream quejas;
        const int codigo = agendatool::run(palabras, dicho, quejas, {}, std::chrono::milliseconds(30));
        out = dicho.str();
        err = quejas.str();
        return codigo;
    }
    int hoja(const std::string &verbo, const std::string &fecha, const std::vector<std::string> &mas = {})
    {
        std::vector<std::string> todas{verbo, carpeta.string(), "agenda_n", fecha, pdf.string()};
        todas.insert(todas.end(), mas.begin(), mas.end());
        return orden(todas);
    }
    /// Page and word of what stands on the sheet, without its headings and marks.
    [[nodiscard]] QString escrito() const
    {
        static const QStringList rotulos{"HORA", "CONCEPTO", "INTERESADO", "OFICIAL", "OFIC.", "SAL.", "-",
                                         "N",    "AGENDA",   "SEMANA",     "DEL",     "DÍA:",  "AL"};
        auto todas = support::palabrasDePdf(QString::fromStdString(pdf.string()));
        std::sort(todas.begin(), todas.end(), [](const auto &una, const auto &otra) {
            return std::tuple(una.pagina, qRound(una.arriba), una.izquierda) <
                   std::tuple(otra.pagina, qRound(otra.arriba), otra.izquierda);
        });
        QStringList palabras;
        for (const support::PalabraPdf &una : todas) {
            if (!rotulos.contains(una.texto))
                palabras << QString::number(una.pagina) + una.texto;
        }
        return palabras.join(' ');
    }
    support::TempFolder temp;
    std::filesystem::path carpeta = temp.path() / "datos";
    std::filesystem::path pdf = temp.path() / "hoja.pdf";
    std::string out;
    std::string err;
};

TEST_F(Hojas, ADayAndAWeekForAllOrForOneClerk)
{
    const struct {
        std::string verbo;
        std::string fecha;
        std::vector<std::string> mas;
        QString escrito;
    } casos[] = {
        {"dia", "2026-11-16", {}, "116/11/2026 109:00 1Donación 1Muñoz 1ANA 109:30 1Poder 1Ruiz 1LUIS"},
        {"dia", "2026-11-16", {"--oficial", " LUIS "}, "116/11/2026 109:30 1Poder 1Ruiz 1LUIS"},
        {"dia", "2026-11-17", {}, "117/11/2026"},
        {"semana",
         "2026-11-22", // a Sunday
         {"--oficial", "ANA"},
         "116/11/26 121/11/26 1LUNES 116 1MARTES 117 1MIERCOLES 118 109:00 1Donación 1Muñoz 1ANA "
         "2JUEVES 219 2VIERNES 220 2SABADO 221 210:00 2Acta 2Saá 2ANA"},
    };
    for (const auto &caso : casos) {
        std::filesystem::remove(pdf);
        EXPECT_EQ(hoja(caso.verbo, caso.fecha, caso.mas), exitDone) << err;
        EXPECT_EQ(out, "Escrito " + pdf.string() + "\n");
        EXPECT_EQ(support::readFile(pdf).substr(0, 5), "%PDF-");
        if (support::hayLectorDePdf()) {
            EXPECT_EQ(escrito().toStdString(), caso.escrito.toStdString());
        }
    }
}

TEST_F(Hojas, TheLastWeekOfAllAndAPdfThatLeadsElsewhere)
{
    support::writeFile(temp.path() / "ultima.csv", "FECHA,HORA,CONCEPTO\r\n9999-12-31,09:00,Final\r\n");
    ASSERT_EQ(orden({"import", carpeta.string(), "AGENDA_N", (temp.path() / "ultima.csv").string()}),
              exitDone)
        << err;
    EXPECT_EQ(hoja("semana", "9999-12-31"), exitDone) << err;
    if (support::hayLectorDePdf()) {
        EXPECT_TRUE(escrito().contains("Final")) << escrito().toStdString();
    }
    std::filesystem::remove(pdf);
    support::writeFile(temp.path() / "ajeno", "de otro");
    std::filesystem::create_symlink(temp.path() / "ajeno", pdf);
    EXPECT_EQ(hoja("dia", "2026-11-16"), exitFailed);
    EXPECT_NE(err.find("es un enlace a otro fichero"), std::string::npos) << err;
    EXPECT_EQ(support::readFile(temp.path() / "ajeno"), "de otro");
}

#if !defined(_WIN32)
// What has a table's lines in it is never more open than the table, from its first byte on.
TEST_F(Hojas, ACopyIsNotMoreOpenThanItsTable)
{
    using std::filesystem::perms;
    const auto copias = temp.path() / "copias";
    const struct {
        unsigned tabla, mascara, copia;
    } casos[] = {{0600, 0, 0600}, {0660, 0, 0600},   {0640, 022, 0600},
                 {0644, 0, 0644}, {0666, 022, 0644}, {0666, 077, 0600}};
    for (const auto &caso : casos) {
        std::filesystem::permissions(carpeta / "AGENDA_N.DBF", perms(caso.tabla));
        std::filesystem::remove_all(copias);
        std::filesystem::create_directories(copias);
        const std::string aqui = carpeta.string();
        const mode_t antes = ::umask(static_cast<mode_t>(caso.mascara));
        EXPECT_EQ(orden({"dia", aqui, "AGENDA_N", "2026-11-16", (copias / "hoja.pdf").string()}), exitDone)
            << err;
        EXPECT_EQ(orden({"semana", aqui, "AGENDA_N", "2026-11-16", (copias / "semana.pdf").string()}),
                  exitDone)
            << err;
        EXPECT_EQ(orden({"export", aqui, "AGENDA_N", (copias / "lineas.csv").string()}), exitDone) << err;
        EXPECT_EQ(orden({"backup", aqui, "AGENDA_N", copias.string()}), exitDone) << err;
        ::umask(antes);
        int cuantas = 0;
        for (const auto &una : std::filesystem::directory_iterator(copias)) {
            EXPECT_EQ(una.status().permissions(), perms(caso.copia)) << una.path() << std::oct << caso.tabla;
            ++cuantas;
        }
        EXPECT_EQ(cuantas, 4);
    }
}
#endif

TEST_F(Hojas, WhatCannotBePrintedIsRefused)
{
    const std::string aqui = carpeta.string();
    EXPECT_EQ(hoja("dia", "2026-11-31"), exitUsage);
    EXPECT_EQ(hoja("dia", "2026-11-30", {"--oficial"}), exitUsage);
    EXPECT_EQ(hoja("semana", "2026-11-30", {"--from", "2026-11-30"}), exitUsage);
    EXPECT_EQ(orden({"dia", aqui, "AGENDA_N", "2026-11-16"}), exitUsage);
    EXPECT_EQ(orden({"dump", aqui, "AGENDA_N", "--oficial", "ANA"}), exitUsage);
    EXPECT_EQ(orden({"dia", aqui, "AGENDA_N", "2026-11-16", aqui + "/AGENDA_N.DBF"}), exitUsage);
    EXPECT_EQ(orden({"semana", aqui, "OTRA", "2026-11-16", pdf.string()}), exitFailed);
    EXPECT_EQ(orden({"dia", aqui, "AGENDA_N", "2026-11-16", aqui + "/no/hay.pdf"}), exitFailed);
    EXPECT_EQ(err, "agendatool: No se puede escribir el fichero «" + aqui +
                       "/no/hay.pdf»: la carpeta no existe.\n");
    EXPECT_FALSE(std::filesystem::exists(pdf));
    EXPECT_EQ(orden({"check", aqui, "AGENDA_N"}), exitDone) << "the table is as it was";
}

} // namespace
