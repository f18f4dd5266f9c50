// Editing in the first grid, and what other workstations do meanwhile.

#include "tests/agendan/Ventana.h"

#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPlainTextEdit>

namespace
{

using support::Lunes;
using support::VentanaTest;
using State = dataset::DataSet::State;

class EdicionTest : public VentanaTest
{
protected:
    EdicionTest()
    {
        for (const char *hora : {"09:00", "10:00", "11:00"})
            oficina.linea(1, Lunes, hora, "Firma");
        oficina.linea(2, Lunes, "09:00", "Poder");
    }
    [[nodiscard]] dataset::DataSet &tabla() const { return motor->TablaActual(); }
};

TEST_F(EdicionTest, ALetterStartsAnEditAndEnterPostsIt)
{
    enVentana([&] {
        pulsa(0);
        teclea("Acta");
        EXPECT_EQ(tabla().state(), State::edit);
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 Firma N") << "nothing is written before it is posted";
        tecla(Qt::Key_Return);
        EXPECT_EQ(tabla().state(), State::browse);
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 Acta N");

        // Accented letters and ñ, with and without a key of their own.
        pulsa(1);
        teclea("Ávila y ñandú");
        rejilla().setFocus();
        tecla(Qt::Key_Down); // moving posts what was changed
        EXPECT_EQ(oficina.dia(1, Lunes).at(1), "10:00 Ávila y ñandú N");
        EXPECT_EQ(ficha->findChild<QPlainTextEdit *>("DBMConcepto1")->toPlainText(), "Firma");

        pulsa(2, {}, 3);
        teclea("Marta");
        tecla(Qt::Key_Return);
        const auto juez = oficina.agenda(1);
        juez->last();
        EXPECT_EQ(juez->field(u"OFICIAL").asText(), "Marta");
    });
}

TEST_F(EdicionTest, WhichKeysStartAnEdit)
{
    const Qt::KeyboardModifiers keypad = Qt::KeypadModifier;
    const struct {
        Qt::Key key;
        Qt::KeyboardModifiers con;
        bool empieza;
    } casos[] = {
        {Qt::Key_0, {}, true},
        {Qt::Key_9, {}, true},
        {Qt::Key_A, Qt::ShiftModifier, true},
        {Qt::Key_Z, {}, true},
        {Qt::Key_Ntilde, {}, true},
        {Qt::Key_1, keypad, true},
        {Qt::Key_9, keypad, true},
        {Qt::Key_Plus, keypad, true},
        {Qt::Key_F5, {}, true},
        {Qt::Key_F11, {}, true},
        {Qt::Key_F12, {}, false},
        {Qt::Key_C, Qt::ControlModifier, false},
        {Qt::Key_A, Qt::ControlModifier, false},
        {Qt::Key_J, Qt::AltModifier, false},
        {Qt::Key_E, Qt::ControlModifier | Qt::AltModifier, true}, // AltGr, as some desktops tell it
    };
    enVentana([&] {
        for (const auto &caso : casos) {
            pulsa(0);
            tecla(caso.key, caso.con);
            EXPECT_EQ(tabla().state(), caso.empieza ? State::edit : State::browse)
                << caso.key << " with " << int(caso.con);
            for (int vez = 0; vez < 2 && (tabla().isEditing() || rejilla().isEditorOpen()); ++vez)
                tecla(Qt::Key_Escape);
            ASSERT_EQ(tabla().state(), State::browse);
            ASSERT_TRUE(ficha->isVisible());
        }
    });
    EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 Firma N");
}

TEST_F(EdicionTest, ACellDropsWhatTheTableCannotKeepAndLetsTheTabsHaveTheirKey)
{
    enVentana([&] {
        pulsa(0);
        teclea("a☃b");
        tecla(Qt::Key_Return);
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 ab N");
        pulsa(0);
        teclea("cd");
        tecla(Qt::Key_Tab, Qt::ControlModifier);
        EXPECT_EQ(pestanas().currentIndex(), 1);
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 cd N");
    });
}

TEST_F(EdicionTest, EscDropsTheEditFirstAndClosesNext)
{
    enVentana([&] {
        pulsa(0);
        teclea("Acta");
        tecla(Qt::Key_Escape);
        EXPECT_TRUE(ficha->isVisible());
        EXPECT_EQ(tabla().state(), State::browse);
        EXPECT_EQ(celda(0, 1), "Firma");
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 Firma N");
        tecla(Qt::Key_Escape);
        EXPECT_FALSE(ficha->isVisible());
    });
}

TEST_F(EdicionTest, EscGivesUpALineThatWasLeftHalfWritten)
{
    enVentana([&] {
        pulsa(0);
        teclea("Acta");
        tecla(Qt::Key_Tab); // the text is in its field, the line not yet in the table
        EXPECT_EQ(tabla().state(), State::edit);
        tecla(Qt::Key_Escape);
        EXPECT_TRUE(ficha->isVisible());
        EXPECT_EQ(tabla().state(), State::browse);
        EXPECT_EQ(celda(0, 1), "Firma");
        tecla(Qt::Key_Escape);
        EXPECT_FALSE(ficha->isVisible());
    });
}

TEST_F(EdicionTest, AnHourIsKeptInItsForm)
{
    enVentana([&] {
        pulsa(0, {}, 0);
        teclea("930");
        tecla(Qt::Key_Return);
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:30 Firma N");
        pulsa(0, {}, 0);
        teclea("25:00");
        oficina.Mensaje.espera({"«25:00» no es una hora", " ATENCIÓN:"});
        tecla(Qt::Key_Return);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !oficina.Mensaje.pendientes(); }));
        tecla(Qt::Key_Escape);
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:30 Firma N");
    });
}

// The box takes the focus from the cell that it is about.
TEST_F(EdicionTest, AHourThatIsNoneIsSaidOnce)
{
    enVentana([&] {
        pulsa(0, {}, 0);
        teclea("Firma");
        const auto abierta = [this] {
            QMessageBox caja(ficha);
            QTimer::singleShot(50, &caja, &QDialog::accept);
            caja.exec();
        };
        oficina.Mensaje.espera(
            {"«Firma» no es una hora", " ATENCIÓN:", 0, {}, support::TCaja::porSuTexto, abierta});
        tecla(Qt::Key_Return);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !oficina.Mensaje.pendientes(); }));
        QTest::qWait(50);
        EXPECT_TRUE(rejilla().isEditorOpen());
        tecla(Qt::Key_Escape);
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 Firma N");
    });
}

// The focus passes through the date field on the way back, and nobody has asked for a day there.
TEST_F(EdicionTest, ATabThatIsRefusedBuildsNoSheet)
{
    enVentana([&] {
        const auto otro = oficina.agenda(2);
        while (!otro->isEmpty())
            otro->remove();
        tecla(Qt::Key_Tab, Qt::ControlModifier);
        refresca();
        EXPECT_EQ(rejilla().model()->rowCount(), 0);
        tecla(Qt::Key_Tab, Qt::ControlModifier | Qt::ShiftModifier);
        pulsa(0, {}, 0);
        teclea("Firma");
        oficina.Mensaje.espera({"«Firma» no es una hora", " ATENCIÓN:"});
        oficina.Mensaje.espera({"«Firma» no es una hora", " ATENCIÓN:"});
        tecla(Qt::Key_Tab, Qt::ControlModifier);
        EXPECT_EQ(pestanas().currentIndex(), 0);
        EXPECT_EQ(oficina.dia(2, Lunes), QStringList());
        tecla(Qt::Key_Escape);
    });
}

TEST_F(EdicionTest, WhatCannotBeDeletedIsSaid)
{
    const auto otro = oficina.agenda(1);
    otro->edit();
    enVentana([&] {
        pulsa(0);
        oficina.Mensaje.espera({"¿Desea borrar la cita de las 09:00 de la base de datos?", " ATENCIÓN", 1});
        oficina.Mensaje.espera({"No se ha podido borrar la cita de las 09:00.\n"
                                "Otro puesto está usando la línea",
                                " ATENCIÓN:"});
        comando("ABorrar");
        EXPECT_EQ(oficina.dia(1, Lunes).size(), 3);
    });
}

TEST_F(EdicionTest, TheOtherGridsAreOnlyRead)
{
    enVentana([&] {
        pestanas().setCurrentIndex(1);
        rejilla().setFocus();
        pulsa(0);
        teclea("acta");
        tecla(Qt::Key_Return);
        EXPECT_EQ(tabla().state(), State::browse);
        EXPECT_EQ(oficina.dia(2, Lunes).first(), "09:00 Poder N");
    });
}

TEST_F(EdicionTest, ClosingKeepsWhatWasTyped)
{
    enVentana([&] {
        pulsa(0);
        teclea("Acta");
        comando("ASalir");
        EXPECT_FALSE(ficha->isVisible());
    });
    EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 Acta N");
}

TEST_F(EdicionTest, ALineInUseElsewhereIsSaidAndLeft)
{
    const auto otro = oficina.agenda(1);
    otro->edit();
    enVentana([&] {
        pulsa(0);
        oficina.Mensaje.espera({"No se ha podido modificar la cita de las 09:00.\n"
                                "Otro puesto está usando la línea",
                                " ATENCIÓN:"});
        teclea("A");
        EXPECT_TRUE(QTest::qWaitFor([&] { return !oficina.Mensaje.pendientes(); }));
        EXPECT_EQ(tabla().state(), State::browse);
        EXPECT_FALSE(rejilla().isEditorOpen());
        otro->cancel();
        teclea("Ya");
        tecla(Qt::Key_Return);
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 Ya N");
    });
}

// What a colleague wrote since the line was drawn is shown, and nothing is typed over it unseen.
TEST_F(EdicionTest, ALetterIsNotTypedOverWhatWasNotSeen)
{
    const auto otro = oficina.agenda(1);
    const auto escribeOtro = [&](int fila, const char *concepto) {
        otro->refresh();
        otro->setCurrentRow(fila);
        otro->edit();
        otro->field(u"CONCEPTO").setText(concepto);
        otro->post();
    };
    const QString causa = "Otro puesto ha cambiado la línea mientras tanto";
    enVentana([&] {
        pulsa(0);
        escribeOtro(0, "De otro");
        oficina.Mensaje.espera({"No se ha podido modificar la cita de las 09:00.\n" + causa, " ATENCIÓN:"});
        teclea("A");
        EXPECT_TRUE(QTest::qWaitFor([&] { return !oficina.Mensaje.pendientes(); }));
        EXPECT_EQ(tabla().state(), State::browse);
        EXPECT_FALSE(rejilla().isEditorOpen());
        EXPECT_EQ(celda(0, 1), "De otro");
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 De otro N");
        teclea("Ya");
        tecla(Qt::Key_Return);
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 Ya N");

        // A mark, too, is put on what was seen.
        pulsa(2);
        escribeOtro(2, "Lo de otro");
        oficina.Mensaje.espera({"No se ha podido marcar la salida de las 11:00.\n" + causa, " ATENCIÓN:"});
        comando("ASalida");
        EXPECT_EQ(oficina.dia(1, Lunes).last(), "11:00 Lo de otro N");
    });
}

// The news that come in with the edit move the rows under the cursor of the grid.
TEST_F(EdicionTest, ALetterGoesIntoTheLineUnderTheKeysAlsoWhenRowsMove)
{
    enVentana([&] {
        pulsa(1);
        const auto otro = oficina.agenda(1);
        otro->first();
        otro->edit();
        otro->field(u"HORA").setText("10:30");
        otro->post();
        teclea("Acta");
        tecla(Qt::Key_Return);
        EXPECT_EQ(oficina.dia(1, Lunes), (QStringList{"10:00 Acta N", "10:30 Firma N", "11:00 Firma N"}));
    });
}

TEST_F(EdicionTest, TheRefreshShowsOthersLinesAndDisturbsNoEdit)
{
    enVentana([&] {
        pulsa(2);
        pulsa(0, Qt::ControlModifier);
        oficina.linea(1, Lunes, "09:30", "De otro puesto");
        refresca();
        EXPECT_EQ(celda(1, 1), "De otro puesto");
        EXPECT_EQ(rejilla().selectedBookmarks().size(), 2) << "the selection outlives the refresh";
        EXPECT_EQ(rejilla().currentIndex().row(), 0);

        pulsa(3);
        teclea("A medias");
        oficina.linea(1, Lunes, "08:00", "Otra");
        refresca();
        EXPECT_EQ(tabla().state(), State::edit);
        EXPECT_TRUE(rejilla().isEditorOpen());
        EXPECT_EQ(rejilla().model()->rowCount(), 4) << "the refresh waits for the edit";
        tecla(Qt::Key_Return);
        refresca();
        EXPECT_EQ(oficina.dia(1, Lunes).last(), "11:00 A medias N");
        EXPECT_EQ(celda(0, 1), "Otra");
        EXPECT_EQ(celda(4, 1), "A medias");
        EXPECT_EQ(rejilla().currentIndex().row(), 4) << "the current line is the same one";
    });
}

TEST_F(EdicionTest, WhatWasTypedOutlivesALineThatOthersHaveChanged)
{
    enVentana([&] {
        pulsa(0, {}, 3);
        teclea("Marta");
        oficina.escribeSinBloqueo(1, "CONCEPTO", "De otro");
        oficina.Mensaje.espera({"No se ha podido guardar la cita de las 09:00.\nOtro puesto ha cambiado la "
                                "línea mientras tanto\n\nLo que ha escrito "
                                "sigue en la línea: pulse Intro para volver a intentarlo o Esc para dejarlo.",
                                " ATENCIÓN:"});
        tecla(Qt::Key_Return);
        EXPECT_EQ(tabla().state(), State::edit);
        EXPECT_EQ(celda(0, 1), "De otro") << "theirs is seen";
        EXPECT_EQ(celda(0, 3), "Marta") << "and mine is still there";
        EXPECT_TRUE(rejilla().hasFocus());
        tecla(Qt::Key_Return);
        EXPECT_EQ(tabla().state(), State::browse);
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 De otro N");
        const auto juez = oficina.agenda(1);
        EXPECT_EQ(juez->field(u"OFICIAL").asText(), "Marta");
    });
}

TEST_F(EdicionTest, WhatWasTypedIntoADeletedLineIsTold)
{
    enVentana([&] {
        pulsa(0);
        teclea("Acta notarial");
        oficina.escribeSinBloqueo(1, nullptr, "*");
        oficina.Mensaje.espera({"No se ha podido guardar la cita de las 09:00.\nOtro puesto ha borrado la "
                                "línea mientras tanto\n\nHabía escrito:\n"
                                "Acta notarial",
                                " ATENCIÓN:"});
        tecla(Qt::Key_Return);
        EXPECT_EQ(tabla().state(), State::browse);
    });
}

// What is typed is stored before the absence, and with it comes what a colleague has booked: nobody has seen
// it.
TEST_F(EdicionTest, AnAbsenceBehindATextMarksNothingThatCameWithIt)
{
    enVentana([&] {
        pulsa(0);
        teclea("Acta");
        oficina.linea(1, Lunes, "12:00", "Boda");
        oficina.Mensaje.espera(
            {"Otro puesto ha cambiado el día mientras tanto. Mire lo que dice ahora y repita la orden.",
             " ATENCIÓN:"});
        comando("AAusente");
        EXPECT_EQ(oficina.dia(1, Lunes),
                  (QStringList{"09:00 Acta N", "10:00 Firma N", "11:00 Firma N", "12:00 Boda N"}));
        EXPECT_EQ(celda(3, 1), "Boda");
        pulsa(0);
        teclea("Poder");
        comando("AAusente");
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 [AUSENTE]Poder S");
        EXPECT_EQ(oficina.dia(1, Lunes).last(), "12:00 [AUSENTE]Boda S");
    });
}

// A command, or another tab, must not throw away a half-written line that cannot be written now.
TEST_F(EdicionTest, NoCommandRunsOverALineThatCannotBeKept)
{
    enVentana([&] {
        const QString causa =
            "No se ha podido guardar la cita de las 09:00.\nOtro puesto ha cambiado la línea mientras tanto";
        pulsa(0);
        teclea("Acta");
        oficina.escribeSinBloqueo(1, "CONCEPTO", "De otro");
        for (const char *orden : {"ASalida", "ANuevo", "AAusente", "ADiaSiguiente"}) {
            oficina.Mensaje.espera({causa, " ATENCIÓN:"});
            comando(orden);
            EXPECT_EQ(celda(0, 1), "Acta") << orden;
            EXPECT_EQ(tabla().state(), State::edit) << orden;
        }
        oficina.Mensaje.espera({causa, " ATENCIÓN:"});
        pestanas().setCurrentIndex(1);
        EXPECT_EQ(pestanas().currentIndex(), 0);
        EXPECT_EQ(motor->Tabla(1), &motor->TablaActual());
        tecla(Qt::Key_Escape);
        EXPECT_EQ(tabla().state(), State::browse);
    });
}

} // namespace
