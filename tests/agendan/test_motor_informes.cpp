// The four reports of the engine: which lines, which rows, and the table as it was afterwards.

#include "agenda/SemanaAgenda.h"
#include "dataset/DatabaseError.h"
#include "tests/agendan/Motor.h"
#include "tests/support/InformesDePrueba.h"

namespace
{

using dataset::DataSet;
using support::InformesDePrueba;
using support::Lunes;

class Informes : public support::MotorTest
{
protected:
    TClassAgendaN &conInformes()
    {
        if (!m_motor)
            m_motor = std::make_unique<TClassAgendaN>(nullptr, nullptr, TClassAgendaN::TTablas{}, nullptr,
                                                      &informes);
        return *m_motor;
    }
    void lineas(QDate fecha, const QStringList &todas, const QString &oficial = {})
    {
        const auto tabla = oficina.agenda(1);
        for (const QString &una : todas) {
            tabla->append();
            tabla->field(u"FECHA").setDate(fecha);
            tabla->field(u"HORA").setText(una.left(5));
            tabla->field(u"CONCEPTO").setText(una.mid(6));
            tabla->field(u"OFICIAL").setText(oficial);
            tabla->post();
        }
    }
    [[nodiscard]] QString estado(TClassAgendaN &motor)
    {
        DataSet &tabla = motor.TablaActual();
        return QStringLiteral("%1 %2 %3 %4")
            .arg(tabla.rowCount())
            .arg(tabla.field(u"FECHA").asText(), tabla.field(u"HORA").asText(),
                 tabla.controlsDisabled() ? "mudos" : "oyen");
    }
    InformesDePrueba informes;

private:
    std::unique_ptr<TClassAgendaN> m_motor;
};

TEST_F(Informes, TheWeekBeginsOnItsMondayAndASundayEndsIt)
{
    const struct {
        QDate fecha;
        QDate lunes;
    } casos[] = {{{2026, 11, 16}, {2026, 11, 16}}, {{2026, 11, 17}, {2026, 11, 16}},
                 {{2026, 11, 21}, {2026, 11, 16}}, {{2026, 11, 22}, {2026, 11, 16}},
                 {{2026, 11, 23}, {2026, 11, 23}}, {{2027, 1, 2}, {2026, 12, 28}}};
    for (const auto &caso : casos)
        EXPECT_EQ(LunesDe(caso.fecha), caso.lunes) << caso.fecha.toString().toStdString();
}

TEST_F(Informes, ADaySheetIsNeverTheWholeTable)
{
    lineas(Lunes, {"09:00 l1", "10:00 l2"});
    lineas(Lunes.addDays(1), {"09:00 m1"});
    TClassAgendaN &motor = conInformes();
    ASSERT_EQ(motor.TablaActual().rowCount(), 3);
    int impresas = 0;
    informes.EnVista = [&](DataSet &datos) { impresas = datos.rowCount(); };
    motor.InformeDia(Lunes);
    EXPECT_EQ(impresas, 2);
    // Without a day to go to nothing is printed, rather than all of it.
    motor.CancelaRangoPorFecha();
    EXPECT_THROW(motor.InformeDia({}), dataset::EDatabaseError);
    EXPECT_EQ(informes.Pedidos, QStringList{"dia 16/11"});
}

TEST_F(Informes, TheWeekStandsInRowsOfThreeDays)
{
    const QString largo = QString(80, 'x');
    lineas(Lunes.addDays(-1), {"09:00 domingo antes"});
    lineas(Lunes, {"09:00 l1", "09:30 l2", "10:00 l3"});
    lineas(Lunes.addDays(1), {"09:00 m1", "09:30", "10:00 m3", "10:30 m4", "11:00 " + largo});
    lineas(Lunes.addDays(4), {"09:00 v1"});
    lineas(Lunes.addDays(5), {"09:00 s1", "09:30 s2"});
    lineas(Lunes.addDays(6), {"09:00 domingo"});
    TClassAgendaN &motor = conInformes();
    motor.RangoPorFecha(Lunes.addDays(1));
    motor.TablaActual().next();
    QString durante;
    informes.EnVista = [&](DataSet &) {
        durante = estado(motor).section(' ', 0, 0) + (motor.TablaActual().controlsDisabled() ? " mudos" : "");
    };
    motor.InformeSemana(Lunes.addDays(1));
    EXPECT_EQ(informes.Pedidos, QStringList{"semana 16/11"});
    const QStringList filas{"1,09:00,l1,09:00,m1,,",
                            "1,09:30,l2,09:30,,,",
                            "1,10:00,l3,10:00,m3,,",
                            "1,,,10:30,m4,,",
                            "1,,,11:00," + largo.left(75) + ",,",
                            "2,,,09:00,v1,09:00,s1",
                            "2,,,,,09:30,s2"};
    EXPECT_EQ(informes.Filas, filas);
    EXPECT_EQ(durante, "11 mudos");
    EXPECT_EQ(estado(motor), "5 17/11/2026 09:30 oyen");
    EXPECT_TRUE(motor.HayRangoPorFecha());
    EXPECT_EQ(informes.Vivos, 0);

    motor.InformeSemana(Lunes.addDays(14)); // nothing written there: shown all the same, without rows
    EXPECT_EQ(informes.Pedidos.last(), "semana 30/11");
    EXPECT_EQ(informes.Filas, QStringList());
    EXPECT_TRUE(motor.TablaActual().isEmpty());
    EXPECT_FALSE(motor.TablaActual().controlsDisabled());
}

TEST_F(Informes, AClerkIsAskedForCutToSixteenAndComparedAsStoredInTheWeek)
{
    lineas(Lunes, {"09:00 suya"}, "ANA");
    lineas(Lunes, {"09:30 con blanco delante"}, " ANA");
    lineas(Lunes, {"10:00 de otro"}, "ANABEL");
    lineas(Lunes, {"10:30 minúsculas"}, "Ana");
    lineas(Lunes.addDays(3), {"09:00 largo"}, "MARIA DE LOS ANG");
    lineas(Lunes.addDays(3), {"09:30 de nadie"});
    TClassAgendaN &motor = conInformes();
    motor.RangoPorFecha(Lunes);
    const struct {
        QString elegido;
        QStringList filas;
        QString dia;
    } casos[] = {
        {"  ANA ", {"1,09:00,suya,,,,"}, "dia 16/11 [ANA]"},
        {"MARIA DE LOS ANGELES", {"2,09:00,largo,,,,"}, "dia 16/11 [MARIA DE LOS ANG]"},
        {"   ", {"2,09:30,de nadie,,,,"}, "dia 16/11 []"},
    };
    for (const auto &caso : casos) {
        oficina.Rut.OficialElegido = caso.elegido;
        motor.InformeSemana_PorOficial(Lunes);
        EXPECT_EQ(informes.Filas, caso.filas) << caso.elegido.toStdString();
        motor.InformeDia_PorOficial(Lunes);
        EXPECT_EQ(informes.Pedidos.last(), caso.dia);
    }
    informes.Pedidos.clear();
    oficina.Rut.OficialElegido = QString(); // cancelled
    motor.TablaActual().last();
    motor.InformeDia_PorOficial(Lunes);
    motor.InformeSemana_PorOficial(Lunes);
    EXPECT_EQ(informes.Pedidos, QStringList());
    EXPECT_EQ(estado(motor), "4 16/11/2026 10:30 oyen");
}

TEST_F(Informes, AFailureLeavesTheDayShownAndPassesOn)
{
    lineas(Lunes, {"09:00 l1"});
    lineas(Lunes.addDays(2), {"09:00 x1", "09:30 x2"});
    TClassAgendaN &motor = conInformes();
    motor.RangoPorFecha(Lunes.addDays(2));
    informes.EnVista = [](DataSet &) { throw dataset::EDatabaseError("sin papel"); };
    EXPECT_THROW(motor.InformeSemana(Lunes.addDays(2)), dataset::EDatabaseError);
    EXPECT_EQ(estado(motor), "2 18/11/2026 09:00 oyen");
    EXPECT_THROW(motor.InformeDia(Lunes.addDays(2)), dataset::EDatabaseError);
    EXPECT_EQ(informes.Vivos, 0);
    informes.EnVista = {};
    motor.InformeSemana(Lunes.addDays(2)); // the rows of the failed one are gone
    EXPECT_EQ(informes.Filas.size(), 2);
}

TEST_F(Informes, AnEngineOnTheHostsTablesHasWeekRowsOfItsOwn)
{
    lineas(Lunes, {"09:00 l1"});
    const auto tabla = oficina.agenda(1);
    TClassAgendaN prestado(nullptr, nullptr, {tabla.get()}, nullptr, &informes);
    prestado.RangoPorFecha(Lunes);
    prestado.InformeSemana(Lunes);
    EXPECT_EQ(informes.Filas, QStringList{"1,09:00,l1,,,,"});
    EXPECT_EQ(estado(prestado), "1 16/11/2026 09:00 oyen");
}

} // namespace
