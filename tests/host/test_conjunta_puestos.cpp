// Several workstations at the joint day, and tables that cannot be read: what a clerk has not seen is neither
// deleted nor written over, and one table keeps no other from its day.

#include "tests/host/Conjunta.h"

#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QStatusBar>

using support::Atencion;
using support::BorraHueco;
using support::CitaSegundo;
using support::Conjunta;
using support::ConjuntaTest;
using support::Dia;
using support::OtroDia;
using support::OtroLaHaCambiado;
using support::SinServidor;
using support::TodoElDia;

namespace
{

TEST_F(ConjuntaTest, ASlotThatTheNotaryHasLostDeletesNoOtherHourOfHis)
{
    abre();
    ve(1, 0);
    const auto otro = oficina.agenda(1);
    otro->last();
    otro->remove(); // Ana's 10:00
    oficina.Mensaje.espera({"El hueco de las 10:00 no se ha borrado.\n"
                            "Ana Núñez: Otro puesto ha borrado la línea mientras tanto",
                            Atencion});
    tecla(Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(1, Dia), QStringList{"09:00  N"});
    EXPECT_EQ(oficina.dia(2, Dia).size(), 2);
    // The hole that is seen now is none that could be deleted in the others.
    ve(1, 0);
    oficina.Mensaje.espera({"No hay hueco a las 10:00 en la agenda de Ana Núñez.", Atencion});
    ventana->findChild<QAction *>("ABorrar")->setEnabled(true);
    ventana->findChild<QAction *>("ABorrar")->trigger();
    EXPECT_EQ(oficina.dia(2, Dia).size(), 2);
    EXPECT_EQ(oficina.dia(3, Dia).size(), 2);
}

// The tool bar leaves the focus in the date field, and the command goes on with the day typed there.
TEST_F(ConjuntaTest, ADateTypedBeforeADeletionDeletesNoOtherHour)
{
    oficina.linea(1, OtroDia, "09:00", "Poder");
    oficina.linea(2, OtroDia, "10:00", "Acta");
    abre();
    ve(1, 0);
    tecleaFecha("18");
    auto *const borrar = ventana->findChild<QAction *>("ABorrar");
    borrar->trigger();
    EXPECT_EQ(ventana->Fecha(), OtroDia) << "seen first";
    oficina.Mensaje.espera({"No hay hueco a las 10:00 en la agenda de Ana Núñez.", Atencion});
    borrar->setEnabled(true);
    borrar->trigger();
    EXPECT_EQ(oficina.dia(1, OtroDia), QStringList{"09:00 Poder N"});
    EXPECT_EQ(oficina.dia(2, OtroDia), QStringList{"10:00 Acta N"});
    // A day without a sheet, of which none is wanted.
    tecleaFecha("19");
    oficina.Mensaje.espera({"¿Desea añadir una hoja a día de 19/11/2026 (S/N)?", "Agenda", 0,
                            "No hay datos a fecha de 19/11/2026"});
    tecla(Qt::Key_Return);
    oficina.Mensaje.espera({"Este día no tiene ningún hueco.", Atencion});
    borrar->setEnabled(true);
    borrar->trigger();
}

TEST_F(ConjuntaTest, WhatAColleagueHasJustBookedIsNeitherDeletedNorCleared)
{
    abre();
    escribe(1, "CONCEPTO", "Boda");
    oficina.Mensaje.espera({"El hueco de las 09:00 no se ha borrado.\n"
                            "Ana Núñez: Otro puesto ha cambiado la línea mientras tanto",
                            Atencion});
    tecla(Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_EQ(celda(0, 0), "Boda") << "what is refused is shown";
    escribe(1, "OFICIAL", "LUIS");
    oficina.Mensaje.espera({"No se puede cambiar la línea de las 09:00 de la agenda de Ana Núñez.\n"
                            "Otro puesto ha cambiado la línea mientras tanto",
                            Atencion});
    tecla(Qt::Key_Delete);
    EXPECT_EQ(oficina.dia(1, Dia).first(), "09:00 Boda N");
    // Seen, it may be deleted.
    oficina.Mensaje.espera({BorraHueco.arg("09:00"), " ATENCIÓN", 1});
    tecla(Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(1, Dia), QStringList{"10:00  N"});
}

// Two lines at one hour: where the first goes, the second does not take its place under the clerk's hand.
TEST_F(ConjuntaTest, TheCellStaysWithItsLine)
{
    oficina.linea(1, Dia, "10:00", "Segunda");
    abre();
    ve(2, 0);
    const auto otro = oficina.agenda(1);
    otro->next();
    otro->remove();
    refresca();
    EXPECT_EQ(rejilla().model()->rowCount(), 2);
    EXPECT_EQ(rejilla().currentIndex().row(), 1);
    EXPECT_EQ(celda(1, 0), "Segunda");
    ve(1, 0);
    oficina.linea(1, Dia, "10:00", "Tercera");
    otro->refresh();
    otro->last();
    otro->prior();
    otro->remove(); // Segunda
    oficina.Mensaje.espera({"El hueco de las 10:00 no se ha borrado.\n"
                            "Ana Núñez: Otro puesto ha borrado la línea mientras tanto",
                            Atencion});
    tecla(Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(1, Dia), (QStringList{"09:00  N", "10:00 Tercera N"}));
}

TEST_F(ConjuntaTest, TabbingOverAPartyChangesNothing)
{
    const auto otro = oficina.agenda(1);
    otro->edit();
    otro->field(u"INTERESADO").setText("Ana Ruiz"); // whom the list does not know any more
    otro->field(u"CODCLIENTE").setInteger(77);
    otro->post();
    abre();
    ve(0, 1);
    tecla(Qt::Key_F2);
    tecla(Qt::Key_Tab);
    tecla(Qt::Key_Escape);
    ve(0, 1);
    tecla(Qt::Key_F2);
    tecla(Qt::Key_End);
    teclea("x");
    tecla(Qt::Key_Backspace);
    tecla(Qt::Key_Return);
    otro->refresh();
    EXPECT_EQ(otro->field(u"CODCLIENTE").asInteger(), 77);
    EXPECT_EQ(otro->field(u"INTERESADO").asText(), "Ana Ruiz");
    // Another party has another code, or none.
    tecla(Qt::Key_F2);
    teclea("Otra");
    tecla(Qt::Key_Return);
    otro->refresh();
    EXPECT_EQ(otro->field(u"CODCLIENTE").asInteger(), 0);
    // The same name, chosen from the list, is that client.
    tecla(Qt::Key_F2);
    teclea("Muñoz, Íñigo");
    tecla(Qt::Key_Return);
    otro->refresh();
    otro->edit();
    otro->field(u"CODCLIENTE").setInteger(43);
    otro->post();
    refresca();
    tecla(Qt::Key_F2);
    tecla(Qt::Key_F4);
    ventana->activateWindow(); // a desktop does so by itself
    ASSERT_TRUE(QTest::qWaitForWindowActive(ventana.get()));
    tecla(Qt::Key_Return);
    otro->refresh();
    EXPECT_EQ(otro->field(u"CODCLIENTE").asInteger(), 42);
}

// Another table has lost its day: the line being typed in stays the clerk's.
TEST_F(ConjuntaTest, ARefreshLeavesTheOpenCellAlone)
{
    abre();
    teclea("Poder");
    motor->Tabla(2)->cancelRange();
    oficina.linea(3, Dia, "09:30", "Nueva");
    refresca();
    EXPECT_TRUE(motor->Tabla(2)->hasRange());
    ASSERT_TRUE(rejilla().EstaEditando());
    EXPECT_TRUE(motor->Tabla(1)->isEditing());
    const auto otro = oficina.agenda(1);
    EXPECT_THROW(otro->edit(), dataset::EDatabaseError);
    // Whatever somebody else has made the current table.
    motor->PonNotarioActual(2);
    tecla(Qt::Key_Return);
    EXPECT_FALSE(rejilla().EstaEditando());
    EXPECT_EQ(oficina.dia(1, Dia).first(), "09:00 Poder N");
}

TEST_F(ConjuntaTest, ACellThatIsOpenWhenTheProgramEndsIsKept)
{
    abre();
    teclea("Poder");
    ventana.reset();
    EXPECT_FALSE(motor->Tabla(1)->isEditing());
    EXPECT_EQ(oficina.dia(1, Dia).first(), "09:00 Poder N");
}

TEST_F(ConjuntaTest, AMarkThatCostsTheEndOfASubjectSaysSo)
{
    escribe(1, "CONCEPTO", QString(245, QLatin1Char('x')) + "final");
    abre();
    oficina.Mensaje.espera({"Salida de las 09:00 en la agenda de Ana Núñez.\n"
                            "Con la marca no cabe entero lo que dice la cita de las 09:00, que ha perdido su "
                            "final: «inal».",
                            Atencion});
    tecla(Qt::Key_S, Qt::ControlModifier);
}

TEST_F(ConjuntaTest, AnUnreadableTableCostsItsOwnColumnAlone)
{
    for (int notario = 1; notario <= 3; ++notario)
        oficina.linea(notario, OtroDia, "09:00");
    abre();
    const auto *const aviso = ventana->findChild<QLabel *>("LAviso");
    motor->Tabla(2)->close();
    tecla(Qt::Key_PageDown, Qt::ControlModifier);
    EXPECT_EQ(ventana->Fecha(), OtroDia);
    EXPECT_EQ(rejilla().model()->rowCount(), 1);
    EXPECT_EQ(aviso->text(), "No se puede leer el día de Benito Ruiz.");
    EXPECT_TRUE(aviso->isVisible());
    EXPECT_TRUE(rejilla()
                    .model()
                    ->index(0, CitaSegundo)
                    .data(Qt::AccessibleTextRole)
                    .toString()
                    .contains("no se puede leer"));
    oficina.linea(3, OtroDia, "12:00", "Nueva");
    refresca();
    EXPECT_EQ(rejilla().model()->rowCount(), 2);
    EXPECT_EQ(celda(1, 2 * CitaSegundo), "Nueva");
    tecla(Qt::Key_P, Qt::ControlModifier);
    tecla(Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(informes.Pedidos, (QStringList{"dia 18/11", "semana 16/11"}));
    // Nothing is known of his slots, so none is added or deleted with the others'.
    oficina.Mensaje.espera(
        {"No se han podido completar todas las hojas.\nBenito Ruiz: La tabla no está abierta", Atencion});
    tecla(Qt::Key_M, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(1, OtroDia).size(), 2);
    tecla(Qt::Key_PageUp, Qt::ControlModifier);
    EXPECT_EQ(ventana->Fecha(), Dia);
    EXPECT_EQ(rejilla().model()->rowCount(), 2);
    motor->Tabla(2)->open();
    refresca();
    EXPECT_FALSE(aviso->isVisible());
    EXPECT_FALSE(
        rejilla().model()->index(0, CitaSegundo).data(Qt::AccessibleTextRole).toString().contains("leer"));
    EXPECT_EQ(oficina.dia(2, OtroDia).size(), 1);
    // Standing on the one that cannot be read: all stay on their day.
    ve(0, CitaSegundo);
    motor->Tabla(2)->close();
    oficina.Mensaje.espera({"No se puede leer este día en la agenda de Benito Ruiz.", Atencion});
    tecla(Qt::Key_PageDown, Qt::ControlModifier);
    EXPECT_EQ(ventana->findChild<QPlainTextEdit *>("Detalle")->toPlainText(),
              "09:00 · Benito Ruiz\n(no se puede leer)");
    EXPECT_EQ(ventana->Fecha(), Dia);
    EXPECT_EQ(celda(0, 0), "");
    EXPECT_EQ(rejilla().model()->rowCount(), 2);
    motor->Tabla(2)->open();
}

TEST_F(ConjuntaTest, ConsentToWriteOverOneAppointmentIsNoneForAnother)
{
    abre();
    teclea("Poder");
    tecla(Qt::Key_Return);
    tecla(Qt::Key_C, Qt::ControlModifier);
    escribe(2, "CONCEPTO", "Boda");
    refresca();
    ve(0, CitaSegundo);
    oficina.Mensaje.espera({"¿Desea escribir encima (S/N)?", Conjunta, 1,
                            "En la agenda de Benito Ruiz ya hay citas a las 09:00, que se perderán.",
                            support::TCaja::noSi, [this] { escribe(2, "CONCEPTO", "Bautizo"); }});
    oficina.Mensaje.espera(
        {"No se ha pegado nada.\nOtro puesto ha cambiado la línea mientras tanto", Atencion});
    tecla(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(2, Dia), (QStringList{"09:00 Bautizo N", "10:00  N"}));
    EXPECT_EQ(celda(0, CitaSegundo), "Bautizo");
}

// The slot that the paste makes cannot be had in another table, which somebody holds.
TEST_F(ConjuntaTest, APasteIsToldApartFromTheSlotThatAnotherTableLacks)
{
    abre();
    teclea("Poder");
    tecla(Qt::Key_Return);
    tecla(Qt::Key_C, Qt::ControlModifier);
    motor->Tabla(3)->close();
    oficina.Mensaje.espera({"Está pegado, pero el hueco no se ha podido añadir en todas las agendas.\n"
                            "Carmen Güell: La tabla no está abierta",
                            Atencion});
    conHora(Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier, "1200");
    EXPECT_EQ(oficina.dia(1, Dia).last(), "12:00 Poder N");
    EXPECT_EQ(oficina.dia(2, Dia).last(), "12:00  N");
    motor->Tabla(3)->open();
}

TEST_F(ConjuntaTest, TabGoesPastAHoleWithoutAQuestion)
{
    oficina.linea(1, Dia, "08:00");
    abre();
    ve(0, 2);
    teclea("LUIS");
    tecla(Qt::Key_Tab);
    EXPECT_EQ(rejilla().currentIndex().column(), CitaSegundo);
    EXPECT_FALSE(rejilla().EstaEditando());
    EXPECT_EQ(oficina.dia(2, Dia).size(), 2);
}

// A command that fails has written something all the same: it is seen at once.
TEST_F(ConjuntaTest, AfterACommandThatFailedTheGridIsReadAgain)
{
    abre();
    informes.EnVista = [this](dataset::DataSet &) {
        oficina.linea(2, Dia, "08:00", "Nueva");
        throw dataset::EDatabaseError("Sin papel");
    };
    oficina.Mensaje.espera({"Sin papel", Atencion});
    tecla(Qt::Key_P, Qt::ControlModifier);
    EXPECT_EQ(rejilla().model()->rowCount(), 3);
    EXPECT_EQ(celda(0, CitaSegundo), "Nueva");
}

// Another program writes the party and the client's code, and the clerk's own party, who is no client, goes
// over it.
TEST_F(ConjuntaTest, APartyTypedAgainTakesNobodyElsesCode)
{
    abre();
    ve(0, 1);
    tecla(Qt::Key_F2);
    teclea("Otra");
    oficina.escribeSinBloqueo(1, "CODCLIENTE", "                  42");
    oficina.escribeSinBloqueo(1, "INTERESADO", "Luis Gil");
    noSeGuarda(OtroLaHaCambiado, "Luis Gil");
    tecla(Qt::Key_Return);
    EXPECT_FALSE(rejilla().EstaEditando());
    const auto otro = oficina.agenda(1);
    EXPECT_EQ(otro->field(u"INTERESADO").asText(), "Otra");
    EXPECT_EQ(otro->field(u"CODCLIENTE").asInteger(), 0);
}

// A table that was away and has come back is looked at before anything is done with it.
TEST_F(ConjuntaTest, NothingIsDoneWithADayThatHasOnlyComeBack)
{
    const QString mire =
        "Se ha vuelto a leer este día en la agenda de Benito Ruiz. Mire lo que dice antes de cambiarlo.";
    abre();
    ve(0, CitaSegundo);
    const auto vaYVuelve = [this] {
        motor->Tabla(2)->close();
        escribe(2, "CONCEPTO", "Boda");
        motor->Tabla(2)->open();
    };
    oficina.Mensaje.espera(
        {TodoElDia, Conjunta, 1, "la agenda de Benito Ruiz", support::TCaja::porSuTexto, vaYVuelve});
    oficina.Mensaje.espera({mire, Atencion});
    tecla(Qt::Key_U, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(2, Dia), (QStringList{"09:00 Boda N", "10:00  N"}));
    EXPECT_EQ(celda(0, CitaSegundo), "Boda");
    // Nor is it said that he lacks the slot of which nothing was known.
    for (const Qt::Key orden : {Qt::Key_F2, Qt::Key_Delete}) {
        motor->Tabla(2)->close();
        refresca();
        motor->Tabla(2)->open();
        oficina.Mensaje.espera({mire, Atencion});
        ventana->findChild<QAction *>("ALimpiar")->setEnabled(true);
        tecla(orden);
        EXPECT_FALSE(rejilla().EstaEditando());
    }
    EXPECT_EQ(oficina.dia(2, Dia), (QStringList{"09:00 Boda N", "10:00  N"}));
}

TEST_F(ConjuntaTest, ASheetThatOneTableRefusesIsMadeInTheOthersAndTheTitleIsItsDay)
{
    abre();
    tecleaFecha("19");
    oficina.Mensaje.espera({"¿Desea añadir una hoja a día de 19/11/2026 (S/N)?", "Agenda", 1,
                            "No hay datos a fecha de 19/11/2026", support::TCaja::porSuTexto,
                            [this] { motor->Tabla(2)->close(); }});
    oficina.Mensaje.espera({"Benito Ruiz: La tabla no está abierta", Atencion});
    tecla(Qt::Key_Return);
    const QDate nuevo(2026, 11, 19);
    EXPECT_EQ(ventana->Fecha(), nuevo);
    EXPECT_FALSE(oficina.dia(1, nuevo).isEmpty());
    EXPECT_FALSE(oficina.dia(3, nuevo).isEmpty());
    EXPECT_TRUE(ventana->findChild<QLabel *>("LDia")->text().contains("19 de noviembre"))
        << ventana->findChild<QLabel *>("LDia")->text().toStdString();
    EXPECT_FALSE(rejilla().model()->rowCount() == 0) << "what has been made is seen";
    motor->Tabla(2)->open();
}

TEST_F(ConjuntaTest, OfSeveralLinesAllAreCopiedOrNone)
{
    abre();
    rejilla().selectColumn(0);
    const auto otro = oficina.agenda(1);
    otro->last();
    otro->edit();
    otro->field(u"CONCEPTO").setText("Acta");
    otro->post();
    oficina.Mensaje.espera({"No se ha copiado nada.\nAna Núñez: 10:00: " + OtroLaHaCambiado, Atencion});
    tecla(Qt::Key_C, Qt::ControlModifier);
    EXPECT_TRUE(motor->HorasCopiadas().isEmpty()) << motor->HorasCopiadas().join(',').toStdString();
    EXPECT_EQ(celda(1, 0), "Acta") << "what is refused is shown";
}

// Cells were chosen on one day; a date is typed, and the tool bar leaves the focus in its field.
TEST_F(ConjuntaTest, LinesChosenOnOneDayAreNotMarkedOnAnother)
{
    for (int notario = 1; notario <= 3; ++notario) {
        oficina.linea(notario, OtroDia, "09:00", "Poder");
        oficina.linea(notario, OtroDia, "10:00", "Acta");
    }
    abre();
    rejilla().selectColumn(0);
    tecleaFecha("18");
    ventana->findChild<QAction *>("ASalida")->trigger();
    EXPECT_EQ(oficina.dia(1, OtroDia), (QStringList{"09:00 Poder N", "10:00 Acta N"}));
    EXPECT_EQ(celda(0, 0), "Poder");
    EXPECT_EQ(rejilla().selectionModel()->selectedIndexes(), QModelIndexList{rejilla().currentIndex()});
    tecla(Qt::Key_S, Qt::ControlModifier); // seen, his own line is marked
    EXPECT_EQ(oficina.dia(1, OtroDia), (QStringList{"09:00 [SALIDA]Poder S", "10:00 Acta N"}));
}

#if defined(Q_OS_LINUX)
// The program ends with a cell open that cannot be written: the clerk reads what he had typed.
TEST_F(ConjuntaTest, WhatIsLostWhenTheProgramEndsIsTold)
{
    abreVigilada(1);
    teclea("Poder");
    falla(driver::filecalls::Call::lock);
    oficina.Mensaje.espera(habiaEscrito(SinServidor, "Poder"));
    ventana.reset();
    EXPECT_FALSE(oficina.Mensaje.pendientes());
}

// The line could not be had for a while, and a colleague has booked it: Enter does not write over that
// unseen.
TEST_F(ConjuntaTest, ACellThatHasWaitedForItsLineWritesOverNothingUnseen)
{
    abreVigilada(1);
    teclea("Poder");
    falla(driver::filecalls::Call::lock);
    noSeGuarda(SinServidor);
    vuelve();
    escribe(1, "CONCEPTO", "Boda");
    noSeGuarda(OtroLaHaCambiado, "Boda");
    EXPECT_EQ(oficina.dia(1, Dia).first(), "09:00 Boda N");
    tecla(Qt::Key_Return); // told, it is his decision
    EXPECT_EQ(oficina.dia(1, Dia).first(), "09:00 Poder N");
}

// The way back from the look at what is written over fails, and the look has met what the clerk does not see.
TEST_F(ConjuntaTest, APasteWritesOverNothingThatIsNotShown)
{
    using driver::filecalls::Call;
    abreVigilada(2);
    support::MensajesApuntados mensajes;
    TServicios servicios = Servicios();
    servicios.Mensaje = &mensajes;
    const TServiciosInstalados apuntados(servicios);
    teclea("Poder");
    tecla(Qt::Key_Return);
    tecla(Qt::Key_C, Qt::ControlModifier);
    ve(0, CitaSegundo);
    int negadas = 0;
    for (const Call llamada : {Call::read, Call::map, Call::lock, Call::size, Call::look}) {
        bool met = true;
        for (int numero = 1; met; ++numero) {
            SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(llamada) << ", " << numero);
            ASSERT_LT(numero, 200);
            const QString nuevo = QStringLiteral("Boda %1.%2").arg(static_cast<int>(llamada)).arg(numero);
            escribe(2, "CONCEPTO", nuevo);
            bool visto = false;
            mensajes.EnPregunta = [&] {
                visto = visto || celda(0, CitaSegundo) == nuevo;
                vuelve();
            };
            driver::filecalls::fail(driver::filecalls::Fault{llamada, numero, EIO, true, false});
            tecla(Qt::Key_V, Qt::ControlModifier);
            met = driver::filecalls::faultMet() || !mensajes.Textos.isEmpty(); // forgotten with the question
            vuelve();
            const bool sigue = oficina.dia(2, Dia).first().contains(nuevo);
            EXPECT_TRUE(sigue || visto) << "lost unseen";
            EXPECT_TRUE(!sigue || !mensajes.Textos.isEmpty()) << "not told";
            negadas += sigue ? 1 : 0;
            mensajes.Textos.clear();
            refresca();
        }
    }
    EXPECT_GT(negadas, 0) << "nothing has been tried";
}

TEST_F(ConjuntaTest, AColumnThatCannotBeReadAnyMoreSaysSo)
{
    oficina.linea(2, Dia, "08:00", "Madruga");
    abreVigilada(2);
    ASSERT_EQ(rejilla().currentIndex().row(), 0);
    falla(std::nullopt);
    oficina.linea(3, Dia, "12:00");
    refresca();
    EXPECT_EQ(rejilla().model()->rowCount(), 3) << "nothing is known of 08:00";
    EXPECT_EQ(ventana->findChild<QLabel *>("LAviso")->text(), "No se puede leer el día de Benito Ruiz.");
    EXPECT_FALSE(ventana->statusBar()->currentMessage().contains("ha borrado"));
    vuelve();
    refresca();
    EXPECT_EQ(celda(0, CitaSegundo), "Madruga");
}
#endif

class ConjuntaDeSiete : public ConjuntaTest
{
protected:
    ConjuntaDeSiete()
        : ConjuntaTest(5)
    {
        oficina.Config.Cuantos = 7;
    }
};

TEST_F(ConjuntaDeSiete, NobodyLosesASecondLineAndTheOthersAreNamed)
{
    oficina.linea(5, Dia, "10:00", "Segunda");
    abre();
    const auto *const aviso = ventana->findChild<QLabel *>("LAviso");
    EXPECT_TRUE(aviso->text().contains("Solo se ven los 5 primeros notarios."))
        << aviso->text().toStdString();
    EXPECT_EQ(rejilla().model()->columnCount(), 15);
    ve(1, 0);
    oficina.Mensaje.espera({BorraHueco.arg("10:00"), " ATENCIÓN", 1});
    tecla(Qt::Key_Delete, Qt::ControlModifier);
    for (int notario = 1; notario <= 4; ++notario)
        EXPECT_EQ(oficina.dia(notario, Dia), QStringList{"09:00  N"}) << notario;
    EXPECT_EQ(oficina.dia(5, Dia), (QStringList{"09:00  N", "10:00 Segunda N"}));
}

} // namespace
