// The settings dialog of the single-table agenda, over a real settings row and a real settings file.

#include "agenda/host/Constanteszen.h"
#include "dbcontrols/ColorPanel.h"
#include "tests/agenda1/VentanaUnica.h"

#include <QtWidgets/QColorDialog>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QRadioButton>

namespace
{

const QString Salir = QStringLiteral("¿Desea realmente salir de la configuración?");
const QString NoSeGuarda = QStringLiteral("No se actualizará la configuración");
const QString FechaMala = QStringLiteral("La fecha introducida no es correcta");

class ConfUnicaTest : public support::VentanaUnicaTest
{
protected:
    void enDialogo(const std::function<void()> &pasos)
    {
        TAgenda motorDeAjustes(support::Dia, &vistas);
        conModal([&] { motorDeAjustes.IConfiguracion(nullptr); }, pasos);
    }
    [[nodiscard]] QString fila() const { return dia(FechaAjustes).value(0); }
};

TEST_F(ConfUnicaTest, WhatIsSetIsStoredInTheSettingsRow)
{
    ajustes("0820", "15", {"Ana Núñez", "Benito Ruiz"});
    oficina.Config.FechaInicio = {2026, 12, 31};
    enDialogo([this] {
        EXPECT_EQ(ventana->windowTitle(), "Agenda del día");
        QStringList textos;
        for (const QGroupBox *const grupo : ventana->findChildren<QGroupBox *>())
            textos << grupo->title();
        EXPECT_EQ(textos, (QStringList{" Tipo de agenda ", " Intervalo del día ", " Intevalos entre horas ",
                                       " Nombres de los notarios (caso de la agenda a doble columna)",
                                       "Color que se usará para identificar una salida",
                                       "Fecha que indicará el fin del uso de esta agenda "}));
        EXPECT_TRUE(pieza<QRadioButton>("rbConvenio").isChecked());
        EXPECT_EQ(edicion("eNotario2").text(), "Benito Ruiz");
        EXPECT_EQ(edicion("MEFecha").text(), "31/12/2026");
        EXPECT_EQ(pieza<QComboBox>("cbHoraComienzo").currentText(), "08");
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "cbHoraComienzo");
        tecla(Qt::Key_Down);
        tecla(Qt::Key_Return);
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "eIntervaloHoras");
        edicion("eIntervaloHoras").selectAll();
        teclea("2x0");
        tecla(Qt::Key_Return);
        edicion("eNotario1").selectAll();
        teclea("Íñigo Peña");
        edicion("MEFecha").setFocus();
        tecla(Qt::Key_Home);
        teclea("01022027");
        pulsa("BAceptar");
        EXPECT_FALSE(ventana->isVisible());
    });
    EXPECT_EQ(fila(), "20|0920|" + QStringLiteral("Íñigo Peña").leftJustified(50) +
                          QStringLiteral("Benito Ruiz").rightJustified(50) + "|CONVENIO|");
    EXPECT_EQ(oficina.Config.FechaInicio, QDate(2027, 2, 1));
    enDialogo([this] {
        tecla(Qt::Key_Left); // the other kind, by its key
        EXPECT_TRUE(pieza<QRadioButton>("rbNormal").isChecked());
        for (const char *const nombre : {"eNotario1", "eNotario2", "gbINteresados"})
            EXPECT_FALSE(pieza<QWidget>(nombre).isEnabled()) << nombre;
        edicion("MEFecha").setFocus();
        edicion("MEFecha").selectAll();
        tecla(Qt::Key_Delete);
        pulsa("BAceptar");
    });
    EXPECT_EQ(fila(), "20|0920|||");
    EXPECT_FALSE(oficina.Config.FechaInicio.isValid());
}

TEST_F(ConfUnicaTest, NothingWrongIsStoredAndLeavingIsAskedFor)
{
    ajustes();
    enDialogo([this] {
        edicion("eIntervaloHoras").setFocus();
        edicion("eIntervaloHoras").selectAll();
        tecla(Qt::Key_Delete);
        tecla(Qt::Key_Tab);
        EXPECT_EQ(conFoco(), "eIntervaloHoras"); // comes back
        pulsa("BAceptar");
        EXPECT_TRUE(ventana->isVisible());
        teclea("45");
        edicion("MEFecha").setFocus();
        teclea("31022026");
        oficina.Mensaje.espera({FechaMala, " ATENCIÓN:"});
        tecla(Qt::Key_Tab);
        EXPECT_EQ(conFoco(), "MEFecha");
        oficina.Mensaje.espera({Salir, "Atención", 0, NoSeGuarda, support::TCaja::noSi});
        pulsa("BSalir"); // no word of the date on the way out
        EXPECT_TRUE(ventana->isVisible());
        oficina.Mensaje.espera({FechaMala, " ATENCIÓN:"});
        pieza<QPushButton>("BAceptar").click();
        EXPECT_TRUE(ventana->isVisible());
        oficina.Mensaje.espera({Salir, "Atención", RespuestaSi, NoSeGuarda, support::TCaja::noSi});
        tecla(Qt::Key_Escape);
        EXPECT_FALSE(ventana->isVisible());
    });
    EXPECT_EQ(fila(), "30|0910|||");
}

TEST_F(ConfUnicaTest, TheColourIsStoredAtOnce)
{
    ajustes();
    goConfAgendaN->SetColorSalida(0x00112233);
    enDialogo([this] {
        auto &panel = pieza<dbcontrols::ColorPanel>("pColorAgendaSalida");
        EXPECT_EQ(panel.color(), 13027071U); // not the stored one
        QTimer::singleShot(0, ventana, [] {
            auto *const colores = qobject_cast<QColorDialog *>(QApplication::activeModalWidget());
            ASSERT_NE(colores, nullptr);
            EXPECT_EQ(colores->currentColor(), QColor(255, 198, 198));
            colores->setCurrentColor(QColor(255, 220, 130));
            QTest::keyClick(colores->windowHandle(), Qt::Key_Return);
        });
        pulsa("pColorAgendaSalida");
        EXPECT_EQ(goConfAgendaN->GetColorSalida(), TColor{0x0082DCFF});
        EXPECT_EQ(clAgendaSalida, TColor{0x0082DCFF});
        oficina.Mensaje.espera({Salir, "Atención", RespuestaSi, NoSeGuarda, support::TCaja::noSi});
        pulsa("BSalir");
    });
    EXPECT_EQ(goConfAgendaN->GetColorSalida(), TColor{0x0082DCFF});
    clAgendaSalida = 0x00C6C6FF;
}

TEST_F(ConfUnicaTest, AFailedStoreIsTold)
{
    ajustes();
    const auto otro = tabla();
    otro->locate({{"FECHA", FechaAjustes}}, dataset::SearchMode::nearest);
    otro->edit();
    enDialogo([this] {
        EXPECT_EQ(edicion("MEFecha").text(), "  /  /    ");
        oficina.Mensaje.espera({"Hubo problemas al intentar guardar la configuración de la agenda",
                                "Error",
                                0,
                                {},
                                support::TCaja::error});
        pulsa("BAceptar");
        EXPECT_FALSE(ventana->isVisible());
    });
    otro->cancel();
    EXPECT_EQ(fila(), "30|0910|||");
}

} // namespace
