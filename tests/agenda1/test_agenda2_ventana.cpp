// The window of two notaries, worked with keys and clicks over a real table.

#include "tests/agenda1/VentanaUnica.h"

#include <QtGui/QClipboard>
#include <QtWidgets/QGroupBox>

#include <cmath>

namespace
{

using support::Dia;

const QString Aviso = QStringLiteral(" ATENCIÓN:");

class DosNotariosVentanaTest : public support::VentanaUnicaTest
{
protected:
    void SetUp() override
    {
        ajustes("0910", "30", {"Ana Núñez", "Benito Ruiz"});
        linea({Dia, "09:00", QStringLiteral("Poder").leftJustified(45) + "Acta",
               QStringLiteral("GARCÍA").leftJustified(50) + "RUIZ", "MARTA", "0"});
        linea({Dia, "09:30", "", "LÓPEZ", "", "2"});
        linea({Dia, "10:00", "", "", "", "0"});
    }
    [[nodiscard]] QPair<int, int> celda() const
    {
        return {rejilla().currentIndex().row(), rejilla().currentIndex().column()};
    }
    [[nodiscard]] static QString junta(const QString &uno, const QString &dos, int ancho)
    {
        return uno.leftJustified(ancho) + dos;
    }
};

TEST_F(DosNotariosVentanaTest, TheSelectionRestsOnThePartiesOnly)
{
    enVentana([this] {
        EXPECT_EQ(rejilla().model()->headerData(1, Qt::Horizontal).toString(), "Ana Núñez");
        EXPECT_EQ(rejilla().model()->headerData(4, Qt::Horizontal).toString(), "Benito Ruiz");
        EXPECT_EQ(accion("AcSalidaNotario2").text(), "Benito Ruiz");
        const struct {
            Qt::Key tecla;
            QPair<int, int> celda;
        } casos[] = {{Qt::Key_Right, {0, 4}}, {Qt::Key_Right, {1, 1}}, {Qt::Key_Left, {0, 4}},
                     {Qt::Key_Left, {0, 1}},  {Qt::Key_Left, {0, 1}},  {Qt::Key_End, {2, 1}},
                     {Qt::Key_Right, {2, 4}}, {Qt::Key_Right, {2, 4}}, {Qt::Key_Home, {0, 4}}};
        rejilla().setCurrentIndex(rejilla().model()->index(0, 1));
        for (const auto &caso : casos) {
            tecla(caso.tecla);
            EXPECT_EQ(celda(), caso.celda) << &caso - casos;
        }
        for (const auto &[pulsada, queda] : {std::pair(0, 1), {2, 1}, {3, 1}, {5, 4}, {6, 4}}) {
            pulsaCelda(1, pulsada);
            EXPECT_EQ(celda(), qMakePair(1, queda)) << pulsada;
        }
        EXPECT_FALSE(rejilla().selectionModel()->hasSelection()) << "it would hide who is out";
        EXPECT_EQ(pieza<QGroupBox>("PActualiza").title(), "Benito Ruiz");
        // Coloured: the columns of the notary who is out, and no others.
        EXPECT_FALSE(rejilla().cellColor(rejilla().model()->index(1, 3)));
        EXPECT_TRUE(rejilla().cellColor(rejilla().model()->index(1, 6)));
        const int w = rejilla().viewport()->width() - rejilla().columnWidth(0) - 5;
        EXPECT_EQ(rejilla().columnWidth(4), std::lround(w * 0.2));
        EXPECT_EQ(rejilla().columnWidth(5), std::lround(w * 0.12));
        EXPECT_EQ(rejilla().columnWidth(6), std::lround(w * 0.18));
    });
}

TEST_F(DosNotariosVentanaTest, ALineIsWrittenWhenItIsAccepted)
{
    enVentana([this] {
        pulsaCelda(0, 5);
        tecla(Qt::Key_Return);
        EXPECT_TRUE(editando());
        EXPECT_EQ(edicion("DBEInteresado").text(), "RUIZ");
        edicion("DBEInteresado").setFocus();
        edicion("DBEInteresado").selectAll();
        teclea("NÚÑEZ");
        pulsa("BAceptar");
        EXPECT_EQ(dia().first(),
                  "09:00|" + junta("Poder", "Acta", 45) + "|" + junta("GARCÍA", "NÚÑEZ", 50) + "|MARTA|0");
        tecla(Qt::Key_Insert);
        teclea("1200");
        edicion("DBEInteresado").setFocus();
        teclea("Nueva");
        pulsa("BAceptar");
    });
    EXPECT_EQ(dia().last(), "12:00||" + junta("", "Nueva", 50) + "||");
    enVentana([this] {
        tecla(Qt::Key_Insert); // its hour is the current line's, which stays as well
        tecla(Qt::Key_Tab);
        teclea("Otra");
        pulsa("BAceptar");
    });
    EXPECT_EQ(dia().size(), 5);
    EXPECT_EQ(dia().at(1).left(10), "09:00|Otra");
}

TEST_F(DosNotariosVentanaTest, ACopyGoesFromOneNotaryToTheOther)
{
    enVentana([this] {
        rejilla().setCurrentIndex(rejilla().model()->index(0, 1));
        EXPECT_FALSE(accion("Pegar").isEnabled());
        tecla(Qt::Key_C, Qt::ControlModifier);
        pulsaCelda(2, 4);
        tecla(Qt::Key_V, Qt::ControlModifier);
    });
    EXPECT_EQ(dia().last(), "10:00|" + junta("", "Poder", 45) + "|" + junta("", "GARCÍA", 50) + "|" +
                                junta("", "MARTA", 8) + "|0");
}

TEST_F(DosNotariosVentanaTest, DeletedLinesGoWithTheReturnCommand)
{
    enVentana([this] {
        rejilla().setCurrentIndex(rejilla().model()->index(1, 1));
        oficina.Mensaje.espera(
            {"¿Desea eliminar la anotación (S/N)?", "Atencion", RespuestaSi, "Borrar una anotación"});
        tecla(Qt::Key_Delete);
        EXPECT_EQ(rejilla().model()->rowCount(), 2);
        EXPECT_EQ(dia().size(), 3);
        linea({Dia, "08:00", "", "DE OTRO", "", "0"});
        recarga(); // keeps what is not written yet, and the line
        EXPECT_EQ(rejilla().model()->rowCount(), 3);
        EXPECT_EQ(motor->Tabla2().field(u"HORA").asText(), "10:00");
        EXPECT_EQ(celda(), qMakePair(2, 1));
        pulsa("BVolver");
        EXPECT_TRUE(ventana->isVisible());
    });
    EXPECT_EQ(dia().size(), 3);
    EXPECT_EQ(dia().first(), "08:00||DE OTRO||0");
}

TEST_F(DosNotariosVentanaTest, ALineBeingChangedIsNotReloaded)
{
    enVentana([this] {
        rejilla().setCurrentIndex(rejilla().model()->index(0, 1));
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        teclea("Escribiendo");
        linea({Dia, "08:00", "", "DE OTRO", "", "0"});
        recarga();
        EXPECT_EQ(rejilla().model()->rowCount(), 3);
        EXPECT_TRUE(edicion("DBEConcepto").text().contains("Escribiendo"));
        pulsa("BAceptar");
        recarga();
        EXPECT_EQ(rejilla().model()->rowCount(), 4);
    });
}

TEST_F(DosNotariosVentanaTest, OutingsAndAbsencesAreWrittenAtOnce)
{
    enVentana([this] {
        rejilla().setCurrentIndex(rejilla().model()->index(2, 1));
        comando("AcSalidaNotario1");
        EXPECT_EQ(dia().last(), "10:00||Salida||1");
        comando("AcAusenteNotario2");
    });
    EXPECT_EQ(dia().at(0),
              "09:00|" + junta("Poder", "Acta", 45) + "|" + junta("GARCÍA", "AUSENCIA", 50) + "|MARTA|2");
    EXPECT_EQ(dia().at(1), "09:30||LÓPEZ||0");
}

TEST_F(DosNotariosVentanaTest, ADayThatCannotBeWrittenIsToldAndStays)
{
    const auto otro = tabla();
    enVentana([&] {
        ASSERT_TRUE(otro->locate({{"FECHA", Dia}, {"HORA", "10:00"}}, dataset::SearchMode::exact));
        otro->edit();
        rejilla().setCurrentIndex(rejilla().model()->index(2, 1));
        oficina.Mensaje.espera({"Problemas en la actualización de la cita", Aviso});
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        teclea("Compra");
        pulsa("BAceptar");
        EXPECT_TRUE(editando()); // what was typed is still there
        EXPECT_EQ(edicion("DBEConcepto").text(), "Compra");
        otro->cancel();
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
        EXPECT_EQ(dia().last(), "10:00|Compra|||0");
    });
}

TEST_F(DosNotariosVentanaTest, WhatWasRefusedIsNotShownAsDone)
{
    const auto otro = tabla();
    const auto ocupa = [&] {
        ASSERT_TRUE(otro->locate({{"FECHA", Dia}, {"HORA", "10:00"}}, dataset::SearchMode::exact));
        otro->edit(dataset::EditOf::fresh);
    };
    enVentana([&] {
        const auto enPantalla = [this](int columna) { return rejilla().model()->index(2, columna).data(); };
        ocupa();
        rejilla().setCurrentIndex(rejilla().model()->index(2, 1));
        oficina.Mensaje.espera(
            {"Otro puesto está usando la línea", Aviso, 0, QString(), support::TCaja::porSuTexto});
        comando("AcSalidaNotario1");
        EXPECT_EQ(enPantalla(1), "");
        otro->cancel();
        comando("AcSalidaNotario1"); // tried again it is put, not taken off
        EXPECT_EQ(dia().last(), "10:00||Salida||1");

        // What is given up is gone, and the line is as the table has it by now.
        ocupa();
        oficina.Mensaje.espera({"Problemas en la actualización de la cita", Aviso});
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        teclea("Compra");
        pulsa("BAceptar");
        otro->field(u"OFICIAL").setText("MARTA");
        otro->post();
        oficina.Mensaje.espera({"¿Desea deshacer los cambios?", Aviso, RespuestaSi});
        tecla(Qt::Key_Escape);
        EXPECT_FALSE(editando());
        EXPECT_EQ(enPantalla(3), "");
        EXPECT_EQ(enPantalla(2), "MARTA");
        pulsa("BVolver");
        EXPECT_EQ(dia().last(), "10:00||Salida|MARTA|1");
    });
}

// One workstation: the first of two lines of an hour is marked by mistake, and the mark taken off again.
TEST_F(DosNotariosVentanaTest, AMarkIsTakenOffTheLineThatItWasPutOn)
{
    linea({Dia, "11:00", "", "SANZ", "", "0"});
    linea({Dia, "11:00", "", "PEÑA", "", "0"});
    enVentana([this] {
        rejilla().setCurrentIndex(rejilla().model()->index(4, 1));
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        teclea("Acta");
        pulsa("BAceptar");
        rejilla().setCurrentIndex(rejilla().model()->index(3, 1));
        EXPECT_EQ(rejilla().model()->index(3, 1).data(), "SANZ");
        comando("AcSalidaNotario2");
        EXPECT_EQ(celda().first, 3);
        comando("AcSalidaNotario2");
    });
    EXPECT_EQ(dia().mid(3).join('\n').toStdString(), "11:00||SANZ||0\n11:00|Acta|PEÑA||0");
}

TEST_F(DosNotariosVentanaTest, APastedLetterThatTheTableLacksIsRefused)
{
    enVentana([this] {
        rejilla().setCurrentIndex(rejilla().model()->index(0, 1));
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        edicion("DBEInteresado").setFocus();
        edicion("DBEInteresado").selectAll();
        QApplication::clipboard()->setText(QStringLiteral("García \U0001F600"));
        tecla(Qt::Key_V, Qt::ControlModifier);
        pulsa("BAceptar");
    });
    EXPECT_EQ(dia().first().section('|', 2, 2).mid(50).toStdString(), "RUIZ");
}

} // namespace
