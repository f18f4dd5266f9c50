// The day of all notaries side by side, worked with keys; the tables are read afterwards as another
// workstation would.

#include "tests/host/Conjunta.h"
#if defined(Q_OS_LINUX)
#include "tests/support/AvisoDeTabla.h"
#endif

#include <QtWidgets/QPlainTextEdit>

using support::Atencion;
using support::BorraHueco;
using support::CitaSegundo;
using support::Conjunta;
using support::ConjuntaTest;
using support::Dia;
using support::Oficial;
using support::OtroDia;
using support::OtroLaHaCambiado;
using support::SinServidor;
using support::TodoElDia;

namespace
{

TEST_F(ConjuntaTest, WhatIsTypedInACellIsWrittenInThatNotarysLine)
{
    abre();
    ve(1, CitaSegundo);
    teclea("Poder");
    EXPECT_TRUE(rejilla().EstaEditando());
    // While the clerk types the line is his.
    const auto otro = oficina.agenda(2);
    otro->last();
    EXPECT_THROW(otro->edit(), dataset::EDatabaseError);
    tecla(Qt::Key_Tab);
    EXPECT_EQ(oficina.dia(2, Dia), (QStringList{"09:00  N", "10:00 Poder N"}));
    EXPECT_EQ(rejilla().currentIndex().column(), CitaSegundo + 1);
    ASSERT_TRUE(rejilla().EstaEditando());
    teclea("Mu");
    tecla(Qt::Key_F4); // the list of clients
    EXPECT_EQ(clientes.Inicial, "Mu");
    ventana->activateWindow(); // a desktop does so by itself
    ASSERT_TRUE(QTest::qWaitForWindowActive(ventana.get()));
    ASSERT_TRUE(rejilla().EstaEditando()) << "the list has closed the cell";
    tecla(Qt::Key_Insert); // a key of the text, not the command that makes slots
    tecla(Qt::Key_Tab);
    teclea("  LUIS");
    tecla(Qt::Key_Return);
    EXPECT_FALSE(rejilla().EstaEditando());
    otro->refresh();
    otro->last();
    EXPECT_EQ(otro->field(u"INTERESADO").asText(), "Muñoz, Íñigo");
    EXPECT_EQ(otro->field(u"CODCLIENTE").asInteger(), 42);
    EXPECT_EQ(otro->field(u"OFICIAL").asText(), "  LUIS");
    // Esc leaves the cell as it was, and gives the line back; a second Esc closes.
    teclea("Otro");
    tecla(Qt::Key_Escape);
    otro->edit();
    otro->cancel();
    EXPECT_EQ(celda(1, CitaSegundo + Oficial), "  LUIS");
    tecla(Qt::Key_Escape);
    EXPECT_FALSE(ventana->isVisible());
    EXPECT_EQ(oficina.dia(1, Dia), (QStringList{"09:00  N", "10:00  N"}));
}

TEST_F(ConjuntaTest, ALineHeldOrChangedElsewhereIsNotWrittenOver)
{
    abre();
    const auto otro = oficina.agenda(1);
    otro->first();
    otro->edit();
    oficina.Mensaje.espera(
        {QStringLiteral("No se puede cambiar la línea de las 09:00 de la agenda de Ana Núñez.\n"
                        "Otro puesto está usando la línea"),
         Atencion});
    tecla(Qt::Key_F2);
    EXPECT_FALSE(rejilla().EstaEditando());
    otro->field(u"CONCEPTO").setText("Suya");
    otro->post();
    const QString nose =
        "No se puede cambiar la línea de las 09:00 de la agenda de Ana Núñez.\nOtro puesto ha ";
    oficina.Mensaje.espera({nose + "cambiado la línea mientras tanto", Atencion});
    teclea("M");
    EXPECT_EQ(celda(0, 0), "Suya");
    otro->remove();
    oficina.Mensaje.espera({nose + "borrado la línea mientras tanto", Atencion});
    motor->TablaActual().refresh();
    tecla(Qt::Key_F2);
    EXPECT_EQ(oficina.dia(1, Dia), (QStringList{"10:00  N"}));
}

// Another program that heeds no locks writes into the line while the clerk types: Enter again writes his
// text, and the rest of the line is as the other has it.
TEST_F(ConjuntaTest, WhatCannotBeWrittenStaysInTheCell)
{
    abre();
    teclea("Poder");
    oficina.escribeSinBloqueo(1, "OFICIAL", "AJENO");
    noSeGuarda(OtroLaHaCambiado);
    tecla(Qt::Key_Return);
    EXPECT_FALSE(rejilla().EstaEditando());
    EXPECT_EQ(oficina.dia(1, Dia).first(), "09:00 Poder N");
    EXPECT_EQ(celda(0, Oficial), "AJENO");
    teclea("Acta");
    oficina.escribeSinBloqueo(1, "CONCEPTO", "SUYO ");
    noSeGuarda(OtroLaHaCambiado, "SUYO");
    EXPECT_EQ(qobject_cast<QLineEdit *>(QApplication::focusWidget())->text(), "Acta");
    EXPECT_TRUE(ventana->findChild<QPlainTextEdit *>("Detalle")->toPlainText().contains("SUYO"))
        << "what the next Enter writes over is seen";
    tecla(Qt::Key_Escape);
    EXPECT_FALSE(rejilla().EstaEditando());
    EXPECT_EQ(oficina.dia(1, Dia).first(), "09:00 SUYO N");
}

// It needs no second line of the clerk's: what he typed is told.
TEST_F(ConjuntaTest, WhatWasTypedIntoALineThatHasGoneIsTold)
{
    abre();
    teclea("Poder");
    oficina.escribeSinBloqueo(1, nullptr, "*");
    const auto dicho = habiaEscrito("Otro puesto ha borrado la línea mientras tanto", "Poder");
    oficina.Mensaje.espera(dicho);
    tecla(Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !oficina.Mensaje.pendientes(); }));
    EXPECT_FALSE(rejilla().EstaEditando());
    EXPECT_EQ(oficina.dia(1, Dia), QStringList{"10:00  N"});
    // Also by a window that is being closed: afterwards nobody is left to tell it.
    ventana.reset();
    oficina.linea(1, Dia, "09:00");
    abre();
    teclea("Poder");
    oficina.escribeSinBloqueo(3, nullptr, "*");
    oficina.Mensaje.espera(dicho);
    ventana->close();
    ventana.reset();
    EXPECT_FALSE(oficina.Mensaje.pendientes());
}

TEST_F(ConjuntaTest, ASlotIsMadeAndDeletedInEveryTable)
{
    oficina.linea(1, Dia, "10:00", "Segunda");
    abre();
    ASSERT_EQ(rejilla().model()->rowCount(), 3);
    conHora(Qt::Key_Insert, {}, "0930");
    for (int notario = 1; notario <= 3; ++notario)
        EXPECT_EQ(oficina.dia(notario, Dia).at(1), "09:30  N") << notario;
    EXPECT_EQ(rejilla().currentIndex().row(), 1);
    EXPECT_EQ(QApplication::focusWidget(), &rejilla());
    oficina.Mensaje.espera({BorraHueco.arg("09:30"), " ATENCIÓN", 1});
    tecla(Qt::Key_Delete, Qt::ControlModifier);
    for (int notario = 1; notario <= 3; ++notario)
        EXPECT_FALSE(oficina.dia(notario, Dia).join(' ').contains("09:30")) << notario;
    // The second line of an hour is the first notary's alone: nobody loses his first one with it.
    ve(2, 0);
    oficina.Mensaje.espera({BorraHueco.arg("10:00"), " ATENCIÓN", 1});
    tecla(Qt::Key_Delete, Qt::ControlModifier);
    for (int notario = 1; notario <= 3; ++notario)
        EXPECT_EQ(oficina.dia(notario, Dia), (QStringList{"09:00  N", "10:00  N"})) << notario;
    // An hour that is there already is asked about.
    oficina.Mensaje.espera({"¿Desea añadir otro (S/N)?", Conjunta, 0, "Ya hay un hueco a las 10:00."});
    conHora(Qt::Key_Insert, {}, "1000");
    EXPECT_EQ(oficina.dia(3, Dia).size(), 2);
}

TEST_F(ConjuntaTest, MarksAndClearingTouchOneNotary)
{
    oficina.linea(2, OtroDia, "09:00");
    abre();
    ve(0, CitaSegundo);
    teclea("Acta");
    tecla(Qt::Key_Return);
    tecla(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(2, Dia).first(), "09:00 [SALIDA]Acta S");
    EXPECT_TRUE(rejilla().model()->index(0, CitaSegundo).data(Qt::BackgroundRole).isValid());
    EXPECT_FALSE(rejilla().model()->index(0, 0).data(Qt::BackgroundRole).isValid());
    oficina.Mensaje.espera({TodoElDia, Conjunta, 1, "la agenda de Benito Ruiz"});
    tecla(Qt::Key_U, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(2, Dia), (QStringList{"09:00 [AUSENTE]Acta S", "10:00 [AUSENTE] S"}));
    oficina.Mensaje.espera({TodoElDia, Conjunta, 1, "la agenda de Benito Ruiz"});
    tecla(Qt::Key_U, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(2, Dia), (QStringList{"09:00 Acta N", "10:00  N"}));
    oficina.Mensaje.espera({"¿Desea limpiar la cita de las 09:00 de la base de datos?", " ATENCIÓN", 1});
    tecla(Qt::Key_Delete);
    EXPECT_EQ(oficina.dia(2, Dia).first(), "09:00  ");
    EXPECT_EQ(oficina.dia(1, Dia), (QStringList{"09:00  N", "10:00  N"}));
}

TEST_F(ConjuntaTest, CopiedLinesGoToAnotherNotaryAndHourAndOverwriteOnlyWhenAllowed)
{
    abre();
    teclea("Poder");
    tecla(Qt::Key_Return);
    ve(1, 0);
    teclea("Acta");
    tecla(Qt::Key_Return);
    ve(0, 0);
    tecla(Qt::Key_Down, Qt::ShiftModifier);
    tecla(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(ventana->findChild<QLabel *>("LPortapapeles")->text(), "Copiado: 09:00, 10:00");
    ve(0, CitaSegundo);
    teclea("Suya");
    tecla(Qt::Key_Return);
    const QString encima = "¿Desea escribir encima (S/N)?";
    const QString cuales = "En la agenda de Benito Ruiz ya hay citas a las 09:00, que se perderán.";
    oficina.Mensaje.espera({encima, Conjunta, 0, cuales, support::TCaja::noSi});
    tecla(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(2, Dia), (QStringList{"09:00 Suya N", "10:00  N"}));
    oficina.Mensaje.espera({encima, Conjunta, 1, cuales, support::TCaja::noSi});
    tecla(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(2, Dia), (QStringList{"09:00 Poder N", "10:00 Acta N"}));
    conHora(Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier, "1200");
    EXPECT_EQ(oficina.dia(2, Dia).mid(2), (QStringList{"12:00 Poder N", "13:00 Acta N"}));
    EXPECT_EQ(oficina.dia(3, Dia).mid(2), (QStringList{"12:00  N", "13:00  N"}));
    EXPECT_EQ(celda(rejilla().currentIndex().row(), CitaSegundo), "Poder");
    oficina.Mensaje.espera({"La cita copiada de las 10:00 quedaría fuera del día.", Atencion});
    conHora(Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier, "2330");
    tecla(Qt::Key_Backspace, Qt::ControlModifier);
    EXPECT_FALSE(motor->HayDatosEnPortapapeles());
    EXPECT_EQ(oficina.dia(1, Dia).size(), 4);
}

// What others have booked since the last refresh is seen before anything is deleted, cleared or written over.
TEST_F(ConjuntaTest, NothingThatOthersHaveBookedMeanwhileIsLostUnseen)
{
    abre();
    escribe(2, "CONCEPTO", "Suya");
    oficina.Mensaje.espera({"El hueco de las 09:00 no se ha borrado.\n"
                            "Benito Ruiz: Otro puesto ha cambiado la línea mientras tanto",
                            Atencion});
    tecla(Qt::Key_Delete, Qt::ControlModifier);
    oficina.Mensaje.espera({"¿Desea borrar también esas citas (S/N)?", Conjunta, 0,
                            "A las 09:00 tienen cita además: Benito Ruiz.", support::TCaja::noSi});
    tecla(Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(1, Dia).size(), 2);
    const auto libre = oficina.agenda(2);
    libre->first();
    libre->edit(); // the refused deletion holds nobody's line
    libre->cancel();
    // A party entered elsewhere is no free line, though its subject still looks so.
    escribe(1, "INTERESADO", "Otro");
    oficina.Mensaje.espera({"No se puede cambiar la línea de las 09:00 de la agenda de Ana Núñez.\n"
                            "Otro puesto ha cambiado la línea mientras tanto",
                            Atencion});
    teclea("M");
    EXPECT_FALSE(rejilla().EstaEditando());
    EXPECT_EQ(celda(0, 1), "Otro");
    tecla(Qt::Key_C, Qt::ControlModifier);
    escribe(3, "CONCEPTO", "Tercera");
    ve(0, 2 * CitaSegundo);
    oficina.Mensaje.espera({"¿Desea escribir encima (S/N)?", Conjunta, 0,
                            "En la agenda de Carmen Güell ya hay citas a las 09:00, que se perderán.",
                            support::TCaja::noSi});
    tecla(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(3, Dia).first(), "09:00 Tercera N");
}

TEST_F(ConjuntaTest, APasteIntoAHoleAddsTheSlotToThatNotaryAlone)
{
    abre();
    teclea("Poder");
    tecla(Qt::Key_Return);
    tecla(Qt::Key_C, Qt::ControlModifier);
    oficina.linea(1, OtroDia, "09:00", "Suya");
    ventana->VeAlDia(OtroDia);
    ve(0, CitaSegundo);
    tecla(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(1, OtroDia), (QStringList{"09:00 Suya N"}));
    EXPECT_EQ(oficina.dia(2, OtroDia), (QStringList{"09:00 Poder N"}));
    EXPECT_TRUE(oficina.dia(3, OtroDia).isEmpty());
}

TEST_F(ConjuntaTest, TheDateFieldFollowsCommandsAndIsFollowedByThem)
{
    for (int notario = 1; notario <= 3; ++notario)
        oficina.linea(notario, OtroDia, "09:00");
    abre();
    auto *const fecha = ventana->findChild<QLineEdit *>("MEFecha");
    fecha->setFocus();
    tecla(Qt::Key_PageDown, Qt::ControlModifier);
    EXPECT_EQ(ventana->Fecha(), OtroDia);
    EXPECT_EQ(fecha->text(), "18/11/2026");
    fecha->setFocus();
    tecla(Qt::Key_Home);
    teclea("16");
    ventana->findChild<QAction *>("AImprimirDia")->trigger();
    EXPECT_EQ(ventana->Fecha(), Dia);
    EXPECT_EQ(informes.Pedidos, QStringList{"dia 16/11"});
    // A day that no table can show leaves the day before, and its date in the field.
    for (int notario = 1; notario <= 3; ++notario)
        motor->Tabla(notario)->close();
    tecleaFecha("18");
    oficina.Mensaje.espera({"Ana Núñez: La tabla no está abierta\nBenito Ruiz: La tabla no está abierta\n"
                            "Carmen Güell: La tabla no está abierta",
                            Atencion});
    tecla(Qt::Key_Return);
    EXPECT_EQ(ventana->Fecha(), Dia);
    EXPECT_EQ(fecha->text(), "16/11/2026");
    for (int notario = 1; notario <= 3; ++notario)
        motor->Tabla(notario)->open();
    fecha->setFocus();
    tecla(Qt::Key_Home);
    teclea("31");
    oficina.Mensaje.espera({"«31/11/2026» no es una fecha.", Atencion});
    ventana->findChild<QAction *>("AHoy")->trigger();
    EXPECT_EQ(fecha->text(), "31/11/2026");
    EXPECT_EQ(QApplication::focusWidget(), fecha);
    fecha->clear();
}

TEST_F(ConjuntaTest, ADayThatSomeNotariesLackIsCompletedWithoutDoubling)
{
    oficina.linea(1, OtroDia, "09:00", "Poder");
    oficina.linea(1, OtroDia, "09:30");
    abre().VeAlDia(OtroDia);
    const auto *const aviso = ventana->findChild<QLabel *>("LAviso");
    EXPECT_EQ(aviso->text(), "Sin hoja de este día: Benito Ruiz, Carmen Güell.");
    ve(0, CitaSegundo);
    oficina.Mensaje.espera(
        {"¿Desea añadirlo (S/N)?", Conjunta, 1, "No hay hueco a las 09:00 en la agenda de Benito Ruiz."});
    tecla(Qt::Key_Return);
    ASSERT_TRUE(rejilla().EstaEditando());
    teclea("Acta");
    tecla(Qt::Key_M, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(1, OtroDia), (QStringList{"09:00 Poder N", "09:30  N"}));
    EXPECT_EQ(oficina.dia(2, OtroDia), (QStringList{"09:00 Acta N", "09:30  N"}));
    EXPECT_EQ(oficina.dia(3, OtroDia), (QStringList{"09:00  N", "09:30  N"}));
    EXPECT_FALSE(aviso->isVisible());
}

TEST_F(ConjuntaTest, DaysAreGoneThroughAndAnEmptyOneIsOffered)
{
    for (int notario = 1; notario <= 3; ++notario)
        oficina.linea(notario, OtroDia, "09:00");
    abre();
    tecla(Qt::Key_PageDown, Qt::ControlModifier);
    EXPECT_EQ(ventana->Fecha(), OtroDia);
    EXPECT_EQ(rejilla().model()->rowCount(), 1);
    oficina.Mensaje.espera({"No hay días posteriores en la agenda de Ana Núñez", Atencion});
    tecla(Qt::Key_PageDown, Qt::ControlModifier);
    tecla(Qt::Key_PageUp, Qt::ControlModifier);
    EXPECT_EQ(ventana->Fecha(), Dia);
    oficina.Rut.FechaElegida = Dia.addDays(1);
    oficina.Mensaje.espera({"¿Desea añadir una hoja a día de 17/11/2026 (S/N)?", "Agenda", 1,
                            "No hay datos a fecha de 17/11/2026"});
    tecla(Qt::Key_B, Qt::ControlModifier);
    for (int notario = 1; notario <= 3; ++notario)
        EXPECT_EQ(oficina.dia(notario, Dia.addDays(1)).size(), 4) << notario;
    tecla(Qt::Key_Home, Qt::ControlModifier);
    EXPECT_EQ(ventana->Fecha(), Dia);
}

TEST_F(ConjuntaTest, LinesOfOthersComeByThemselvesAndTheCellStays)
{
    abre();
    ve(1, CitaSegundo);
    oficina.linea(3, Dia, "08:00", "Madruga");
    refresca();
    EXPECT_EQ(celda(0, 2 * CitaSegundo), "Madruga");
    EXPECT_EQ(rejilla().currentIndex().row(), 2);
    EXPECT_EQ(rejilla().currentIndex().column(), CitaSegundo);
    // Not while a cell is being typed in.
    teclea("Po");
    oficina.linea(1, Dia, "08:30");
    refresca();
    EXPECT_EQ(rejilla().model()->rowCount(), 3);
    tecla(Qt::Key_Return);
    refresca();
    EXPECT_EQ(rejilla().model()->rowCount(), 4);
    EXPECT_EQ(celda(3, CitaSegundo), "Po");
}

#if defined(Q_OS_LINUX)
// Not even the line can be had again: what was typed waits in the cell until it can.
TEST_F(ConjuntaTest, WhatIsTypedWaitsInTheCellForAServerThatDoesNotAnswer)
{
    abreVigilada(1);
    teclea("Poder");
    falla(driver::filecalls::Call::lock);
    noSeGuarda(SinServidor);
    noSeGuarda(SinServidor);
    vuelve();
    tecla(Qt::Key_Return);
    EXPECT_FALSE(rejilla().EstaEditando());
    EXPECT_EQ(oficina.dia(1, Dia).first(), "09:00 Poder N");
}

// What a table finds in the middle of a working day reaches the clerk once the cell is closed, and only once.
TEST_F(ConjuntaTest, NoticesOfATableAreToldOnce)
{
    const support::AvisoDeTabla aviso(oficina.carpetaDe("NOTARIO2"), "AGENDA_N.DBF");
    abre();
    teclea("Poder");
    motor->Tabla(2)->first();
    aviso.descubre(*motor->Tabla(2));
    refresca();
    EXPECT_TRUE(rejilla().EstaEditando());
    oficina.Mensaje.espera({support::AvisoDeTabla::texto("AGENDA_N", "NOTARIO2"), Atencion, 0, QString(),
                            support::TCaja::porSuTexto, [this] {
                                EXPECT_EQ(oficina.dia(1, Dia).first(), "09:00 Poder N");
                                refresca();
                            }});
    tecla(Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_FALSE(oficina.Mensaje.pendientes());
    refresca();
}
#endif

TEST_F(ConjuntaTest, TheSheetsAreThoseOfTheNotaryOneStandsOn)
{
    oficina.linea(2, Dia, "12:00", "Del segundo");
    abre();
    ve(0, CitaSegundo);
    oficina.Rut.OficialElegido = "LUIS";
    for (const char *const comando :
         {"AImprimirDia", "AImprimirDiaOficial", "AImprimirSemana", "AImprimirSemanaOficial"})
        ventana->findChild<QAction *>(comando)->trigger();
    EXPECT_EQ(informes.Pedidos,
              (QStringList{"dia 16/11", "dia 16/11 [LUIS]", "semana 16/11", "semana 16/11"}));
    EXPECT_EQ(rejilla().model()->rowCount(), 3);
    EXPECT_EQ(celda(2, CitaSegundo), "Del segundo");
}

} // namespace
