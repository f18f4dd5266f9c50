// The main window: its place, its date, and the agendas by their large buttons.

#include "host/VentanaOficina.h"
#include "tests/host/Oficina.h"

#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QLabel>

namespace
{

using support::Hoy;

class VentanaOficinaTest : public support::OficinaTest
{
};

TEST_F(VentanaOficinaTest, TheAgendasOpenByTheirButtonsWithTheKeyboard)
{
    TOficina oficina(ruta(), Hoy);
    TVentanaOficina ventana(oficina);
    ventana.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&ventana));
    EXPECT_EQ(ventana.findChild<QLabel *>("LFecha")->text(), "Viernes, 20 de noviembre de 2026");
    EXPECT_EQ(ventana.findChild<QLabel *>("LNotarios")->text(),
              oficina.Config.GetNotarios().join(QStringLiteral("\n\n")));
    for (const auto &[tecla, titulo] : {std::pair(Qt::Key_Return, "Agenda del día:"),
                                        {Qt::Key_Down, nullptr},
                                        {Qt::Key_Return, "Agenda del día"},
                                        {Qt::Key_Up, nullptr},
                                        {Qt::Key_Return, "Agenda del día:"}}) {
        if (titulo) {
            enDialogo([esperado = QString(titulo)](QWidget *agenda) {
                EXPECT_EQ(agenda->windowTitle(), esperado);
                QTest::keyClick(agenda->windowHandle(), Qt::Key_Escape);
            });
        }
        QTest::keyClick(ventana.windowHandle(), tecla);
    }
}

TEST_F(VentanaOficinaTest, ThePlaceIsRemembered)
{
    TOficina oficina(ruta(), Hoy);
    oficina.Config.PonFicheroVentanas(ruta() + QStringLiteral("/ventanas.ini"));
    const QRect sitio(40, 60, 640, 420);
    {
        TVentanaOficina ventana(oficina);
        EXPECT_NE(ventana.geometry(), sitio);
        ventana.show();
        ventana.setGeometry(sitio);
        ventana.close();
    }
    EXPECT_EQ(TVentanaOficina(oficina).geometry(), sitio);
}

} // namespace
