// The host: demo data, configuration, dialogs, and the module loaded for real.

#include "agenda/AgendaNDM.h"
#include "agenda/FicheroIni.h"
#include "dataset/DatabaseError.h"
#include "host/DatosDemo.h"
#include "host/Dialogos.h"
#include "host/VentanaOficina.h"
#include "tests/host/Oficina.h"

#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTabWidget>

#include <cmath>

namespace
{

using support::Hoy;
using support::OficinaTest;
using support::readFile;
using support::TempFolder;
using support::writeFile;

TEST_F(OficinaTest, TheDemoIsTheSameEveryTimeAndReadsBack)
{
    const TempFolder otra;
    crea(otra.path());
    EXPECT_EQ(readFile(carpeta.path() / "NOTARIO2" / "AGENDA_N.DBF"),
              readFile(otra.path() / "NOTARIO2" / "AGENDA_N.DBF"));
    EXPECT_THROW(crea(carpeta.path()), dataset::EDatabaseError) << "an office is never overwritten";

    const TConfiguracion config(ruta());
    EXPECT_EQ(config.GetnCuantos(), 2);
    EXPECT_EQ(config.GetNotarios().size(), 2);
    EXPECT_EQ(config.AliasNotario(2), "NOTARIO2");
    const dataset::Aliases aliases = config.Aliases();
    dataset::DbfTable agenda(aliases);
    agenda.setDatabaseName("NOTARIO1");
    PreparaTablaAgendaN(agenda);
    agenda.open();
    EXPECT_TRUE(agenda.setRange({{"FECHA", Hoy}}, {{"FECHA", Hoy}}));
    EXPECT_EQ(agenda.rowCount(), 24);
    int conEnye = 0;
    agenda.cancelRange();
    for (agenda.first(); !agenda.eof(); agenda.next())
        conEnye += agenda.field(u"INTERESADO").asText().contains(u'ñ') ? 1 : 0;
    EXPECT_GT(conEnye, 10);
    dataset::DbfTable comun(aliases);
    comun.setDatabaseName("ZENTRA");
    comun.setTableName("VA_COMUN");
    comun.setIndexFieldNames("PROGRAMA");
    comun.open();
    for (const char *nombre : {"HoraInicio", "HoraFin", "intervalo"})
        EXPECT_TRUE(comun.locate({{"PROGRAMA", "AGENDA"}, {"NOMBRE", nombre}}, dataset::SearchMode::exact))
            << nombre;
}

TEST_F(OficinaTest, AnAbsurdNumberOfNotariesIsSaidWhenTheOfficeIsOpened)
{
    const auto ini = carpeta.path() / "oficina.ini";
    const struct {
        const char *texto;
        int notarios; ///< below 0: the office is not opened
    } casos[] = {{"7", 7},  {"99", 99},         {"100", -1},        {"2147483647", -1}, {"0", 0},
                 {"-1", 0}, {"-2147483648", 0}, {"99999999999", 0}, {"tres", 0},        {"", 0}};
    for (const auto &caso : casos) {
        TFicheroIni(QString::fromStdString(ini.string())).Escribe("Oficina", "Notarios", caso.texto);
        if (caso.notarios < 0) {
            EXPECT_THROW(TConfiguracion{ruta()}, dataset::EDatabaseError) << caso.texto;
            continue;
        }
        const TConfiguracion config(ruta());
        EXPECT_EQ(config.GetnCuantos(), caso.notarios) << caso.texto;
        EXPECT_EQ(config.GetNotarios().size(), caso.notarios) << caso.texto;
        EXPECT_FALSE(config.Aliases().names().isEmpty());
        // Somebody spoils it while it is open.
        TFicheroIni(QString::fromStdString(ini.string())).Escribe("Oficina", "Notarios", "2147483647");
        EXPECT_EQ(config.GetNotarios().size(), TConfiguracion::MasNotariosAnotados);
    }
}

// Whatever day somebody tries the program on, and without squinting.
TEST(Demo, TheFirstDayHasItsSheetAndItsOutingsCanBeRead)
{
    for (const QDate hoy : {QDate(2026, 11, 20), QDate(2026, 11, 21), QDate(2026, 11, 22)}) {
        const TempFolder carpeta;
        TDemo demo;
        demo.Hoy = hoy;
        demo.MesesAntes = 0;
        demo.MesesDespues = 0;
        const QString donde = QString::fromStdString(carpeta.path().string());
        CreaDatosDemo(donde, demo);
        const dataset::Aliases aliases = TConfiguracion(donde).Aliases();
        for (int notario = 1; notario <= 3; ++notario) {
            dataset::DbfTable agenda(aliases);
            agenda.setDatabaseName(QString("NOTARIO%1").arg(notario));
            PreparaTablaAgendaN(agenda);
            agenda.open();
            EXPECT_TRUE(agenda.setRange({{"FECHA", hoy}}, {{"FECHA", hoy}}));
            EXPECT_EQ(agenda.rowCount(), 24) << hoy.toString().toStdString() << ' ' << notario;
            int citas = 0;
            for (agenda.first(); !agenda.eof(); agenda.next())
                citas += agenda.field(u"CONCEPTO").asText().isEmpty() ? 0 : 1;
            EXPECT_GT(citas, 6);
            EXPECT_LT(citas, 24) << "nor is anybody away all day";
        }
        const auto color = TextoAColor(
            TFicheroIni(donde + "/CONFIG/VARIOS.INI").Lee("COLOR", "AGENDASALIDA").value_or(QString()));
        ASSERT_TRUE(color);
        const auto luz = [](int parte) {
            const double v = parte / 255.0;
            return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
        };
        const double claridad =
            0.2126 * luz(Rojo(*color)) + 0.7152 * luz(Verde(*color)) + 0.0722 * luz(Azul(*color));
        EXPECT_GE(1.05 / (claridad + 0.05), 4.5) << "as text on white paper";
        EXPECT_GE((claridad + 0.05) / 0.05, 4.5) << "behind black text";
    }
}

TEST_F(OficinaTest, OpensTheAgendaThroughTheModuleAndLeavesNothing)
{
    TOficina oficina(ruta(), Hoy);
    TVentanaOficina ventana(oficina);
    ventana.show();
    const auto antes = QApplication::topLevelWidgets();
    for (int vez = 0; vez < 2; ++vez) {
        enDialogo([](QWidget *agenda) {
            EXPECT_EQ(agenda->windowTitle(), "Agenda del día:");
            EXPECT_EQ(agenda->findChild<QLineEdit *>("MEFecha")->text(), "20/11/2026");
            EXPECT_TRUE(agenda->findChild<QTabWidget *>("PCAgenda")->isTabVisible(1));
            QTest::keyClick(agenda->windowHandle(), Qt::Key_Escape);
        });
        EXPECT_TRUE(ventana.AbreAgenda());
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(QApplication::topLevelWidgets().size(), antes.size());

    // An agenda that lives keeps the module in place.
    auto agenda = oficina.Modulo->CreaAgendaN(nullptr, nullptr, {});
    EXPECT_FALSE(oficina.Modulo->Libera());
    agenda.reset();
    EXPECT_TRUE(oficina.Modulo->Libera());
    EXPECT_EQ(oficina.Modulo->CreaAgendaN(nullptr, nullptr, {}), nullptr);
    EXPECT_TRUE(oficina.Modulo->Registra({&oficina.Mensaje, &oficina.Rut, &oficina.Rvarias, &oficina.Config,
                                          &oficina.Reloj, &oficina.Aliases}));
    EXPECT_FALSE(oficina.Modulo->Registra({})) << "twice";
}

#ifdef Q_OS_LINUX
TEST_F(OficinaTest, AFolderThatCannotBeWrittenIsNotAnotherWorkstation)
{
    try {
        TFicheroIni(QStringLiteral("/proc/oficina.ini")).Escribe("A", "B", "C");
        ADD_FAILURE() << "written";
    } catch (const dataset::EDatabaseError &error) {
        EXPECT_TRUE(error.text().contains("no se puede escribir en su carpeta")) << error.what();
    }
}
#endif

TEST_F(OficinaTest, AMissingOrBrokenTableIsAMessage)
{
    const struct {
        const char *que;
        std::function<void(const std::filesystem::path &)> rompe;
        const char *dice;
    } casos[] = {
        {"missing", [](const auto &fichero) { std::filesystem::remove(fichero); }, "AGENDA_N"},
        {"not a table", [](const auto &fichero) { writeFile(fichero, std::string(400, 'x')); }, "dBase"},
        {"cut short", [](const auto &fichero) { std::filesystem::resize_file(fichero, 5000); }, "líneas"},
    };
    TOficina oficina(ruta(), Hoy);
    TVentanaOficina ventana(oficina);
    const auto fichero = carpeta.path() / "NOTARIO2" / "AGENDA_N.DBF";
    const std::string buena = readFile(fichero);
    for (const auto &caso : casos) {
        SCOPED_TRACE(caso.que);
        writeFile(fichero, buena);
        caso.rompe(fichero);
        enDialogo([&](QWidget *caja) {
            EXPECT_EQ(caja->windowTitle(), " ATENCIÓN:");
            EXPECT_TRUE(qobject_cast<QMessageBox *>(caja)->text().contains(caso.dice))
                << qobject_cast<QMessageBox *>(caja)->text().toStdString();
            caja->close();
        });
        EXPECT_FALSE(ventana.AbreAgenda());
    }
    const TempFolder vacia;
    EXPECT_THROW(TConfiguracion(QString::fromStdString(vacia.path().string())), dataset::EDatabaseError);
}

TEST_F(OficinaTest, MessageBoxesKeepTitlesTextsAndButtonOrder)
{
    TMensajeOficina mensajes;
    const auto botones = [](QWidget *caja) {
        QStringList textos;
        auto todos = caja->findChildren<QPushButton *>();
        std::ranges::sort(todos, {}, [](const QPushButton *boton) { return boton->x(); });
        for (const QPushButton *const boton : todos)
            textos << boton->text();
        return textos;
    };
    enDialogo([&](QWidget *caja) {
        EXPECT_EQ(caja->windowTitle(), "Agenda");
        EXPECT_EQ(qobject_cast<QMessageBox *>(caja)->text(), "¿Sí o no?");
        EXPECT_EQ(qobject_cast<QMessageBox *>(caja)->informativeText(), "Explicación");
        EXPECT_EQ(botones(caja), (QStringList{"&Sí", "&No"}));
        QTest::keyClick(caja->windowHandle(), Qt::Key_Return);
    });
    EXPECT_EQ(mensajes.Mensaje_SiNo("¿Sí o no?", "Explicación", "Agenda"), 1);
    enDialogo([&](QWidget *caja) {
        EXPECT_EQ(botones(caja), (QStringList{"&No", "&Sí"}));
        QTest::keyClick(caja->windowHandle(), Qt::Key_Return);
    });
    EXPECT_NE(mensajes.Mensaje_NoSi("¿Sí o no?", "", " ATENCIÓN"), 1) << "no is the default";
    enDialogo([](QWidget *caja) { QTest::keyClick(caja->windowHandle(), Qt::Key_Escape); });
    TMensaje pregunta;
    pregunta.Clase = TClaseMensaje::pregunta;
    pregunta.Texto = "<b>literal</b>";
    EXPECT_NE(mensajes.Mensajes(pregunta), 1) << "Esc is no";
}

TEST_F(OficinaTest, AsksForADate)
{
    TOficina oficina(ruta(), Hoy);
    QDate fecha = Hoy;
    enDialogo([](QWidget *dialogo) {
        EXPECT_EQ(dialogo->windowTitle(), "Agenda del día:");
        for (const char letra : std::string("31/02/2027"))
            QTest::keyClick(dialogo->windowHandle(), letra);
        enDialogo([](QWidget *aviso) {
            EXPECT_EQ(qobject_cast<QMessageBox *>(aviso)->text(), "La fecha introducida no es correcta");
            QTest::keyClick(aviso->windowHandle(), Qt::Key_Return);
        });
        QTest::keyClick(dialogo->windowHandle(), Qt::Key_Return);
        for (const char letra : std::string("28/02/2027"))
            QTest::keyClick(dialogo->windowHandle(), letra);
        QTest::keyClick(dialogo->windowHandle(), Qt::Key_Return);
    });
    EXPECT_TRUE(oficina.Rut.PreguntaFecha(fecha, "Fecha de la agenda", "Agenda del día:"));
    EXPECT_EQ(fecha, QDate(2027, 2, 28));
    enDialogo([](QWidget *dialogo) { QTest::keyClick(dialogo->windowHandle(), Qt::Key_Escape); });
    EXPECT_FALSE(oficina.Rut.PreguntaFecha(fecha, "Fecha de la agenda", "Agenda del día:"));
    EXPECT_EQ(fecha, QDate(2027, 2, 28));
}

TEST_F(OficinaTest, TheFocusMarkComesAndGoes)
{
    TRvariasOficina entrada;
    QLineEdit edicion;
    const QColor antes = edicion.palette().color(QPalette::Base);
    entrada.TomaFocoControl(edicion);
    entrada.TomaFocoControl(edicion);
    EXPECT_NE(edicion.palette().color(QPalette::Base), antes);
    entrada.DejaFocoControl(edicion);
    EXPECT_EQ(edicion.palette().color(QPalette::Base), antes);
    EXPECT_TRUE(entrada.EsBoton(std::make_unique<QPushButton>().get()));
    EXPECT_FALSE(entrada.EsBoton(&edicion));
    EXPECT_FALSE(entrada.EsBoton(nullptr));
}

TEST_F(OficinaTest, TheSingleTableAgendaIsOfferedWhereThereIsNone)
{
    TOficina oficina(ruta(), Hoy);
    TVentanaOficina ventana(oficina);
    ventana.show();
    const auto abre = [&](const QString &titulo, const std::function<void(QWidget *)> &dentro = {}) {
        enDialogo([=](QWidget *agenda) {
            EXPECT_EQ(agenda->windowTitle(), titulo);
            if (dentro)
                dentro(agenda);
            else
                QTest::keyClick(agenda->windowHandle(), Qt::Key_Escape);
        });
        EXPECT_TRUE(ventana.AbreAgendaUnica());
    };
    abre("Agenda del día"); // the demo's
    std::filesystem::remove_all(carpeta.path() / "DB");
    abre("Agenda única"); // declined: nothing is made
    EXPECT_FALSE(std::filesystem::exists(carpeta.path() / "DB"));
    // Accepted: the settings row is there, and the next question is about the day's sheet.
    abre("Agenda única", [](QWidget *pregunta) {
        enDialogo([](QWidget *hoja) {
            EXPECT_EQ(qobject_cast<QMessageBox *>(hoja)->text(),
                      "¿Desea añadir una hoja a día de 20/11/2026 (S/N)?");
            QTest::keyClick(hoja->windowHandle(), Qt::Key_Escape);
        });
        QTest::keyClick(pregunta->windowHandle(), Qt::Key_Return);
    });
    EXPECT_TRUE(std::filesystem::exists(carpeta.path() / "DB" / "AGENDA.DBF"));
    abre("Agenda");
}

} // namespace
