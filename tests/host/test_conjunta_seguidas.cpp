// The joint day under a fast hand and a slow table: keys that come in one go, commands given out of an open
// cell, and what arrives while a table waits for a lock.

#include "tests/host/Conjunta.h"

#include "dataset/DbfTable.h"
#include "dbcontrols/WindowWait.h"

#include <QtCore/QPointer>

#include <utility>

using support::Atencion;
using support::Conjunta;
using support::ConjuntaTest;
using support::Dia;
using support::MensajeDePrueba;
using support::SinServidor;

namespace
{

const QString LaHaBorrado = QStringLiteral("Otro puesto ha borrado la línea mientras tanto");

/// What the first notary alone has at 08:00, in front of the lines of all, is given up; its text is told.
MensajeDePrueba::Esperado alasOcho()
{
    return {"No se ha podido guardar la cita de las 08:00.\n" + LaHaBorrado + "\n\nHabía escrito:\nPoder",
            Atencion};
}

/// Keys that have waited in their queue while the program was busy: they come one behind the other, and what
/// they have put off comes afterwards.
void deGolpe(const QString &letras, std::initializer_list<Qt::Key> teclas)
{
    for (const QChar letra : letras)
        QTest::sendKeyEvent(QTest::Click, QApplication::focusWidget(), Qt::Key_unknown, QString(letra), {});
    for (const Qt::Key una : teclas)
        QTest::keyClick(QApplication::focusWidget(), una);
}

// A cell that is given up: its text is told, and the command is not done to the line that comes next.
TEST_F(ConjuntaTest, ACommandGivenInACellWhoseLineHasGoneTouchesNoOtherLine)
{
    oficina.linea(1, Dia, "08:00");
    abre();
    teclea("Poder");
    oficina.escribeSinBloqueo(3, nullptr, "*");
    oficina.Mensaje.espera(alasOcho());
    tecla(Qt::Key_S, Qt::ControlModifier); // the outing of 08:00
    EXPECT_TRUE(QTest::qWaitFor([this] { return !oficina.Mensaje.pendientes(); }));
    EXPECT_EQ(oficina.dia(1, Dia), (QStringList{"09:00  N", "10:00  N"}));
}

/// Three lines at one hour, in all tables: A, B and C are the first notary's.
class ConjuntaDeTresTest : public ConjuntaTest
{
protected:
    ConjuntaDeTresTest()
    {
        for (int notario = 1; notario <= 3; ++notario) {
            for (const char *const cual : {"A", "B", "C"})
                oficina.linea(notario, Dia, "09:30", notario == 1 ? cual : "");
        }
    }
    /// A colleague deletes A; the rows are as many as before, for the others have theirs.
    void borraA()
    {
        const auto otro = oficina.agenda(1);
        ASSERT_TRUE(otro->locate({{"FECHA", Dia}, {"HORA", "09:30"}}, dataset::SearchMode::exact));
        ASSERT_EQ(otro->field(u"CONCEPTO").asText(), "A");
        otro->remove();
        refresca();
    }
};

TEST_F(ConjuntaDeTresTest, ACommandGivenInACellIsDoneToTheLineOfTheCell)
{
    abre();
    ve(2, 0);
    ASSERT_EQ(celda(2, 0), "B");
    tecla(Qt::Key_F2);
    teclea("Boda");
    borraA();
    tecla(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(1, Dia),
              (QStringList{"09:00  N", "09:30 [SALIDA]Boda S", "09:30 C N", "10:00  N"}));
}

TEST_F(ConjuntaDeTresTest, TabGoesOnInTheLineThatWasWritten)
{
    abre();
    ve(2, 0);
    tecla(Qt::Key_F2);
    teclea("Boda");
    borraA();
    tecla(Qt::Key_Tab);
    teclea("RUIZ");
    tecla(Qt::Key_Return);
    const auto otro = oficina.agenda(1);
    QStringList lineas;
    for (otro->first(); !otro->eof(); otro->next())
        lineas << otro->field(u"CONCEPTO").asText() + '|' + otro->field(u"INTERESADO").asText();
    EXPECT_EQ(lineas, (QStringList{"|", "Boda|RUIZ", "C|", "|"}));
}

TEST_F(ConjuntaDeTresTest, ChosenLinesStayChosenWhereTheyGo)
{
    abre();
    ve(2, 0); // B
    rejilla().selectionModel()->setCurrentIndex(rejilla().model()->index(4, 0), QItemSelectionModel::Select);
    borraA();
    tecla(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(1, Dia),
              (QStringList{"09:00  N", "09:30 [SALIDA]B S", "09:30 C N", "10:00 [SALIDA] S"}));
}

TEST_F(ConjuntaTest, AClickElsewhereWritesOverNothingOfAnotherProgram)
{
    abre();
    teclea("Poder");
    oficina.escribeSinBloqueo(1, "CONCEPTO", "SUYO ");
    QStringList alDecirlo;
    oficina.Mensaje.espera(
        {"No se ha podido guardar la cita de las 09:00.\n" + support::OtroLaHaCambiado +
             "\n\nLo que ha escrito sigue en la celda: pulse Intro para volver a intentarlo "
             "o Esc para dejarlo.\nEl otro puesto había escrito: SUYO",
         Atencion,
         0,
         {},
         support::TCaja::porSuTexto,
         [&] { alDecirlo = oficina.dia(1, Dia); }});
    QTest::mouseClick(rejilla().viewport(), Qt::LeftButton, {},
                      rejilla().visualRect(rejilla().model()->index(1, support::CitaSegundo)).center());
    EXPECT_TRUE(QTest::qWaitFor([this] { return !oficina.Mensaje.pendientes(); }));
    EXPECT_EQ(alDecirlo, (QStringList{"09:00 SUYO N", "10:00  N"}));
    EXPECT_TRUE(rejilla().EstaEditando());
}

#if defined(Q_OS_LINUX)
// The same without any foreign program: the line could not be taken up again for a while, and a colleague has
// deleted it in that time.
TEST_F(ConjuntaTest, ACommandGivenInACellThatWaitsForItsLineTouchesNoOtherLine)
{
    oficina.linea(1, Dia, "09:00", "Testamento"); // the second one of its hour, his alone
    abreVigilada(1);
    teclea("Poder");
    falla(driver::filecalls::Call::lock);
    noSeGuarda(SinServidor);
    vuelve();
    const auto otro = oficina.agenda(1);
    otro->first();
    otro->remove();
    oficina.Mensaje.espera(habiaEscrito(LaHaBorrado, "Poder"));
    tecla(Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !oficina.Mensaje.pendientes(); }));
    EXPECT_EQ(oficina.dia(1, Dia), (QStringList{"09:00 Testamento N", "10:00  N"}));
}

// Enter twice in one go: the second one is no answer to what the first one has brought to light.
TEST_F(ConjuntaTest, ASecondEnterWritesOverNothingThatHasNotBeenTold)
{
    abreVigilada(1);
    teclea("Poder");
    falla(driver::filecalls::Call::lock);
    noSeGuarda(SinServidor);
    vuelve();
    escribe(1, "CONCEPTO", "Boda");
    QStringList alDecirlo;
    oficina.Mensaje.espera(
        {"No se ha podido guardar la cita de las 09:00.\n" + support::OtroLaHaCambiado +
             "\n\nLo que ha escrito sigue en la celda: pulse Intro para volver a intentarlo "
             "o Esc para dejarlo.\nEl otro puesto había escrito: Boda",
         Atencion,
         0,
         {},
         support::TCaja::porSuTexto,
         [&] { alDecirlo = oficina.dia(1, Dia); }});
    deGolpe({}, {Qt::Key_Return, Qt::Key_Return});
    EXPECT_TRUE(QTest::qWaitFor([this] { return !oficina.Mensaje.pendientes(); }));
    EXPECT_EQ(alDecirlo, (QStringList{"09:00 Boda N", "10:00  N"}));
}

// A click on another cell leaves this one twice, by the focus and by the current cell: the second time is no
// answer to what the first one has brought to light.
TEST_F(ConjuntaTest, AClickElsewhereWritesOverNothingThatHasNotBeenTold)
{
    abreVigilada(1);
    teclea("Poder");
    falla(driver::filecalls::Call::lock);
    noSeGuarda(SinServidor);
    vuelve();
    escribe(1, "CONCEPTO", "Boda");
    QStringList alDecirlo;
    oficina.Mensaje.espera(
        {"No se ha podido guardar la cita de las 09:00.\n" + support::OtroLaHaCambiado +
             "\n\nLo que ha escrito sigue en la celda: pulse Intro para volver a intentarlo "
             "o Esc para dejarlo.\nEl otro puesto había escrito: Boda",
         Atencion,
         0,
         {},
         support::TCaja::porSuTexto,
         [&] { alDecirlo = oficina.dia(1, Dia); }});
    QTest::mouseClick(rejilla().viewport(), Qt::LeftButton, {},
                      rejilla().visualRect(rejilla().model()->index(1, support::CitaSegundo)).center());
    EXPECT_TRUE(QTest::qWaitFor([this] { return !oficina.Mensaje.pendientes(); }));
    EXPECT_EQ(alDecirlo, (QStringList{"09:00 Boda N", "10:00  N"}));
    EXPECT_TRUE(rejilla().EstaEditando());
}

// What is told of a cell that goes is what stands in it, not what stood there at the first attempt.
TEST_F(ConjuntaTest, WhatIsToldOfALineThatHasGoneIsTheWholeText)
{
    abreVigilada(1);
    teclea("Poder");
    falla(driver::filecalls::Call::lock);
    noSeGuarda(SinServidor);
    vuelve();
    teclea(" de Marta");
    const auto otro = oficina.agenda(1);
    otro->first();
    otro->remove();
    oficina.Mensaje.espera(habiaEscrito(LaHaBorrado, "Poder de Marta"));
    tecla(Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !oficina.Mensaje.pendientes(); }));
}

TEST_F(ConjuntaTest, WhatIsToldWhenTheProgramEndsIsTheWholeText)
{
    abreVigilada(1);
    teclea("Poder");
    falla(driver::filecalls::Call::lock);
    noSeGuarda(SinServidor);
    teclea(" de Marta");
    oficina.Mensaje.espera(habiaEscrito(SinServidor, "Poder de Marta"));
    ventana.reset();
    EXPECT_FALSE(oficina.Mensaje.pendientes());
}
#endif

TEST_F(ConjuntaTest, KeysThatComeInOneGoAreWrittenInTheirLines)
{
    abre();
    deGolpe("Poder", {Qt::Key_Return, Qt::Key_Down});
    deGolpe("Acta", {Qt::Key_Return});
    QTest::qWait(50);
    EXPECT_EQ(oficina.dia(1, Dia), (QStringList{"09:00 Poder N", "10:00 Acta N"}));
    EXPECT_FALSE(rejilla().EstaEditando());
}

// Enter, and the command behind it: the line that the command holds while it asks stays held.
TEST_F(ConjuntaTest, EnterInFrontOfACommandDoesNotLetGoOfWhatTheCommandHolds)
{
    abre();
    const auto otro = oficina.agenda(1);
    bool libre = false;
    oficina.Mensaje.espera(
        {support::BorraHueco.arg("09:00"), " ATENCIÓN", 0, {}, support::TCaja::porSuTexto, [&] {
             QCoreApplication::processEvents(); // the box has an event loop
             otro->refresh();
             otro->first();
             try {
                 otro->edit();
                 libre = true;
                 otro->cancel();
             } catch (const dataset::EDatabaseError &) {
             }
         }});
    deGolpe("Poder", {Qt::Key_Return});
    ventana->findChild<QAction *>("ABorrar")->trigger(); // a click that has waited behind the keys
    EXPECT_FALSE(libre);
    QTest::qWait(50);
    EXPECT_EQ(oficina.dia(1, Dia).first(), "09:00 Poder N");
}

// Two things at once: a text that is to be told, and a command that has to wait for a table.
TEST_F(ConjuntaTest, NoBoxOpensWhileATableWaitsForALock)
{
    oficina.Aliases.setLockWait(dbcontrols::windowWait);
    oficina.Aliases.setLockPatience(std::chrono::milliseconds(900));
    oficina.linea(1, Dia, "08:00");
    abre();
    teclea("Poder");
    oficina.escribeSinBloqueo(3, nullptr, "*");
    const auto otro = oficina.agenda(2);
    otro->beginGroup();
    bool enMedio = false;
    auto dicho = alasOcho();
    dicho.Entretanto = [&enMedio] { enMedio = QGuiApplication::overrideCursor() != nullptr; };
    oficina.Mensaje.espera({"No se han podido completar todas las hojas.\n"
                            "Benito Ruiz: Otro puesto está escribiendo en la tabla",
                            Atencion});
    oficina.Mensaje.espera(dicho);
    tecla(Qt::Key_M, Qt::ControlModifier);
    QTest::qWait(50);
    EXPECT_FALSE(enMedio);
    otro->dropGroup();
    oficina.Aliases.setLockWait({});
}

// The paste leads to what was pasted; the line that was stood on before is not chosen with it.
TEST_F(ConjuntaTest, AfterAPasteTheNextCommandIsForThePastedLineAlone)
{
    abre();
    teclea("Poder");
    tecla(Qt::Key_Return);
    tecla(Qt::Key_C, Qt::ControlModifier);
    tecla(Qt::Key_Down);
    for (int columna = 0; columna < support::CitaSegundo; ++columna)
        tecla(Qt::Key_Right);
    ASSERT_EQ(rejilla().selectionModel()->selectedIndexes().size(), 1);
    tecla(Qt::Key_V, Qt::ControlModifier);
    ASSERT_EQ(rejilla().currentIndex().row(), 0);
    EXPECT_EQ(rejilla().selectionModel()->selectedIndexes().size(), 1);
    tecla(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(oficina.dia(2, Dia), (QStringList{"09:00 [SALIDA]Poder S", "10:00  N"}));
}

/// A wait as the windows have it; after a while something happens, and then the colleague lets go of the
/// table.
class Espera : public dbase::LockWait
{
public:
    struct Colega {
        std::unique_ptr<dataset::CommitGroup> Grupo;
        std::function<void()> Entretanto;
        int Esperas = 0;
    };
    explicit Espera(Colega &colega)
        : m_colega(colega)
    {
    }
    void pause(std::chrono::milliseconds tiempo) override
    {
        m_ventanas->pause(tiempo);
        m_pasado += tiempo;
        ++m_colega.Esperas;
        if (m_pasado > std::chrono::milliseconds(300) && m_colega.Entretanto)
            std::exchange(m_colega.Entretanto, {})();
        if (m_pasado > std::chrono::milliseconds(500))
            m_colega.Grupo.reset();
    }

private:
    Colega &m_colega;
    std::unique_ptr<dbase::LockWait> m_ventanas = dbcontrols::windowWait();
    std::chrono::milliseconds m_pasado{0};
};

// A colleague's row has come in the meantime: whoever says no stands where he stood.
TEST_F(ConjuntaTest, ASlotThatIsNotAddedLeavesTheCellWhereItWas)
{
    abre();
    ve(1, support::CitaSegundo);
    oficina.linea(1, Dia, "08:00");
    oficina.Mensaje.espera({"¿Desea añadir otro (S/N)?", Conjunta, 0, "Ya hay un hueco a las 10:00."});
    conHora(Qt::Key_Insert, {}, "1000");
    EXPECT_EQ(rejilla().currentIndex(), rejilla().model()->index(2, support::CitaSegundo));
}

// Keys roll: the last letter is let go of behind Enter, and the client list, asked for it, has to wait.
TEST_F(ConjuntaTest, ACellIsNotWrittenAndDeletedWhileTheClientListWaits)
{
    struct Lenta : support::ClientesDeUno {
        void KeyUpBusqueda(QLineEdit &edicion, int) override
        {
            const QPointer<QLineEdit> suya(&edicion);
            {
                const auto espera = dbcontrols::windowWait();
                for (int vez = 0; vez < 5; ++vez)
                    espera->pause(std::chrono::milliseconds(90));
            }
            Viva = Viva && suya;
        }
        void ExitBusqueda(QLineEdit &edicion, bool completar) override
        {
            EnMedio = EnMedio || QGuiApplication::overrideCursor();
            ClientesDeUno::ExitBusqueda(edicion, completar);
        }
        bool Viva = true;
        bool EnMedio = false;
    } lenta;
    abre();
    ventana.reset();
    ventana = std::make_unique<TFAgendaConjunta>(
        *motor, &lenta,
        TFAgendaConjunta::TOpciones{oficina.Config.GetNotarios().mid(0, oficina.Config.Cuantos),
                                    [] { return 0xC6C6FFU; }},
        nullptr);
    ventana->VeAlDia(Dia);
    ventana->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(ventana.get()));
    ve(0, 1);
    tecla(Qt::Key_F2);
    QWidget *const editor = QApplication::focusWidget();
    QTest::keyPress(editor, Qt::Key_R);
    QTest::keyPress(editor, Qt::Key_Return);
    QTest::keyRelease(editor, Qt::Key_R);
    EXPECT_FALSE(lenta.EnMedio) << "the list is asked in the middle of a question to it";
    EXPECT_TRUE(lenta.Viva) << "the list writes into a cell that has been deleted";
    QTest::qWait(50);
    ventana.reset(); // in front of the list
}

// Enter and an arrow in one go: the arrow writes the cell, and what Enter has put off must not come while
// that waits for the table.
TEST_F(ConjuntaTest, ACellIsNotWrittenAgainInTheMiddleOfBeingWritten)
{
    struct Cuenta : support::ClientesDeUno {
        void ExitBusqueda(QLineEdit &edicion, bool completar) override
        {
            ++Veces;
            EnMedio = EnMedio || QGuiApplication::overrideCursor();
            ClientesDeUno::ExitBusqueda(edicion, completar);
        }
        int Veces = 0;
        bool EnMedio = false;
    } cuenta;
    Espera::Colega colega;
    oficina.Aliases.setLockWait([&colega] { return std::make_unique<Espera>(colega); });
    oficina.Aliases.setLockPatience(std::chrono::milliseconds(2000));
    abre();
    ventana.reset();
    ventana = std::make_unique<TFAgendaConjunta>(
        *motor, &cuenta,
        TFAgendaConjunta::TOpciones{oficina.Config.GetNotarios().mid(0, oficina.Config.Cuantos),
                                    [] { return 0xC6C6FFU; }},
        nullptr);
    ventana->VeAlDia(Dia);
    ventana->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(ventana.get()));
    ve(0, 1);
    const auto otro = oficina.agenda(1);
    tecla(Qt::Key_F2);
    colega.Grupo = std::make_unique<dataset::CommitGroup>(*otro);
    deGolpe("Ruiz", {Qt::Key_Return, Qt::Key_Down});
    EXPECT_GT(colega.Esperas, 0);
    EXPECT_FALSE(cuenta.EnMedio) << "written in the middle of its own writing";
    EXPECT_EQ(cuenta.Veces, 1);
    QTest::qWait(50);
    otro->refresh();
    otro->first();
    EXPECT_EQ(otro->field(u"INTERESADO").asText(), "Ruiz");
    EXPECT_EQ(rejilla().currentIndex().row(), 1);
    oficina.Aliases.setLockWait({});
    ventana.reset(); // in front of the list
}

// Letters of an input method that arrive while the cell is being written: they are neither lost nor unsaid.
TEST_F(ConjuntaTest, LettersThatArriveWhileTheCellIsWrittenAreNotLost)
{
    Espera::Colega colega;
    oficina.Aliases.setLockWait([&colega] { return std::make_unique<Espera>(colega); });
    oficina.Aliases.setLockPatience(std::chrono::milliseconds(2000));
    abre();
    const auto otro = oficina.agenda(1);
    teclea("Poder");
    colega.Grupo = std::make_unique<dataset::CommitGroup>(*otro);
    colega.Entretanto = [] {
        auto *const compuesta = new QInputMethodEvent;
        compuesta->setCommitString(" más");
        QCoreApplication::postEvent(QApplication::focusWidget(), compuesta);
    };
    tecla(Qt::Key_Return);
    QTest::qWait(50);
    EXPECT_GT(colega.Esperas, 0);
    const auto *const abierta = qobject_cast<QLineEdit *>(QApplication::focusWidget());
    EXPECT_TRUE(oficina.dia(1, Dia).join(' ').contains("más") || (abierta && abierta->text().contains("más")))
        << oficina.dia(1, Dia).join(" | ").toStdString();
    oficina.Aliases.setLockWait({});
    ventana.reset();
}

} // namespace
