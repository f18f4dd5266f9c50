// Editing in the first grid, and what other workstations do meanwhile.

#include "tests/agendan/Ventana.h"

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

TEST_F(EdicionTest, WhatCannotBeDeletedIsSaid)
{
    const auto otro = oficina.agenda(1);
    otro->edit();
    enVentana([&] {
        pulsa(0);
        oficina.Mensaje.espera({"¿Desea borrar la cita de las 09:00 de la base de datos?", " ATENCIÓN", 1});
        oficina.Mensaje.espera(
            {"No se ha podido borrar la cita.\n" +
                 QString::fromStdString((oficina.carpetaDe("NOTARIO1") / "AGENDA_N.DBF").string()) +
                 ": otro puesto está usando la línea 1",
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
        oficina.Mensaje.espera(
            {"No se ha podido modificar la cita: puede que otro puesto la esté usando.", " ATENCIÓN:"});
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

} // namespace
