// The reports of the engine of several tables: what is printed, and every table as it was afterwards.

#include "dataset/DatabaseError.h"
#include "tests/agenda3p/Motor3P.h"
#include "tests/support/InformesDePrueba.h"

using dataset::DataSet;
using support::Hoy;
using support::Manana;

namespace
{

class Informes3PTest : public support::Motor3PTest
{
protected:
    Informes3PTest()
    {
        enTodas(Hoy, {"09:00", "10:00"});
        enTodas(Manana, {"09:00"});
        oficina.linea(2, Manana, "12:00", "Del segundo");
    }
    void daInformes(TAgenda3P &motor)
    {
        const auto filas = [this] { return informes.Filas; };
        motor.PonNotarioActual(2);
        motor.Tabla(1)->last();
        motor.Tabla(2)->last();
        // Deliberate: only the printed table leaves its day for a week.
        informes.EnVista = [&](DataSet &) { EXPECT_EQ(motor.Tabla(1)->rowCount(), 2); };
        motor.InformeDia(Hoy);
        EXPECT_EQ(filas().size(), 2);
        motor.InformeSemana(Hoy);
        EXPECT_EQ(filas(), (QStringList{"1,09:00,,09:00,,,", "1,10:00,,12:00,Del segundo,,"}));
        oficina.Rut.OficialElegido = "LUIS";
        motor.InformeSemana_PorOficial(Hoy);
        EXPECT_TRUE(filas().isEmpty());
        motor.InformeDia_PorOficial(Hoy);
        oficina.Rut.OficialElegido = QString();
        motor.InformeSemana_PorOficial(Hoy);
        motor.InformeDia_PorOficial(Hoy);
        EXPECT_EQ(informes.Pedidos,
                  (QStringList{"dia 16/11", "semana 16/11", "semana 16/11", "dia 16/11 [LUIS]"}));
        informes.EnVista = [](DataSet &) { throw dataset::EDatabaseError("rota"); };
        EXPECT_THROW(motor.InformeSemana(Hoy), dataset::EDatabaseError);
        EXPECT_EQ(informes.Vivos, 0);
        for (int notario = 1; notario <= 2; ++notario) {
            EXPECT_EQ(motor.Tabla(notario)->rowCount(), 2) << notario;
            EXPECT_EQ(motor.Tabla(notario)->currentRow(), 1) << notario;
            EXPECT_FALSE(motor.Tabla(notario)->controlsDisabled()) << notario;
        }
    }

    support::InformesDePrueba informes;
};

TEST_F(Informes3PTest, TheCurrentTableIsPrintedAndEveryTableStaysOnItsLine)
{
    TAgenda3P motor(nullptr, Hoy, {}, &informes);
    daInformes(motor);
}

TEST_F(Informes3PTest, TablesOfTheHostHaveWeekReportsToo)
{
    const auto una = oficina.agenda(1);
    const auto otra = oficina.agenda(2);
    TAgenda3P motor(nullptr, Hoy, {una.get(), otra.get()}, &informes);
    daInformes(motor);
}

} // namespace
