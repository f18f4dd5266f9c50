#include "tests/agenda1/Unica.h"

#include <algorithm>

using support::Dia;
using support::UnicaTest;

namespace
{

class DosNotariosTest : public UnicaTest
{
protected:
    DosNotariosTest() { ajustes("0910", "30", {"Ana Núñez", "Benito Ruiz"}); }

    /// A line as the two-notary agenda packs it.
    static QString empaquetada(const QString &hora, const QString &i1, const QString &o1, const QString &c1,
                               const QString &i2 = {}, const QString &o2 = {}, const QString &c2 = {},
                               const QString &salida = QStringLiteral("0"))
    {
        const auto sinBlancos = [](QString texto) {
            while (texto.endsWith(u' '))
                texto.chop(1);
            return texto;
        };
        return hora + u'|' + sinBlancos(c1.leftJustified(45) + c2) + u'|' +
               sinBlancos(i1.leftJustified(50) + i2) + u'|' + sinBlancos(o1.leftJustified(8) + o2) + u'|' +
               salida;
    }
    void ponLinea(const QString &campos) const
    {
        const QStringList c = campos.split(u'|');
        linea({Dia, c[0], c[1], c[2], c[3], c[4]});
    }
    static void pon(TAgenda &motor, int fila, const char *campo, const char *valor)
    {
        motor.Tabla2().setCurrentRow(fila);
        ASSERT_TRUE(motor.Modificar());
        motor.Tabla2().field(QString::fromLatin1(campo)).setText(valor);
        motor.Tabla2().post();
    }
    /// What a clerk does in the window: changes a line, at an hour and with a text there, and accepts it.
    static void acepta(TAgenda &motor, const char *hora, const QString &antes, const char *campo,
                       const QString &valor)
    {
        ASSERT_TRUE(elige(motor, hora, antes)) << hora << qPrintable(antes);
        ASSERT_TRUE(motor.Modificar());
        motor.Tabla2().field(QString::fromLatin1(campo)).setText(valor);
        EXPECT_TRUE(motor.Aceptar());
    }
    static void anade(TAgenda &motor, const char *hora, const char *campo, const char *valor)
    {
        ASSERT_TRUE(motor.Insertar());
        motor.Tabla2().field(u"HORA").setText(hora);
        motor.Tabla2().field(QString::fromLatin1(campo)).setText(valor);
        EXPECT_TRUE(motor.Aceptar());
    }
    static bool elige(TAgenda &motor, const char *hora, const QString &texto)
    {
        for (int fila = 0; fila < motor.Tabla2().rowCount(); ++fila) {
            if (enPantalla(motor, fila) == hora + (" " + texto)) {
                motor.Tabla2().setCurrentRow(fila);
                return true;
            }
        }
        return false;
    }
    /// "hour party1/party2/subject1" of a line of the window.
    [[nodiscard]] static QString enPantalla(TAgenda &motor, int fila)
    {
        return valor(motor, fila, "HORA") + ' ' + valor(motor, fila, "INTERESADO1") + '/' +
               valor(motor, fila, "INTERESADO2") + '/' + valor(motor, fila, "CONCEPTO1");
    }
    [[nodiscard]] static QString pantalla(TAgenda &motor)
    {
        QStringList lineas;
        for (int fila = 0; fila < motor.Tabla2().rowCount(); ++fila)
            lineas << enPantalla(motor, fila);
        return lineas.join(", ");
    }
    /// The same of the lines that the table holds.
    [[nodiscard]] QString enTabla() const
    {
        QStringList lineas;
        for (const QString &linea : dia()) {
            const QStringList c = linea.split(u'|');
            lineas << c[0] + ' ' + c[2].left(50).trimmed() + '/' + c[2].mid(50).trimmed() + '/' +
                          c[1].left(30).trimmed();
        }
        return lineas.join(", ");
    }
    [[nodiscard]] static QString valor(TAgenda &motor, int fila, const char *campo)
    {
        return motor.Tabla2().textAt(fila, motor.Tabla2().fieldIndex(QString::fromLatin1(campo)));
    }
};

const QString Nueve = QStringLiteral("09:00");

TEST_F(DosNotariosTest, LinesAreUnpackedAndPackedByCharacters)
{
    const QString larga = QString(49, u'ñ') + u'Á';
    ponLinea(
        empaquetada(Nueve, larga, "MARTAÑÍÁ", QString(30, u'é'), "PEÑA", "ÓSCAR", QString(30, u'ü'), "2"));
    // Written by the agenda of one notary: its long text runs over both halves.
    linea({Dia, "10:00", "Escritura", QString(60, u'z'), "MARGARITA"});
    abre([&](TAgenda &motor) {
        EXPECT_EQ(valor(motor, 0, "INTERESADO1"), larga);
        EXPECT_EQ(valor(motor, 0, "OFICIAL2"), "ÓSCAR");
        EXPECT_EQ(valor(motor, 0, "CONCEPTO2"), QString(30, u'ü'));
        EXPECT_EQ(valor(motor, 1, "INTERESADO2"), QString(10, u'z'));
        EXPECT_EQ(valor(motor, 1, "OFICIAL2"), "A");
        EXPECT_TRUE(motor.Modificar());
        motor.Tabla2().field(u"INTERESADO2").setText("MUÑOZ");
        EXPECT_TRUE(motor.Aceptar());
        const auto otro = tabla(); // who holds its line does not hinder what is not written
        ASSERT_TRUE(otro->locate({{"FECHA", Dia}, {"HORA", Nueve}}, dataset::SearchMode::exact));
        otro->edit();
        EXPECT_TRUE(motor.Modificar());
        EXPECT_TRUE(motor.Aceptar());
        EXPECT_FALSE(motor.Tabla2().isEditing());
    });
    EXPECT_EQ(mostrada, 2);
    EXPECT_EQ(dia().first(), empaquetada(Nueve, larga, "MARTAÑÍÁ", QString(30, u'é'), "MUÑOZ", "ÓSCAR",
                                         QString(30, u'ü'), "2"));
}

TEST_F(DosNotariosTest, TheWholeDayIsWrittenBack)
{
    ponLinea(empaquetada(Nueve, "UNO", "", ""));
    ponLinea(empaquetada("10:00", "DOS", "", ""));
    linea({Dia.addDays(1), "09:00", "Otro día"});
    abre([](TAgenda &motor) {
        EXPECT_TRUE(motor.Borrar());
        EXPECT_TRUE(motor.Insertar());
        motor.Tabla2().field(u"HORA").setText("12:00");
        motor.Tabla2().field(u"INTERESADO1").setText("TRES");
        EXPECT_TRUE(motor.Aceptar());
        EXPECT_TRUE(motor.Insertar());
        motor.Tabla2().field(u"HORA").setText("12:00");
        motor.Tabla2().field(u"INTERESADO2").setText("CUATRO");
        motor.Tabla2().post();
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(motor.Tabla2().rowCount(), 3);
        EXPECT_EQ(motor.Tabla().rowCount(), 3);
    });
    EXPECT_EQ(dia(), (QStringList{empaquetada("10:00", "DOS", "", ""),
                                  empaquetada("12:00", "TRES", "", "", "", "", "", ""),
                                  empaquetada("12:00", "", "", "", "CUATRO", "", "", "")}));
    EXPECT_EQ(dia(Dia.addDays(1)).size(), 1);
}

TEST_F(DosNotariosTest, LinesOfOneHourStayLinesOfTheirOwn)
{
    const auto nombre = [](const char *uno) { return empaquetada("10:00", uno, "", ""); };
    for (const char *const uno : {"UNO", "DOS"})
        ponLinea(nombre(uno));
    abre([&](TAgenda &motor) {
        const auto acepta = [&motor](const char *texto) {
            motor.Tabla2().field(u"INTERESADO1").setText(texto);
            motor.Tabla2().field(u"SALIDA").setText("0");
            EXPECT_TRUE(motor.Aceptar());
        };
        motor.Tabla2().setCurrentRow(1);
        EXPECT_TRUE(motor.Modificar());
        acepta("DOS BIS");
        EXPECT_EQ(dia(), (QStringList{nombre("UNO"), nombre("DOS BIS")})) << "no other line is written over";
        motor.RecargaAgenda2();
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(dia(), (QStringList{nombre("UNO"), nombre("DOS BIS")}));
        EXPECT_TRUE(motor.Insertar()); // at the hour of the line that it begins on
        acepta("TRES");
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(dia(), (QStringList{nombre("UNO"), nombre("DOS BIS"), nombre("TRES")}));
        // One that another workstation has added meanwhile is nobody's here, and stays.
        ponLinea(empaquetada("11:00", "SUYA", "", ""));
        EXPECT_TRUE(motor.Insertar());
        motor.Tabla2().field(u"HORA").setText("11:00");
        acepta("MÍA");
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(dia().mid(3),
                  (QStringList{empaquetada("11:00", "SUYA", "", ""), empaquetada("11:00", "MÍA", "", "")}));
    });
}

TEST_F(DosNotariosTest, OutingsAndAbsences)
{
    const struct {
        int notario;
        const char *antes, *salida, *interesado;
    } casos[] = {
        {1, "0", "1", "Salida"}, {1, "1", "0", ""}, {1, "2", "1", "Salida"},
        {2, "N", "2", "Salida"}, {2, "2", "0", ""},
    };
    for (const auto &caso : casos)
        ponLinea(empaquetada(QStringLiteral("1%1:00").arg(&caso - casos), caso.notario == 2 ? "EL OTRO" : "",
                             "", "", caso.notario == 1 ? "EL OTRO" : "", "", "", caso.antes));
    abre([&](TAgenda &motor) {
        for (int fila = 0; fila < 5; ++fila) {
            motor.Tabla2().setCurrentRow(fila);
            EXPECT_TRUE(motor.Salida(0));
            EXPECT_TRUE(motor.Salida(casos[fila].notario));
            EXPECT_EQ(valor(motor, fila, "SALIDA"), casos[fila].salida) << fila;
            EXPECT_EQ(valor(motor, fila, casos[fila].notario == 1 ? "INTERESADO1" : "INTERESADO2"),
                      casos[fila].interesado)
                << fila;
            EXPECT_EQ(valor(motor, fila, casos[fila].notario == 1 ? "INTERESADO2" : "INTERESADO1"), "EL OTRO")
                << fila;
        }
        EXPECT_FALSE(motor.Ausente(0));
        EXPECT_TRUE(motor.Ausente(2));
        EXPECT_EQ(valor(motor, 0, "INTERESADO2"), "AUSENCIA");
        EXPECT_EQ(valor(motor, 0, "SALIDA"), "2");
        EXPECT_EQ(valor(motor, 3, "SALIDA"), "0"); // was out already: back again
        EXPECT_EQ(motor.Tabla2().currentRow(), 4);
    });
}

TEST_F(DosNotariosTest, WhatAnotherWorkstationWritesIsNotLost)
{
    for (const char *const hora : {"09:00", "10:00", "11:00", "12:00", "13:00"})
        ponLinea(empaquetada(hora, "BASE", "", ""));
    abre([&](TAgenda &motor) {
        pon(motor, 0, "INTERESADO1", "MÍA"); // the other one changes another field of it
        pon(motor, 1, "INTERESADO1", "MÍA"); // and the same field of this one
        motor.Tabla2().setCurrentRow(2);     // deleted here, untouched there
        EXPECT_TRUE(motor.Borrar());
        {
            const auto otro = tabla();
            const auto cambia = [&](const char *hora, const char *campo, const QString &texto) {
                ASSERT_TRUE(otro->locate({{"FECHA", Dia}, {"HORA", hora}}, dataset::SearchMode::exact));
                otro->edit();
                otro->field(QString::fromLatin1(campo)).setText(texto);
                otro->post();
            };
            cambia("09:00", "OFICIAL", QStringLiteral("        ÓSCAR"));
            cambia("10:00", "INTERESADO", "SUYA");
            cambia("12:00", "INTERESADO", "SUYA");
            ponLinea(empaquetada("11:30", "NUEVA SUYA", "", ""));
        }
        oficina.Mensaje.espera({"Otro puesto ha cambiado a la vez la cita de las 10:00", " ATENCIÓN:", 0,
                                "Se han conservado las dos anotaciones. Revíselas."});
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(motor.Tabla2().rowCount(), 6);
    });
    EXPECT_EQ(
        dia(),
        (QStringList{empaquetada("09:00", "MÍA", "", "", "", "ÓSCAR"), empaquetada("10:00", "SUYA", "", ""),
                     empaquetada("10:00", "MÍA", "", ""), empaquetada("11:30", "NUEVA SUYA", "", ""),
                     empaquetada("12:00", "SUYA", "", ""), empaquetada("13:00", "BASE", "", "")}));
}

/// Two clerks who have the day open: what the other one has done is in the table when this one accepts.
TEST_F(DosNotariosTest, TwoClerksAcceptLinesOfOneDay)
{
    const auto linea = [this](const char *hora, const char *uno, const char *dos) {
        ponLinea(empaquetada(hora, uno, "", "", dos));
    };
    using TPasos = std::function<void(TAgenda &)>;
    const struct {
        const char *que;
        QList<std::array<const char *, 3>> dia;
        TPasos suyo, mio;
        const char *aceptado; ///< the table after my accept
        const char *vuelto;   ///< and after a reload and the return command; the window shows the same
        const char *choque;   ///< hour of the notice
    } casos[] = {
        {"two notaries of one line",
         {{"10:00", "", ""}},
         [](TAgenda &m) { acepta(m, "10:00", "//", "INTERESADO2", "RUIZ"); },
         [](TAgenda &m) { acepta(m, "10:00", "//", "INTERESADO1", "SANZ"); },
         "10:00 SANZ/RUIZ/",
         "10:00 SANZ/RUIZ/",
         ""},
        {"a new line where the other one has booked the slot",
         {{"10:00", "", ""}},
         [](TAgenda &m) { acepta(m, "10:00", "//", "INTERESADO1", "SANZ"); },
         [](TAgenda &m) { anade(m, "10:00", "INTERESADO1", "RUIZ"); },
         "10:00 SANZ//, 10:00 RUIZ//",
         "10:00 SANZ//, 10:00 RUIZ//",
         ""},
        {"the second line of an hour, and the other one changes the first",
         {{"10:00", "X", ""}, {"10:00", "Y", ""}},
         [](TAgenda &m) { acepta(m, "10:00", "X//", "INTERESADO2", "SANZ"); },
         [](TAgenda &m) { acepta(m, "10:00", "Y//", "INTERESADO2", "RUIZ"); },
         "10:00 X/SANZ/, 10:00 Y/RUIZ/",
         "10:00 X/SANZ/, 10:00 Y/RUIZ/",
         ""},
        {"a line added to an hour of two",
         {{"10:00", "X", ""}, {"10:00", "Y", ""}},
         [](TAgenda &m) { anade(m, "10:00", "INTERESADO1", "Z"); },
         [](TAgenda &m) { acepta(m, "10:00", "Y//", "CONCEPTO1", "acta"); },
         "10:00 X//, 10:00 Y//acta, 10:00 Z//",
         "10:00 X//, 10:00 Y//acta, 10:00 Z//",
         ""},
        {"a deleted line, and another one written at its hour",
         {{"10:00", "X", ""}, {"11:00", "", ""}},
         [](TAgenda &m) {
             ASSERT_TRUE(elige(m, "10:00", "X//"));
             EXPECT_TRUE(m.Borrar());
             m.ActualizarDesdeAgenda2();
             anade(m, "10:00", "INTERESADO1", "Z");
         },
         [](TAgenda &m) { acepta(m, "10:00", "X//", "INTERESADO2", "RUIZ"); },
         "10:00 Z//, 10:00 X/RUIZ/, 11:00 //",
         "10:00 Z//, 10:00 X/RUIZ/, 11:00 //",
         "10:00"},
        {"the same field in two ways; the other notary's appointment is not there twice",
         {{"10:00", "", "POLO"}},
         [](TAgenda &m) { acepta(m, "10:00", "/POLO/", "INTERESADO1", "SANZ"); },
         [](TAgenda &m) { acepta(m, "10:00", "/POLO/", "INTERESADO1", "RUIZ"); },
         "10:00 SANZ/POLO/, 10:00 RUIZ//",
         "10:00 SANZ/POLO/, 10:00 RUIZ//",
         "10:00"},
        {"another hour, which is free",
         {{"09:00", "X", ""}, {"11:00", "", ""}},
         [](TAgenda &m) { acepta(m, "09:00", "X//", "CONCEPTO1", "acta"); },
         [](TAgenda &m) { acepta(m, "09:00", "X//", "HORA", "10:15"); },
         "10:15 X//acta, 11:00 //",
         "10:15 X//acta, 11:00 //",
         ""},
        {"another hour, with a line that the other one has just written",
         {{"09:00", "X", ""}, {"11:00", "", ""}},
         [](TAgenda &m) { acepta(m, "11:00", "//", "INTERESADO1", "SANZ"); },
         [](TAgenda &m) { acepta(m, "09:00", "X//", "HORA", "11:00"); },
         "11:00 X//, 11:00 SANZ//",
         "11:00 X//, 11:00 SANZ//",
         ""},
        {"a new line at the hour of one that is deleted here",
         {{"10:00", "X", ""}, {"11:00", "", ""}},
         [](TAgenda &m) { acepta(m, "11:00", "//", "INTERESADO1", "SANZ"); },
         [](TAgenda &m) {
             ASSERT_TRUE(elige(m, "10:00", "X//"));
             EXPECT_TRUE(m.Borrar());
             anade(m, "10:00", "INTERESADO1", "RUIZ");
         },
         "10:00 X//, 10:00 RUIZ//, 11:00 SANZ//",
         "10:00 RUIZ//, 11:00 SANZ//",
         ""},
        {"of two empty lines one is deleted here, and filled there",
         {{"10:00", "", ""}, {"10:00", "", ""}},
         [](TAgenda &m) { acepta(m, "10:00", "//", "INTERESADO1", "SANZ"); },
         [](TAgenda &m) {
             ASSERT_TRUE(elige(m, "10:00", "//"));
             EXPECT_TRUE(m.Borrar());
         },
         "10:00 SANZ//, 10:00 //",
         "10:00 SANZ//",
         ""},
        {"of two empty lines each deletes one, and the one that is left here has gone there",
         {{"10:00", "", ""}, {"10:00", "", ""}},
         [](TAgenda &m) {
             ASSERT_TRUE(elige(m, "10:00", "//"));
             EXPECT_TRUE(m.Borrar());
             m.ActualizarDesdeAgenda2();
         },
         [](TAgenda &m) {
             m.Tabla2().setCurrentRow(1);
             EXPECT_TRUE(m.Borrar());
             acepta(m, "10:00", "//", "INTERESADO1", "SANZ");
         },
         "10:00 SANZ//",
         "10:00 SANZ//",
         ""},
        {"and the other way round",
         {{"10:00", "", ""}, {"10:00", "", ""}},
         [](TAgenda &m) {
             ASSERT_TRUE(elige(m, "10:00", "//"));
             EXPECT_TRUE(m.Borrar());
             m.ActualizarDesdeAgenda2();
         },
         [](TAgenda &m) { acepta(m, "10:00", "//", "INTERESADO1", "SANZ"); },
         "10:00 SANZ//",
         "10:00 SANZ//",
         ""},
    };
    for (const auto &caso : casos) {
        SCOPED_TRACE(caso.que);
        {
            const auto antes = tabla();
            antes->setRange({{"FECHA", Dia}}, {{"FECHA", Dia}});
            while (!antes->isEmpty())
                antes->remove();
        }
        for (const auto &[hora, uno, dos] : caso.dia)
            linea(hora, uno, dos);
        abre([&](TAgenda &motor) {
            abre(caso.suyo);
            if (*caso.choque)
                oficina.Mensaje.espera(
                    {QStringLiteral("Otro puesto ha cambiado a la vez la cita de las ") + caso.choque,
                     " ATENCIÓN:", 0, "Se han conservado las dos anotaciones. Revíselas."});
            caso.mio(motor);
            EXPECT_EQ(enTabla().toStdString(), caso.aceptado);
            motor.RecargaAgenda2();
            motor.ActualizarDesdeAgenda2();
            EXPECT_EQ(enTabla().toStdString(), caso.vuelto);
            EXPECT_EQ(pantalla(motor).toStdString(), caso.vuelto);
        });
        EXPECT_EQ(enTabla().toStdString(), caso.vuelto);
    }
}

TEST_F(DosNotariosTest, MemoryStandsInTheOrderOfTheHoursAndAsTheTableHasIt)
{
    ponLinea(empaquetada("09:00", "X", "", ""));
    ponLinea(empaquetada("12:00", "Y", "", ""));
    abre([&](TAgenda &motor) {
        anade(motor, "10:15", "INTERESADO1", "Z");
        EXPECT_EQ(pantalla(motor), "09:00 X//, 10:15 Z//, 12:00 Y//");
        EXPECT_EQ(motor.Tabla2().currentRow(), 1);
        // The table lacks these letters: what it has made of them is what is seen, and no other's change.
        acepta(motor, "10:15", "Z//", "INTERESADO1", "Ionu\u021b");
        acepta(motor, "10:15", enTabla().section(", ", 1, 1).mid(6), "INTERESADO2", "RUIZ");
        EXPECT_EQ(pantalla(motor), enTabla());
        EXPECT_EQ(dia().size(), 3);
        EXPECT_FALSE(motor.Tabla2().canKeep(QChar(0x21b)));
        EXPECT_TRUE(motor.Tabla2().canKeep(u'ñ'));
        // Nothing is left of what was refused.
        const auto otro = tabla();
        ASSERT_TRUE(otro->locate({{"FECHA", Dia}, {"HORA", "12:00"}}, dataset::SearchMode::exact));
        otro->edit();
        const QString antes = pantalla(motor);
        ASSERT_TRUE(elige(motor, "12:00", "Y//"));
        ASSERT_TRUE(motor.Modificar());
        motor.Tabla2().field(u"INTERESADO1").setText("W");
        EXPECT_FALSE(motor.Aceptar());
        EXPECT_TRUE(motor.Cancelar());
        EXPECT_EQ(pantalla(motor), antes);
        otro->cancel();
        // A day without lines gets none.
        while (motor.Tabla2().rowCount() > 0)
            EXPECT_TRUE(motor.Borrar());
        EXPECT_TRUE(motor.Aceptar());
        EXPECT_EQ(dia().size(), 3);
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(dia().size(), 0);
    });
}

TEST_F(DosNotariosTest, AReloadKeepsWhatIsNotWrittenYet)
{
    for (const char *const hora : {"09:00", "10:00", "11:00"})
        ponLinea(empaquetada(hora, "BASE", "", ""));
    abre([&](TAgenda &motor) {
        EXPECT_TRUE(motor.Borrar());
        motor.Tabla2().setCurrentRow(1);
        ponLinea(empaquetada("09:15", "SUYA", "", ""));
        motor.RecargaAgenda2();
        EXPECT_EQ(motor.Tabla2().rowCount(), 3);
        EXPECT_EQ(valor(motor, 0, "INTERESADO1"), "SUYA");
        EXPECT_EQ(motor.Tabla2().field(u"HORA").asText(), "11:00");
        {
            const auto otro = tabla();
            ASSERT_TRUE(otro->locate({{"FECHA", Dia}, {"HORA", "11:00"}}, dataset::SearchMode::exact));
            otro->remove();
        }
        motor.RecargaAgenda2();
        EXPECT_EQ(motor.Tabla2().field(u"HORA").asText(), "10:00") << "the last line, not the first";
        motor.ActualizarDesdeAgenda2();
    });
    EXPECT_EQ(dia().size(), 2);
}

TEST_F(DosNotariosTest, ADayThatCannotBeWrittenStaysWhole)
{
    ponLinea(empaquetada(Nueve, "BASE", "", ""));
    ponLinea(empaquetada("10:00", "BASE", "", ""));
    const QStringList antes = dia();
    const auto otro = tabla();
    abre([&](TAgenda &motor) {
        pon(motor, 0, "INTERESADO1", "MÍA");
        pon(motor, 1, "INTERESADO1", "MÍA");
        ASSERT_TRUE(otro->locate({{"FECHA", Dia}, {"HORA", "10:00"}}, dataset::SearchMode::exact));
        otro->edit();
        EXPECT_THROW(motor.ActualizarDesdeAgenda2(), dataset::EDatabaseError);
        EXPECT_EQ(dia(), antes);
        otro->cancel();
        motor.ActualizarDesdeAgenda2();
    });
    EXPECT_EQ(dia(), (QStringList{empaquetada(Nueve, "MÍA", "", ""), empaquetada("10:00", "MÍA", "", "")}));
}

TEST(FusionDia, BringsTwoVersionsTogether)
{
    const auto fila = [](dataset::Bookmark registro, const char *hora, const char *texto) {
        TFilaDia una{registro, {}};
        una.Valores[DiaHora] = hora;
        una.Valores[DiaConcepto1] = texto;
        return una;
    };
    const TFilasDia base = {fila(1, "09:00", "a"), fila(2, "10:00", "b")};
    const struct {
        const char *que;
        TFilasDia mias, suyas;
        QString resultado;
        qsizetype choques;
    } casos[] = {
        {"nothing changed", base, base, "09:00a 10:00b", 0},
        {"rewritten there under other records",
         {fila(1, "09:00", "mía"), base[1]},
         {fila(7, "09:00", "a"), fila(8, "10:00", "suya")},
         "09:00mía 10:00suya",
         0},
        {"deleted there, changed here", {fila(1, "09:00", "mía"), base[1]}, {base[1]}, "09:00mía 10:00b", 1},
        {"deleted here, changed there",
         {base[1]},
         {fila(1, "09:00", "suya"), base[1]},
         "09:00suya 10:00b",
         1},
        {"deleted by both", {base[1]}, {base[1]}, "10:00b", 0},
        {"the same change",
         {fila(1, "09:00", "c"), base[1]},
         {fila(1, "09:00", "c"), base[1]},
         "09:00c 10:00b",
         0},
        {"new on both sides",
         {base[0], base[1], fila(0, "09:30", "m")},
         {base[0], fila(5, "09:15", "s"), base[1]},
         "09:00a 09:15s 09:30m 10:00b",
         0},
        {"deleted there, and another line in its hour",
         {fila(1, "09:00", "mía"), base[1]},
         {fila(7, "09:00", "otra"), base[1]},
         "09:00otra 09:00mía 10:00b",
         1},
    };
    for (const auto &caso : casos) {
        const TFusionDia fusion = FundeDia(base, caso.mias, caso.suyas);
        QStringList filas;
        for (const TFilaDia &una : fusion.Filas)
            filas << una.Valores[DiaHora] + una.Valores[DiaConcepto1];
        EXPECT_EQ(filas.join(u' '), caso.resultado) << caso.que;
        EXPECT_EQ(fusion.Choques.size(), caso.choques) << caso.que;
    }
}

// The message comes first: what others write while it is read is part of the day that is then loaded.
TEST_F(DosNotariosTest, WhereThereIsNoOtherDayTheMessageComesBeforeTheLoading)
{
    ponLinea(empaquetada(Nueve, "PEÑA", "", "Firma"));
    const auto cambia = [this] {
        const auto otro = tabla();
        otro->locate({{"FECHA", Dia}}, dataset::SearchMode::nearest);
        otro->edit();
        otro->field(u"INTERESADO").setText("NÚÑEZ");
        otro->post();
    };
    abre([&](TAgenda &motor) {
        oficina.Mensaje.espera(
            {"No hay días posteriores en la agenda", " ATENCIÓN:", 0, {}, support::TCaja::aviso, cambia});
        EXPECT_EQ(motor.BuscarSiguiente(), "16/11/2026");
        EXPECT_EQ(valor(motor, 0, "INTERESADO1"), "NÚÑEZ");
    });
    EXPECT_EQ(mostrada, 2);
}

} // namespace
