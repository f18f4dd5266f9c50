// The commands on appointments: card, copy, move, contact; where the keys are afterwards.

#include "agenda/host/Clacliraiz.h"
#include "tests/agendan/Ventana.h"

namespace
{

using support::Jueves;
using support::Lunes;
using support::VentanaTest;

/// A client list that notes what is asked of it.
struct ClientesDeNotas : TClientesRaiz {
    void MuestraFicha(qint64 codigo) override { Notas << QString("ficha %1").arg(codigo); }
    void Explora(const QString &titulo) override { Notas << "explora " + titulo; }
    bool Elige(const QString &, const QString &) override { return false; }
    [[nodiscard]] qint64 Codigo() const override { return 0; }
    [[nodiscard]] QString Nombre() const override { return {}; }
    void KeyUpBusqueda(QLineEdit &, int) override {}
    void ExitBusqueda(QLineEdit &, bool) override {}
    void FinBusqueda() override {}
    QStringList Notas;
};

class CitasTest : public VentanaTest
{
protected:
    CitasTest()
    {
        for (const char *hora : {"09:00", "10:00", "11:00", "12:00"})
            oficina.linea(1, Lunes, hora, hora);
        oficina.linea(2, Lunes, "09:00", "Poder");
    }
    [[nodiscard]] dataset::DataSet &tabla() const { return motor->TablaActual(); }
    [[nodiscard]] QString horaActual() const { return tabla().field(u"HORA").asText(); }
    /// Hours of a day in the order in which its lines were written.
    [[nodiscard]] QStringList escritas(QDate fecha) const
    {
        QStringList horas;
        const auto juez = oficina.agenda(1);
        juez->setIndexFieldNames({});
        for (juez->first(); !juez->eof(); juez->next()) {
            if (juez->field(u"FECHA").asDate() == fecha)
                horas << juez->field(u"HORA").asText();
        }
        return horas;
    }
    /// The keys and the line are where a clerk expects them.
    void compruebaSitio(const QString &hora) const
    {
        EXPECT_TRUE(rejilla().hasFocus());
        EXPECT_EQ(horaActual(), hora);
        EXPECT_EQ(rejilla().currentIndex().row(), tabla().currentRow());
        EXPECT_EQ(fecha().text(), "16/11/2026") << "the shown day stays";
    }
    ClientesDeNotas lista;
};

TEST_F(CitasTest, TheCardOpensByKeyMenuAndDoubleClick)
{
    enVentana([&] {
        pulsa(1);
        esperaFicha(TOperacion::nuevo, [](TClassAgendaN &m) {
            m.Anadir(Lunes, "10:15");
            m.AceptarAgendaN();
        });
        tecla(Qt::Key_Insert);
        compruebaSitio("10:15");
        esperaFicha(TOperacion::nuevo, [](TClassAgendaN &m) {
            m.Anadir(Jueves, "10:15");
            m.AceptarAgendaN();
        });
        comando("ANuevo");
        compruebaSitio("10:15"); // the other day's line is not shown, so the line from before
        EXPECT_EQ(rejilla().model()->rowCount(), 5);
        // A line that goes to another day leaves the next one under the keys.
        esperaFicha(TOperacion::modificar, [](TClassAgendaN &m) {
            m.Modificar();
            m.TablaActual().field(u"FECHA").setDate(Jueves);
            m.AceptarAgendaN();
        });
        tecla(Qt::Key_Space);
        compruebaSitio("11:00");
        esperaFicha(TOperacion::ver);
        comando("ADetalles");

        const auto dobleClic = [&] {
            const QPoint donde = rejilla().visualRect(rejilla().model()->index(0, 1)).center();
            QTest::mouseClick(rejilla().viewport(), Qt::LeftButton, {}, donde);
            QTest::mouseDClick(rejilla().viewport(), Qt::LeftButton, {}, donde);
        };
        esperaFicha(TOperacion::modificar);
        dobleClic();
        const auto dobleClicDebajo = [&] {
            const QPoint donde = rejilla().viewport()->rect().bottomLeft() + QPoint(20, -5);
            ASSERT_FALSE(rejilla().indexAt(donde).isValid());
            QTest::mouseClick(rejilla().viewport(), Qt::LeftButton, {}, donde);
            QTest::mouseDClick(rejilla().viewport(), Qt::LeftButton, {}, donde);
        };
        esperaFicha(TOperacion::modificar);
        dobleClicDebajo();
        QTest::mouseDClick(rejilla().viewport(), Qt::RightButton, {},
                           rejilla().viewport()->rect().bottomLeft() + QPoint(20, -5));
        pestanas().setCurrentIndex(1);
        EXPECT_TRUE(rejilla().hasFocus()) << "another tab, its grid";
        esperaFicha(TOperacion::ver);
        dobleClic();
        esperaFicha(TOperacion::ver);
        dobleClicDebajo();
        esperaFicha(TOperacion::nuevo, [](TClassAgendaN &m) { EXPECT_EQ(&m.TablaActual(), m.Tabla(2)); });
        tecla(Qt::Key_Insert);
    });
}

TEST_F(CitasTest, CopiesTheCurrentLineToAnotherDay)
{
    enVentana([&] {
        pulsa(1);
        comando("ACopiarCita"); // the question is cancelled
        EXPECT_EQ(oficina.Rut.FechaOfrecida, oficina.Reloj.Dia) << "today is offered";
        oficina.Rut.FechaElegida = Lunes;
        comando("ACopiarCita");
        comando("AMoverCita");
        EXPECT_EQ(oficina.dia(1, Lunes).size(), 4) << "the shown day: nothing, and no message";
        oficina.Rut.FechaElegida = Jueves;
        comando("ACopiarCita");
        EXPECT_EQ(oficina.dia(1, Jueves), QStringList{"10:00 10:00 N"}) << "no sheet is built";
        EXPECT_EQ(oficina.dia(1, Lunes).size(), 4);
        compruebaSitio("10:00");
        // An emptied date field says no day; the one that is shown still counts.
        for (const char *orden : {"ACopiarCita", "AMoverCita"}) {
            fecha().setFocus();
            tecla(Qt::Key_A, Qt::ControlModifier);
            tecla(Qt::Key_Backspace);
            EXPECT_EQ(fecha().text(), "  /  /    ");
            oficina.Rut.FechaElegida = Lunes;
            comando(orden);
            EXPECT_EQ(oficina.dia(1, Lunes).size(), 4) << orden;
            EXPECT_EQ(horaActual(), "10:00");
        }
    });
}

TEST_F(CitasTest, CopiesSeveralInTheOrderOfTheSelection)
{
    oficina.Rut.FechaElegida = Jueves;
    enVentana([&] {
        pulsa(3);
        pulsa(0, Qt::ControlModifier);
        pulsa(2, Qt::ControlModifier);
        comando("ACopiarCita");
        EXPECT_EQ(escritas(Jueves), (QStringList{"12:00", "09:00", "11:00"}));
        EXPECT_EQ(rejilla().selectedBookmarks().size(), 3) << "the selection stays";
        compruebaSitio("11:00");
    });
}

TEST_F(CitasTest, MovesOneAndSeveral)
{
    oficina.Rut.FechaElegida = Jueves;
    enVentana([&] {
        pulsa(1);
        comando("AMoverCita");
        EXPECT_EQ(oficina.dia(1, Lunes), (QStringList{"09:00 09:00 N", "11:00 11:00 N", "12:00 12:00 N"}));
        EXPECT_EQ(escritas(Jueves), QStringList{"10:00"});
        compruebaSitio("11:00");
        pulsa(2);
        pulsa(0, Qt::ControlModifier);
        comando("AMoverCita");
        EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"11:00 11:00 N"});
        EXPECT_EQ(escritas(Jueves), (QStringList{"10:00", "12:00", "09:00"}));
        compruebaSitio("11:00");
        comando("AMoverCita");
        EXPECT_TRUE(oficina.dia(1, Lunes).isEmpty());
        EXPECT_EQ(fecha().text(), "16/11/2026");
        oficina.Mensaje.espera({"No hay ninguna cita que mover.", " ATENCIÓN:"});
        comando("AMoverCita");
        EXPECT_EQ(oficina.dia(2, Lunes).size(), 1);
    });
}

// The second of two lines with the same hour goes, and not the first.
TEST_F(CitasTest, MovesTheVeryLineAndNotItsTwin)
{
    oficina.linea(1, Lunes, "09:00", "Gemela");
    oficina.Rut.FechaElegida = Jueves;
    enVentana([&] {
        pulsa(1);
        comando("AMoverCita");
        EXPECT_EQ(oficina.dia(1, Jueves), QStringList{"09:00 Gemela N"});
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 09:00 N");
    });
}

TEST_F(CitasTest, ALineWithoutItsCopyIsNotDeletedAndIsNamed)
{
    oficina.Rut.FechaElegida = Jueves;
    const auto otro = oficina.agenda(1);
    const auto de = [&](const char *hora) {
        otro->locate({{"FECHA", Lunes}, {"HORA", hora}}, dataset::SearchMode::exact);
    };
    de("11:00");
    otro->edit();
    otro->field(u"INTERESADO").setText("Núñez, Ana");
    otro->post();
    enVentana([&] {
        pulsa(1);
        pulsa(2, Qt::ControlModifier);
        pulsa(3, Qt::ControlModifier);
        de("10:00");
        otro->remove(); // deleted elsewhere: cannot be copied
        de("11:00");
        otro->edit(); // in use elsewhere: cannot be deleted, and so is not copied
        oficina.Mensaje.espera({"No se ha podido mover:\n10:00\nOtro puesto ha borrado la línea mientras "
                                "tanto\n11:00 Núñez, Ana\nOtro puesto está usando la línea",
                                " ATENCIÓN:"});
        comando("AMoverCita");
        EXPECT_EQ(escritas(Jueves), QStringList{"12:00"});
        EXPECT_EQ(oficina.dia(1, Lunes), (QStringList{"09:00 09:00 N", "11:00 11:00 N"}));
    });
}

// The question is about what the clerk saw: what a colleague books meanwhile is neither deleted nor moved.
TEST_F(CitasTest, WhatAColleagueWritesUnderTheQuestionIsNotDeletedNorMoved)
{
    const auto otro = oficina.agenda(1);
    const auto reserva = [&](const char *hora) {
        otro->refresh();
        otro->locate({{"FECHA", Lunes}, {"HORA", hora}}, dataset::SearchMode::exact);
        otro->edit();
        otro->field(u"CONCEPTO").setText("De otro");
        otro->post();
    };
    const auto dos = [&](int una, int otra) {
        pulsa(una);
        pulsa(otra, Qt::ControlModifier);
    };
    const QString causa = "Otro puesto ha cambiado la línea mientras tanto";
    enVentana([&] {
        dos(0, 1);
        oficina.Mensaje.espera(
            {"¿Desea borrar las citas seleccionadas?", " ATENCIÓN", 1, {}, support::TCaja::porSuTexto, [&] {
                 reserva("10:00");
             }});
        oficina.Mensaje.espera({"No se ha podido borrar:\n10:00\n" + causa, " ATENCIÓN:"});
        tecla(Qt::Key_Delete);
        EXPECT_EQ(oficina.dia(1, Lunes), (QStringList{"10:00 De otro N", "11:00 11:00 N", "12:00 12:00 N"}));
        EXPECT_EQ(celda(0, 1), "De otro") << "shown as it now is";

        oficina.Rut.FechaElegida = Jueves;
        oficina.Rut.Entretanto = [&] { reserva("11:00"); };
        dos(1, 2);
        oficina.Mensaje.espera({"No se ha podido mover:\n11:00\n" + causa, " ATENCIÓN:"});
        comando("AMoverCita");
        EXPECT_EQ(escritas(Jueves), QStringList{"12:00"});
        EXPECT_EQ(oficina.dia(1, Lunes), (QStringList{"10:00 De otro N", "11:00 De otro N"}));
        EXPECT_EQ(celda(1, 1), "De otro");

        // One line alone, by the same rule.
        oficina.Rut.Entretanto = {};
        pulsa(1);
        oficina.Mensaje.espera({"¿Desea borrar la cita de las 11:00 de la base de datos?",
                                " ATENCIÓN",
                                1,
                                {},
                                support::TCaja::porSuTexto,
                                [&] {
                                    otro->edit();
                                    otro->field(u"CONCEPTO").setText("Otra vez");
                                    otro->post();
                                }});
        oficina.Mensaje.espera(
            {"No se ha podido borrar la cita de las 11:00.\nOtro puesto ha cambiado la línea mientras tanto",
             " ATENCIÓN:"});
        tecla(Qt::Key_Delete);
        EXPECT_EQ(celda(1, 1), "Otra vez");
    });
}

// A line that a colleague moves to another day is not under the keys any more, before and after a refresh.
TEST_F(CitasTest, ALineMovedElsewhereIsNotUnderTheKeysAnyMore)
{
    const auto otro = oficina.agenda(1);
    const auto alJueves = [&](const char *hora) {
        otro->refresh();
        otro->locate({{"FECHA", Lunes}, {"HORA", hora}}, dataset::SearchMode::exact);
        otro->edit();
        otro->field(u"FECHA").setDate(Jueves);
        otro->post();
    };
    enVentana([&] {
        pulsa(1);
        alJueves("10:00");
        refresca();
        compruebaSitio("11:00");
        oficina.Mensaje.espera({"¿Desea borrar la cita de las 11:00 de la base de datos?", " ATENCIÓN", 0});
        tecla(Qt::Key_Delete);
        alJueves("11:00");
        oficina.Mensaje.espera({"¿Desea borrar la cita de las 11:00 de la base de datos?", " ATENCIÓN", 1});
        oficina.Mensaje.espera({"No se ha podido borrar la cita de las 11:00.\n"
                                "Otro puesto ha cambiado de sitio la línea mientras tanto",
                                " ATENCIÓN:"});
        tecla(Qt::Key_Delete);
        compruebaSitio("12:00");
        EXPECT_EQ(oficina.dia(1, Jueves), (QStringList{"10:00 10:00 N", "11:00 11:00 N"}));
        // Nor does a click bring it there while it still stands in the grid.
        ASSERT_EQ(celda(0, 0), "09:00");
        alJueves("09:00");
        pulsa(0);
        compruebaSitio("12:00");
        EXPECT_EQ(rejilla().model()->rowCount(), 1);
    });
}

// While another workstation holds the whole table nothing is copied, and so nothing is deleted.
TEST_F(CitasTest, ATableThatCannotBeWrittenLosesNothing)
{
    oficina.Rut.FechaElegida = Jueves;
    const auto otro = oficina.agenda(1);
    enVentana([&] {
        pulsa(0);
        otro->beginGroup();
        oficina.Mensaje.espera(
            {"No se ha podido mover:\n09:00\nOtro puesto está escribiendo en la tabla", " ATENCIÓN:"});
        comando("AMoverCita");
        otro->dropGroup();
        EXPECT_EQ(oficina.dia(1, Lunes).size(), 4);
        compruebaSitio("09:00");
    });
}

TEST_F(CitasTest, ContactShowsTheClientOrTheList)
{
    const auto otro = oficina.agenda(1);
    otro->edit();
    otro->field(u"CODCLIENTE").setInteger(42);
    otro->post();
    enVentana([&] { EXPECT_FALSE(accion("AContacto").isEnabled()) << "a host without clients"; });
    clientes = &lista;
    enVentana([&] {
        comando("AContacto");
        pulsa(1);
        comando("AContacto");
        EXPECT_EQ(lista.Notas, (QStringList{"ficha 42", "explora Lista de clientes"}));
        EXPECT_TRUE(rejilla().hasFocus());
    });
}

// What was typed into the date field counts before the command that follows it.
TEST_F(CitasTest, ADateThatWasTypedCountsBeforeACommand)
{
    oficina.linea(1, Jueves, "17:00", "Del jueves");
    enVentana([&] {
        fecha().setFocus();
        fecha().selectAll();
        teclea("19/11/2026");
        esperaFicha(TOperacion::modificar, [&](TClassAgendaN &) { EXPECT_EQ(horaActual(), "17:00"); });
        comando("AModificar");
        EXPECT_EQ(fecha().text(), "19/11/2026");
        fecha().setFocus();
        fecha().selectAll();
        teclea("31/02/2026");
        oficina.Mensaje.espera({"La fecha introducida no es correcta", " ATENCIÓN:"});
        comando("AModificar"); // no card
        EXPECT_TRUE(QTest::qWaitFor([&] { return !oficina.Mensaje.pendientes() && fecha().hasFocus(); }));

        // A day that cannot be shown: the command must not fall on the one that is.
        std::filesystem::remove(oficina.carpetaDe("ZENTRA") / "VA_COMUN.DBF");
        fecha().selectAll();
        teclea("25/11/2026");
        const QString causa = "No existe la tabla VA_COMUN";
        oficina.Mensaje.espera({"No se ha podido mostrar el 25/11/2026 en todas las agendas:\nAna Núñez: " +
                                    causa + "\nBenito Ruiz: " + causa,
                                " ATENCIÓN:"});
        comando("AAusente");
        EXPECT_EQ(oficina.dia(1, Jueves), QStringList{"17:00 Del jueves N"});
    });
}

// One notary's day could be shown, the other's sheet not be made: the date is that of the lines in front.
TEST_F(CitasTest, TheDateFieldFollowsTheLinesAlsoWhenOtherNotariesFail)
{
    oficina.linea(1, Jueves, "17:00", "Del jueves");
    enVentana([&] {
        std::filesystem::remove(oficina.carpetaDe("ZENTRA") / "VA_COMUN.DBF");
        oficina.Rut.FechaElegida = Jueves;
        oficina.Mensaje.espera({"No se ha podido mostrar el 19/11/2026 en todas las agendas:\nBenito Ruiz: "
                                "No existe la tabla VA_COMUN",
                                " ATENCIÓN:"});
        comando("ABuscarDia");
        EXPECT_EQ(celda(0, 0), "17:00");
        EXPECT_EQ(fecha().text(), "19/11/2026");
    });
}

// The card stores the hour as it is typed, so a line may be in no sheet; a clerk who looks for it finds it.
TEST_F(CitasTest, LinesOutsideTheHoursAreToldAndLedTo)
{
    oficina.linea(1, Lunes, "93:0", "perdida");
    oficina.linea(1, Lunes, " 9:30", "otra");
    enVentana([&] {
        auto *const boton = ficha->findChild<QAbstractButton *>("BFueraDeHora");
        EXPECT_TRUE(boton->isVisible());
        EXPECT_EQ(boton->text(), "2 líneas fuera de hora");
        EXPECT_EQ(rejilla().model()->rowCount(), 4);
        EXPECT_EQ(horaActual(), "09:00");
        QTest::mouseClick(boton, Qt::LeftButton);
        EXPECT_EQ(rejilla().model()->rowCount(), 6);
        EXPECT_EQ(horaActual(), " 9:30");
        EXPECT_TRUE(rejilla().hasFocus());
        oficina.Mensaje.espera({"¿Desea borrar la cita de las  9:30 de la base de datos?", " ATENCIÓN", 1});
        tecla(Qt::Key_Delete);
        EXPECT_EQ(boton->text(), "1 línea fuera de hora");
        EXPECT_EQ(rejilla().model()->rowCount(), 5) << "the others stay in sight";
        QTest::mouseClick(boton, Qt::LeftButton);
        EXPECT_EQ(rejilla().model()->rowCount(), 4);
        QTest::mouseClick(boton, Qt::LeftButton);
        pestanas().setCurrentIndex(1);
        EXPECT_FALSE(boton->isVisible()) << "the other notary has none";
        pestanas().setCurrentIndex(0);
        EXPECT_TRUE(boton->isVisible());
        EXPECT_FALSE(boton->isChecked());
        EXPECT_EQ(rejilla().model()->rowCount(), 4);
        // Put right on the card, it is one of the sheet.
        QTest::mouseClick(boton, Qt::LeftButton);
        EXPECT_EQ(horaActual(), "93:0");
        vistas.Esperadas << support::VistasDePrueba::Esperada{
            TOperacion::modificar, [](TClassAgendaN &engine) {
                EXPECT_TRUE(engine.Modificar());
                engine.TablaActual().field(u"HORA").setText("09:30");
                EXPECT_TRUE(engine.AceptarAgendaN());
            }};
        comando("AModificar");
        EXPECT_FALSE(boton->isVisible());
        EXPECT_EQ(rejilla().model()->rowCount(), 5);
        EXPECT_EQ(horaActual(), "09:30");
    });
}

} // namespace
