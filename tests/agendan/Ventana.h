#pragma once

#include "agendan/ClaseAgendaN.h"
#include "agendan/FichaAgendaN.h"
#include "agendan/VentanasAgendaN.h"
#include "dbcontrols/DbGrid.h"
#include "tests/agendan/Motor.h"

#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QInputMethodEvent>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QTabWidget>

#include <functional>

namespace support
{

/// The screens, with a card that does what the test says. A card that was not announced fails the test, and
/// so does one that never came.
class VistasDePrueba : public TVistasAgendaN
{
public:
    using Ficha = std::function<void(TClassAgendaN &)>;
    struct Esperada {
        TOperacion Operacion;
        Ficha Hace;
    };
    ~VistasDePrueba() override { EXPECT_TRUE(Esperadas.empty()) << "a card was never opened"; }
    void MuestraFichaCitas(TClassAgendaN &motor, TOperacion operacion, QObject * /*propietario*/) override
    {
        if (Esperadas.empty()) {
            ADD_FAILURE() << "unexpected card, operation " << static_cast<int>(operacion);
            return;
        }
        const Esperada esperada = Esperadas.takeFirst();
        EXPECT_EQ(operacion, esperada.Operacion);
        if (esperada.Hace)
            esperada.Hace(motor);
    }
    QList<Esperada> Esperadas;
};

/// The agenda window, shown by its engine over real tables and worked with keys and clicks.
class VentanaTest : public testing::Test
{
protected:
    explicit VentanaTest(int notarios = 2)
        : oficina(notarios)
    {
        oficina.Rvarias.esBoton = [](const QWidget *control) {
            return qobject_cast<const QAbstractButton *>(control);
        };
    }

    /// Opens the agenda on Monday, runs the steps in it and closes it.
    void enVentana(const std::function<void()> &pasos)
    {
        TClassAgendaN engine(nullptr, clientes, tablas, &vistas, informes);
        motor = &engine;
        engine.SincronizarTablasAFecha(Lunes, true);
        bool hecho = false;
        // A failing step must not leave the modal loop running for ever.
        QTimer guardian;
        guardian.setSingleShot(true);
        QObject::connect(&guardian, &QTimer::timeout, [&] {
            ADD_FAILURE() << "the window was never closed";
            for (QWidget *const uno : QApplication::topLevelWidgets())
                uno->close();
        });
        guardian.start(60000);
        QTimer::singleShot(0, &guardian, [&] {
            ficha = qobject_cast<TFFichaAgendaN *>(QApplication::activeModalWidget());
            if (ficha && QTest::qWaitForWindowActive(ficha))
                pasos();
            else
                ADD_FAILURE() << "the window did not open";
            hecho = true;
            if (ficha && ficha->isVisible())
                ficha->close();
        });
        engine.FichaAgendaN();
        EXPECT_TRUE(hecho);
        ficha = nullptr;
        motor = nullptr;
    }

    // As a person does: keys go to the window, and the focus leads them.
    void tecla(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const
    {
        QTest::keyClick(ficha->windowHandle(), key, modifiers);
        QCoreApplication::processEvents();
    }
    /// Types a text; what has no key of its own arrives as from a dead key.
    void teclea(const QString &texto) const
    {
        for (const QChar letra : texto) {
            if (letra.unicode() < 0x80) {
                QTest::keyClick(ficha->windowHandle(), letra.toLatin1());
            } else {
                QInputMethodEvent compuesta;
                compuesta.setCommitString(letra);
                QCoreApplication::sendEvent(QApplication::focusWidget(), &compuesta);
            }
            QCoreApplication::processEvents();
        }
    }
    void pulsa(int fila, Qt::KeyboardModifiers modifiers = {}, int columna = 1) const
    {
        const QRect celda = rejilla().visualRect(rejilla().model()->index(fila, columna));
        QTest::mouseClick(rejilla().viewport(), Qt::LeftButton, modifiers, celda.center());
        QCoreApplication::processEvents();
    }
    void comando(const char *nombre) const
    {
        QAction *const accion = ficha->findChild<QAction *>(nombre);
        ASSERT_TRUE(accion && accion->isEnabled()) << nombre;
        accion->trigger();
    }
    [[nodiscard]] QAction &accion(const char *nombre) const { return *ficha->findChild<QAction *>(nombre); }
    [[nodiscard]] dbcontrols::DbGrid &rejilla() const { return *ficha->GetDBGAgendaN(); }
    [[nodiscard]] QLineEdit &fecha() const { return *ficha->findChild<QLineEdit *>("MEFecha"); }
    [[nodiscard]] QTabWidget &pestanas() const { return *ficha->findChild<QTabWidget *>("PCAgenda"); }
    [[nodiscard]] QString celda(int fila, int columna) const
    {
        return rejilla().model()->index(fila, columna).data().toString();
    }
    /// Lets the refresh timer fire now.
    void refresca() const
    {
        auto *const reloj = ficha->findChild<QTimer *>("Timer1");
        ASSERT_TRUE(reloj->isActive());
        EXPECT_EQ(reloj->interval(), 5000);
        reloj->setInterval(1);
        QTest::qWait(30);
        reloj->setInterval(5000);
    }

    void esperaFicha(TOperacion operacion, const VistasDePrueba::Ficha &hace = {})
    {
        vistas.Esperadas.append({operacion, hace});
    }

    OficinaDePrueba oficina;
    VistasDePrueba vistas;
    TClientesRaiz *clientes = nullptr; ///< of the test
    TTablasNotarios tablas{};          ///< of the test; none: the engine opens its own
    IInformesAgenda *informes = nullptr;
    TClassAgendaN *motor = nullptr;
    TFFichaAgendaN *ficha = nullptr;
};

} // namespace support
