// Adding, changing, deleting and marking lines.

#include "tests/agendan/Motor.h"

namespace
{

using dataset::DataSet;
using support::Lunes;
using State = DataSet::State;

class LineasTest : public support::MotorTest
{
protected:
    LineasTest()
    {
        oficina.linea(1, Lunes, "09:00", "Firma");
        oficina.linea(1, Lunes, "10:00", "Poder");
        oficina.linea(1, Lunes, "11:00", "Acta");
        oficina.linea(1, Lunes.addDays(1), "09:00", "Otro día");
        motor().RangoPorFecha(Lunes);
    }
    DataSet &tabla() { return motor().TablaActual(); }
};

TEST_F(LineasTest, AddsAndCancels)
{
    EXPECT_TRUE(motor().Anadir(Lunes, "10:30"));
    EXPECT_EQ(tabla().state(), State::insert);
    EXPECT_EQ(tabla().field(u"SALIDA").asText() + tabla().field(u"AVISO").asText(), "NN");
    EXPECT_TRUE(motor().CancelarAgendaN(false));
    EXPECT_EQ(oficina.dia(1, Lunes).size(), 3);
    EXPECT_TRUE(motor().Anadir(Lunes, "10:30"));
    tabla().field(u"CONCEPTO").setText("Testamento");
    EXPECT_TRUE(motor().AceptarAgendaN());
    EXPECT_EQ(oficina.dia(1, Lunes).at(2), "10:30 Testamento N");
    EXPECT_EQ(tabla().currentRow(), 2);
}

TEST_F(LineasTest, CancellingAsksWhenTold)
{
    EXPECT_TRUE(motor().Modificar());
    tabla().field(u"CONCEPTO").setText("otra");
    oficina.Mensaje.espera({"¿Desea cancelar la operación?", " ATENCIÓN:", 0});
    EXPECT_FALSE(motor().CancelarAgendaN(true));
    EXPECT_EQ(tabla().state(), State::edit) << "the pending change is kept";
    oficina.Mensaje.espera({"¿Desea cancelar la operación?", " ATENCIÓN:", 1});
    EXPECT_TRUE(motor().CancelarAgendaN(true));
    EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 Firma N");
}

TEST_F(LineasTest, DeletesAfterAsking)
{
    tabla().setCurrentRow(1);
    oficina.Mensaje.espera({"¿Desea borrar la cita de las 10:00 de la base de datos?", " ATENCIÓN", 0});
    EXPECT_FALSE(motor().Borrar(true));
    EXPECT_EQ(oficina.dia(1, Lunes).size(), 3);
    oficina.Mensaje.espera({"¿Desea borrar la cita de las 10:00 de la base de datos?", " ATENCIÓN", 1});
    EXPECT_TRUE(motor().Borrar(true));
    EXPECT_EQ(oficina.dia(1, Lunes), (QStringList{"09:00 Firma N", "11:00 Acta N"}));
    EXPECT_TRUE(motor().Borrar(false));
    EXPECT_TRUE(motor().Borrar(false));
    EXPECT_TRUE(oficina.dia(1, Lunes).isEmpty());

    // An empty day counts as a successful delete; there is nothing to change in it either.
    oficina.Mensaje.espera(
        {"No hay citas para ese día introducidas que borrar", " ATENCIÓN", 0, "Inserte primero una."});
    EXPECT_TRUE(motor().Borrar(true));
    oficina.Mensaje.espera(
        {"No hay AgendaN introducidos que modificar", " ATENCIÓN", 0, "Inserte primero un AgendaN."});
    EXPECT_FALSE(motor().Modificar());
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(1)).size(), 1) << "the next day is untouched";
}

TEST_F(LineasTest, MarksAnOutingAndDoesNotToggle)
{
    EXPECT_TRUE(motor().Salida());
    EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 [SALIDA]Firma S");
    EXPECT_TRUE(motor().Salida());
    EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 [SALIDA][SALIDA]Firma S");
    EXPECT_EQ(oficina.dia(1, Lunes).at(1), "10:00 Poder N");
}

TEST_F(LineasTest, AMarkOnAFullSubjectKeepsItsFirstCharacters)
{
    motor().Modificar();
    tabla().field(u"CONCEPTO").setText(QString(250, u'ñ') + "1234");
    motor().AceptarAgendaN();
    EXPECT_TRUE(motor().Salida());
    EXPECT_EQ(tabla().field(u"CONCEPTO").asText(), "[SALIDA]" + QString(246, u'ñ'));
}

TEST_F(LineasTest, AbsenceMarksTheDayAndStaysWhereItWas)
{
    tabla().setCurrentRow(1);
    const auto linea = tabla().bookmark();
    EXPECT_TRUE(motor().Ausente());
    EXPECT_EQ(oficina.dia(1, Lunes),
              (QStringList{"09:00 [AUSENTE]Firma S", "10:00 [AUSENTE]Poder S", "11:00 [AUSENTE]Acta S"}));
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(1)), QStringList{"09:00 Otro día N"});
    EXPECT_EQ(tabla().bookmark(), linea);
    EXPECT_FALSE(tabla().controlsDisabled());

    motor().CancelaRangoPorFecha();
    tabla().last();
    EXPECT_TRUE(motor().Ausente()) << "without a range: the day of the current line";
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(1)), QStringList{"09:00 [AUSENTE]Otro día S"});
    EXPECT_TRUE(motor().HayRangoPorFecha());
}

TEST_F(LineasTest, AbsenceSkipsALineThatAnotherWorkstationKeeps)
{
    const auto otro = oficina.agenda(1);
    otro->locate({{"FECHA", Lunes}, {"HORA", "11:00"}}, dataset::SearchMode::exact);
    otro->edit();
    EXPECT_TRUE(motor().Ausente()) << "the last line that was accepted counts";
    EXPECT_EQ(tabla().field(u"HORA").asText(), "09:00") << "the cursor is where it was";
    EXPECT_EQ(tabla().state(), State::browse);
    EXPECT_EQ(oficina.dia(1, Lunes),
              (QStringList{"09:00 [AUSENTE]Firma S", "10:00 [AUSENTE]Poder S", "11:00 Acta N"}));
    tabla().last();
    EXPECT_FALSE(motor().Borrar(false));
    otro->cancel();
    EXPECT_TRUE(motor().Salida());
}

TEST_F(LineasTest, FailuresGiveFalseAndLeaveNothingPending)
{
    tabla().close();
    EXPECT_FALSE(motor().Anadir(Lunes, "12:00"));
    EXPECT_FALSE(motor().AceptarAgendaN());
    EXPECT_FALSE(motor().Ausente());
}

} // namespace
