// Time texts, dates as clerks type them, colours and the small text routines.

#include "agenda/Color.h"
#include "agenda/HojaDia.h"
#include "agenda/HoraTexto.h"
#include "agenda/Rnumcad.h"
#include "agenda/Rut.h"
#include "agenda/Rvarias.h"
#include "dataset/DatabaseError.h"
#include "tests/support/OficinaDePrueba.h"

#include <QtCore/QStringList>

namespace
{

TEST(HoraTexto, StepsAndWraps)
{
    const struct {
        const char *hora;
        int minutos;
        const char *resultado; // null: refused
    } casos[] = {
        {"09:00", 30, "09:30"},   {"09:45", 30, "10:15"},     {"23:30", 45, "00:15"},
        {"00:10", -20, "23:50"},  {"9:05", 0, "09:05"},       {"9:5", 0, "09:00"},
        {"12:00", 1440, "12:00"}, {"10:00", -14400, "10:00"}, {"12:00", 2147483647, "14:07"},
        {"25:00", 1, nullptr},    {"24:00", 1, nullptr},      {"10:60", 1, nullptr},
        {"-1:00", 1, nullptr},    {"12", 1, nullptr},         {"", 15, "00:15"},
    };
    for (const auto &caso : casos) {
        SCOPED_TRACE(caso.hora);
        if (caso.resultado)
            EXPECT_EQ(IncrementaHora(caso.hora, caso.minutos), caso.resultado);
        else
            EXPECT_THROW(std::ignore = IncrementaHora(caso.hora, caso.minutos), dataset::EConvertError);
    }
}

TEST(HoraTexto, Compares)
{
    const QString malFormada = "FORMATO DE HORA INCORRECTO";
    const struct {
        const char *a;
        const char *b;
        int resultado;
        QString error; // empty: none
    } casos[] = {
        {"09:00", "09:00", 0, {}},
        {"09:30", "09:00", 1, {}},
        {"09:00", "10:00", -1, {}},
        {"10:00", "09:59", 1, {}},
        {"24:60", "09:00", 1, {}},
        {"x", "x", 0, {}},
        {" 9:00", "9 :  ", 0, {}},
        {"  : 1", "0:00", 1, {}},
        {"9::30", ":9:30", 0, {}},
        {"9", "09:00", 0, malFormada},
        {"09:00", "9", 0, malFormada},
        {":", "09:00", 0, malFormada},
        {"1:2:3", "09:00", 0, malFormada},
        {"25:00", "09:00", 0, malFormada},
        {"09:61", "09:00", 0, malFormada},
        {"-1:00", "09:00", 0, malFormada},
        {"", "09:00", 0, malFormada},
        {"09.30", "09:00", 0, malFormada},
        {"ab:00", "09:00", 0, "«ab» no es un número entero"},
    };
    for (const auto &caso : casos) {
        SCOPED_TRACE(std::string(caso.a) + " / " + caso.b);
        QString error;
        try {
            EXPECT_EQ(CompararHoras(caso.a, caso.b), caso.resultado);
        } catch (const dataset::EConvertError &fallo) {
            error = fallo.text();
        }
        EXPECT_EQ(error, caso.error);
    }
}

TEST(HoraTexto, TakesWhatAClerkTypes)
{
    const struct {
        const char *tecleado;
        const char *hora; // null: refused
    } casos[] = {
        {"09:30", "09:30"}, {"9:30", "09:30"},  {"9.30", "09:30"},  {"930", "09:30"},   {"0930", "09:30"},
        {"9", "09:00"},     {"9:5", "09:05"},   {" 9:30", "09:30"}, {"23:59", "23:59"}, {"24:00", nullptr},
        {"9:60", nullptr},  {"", nullptr},      {"  :  ", nullptr}, {"9:", nullptr},    {"hoy", nullptr},
        {"12345", nullptr}, {"-1:00", nullptr},
    };
    for (const auto &caso : casos) {
        SCOPED_TRACE(caso.tecleado);
        if (caso.hora)
            EXPECT_EQ(NormalizaHora(caso.tecleado), caso.hora);
        else
            EXPECT_THROW(std::ignore = NormalizaHora(caso.tecleado), dataset::EConvertError);
    }
}

TEST(Huecos, FollowTheSettings)
{
    const struct {
        int inicio, fin, intervalo;
        QStringList huecos;
    } casos[] = {
        {9, 9, 45, {"9:0", "9:45"}},
        {21, 20, 30, {}},
        {9, 10, 60, {"9:0", "10:0"}},
        {9, 11, 90, {"9:0", "10:30", "11:60"}},
        {9, 10, 40, {"9:0", "9:40", "10:20"}},
        {9, 10, 0, {"9:0"}},
        {9, 10, -5, {"9:0"}},
        {8, 9, 130, {"8:0", "9:70"}}, // the hour steps once, whatever the interval
        {8, 10, 2147483647, {"8:0", "9:2147483587", "10:2147483587"}},
    };
    for (const auto &caso : casos) {
        QStringList huecos;
        RecorreHuecos({[&] { return caso.inicio; }, [&] { return caso.fin; }, [&] { return caso.intervalo; }},
                      [&](int hora, int minuto) { huecos << QString("%1:%2").arg(hora).arg(minuto); });
        EXPECT_EQ(huecos, caso.huecos) << caso.inicio << "-" << caso.fin << "/" << caso.intervalo;
    }
    int cuantos = 0;
    RecorreHuecos({[] { return 9; }, [] { return 2000000000; }, [] { return 60; }},
                  [&](int, int) { ++cuantos; });
    EXPECT_EQ(cuantos, 91) << "a time text has room for two digits of hour";
}

TEST(VerificaFecha, TakesWhatAClerkTypes)
{
    const support::OficinaDePrueba oficina; // today is 20/11/2026
    const struct {
        const char *tecleado;
        const char *fecha; // null: refused
    } casos[] = {
        {"05/03/2024", "05/03/2024"},
        {"5/3/2024", "05/03/2024"},
        {" 5/ 3/2024", "05/03/2024"},
        {"5 /3 /2024", "05/03/2024"},
        {"05032024", "05/03/2024"},
        {"050324", "05/03/2024"},
        {"5-3-24", "05/03/2024"},
        {"5.3.24", "05/03/2024"},
        {"5 3 24", "05/03/2024"},
        {"29/02/2024", "29/02/2024"},
        {"29/02/2023", nullptr},
        {"31/02/2024", nullptr},
        {"1/1/45", "01/01/2045"},
        {"1/1/46", "01/01/1946"},
        {"1/1/00", "01/01/2000"},
        {"00/01/2024", nullptr},
        {"1/13/2024", nullptr},
        {"1/1/0000", nullptr},
        {"1/1/202", nullptr},
        {"1/1/2", nullptr},
        {"24/11/2   ", nullptr},
        {"5/  /2024", nullptr},
        {"  /  /    ", nullptr},
        {"5/3", nullptr},
        {"hoy", nullptr},
        {"5/3/2024/1", nullptr},
        {"1234567", nullptr},
        {"", nullptr},
        {"5/ 3/24  ", "05/03/2024"},
    };
    for (const auto &caso : casos) {
        SCOPED_TRACE(caso.tecleado);
        QString fecha = caso.tecleado;
        EXPECT_EQ(VerificaFecha(fecha), caso.fecha != nullptr);
        EXPECT_EQ(fecha, caso.fecha ? caso.fecha : caso.tecleado) << "a refused text stays as typed";
    }
    QString fecha = "  /  /    ";
    EXPECT_TRUE(VerificaFecha(fecha, true));
    EXPECT_EQ(fecha, "");
    fecha = "5/3";
    EXPECT_TRUE(VerificaFecha(fecha, false, true));
    EXPECT_EQ(fecha, "05/03/2026");
}

TEST(Color, GoesBothWays)
{
    const struct {
        TColor color;
        const char *texto;
    } casos[] = {
        {0x00C6C6FF, "$00C6C6FF"}, {0x000000FF, "clRed"},     {0x00FF0000, "clBlue"},
        {0x00808080, "clGray"},    {0x8000000F, "clBtnFace"}, {0x80000005, "clWindow"},
        {0x00010203, "$00010203"}, {0x000000, "clBlack"},
    };
    for (const auto &caso : casos) {
        EXPECT_EQ(ColorATexto(caso.color), caso.texto);
        EXPECT_EQ(TextoAColor(caso.texto), caso.color) << caso.texto;
        EXPECT_EQ(TextoAColor(QString(caso.texto).toLower()), caso.color) << caso.texto;
    }
    EXPECT_EQ(TextoAColor("16762623"), TColor{0xFFC6FF});
    EXPECT_EQ(TextoAColor("-2147483633"), clBtnFace);
    for (const char *malo : {"", "clRojo", "$", "$100C6C6FF", "#C6C6FF", "rojo"})
        EXPECT_FALSE(TextoAColor(malo)) << malo;
    EXPECT_EQ(Rojo(0x00C6C5FF), 0xFF);
    EXPECT_EQ(Verde(0x00C6C5FF), 0xC5);
    EXPECT_EQ(Azul(0x00C6C5FF), 0xC6);
}

TEST(Rnumcad, PadsAndCuts)
{
    EXPECT_EQ(StrCeros(7, 2), "07");
    EXPECT_EQ(StrCeros(123, 2), "123");
    EXPECT_EQ(StrCeros(-7, 3), "-07");
    EXPECT_EQ(StrCeros("ab", 4), "00ab");
    EXPECT_EQ(StrLeft("año", 2), "añ");
    EXPECT_EQ(StrRight("año", 2), "ño");
    EXPECT_EQ(StrRight("año", -1), "");
    EXPECT_EQ(Espacios("ab", 4), "ab  ");
    EXPECT_EQ(Espacios("abcdef", 4), "abcd");
    EXPECT_EQ(AlineaDecha("ab", 4), "  ab");
    EXPECT_EQ(QuitaCaracter("1/2/3", '/'), "123");
    EXPECT_EQ(Cad_Int(" 12 "), 12);
    EXPECT_EQ(Cad_Int(":5"), 0);
    EXPECT_EQ(Cad_Int("99999999999"), 0);
    EXPECT_EQ(Cad_Date("29/02/2024"), QDate(2024, 2, 29));
    EXPECT_THROW(std::ignore = Cad_Date("2024-02-29"), dataset::EConvertError);
    EXPECT_TRUE(EsUnNumero("0123"));
    EXPECT_FALSE(EsUnNumero("12a"));
    EXPECT_FALSE(EsUnNumero(QString()));
}

} // namespace
