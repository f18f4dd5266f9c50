// The agenda window: what it shows, and its commands.

#include "tests/agendan/Ventana.h"
#include "tests/support/LineaDeAyuda.h"

#include <QtWidgets/QHeaderView>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTabBar>

namespace
{

using support::Lunes;
using support::VentanaTest;

const QDate Martes = Lunes.addDays(1);

TEST_F(VentanaTest, ShowsOneTabPerNotaryWithItsGrid)
{
    oficina.linea(1, Lunes, "09:00", "Firma");
    oficina.linea(2, Lunes, "10:00", "Poder");
    enVentana([&] {
        EXPECT_EQ(ficha->windowTitle(), "Agenda del día:");
        EXPECT_EQ(ficha->centralWidget()->width(), 635);
        for (int n = 0; n < 5; ++n)
            EXPECT_EQ(pestanas().isTabVisible(n), n < 2);
        EXPECT_EQ(pestanas().tabText(0), "Ana Núñez");
        EXPECT_EQ(fecha().text(), "16/11/2026");
        EXPECT_EQ(rejilla().model()->rowCount(), 1);
        const struct {
            const char *titulo;
            int ancho;
            bool oculta;
        } columnas[] = {{"Hora", 33, false},
                        {"Cita", 272, false},
                        {"Interesado", 0, false},
                        {"Oficial", 88, false},
                        {"Av", 0, true}};
        for (int c = 0; c < 5; ++c) {
            EXPECT_EQ(rejilla().model()->headerData(c, Qt::Horizontal, Qt::DisplayRole).toString(),
                      columnas[c].titulo);
            EXPECT_EQ(rejilla().isColumnHidden(c), columnas[c].oculta);
            if (columnas[c].ancho > 0) {
                EXPECT_EQ(rejilla().columnWidth(c), columnas[c].ancho) << columnas[c].titulo;
            }
        }
        EXPECT_EQ(rejilla().columnWidth(2), rejilla().viewport()->width() - 33 - 272 - 88 - 5);
        ficha->resize(ficha->width() + 100, ficha->height());
        QCoreApplication::processEvents();
        EXPECT_EQ(rejilla().columnWidth(2), rejilla().viewport()->width() - 33 - 272 - 88 - 5);
        EXPECT_EQ(ficha->findChild<QPlainTextEdit *>("DBMConcepto1")->toPlainText(), "Firma");

        EXPECT_EQ(rejilla().mode(), dbcontrols::DbGrid::Mode::cells);
        pestanas().setCurrentIndex(1);
        EXPECT_EQ(rejilla().mode(), dbcontrols::DbGrid::Mode::rows);
        EXPECT_EQ(celda(0, 1), "Poder");
        EXPECT_EQ(&motor->TablaActual(), motor->Tabla(2)) << "the engine follows the tab";
        EXPECT_EQ(ficha->GetDatosAgendaN(), motor->Tabla(2));
        const auto ordenes = [](const QMenu *menu) {
            QString nombres;
            for (const QAction *const una : menu->actions())
                nombres += una->isSeparator() ? QString("| ") : una->objectName() + ' ';
            return nombres.trimmed();
        };
        const QString papel = "AImprimirDia AImprimirSemana AImprimirDiaOficial AImprimirSemanaOficial";
        const QList<QAction *> barra = ficha->menuBar()->actions();
        ASSERT_EQ(barra.size(), 2);
        EXPECT_EQ(ordenes(barra.at(0)->menu()),
                  "ANuevo AModificar ADetalles ABorrar AContacto ACopiarCita AMoverCita | ASalir");
        EXPECT_EQ(ordenes(barra.at(1)->menu()),
                  "ASincronizarDia ADiaAnterior ADiaSiguiente ABuscarDia | ASalida AAusente | " + papel +
                      " | AConfiguracion");
        EXPECT_EQ(ordenes(ficha->findChild<QMenu *>("PMAgendaN")),
                  "ADetalles ASincronizarDia | ANuevo AModificar ABorrar | ACopiarCita AMoverCita | ASalida "
                  "AAusente | " +
                      papel);
        EXPECT_EQ(accion("ABorrar").statusTip(), "Borrar cita/citas seleccinadas");
        EXPECT_EQ(accion("ADetalles").statusTip(), "Ver detalles de la cita");
        for (const QWidget *const control : ficha->findChildren<QWidget *>()) {
            const bool delUsuario = control->focusPolicy() != Qt::NoFocus && control->isVisible();
            if (delUsuario) {
                EXPECT_FALSE(control->accessibleName().isEmpty()) << control->metaObject()->className();
            }
        }
    });
}

TEST_F(VentanaTest, StepsThroughTheDaysAndSaysWhereTheyEnd)
{
    for (const QDate dia : {Lunes, Lunes.addDays(3)})
        oficina.linea(1, dia, "09:00");
    oficina.linea(2, Lunes, "09:00");
    enVentana([&] {
        comando("ADiaSiguiente");
        EXPECT_EQ(fecha().text(), "19/11/2026");
        EXPECT_EQ(motor->Tabla(2)->field(u"FECHA").asDate(), Lunes.addDays(3))
            << "synchronised, its sheet built";
        oficina.Mensaje.espera({"No hay días posteriores en la agenda de Ana Núñez", " ATENCIÓN:"});
        comando("ADiaSiguiente");
        EXPECT_FALSE(accion("ADiaSiguiente").isEnabled());
        EXPECT_TRUE(accion("ADiaAnterior").isEnabled());
        comando("ADiaAnterior");
        EXPECT_TRUE(accion("ADiaSiguiente").isEnabled());
        EXPECT_EQ(fecha().text(), "16/11/2026");
        oficina.Mensaje.espera({"No hay días anteriores en la agenda de Ana Núñez", " ATENCIÓN:"});
        comando("ADiaAnterior");
        EXPECT_FALSE(accion("ADiaAnterior").isEnabled());
        EXPECT_EQ(fecha().text(), "16/11/2026");
        pestanas().setCurrentIndex(1);
        EXPECT_TRUE(accion("ADiaAnterior").isEnabled()) << "another tab, another agenda";

        accion("ASincronizarDia").trigger(); // off
        comando("ADiaSiguiente");
        EXPECT_EQ(motor->Tabla(1)->field(u"FECHA").asDate(), Lunes) << "the others stay";
        accion("ASincronizarDia").trigger(); // on: all jump to the shown date
        EXPECT_EQ(motor->Tabla(1)->field(u"FECHA").asDate(), Lunes.addDays(3));
        EXPECT_TRUE(accion("ASincronizarDia").isChecked());
    });
}

TEST_F(VentanaTest, TheDateFieldLeadsToItsDay)
{
    oficina.linea(1, Lunes, "09:00");
    enVentana([&] {
        fecha().setFocus();
        EXPECT_EQ(oficina.Rvarias.conFoco, &fecha());
        fecha().selectAll();
        teclea("24/11/2026");
        tecla(Qt::Key_Tab);
        EXPECT_EQ(oficina.Rvarias.conFoco, nullptr);
        EXPECT_EQ(oficina.dia(1, {2026, 11, 24}).size(), 24) << "the missing sheet is built";
        EXPECT_EQ(oficina.dia(2, {2026, 11, 24}).size(), 24) << "for all notaries";
        EXPECT_EQ(celda(0, 0), "09:00");

        fecha().setFocus();
        fecha().selectAll();
        teclea("31/02/2026");
        oficina.Mensaje.espera({"La fecha introducida no es correcta", " ATENCIÓN:"});
        tecla(Qt::Key_Tab);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !oficina.Mensaje.pendientes() && fecha().hasFocus(); }));
        EXPECT_EQ(fecha().text(), "31/02/2026") << "what was typed stays to be mended";
        EXPECT_EQ(motor->TablaActual().field(u"FECHA").asDate(), QDate(2026, 11, 24));

        // Deleting the text with Delete would ask about the line: the window sees that key first. Backspace
        // does not.
        fecha().selectAll();
        tecla(Qt::Key_Backspace);
        EXPECT_EQ(fecha().text(), "  /  /    ");
        tecla(Qt::Key_Tab);
        EXPECT_EQ(motor->TablaActual().field(u"FECHA").asDate(), QDate(2026, 11, 24))
            << "an empty date moves nothing";

        fecha().setFocus();
        fecha().selectAll();
        teclea("5/1/26");
        tecla(Qt::Key_Return);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !fecha().hasFocus(); }))
            << "Enter goes on to the next control";
        EXPECT_EQ(fecha().text(), "05/01/2026");
    });
}

TEST_F(VentanaTest, ADateLeftForAnotherTabCounts)
{
    oficina.linea(1, Lunes, "09:00");
    enVentana([&] {
        fecha().setFocus();
        fecha().selectAll();
        teclea("24/11/2026");
        QTabBar *const barra = pestanas().tabBar();
        QTest::mouseClick(barra, Qt::LeftButton, {}, barra->tabRect(1).center());
        EXPECT_EQ(pestanas().currentIndex(), 1);
        EXPECT_EQ(oficina.dia(1, {2026, 11, 24}).size(), 24);
        EXPECT_EQ(fecha().text(), "24/11/2026");
    });
}

// The focus passes through the date field when a page goes, with the other tab's date still in it.
TEST_F(VentanaTest, ATabComesBackWithItsOwnDay)
{
    oficina.linea(1, Lunes, "09:00");
    oficina.linea(1, Lunes.addDays(1), "10:00");
    oficina.linea(2, Lunes, "11:00");
    enVentana([&] {
        if (accion("ASincronizarDia").isChecked())
            comando("ASincronizarDia");
        comando("ADiaSiguiente");
        for (const int vuelta : {1, 2}) {
            SCOPED_TRACE(vuelta);
            pestanas().setCurrentIndex(1);
            QCoreApplication::processEvents();
            EXPECT_EQ(fecha().text() + ' ' + celda(0, 0), "16/11/2026 11:00");
            pestanas().setCurrentIndex(0);
            QCoreApplication::processEvents();
            EXPECT_EQ(fecha().text() + ' ' + celda(0, 0), "17/11/2026 10:00");
        }
    });
}

TEST_F(VentanaTest, FindsADayThatIsAskedFor)
{
    oficina.linea(1, Lunes, "09:00");
    enVentana([&] {
        comando("ABuscarDia");
        EXPECT_EQ(oficina.Rut.FechaOfrecida, Lunes);
        EXPECT_EQ(fecha().text(), "16/11/2026") << "cancelled";
        oficina.Rut.FechaElegida = Martes;
        comando("ABuscarDia");
        EXPECT_EQ(fecha().text(), "17/11/2026");
        EXPECT_EQ(oficina.dia(2, Martes).size(), 24);
    });
}

TEST_F(VentanaTest, DeletesOneOrSeveral)
{
    for (const char *hora : {"09:00", "10:00", "11:00", "12:00", "13:00"})
        oficina.linea(1, Lunes, hora, hora);
    enVentana([&] {
        pulsa(1);
        oficina.Mensaje.espera({"¿Desea borrar la cita de las 10:00 de la base de datos?", " ATENCIÓN", 1});
        tecla(Qt::Key_Delete);
        EXPECT_EQ(oficina.dia(1, Lunes).size(), 4);
        EXPECT_EQ(celda(1, 0), "11:00");

        pulsa(3);
        pulsa(0, Qt::ControlModifier);
        oficina.Mensaje.espera({"¿Desea borrar las citas seleccionadas?", " ATENCIÓN", 0});
        tecla(Qt::Key_Delete);
        EXPECT_EQ(oficina.dia(1, Lunes).size(), 4);
        EXPECT_EQ(rejilla().selectedBookmarks().size(), 2);
        oficina.Mensaje.espera({"¿Desea borrar las citas seleccionadas?", " ATENCIÓN", 1});
        comando("ABorrar");
        EXPECT_EQ(oficina.dia(1, Lunes), (QStringList{"11:00 11:00 N", "12:00 12:00 N"}));
        EXPECT_EQ(rejilla().model()->rowCount(), 2);
    });
}

TEST_F(VentanaTest, MarksAndColoursOutings)
{
    for (const char *hora : {"09:00", "10:00", "11:00"})
        oficina.linea(1, Lunes, hora, "Firma");
    goConfAgendaN->SetColorSalida(0x00102030); // asymmetric: red 0x30, green 0x20, blue 0x10
    enVentana([&] {
        const auto fondo = [&](int fila) {
            const QRect donde = rejilla().visualRect(rejilla().model()->index(fila, 1));
            return rejilla().viewport()->grab().toImage().pixelColor(donde.right() - 6, donde.center().y());
        };
        tecla(Qt::Key_Down);
        comando("ASalida");
        EXPECT_EQ(oficina.dia(1, Lunes).at(1), "10:00 [SALIDA]Firma S");
        EXPECT_EQ(fondo(1), QColor(0x30, 0x20, 0x10));
        EXPECT_EQ(fondo(0), rejilla().palette().color(QPalette::Base));
        pulsa(2);
        pulsa(1, Qt::ControlModifier);
        EXPECT_EQ(fondo(1), QColor(0, 0, 255)) << "a selected outing is blue";
        comando("ASalida");
        EXPECT_EQ(oficina.dia(1, Lunes),
                  (QStringList{"09:00 Firma N", "10:00 [SALIDA][SALIDA]Firma S", "11:00 [SALIDA]Firma S"}));
        pulsa(0);
        comando("AAusente");
        EXPECT_EQ(oficina.dia(1, Lunes).first(), "09:00 [AUSENTE]Firma S");
        EXPECT_EQ(oficina.dia(1, Lunes).last(), "11:00 [AUSENTE][SALIDA]Firma S");
        EXPECT_EQ(rejilla().currentIndex().row(), 0);
    });
}

TEST_F(VentanaTest, ThePopupMenuAndTheKeysOfTheWindow)
{
    oficina.linea(1, Lunes, "09:00");
    enVentana([&] {
        auto *const menu = ficha->findChild<QMenu *>("PMAgendaN");
        QTimer::singleShot(50, menu, [&] {
            EXPECT_TRUE(menu->isVisible());
            menu->close();
        });
        QContextMenuEvent clic(QContextMenuEvent::Mouse, QPoint(20, 20),
                               rejilla().viewport()->mapToGlobal(QPoint(20, 20)));
        QCoreApplication::sendEvent(rejilla().viewport(), &clic);
        QTest::qWait(80);
        EXPECT_TRUE(rejilla().hasFocus());
        tecla(Qt::Key_Return);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !rejilla().hasFocus(); }))
            << "Enter goes on to the next control";
        esperaFicha(TOperacion::modificar);
        tecla(Qt::Key_Space);
        EXPECT_TRUE(rejilla().hasFocus()) << "after a command the keys go to the line";
        esperaFicha(TOperacion::nuevo);
        tecla(Qt::Key_Insert);
        tecla(Qt::Key_Escape);
        EXPECT_FALSE(ficha->isVisible());
    });
}

TEST_F(VentanaTest, AHintThatComesBeforeTheWindowIsNotPaintedOverTheHelpLine)
{
    TFFichaAgendaN ventana(nullptr);
    support::compruebaLineaDeAyuda(ventana, support::explicacionDe(ventana));
}

// The host counts one notary more than the tables that it gives.
class PestanasTest : public VentanaTest
{
protected:
    PestanasTest()
        : VentanaTest(5)
    {
        for (int notario = 1; notario <= 5; ++notario)
            oficina.linea(notario, Lunes, "09:00", QString("Del %1").arg(notario));
    }
};

TEST_F(PestanasTest, ATabWithoutATableDoesNothingAndBreaksNothing)
{
    const auto una = oficina.agenda(1);
    tablas = {una.get()};
    oficina.Rut.FechaElegida = Lunes.addDays(1);
    oficina.ponAjustes(9, 9, 30);
    enVentana([&] {
        ASSERT_TRUE(pestanas().isTabVisible(1));
        pestanas().setCurrentIndex(1);
        for (const QAction *const orden : ficha->findChildren<QAction *>()) {
            const QString nombre = orden->objectName();
            if (!nombre.startsWith(u'A') || nombre == "ASalir" || nombre == "AAyuda" || !orden->isEnabled())
                continue;
            comando(qPrintable(nombre));
            QCoreApplication::processEvents();
            ASSERT_TRUE(ficha->isVisible()) << nombre.toStdString();
        }
        for (const Qt::Key letra : {Qt::Key_Insert, Qt::Key_Delete, Qt::Key_Space, Qt::Key_A, Qt::Key_Down})
            tecla(letra);
        refresca();
        pestanas().setCurrentIndex(0);
        EXPECT_EQ(rejilla().model()->rowCount(), 1);
    });
    EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"09:00 Del 1 N"});
}

TEST_F(PestanasTest, FiveNotariesHaveATabAndADayEach)
{
    oficina.Config.Cuantos = 7; // two more than there is room for
    oficina.linea(5, Lunes.addDays(1), "10:00", "Mañana");
    enVentana([&] {
        for (int pestana = 0; pestana < 5; ++pestana) {
            ASSERT_TRUE(pestanas().isTabVisible(pestana));
            pestanas().setCurrentIndex(pestana);
            ASSERT_EQ(rejilla().model()->rowCount(), 1);
            EXPECT_EQ(celda(0, 1), QString("Del %1").arg(pestana + 1));
        }
        comando("ADiaSiguiente");
        EXPECT_EQ(celda(0, 1), "Mañana");
        esperaFicha(TOperacion::nuevo, [](TClassAgendaN &m) { EXPECT_EQ(&m.TablaActual(), m.Tabla(5)); });
        tecla(Qt::Key_Insert);
    });
}

} // namespace
