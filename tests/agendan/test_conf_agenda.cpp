// The settings dialog, opened by the settings object over real stores and worked with keys and clicks.

#include "agenda/ClaseConfAgendaN.h"
#include "agendan/ConfAgendaN.h"
#include "dbcontrols/ColorPanel.h"
#include "tests/support/OficinaDePrueba.h"

#include <QtCore/QTimer>
#include <QtGui/QAccessible>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QColorDialog>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

#include <functional>

namespace
{

const QString Pregunta = QStringLiteral("¿Desea cancelar la operación?");

/// A window named like the one of the office with a single agenda.
class TFAgendaZen : public QWidget
{
    Q_OBJECT
};

class ConfAgendaTest : public testing::Test
{
protected:
    void SetUp() override
    {
        oficina.ponAjustes(8, 14, 20);
        goConfAgendaN = std::make_unique<TClassConfAgendaN>(&vista);
    }

    /// Opens the dialog, runs the steps in it and closes it as its close box does.
    void enDialogo(const std::function<void()> &pasos, QObject *propietario = nullptr)
    {
        QTimer guardian;
        guardian.setSingleShot(true);
        QObject::connect(&guardian, &QTimer::timeout, [] {
            ADD_FAILURE() << "the dialog was never closed";
            for (QWidget *const uno : QApplication::topLevelWidgets())
                uno->close();
        });
        guardian.start(60000);
        bool hecho = false;
        QTimer::singleShot(0, &guardian, [&] {
            dialogo = qobject_cast<TFConfAgendaN *>(QApplication::activeModalWidget());
            if (dialogo && QTest::qWaitForWindowActive(dialogo))
                pasos();
            else
                ADD_FAILURE() << "the dialog did not open";
            hecho = true;
            if (dialogo && dialogo->isVisible())
                dialogo->close();
        });
        goConfAgendaN->FichaConfiguracion(propietario);
        EXPECT_TRUE(hecho);
        dialogo = nullptr;
    }
    void tecla(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const
    {
        QTest::keyClick(dialogo->windowHandle(), key, modifiers);
        QCoreApplication::processEvents();
    }
    void teclea(const char *texto) const
    {
        for (; *texto; ++texto)
            QTest::keyClick(dialogo->windowHandle(), *texto);
        QCoreApplication::processEvents();
    }
    void pulsa(QWidget &control) const
    {
        QTest::mouseClick(&control, Qt::LeftButton);
        QCoreApplication::processEvents();
    }
    template <class T> [[nodiscard]] T &pieza(const char *nombre) const
    {
        return *dialogo->findChild<T *>(QLatin1String(nombre));
    }
    [[nodiscard]] QLineEdit &intervalo() const { return pieza<QLineEdit>("eIntervaloHoras"); }
    [[nodiscard]] QString conFoco() const { return dialogo->focusWidget()->objectName(); }

    support::OficinaDePrueba oficina;
    TVistaConfiguracion vista;
    TFConfAgendaN *dialogo = nullptr;
};

TEST_F(ConfAgendaTest, EveryControlSaysWhatItIsForInOrder)
{
    enDialogo([this] {
        EXPECT_EQ(dialogo->windowTitle(), "Configuracion de la Agenda");
        QStringList textos;
        for (const QGroupBox *const grupo : dialogo->findChildren<QGroupBox *>())
            textos << grupo->title();
        for (const QLabel *const rotulo : dialogo->findChildren<QLabel *>())
            textos << rotulo->text();
        for (const char *const texto :
             {" Intervalo del día ", " Intevalos entre las citas de creación automatica",
              " Incremento de minutos en las nuevas citas ", "Color que se usará para identificar una salida",
              "Sincronizar &día", "Hora comienzo [1..23]", "Hora fin [1..23]",
              "Minutos que pasan entre una linea y otra [1..60]", "Minutos en los que se incrementa [1..60]",
              "Casillas de selección y verificación:", "(Pulse sobre el color para cambiarlo)",
              "(Si esta marcada, cada una de las agendas de cada notario estará situada en la misma fecha)"})
            EXPECT_TRUE(textos.contains(texto)) << texto;
        for (const char *const nombre : {"cbHoraComienzo", "cbHoraFin", "eIntervaloHoras", "EIncrementoMin",
                                         "pColorAgendaSalida", "BAceptar", "BCancelar", "CBSincronizarDia"}) {
            EXPECT_EQ(conFoco(), nombre);
            const QAccessibleInterface *const leido =
                QAccessible::queryAccessibleInterface(dialogo->focusWidget());
            EXPECT_FALSE(leido->text(QAccessible::Name).isEmpty()) << nombre;
            tecla(Qt::Key_Return); // also on the buttons, which it does not press
            EXPECT_TRUE(dialogo->testAttribute(Qt::WA_KeyboardFocusChange)) << "the focus is not to be seen";
        }
        EXPECT_EQ(conFoco(), "cbHoraComienzo");
        EXPECT_EQ(pieza<QComboBox>("cbHoraFin").count(), 23);
        EXPECT_EQ(pieza<QComboBox>("cbHoraFin").itemText(22), "23");
        EXPECT_EQ(pieza<QComboBox>("cbHoraComienzo").currentText(), "08");
        EXPECT_GE(dialogo->width(), 324);
        EXPECT_GE(dialogo->height(), 313);
        EXPECT_EQ(oficina.Rvarias.conFoco, &pieza<QComboBox>("cbHoraComienzo"));
    });
}

TEST_F(ConfAgendaTest, AcceptingWritesEverySettingAndTheCloseBoxNone)
{
    for (const bool acepta : {false, true}) {
        enDialogo([&] {
            tecla(Qt::Key_Down); // 09
            tecla(Qt::Key_Tab);
            tecla(Qt::Key_End); // 23
            tecla(Qt::Key_Tab);
            teclea("45");
            tecla(Qt::Key_Tab);
            teclea("10");
            pulsa(pieza<QCheckBox>("CBSincronizarDia"));
            if (acepta) {
                tecla(Qt::Key_A, Qt::AltModifier);
                EXPECT_TRUE(QTest::qWaitFor([this] { return !dialogo->isVisible(); }));
            }
        });
        EXPECT_EQ(goConfAgendaN->GetHoraInicio(), acepta ? 9 : 8);
        EXPECT_EQ(goConfAgendaN->GetHoraFin(), acepta ? 23 : 14);
        EXPECT_EQ(goConfAgendaN->GetIntervalo(), acepta ? 45 : 20);
        EXPECT_EQ(goConfAgendaN->GetIncrementoMin(), acepta ? 10 : 1);
        EXPECT_EQ(goConfAgendaN->GetSincronizarDia(), !acepta);
        EXPECT_EQ(goConfAgendaN->GetColorSalida(), TColor{0x00C6C6FF});
    }
}

TEST_F(ConfAgendaTest, MinuteFieldsTakeDigitsOnlyAndAreNotLeftWithoutANumber)
{
    enDialogo([this] {
        intervalo().setFocus();
        intervalo().selectAll();
        teclea("1a2-3 ");
        tecla(Qt::Key_Backspace);
        EXPECT_EQ(intervalo().text(), "123") << "Backspace arrives as a character and is discarded";
        teclea("456789012");
        EXPECT_EQ(intervalo().text(), "1234567890") << "what no setting could hold is not taken in";
        intervalo().selectAll();
        tecla(Qt::Key_Delete);
        EXPECT_EQ(intervalo().text(), "");
        for (const auto &sale : std::initializer_list<std::function<void()>>{
                 [this] { tecla(Qt::Key_Tab); }, [this] { tecla(Qt::Key_Return); },
                 [this] { pulsa(pieza<QLineEdit>("EIncrementoMin")); },
                 [this] { pulsa(pieza<QPushButton>("BAceptar")); },
                 [this] { pieza<QPushButton>("BAceptar").click(); }}) { // as its key does, the focus staying
            sale();
            EXPECT_EQ(conFoco(), "eIntervaloHoras");
            EXPECT_EQ(oficina.Rvarias.conFoco, &intervalo());
            EXPECT_TRUE(dialogo->isVisible());
        }
        teclea("15");
        tecla(Qt::Key_Tab);
        EXPECT_EQ(conFoco(), "EIncrementoMin");
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "pColorAgendaSalida");
        EXPECT_EQ(oficina.Rvarias.conFoco, nullptr);
        pulsa(pieza<QPushButton>("BAceptar"));
    });
    EXPECT_EQ(goConfAgendaN->GetIntervalo(), 15);
}

TEST_F(ConfAgendaTest, CancellingAsksAndNoKeepsTheValues)
{
    oficina.Mensaje.espera({Pregunta, " ATENCIÓN:", 0, {}, support::TCaja::pregunta});
    oficina.Mensaje.espera({Pregunta, " ATENCIÓN:", 1});
    enDialogo([this] {
        tecla(Qt::Key_Down);
        tecla(Qt::Key_Escape);
        EXPECT_TRUE(dialogo->isVisible());
        EXPECT_EQ(conFoco(), "BCancelar");
        EXPECT_EQ(pieza<QComboBox>("cbHoraComienzo").currentText(), "09");
        // Even from a field that may not be left.
        intervalo().setFocus();
        intervalo().clear();
        pulsa(pieza<QPushButton>("BCancelar"));
        EXPECT_FALSE(dialogo->isVisible());
        EXPECT_EQ(dialogo->Tag(), 0);
    });
    EXPECT_EQ(goConfAgendaN->GetHoraInicio(), 8);
}

TEST_F(ConfAgendaTest, TheColourIsChosenWithClickOrSpaceAndKeptWhenCancelled)
{
    // Asks until it is there: Space opens it only when the key is let go.
    const auto enColores = [](const std::function<void(QColorDialog &)> &pasos) {
        auto *const mira = new QTimer(qApp);
        QObject::connect(mira, &QTimer::timeout, mira, [mira, pasos] {
            auto *const colores = qobject_cast<QColorDialog *>(QApplication::activeModalWidget());
            if (!colores)
                return;
            mira->stop();
            mira->deleteLater();
            EXPECT_EQ(colores->objectName(), "CDColor");
            pasos(*colores);
        });
        mira->start(1);
    };
    enDialogo([&] {
        auto &panel = pieza<dbcontrols::ColorPanel>("pColorAgendaSalida");
        enColores([](QColorDialog &colores) {
            EXPECT_EQ(colores.currentColor(), QColor(255, 198, 198));
            colores.setCurrentColor(QColor(1, 2, 3));
            QTest::keyClick(colores.windowHandle(), Qt::Key_Escape);
        });
        pulsa(panel);
        EXPECT_EQ(panel.color(), TColor{0x00C6C6FF});
        enColores([](QColorDialog &colores) {
            colores.setCurrentColor(QColor(255, 220, 130));
            QTest::keyClick(colores.windowHandle(), Qt::Key_Return);
        });
        panel.setFocus();
        tecla(Qt::Key_Space);
        EXPECT_EQ(panel.color(), TColor{0x0082DCFF});
        pulsa(pieza<QPushButton>("BAceptar"));
    });
    EXPECT_EQ(goConfAgendaN->GetColorSalida(), TColor{0x0082DCFF});
}

TEST_F(ConfAgendaTest, WhatTheDialogCannotShowIsStoredBackAsTheRulesSay)
{
    goConfAgendaN->SetHoraInicio(0);
    goConfAgendaN->SetIntervalo(-5);
    goConfAgendaN->SetIncrementoMin(2147483647);
    goConfAgendaN->SetColorSalida(clBtnFace);
    enDialogo([this] {
        EXPECT_EQ(pieza<QComboBox>("cbHoraComienzo").currentIndex(), -1);
        EXPECT_EQ(intervalo().text(), "-5");
        pulsa(pieza<QPushButton>("BAceptar"));
    });
    EXPECT_EQ(goConfAgendaN->GetHoraInicio(), 0);
    EXPECT_EQ(goConfAgendaN->GetHoraFin(), 14);
    // Stored as they were, though other numbers count.
    dataset::DbfTable comun(oficina.Aliases);
    comun.setDatabaseName("ZENTRA");
    comun.setTableName("VA_COMUN");
    comun.open();
    comun.last(); // the interval
    EXPECT_EQ(comun.field(u"VALOR").asText().trimmed(), "-5");
    EXPECT_EQ(goConfAgendaN->GetIntervalo(), 0);
    EXPECT_NE(support::readFile(oficina.carpeta() / "CONFIG" / "VARIOS.INI").find("AGENDASALIDA=2147483647"),
              std::string::npos);
    EXPECT_EQ(goConfAgendaN->GetIncrementoMin(), 1440);
    EXPECT_EQ(goConfAgendaN->GetColorSalida(), clBtnFace);
}

TEST_F(ConfAgendaTest, AnOfficeWithOneAgendaIsNotAskedAboutSynchronising)
{
    TFAgendaZen deUna;
    QWidget deVarias;
    for (QWidget *const propietario : {static_cast<QWidget *>(&deUna), &deVarias}) {
        propietario->resize(700, 600);
        propietario->move(40, 60);
        propietario->show();
        enDialogo(
            [&] {
                EXPECT_EQ(pieza<QGroupBox>("gbSincronizar").isVisible(), propietario == &deVarias);
                EXPECT_NEAR(dialogo->geometry().center().x(), propietario->geometry().center().x(), 12);
                EXPECT_NEAR(dialogo->geometry().center().y(), propietario->geometry().center().y(), 30);
            },
            propietario);
    }
}

// Keys that have waited in their queue come in one go, with Enter between them.
TEST_F(ConfAgendaTest, WhatIsTypedBehindEnterGoesIntoTheNextField)
{
    enDialogo([this] {
        pulsa(pieza<QLineEdit>("eIntervaloHoras"));
        const auto deGolpe = [this](int cual, const QString &texto) {
            for (const auto tipo : {QEvent::KeyPress, QEvent::KeyRelease}) {
                QKeyEvent suceso(tipo, cual, {}, texto);
                QCoreApplication::sendEvent(dialogo->windowHandle(), &suceso);
            }
        };
        deGolpe(Qt::Key_Return, QStringLiteral("\r"));
        deGolpe(Qt::Key_7, QStringLiteral("7"));
        QCoreApplication::processEvents();
        EXPECT_EQ(pieza<QLineEdit>("EIncrementoMin").text(), "7");
        EXPECT_EQ(conFoco(), "EIncrementoMin");
    });
}

} // namespace

#include "test_conf_agenda.moc"
