#include "tests/agenda3p/Motor3P.h"

#include <functional>

using support::Hoy;
using support::Manana;
using support::Motor3PTest;

namespace
{
const QString Pregunta = QStringLiteral("¿Desea añadir una hoja a día de 16/11/2026 (S/N)?");
const QString Explica = QStringLiteral("No hay datos a fecha de 16/11/2026");

TEST_F(Motor3PTest, ANewDayIsAskedForAndBuiltInEveryTable)
{
    oficina.ponAjustes(9, 10, 30);
    oficina.Mensaje.espera({Pregunta, "Agenda", 1, Explica, support::TCaja::siNo});
    EXPECT_EQ(motor().NumNotarios(), 3);
    for (int notario = 1; notario <= 3; ++notario)
        EXPECT_EQ(oficina.dia(notario, Hoy), (QStringList{"09:00  N", "09:30  N", "10:00  N", "10:30  N"}));
}

TEST_F(Motor3PTest, ADeclinedSheetWritesNothing)
{
    oficina.Mensaje.espera({Pregunta, "Agenda", 0, Explica, support::TCaja::siNo});
    EXPECT_TRUE(motor().TablaActual().isEmpty());
    EXPECT_TRUE(oficina.dia(1, Hoy).isEmpty());
}

TEST_F(Motor3PTest, ASlotIsOneOfAllTables)
{
    enTodas(Hoy, {"09:00", "11:00"});
    enTodas(Manana, {"09:00"});
    EXPECT_TRUE(motor().Anadir(Hoy, "10:00"));
    for (int notario = 1; notario <= 3; ++notario) {
        EXPECT_EQ(oficina.dia(notario, Hoy).size(), 3) << notario;
        EXPECT_EQ(motor().Tabla(notario)->field(u"HORA").asText(), "10:00") << notario;
    }
    oficina.Mensaje.espera(
        {"¿Desea borrar la cita de las 10:00 de todas las agendas?\nLos datos se perderán.", " ATENCIÓN", 0});
    EXPECT_FALSE(motor().Borrar(true));
    EXPECT_TRUE(motor().Borrar(false));
    for (int notario = 1; notario <= 3; ++notario)
        EXPECT_EQ(oficina.dia(notario, Hoy), (QStringList{"09:00  N", "11:00  N"})) << notario;
    // A line that stands elsewhere in another table stays.
    ve("09:00");
    motor().Tabla(2)->last();
    motor().Tabla(3)->first();
    EXPECT_TRUE(motor().Borrar(false));
    EXPECT_EQ(oficina.dia(1, Hoy).size(), 1);
    EXPECT_EQ(oficina.dia(2, Hoy).size(), 2);
    EXPECT_EQ(oficina.dia(3, Hoy).size(), 1);
    EXPECT_EQ(oficina.dia(2, Manana).size(), 1);
}

// The current line gives the hour, so one that is on no screen deletes nothing in the other tables either.
TEST_F(Motor3PTest, ALineOfAnotherDayIsNeitherDeletedNorCleared)
{
    enTodas(Hoy, {"09:00"});
    oficina.linea(1, Manana, "09:00", "Firma");
    dataset::DataSet &tabla = *motor().Tabla(1);
    const auto otra = oficina.agenda(1);
    ASSERT_TRUE(otra->locate({{"FECHA", Manana}}, dataset::SearchMode::nearest));
    ASSERT_TRUE(tabla.goToBookmark(otra->bookmark()));
    for (const TRespuesta &respuesta : {motor().Borrar(false), motor().Limpiar(false)}) {
        EXPECT_FALSE(respuesta);
        EXPECT_EQ(respuesta.Causa(), LineaDeOtroDia);
    }
    EXPECT_EQ(oficina.dia(1, Manana), QStringList{"09:00 Firma N"});
    EXPECT_EQ(oficina.dia(2, Hoy).size(), 1);
}

TEST_F(Motor3PTest, ALockedTableLosesItsSlotAloneAndTheOthersStand)
{
    enTodas(Hoy, {"09:00"});
    motor();
    const auto otro = oficina.agenda(2);
    otro->first();
    otro->edit();
    EXPECT_TRUE(motor().Borrar(false));
    EXPECT_TRUE(oficina.dia(1, Hoy).isEmpty());
    EXPECT_EQ(oficina.dia(2, Hoy).size(), 1);
    EXPECT_TRUE(oficina.dia(3, Hoy).isEmpty());
    otro->cancel();
}

TEST_F(Motor3PTest, TheMarksAreToggles)
{
    const struct {
        const char *concepto;
        const char *salida;
        const char *trasSalida;
        const char *trasAusente;
    } casos[] = {
        {"Poder", "N", "[SALIDA]Poder S", "[AUSENTE]Poder S"},
        {"[SALIDA]Poder", "S", "Poder N", "[AUSENTE]Poder S"},
        {"[AUSENTE]Poder", "S", "[SALIDA]Poder S", "Poder N"},
        {"Acta [SALIDA]fuera", "S", "Acta fuera N", "[AUSENTE]Acta fuera S"},
        {"Sin marca", "S", "Sin marca S", "Sin marca S"},
        {"", "", "[SALIDA] S", "[AUSENTE] S"},
    };
    int hora = 9;
    for (const auto &caso : casos) {
        for (int notario = 1; notario <= 3; ++notario)
            oficina.linea(notario, Hoy, QStringLiteral("%1:00").arg(hora, 2, 10, QLatin1Char('0')),
                          caso.concepto, caso.salida);
        ++hora;
    }
    motor().PonNotarioActual(2);
    EXPECT_TRUE(motor().Ausente());
    hora = 9;
    motor().PonNotarioActual(1);
    for (const auto &caso : casos) {
        const QString texto = QStringLiteral("%1:00").arg(hora++, 2, 10, QLatin1Char('0'));
        ve(texto);
        EXPECT_TRUE(motor().Salida());
        EXPECT_TRUE(oficina.dia(1, Hoy).contains(texto + u' ' + caso.trasSalida)) << caso.concepto;
        EXPECT_TRUE(oficina.dia(2, Hoy).contains(texto + u' ' + caso.trasAusente)) << caso.concepto;
    }
    EXPECT_EQ(oficina.dia(3, Hoy).at(1), "10:00 [SALIDA]Poder S");
}

TEST_F(Motor3PTest, ASubjectThatIsTooLongWithTheMarkIsToldWithItsLostEnd)
{
    enTodas(Hoy, {"08:00"});
    oficina.linea(1, Hoy, "09:00", QString(245, QLatin1Char('x')) + "final");
    ve("09:00");
    const struct {
        std::function<TRespuesta()> marca;
        QString perdido;
    } casos[] = {{[this] { return motor().Salida(); }, "«inal»"},
                 {[this] { return motor().Ausente(); }, "«f»"}};
    for (const auto &caso : casos) {
        const TRespuesta respuesta = caso.marca();
        EXPECT_TRUE(respuesta);
        EXPECT_TRUE(respuesta.Causa().contains(caso.perdido)) << respuesta.Causa().toStdString();
        EXPECT_EQ(valor("CONCEPTO").size(), 254);
    }
    EXPECT_EQ(valor("HORA"), "09:00") << "it goes back to its line";
    EXPECT_TRUE(motor().Ausente().Causa().isEmpty()) << "what fits is not told";
}

// The mark is for a day: a table that shows the whole of itself is left alone.
TEST_F(Motor3PTest, AbsenceWithoutADayMarksNothing)
{
    enTodas(Hoy, {"09:00"});
    enTodas(Manana, {"09:00"});
    motor().CancelaRangoPorFecha();
    const TRespuesta marcada = motor().Ausente();
    EXPECT_FALSE(marcada);
    EXPECT_FALSE(marcada.Causa().isEmpty());
    EXPECT_EQ(oficina.dia(1, Hoy), QStringList{"09:00  N"});
    EXPECT_EQ(oficina.dia(1, Manana), QStringList{"09:00  N"});
}

TEST_F(Motor3PTest, AbsenceMarksTheLinesThatWereSeen)
{
    enTodas(Hoy, {"09:00", "10:00"});
    motor();
    const auto otro = oficina.agenda(1);
    otro->last();
    otro->edit();
    otro->field(u"CONCEPTO").setText("De otro");
    otro->post();
    oficina.linea(1, Hoy, "09:30", "Boda");
    const TRespuesta marcada = motor().Ausente();
    EXPECT_TRUE(marcada);
    EXPECT_EQ(marcada.Causa(), "10:00: Otro puesto ha cambiado la línea mientras tanto\n"
                               "09:30: Otro puesto la ha añadido mientras tanto.");
    EXPECT_EQ(oficina.dia(1, Hoy), (QStringList{"09:00 [AUSENTE] S", "09:30 Boda N", "10:00 De otro N"}));
    EXPECT_EQ(valor("HORA"), "09:00");
}

TEST_F(Motor3PTest, MovingBetweenDaysShowsTheSameDayInEveryTable)
{
    enTodas(Hoy, {"09:00"});
    enTodas(Manana, {"09:00", "10:00"});
    EXPECT_TRUE(motor().SiguienteDia());
    for (int notario = 1; notario <= 3; ++notario)
        EXPECT_EQ(motor().Tabla(notario)->rowCount(), 2);
    EXPECT_FALSE(motor().SiguienteDia());
    EXPECT_EQ(motor().Tabla(3)->rowCount(), 2);
    EXPECT_TRUE(motor().AnteriorDia());
    EXPECT_EQ(motor().Tabla(2)->rowCount(), 1);
    motor().CancelaRangoPorFecha();
    EXPECT_EQ(motor().Tabla(3)->rowCount(), 3);
}

TEST_F(Motor3PTest, AnEmptyDaySaysSo)
{
    oficina.Mensaje.espera({Pregunta, "Agenda", 0, Explica, support::TCaja::siNo});
    motor();
    oficina.Mensaje.espera(
        {"No hay AgendaN introducidos que modificar", " ATENCIÓN", 0, "Inserte primero un AgendaN."});
    EXPECT_FALSE(motor().Modificar());
    oficina.Mensaje.espera(
        {"No hay citas para ese día introducidas que borrar", " ATENCIÓN", 0, "Inserte primero una."});
    EXPECT_FALSE(motor().Borrar(true));
    oficina.Mensaje.espera(
        {"No hay citas para ese día introducidas que limpiar", " ATENCIÓN", 0, "Inserte primero una."});
    motor().Limpiar(true);
    EXPECT_FALSE(motor().Ausente());
    oficina.Mensaje.espera({"¿Desea cancelar la operación?", " ATENCIÓN:", 0});
    EXPECT_FALSE(motor().CancelarAgendaN(true));
}

TEST_F(Motor3PTest, TablesOfTheHostCountOneMoreAndStayOpen)
{
    enTodas(Hoy, {"09:00", "09:00", "10:00"});
    const auto una = oficina.agenda(1);
    const auto otra = oficina.agenda(2);
    {
        TAgenda3P motor(nullptr, Hoy, {una.get(), otra.get()});
        EXPECT_EQ(motor.NumNotarios(), 3);
        EXPECT_TRUE(motor.Anadir(Hoy, "12:00"));
        EXPECT_EQ(oficina.dia(2, Hoy).size(), 4);
        // The third place repeats its test on the second table, which has a second line at that hour.
        EXPECT_TRUE(motor.BuscarPorFecha(Hoy, "09:00", true));
        otra->first();
        EXPECT_TRUE(motor.Borrar(false));
    }
    EXPECT_EQ(oficina.dia(1, Hoy).size(), 3);
    EXPECT_EQ(oficina.dia(2, Hoy).size(), 2);
    EXPECT_TRUE(una->isActive());
}

// A slot is one of all tables: however many of them cannot take it, the user hears of it once.
TEST_F(Motor3PTest, ALostSlotIsNamedOnce)
{
    oficina.ponAjustes(9, 9, 30);
    enTodas(Hoy, {"09:00"});
    const auto una = oficina.agenda(1);
    const auto otra = oficina.agenda(2);
    const auto tercera = oficina.agenda(3);
    for (dataset::DbfTable *const tabla : {una.get(), otra.get()}) {
        tabla->close();
        tabla->setOpenReadOnly(true);
        tabla->open();
    }
    TAgenda3P motor(nullptr, QDate(), {una.get(), otra.get(), tercera.get()});
    EXPECT_FALSE(una->hasRange()); // without a date nothing is shown or asked
    for (const char *hora : {"09:00", "09:30"})
        oficina.Mensaje.espera(
            {QString("Problemas añadiendo hora: %1 Añadala manualmente").arg(hora), " ATENCIÓN:"});
    EXPECT_FALSE(motor.InsertaDia(Manana, false));
    EXPECT_EQ(oficina.dia(3, Manana).size(), 2);
}

// Two workstations are asked about the same day, and both say yes.
TEST_F(Motor3PTest, ASheetThatAnotherWorkstationHasJustBuiltIsNotBuiltAgain)
{
    oficina.ponAjustes(9, 9, 30);
    enTodas(Hoy, {"09:00"});
    EXPECT_FALSE(motor().RangoPorFecha(Manana));
    oficina.linea(2, Manana, "09:00", "Suya");
    motor().InsertaDia(Manana, false);
    EXPECT_EQ(oficina.dia(1, Manana), (QStringList{"09:00  N", "09:30  N"}));
    EXPECT_EQ(oficina.dia(2, Manana), (QStringList{"09:00 Suya N"}));
}

} // namespace
