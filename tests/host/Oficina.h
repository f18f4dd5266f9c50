#pragma once

#include "host/DatosDemo.h"
#include "tests/support/TempFolder.h"

#include <QtCore/QTimer>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QTableView>
#include <QtWidgets/QWidget>

#include <functional>

namespace support
{

inline const QDate Hoy{2026, 11, 20};

/// The demo office in a folder of its own, and its modal windows worked from within.
class OficinaTest : public testing::Test
{
protected:
    static void crea(const std::filesystem::path &carpeta, int notarios = 2)
    {
        TDemo demo;
        demo.Hoy = Hoy;
        demo.Notarios = notarios;
        demo.MesesAntes = 1;
        demo.MesesDespues = 1;
        CreaDatosDemo(QString::fromStdString(carpeta.string()), demo);
    }
    void SetUp() override
    {
        crea(carpeta.path());
        vigila();
    }
    /// A window that is never closed fails the test instead of stopping it.
    void vigila()
    {
        guardian.setSingleShot(true);
        QObject::connect(&guardian, &QTimer::timeout, [] {
            ADD_FAILURE() << "a window was never closed";
            for (QWidget *const uno : QApplication::topLevelWidgets())
                uno->close();
        });
        guardian.start(60000);
    }
    /// Does something in the window that opens next.
    static void enDialogo(const std::function<void(QWidget *)> &pasos)
    {
        QTimer::singleShot(50, qApp, [pasos] {
            QWidget *const delante = QApplication::activeModalWidget();
            if (delante)
                pasos(delante);
            else
                ADD_FAILURE() << "no window has opened";
        });
    }
    static void tecla(QWidget *dialogo, Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(dialogo->windowHandle(), key, modifiers);
        QCoreApplication::processEvents();
    }
    static void teclea(QWidget *dialogo, const QString &texto)
    {
        for (const QChar letra : texto)
            QTest::sendKeyEvent(QTest::Click, dialogo->focusWidget(), Qt::Key_unknown, QString(letra), {});
        QCoreApplication::processEvents();
    }
    static QString enLista(QWidget *dialogo)
    {
        return dialogo->findChild<QTableView *>("TVLista")
            ->currentIndex()
            .siblingAtColumn(0)
            .data()
            .toString();
    }
    static QString aviso(QWidget *dialogo) { return dialogo->findChild<QLabel *>("LAviso")->text(); }
    [[nodiscard]] QString ruta() const { return QString::fromStdString(carpeta.path().string()); }

    TempFolder carpeta;
    QTimer guardian;
};

} // namespace support
