// Slots as they were seen, days of which one table cannot be read, and pastes that were asked about.

#include "tests/agenda3p/Motor3P.h"
#include "tests/support/InformesDePrueba.h"

#include <filesystem>
#include <functional>

using dataset::DataSet;
using support::Hoy;
using support::Manana;

namespace
{

class HuecosTest : public support::Motor3PTest
{
protected:
    HuecosTest() { enTodas(Hoy, {"09:00", "10:00"}); }
    /// The lines of a row of the day.
    THueco hueco(int fila, const QList<int> &notarios = {1, 2, 3})
    {
        THueco lineas;
        for (const int notario : notarios)
            lineas << TLineaDeHueco{notario,
                                    motor().Tabla(notario)->seen(motor().Tabla(notario)->bookmarkAt(fila))};
        return lineas;
    }
    void escribe(int notario, const QString &concepto) const
    {
        const auto otro = oficina.agenda(notario);
        otro->first();
        otro->edit();
        otro->field(u"CONCEPTO").setText(concepto);
        otro->post();
    }
    [[nodiscard]] QStringList dias() const
    {
        return {oficina.dia(1, Hoy).join(','), oficina.dia(2, Hoy).join(','), oficina.dia(3, Hoy).join(',')};
    }
};

TEST_F(HuecosTest, ASlotIsDeletedAsItWasSeenOrNotAtAll)
{
    const auto otro = oficina.agenda(3);
    otro->first();
    const struct {
        const char *que;
        std::function<void()> entretanto;
        QString causa;
    } casos[] = {
        {"changed", [this] { escribe(2, "Boda"); },
         "Benito Ruiz: Otro puesto ha cambiado la línea mientras tanto"},
        {"in use", [&] { otro->edit(); }, "Carmen Güell: Otro puesto está usando la línea"},
        {"gone",
         [&] {
             otro->cancel();
             otro->remove();
         },
         "Carmen Güell: Otro puesto ha borrado la línea mientras tanto"},
    };
    for (const auto &caso : casos) {
        ASSERT_TRUE(motor().VeDia(Hoy));
        const THueco visto = hueco(0);
        caso.entretanto();
        const QStringList antes = dias();
        const TRespuesta respuesta = motor().BorrarHueco(visto, false);
        EXPECT_FALSE(respuesta) << caso.que;
        EXPECT_EQ(respuesta.Causa(), caso.causa) << caso.que;
        EXPECT_EQ(dias(), antes) << caso.que;
        for (int notario = 1; notario <= 3; ++notario)
            EXPECT_FALSE(motor().Tabla(notario)->isEditing()) << caso.que;
    }
    motor().VeDia(Hoy);
    const QString pregunta =
        "¿Desea borrar la cita de las 09:00 de todas las agendas?\nLos datos se perderán.";
    oficina.Mensaje.espera({pregunta, " ATENCIÓN", 0});
    EXPECT_FALSE(motor().BorrarHueco(hueco(0, {1, 2}), true));
    EXPECT_EQ(oficina.dia(2, Hoy).size(), 2);
    // Of the third notary, who has none in that row, nothing goes; nor while the current one has none.
    motor().PonNotarioActual(3);
    EXPECT_FALSE(motor().BorrarHueco(hueco(0, {1, 2}), false));
    EXPECT_EQ(oficina.dia(1, Hoy).size(), 2);
    motor().PonNotarioActual(2);
    oficina.Mensaje.espera({pregunta, " ATENCIÓN", 1, {}, support::TCaja::pregunta, [this] {
                                const auto otra = oficina.agenda(1);
                                otra->first();
                                EXPECT_THROW(otra->edit(), dataset::EDatabaseError)
                                    << "held while it is asked";
                            }});
    EXPECT_TRUE(motor().BorrarHueco(hueco(0, {1, 2}), true));
    for (int notario = 1; notario <= 3; ++notario)
        EXPECT_EQ(oficina.dia(notario, Hoy), QStringList{"10:00  N"}) << notario;
}

// The count goes beyond the places: the last table is not looked at twice.
TEST(HuecosDeMuchos, NoNotaryLosesASecondLineOfTheHour)
{
    support::OficinaDePrueba oficina(5);
    oficina.Config.Cuantos = 7;
    for (int notario = 1; notario <= 5; ++notario)
        oficina.linea(notario, Hoy, "10:00");
    oficina.linea(5, Hoy, "10:00", "Segunda");
    TAgenda3P motor(nullptr, Hoy, {});
    EXPECT_EQ(motor.NumNotarios(), 7);
    THueco hueco;
    for (int notario = 1; notario <= 5; ++notario)
        hueco << TLineaDeHueco{notario, motor.Tabla(notario)->seen()};
    motor.PonNotarioActual(7); // no table: the current one stays
    EXPECT_TRUE(motor.BorrarHueco(hueco, false));
    EXPECT_TRUE(oficina.dia(1, Hoy).isEmpty());
    EXPECT_EQ(oficina.dia(5, Hoy), QStringList{"10:00 Segunda N"});
}

TEST_F(HuecosTest, AnUnreadableTableCostsItsOwnDayAlone)
{
    enTodas(Manana, {"09:00"});
    support::InformesDePrueba informes;
    const auto una = oficina.agenda(1);
    const auto otra = oficina.agenda(2);
    const auto tercera = oficina.agenda(3);
    TAgenda3P motor(nullptr, Hoy, {una.get(), otra.get(), tercera.get()}, &informes);
    otra->close();
    EXPECT_TRUE(motor.SiguienteDia());
    EXPECT_EQ(motor.DiaMostrado(1), Manana);
    EXPECT_FALSE(motor.DiaMostrado(2).isValid());
    EXPECT_EQ(motor.DiaMostrado(3), Manana);
    EXPECT_FALSE(motor.SiguienteDia());
    EXPECT_TRUE(motor.AnteriorDia());
    motor.InformeSemana(Hoy);
    motor.InformeDia(Hoy);
    EXPECT_EQ(informes.Pedidos, (QStringList{"semana 16/11", "dia 16/11"}));
    EXPECT_EQ(motor.DiaMostrado(3), Hoy);
    const TRespuesta visto = motor.VeDia(Hoy);
    EXPECT_TRUE(visto);
    EXPECT_EQ(visto.Causa(), "Benito Ruiz: La tabla no está abierta");
    EXPECT_THROW(motor.RangoPorFecha(Manana), dataset::EDatabaseError);
    EXPECT_EQ(motor.DiaMostrado(3), Manana) << "the others show it all the same";
    EXPECT_THROW(motor.CancelaRangoPorFecha(), dataset::EDatabaseError);
    EXPECT_FALSE(tercera->hasRange());
    // The current table itself: none goes to another day.
    motor.VeDia(Hoy);
    una->close();
    EXPECT_THROW(motor.SiguienteDia(), dataset::EDatabaseError);
    EXPECT_EQ(motor.DiaMostrado(3), Hoy);
    una->open();
    otra->open();
    EXPECT_TRUE(motor.VeDia(Hoy).Causa().isEmpty());
    EXPECT_EQ(motor.DiaMostrado(2), Hoy);
}

TEST_F(HuecosTest, SeeingTheDayAgainKeepsLinesAndWhatIsBeingEdited)
{
    motor().Tabla(1)->last();
    motor().Tabla(2)->last();
    EXPECT_TRUE(motor().Modificar(motor().Tabla(1)->seen()));
    motor().TablaActual().field(u"CONCEPTO").setText("A medias");
    oficina.linea(2, Hoy, "08:00", "Nueva");
    EXPECT_TRUE(motor().VeDia(Hoy));
    EXPECT_TRUE(motor().TablaActual().isEditing());
    EXPECT_EQ(valor("CONCEPTO"), "A medias");
    EXPECT_EQ(motor().Tabla(2)->rowCount(), 3);
    EXPECT_EQ(motor().Tabla(2)->field(u"HORA").asText(), "10:00");
    oficina.Mensaje.espera({"¿Desea cancelar la operación?", " ATENCIÓN:", 1});
    EXPECT_TRUE(motor().CancelarAgendaN(true));
    EXPECT_FALSE(motor().TablaActual().isEditing());
    EXPECT_FALSE(motor().VeDia({}));
}

TEST_F(HuecosTest, MissingSlotsAreAddedOnceWhoeverAddsThem)
{
    oficina.linea(1, Hoy, "10:00", "Segunda");
    oficina.linea(2, Hoy, "12:00");
    motor().PonNotarioActual(3);
    EXPECT_TRUE(motor().AnadirSolo(Hoy, "12:00", 0));
    EXPECT_EQ(valor("HORA"), "12:00");
    EXPECT_EQ(valor("AVISO"), "N");
    const TRespuesta otraVez = motor().AnadirSolo(Hoy, "12:00", 0);
    EXPECT_FALSE(otraVez);
    EXPECT_EQ(otraVez.Causa(), "Otro puesto ha añadido ya ese hueco. Mire lo que dice ahora.");
    EXPECT_TRUE(motor().AnadirSolo(Hoy, "12:00", 3)) << "others have deleted two: one is what was asked for";
    EXPECT_FALSE(motor().AnadirSolo({}, "12:00", 0));
    EXPECT_FALSE(motor().Anadir({}, "12:00"));
    EXPECT_TRUE(motor().Completar(Hoy));
    const QStringList horas{"09:00", "10:00", "10:00", "12:00", "12:00"};
    for (int notario = 1; notario <= 3; ++notario) {
        QStringList suyas;
        for (const QString &linea : oficina.dia(notario, Hoy))
            suyas << linea.left(5);
        EXPECT_EQ(suyas, horas) << notario;
    }
    EXPECT_EQ(motor().Tabla(1)->currentRow(), 0);
    EXPECT_TRUE(motor().Completar(Hoy));
    EXPECT_EQ(oficina.dia(2, Hoy).size(), 5);
}

class PegadoTest : public HuecosTest
{
protected:
    PegadoTest()
    {
        oficina.linea(1, Hoy, "12:00", "Poder");
        ve("12:00");
        motor().Copiar();
    }
};

TEST_F(PegadoTest, ItIsPastedAsItWasLookedAtOrNotAtAll)
{
    motor().PonNotarioActual(2);
    TPegado pegado = motor().PreparaPegado(Hoy, "09:00");
    EXPECT_TRUE(pegado.Ocupadas.isEmpty());
    escribe(2, "Boda");
    TRespuesta respuesta = motor().PegaPreparado(pegado);
    EXPECT_FALSE(respuesta);
    EXPECT_EQ(respuesta.Causa(), "Otro puesto ha cambiado la línea mientras tanto");
    EXPECT_EQ(oficina.dia(2, Hoy), (QStringList{"09:00 Boda N", "10:00  N"}));
    pegado = motor().PreparaPegado(Hoy, "09:00");
    EXPECT_EQ(pegado.Ocupadas, QStringList{"09:00"});
    // At its own hour there is no slot yet: it is the second notary's alone to add, since the first has it.
    pegado = motor().PreparaPegado(Hoy, {});
    oficina.linea(2, Hoy, "12:00", "Suya");
    respuesta = motor().PegaPreparado(pegado);
    EXPECT_EQ(respuesta.Causa(), "Otro puesto ha dado mientras tanto una cita a las 12:00.");
    EXPECT_EQ(oficina.dia(2, Hoy).last(), "12:00 Suya N");
    motor().PonNotarioActual(3);
    EXPECT_TRUE(motor().PegaPreparado(motor().PreparaPegado(Hoy, {})));
    EXPECT_EQ(oficina.dia(3, Hoy).last(), "12:00 Poder N");
    EXPECT_EQ(oficina.dia(2, Hoy).size(), 3);
    // Where nobody has the hour it is a slot of all.
    EXPECT_TRUE(motor().PegaPreparado(motor().PreparaPegado(Hoy, "13:00")));
    EXPECT_EQ(oficina.dia(2, Hoy).last(), "13:00  N");
    EXPECT_EQ(oficina.dia(3, Hoy).last(), "13:00 Poder N");
    EXPECT_EQ(motor().DiaMostrado(3), Hoy);
    EXPECT_EQ(motor().TablaActual().field(u"HORA").asText(), "09:00") << "where it stood";
}

TEST_F(PegadoTest, OfSeveralLinesAtOneHourTheLastOneStays)
{
    oficina.linea(1, Hoy, "12:00", "Acta");
    motor().VeDia(Hoy);
    motor().TablaActual().last();
    motor().Copiar();
    EXPECT_EQ(motor().HorasCopiadas(), (QStringList{"12:00", "12:00"}));
    motor().PonNotarioActual(2);
    const TPegado pegado = motor().PreparaPegado(Manana, {});
    EXPECT_TRUE(pegado.SePisan);
    motor().Copiar();
    EXPECT_FALSE(motor().PegaPreparado(pegado)) << "another line has been copied since";
    motor().LimpiarBufferDeCopia();
    EXPECT_FALSE(motor().PegaPreparado(pegado));
    EXPECT_TRUE(motor().PreparaPegado(Manana, {}).Destinos.isEmpty());
    motor().PonNotarioActual(1);
    for (const int fila : {2, 3}) {
        motor().TablaActual().setCurrentRow(fila);
        motor().Copiar();
    }
    motor().PonNotarioActual(2);
    EXPECT_TRUE(motor().PegaPreparado(motor().PreparaPegado(Manana, {})));
    EXPECT_EQ(oficina.dia(2, Manana), QStringList{"12:00 Acta N"});
    EXPECT_EQ(oficina.dia(1, Manana), QStringList{"12:00  N"});
    EXPECT_EQ(motor().DiaMostrado(2), Hoy);
}

// One of two lines is in use: neither is written, and the cause is told.
TEST_F(PegadoTest, AllLinesArePastedOrNone)
{
    ve("09:00");
    motor().Copiar();
    motor().PonNotarioActual(2);
    oficina.linea(2, Hoy, "12:00");
    const TPegado pegado = motor().PreparaPegado(Hoy, "12:00"); // 12:00 and 09:00
    const auto otro = oficina.agenda(2);
    otro->first();
    otro->edit();
    const TRespuesta respuesta = motor().PegaPreparado(pegado);
    EXPECT_FALSE(respuesta);
    EXPECT_EQ(respuesta.Causa(), "Otro puesto está usando la línea");
    EXPECT_FALSE(motor().TablaActual().isEditing());
    otro->cancel();
    EXPECT_EQ(oficina.dia(2, Hoy), (QStringList{"09:00  N", "10:00  N", "12:00  N"}));
}

TEST_F(PegadoTest, LookingWhereItWouldGoWritesNothing)
{
    ve("09:00");
    ASSERT_TRUE(motor().Modificar());
    motor().TablaActual().field(u"CONCEPTO").setText("A medias");
    EXPECT_TRUE(motor().PreparaPegado(Hoy, "10:00").Destinos.isEmpty());
    EXPECT_EQ(oficina.dia(1, Hoy).first(), "09:00  N");
    EXPECT_EQ(valor("CONCEPTO"), "A medias");
}

TEST(HuecosDeVarios, ATableThatCannotBeOpenedKeepsNoOtherFromItsDay)
{
    support::OficinaDePrueba oficina(3);
    for (int notario = 1; notario <= 3; ++notario)
        oficina.linea(notario, Hoy, "10:00");
    const auto fichero = oficina.carpetaDe("NOTARIO2") / "AGENDA_N.DBF";
    const auto aparte = oficina.carpetaDe("NOTARIO2") / "APARTE";
    std::filesystem::rename(fichero, aparte);
    EXPECT_THROW(TAgenda3P(nullptr, Hoy, {}), dataset::EDatabaseError) << "the day is asked for at once";
    TAgenda3P motor(nullptr, QDate(), {});
    const TRespuesta visto = motor.VeDia(Hoy);
    EXPECT_TRUE(visto);
    EXPECT_TRUE(visto.Causa().startsWith("Benito Ruiz: ")) << visto.Causa().toStdString();
    EXPECT_EQ(motor.DiaMostrado(3), Hoy);
    EXPECT_FALSE(motor.EsLegible(2));
    std::filesystem::rename(aparte, fichero);
    EXPECT_EQ(motor.VeDia(Hoy).Causa(), "");
    EXPECT_EQ(motor.Tabla(2)->rowCount(), 1);
}

} // namespace
