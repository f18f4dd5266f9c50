#pragma once

#include <gtest/gtest.h>

#include <QtTest/QTest>
#include <QtWidgets/QMainWindow>
#include <QtWidgets/QStatusBar>

namespace support
{

/// The pointer may rest on a button before the window is there, and the button's hint comes with it: hint and
/// the text under it are never painted one over the other.
/// @param ventana  not shown yet. @param debajo  what its status bar shows without a message.
inline void compruebaLineaDeAyuda(QMainWindow &ventana, const QWidget *debajo)
{
    ASSERT_TRUE(debajo);
    QStatusBar &barra = *ventana.statusBar();
    barra.showMessage("Cerrar esta ventana");
    ventana.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&ventana));
    EXPECT_FALSE(debajo->isVisible());
    barra.clearMessage();
    EXPECT_TRUE(debajo->isVisible());
    barra.showMessage("Nueva cita");
    EXPECT_FALSE(debajo->isVisible());
    barra.clearMessage();
}

/// The text of an agenda window's help line.
[[nodiscard]] inline const QWidget *explicacionDe(const QMainWindow &ventana)
{
    for (const QWidget *const uno : ventana.statusBar()->findChildren<QWidget *>()) {
        if (uno->accessibleName() == "Explicación")
            return uno;
    }
    return nullptr;
}

} // namespace support
