// Two clerks on one day of two notaries, in orders that have lost or misplaced something.

#include "tests/agenda1/Unica.h"

using support::Dia;
using support::UnicaTest;

namespace
{

class OtroPuestoTest : public UnicaTest
{
protected:
    OtroPuestoTest() { ajustes("0910", "30", {"Ana Núñez", "Benito Ruiz"}); }

    struct Cita {
        const char *hora;
        const char *interesado1 = "";
        const char *oficial1 = "";
        const char *concepto1 = "";
        const char *interesado2 = "";
    };
    void pon(std::initializer_list<Cita> citas) const
    {
        for (const Cita &c : citas)
            linea({Dia, c.hora, c.concepto1, QString(c.interesado1).leftJustified(50) + c.interesado2,
                   c.oficial1, "0"});
    }
    [[nodiscard]] static QString valor(TAgenda &motor, int fila, const char *campo)
    {
        return motor.Tabla2().textAt(fila, motor.Tabla2().fieldIndex(QString::fromLatin1(campo)));
    }
    [[nodiscard]] static std::string pantalla(TAgenda &motor)
    {
        QStringList lineas;
        for (int fila = 0; fila < motor.Tabla2().rowCount(); ++fila)
            lineas << valor(motor, fila, "HORA") + ' ' + valor(motor, fila, "INTERESADO1") + '/' +
                          valor(motor, fila, "INTERESADO2") + '/' + valor(motor, fila, "CONCEPTO1");
        return lineas.join(", ").toStdString();
    }
    [[nodiscard]] std::string enTabla() const
    {
        QStringList lineas;
        for (const QString &linea : dia()) {
            const QStringList c = linea.split(u'|');
            lineas << c[0] + ' ' + c[2].left(50).trimmed() + '/' + c[2].mid(50).trimmed() + '/' +
                          c[1].left(30).trimmed();
        }
        return lineas.join(", ").toStdString();
    }
    /// Goes to the line of a party.
    static void elige(TAgenda &motor, const char *interesado1)
    {
        for (int fila = 0; fila < motor.Tabla2().rowCount(); ++fila) {
            if (valor(motor, fila, "INTERESADO1") == interesado1) {
                motor.Tabla2().setCurrentRow(fila);
                return;
            }
        }
        FAIL() << "no line of " << interesado1;
    }
    using Cambios = std::initializer_list<std::pair<const char *, const char *>>;
    static void cambia(TAgenda &motor, const char *interesado1, Cambios cambios)
    {
        elige(motor, interesado1);
        ASSERT_TRUE(motor.Modificar());
        escribe(motor, cambios);
    }
    static void anade(TAgenda &motor, Cambios cambios)
    {
        ASSERT_TRUE(motor.Insertar());
        escribe(motor, cambios);
    }
    static void escribe(TAgenda &motor, Cambios cambios)
    {
        for (const auto &[campo, texto] : cambios)
            motor.Tabla2().field(QString::fromLatin1(campo)).setText(QString::fromUtf8(texto));
        EXPECT_TRUE(motor.Aceptar());
    }
    void esperaChoque(const char *hora)
    {
        oficina.Mensaje.espera({QStringLiteral("Otro puesto ha cambiado a la vez la cita de las ") + hora,
                                " ATENCIÓN:", 0, "Se han conservado las dos anotaciones. Revíselas."});
    }
};

TEST_F(OtroPuestoTest, TheSecondLineOfAnHourIsAcceptedByBoth)
{
    pon({{"10:00", "X"}, {"10:00", "Y"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) { cambia(otro, "Y", {{"INTERESADO2", "RUIZ"}}); });
        cambia(motor, "Y", {{"CONCEPTO1", "acta"}});
        EXPECT_EQ(enTabla(), "10:00 X//, 10:00 Y/RUIZ/acta");
        EXPECT_EQ(pantalla(motor), "10:00 X//, 10:00 Y/RUIZ/acta");
        motor.RecargaAgenda2();
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(enTabla(), "10:00 X//, 10:00 Y/RUIZ/acta");
    });
    EXPECT_EQ(enTabla(), "10:00 X//, 10:00 Y/RUIZ/acta");
}

// The same collision with an accept after it, instead of the whole day.
TEST_F(OtroPuestoTest, AfterBothHaveAcceptedTheSecondLineTheFirstOneIsStillItself)
{
    pon({{"10:00", "X"}, {"10:00", "Y"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) { cambia(otro, "Y", {{"INTERESADO2", "RUIZ"}}); });
        cambia(motor, "Y", {{"CONCEPTO1", "acta"}});
        cambia(motor, "Y", {{"CONCEPTO1", "poder"}});
        EXPECT_EQ(pantalla(motor), "10:00 X//, 10:00 Y/RUIZ/poder");
        motor.ActualizarDesdeAgenda2();
    });
    EXPECT_EQ(enTabla(), "10:00 X//, 10:00 Y/RUIZ/poder");
}

// A party corrected there, and a second appointment at its hour: a subject typed here meanwhile belongs to
// the first one.
TEST_F(OtroPuestoTest, ASubjectDoesNotGoToTheLineThatHasTakenTheRecord)
{
    pon({{"10:00", "GARCIA"}, {"11:00"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) {
            cambia(otro, "GARCIA", {{"INTERESADO1", "GARCÍA"}});
            anade(otro, {{"HORA", "10:00"}, {"INTERESADO1", "LÓPEZ"}});
        });
        cambia(motor, "GARCIA", {{"CONCEPTO1", "herencia"}});
        EXPECT_EQ(enTabla().find("LÓPEZ//herencia"), std::string::npos) << enTabla();
        EXPECT_NE(enTabla().find("LÓPEZ//,"), std::string::npos) << enTabla();
    });
}

// Deleted there, and another appointment of the same clerk of the office at its hour.
TEST_F(OtroPuestoTest, ALineOfTheSameOficialIsNotTheDeletedOne)
{
    pon({{"10:00", "X", "MARTA"}, {"11:00"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) {
            elige(otro, "X");
            EXPECT_TRUE(otro.Borrar());
            otro.ActualizarDesdeAgenda2();
            anade(otro, {{"HORA", "10:00"}, {"INTERESADO1", "Z"}, {"OFICIAL1", "MARTA"}});
        });
        EXPECT_EQ(enTabla(), "10:00 Z//, 11:00 //");
        esperaChoque("10:00");
        cambia(motor, "X", {{"CONCEPTO1", "acta"}});
        EXPECT_EQ(enTabla(), "10:00 Z//, 10:00 X//acta, 11:00 //");
    });
}

// Moved there to a full hour and changed, and another appointment of the same clerk of the office in its
// place.
TEST_F(OtroPuestoTest, MovedAndChangedThereItIsNotTheOneThatHasCome)
{
    pon({{"10:00", "X", "MARTA"}, {"11:00", "W"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) {
            cambia(otro, "X", {{"HORA", "11:00"}, {"CONCEPTO1", "acta"}});
            anade(otro, {{"HORA", "10:00"}, {"INTERESADO1", "Z"}, {"OFICIAL1", "MARTA"}});
        });
        cambia(motor, "X", {{"INTERESADO2", "RUIZ"}});
        EXPECT_EQ(enTabla().find("Z/RUIZ"), std::string::npos) << enTabla();
    });
}

// Both lines of an hour changed there in their only field.
TEST_F(OtroPuestoTest, TwoLinesOfAnHourBothChangedThere)
{
    pon({{"10:00", "ANA"}, {"10:00", "BEA"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) {
            cambia(otro, "ANA", {{"INTERESADO1", "ANA SANZ"}});
            cambia(otro, "BEA", {{"INTERESADO1", "BEA SANZ"}});
        });
        cambia(motor, "ANA", {{"CONCEPTO1", "acta"}});
        EXPECT_EQ(enTabla().find("BEA SANZ//acta"), std::string::npos) << enTabla();
    });
}

// One changed there in its only field, the second one of the hour: it has changed places with the first.
TEST_F(OtroPuestoTest, TheSecondOfAnHourChangedThereInItsOnlyField)
{
    pon({{"10:00", "X"}, {"10:00", "GARCIA"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) { cambia(otro, "GARCIA", {{"INTERESADO1", "GARCÍA"}}); });
        cambia(motor, "GARCIA", {{"CONCEPTO1", "acta"}});
        EXPECT_EQ(pantalla(motor), "10:00 X//, 10:00 GARCÍA//acta");
        motor.ActualizarDesdeAgenda2();
    });
    EXPECT_EQ(enTabla(), "10:00 X//, 10:00 GARCÍA//acta");
}

// A second clash on the first, and undoing nothing of it.
TEST_F(OtroPuestoTest, ASecondClashOnTopOfTheFirst)
{
    pon({{"10:00", "X"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) { cambia(otro, "X", {{"INTERESADO1", "SUYA"}}); });
        esperaChoque("10:00");
        cambia(motor, "X", {{"INTERESADO1", "MÍA"}});
        EXPECT_EQ(enTabla(), "10:00 SUYA//, 10:00 MÍA//");
        abre([](TAgenda &otro) { cambia(otro, "MÍA", {{"INTERESADO1", "SUYA 2"}}); });
        esperaChoque("10:00");
        cambia(motor, "MÍA", {{"INTERESADO1", "MÍA 2"}});
        EXPECT_EQ(pantalla(motor).find("MÍA//"), std::string::npos) << pantalla(motor);
        motor.RecargaAgenda2();
        motor.ActualizarDesdeAgenda2();
        QStringList lineas = QString::fromStdString(enTabla()).split(", ");
        lineas.sort();
        EXPECT_EQ(lineas.join(", ").toStdString(), "10:00 MÍA 2//, 10:00 SUYA 2//, 10:00 SUYA//");
    });
}

// Equal blank lines of an hour, each filled by another clerk.
TEST_F(OtroPuestoTest, EqualBlankLinesTakeWhatBothWrite)
{
    for (const int fila : {0, 1}) {
        for (const int suya : {0, 1}) {
            const auto antes = tabla();
            antes->setRange({{"FECHA", Dia}}, {{"FECHA", Dia}});
            while (!antes->isEmpty())
                antes->remove();
            pon({{"10:00"}, {"10:00"}, {"10:00"}});
            abre([&](TAgenda &motor) {
                abre([&](TAgenda &otro) {
                    otro.Tabla2().setCurrentRow(suya);
                    ASSERT_TRUE(otro.Modificar());
                    escribe(otro, {{"INTERESADO1", "SUYA"}});
                });
                motor.Tabla2().setCurrentRow(fila);
                ASSERT_TRUE(motor.Modificar());
                if (fila == 0)
                    esperaChoque("10:00");
                escribe(motor, {{"INTERESADO1", "MÍA"}});
                motor.ActualizarDesdeAgenda2();
            });
            EXPECT_NE(enTabla().find("SUYA"), std::string::npos) << fila << suya << enTabla();
            EXPECT_NE(enTabla().find("MÍA"), std::string::npos) << fila << suya << enTabla();
        }
    }
}

// Three lines of an hour: each clerk accepts another one, neither the first.
TEST_F(OtroPuestoTest, OfThreeLinesOfAnHourEachClerkAcceptsAnotherOne)
{
    pon({{"10:00", "X"}, {"10:00", "Y"}, {"10:00", "Z"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) { cambia(otro, "Y", {{"INTERESADO2", "RUIZ"}}); });
        cambia(motor, "Z", {{"CONCEPTO1", "acta"}});
        EXPECT_EQ(pantalla(motor), "10:00 X//, 10:00 Y/RUIZ/, 10:00 Z//acta");
        motor.RecargaAgenda2();
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(enTabla(), "10:00 X//, 10:00 Y/RUIZ/, 10:00 Z//acta");
    });
}

// Deleted in the second of two lines that both clerks have changed: only that one goes.
TEST_F(OtroPuestoTest, ADeletionTakesTheLineThatIsSeen)
{
    pon({{"10:00", "X"}, {"10:00", "Y"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) { cambia(otro, "Y", {{"INTERESADO2", "RUIZ"}}); });
        cambia(motor, "Y", {{"CONCEPTO1", "acta"}});
        elige(motor, "Y");
        EXPECT_TRUE(motor.Borrar());
        motor.ActualizarDesdeAgenda2();
    });
    EXPECT_EQ(enTabla(), "10:00 X//");
}

// The line that the clerk stands on stays the current one, whatever record it has by now.
TEST_F(OtroPuestoTest, AReloadLeavesTheClerkOnHisLine)
{
    pon({{"10:00", "X"}, {"10:00", "Y"}});
    abre([&](TAgenda &motor) {
        elige(motor, "X");
        abre([](TAgenda &otro) { cambia(otro, "Y", {{"INTERESADO2", "RUIZ"}}); });
        motor.RecargaAgenda2();
        EXPECT_EQ(motor.Tabla2().field(u"INTERESADO1").asText().toStdString(), "X");
        EXPECT_TRUE(motor.Borrar());
        motor.ActualizarDesdeAgenda2();
    });
    EXPECT_EQ(enTabla(), "10:00 Y/RUIZ/");
}

TEST_F(OtroPuestoTest, WritingTheDayLeavesTheClerkOnHisLine)
{
    pon({{"10:00", "X"}, {"10:00", "Y"}});
    abre([&](TAgenda &motor) {
        cambia(motor, "Y", {{"CONCEPTO1", "acta"}});
        elige(motor, "X");
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(motor.Tabla2().field(u"INTERESADO1").asText().toStdString(), "X");
    });
}

// A deletion stays pending where the arrow has found no other day.
TEST_F(OtroPuestoTest, ADeletionStaysPendingWhereThereIsNoOtherDay)
{
    pon({{"10:00", "X"}, {"11:00", "Y"}});
    abre([&](TAgenda &motor) {
        elige(motor, "X");
        EXPECT_TRUE(motor.Borrar());
        oficina.Mensaje.espera({"No hay días posteriores en la agenda", " ATENCIÓN:"});
        motor.BuscarSiguiente();
        EXPECT_EQ(pantalla(motor), "11:00 Y//");
    });
}

// Two clerks mark the absence of a notary each, both before they have taken in the other's.
TEST_F(OtroPuestoTest, TwoAbsencesDoNotDoubleTheDay)
{
    pon({{"09:00"}, {"10:00"}, {"11:00"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) {
            EXPECT_TRUE(otro.Ausente(2));
            otro.ActualizarDesdeAgenda2();
        });
        EXPECT_TRUE(motor.Ausente(1));
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(dia().size(), 3) << enTabla();
    });
}

// A deleted line that the other clerk has changed, and a line of the same hour that both have: told once.
TEST_F(OtroPuestoTest, AnHourWithTwoClashesIsNamedOnce)
{
    pon({{"10:00", "X"}, {"10:00", "Y"}});
    abre([&](TAgenda &motor) {
        elige(motor, "X");
        EXPECT_TRUE(motor.Borrar());
        abre([](TAgenda &otro) {
            cambia(otro, "X", {{"CONCEPTO1", "acta"}});
            cambia(otro, "Y", {{"CONCEPTO1", "poder"}});
        });
        esperaChoque("10:00");
        cambia(motor, "Y", {{"CONCEPTO1", "venta"}});
    });
}

// Another program writes the whole day anew, with a line of its own in it.
TEST_F(OtroPuestoTest, AProgramThatWritesTheDayAnewMovesNobody)
{
    pon({{"09:00", "A", "MARTA"}, {"10:00", "B", "MARTA"}, {"10:00", "C", "MARTA"}});
    abre([&](TAgenda &motor) {
        {
            const auto otro = tabla();
            otro->setRange({{"FECHA", Dia}}, {{"FECHA", Dia}});
            while (!otro->isEmpty())
                otro->remove();
        }
        pon({{"09:00", "A", "MARTA"}, {"10:00", "N", "MARTA"}, {"10:00", "C", "MARTA"}}); // B is no more
        esperaChoque("10:00");
        cambia(motor, "B", {{"CONCEPTO1", "acta"}});
        EXPECT_EQ(enTabla().find("N//acta"), std::string::npos) << enTabla();
    });
}

// Moved to another hour by both.
TEST_F(OtroPuestoTest, ALineMovedByBothStandsAtBothHoursAndIsTold)
{
    pon({{"09:00", "X", "", "", "POLO"}, {"12:00"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) { cambia(otro, "X", {{"HORA", "10:00"}}); });
        esperaChoque("11:00");
        cambia(motor, "X", {{"HORA", "11:00"}});
        EXPECT_EQ(enTabla(), "10:00 X/POLO/, 11:00 X/POLO/, 12:00 //");
        EXPECT_EQ(pantalla(motor), "10:00 X/POLO/, 11:00 X/POLO/, 12:00 //");
    });
}

// Moved to a full hour by both, who then write their days: all lines are there once.
TEST_F(OtroPuestoTest, LinesMovedIntoOneHourByBothStayLinesOfTheirOwn)
{
    pon({{"09:00", "X"}, {"09:30", "V"}, {"11:00", "Y"}, {"11:00", "Z"}});
    abre([&](TAgenda &motor) {
        abre([&](TAgenda &otro) {
            cambia(otro, "X", {{"HORA", "11:00"}});
            cambia(motor, "V", {{"HORA", "11:00"}});
            otro.RecargaAgenda2();
            cambia(otro, "Z", {{"CONCEPTO1", "acta"}});
            cambia(motor, "Y", {{"CONCEPTO1", "poder"}});
            otro.ActualizarDesdeAgenda2();
        });
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(dia().size(), 4) << enTabla();
        for (const char *const una : {"X//", "V//", "Y//poder", "Z//acta"})
            EXPECT_NE(enTabla().find(una), std::string::npos) << una << ": " << enTabla();
    });
}

// The other clerk moves a line to a full hour; this one works on the line that was there.
TEST_F(OtroPuestoTest, WhereALineHasBeenMovedToAnHourItsFirstLineIsAccepted)
{
    pon({{"09:00", "X"}, {"11:00", "W"}});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) { cambia(otro, "X", {{"HORA", "11:00"}}); });
        cambia(motor, "W", {{"CONCEPTO1", "acta"}});
        motor.ActualizarDesdeAgenda2();
        EXPECT_NE(enTabla().find("X//"), std::string::npos) << enTabla();
        EXPECT_NE(enTabla().find("W//acta"), std::string::npos) << enTabla();
    });
}

// The outing of the other notary is not in the line that a clash has made.
TEST_F(OtroPuestoTest, TheOtherNotarysOutingIsNotThereTwice)
{
    linea({Dia, "10:00", "", QString(50, u' ') + "Salida", "", "2"});
    abre([&](TAgenda &motor) {
        abre([](TAgenda &otro) { cambia(otro, "", {{"INTERESADO1", "SANZ"}}); });
        esperaChoque("10:00");
        cambia(motor, "", {{"INTERESADO1", "RUIZ"}});
        ASSERT_EQ(enTabla(), "10:00 SANZ/Salida/, 10:00 RUIZ//");
    });
    EXPECT_NE(dia().last().section('|', 4, 4).toStdString(), "2");
}

// One of two equal blank lines is deleted here, the other one is filled there: nobody has touched the same.
TEST_F(OtroPuestoTest, AnEqualLineThatIsDeletedIsNotTheOneFilledThere)
{
    pon({{"10:00"}, {"10:00"}});
    abre([&](TAgenda &motor) {
        motor.Tabla2().setCurrentRow(0);
        EXPECT_TRUE(motor.Borrar());
        abre([&](TAgenda &otro) {
            otro.Tabla2().setCurrentRow(1);
            ASSERT_TRUE(otro.Modificar());
            escribe(otro, {{"INTERESADO1", "SUYA"}});
        });
        motor.RecargaAgenda2();
        motor.ActualizarDesdeAgenda2();
    });
    EXPECT_EQ(enTabla(), "10:00 SUYA//");
}

// A deleted line whose record another one takes stays deleted, and a reload in between brings it back to
// nobody.
TEST_F(OtroPuestoTest, WhatIsDeletedStaysSoWhereBothUseItsHour)
{
    pon({{"10:00", "X"}, {"10:00", "Y"}, {"11:00"}});
    abre([&](TAgenda &motor) {
        elige(motor, "X");
        EXPECT_TRUE(motor.Borrar());
        abre([](TAgenda &otro) { cambia(otro, "Y", {{"INTERESADO2", "RUIZ"}}); });
        cambia(motor, "Y", {{"CONCEPTO1", "acta"}});
        EXPECT_EQ(pantalla(motor), "10:00 Y/RUIZ/acta, 11:00 //");
        motor.RecargaAgenda2();
        EXPECT_EQ(pantalla(motor), "10:00 Y/RUIZ/acta, 11:00 //");
        motor.ActualizarDesdeAgenda2();
    });
    EXPECT_EQ(enTabla(), "10:00 Y/RUIZ/acta, 11:00 //");
}

// A line written by the agenda of one notary, displaced by an accept at its hour.
TEST_F(OtroPuestoTest, ADisplacedLineGoesAsItIsInTheTable)
{
    const QString largo =
        QStringLiteral("Escritura de compraventa con subrogación de hipoteca de la finca 12");
    linea({Dia, "10:00", largo, "X", "", "N"});
    abre([&](TAgenda &motor) { anade(motor, {{"HORA", "10:00"}, {"INTERESADO1", "Z"}}); });
    EXPECT_EQ(dia().filter("|X|").value(0).section('|', 1, 1).toStdString(), largo.toStdString());
}

} // namespace
