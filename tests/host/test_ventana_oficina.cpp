// The main window: its place, its date, and the agendas by their large buttons.

#include "host/AcercaDe.h"
#include "host/MantenimientoDatos.h"
#include "host/Manual.h"
#include "host/TablasOficina.h"
#include "host/VentanaOficina.h"
#include "tests/host/Oficina.h"

#include <QtCore/QPointer>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTextBrowser>

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

TEST_F(VentanaOficinaTest, ANotaryOfAnotherWorkstationIsInTheNextAgenda)
{
    TOficina oficina(ruta(), Hoy);
    TVentanaOficina ventana(oficina);
    ventana.show();
    TConfiguracion otro(ruta());
    ASSERT_TRUE(CreaAgendaDeNotario(otro, "TERCERA"));
    QList<TNotario> notarios = otro.Notarios();
    notarios << TNotario{"Tercera", "TERCERA"};
    otro.SetNotarios(notarios, otro.Notarios());
    for (const auto &[abre, titulo] : {std::pair(&TVentanaOficina::AbreAgenda, "Agenda del día:"),
                                       {&TVentanaOficina::AbreAgendaConjunta, "Agenda conjunta"}}) {
        enDialogo([titulo = QString(titulo)](QWidget *agenda) {
            EXPECT_FALSE(qobject_cast<QMessageBox *>(agenda));
            EXPECT_TRUE(agenda->windowTitle().startsWith(titulo)) << agenda->windowTitle().toStdString();
            tecla(agenda, Qt::Key_Escape);
        });
        EXPECT_TRUE((ventana.*abre)());
    }
    EXPECT_TRUE(oficina.Aliases.contains("TERCERA"));
}

TEST_F(VentanaOficinaTest, AnUnreadableConfigurationIsSaidWithoutABox)
{
    TOficina oficina(ruta(), Hoy);
    TVentanaOficina ventana(oficina);
    ventana.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&ventana));
    const auto fichero = carpeta.path() / "oficina.ini";
    const std::string antes = support::readFile(fichero);
    std::filesystem::remove(fichero);
    std::filesystem::create_directory(fichero); // what no right to read would do, for whoever has all rights
    const auto vuelve = [&] {
        QWidget otra;
        otra.show();
        otra.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&otra));
        otra.close();
        ventana.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&ventana));
    };
    vuelve();
    EXPECT_FALSE(QApplication::activeModalWidget());
    EXPECT_TRUE(ventana.statusBar()->currentMessage().contains("no se puede leer"))
        << ventana.statusBar()->currentMessage().toStdString();
    std::filesystem::remove(fichero);
    support::writeFile(fichero, antes);
    vuelve();
    EXPECT_EQ(ventana.statusBar()->currentMessage(), "");
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

TEST_F(VentanaOficinaTest, TheManualComesInFrontOfWhicheverWindow)
{
    const auto pagina = carpeta.path() / "manual.html";
    support::writeFile(pagina, "<html><body><p>Primera página</p></body></html>");
    TOficina oficina(ruta(), Hoy);
    const TAyuda ayuda(QString::fromStdString(pagina.string()));
    enDialogo([](QWidget *lista) {
        tecla(lista, Qt::Key_F1);
        const QPointer<QWidget> manual = lista->findChild<QWidget *>("VentanaManual");
        ASSERT_TRUE(manual);
        EXPECT_TRUE(manual->isVisible());
        EXPECT_TRUE(manual->findChild<QTextBrowser *>("TBManual")->toPlainText().contains("Primera página"));
        tecla(manual, Qt::Key_F1); // the same one
        tecla(manual, Qt::Key_Escape);
        EXPECT_TRUE(!manual || !manual->isVisible());
        tecla(lista, Qt::Key_Escape);
    });
    MantieneClientes(oficina, nullptr);
}

TEST_F(VentanaOficinaTest, AMissingManualIsSaidAndTheVersionsAreTold)
{
    TOficina oficina(ruta(), Hoy);
    {
        TAyuda ayuda(ruta() + QStringLiteral("/no está.html"));
        enDialogo([](QWidget *caja) {
            EXPECT_EQ(qobject_cast<QMessageBox *>(caja)->text(),
                      "El manual no está instalado en este equipo.");
            tecla(caja, Qt::Key_Return);
        });
        ayuda.Muestra();
    }
    enDialogo([](QWidget *dialogo) {
        QStringList textos;
        for (const QLabel *const rotulo : dialogo->findChildren<QLabel *>())
            textos << rotulo->text();
        EXPECT_TRUE(textos.contains(QString::fromLatin1(qVersion())));
        EXPECT_TRUE(textos.contains(QStringLiteral("interfaz %1").arg(IZenAgenda::VersionInterfaz)));
        tecla(dialogo, Qt::Key_Escape);
    });
    MuestraAcercaDe(*oficina.Modulo.operator->(), oficina.Registro.Unidades(), nullptr);
}

} // namespace
