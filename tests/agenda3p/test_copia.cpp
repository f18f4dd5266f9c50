#include "tests/agenda3p/Motor3P.h"

using support::Hoy;
using support::Manana;
using support::Motor3PTest;

namespace
{

class CopiaTest : public Motor3PTest
{
protected:
    CopiaTest()
        : Motor3PTest(2)
    {
    }
    /// Two booked lines of today in the first table, copied.
    void copiaDos(const char *primera = "09:00", const char *segunda = "10:30")
    {
        for (int notario = 1; notario <= 2; ++notario) {
            oficina.linea(notario, Hoy, primera, notario == 1 ? "Poder" : "Ajena", "N");
            oficina.linea(notario, Hoy, segunda, notario == 1 ? "[SALIDA]Acta" : "Ajena", "S");
        }
        for (const char *const hora : {primera, segunda}) {
            ve(hora);
            motor().Copiar();
        }
    }
};

TEST_F(CopiaTest, PastingWritesTheTargetLinesAndNoOthers)
{
    oficina.linea(1, Manana, "09:00", "Estaba", "S");
    oficina.linea(2, Manana, "09:00", "Ajena");
    oficina.linea(1, Manana, "12:00", "Queda");
    EXPECT_FALSE((copiaDos(), motor().LimpiarBufferDeCopia(), motor().HayDatosEnPortapapeles()));
    ve("09:00");
    motor().Copiar();
    ve("10:30");
    motor().Copiar();
    EXPECT_TRUE(motor().HayDatosEnPortapapeles());
    const dataset::Bookmark estaba = motor().TablaActual().bookmark();
    motor().Pegar(Manana);
    EXPECT_EQ(oficina.dia(1, Manana),
              (QStringList{"09:00 Poder N", "10:30 [SALIDA]Acta S", "12:00 Queda N"}));
    // What was missing is a slot of every table; what stood there is touched in the current one alone.
    EXPECT_EQ(oficina.dia(2, Manana), (QStringList{"09:00 Ajena N", "10:30  N"}));
    EXPECT_EQ(oficina.dia(1, Hoy), (QStringList{"09:00 Poder N", "10:30 [SALIDA]Acta S"}));
    // The day shown is the one before.
    EXPECT_EQ(motor().TablaActual().rowCount(), 2);
    EXPECT_EQ(motor().TablaActual().bookmark(), estaba);
    EXPECT_EQ(motor().Tabla(2)->rowCount(), 2);
}

TEST_F(CopiaTest, PastingAtAnHourShiftsEveryLine)
{
    const struct {
        const char *primera, *segunda, *destino;
        QStringList horas;
    } casos[] = {
        {"09:00", "11:15", "16:00", {"16:00", "18:15"}},    {"09:50", "10:55", "10:00", {"10:00", "11:05"}},
        {"09:00", "10:30", "23:30", {"23:30", "25:00"}}, // deliberate: no wrap
        {"09:00", "10:30", " 8 : 05 ", {"08:05", "09:35"}}, {"09:00", "10:30", "1600", {}},
    };
    QDate destino(2026, 12, 1);
    for (const auto &caso : casos) {
        destino = destino.addDays(1);
        copiaDos(caso.primera, caso.segunda);
        motor().PegarHora(destino, caso.destino);
        QStringList horas;
        for (const QString &linea : oficina.dia(1, destino))
            horas << linea.left(5);
        EXPECT_EQ(horas, caso.horas) << caso.destino;
        motor().LimpiarBufferDeCopia();
        const auto tabla = oficina.agenda(1);
        for (tabla->setRange({{"FECHA", Hoy}}, {{"FECHA", Hoy}}); !tabla->isEmpty();)
            tabla->remove();
        const auto otra = oficina.agenda(2);
        for (otra->setRange({{"FECHA", Hoy}}, {{"FECHA", Hoy}}); !otra->isEmpty();)
            otra->remove();
        motor().TablaActual().refresh();
    }
}

TEST_F(CopiaTest, TheLaterOfTwoRowsAtOneHourWins)
{
    copiaDos("09:00", "09:00");
    ve("09:00");
    motor().TablaActual().next();
    motor().Copiar();
    motor().Pegar(Manana);
    EXPECT_EQ(oficina.dia(1, Manana), (QStringList{"09:00 [SALIDA]Acta S"}));
}

TEST_F(CopiaTest, ALockedLineIsSkippedAndTheRestIsPasted)
{
    copiaDos();
    oficina.linea(1, Manana, "09:00", "Suya");
    const auto otro = oficina.agenda(1);
    ASSERT_TRUE(otro->locate({{"FECHA", Manana}}, dataset::SearchMode::nearest));
    otro->edit();
    motor().Pegar(Manana);
    otro->cancel();
    EXPECT_EQ(oficina.dia(1, Manana), (QStringList{"09:00 Suya N", "10:30 [SALIDA]Acta S"}));
    EXPECT_FALSE(motor().TablaActual().isEditing());
}

TEST_F(CopiaTest, CleaningLeavesTheSlotAndItsClient)
{
    oficina.linea(1, Hoy, "09:00", "Poder", "S");
    oficina.linea(2, Hoy, "09:00", "Ajena");
    {
        const auto tabla = oficina.agenda(1);
        tabla->edit();
        tabla->field(u"CODCLIENTE").setInteger(77);
        tabla->field(u"INTERESADO").setText("GARCÍA");
        tabla->post();
    }
    ve("09:00");
    oficina.Mensaje.espera({"¿Desea limpiar la cita de las 09:00 de la base de datos?", " ATENCIÓN", 0});
    motor().Limpiar(true);
    EXPECT_EQ(oficina.dia(1, Hoy), (QStringList{"09:00 Poder S"}));
    motor().Limpiar(false);
    EXPECT_EQ(oficina.dia(1, Hoy), (QStringList{"09:00  "}));
    EXPECT_EQ(valor("CODCLIENTE"), "77");
    EXPECT_EQ(valor("INTERESADO"), "");
    EXPECT_EQ(valor("AVISO"), "N");
}

} // namespace
