// Adding, changing, deleting and marking lines.

#include "dataset/DatabaseError.h"
#include "tests/agendan/Motor.h"

#include <functional>

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

// What is on no screen is neither changed nor deleted; on its card it is on one.
TEST_F(LineasTest, ALineOfAnotherDayIsOnlyTakenFromItsCard)
{
    ASSERT_TRUE(motor().Modificar());
    tabla().field(u"FECHA").setDate(Lunes.addDays(3));
    ASSERT_TRUE(motor().AceptarAgendaN());
    ASSERT_EQ(tabla().currentRow(), -1);
    const std::function<TRespuesta()> ordenes[] = {[&] { return motor().Modificar(); },
                                                   [&] { return motor().Borrar(false); },
                                                   [&] { return motor().Salida(); }};
    for (const auto &orden : ordenes) {
        const TRespuesta respuesta = orden();
        EXPECT_FALSE(respuesta);
        EXPECT_EQ(respuesta.Causa(), LineaDeOtroDia);
    }
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(3)), QStringList{"09:00 Firma N"});
    EXPECT_TRUE(motor().Modificar(TALaVista::ficha));
    motor().CancelarAgendaN(false);
    EXPECT_TRUE(motor().Borrar(false, TALaVista::ficha));
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(3)), QStringList());
    EXPECT_EQ(oficina.dia(1, Lunes).size(), 2);

    // Also where it was the only line of the day that is shown.
    const QDate martes = Lunes.addDays(1);
    motor().RangoPorFecha(martes);
    ASSERT_TRUE(motor().Modificar());
    tabla().field(u"FECHA").setDate(Lunes.addDays(4));
    ASSERT_TRUE(motor().AceptarAgendaN());
    ASSERT_TRUE(tabla().isEmpty());
    ASSERT_TRUE(motor().Modificar(TALaVista::ficha));
    tabla().field(u"CONCEPTO").setText("En su ficha");
    ASSERT_TRUE(motor().AceptarAgendaN());
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(4)), QStringList{"09:00 En su ficha N"});
    EXPECT_TRUE(motor().Borrar(false, TALaVista::ficha));
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(4)), QStringList());
}

TEST_F(LineasTest, CancellingAsksWhenTold)
{
    EXPECT_TRUE(motor().Modificar());
    tabla().field(u"CONCEPTO").setText("otra");
    oficina.Mensaje.espera({"¿Desea cancelar la operación?", " ATENCIÓN:", 0, {}, support::TCaja::pregunta});
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
    oficina.Mensaje.espera({"¿Desea borrar la cita de las 10:00 de la base de datos?",
                            " ATENCIÓN",
                            1,
                            {},
                            support::TCaja::pregunta});
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

/// Every field of a line as the file holds it, in the order of the table.
QString entera(DataSet &tabla)
{
    QStringList campos;
    for (int campo = 0; campo < tabla.fieldCount(); ++campo)
        campos << tabla.field(campo).asText();
    return campos.join(u'|');
}

TEST_F(LineasTest, CopiesALineWholeAndStaysOnIt)
{
    const QDate jueves = Lunes.addDays(3);
    oficina.linea(1, jueves, "10:00", "Ya estaba");
    tabla().setCurrentRow(1);
    motor().Modificar();
    tabla().field(u"CONCEPTO").setText("[SALIDA]Poder de Íñigo");
    tabla().field(u"INTERESADO").setText("Peña, Íñigo");
    tabla().field(u"CODCLIENTE").setNumber(12.75);
    tabla().field(u"OFICIAL").setText("MARTA");
    tabla().field(u"SALIDA").setText("S");
    tabla().field(u"AVISO").setText("S");
    motor().AceptarAgendaN();
    const auto linea = tabla().bookmark();
    EXPECT_TRUE(motor().CopiarCita(jueves));
    EXPECT_EQ(tabla().bookmark(), linea);
    EXPECT_EQ(tabla().rowCount(), 3) << "the shown day is as it was";
    EXPECT_FALSE(tabla().controlsDisabled());
    EXPECT_EQ(oficina.dia(1, jueves), (QStringList{"10:00 Ya estaba N", "10:00 [SALIDA]Poder de Íñigo S"}));
    const auto juez = oficina.agenda(1);
    juez->last();
    EXPECT_EQ(entera(*juez), "19/11/2026|10:00|[SALIDA]Poder de Íñigo|12|Peña, Íñigo|MARTA|S|S");

    // To its own day: a second line at that hour, and the cursor does not stray to the first of the two.
    EXPECT_TRUE(motor().CopiarCita(Lunes));
    EXPECT_EQ(tabla().bookmark(), linea);
    tabla().setCurrentRow(2);
    const auto segunda = tabla().bookmark();
    EXPECT_EQ(mostrado(), "16/11/2026 10:00");
    EXPECT_TRUE(motor().CopiarCita(jueves));
    EXPECT_EQ(tabla().bookmark(), segunda);
}

TEST_F(LineasTest, ACopyThatFailsLeavesBothDaysAndTheCursorAsTheyWere)
{
    tabla().setCurrentRow(1);
    EXPECT_FALSE(motor().CopiarCita({})) << "no date, no copy";
    motor().RangoPorFecha(Lunes.addDays(8));
    EXPECT_FALSE(motor().CopiarCita(Lunes)) << "no line to copy";
    EXPECT_EQ(oficina.dia(1, Lunes).size(), 3);

    const auto soloLeer = oficina.agenda(1);
    soloLeer->close();
    soloLeer->setOpenReadOnly(true);
    soloLeer->open();
    TClassAgendaN otro(nullptr, nullptr, {soloLeer.get()}, nullptr);
    otro.RangoPorFecha(Lunes);
    soloLeer->setCurrentRow(1);
    const auto linea = soloLeer->bookmark();
    const TRespuesta copiada = otro.CopiarCita(Lunes.addDays(1));
    EXPECT_FALSE(copiada) << "no line can be begun";
    EXPECT_EQ(copiada.Causa(), "La tabla está abierta solo para lectura");
    EXPECT_EQ(soloLeer->bookmark(), linea);
    EXPECT_EQ(soloLeer->state(), State::browse);
    EXPECT_FALSE(soloLeer->controlsDisabled());
}

// A move is a copy and a deletion: what a colleague has written since it was shown goes with neither.
TEST_F(LineasTest, ALineThatHasChangedSinceIsNotCopied)
{
    const auto otro = oficina.agenda(1);
    const struct {
        const char *que;
        std::function<void()> hace;
        const char *causa;
        QStringList lunes;
    } casos[] = {
        {"changed",
         [&] { otro->field(u"CONCEPTO").setText("Suya"); },
         "ha cambiado la línea",
         {"09:00 Suya N", "10:00 Poder N", "11:00 Acta N"}},
        {"moved",
         [&] { otro->field(u"FECHA").setDate(Lunes.addDays(7)); },
         "ha cambiado de sitio la línea",
         {"10:00 Poder N", "11:00 Acta N"}},
    };
    for (const auto &caso : casos) {
        tabla().first();
        otro->locate({{"FECHA", Lunes}, {"HORA", "09:00"}}, dataset::SearchMode::exact);
        otro->edit();
        caso.hace();
        otro->post();
        const TRespuesta copiada = motor().CopiarCita(Lunes.addDays(3));
        EXPECT_FALSE(copiada) << caso.que;
        EXPECT_TRUE(copiada.Causa().contains(caso.causa)) << copiada.Causa().toStdString();
        EXPECT_EQ(oficina.dia(1, Lunes), caso.lunes) << caso.que;
        EXPECT_EQ(oficina.dia(1, Lunes.addDays(3)), QStringList()) << caso.que;
        EXPECT_GE(tabla().currentRow(), 0) << caso.que;
    }
    EXPECT_TRUE(motor().CopiarCita(Lunes.addDays(3))) << "what is shown by now";
}

// The table is held by another workstation just when the copy is written.
TEST_F(LineasTest, AnErrorWhilePostingTheCopyPassesOn)
{
    const auto otro = oficina.agenda(1);
    tabla().setCurrentRow(1);
    const auto linea = tabla().bookmark();
    otro->beginGroup();
    EXPECT_THROW(motor().CopiarCita(Lunes.addDays(1)), dataset::EDatabaseError);
    EXPECT_EQ(tabla().state(), State::browse) << "no pending insert";
    EXPECT_EQ(tabla().bookmark(), linea);
    EXPECT_FALSE(tabla().controlsDisabled());
    otro->dropGroup();
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(1)), QStringList{"09:00 Otro día N"});
    EXPECT_TRUE(motor().CopiarCita(Lunes.addDays(1)));
}

class VariasTest : public LineasTest
{
protected:
    VariasTest()
        : otro(oficina.agenda(1))
    {
        for (const int fila : {2, 0, 1})
            lineas << tabla().seen(tabla().bookmarkAt(fila));
    }
    void otroVaA(const char *hora)
    {
        otro->refresh();
        EXPECT_TRUE(otro->locate({{"FECHA", Lunes}, {"HORA", hora}}, dataset::SearchMode::exact));
    }
    void otroEscribe(const char *hora, const char *concepto)
    {
        otroVaA(hora);
        otro->edit();
        otro->field(u"CONCEPTO").setText(concepto);
        otro->post();
    }
    [[nodiscard]] QStringList fallidas(const TLineasFallidas &varias)
    {
        QStringList textos;
        for (const auto &una : varias)
            textos << tabla().textOf(una.Linea, tabla().fieldIndex(u"HORA")) + u' ' +
                          una.Causa.section(QStringLiteral(": "), -1);
        return textos;
    }
    const QDate martes = Lunes.addDays(1);
    std::unique_ptr<dataset::DbfTable> otro;
    TLineasVistas lineas; ///< 11:00, 09:00, 10:00
};

TEST_F(VariasTest, OnlyWhatWasSeenIsDeletedCopiedAndMoved)
{
    const QString cambiada = "09:00 Otro puesto ha cambiado la línea mientras tanto";
    const struct {
        const char *que;
        std::function<TLineasFallidas()> orden;
        QStringList lunes, martes;
    } casos[] = {
        {"copied",
         [&] { return motor().CopiarLineas(lineas, martes); },
         {"09:00 De otro N", "10:00 Poder N", "11:00 Acta N"},
         {"09:00 Otro día N", "10:00 Poder N", "11:00 Acta N"}},
        {"marked",
         [&] { return motor().MarcarSalidas(lineas); },
         {"09:00 De otro N", "10:00 [SALIDA]Poder S", "11:00 [SALIDA]Acta S"},
         {"09:00 Otro día N", "10:00 Poder N", "11:00 Acta N"}},
        {"moved",
         [&] { return motor().MoverLineas(lineas, martes); },
         {"09:00 De otro N"},
         {"09:00 Otro día N", "10:00 Poder N", "10:00 [SALIDA]Poder S", "11:00 Acta N",
          "11:00 [SALIDA]Acta S"}},
    };
    otroEscribe("09:00", "De otro");
    for (const auto &caso : casos) {
        EXPECT_EQ(fallidas(caso.orden()), QStringList{cambiada}) << caso.que;
        EXPECT_EQ(oficina.dia(1, Lunes), caso.lunes) << caso.que;
        EXPECT_EQ(oficina.dia(1, martes), caso.martes) << caso.que;
        EXPECT_FALSE(tabla().isEditing());
        for (const int i :
             {0, 2}) // the clerk sees what his command has done; of the other line he has not looked
            lineas[i] = tabla().seen(lineas.at(i).bookmark());
    }
    motor().RangoPorFecha(martes);
    lineas = {tabla().seen(tabla().bookmarkAt(0)), tabla().seen(tabla().bookmarkAt(1))};
    otro->locate({{"FECHA", martes}, {"HORA", "09:00"}}, dataset::SearchMode::exact);
    otro->edit();
    otro->field(u"HORA").setText("13:00");
    otro->post();
    EXPECT_EQ(fallidas(motor().BorrarLineas(lineas)), QStringList{cambiada});
    EXPECT_EQ(oficina.dia(1, martes).size(), 4);
}

TEST_F(VariasTest, AreOneCommitOrOneEach)
{
    const auto lineasEnElFichero = [&] {
        return support::readFile(oficina.carpetaDe("NOTARIO1") / "AGENDA_N.DBF").substr(4, 4);
    };
    // Another workstation that looks at any moment sees the line on one day, and on one only.
    const auto enElOtro = [&] {
        otro->cancelRange();
        otro->refresh();
        return otro->rowCount();
    };
    int vistas = enElOtro();
    EXPECT_EQ(vistas, 4);
    const std::string antes = lineasEnElFichero();
    EXPECT_TRUE(motor().MoverLineas({lineas.at(1)}, martes).isEmpty());
    EXPECT_NE(lineasEnElFichero(), antes);
    EXPECT_EQ(enElOtro(), 4);
    EXPECT_EQ(oficina.dia(1, martes), (QStringList{"09:00 Otro día N", "09:00 Firma N"}));

    // A line that another workstation keeps, or has deleted, stays as it is; the other one goes, and has no
    // twin.
    otroVaA("10:00");
    otro->edit();
    EXPECT_EQ(fallidas(motor().MoverLineas({lineas.at(0), lineas.at(1), lineas.at(2)}, martes)),
              (QStringList{"09:00 Otro puesto ha borrado la línea mientras tanto",
                           "10:00 Otro puesto está usando la línea"}));
    EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"10:00 Poder N"});
    EXPECT_EQ(oficina.dia(1, martes), (QStringList{"09:00 Otro día N", "09:00 Firma N", "11:00 Acta N"}));
    EXPECT_EQ(fallidas(motor().BorrarLineas({lineas.at(2)})),
              QStringList{"10:00 Otro puesto está usando la línea"});
    otro->cancel();

    // A table that takes no changes loses nothing, and every line is named.
    otro->beginGroup();
    EXPECT_EQ(motor().MoverLineas({lineas.at(2), lineas.at(2)}, martes).size(), 2);
    otro->dropGroup();
    EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"10:00 Poder N"});
    EXPECT_TRUE(motor().BorrarLineas({lineas.at(2)}).isEmpty());
}

// The clerk means the lines that he sees: what a colleague has written into one since is not marked unseen.
TEST_F(VariasTest, AbsenceMarksTheLinesThatWereSeen)
{
    otroEscribe("10:00", "De otro");
    oficina.linea(1, Lunes, "10:30", "Nueva");
    const TRespuesta marcada = motor().Ausente();
    EXPECT_TRUE(marcada);
    EXPECT_EQ(marcada.Causa(), "10:00: Otro puesto ha cambiado la línea mientras tanto\n"
                               "10:30: Otro puesto la ha añadido mientras tanto.");
    EXPECT_EQ(oficina.dia(1, Lunes), (QStringList{"09:00 [AUSENTE]Firma S", "10:00 De otro N",
                                                  "10:30 Nueva N", "11:00 [AUSENTE]Acta S"}));
    EXPECT_EQ(mostrado(), "16/11/2026 09:00");
    tabla().first();
    ASSERT_TRUE(motor().Modificar()); // what is being typed belongs to its line
    tabla().field(u"CONCEPTO").setText("Tecleada");
    EXPECT_EQ(motor().Ausente().Causa(), "");
    EXPECT_EQ(oficina.dia(1, Lunes).value(0), "09:00 [AUSENTE]Tecleada S");
}

/// How often the engine has met a failure since this was made.
class FallosApuntados
{
public:
    FallosApuntados() { s_cuantos = 0; }
    ~FallosApuntados() { qInstallMessageHandler(m_antes); }
    FallosApuntados(const FallosApuntados &) = delete;
    FallosApuntados &operator=(const FallosApuntados &) = delete;
    [[nodiscard]] static int Cuantos() { return s_cuantos; }

private:
    static void Apunta(QtMsgType, const QMessageLogContext &contexto, const QString &)
    {
        s_cuantos += QLatin1String(contexto.category) == QLatin1String("agenda.motor") ? 1 : 0;
    }
    static inline int s_cuantos = 0;
    QtMessageHandler m_antes = qInstallMessageHandler(Apunta);
};

// Each attempt may take a second: where the whole table is held, one is enough for all lines.
TEST_F(VariasTest, ATableThatIsHeldIsWaitedForOnce)
{
    const struct {
        const char *que;
        std::function<qsizetype()> orden; ///< @return lines that have failed
    } casos[] = {
        {"deleted", [&] { return motor().BorrarLineas(lineas).size(); }},
        {"copied", [&] { return motor().CopiarLineas(lineas, martes).size(); }},
        {"moved", [&] { return motor().MoverLineas(lineas, martes).size(); }},
        {"marked", [&] { return motor().MarcarSalidas(lineas).size(); }},
        {"absent", [&] { return motor().Ausente().Causa().count("09:00, 10:00, 11:00: ") * 3; }},
    };
    otro->beginGroup();
    for (const auto &caso : casos) {
        const FallosApuntados fallos;
        EXPECT_EQ(caso.orden(), 3) << caso.que;
        EXPECT_EQ(FallosApuntados::Cuantos(), 1) << caso.que;
    }
    otro->dropGroup();
    EXPECT_EQ(oficina.dia(1, Lunes), (QStringList{"09:00 Firma N", "10:00 Poder N", "11:00 Acta N"}));
    // One line that is held says nothing of the others.
    otroVaA("09:00");
    otro->edit();
    EXPECT_EQ(fallidas(motor().MarcarSalidas(lineas)), QStringList{"09:00 Otro puesto está usando la línea"});
}

TEST_F(LineasTest, AbsenceWithoutADayMarksNothing)
{
    oficina.linea(1, QDate(), "09:00", "Sin fecha");
    motor().CancelaRangoPorFecha();
    tabla().refresh();
    tabla().first();
    EXPECT_EQ(tabla().field(u"CONCEPTO").asText(), "Sin fecha");
    tabla().setTag(1); // as after a range that somebody else has dropped
    EXPECT_FALSE(motor().HayRangoPorFecha());
    EXPECT_FALSE(motor().Ausente());
    EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 Firma N");
    EXPECT_EQ(tabla().field(u"CONCEPTO").asText(), "Sin fecha");
}

} // namespace
