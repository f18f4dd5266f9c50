#pragma once

#include "agenda1/VentanasAgenda.h"
#include "dbcontrols/DbGrid.h"
#include "tests/agenda1/Unica.h"

#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QInputMethodEvent>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

namespace support
{

/// The real windows of the single-table agenda, shown by the engine and worked with keys and clicks.
class VentanaUnicaTest : public UnicaTest
{
protected:
    /// Opens the agenda of a day, runs the steps in its window and closes it.
    void enVentana(const std::function<void()> &pasos)
    {
        abre([&](TAgenda &abierto) {
            motor = &abierto;
            conModal(
                [&] {
                    abierto.DosNotarios() ? vistas.MuestraAgenda2(abierto) : vistas.MuestraAgenda(abierto);
                },
                pasos);
            motor = nullptr;
        });
        EXPECT_NE(mostrada, 0);
    }
    /// Opens something modal and runs the steps in it.
    void conModal(const std::function<void()> &abrir, const std::function<void()> &pasos)
    {
        QTimer guardian;
        guardian.setSingleShot(true);
        QObject::connect(&guardian, &QTimer::timeout, [] {
            ADD_FAILURE() << "the window was never closed";
            for (QWidget *const uno : QApplication::topLevelWidgets())
                uno->close();
        });
        guardian.start(60000);
        bool hecho = false;
        QTimer::singleShot(0, &guardian, [&] {
            ventana = QApplication::activeModalWidget();
            if (ventana && QTest::qWaitForWindowActive(ventana))
                pasos();
            else
                ADD_FAILURE() << "the window did not open";
            hecho = true;
            if (ventana && ventana->isVisible())
                ventana->close();
        });
        abrir();
        EXPECT_TRUE(hecho);
        ventana = nullptr;
    }

    // As a person does: keys go to the window, and the focus leads them.
    void tecla(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const
    {
        QTest::keyClick(ventana->windowHandle(), key, modifiers);
        QCoreApplication::processEvents();
    }
    /// Types a text; what has no key of its own arrives as from a dead key.
    void teclea(const QString &texto) const
    {
        for (const QChar letra : texto) {
            if (letra.unicode() < 0x80) {
                QTest::keyClick(ventana->windowHandle(), letra.toLatin1());
            } else {
                QInputMethodEvent compuesta;
                compuesta.setCommitString(letra);
                QCoreApplication::sendEvent(QApplication::focusWidget(), &compuesta);
            }
            QCoreApplication::processEvents();
        }
    }
    /// Lets a timer of the window fire now, and returns once what it does has been done.
    static void dispara(QTimer &reloj)
    {
        ASSERT_TRUE(reloj.isActive());
        const int periodo = reloj.interval();
        QSignalSpy hecho(&reloj, &QTimer::timeout); // told after the window, which was there first
        reloj.setInterval(0);
        EXPECT_TRUE(hecho.wait()) << "the timer has not fired";
        reloj.setInterval(periodo);
    }
    /// Takes in what others have written, as comes every 15 s.
    void recarga() const
    {
        auto &reloj = pieza<QTimer>("Timer1");
        EXPECT_EQ(reloj.interval(), 15000);
        dispara(reloj);
    }
    void pulsa(const char *boton) const
    {
        QTest::mouseClick(&pieza<QAbstractButton>(boton), Qt::LeftButton);
        QCoreApplication::processEvents();
    }
    void pulsaCelda(int fila, int columna) const
    {
        const QRect celda = rejilla().visualRect(rejilla().model()->index(fila, columna));
        QTest::mouseClick(rejilla().viewport(), Qt::LeftButton, {}, celda.center());
        QCoreApplication::processEvents();
    }
    void comando(const char *nombre) const
    {
        ASSERT_TRUE(accion(nombre).isEnabled()) << nombre;
        accion(nombre).trigger();
    }
    template <class T> [[nodiscard]] T &pieza(const char *nombre) const
    {
        T *const hallada = ventana->findChild<T *>(QLatin1String(nombre));
        EXPECT_NE(hallada, nullptr) << nombre;
        return *hallada;
    }
    [[nodiscard]] QAction &accion(const char *nombre) const { return pieza<QAction>(nombre); }
    [[nodiscard]] QLineEdit &edicion(const char *nombre) const { return pieza<QLineEdit>(nombre); }
    [[nodiscard]] dbcontrols::DbGrid &rejilla() const { return *ventana->findChild<dbcontrols::DbGrid *>(); }
    [[nodiscard]] bool editando() const { return ventana->findChild<QWidget *>("PActualiza")->isEnabled(); }
    [[nodiscard]] QString conFoco() const
    {
        return QApplication::focusWidget() ? QApplication::focusWidget()->objectName() : QString();
    }

    TVistasAgenda vistas;
    TAgenda *motor = nullptr;
    QWidget *ventana = nullptr;
};

} // namespace support
