#include "tests/agenda3p/Motor3P.h"

#include "dataset/MemTable.h"
#if defined(Q_OS_LINUX)
#include "tests/driver/FileCalls.h"
#endif

#include <cerrno>

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
    copiaDos();
    motor().LimpiarBufferDeCopia();
    EXPECT_FALSE(motor().HayDatosEnPortapapeles());
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
        {"09:00", "11:15", "16:00", {"16:00", "18:15"}},
        {"09:50", "10:55", "10:00", {"10:00", "11:05"}},
        {"09:00", "10:30", "23:30", {"23:30", "25:00"}}, // deliberate: no wrap
        {"09:00", "10:30", " 8 : 05 ", {"08:05", "09:35"}},
        {"09:00", "10:30", "1600", {}},
        {"09:00", "10:30", "99999999:00", {}},
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

// Copied in the afternoon's order, or from a line that has no hour.
TEST_F(CopiaTest, HoursThatAreNoneOfTheDay)
{
    copiaDos("11:00", "09:00");
    oficina.linea(1, Hoy, "", "Sin hora");
    motor().CancelaRangoPorFecha();
    motor().TablaActual().first();
    motor().Copiar();
    const TRespuesta pegado = motor().PegarHora(Manana, "00:30");
    EXPECT_FALSE(pegado);
    EXPECT_EQ(pegado.Causa(), "Una cita copiada no tiene hora.");
    // Deliberate: nothing wraps at midnight. As much of the hour as its field has room for.
    EXPECT_EQ(oficina.dia(1, Manana), (QStringList{"-1:-3 [SALIDA]Acta S", "00:30 Poder N"}));
    EXPECT_EQ(motor().PreparaPegado(Manana, "00:30").Destinos.last().Hora, QString());
    EXPECT_FALSE(motor().PegaPreparado(motor().PreparaPegado(Manana, "00:30")));
    EXPECT_FALSE(motor().Pegar({}));
}

// A screen goes on refreshing under the question: yes is for the line as it was when it was asked about.
TEST_F(CopiaTest, YesIsForTheLineThatWasAskedAbout)
{
    for (int notario = 1; notario <= 2; ++notario)
        oficina.linea(notario, Hoy, "09:00");
    const auto leReservan = [this] {
        const auto otro = oficina.agenda(1);
        otro->edit();
        otro->field(u"CONCEPTO").setText("Boda");
        otro->post();
        motor().TablaActual().refresh();
    };
    ve("09:00");
    oficina.Mensaje.espera({"¿Desea limpiar la cita de las 09:00 de la base de datos?",
                            " ATENCIÓN",
                            1,
                            {},
                            support::TCaja::porSuTexto,
                            leReservan});
    EXPECT_FALSE(motor().Limpiar(true));
    EXPECT_EQ(oficina.dia(1, Hoy), QStringList{"09:00 Boda N"});
    const auto libera = oficina.agenda(1);
    libera->edit();
    libera->field(u"CONCEPTO").setText("");
    libera->post();
    motor().RangoPorFecha(Hoy);
    ve("09:00");
    oficina.Mensaje.espera(
        {"¿Desea borrar la cita de las 09:00 de todas las agendas?\nLos datos se perderán.",
         " ATENCIÓN",
         1,
         {},
         support::TCaja::porSuTexto,
         leReservan});
    EXPECT_FALSE(motor().Borrar(true));
    EXPECT_EQ(oficina.dia(1, Hoy), QStringList{"09:00 Boda N"});
}

// The second hour is refused: no slot of the first one stays behind, in no table.
TEST_F(CopiaTest, ARefusedPasteLeavesNoSlotsBehind)
{
    oficina.linea(1, Manana, "10:30");
    copiaDos();
    const TPegado pegado = motor().PreparaPegado(Manana, {});
    const auto otro = oficina.agenda(1);
    otro->setRange({{"FECHA", Manana}}, {{"FECHA", Manana}});
    otro->edit();
    otro->field(u"CONCEPTO").setText("Boda");
    otro->post();
    EXPECT_FALSE(motor().PegaPreparado(pegado));
    EXPECT_EQ(oficina.dia(1, Manana), QStringList{"10:30 Boda N"});
    EXPECT_EQ(oficina.dia(2, Manana), QStringList());
}

TEST_F(CopiaTest, SixFieldsOfALineArePasted)
{
    oficina.linea(1, Hoy, "09:00", "Poder", "S");
    oficina.linea(1, Manana, "10:00", "Estaba");
    const auto tabla = oficina.agenda(1);
    tabla->edit();
    tabla->field(u"INTERESADO").setText("GARCÍA");
    tabla->field(u"CODCLIENTE").setInteger(77);
    tabla->field(u"OFICIAL").setText("LUIS");
    tabla->field(u"AVISO").setText("S");
    tabla->post();
    oficina.linea(2, Hoy, "09:00");
    ve("09:00");
    motor().Copiar();
    motor().Pegar(Manana);              // into a new line
    motor().PegarHora(Manana, "10:00"); // over another one
    EXPECT_TRUE(motor().PegaPreparado(motor().PreparaPegado(Manana, "11:00")));
    tabla->setRange({{"FECHA", Manana}}, {{"FECHA", Manana}});
    QStringList pegadas;
    for (; !tabla->eof(); tabla->next()) {
        QStringList campos;
        for (const char *campo :
             {"HORA", "CONCEPTO", "INTERESADO", "CODCLIENTE", "OFICIAL", "SALIDA", "AVISO"})
            campos << tabla->field(QString::fromLatin1(campo)).asText();
        pegadas << campos.join('|');
    }
    const QString resto = "|Poder|GARCÍA|77|LUIS|S|S";
    EXPECT_EQ(pegadas, (QStringList{"09:00" + resto, "10:00" + resto, "11:00" + resto}));
    // The slots that the other notary has got by it are free.
    const auto otra = oficina.agenda(2);
    ASSERT_TRUE(otra->locate({{"FECHA", Manana}, {"HORA", "09:00"}}, dataset::SearchMode::exact));
    EXPECT_EQ(otra->field(u"AVISO").asText(), "N");
    EXPECT_EQ(otra->field(u"CODCLIENTE").asText(), "");
}

// The host's own tables may be in memory, and the day shown may have no lines at all.
TEST_F(CopiaTest, AnEmptyDayStaysAsItWasShown)
{
    dataset::MemTable una;
    dataset::MemTable otra;
    for (dataset::MemTable *const tabla : {&una, &otra})
        tabla->create(CamposAgendaN());
    TAgenda3P motor(nullptr, QDate(), {&una, &otra});
    motor.Copiar(); // there is no line: an empty one
    EXPECT_TRUE(motor.HayDatosEnPortapapeles());
    motor.LimpiarBufferDeCopia();
    motor.Anadir(Hoy, "09:00");
    motor.Copiar();
    EXPECT_FALSE(motor.RangoPorFecha(Manana));
    EXPECT_TRUE(motor.Pegar(Hoy.addDays(5)));
    motor.OrdenarListaPorFecha();
    for (const dataset::MemTable *const tabla : {&una, &otra}) {
        EXPECT_TRUE(tabla->hasRange());
        EXPECT_TRUE(tabla->isEmpty());
        EXPECT_EQ(tabla->bookmark(), 0U) << "on no line of another day";
    }
    EXPECT_TRUE(motor.RangoPorFecha(Hoy.addDays(5)));
    EXPECT_FALSE(motor.BuscarPorFecha({}, {}, false));
}

#if defined(Q_OS_LINUX)
TEST_F(CopiaTest, WhatCannotBeWrittenIsPendingAndTheDayComesBackAfterwards)
{
    namespace filecalls = driver::filecalls;
    filecalls::watch(oficina.carpetaDe("NOTARIO1"), false);
    oficina.linea(1, Manana, "09:00", "Estaba");
    copiaDos();
    for (const bool acepta : {false, true}) {
        EXPECT_FALSE(motor().RangoPorFecha(Hoy.addDays(9))); // a day without lines
        filecalls::fail(filecalls::Fault{filecalls::Call::write, 1, ENOSPC, false, false});
        const TRespuesta pegado = motor().Pegar(Manana);
        filecalls::fail({});
        EXPECT_FALSE(pegado);
        EXPECT_FALSE(pegado.Causa().isEmpty());
        EXPECT_TRUE(motor().TablaActual().isEditing());
        EXPECT_EQ(valor("CONCEPTO"), "Poder");
        EXPECT_TRUE(acepta ? bool(motor().AceptarAgendaN()) : motor().CancelarAgendaN(false));
        EXPECT_EQ(oficina.dia(1, Manana), QStringList{acepta ? "09:00 Poder N" : "09:00 Estaba N"});
        EXPECT_EQ(motor().DiaMostrado(1), Hoy.addDays(9));
        EXPECT_TRUE(motor().TablaActual().isEmpty());
        EXPECT_EQ(motor().TablaActual().bookmark(), 0U);
        EXPECT_FALSE(motor().Ausente());
    }
    EXPECT_EQ(oficina.dia(1, Hoy), (QStringList{"09:00 Poder N", "10:30 [SALIDA]Acta S"}));
    // Written by going to another day: that one stays, whatever is edited and given up there later.
    filecalls::fail(filecalls::Fault{filecalls::Call::write, 1, ENOSPC, false, false});
    EXPECT_FALSE(motor().Pegar(Manana));
    EXPECT_TRUE(motor().RangoPorFecha(Hoy));
    EXPECT_TRUE(motor().Modificar());
    EXPECT_TRUE(motor().CancelarAgendaN(false));
    EXPECT_EQ(motor().TablaActual().rowCount(), 2);
    filecalls::unwatch();
}
#endif

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
