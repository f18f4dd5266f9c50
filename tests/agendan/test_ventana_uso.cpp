// The window in the hands of a clerk: without a mouse, with a calendar, with its place remembered.

#include "tests/agendan/Ventana.h"

#include <QtWidgets/QCalendarWidget>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QMenu>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QToolButton>

namespace
{

using support::Lunes;
using support::VentanaTest;

class UsoTest : public VentanaTest
{
protected:
    UsoTest()
    {
        for (const char *hora : {"09:00", "10:00", "11:00"})
            oficina.linea(1, Lunes, hora, "Firma");
        oficina.linea(2, Lunes, "09:00", "Poder");
    }
    [[nodiscard]] QWidget *calendario() const
    {
        QWidget *const abierto = QApplication::activePopupWidget();
        return abierto && abierto->objectName() == "CalendarPopup" ? abierto : nullptr;
    }
};

TEST_F(UsoTest, TheCalendarOpensFromTheFieldByKeyAndByButton)
{
    enVentana([&] {
        fecha().setFocus();
        tecla(Qt::Key_F4);
        ASSERT_TRUE(calendario());
        EXPECT_EQ(calendario()->findChild<QCalendarWidget *>()->selectedDate(), Lunes);
        for (const QWidget *const parte : calendario()->findChildren<QWidget *>()) {
            if (parte->focusPolicy() != Qt::NoFocus && parte->isVisible()) {
                EXPECT_FALSE(parte->accessibleName().isEmpty()) << parte->objectName().toStdString();
            }
        }
        tecla(Qt::Key_Escape);
        EXPECT_FALSE(calendario());
        EXPECT_TRUE(ficha->isVisible()) << "Esc closes the calendar alone";
        EXPECT_TRUE(fecha().hasFocus());
        EXPECT_EQ(fecha().text(), "16/11/2026");

        tecla(Qt::Key_Down, Qt::AltModifier);
        ASSERT_TRUE(calendario());
        tecla(Qt::Key_Right);
        tecla(Qt::Key_Return);
        EXPECT_FALSE(calendario());
        EXPECT_EQ(fecha().text(), "17/11/2026");
        EXPECT_EQ(oficina.dia(1, Lunes.addDays(1)).size(), 24);
        EXPECT_TRUE(rejilla().hasFocus());

        QTest::mouseClick(ficha->findChild<QToolButton *>("BCalendario"), Qt::LeftButton);
        ASSERT_TRUE(calendario());
        tecla(Qt::Key_Escape);
        EXPECT_TRUE(QTest::qWaitFor([&] { return rejilla().hasFocus(); })) << "the button takes no focus";
    });
}

TEST_F(UsoTest, AWholeRoundWithoutAMouse)
{
    enVentana([&] {
        EXPECT_TRUE(rejilla().hasFocus());
        tecla(Qt::Key_Tab); // the subject of the line
        EXPECT_EQ(QApplication::focusWidget()->objectName(), "DBMConcepto1");
        EXPECT_EQ(oficina.Rvarias.conFoco, QApplication::focusWidget()) << "where the keys go is marked";
        tecla(Qt::Key_Tab);
        EXPECT_TRUE(fecha().hasFocus());
        tecla(Qt::Key_Tab);
        EXPECT_TRUE(pestanas().tabBar()->hasFocus());
        tecla(Qt::Key_Right);
        EXPECT_EQ(pestanas().currentIndex(), 1);
        EXPECT_TRUE(pestanas().tabBar()->hasFocus()) << "the arrows go on along the tabs";
        tecla(Qt::Key_Tab);
        EXPECT_TRUE(rejilla().hasFocus());
        EXPECT_EQ(celda(rejilla().currentIndex().row(), 1), "Poder");
        tecla(Qt::Key_Tab, Qt::ControlModifier); // to the next notary, round to the first
        EXPECT_EQ(pestanas().currentIndex(), 0);
        EXPECT_TRUE(rejilla().hasFocus());

        tecla(Qt::Key_Down);
        tecla(Qt::Key_Down, Qt::ShiftModifier);
        EXPECT_EQ(rejilla().selectedBookmarks().size(), 2);
        // The menu bar by its letters: &Agenda, &Salida.
        QTest::keyClick(ficha->windowHandle(), Qt::Key_A, Qt::AltModifier);
        QWidget *const menu = QApplication::activePopupWidget();
        ASSERT_TRUE(menu);
        QTest::keyClick(menu, Qt::Key_S);
        QCoreApplication::processEvents();
        EXPECT_EQ(oficina.dia(1, Lunes),
                  (QStringList{"09:00 Firma N", "10:00 [SALIDA]Firma S", "11:00 [SALIDA]Firma S"}));
        EXPECT_TRUE(rejilla().hasFocus());
        oficina.Mensaje.espera({"¿Desea borrar las citas seleccionadas?", " ATENCIÓN", 1});
        tecla(Qt::Key_Delete);
        EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"09:00 Firma N"});
        EXPECT_TRUE(rejilla().hasFocus());
        EXPECT_EQ(rejilla().currentIndex().row(), 0);
    });
}

TEST_F(UsoTest, TheWindowRemembersItsPlaceAndWidths)
{
    oficina.Config.FicheroVentanas = oficina.Config.Carpeta + "ventanas.ini";
    enVentana([&] {
        EXPECT_EQ(ficha->centralWidget()->width(), 635) << "the first time as it was drawn";
        ficha->setGeometry(40, 50, 700, 520);
        rejilla().setColumnWidth(3, 111);
    });
    enVentana([&] {
        EXPECT_EQ(ficha->geometry(), QRect(40, 50, 700, 520));
        EXPECT_EQ(rejilla().columnWidth(3), 111);
        EXPECT_EQ(rejilla().columnWidth(2), rejilla().viewport()->width() - 33 - 272 - 111 - 5);
        ficha->showMaximized();
        QCoreApplication::processEvents();
    });
    enVentana([&] { EXPECT_TRUE(ficha->isMaximized()); });
    // A file that cannot be understood, or read, is no reason not to open.
    support::writeFile(oficina.carpeta() / "ventanas.ini", "[FichaAgendaN]\nLugar=x\nColumnas1=\"a,-5\"\n");
    enVentana([&] { EXPECT_EQ(ficha->centralWidget()->width(), 635); });
    oficina.Config.FicheroVentanas = oficina.Config.Carpeta + "no/existe/ventanas.ini";
    enVentana([&] { EXPECT_EQ(rejilla().columnWidth(3), 88); });
}

} // namespace
