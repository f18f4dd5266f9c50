// One appointment on two workstations, each with its window and its keys.

#include "dbase/Table.h"
#include "tests/agendan/Ventana.h"
#include "tests/driver/FileCalls.h"
#include "tests/driver/ShareModel.h"

#include <QtWidgets/QPlainTextEdit>

namespace
{

using support::Lunes;
using support::VentanaTest;
namespace filecalls = driver::filecalls;

class DosPuestosTest : public VentanaTest
{
protected:
    DosPuestosTest()
        : VentanaTest(1)
    {
        oficina.linea(1, Lunes, "09:00", "Firma");
    }
    /// Runs steps in the window that is opened, once it is the active one.
    static void enLaSiguiente(const std::function<void(QWidget &)> &pasos)
    {
        QTimer::singleShot(0, qApp, [pasos] {
            QWidget *const abierta = QApplication::activeModalWidget();
            ASSERT_TRUE(abierta && QTest::qWaitForWindowActive(abierta));
            pasos(*abierta);
            if (abierta->isVisible())
                abierta->close();
        });
    }
    static void tecleaEn(QWidget &ventana, const QString &texto)
    {
        for (const QChar letra : texto)
            QTest::keyClick(ventana.windowHandle(), letra.toLatin1());
        QCoreApplication::processEvents();
    }
    static void teclaEn(QWidget &ventana, Qt::Key tecla, Qt::KeyboardModifiers con = {})
    {
        QTest::keyClick(ventana.windowHandle(), tecla, con);
        QCoreApplication::processEvents();
    }
    /// The other workstation opens its agenda over this one's windows, types a subject into the only line and
    /// presses Enter.
    void escribeElOtroPuesto(const QString &concepto)
    {
        filecalls::asWorkstation(2);
        TVistasAgendaN otrasVistas;
        TClassAgendaN otro(nullptr, nullptr, {}, &otrasVistas, nullptr);
        otro.SincronizarTablasAFecha(Lunes, true);
        enLaSiguiente([&](QWidget &suya) {
            auto &rejilla = *qobject_cast<TFFichaAgendaN *>(&suya)->GetDBGAgendaN();
            rejilla.setCurrentIndex(rejilla.model()->index(0, 1));
            tecleaEn(suya, concepto);
            teclaEn(suya, Qt::Key_Return);
        });
        otro.FichaAgendaN();
        filecalls::asWorkstation(1);
    }
    /// The real card over the line, from its opening for a change on, with the focus in its memo.
    void enElMemoDeLaFicha(const std::function<void(QWidget &ficha, QPlainTextEdit &memo)> &pasos)
    {
        esperaFicha(TOperacion::modificar, [&](TClassAgendaN &suMotor) {
            enLaSiguiente([&](QWidget &abierta) {
                auto &memo = *abierta.findChild<QPlainTextEdit *>("DBMConcepto");
                QCoreApplication::processEvents();
                for (int veces = 0; veces < 10 && !memo.hasFocus(); ++veces)
                    teclaEn(abierta, Qt::Key_Tab);
                ASSERT_TRUE(memo.hasFocus());
                pasos(abierta, memo);
            });
            TVistasAgendaN().MuestraFichaCitas(suMotor, TOperacion::modificar, nullptr);
        });
        tecla(Qt::Key_Space);
    }
};

// The memo under the grid shows the line; what is typed there goes nowhere.
TEST_F(DosPuestosTest, TheMemoUnderTheGridTakesNoKeys)
{
    enVentana([&] {
        tecla(Qt::Key_Tab);
        auto *const memo = qobject_cast<QPlainTextEdit *>(QApplication::focusWidget());
        ASSERT_TRUE(memo && memo->objectName() == "DBMConcepto1");
        teclea("Acta");
        EXPECT_EQ(memo->toPlainText(), "Firma");
        EXPECT_EQ(motor->TablaActual().state(), dataset::DataSet::State::browse);
        escribeElOtroPuesto("Poder");
        refresca();
        EXPECT_EQ(memo->toPlainText(), "Poder");
        EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"09:00 Poder N"});
    });
}

TEST_F(DosPuestosTest, WhoComesSecondIsToldWhileTheFirstIsTyping)
{
    enVentana([&] {
        enElMemoDeLaFicha([&](QWidget &laFicha, QPlainTextEdit &memo) {
            memo.selectAll();
            tecleaEn(laFicha, "Mia");
            oficina.Mensaje.espera(
                {"No se ha podido modificar la cita de las 09:00.\nOtro puesto está usando la línea",
                 " ATENCIÓN:"});
            escribeElOtroPuesto("S");
            EXPECT_EQ(memo.toPlainText(), "Mia");
            QTest::mouseClick(laFicha.findChild<QAbstractButton *>("BAceptar"), Qt::LeftButton);
        });
        EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"09:00 Mia N"});
    });
}

// The server has given the first one's lock to the second: both have typed into the same line. Over NFS the
// first one's table cannot be read any more, either.
TEST_F(DosPuestosTest, AConflictNamesTheHourAndKeepsBothTexts)
{
    const struct {
        filecalls::Share share;
        QString suya;
        QString causa;
        bool sigue; ///< in the card, to be accepted again; else the message tells it
    } casos[] = {
        {filecalls::Share::smb, "Suya",
         "Otro puesto ha cambiado la línea mientras tanto\nLo que ha escrito sigue en la ficha: puede "
         "aceptarlo "
         "de nuevo.\nEl otro puesto había escrito: Suya",
         true},
        {filecalls::Share::nfs, "Otra",
         "No se puede leer el fichero: Input/output error\nLo que ha escrito no se ha podido conservar. "
         "Había "
         "escrito:\nMia",
         false},
    };
    for (const auto &caso : casos) {
        SCOPED_TRACE(caso.suya.toStdString());
        filecalls::watch(oficina.carpetaDe("NOTARIO1"), false);
        filecalls::behaveAs(caso.share);
        // What a program says once of its share.
        EXPECT_TRUE(dbase::Table::open(oficina.carpetaDe("NOTARIO1") / "AGENDA_N.DBF", {}).ok());
        enVentana([&] {
            enElMemoDeLaFicha([&](QWidget &laFicha, QPlainTextEdit &memo) {
                memo.selectAll();
                tecleaEn(laFicha, "Mia");
                filecalls::loseLocks(1);
                escribeElOtroPuesto(caso.suya);
                oficina.Mensaje.espera(
                    {"No se ha podido guardar la cita de las 09:00.\n" + caso.causa, " ATENCIÓN:"});
                auto &aceptar = *laFicha.findChild<QAbstractButton *>("BAceptar");
                QTest::mouseClick(&aceptar, Qt::LeftButton);
                QCoreApplication::processEvents();
                EXPECT_FALSE(oficina.Mensaje.pendientes());
                EXPECT_EQ(aceptar.isEnabled(), caso.sigue);
                EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"09:00 " + caso.suya + " N"});
                if (!caso.sigue)
                    return;
                EXPECT_EQ(memo.toPlainText(), "Mia");
                oficina.Mensaje.espera({"¿Desea cancelar la operación?", " ATENCIÓN:", 1});
                teclaEn(laFicha, Qt::Key_Escape);
                EXPECT_EQ(memo.toPlainText(), caso.suya);
            });
        });
        filecalls::behaveAs(filecalls::Share::local);
        filecalls::unwatch();
    }
}

} // namespace
