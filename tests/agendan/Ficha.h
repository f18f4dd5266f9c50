#pragma once

#include "agenda/host/Clacliraiz.h"
#include "agendan/FichaCita.h"
#include "agendan/VentanasAgendaN.h"
#include "tests/agendan/Motor.h"

#include <QtCore/QTimer>
#include <QtGui/QInputMethodEvent>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPlainTextEdit>

#include <functional>

namespace support
{

/// A client list that finds by the beginning of a name and notes what it is asked.
class ClientesDePrueba : public TClientesRaiz
{
public:
    void MuestraFicha(qint64 codigo) override { llamadas << QStringLiteral("ficha %1").arg(codigo); }
    void Explora(const QString &titulo) override { llamadas << "explora " + titulo; }
    bool Elige(const QString &titulo, const QString &textoInicial) override
    {
        llamadas << "elige " + titulo + '|' + textoInicial;
        return elegido != 0 && toma([this](const auto &uno) { return uno.first == elegido; });
    }
    [[nodiscard]] qint64 Codigo() const override { return actual.first; }
    [[nodiscard]] QString Nombre() const override { return actual.second; }
    void KeyUpBusqueda(QLineEdit &edicion, int) override
    {
        const QString texto = edicion.text();
        const bool hay =
            !texto.isEmpty() && toma([&texto](const auto &uno) { return uno.second.startsWith(texto); });
        edicion.setProperty("Tag", hay ? actual.first : 0);
    }
    void ExitBusqueda(QLineEdit &edicion, bool completar) override
    {
        llamadas << QStringLiteral("sale %1 %2").arg(edicion.text()).arg(completar);
        KeyUpBusqueda(edicion, 0);
    }
    void FinBusqueda() override
    {
        llamadas << "fin";
        actual = {};
    }

    QList<std::pair<qint64, QString>> lista{{7, "MARÍA NÚÑEZ"}, {8, "PEDRO SÁENZ"}};
    qint64 elegido = 0; ///< what the user picks; 0: nothing
    QStringList llamadas;

private:
    bool toma(const std::function<bool(const std::pair<qint64, QString> &)> &es)
    {
        for (const auto &uno : std::as_const(lista)) {
            if (es(uno)) {
                actual = uno;
                return true;
            }
        }
        return false;
    }
    std::pair<qint64, QString> actual;
};

/// The appointment card, opened by its engine over real tables and worked with keys and clicks.
class FichaTest : public testing::Test
{
protected:
    FichaTest()
        : oficina(1)
    {
        oficina.Rvarias.esBoton = [](const QWidget *control) {
            return qobject_cast<const QAbstractButton *>(control);
        };
        dataset::DbfTable empleados(oficina.Aliases);
        empleados.setDatabaseName("ZENTRA");
        empleados.setTableName("EMPLEADO");
        empleados.createFile({{"NOMBRE", dataset::FieldKind::text, 40}});
        empleados.open();
        for (const char *nombre : {"Rosa Güemes", "Julián Cañas de la Serna", "Rosa Güemes"}) {
            empleados.append();
            empleados.field(0).setText(nombre);
            empleados.post();
        }
    }

    [[nodiscard]] TClassAgendaN &motor()
    {
        if (!m_motor)
            m_motor = std::make_unique<TClassAgendaN>(nullptr, &clientes, tablas, &m_vistas);
        return *m_motor;
    }
    /// Opens the card on Monday's first line, runs the steps in it and closes it.
    void enFicha(TOperacion operacion, const std::function<void()> &pasos)
    {
        if (enLunes)
            motor().RangoPorFecha(Lunes);
        bool hecho = false;
        QTimer guardian;
        guardian.setSingleShot(true);
        QObject::connect(&guardian, &QTimer::timeout, [&] {
            ADD_FAILURE() << "the card was never closed";
            if (ficha)
                ficha->done(0);
        });
        guardian.start(60000);
        QTimer::singleShot(0, &guardian, [&] {
            ficha = qobject_cast<TFFichaCitas *>(QApplication::activeModalWidget());
            if (ficha && QTest::qWaitForWindowActive(ficha)) {
                QCoreApplication::processEvents();
                pasos();
            } else {
                ADD_FAILURE() << "the card did not open";
            }
            hecho = true;
            if (ficha && ficha->isVisible())
                ficha->done(0);
        });
        motor().FichaCita(operacion);
        EXPECT_TRUE(hecho);
        if (motor().TablaActual().isEditing())
            motor().CancelarAgendaN(false);
        ficha = nullptr;
    }

    // As a person does: keys go to the window, and the focus leads them.
    void tecla(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const
    {
        QTest::keyClick(ficha->windowHandle(), key, modifiers);
        QCoreApplication::processEvents();
    }
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
    template <class T = QWidget> [[nodiscard]] T &control(const char *nombre) const
    {
        T *const encontrado = ficha->findChild<T *>(nombre);
        EXPECT_TRUE(encontrado) << nombre;
        return *encontrado;
    }
    [[nodiscard]] QString texto(const char *nombre) const { return control<QLineEdit>(nombre).text(); }
    [[nodiscard]] QString conFoco() const
    {
        return QApplication::focusWidget() ? QApplication::focusWidget()->objectName() : QString();
    }
    /// Goes to a control and types a text over what it says.
    void escribe(const char *nombre, const QString &texto) const
    {
        control(nombre).setFocus();
        QCoreApplication::processEvents();
        tecla(Qt::Key_A, Qt::ControlModifier);
        teclea(texto);
    }
    void pulsa(const char *nombre) const
    {
        QTest::mouseClick(&control(nombre), Qt::LeftButton);
        QCoreApplication::processEvents();
    }
    [[nodiscard]] bool editando() const
    {
        const bool si = control("BAceptar").isEnabled();
        EXPECT_EQ(control("BCancelar").isEnabled(), si);
        EXPECT_EQ(control("PCita").isEnabled(), si);
        for (const char *boton : {"BSalir", "BNuevo", "BModificar", "BBorrar"})
            EXPECT_EQ(control(boton).isEnabled(), !si) << boton;
        return si;
    }
    [[nodiscard]] dataset::DataSet &tabla() { return motor().TablaActual(); }
    void linea(QDate fecha, const QString &hora, const QString &concepto = {})
    {
        oficina.linea(1, fecha, hora, concepto);
    }
    /// "hh:nn CONCEPTO" of every line of a day as the file holds it now.
    [[nodiscard]] QStringList dia(QDate fecha) const
    {
        QStringList lineas = oficina.dia(1, fecha);
        for (QString &una : lineas)
            una = una.left(una.lastIndexOf(' ')).trimmed();
        return lineas;
    }

    OficinaDePrueba oficina;
    ClientesDePrueba clientes;
    TClassAgendaN::TTablas tablas{};
    bool enLunes = true;
    TFFichaCitas *ficha = nullptr;

private:
    TVistasAgendaN m_vistas;
    std::unique_ptr<TClassAgendaN> m_motor;
};

inline const QDate Martes{2026, 11, 17};

} // namespace support
