// The preview window, worked with keys: pages, zoom, PDF, printing where there is no printer, and cancelling.

#include "dataset/MemTable.h"
#include "host/Visualizador.h"
#include "report/Error.h"
#include "report/PreviewView.h"
#include "report/Print.h"
#include "tests/support/OficinaDePrueba.h"

#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtPrintSupport/QPrinter>
#include <QtPrintSupport/QPrinterInfo>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QProgressDialog>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QSpinBox>

namespace
{

class Visualizador : public testing::Test
{
protected:
    Visualizador()
    {
        filas.create({{"NOMBRE", dataset::FieldKind::text, 20}});
        informe.name = "Hoja";
        informe.documentName = "Agenda 2026-11-16 ANA";
        informe.dataSet = &filas;
        informe.detail.height = 100;
        informe.detail.addField("n", {0, 0, 100, 20}, "NOMBRE");
    }
    void llena(int cuantas)
    {
        for (int i = 1; i <= cuantas; ++i) {
            filas.append();
            filas.field(u"NOMBRE").setText(QString::number(i));
            filas.post();
        }
    }
    /// Shows the preview, runs the steps in it and closes it.
    void enVista(const std::function<void(TVisualizador &)> &pasos)
    {
        bool hecho = false;
        QTimer guardian;
        guardian.setSingleShot(true);
        QObject::connect(&guardian, &QTimer::timeout, [] {
            ADD_FAILURE() << "the preview was never closed";
            for (QWidget *const uno : QApplication::topLevelWidgets())
                uno->close();
        });
        guardian.start(60000);
        QTimer::singleShot(0, &guardian, [&] {
            auto *const vista = qobject_cast<TVisualizador *>(QApplication::activeModalWidget());
            hecho = vista && QTest::qWaitForWindowActive(vista);
            if (hecho) {
                pasos(*vista);
                QTest::keyClick(vista->windowHandle(), Qt::Key_Escape);
                EXPECT_FALSE(vista->isVisible());
                vista->reject();
            }
        });
        MuestraVisualizador(informe);
        EXPECT_TRUE(hecho);
    }
    static void tecla(QWidget &ventana, Qt::Key una, Qt::KeyboardModifiers con = {})
    {
        QTest::keyClick(ventana.windowHandle(), una, con);
        QCoreApplication::processEvents();
    }
    support::OficinaDePrueba oficina;
    dataset::MemTable filas;
    report::Report informe;
};

TEST_F(Visualizador, KeysTurnPagesAndZoom)
{
    llena(45); // 10 a page
    enVista([](TVisualizador &ventana) {
        auto &hojas = *ventana.findChild<report::PreviewView *>();
        auto &pagina = *ventana.findChild<QSpinBox *>("Pagina");
        const auto activos = [&ventana] {
            QString todos;
            for (const char *const nombre : {"APrimera", "AAnterior", "ASiguiente", "AUltima"})
                todos += ventana.findChild<QAction *>(nombre)->isEnabled() ? '1' : '0';
            return todos;
        };
        EXPECT_EQ(hojas.pageCount(), 5);
        EXPECT_EQ(activos(), "0011");
        const struct {
            Qt::Key tecla;
            Qt::KeyboardModifiers con;
            int pagina;
            QString activos;
        } casos[] = {{Qt::Key_PageDown, {}, 2, "1111"}, {Qt::Key_PageDown, {}, 3, "1111"},
                     {Qt::Key_PageUp, {}, 2, "1111"},   {Qt::Key_End, Qt::ControlModifier, 5, "1100"},
                     {Qt::Key_PageDown, {}, 5, "1100"}, {Qt::Key_Home, Qt::ControlModifier, 1, "0011"}};
        for (const auto &caso : casos) {
            tecla(ventana, caso.tecla, caso.con);
            EXPECT_EQ(hojas.currentPage(), caso.pagina);
            EXPECT_EQ(pagina.value(), caso.pagina);
            EXPECT_EQ(activos(), caso.activos);
        }
        pagina.setValue(4);
        EXPECT_EQ(hojas.currentPage(), 4);

        EXPECT_EQ(hojas.fit(), report::PreviewView::Fit::width);
        const double antes = hojas.zoom();
        tecla(ventana, Qt::Key_Plus);
        EXPECT_GT(hojas.zoom(), antes);
        EXPECT_EQ(hojas.currentPage(), 4); // the zoom keeps the place
        tecla(ventana, Qt::Key_0, Qt::ControlModifier);
        EXPECT_EQ(hojas.fit(), report::PreviewView::Fit::page);
        EXPECT_LT(hojas.zoom(), antes);
        for (int i = 0; i < 40; ++i)
            tecla(ventana, Qt::Key_Minus, Qt::ControlModifier);
        EXPECT_EQ(hojas.zoom(), report::PreviewView::smallestZoom);
    });
}

TEST_F(Visualizador, APageFittedToTheWidthHasNothingToScrollAside)
{
    llena(15);
    enVista([](TVisualizador &ventana) {
        const auto &hojas = *ventana.findChild<report::PreviewView *>();
        for (int ancho = 700; ancho < 800; ++ancho) {
            ventana.resize(ancho, 600);
            EXPECT_EQ(hojas.horizontalScrollBar()->maximum(), 0) << ancho;
        }
    });
}

TEST_F(Visualizador, APdfIsAskedForByNameAndWritten)
{
    llena(15);
    const QString carpeta = QString::fromStdString(oficina.carpeta().string());
    enVista([&](TVisualizador &ventana) {
        bool preguntado = false;
        QTimer espera; // the question comes from within the key press
        QObject::connect(&espera, &QTimer::timeout, &ventana, [&] {
            auto *const dialogo = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            if (!dialogo)
                return;
            espera.stop();
            preguntado = true;
            EXPECT_EQ(QFileInfo(dialogo->selectedFiles().value(0)).fileName(), "Agenda 2026-11-16 ANA.pdf");
            auto *const nombre = dialogo->findChild<QLineEdit *>();
            nombre->setText(carpeta + "/mía");
            QTest::keyClick(nombre, Qt::Key_Return);
        });
        espera.start(20);
        tecla(ventana, Qt::Key_S, Qt::ControlModifier);
        EXPECT_TRUE(preguntado);
        EXPECT_EQ(support::readFile(oficina.carpeta() / "mía.pdf").substr(0, 5), "%PDF-");

        oficina.Mensaje.espera(
            {"No se puede escribir el fichero «" + carpeta + "/no/hay.pdf»: la carpeta no existe.",
             " ATENCIÓN:", 0});
        EXPECT_FALSE(ventana.GuardaPdf(carpeta + "/no/hay.pdf"));
    });
    informe.documentName = "Agenda 1/2: <a>";
    EXPECT_EQ(TVisualizador::NombreDePdf(informe), "Agenda 1-2- -a-.pdf");
}

TEST_F(Visualizador, WithoutAPrinterTheUserIsTold)
{
    if (!QPrinterInfo::availablePrinterNames().isEmpty())
        GTEST_SKIP() << "this computer has a printer";
    llena(1);
    enVista([&](TVisualizador &ventana) {
        oficina.Mensaje.espera({"No hay ninguna impresora instalada en este equipo.\n"
                                "Puede guardar el impreso como PDF.",
                                " ATENCIÓN:", 0});
        tecla(ventana, Qt::Key_P, Qt::ControlModifier);
        EXPECT_FALSE(oficina.Mensaje.pendientes());
    });
}

TEST_F(Visualizador, APrinterGetsThePagesAskedForInARunOfTheirOwn)
{
    llena(45);
    const auto fichero = oficina.carpeta() / "impreso.pdf";
    QPrinter impresora(QPrinter::HighResolution);
    impresora.setOutputFormat(QPrinter::PdfFormat);
    impresora.setOutputFileName(QString::fromStdString(fichero.string()));
    report::preparePrinter(informe, impresora);
    int paginas = 0;
    informe.pageHeader.beforePrint = [&paginas](report::BandPrint &) { ++paginas; };
    EXPECT_TRUE(report::printReport(informe, impresora, {2, 3}));
    EXPECT_EQ(paginas, 5);
    const std::string contenido = support::readFile(fichero);
    EXPECT_NE(contenido.find("/Count 2"), std::string::npos);
    EXPECT_FALSE(report::printReport(informe, impresora, {}, [](int hechas, int) { return hechas < 5; }));
}

TEST_F(Visualizador, ALongReportCanBeCancelledAndAFaultyOnePassesItsErrorOn)
{
    llena(3000);
    informe.detail.beforePrint = [this](report::BandPrint &) {
        if (filas.field(u"NOMBRE").asText() != "1000")
            return;
        for (QWidget *const uno : QApplication::topLevelWidgets()) {
            if (auto *const progreso = qobject_cast<QProgressDialog *>(uno))
                progreso->cancel();
        }
    };
    MuestraVisualizador(informe); // returns without having shown a preview
    {
        TVisualizador ventana(informe, nullptr);
        EXPECT_FALSE(ventana.Prepara());
        EXPECT_EQ(ventana.NumPaginas(), 0);
    }
    informe.detail.addField("m", {0, 0, 10, 10}, "NADIE");
    EXPECT_THROW(MuestraVisualizador(informe), report::EReportError);
    EXPECT_FALSE(QApplication::activeModalWidget());
}

} // namespace
