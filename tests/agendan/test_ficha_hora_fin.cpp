// The end time of the appointment card: which lines receive the appointment.

#include "tests/agendan/Ficha.h"

#include <QtWidgets/QLabel>

namespace
{

using support::FichaTest;
using support::Lunes;
using support::Martes;

class HoraFinTest : public FichaTest
{
protected:
    /// Modifies the current line: subject "Firma", perhaps another date and time, and an end time.
    void citaHasta(const QString &fin, const QString &fecha = {}, const QString &hora = {})
    {
        enFicha(TOperacion::modificar, [&] { rellena(fin, fecha, hora); });
    }
    void rellena(const QString &fin, const QString &fecha = {}, const QString &hora = {})
    {
        ASSERT_TRUE(editando());
        if (!fecha.isEmpty())
            escribe("MEFecha", fecha);
        if (!hora.isEmpty())
            escribe("MEHora", hora);
        escribe("MEHoraFin", fin);
        escribe("DBMConcepto", "Firma");
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
    }
};

TEST_F(HoraFinTest, FillsTheSlotsOfItsDay)
{
    const struct {
        const char *what;
        QString fin;
        bool enLunes;
        QStringList lunes;
        QStringList martes;
    } casos[] = {
        {"no end time", "", true, {"09:00 Firma", "09:30", "10:00"}, {"09:00", "12:00"}},
        {"up to a line that there is",
         "10:00",
         true,
         {"09:00 Firma", "09:30 Firma", "10:00 Firma"},
         {"09:00", "12:00"}},
        {"between two lines",
         "09:45",
         true,
         {"09:00 Firma", "09:30 Firma", "09:45 Firma", "10:00"},
         {"09:00", "12:00"}},
        {"before the next line: one line is added",
         "09:15",
         true,
         {"09:00 Firma", "09:15 Firma", "09:30", "10:00"},
         {"09:00", "12:00"}},
        {"equal to the start: a second line at that time",
         "09:00",
         true,
         {"09:00 Firma", "09:00 Firma", "09:30", "10:00"},
         {"09:00", "12:00"}},
        {"past the last line of a day that is shown alone",
         "12:00",
         true,
         {"09:00 Firma", "09:30 Firma", "10:00 Firma", "12:00 Firma"},
         {"09:00", "12:00"}},
        {"past the last line of the day in the whole table",
         "11:00",
         false,
         {"09:00 Firma", "09:30 Firma", "10:00 Firma", "11:00 Firma"},
         {"09:00", "12:00"}},
        {"24:60 is lax and past everything",
         "24:60",
         true,
         {"09:00 Firma", "09:30 Firma", "10:00 Firma", "24:60 Firma"},
         {"09:00", "12:00"}},
    };
    for (const auto &caso : casos) {
        SCOPED_TRACE(caso.what);
        const auto agenda = oficina.agenda(1);
        while (!agenda->isEmpty())
            agenda->remove();
        for (const char *hora : {"09:00", "09:30", "10:00"})
            linea(Lunes, hora);
        for (const char *hora : {"09:00", "12:00"})
            linea(Martes, hora);
        motor().CancelaRangoPorFecha();
        tabla().first();
        enLunes = caso.enLunes;
        citaHasta(caso.fin);
        EXPECT_EQ(dia(Lunes), caso.lunes);
        EXPECT_EQ(dia(Martes), caso.martes);
    }
}

TEST_F(HoraFinTest, InTheWholeTableTheNextDaysLineOfThatTimeIsOverwritten)
{
    linea(Lunes, "10:00");
    linea(Martes, "12:00");
    enLunes = false;
    motor().OrdenarListaPorFecha();
    tabla().first();
    citaHasta("12:00");
    EXPECT_EQ(dia(Lunes), QStringList{"10:00 Firma"});
    EXPECT_EQ(dia(Martes), QStringList{"12:00 Firma"});
}

// The card was opened over a grid that showed free slots; what a colleague has booked since stays his.
TEST_F(HoraFinTest, WhatAColleagueHasWrittenSinceIsNotFilled)
{
    for (const char *hora : {"09:00", "09:30", "10:00", "10:30", "11:00"})
        linea(Lunes, hora);
    enFicha(TOperacion::modificar, [&] {
        const auto otro = oficina.agenda(1);
        otro->setCurrentRow(1);
        otro->edit();
        otro->field(u"CONCEPTO").setText("Boda");
        otro->post();
        linea(Lunes, "10:15", "Acta");
        otro->refresh();
        otro->last();
        otro->remove();
        oficina.Mensaje.espera(
            {"La cita se ha guardado, pero no se han podido rellenar estas horas: 09:30, 10:15.\n"
             "09:30: Otro puesto ha cambiado la línea mientras tanto\n"
             "10:15: Otro puesto la ha añadido mientras tanto.",
             " ATENCIÓN:"});
        rellena("11:00");
    });
    EXPECT_EQ(dia(Lunes), (QStringList{"09:00 Firma", "09:30 Boda", "10:00 Firma", "10:15 Acta",
                                       "10:30 Firma", "11:00 Firma"}));
}

// The line of such an end hour is added, and stands in no sheet.
TEST_F(HoraFinTest, AnEndTimeOutsideTheDayIsSaidAtOnce)
{
    const struct {
        const char *tecleado;
        const char *fin;
        bool alAceptar; ///< without leaving the field before
    } casos[] = {{"0930", "", false},      {"     ", "", false},    {" 930", "9:30", false},
                 {"2400", "24:00", false}, {"2400", "24:00", true}, {"930 ", "93:0", false}};
    linea(Lunes, "09:00");
    for (const auto &caso : casos) {
        enFicha(TOperacion::modificar, [&] {
            escribe("MEHoraFin", caso.tecleado);
            if (caso.alAceptar)
                pulsa("BAceptar");
            else
                tecla(Qt::Key_Tab);
            const QString fin = caso.fin;
            const QString esperado = fin.isEmpty()
                                         ? control("DBCBOficial").statusTip()
                                         : fin + " no es una hora del día: la línea no se verá en su hoja";
            EXPECT_EQ(control<QLabel>("LExplica").text(), esperado) << caso.tecleado;
        });
    }
}

TEST_F(HoraFinTest, CopiesSixFieldsAndNoOthers)
{
    for (const char *hora : {"09:00", "09:30", "10:00"})
        linea(Lunes, hora, "Antes");
    {
        const auto otro = oficina.agenda(1);
        otro->edit();
        otro->field(u"AVISO").setText("S");
        otro->post();
    }
    enFicha(TOperacion::modificar, [&] {
        escribe("DBCBOficial", "Ana");
        control<QComboBox>("DBCBSalida").setCurrentIndex(1);
        clientes.elegido = 8;
        pulsa("BInteresado");
        rellena("10:00");
    });
    const auto agenda = oficina.agenda(1);
    agenda->last();
    const std::pair<const char16_t *, QString> campos[] = {
        {u"FECHA", "16/11/2026"}, {u"HORA", "10:00"},  {u"CONCEPTO", "Firma"},
        {u"CODCLIENTE", "8"},     {u"OFICIAL", "ANA"}, {u"INTERESADO", "PEDRO SÁENZ"},
        {u"SALIDA", "S"},         {u"AVISO", "S"}};
    for (const auto &[campo, valor] : campos)
        EXPECT_EQ(agenda->field(campo).asText(), valor);
}

TEST_F(HoraFinTest, ANewAppointmentOnAnotherDayFillsThatDayAndLeavesTheShownOne)
{
    const QDate miercoles = Martes.addDays(1);
    const struct {
        const char *what;
        QString fecha;
        QStringList lunes;
        QStringList martes;
        QStringList miercoles;
        QStringList domingo;
    } casos[] = {
        {"a later day with a sheet",
         "18/11/2026",
         {"09:00", "10:00"},
         {"09:00"},
         {"09:30 Firma", "10:00 Firma", "10:30 Firma", "11:00 Firma"},
         {}},
        {"a day without a sheet, before all others",
         "15/11/2026",
         {"09:00", "10:00"},
         {"09:00"},
         {"10:00", "10:30"},
         {"09:30 Firma", "11:00 Firma"}},
        {"a day with fewer lines than the end asks for",
         "17/11/2026",
         {"09:00", "10:00"},
         {"09:00", "09:30 Firma", "11:00 Firma"},
         {"10:00", "10:30"},
         {}},
    };
    for (const auto &caso : casos) {
        SCOPED_TRACE(caso.what);
        const auto agenda = oficina.agenda(1);
        while (!agenda->isEmpty())
            agenda->remove();
        for (const char *hora : {"09:00", "10:00"})
            linea(Lunes, hora);
        linea(Martes, "09:00");
        for (const char *hora : {"10:00", "10:30"})
            linea(miercoles, hora);
        enFicha(TOperacion::nuevo, [&] {
            rellena("11:00", caso.fecha, "09:30");
            EXPECT_EQ(texto("MEFecha"), caso.fecha) << "the card still shows what it has written";
        });
        EXPECT_EQ(dia(Lunes), caso.lunes);
        EXPECT_EQ(dia(Martes), caso.martes);
        EXPECT_EQ(dia(miercoles), caso.miercoles);
        EXPECT_EQ(dia(Lunes.addDays(-1)), caso.domingo);
        EXPECT_EQ(tabla().rowCount(), 2) << "Monday is shown as before";
        EXPECT_EQ(tabla().currentRow(), 0);
        EXPECT_TRUE(motor().HayRangoPorFecha());
        EXPECT_EQ(tabla().field(u"FECHA").asDate(), Lunes);
    }
}

TEST_F(HoraFinTest, WhatAColleagueHasWrittenMeanwhileIsNotWrittenOver)
{
    for (const char *hora : {"09:00", "09:30", "10:00", "10:30"})
        linea(Lunes, hora);
    oficina.Mensaje.espera(
        {"La cita se ha guardado, pero no se han podido rellenar estas horas: 09:30, 10:30.\n"
         "Otro puesto ha cambiado la línea mientras tanto",
         " ATENCIÓN:"});
    enFicha(TOperacion::modificar, [&] {
        const auto otro = oficina.agenda(1);
        for (otro->first(); !otro->eof(); otro->next()) {
            if (!otro->field(u"HORA").asText().endsWith("30"))
                continue;
            otro->edit();
            otro->field(u"CONCEPTO").setText("Boda");
            otro->post();
        }
        rellena("10:30");
    });
    EXPECT_EQ(dia(Lunes), QStringList({"09:00 Firma", "09:30 Boda", "10:00 Firma", "10:30 Boda"}));
}

TEST_F(HoraFinTest, OnADayThatIsNotShownOnlyEmptyLinesAreFilled)
{
    linea(Lunes, "09:00");
    linea(Martes, "09:30", "Boda");
    linea(Martes, "10:00");
    oficina.Mensaje.espera({"La cita se ha guardado, pero no se han podido rellenar estas horas: 09:30.\n"
                            "Hay otra cita que no estaba a la vista",
                            " ATENCIÓN:"});
    citaHasta("10:00", "17/11/2026");
    EXPECT_EQ(dia(Martes), QStringList({"09:00 Firma", "09:30 Boda", "10:00 Firma"}));
}

TEST_F(HoraFinTest, FromAShownDayWithoutLinesAnotherDayIsFilledToo)
{
    for (const char *hora : {"09:00", "09:30", "10:00"})
        linea(Martes, hora);
    enFicha(TOperacion::nuevo, [&] {
        EXPECT_EQ(texto("MEFecha"), "16/11/2026") << "the shown day is proposed";
        rellena("10:00", "17/11/2026", "09:15");
    });
    EXPECT_EQ(dia(Martes), QStringList({"09:00", "09:15 Firma", "09:30 Firma", "10:00 Firma"}));
    EXPECT_TRUE(tabla().isEmpty()) << "the shown day still has no lines";
    EXPECT_FALSE(motor().HayRangoPorFecha());
}

TEST_F(HoraFinTest, ABadEndTimeIsSaidAfterTheLineWasWritten)
{
    for (const bool conMasLineas : {true, false}) {
        const auto agenda = oficina.agenda(1);
        while (!agenda->isEmpty())
            agenda->remove();
        linea(Lunes, "09:00");
        if (conMasLineas)
            linea(Lunes, "09:30");
        oficina.Mensaje.espera({"FORMATO DE HORA INCORRECTO", " ATENCIÓN:"});
        citaHasta("25:00");
        EXPECT_EQ(dia(Lunes),
                  conMasLineas ? QStringList({"09:00 Firma", "09:30"}) : QStringList{"09:00 Firma"});
    }
}

TEST_F(HoraFinTest, TheEndTimeStaysForTheNextLineOfTheSameOpening)
{
    for (const char *hora : {"09:00", "09:30", "10:00"})
        linea(Lunes, hora);
    enFicha(TOperacion::modificar, [&] {
        rellena("09:30");
        EXPECT_TRUE(control("MEHoraFin").isVisible()) << "browsing does not hide it";
        EXPECT_EQ(texto("MEHoraFin"), "09:30");
        tecla(Qt::Key_Space);
        ASSERT_TRUE(editando());
        EXPECT_EQ(texto("MEHoraFin"), "09:30");
    });
    enFicha(TOperacion::ver, [&] {
        EXPECT_FALSE(control("MEHoraFin").isVisible());
        EXPECT_FALSE(control("lblHoraFin").isVisible());
        EXPECT_FALSE(control("lblHorafinComentario").isVisible());
        EXPECT_EQ(texto("MEHoraFin"), "  :  ");
    });
}

// An hour outside the day leads to the next day in the table, whose lines are none of this one's.
TEST_F(HoraFinTest, FromAnHourOutsideTheDayTheNextDayIsNotFilled)
{
    linea(Lunes, "09:00");
    linea(Martes, "09:00");
    citaHasta("09:00", {}, "9999");
    EXPECT_EQ(dia(Lunes), QStringList({"09:00 Firma", "99:99 Firma"}));
    EXPECT_EQ(dia(Martes), QStringList{"09:00"});
}

int intentosFallidos = 0;

// Others take the whole table just behind the accepted line: that is met once, and not at every line.
TEST_F(HoraFinTest, ATableThatIsHeldEndsTheFilling)
{
    for (const char *hora : {"09:00", "09:30", "10:00", "10:30"})
        linea(Lunes, hora);
    const auto otro = oficina.agenda(1);
    QObject::connect(&tabla(), &dataset::DataSet::stateChanged, otro.get(), [&] {
        if (tabla().state() == dataset::DataSet::State::browse && intentosFallidos == 0 &&
            dia(Lunes).value(0) == "09:00 Firma") {
            otro->beginGroup();
            QObject::disconnect(&tabla(), &dataset::DataSet::stateChanged, otro.get(), nullptr);
        }
    });
    QtMessageHandler antes =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &texto) {
            intentosFallidos += texto.startsWith("AceptarAgendaN: ") ? 1 : 0;
        });
    oficina.Mensaje.espera({"La cita se ha guardado, pero no se han podido rellenar estas horas: "
                            "09:30, 10:00, 10:30.\nOtro puesto está escribiendo en la tabla",
                            " ATENCIÓN:"});
    citaHasta("10:30");
    qInstallMessageHandler(antes);
    otro->dropGroup();
    EXPECT_EQ(intentosFallidos, 1);
    EXPECT_EQ(dia(Lunes), QStringList({"09:00 Firma", "09:30", "10:00", "10:30"}));
}

TEST_F(HoraFinTest, ALineInUseElsewhereIsSkippedAndNamed)
{
    for (const char *hora : {"09:00", "09:30", "10:00"})
        linea(Lunes, hora);
    const auto otro = oficina.agenda(1);
    otro->first();
    otro->next();
    otro->edit();
    oficina.Mensaje.espera({"La cita se ha guardado, pero no se han podido rellenar estas horas: "
                            "09:30.\nOtro puesto está usando la línea",
                            " ATENCIÓN:"});
    citaHasta("10:00");
    otro->cancel();
    EXPECT_EQ(dia(Lunes), QStringList({"09:00 Firma", "09:30", "10:00 Firma"}));
}

} // namespace
