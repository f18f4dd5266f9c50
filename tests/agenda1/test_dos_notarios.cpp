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
        EXPECT_TRUE(motor.Modificar());
        EXPECT_TRUE(motor.Aceptar()); // nothing changed: nothing written
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
        EXPECT_EQ(dia(), (QStringList{nombre("DOS BIS"), nombre("DOS")}))
            << "the first found is written over";
        EXPECT_TRUE(motor.HayLineaPisada());
        motor.RecargaAgenda2();
        motor.ActualizarDesdeAgenda2();
        EXPECT_EQ(dia(), (QStringList{nombre("UNO"), nombre("DOS BIS")}));
        EXPECT_FALSE(motor.HayLineaPisada());
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
                  (QStringList{empaquetada("11:00", "MÍA", "", ""), empaquetada("11:00", "SUYA", "", "")}));
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
        ponLinea(
            empaquetada(QStringLiteral("1%1:00").arg(&caso - casos), "", "", "", "", "", "", caso.antes));
    abre([&](TAgenda &motor) {
        for (int fila = 0; fila < 5; ++fila) {
            motor.Tabla2().setCurrentRow(fila);
            EXPECT_TRUE(motor.Salida(0));
            EXPECT_TRUE(motor.Salida(casos[fila].notario));
            EXPECT_EQ(valor(motor, fila, "SALIDA"), casos[fila].salida) << fila;
            EXPECT_EQ(valor(motor, fila, casos[fila].notario == 1 ? "INTERESADO1" : "INTERESADO2"),
                      casos[fila].interesado)
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
        motor.ActualizarDesdeAgenda2();
    });
    EXPECT_EQ(dia().size(), 3);
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
         "09:00a 09:15s 10:00b 09:30m",
         0},
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
