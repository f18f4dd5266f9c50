#include "host/Visualizador.h"

#include "agenda/host/Servicios.h"
#include "dbcontrols/PlainText.h"
#include "report/Pdf.h"
#include "report/PreviewView.h"
#include "report/Print.h"

#include <QtCore/QDir>
#include <QtCore/QSignalBlocker>
#include <QtCore/QStandardPaths>
#include <QtGui/QAction>
#include <QtPrintSupport/QPrintDialog>
#include <QtPrintSupport/QPrinter>
#include <QtPrintSupport/QPrinterInfo>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QProgressDialog>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QVBoxLayout>

namespace
{

const QString TituloAviso = QStringLiteral(" ATENCIÓN:");
constexpr int EsperaProgreso = 500; // ms before the progress window comes

void AvisaDelInforme(const QString &texto, TIconoMensaje icono)
{
    TMensaje mensaje;
    mensaje.Texto = texto;
    mensaje.Icono = icono;
    mensaje.Titulo = TituloAviso;
    Servicios().Mensaje->Mensajes(mensaje);
}

/// A progress window that comes only when the work takes long.
class TProgreso
{
public:
    TProgreso(const QString &rotulo, QWidget *padre)
        : m_ventana(rotulo, QStringLiteral("&Cancelar"), 0, 0, padre)
    {
        m_ventana.setObjectName(QStringLiteral("Progreso"));
        m_ventana.setWindowTitle(QStringLiteral("Impreso"));
        m_ventana.setWindowModality(Qt::ApplicationModal);
        m_ventana.setMinimumDuration(EsperaProgreso);
        m_ventana.setAutoReset(false);
        m_ventana.setAutoClose(false);
        // Or it would count from the first notice that is not 0, and come when the work is done.
        m_ventana.reset();
        m_ventana.setRange(0, 1);
        m_ventana.setValue(0);
    }
    [[nodiscard]] report::Progress Aviso()
    {
        return [this](int hechas, int total) {
            m_ventana.setMaximum(std::max(1, total));
            m_ventana.setValue(std::min(hechas, std::max(1, total)));
            return !m_ventana.wasCanceled();
        };
    }

private:
    QProgressDialog m_ventana;
};

/// The printers of this computer by name, or nothing.
bool HayImpresoras()
{
    return !QPrinterInfo::availablePrinterNames().isEmpty();
}

} // namespace

TVisualizador::TVisualizador(report::Report &informe, QWidget *padre)
    : QDialog(padre)
    , m_informe(informe)
{
    setObjectName(QStringLiteral("Visualizador"));
    setWindowTitle(QStringLiteral("Vista previa - ") + informe.documentName);
    setWindowFlags(windowFlags() | Qt::WindowMaximizeButtonHint);
    m_vista = new report::PreviewView(this);
    CreaComandos();
    auto *const orden = new QVBoxLayout(this);
    orden->setContentsMargins(0, 0, 0, 0);
    orden->setSpacing(0);
    CreaBarra();
    orden->addWidget(m_vista);
    resize(900, 700);
    m_vista->setFocus();
    connect(m_vista, &report::PreviewView::currentPageChanged, this, &TVisualizador::Pagina);
    connect(m_vista, &report::PreviewView::zoomChanged, this, &TVisualizador::Pagina);
}

QAction *TVisualizador::Comando(const char *nombre, const QString &titulo, const QString &pista,
                                const QList<QKeySequence> &teclas, const std::function<void()> &orden)
{
    auto *const comando = new QAction(titulo, this);
    comando->setObjectName(QLatin1String(nombre));
    comando->setShortcuts(teclas);
    QString conTecla = pista;
    if (!teclas.isEmpty())
        conTecla += QStringLiteral(" (%1)").arg(teclas.front().toString(QKeySequence::NativeText));
    comando->setToolTip(dbcontrols::plainTip(conTecla));
    connect(comando, &QAction::triggered, this, [orden] { orden(); });
    addAction(comando);
    return comando;
}

void TVisualizador::CreaComandos()
{
    using report::PreviewView;
    m_imprimir = Comando("AImprimir", QStringLiteral("&Imprimir..."), QStringLiteral("Imprimir"),
                         {Qt::CTRL | Qt::Key_P}, [this] { Imprime(); });
    m_guardar =
        Comando("AGuardarPdf", QStringLiteral("&Guardar PDF..."), QStringLiteral("Guardar como fichero PDF"),
                {Qt::CTRL | Qt::Key_S}, [this] { PreguntaPdf(); });
    m_primera = Comando("APrimera", QStringLiteral("|<"), QStringLiteral("Primera página"),
                        {Qt::CTRL | Qt::Key_Home}, [this] { m_vista->goToPage(1); });
    m_anterior = Comando("AAnterior", QStringLiteral("<"), QStringLiteral("Página anterior"),
                         {Qt::Key_PageUp}, [this] { m_vista->goToPage(m_vista->currentPage() - 1); });
    m_siguiente = Comando("ASiguiente", QStringLiteral(">"), QStringLiteral("Página siguiente"),
                          {Qt::Key_PageDown}, [this] { m_vista->goToPage(m_vista->currentPage() + 1); });
    m_ultima = Comando("AUltima", QStringLiteral(">|"), QStringLiteral("Última página"),
                       {Qt::CTRL | Qt::Key_End}, [this] { m_vista->goToPage(m_vista->pageCount()); });
    m_alejar = Comando("AAlejar", QStringLiteral("-"), QStringLiteral("Alejar"), {Qt::CTRL | Qt::Key_Minus},
                       [this] { m_vista->zoomOut(); });
    m_acercar = Comando("AAcercar", QStringLiteral("+"), QStringLiteral("Acercar"), {Qt::CTRL | Qt::Key_Plus},
                        [this] { m_vista->zoomIn(); });
    m_ancho = Comando("AAncho", QStringLiteral("A&ncho"), QStringLiteral("Ajustar al ancho"),
                      {Qt::CTRL | Qt::Key_1}, [this] { m_vista->setFit(PreviewView::Fit::width); });
    m_entera =
        Comando("APaginaEntera", QStringLiteral("Página &entera"), QStringLiteral("Ver la página entera"),
                {Qt::CTRL | Qt::Key_0}, [this] { m_vista->setFit(PreviewView::Fit::page); });
}

void TVisualizador::CreaBarra()
{
    auto *const barra = new QToolBar(this);
    m_pagina = new QSpinBox(barra);
    m_pagina->setObjectName(QStringLiteral("Pagina"));
    m_pagina->setAccessibleName(QStringLiteral("Página"));
    m_pagina->setKeyboardTracking(false);
    connect(m_pagina, &QSpinBox::valueChanged, this, [this](int pagina) { m_vista->goToPage(pagina); });
    m_dePaginas = dbcontrols::plainLabel({}, barra);
    m_tamano = dbcontrols::plainLabel({}, barra);
    m_tamano->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("  500 %  ")));
    m_tamano->setAlignment(Qt::AlignCenter);
    auto *const cerrar = new QAction(QStringLiteral("&Cerrar"), this);
    cerrar->setObjectName(QStringLiteral("ACerrar"));
    cerrar->setToolTip(QStringLiteral("Cerrar la vista previa (Esc)"));
    connect(cerrar, &QAction::triggered, this, &QDialog::reject);

    barra->addActions({m_imprimir, m_guardar});
    barra->addSeparator();
    barra->addActions({m_primera, m_anterior});
    barra->addWidget(m_pagina);
    barra->addWidget(m_dePaginas);
    barra->addActions({m_siguiente, m_ultima});
    barra->addSeparator();
    barra->addAction(m_alejar);
    barra->addWidget(m_tamano);
    barra->addActions({m_acercar, m_ancho, m_entera});
    barra->addSeparator();
    barra->addAction(cerrar);
    layout()->addWidget(barra);
}

int TVisualizador::NumPaginas() const
{
    return m_vista->pageCount();
}

bool TVisualizador::Prepara()
{
    std::vector<report::Page> paginas;
    bool completo = false;
    {
        TProgreso progreso(QStringLiteral("Preparando el impreso..."), QApplication::activeWindow());
        completo = report::run(
            m_informe,
            [&paginas](report::Page &&pagina) {
                paginas.push_back(std::move(pagina));
                return true;
            },
            progreso.Aviso());
    }
    if (!completo)
        return false;
    m_vista->setPages(std::move(paginas), m_informe.page);
    m_dePaginas->setText(QStringLiteral(" de %1 ").arg(NumPaginas()));
    const QSignalBlocker sinEco(m_pagina);
    m_pagina->setRange(1, NumPaginas());
    Pagina();
    return true;
}

void TVisualizador::Pagina()
{
    const int actual = m_vista->currentPage();
    const QSignalBlocker sinEco(m_pagina);
    m_pagina->setValue(actual);
    m_primera->setEnabled(actual > 1);
    m_anterior->setEnabled(actual > 1);
    m_siguiente->setEnabled(actual < NumPaginas());
    m_ultima->setEnabled(actual < NumPaginas());
    m_tamano->setText(QStringLiteral("%1 %").arg(qRound(m_vista->zoom() * 100)));
}

bool TVisualizador::ConGuarda(const QString &rotulo,
                              const std::function<bool(const report::Progress &)> &trabajo)
{
    QString fallo;
    try {
        TProgreso progreso(rotulo, this);
        return trabajo(progreso.Aviso());
    } catch (const std::exception &error) {
        fallo = QString::fromUtf8(error.what());
    }
    AvisaDelInforme(fallo, TIconoMensaje::error);
    return false;
}

void TVisualizador::Imprime()
{
    if (!HayImpresoras()) {
        AvisaDelInforme(QStringLiteral("No hay ninguna impresora instalada en este equipo.\n"
                                       "Puede guardar el impreso como PDF."),
                        TIconoMensaje::advertencia);
        return;
    }
    QPrinter impresora(QPrinter::HighResolution);
    if (QPrinterInfo::availablePrinterNames().contains(m_informe.printerName))
        impresora.setPrinterName(m_informe.printerName);
    report::preparePrinter(m_informe, impresora);
    QPrintDialog dialogo(&impresora, this);
    dialogo.setOptions(QAbstractPrintDialog::PrintToFile | QAbstractPrintDialog::PrintPageRange |
                       QAbstractPrintDialog::PrintShowPageSize);
    dialogo.setMinMax(1, NumPaginas());
    if (dialogo.exec() != QDialog::Accepted)
        return;
    report::preparePrinter(m_informe, impresora); // another printer may have brought other paper
    ConGuarda(QStringLiteral("Imprimiendo..."), [&](const report::Progress &progreso) {
        return report::printReport(m_informe, impresora, {impresora.fromPage(), impresora.toPage()},
                                   progreso);
    });
}

QString TVisualizador::NombreDePdf(const report::Report &informe)
{
    QString nombre;
    for (const QChar caracter : informe.documentName)
        nombre += caracter < u' ' || QStringView(u"\\/:*?\"<>|").contains(caracter) ? QChar(u'-') : caracter;
    return nombre.trimmed() + QStringLiteral(".pdf");
}

void TVisualizador::PreguntaPdf()
{
    const QString carpeta = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    QFileDialog dialogo(this, QStringLiteral("Guardar como PDF"), carpeta,
                        QStringLiteral("Documentos PDF (*.pdf)"));
    dialogo.setAcceptMode(QFileDialog::AcceptSave);
    dialogo.setDefaultSuffix(QStringLiteral("pdf"));
    dialogo.selectFile(NombreDePdf(m_informe));
    if (dialogo.exec() == QDialog::Accepted && !dialogo.selectedFiles().isEmpty())
        GuardaPdf(dialogo.selectedFiles().constFirst());
}

bool TVisualizador::GuardaPdf(const QString &fichero)
{
    return ConGuarda(QStringLiteral("Guardando el PDF..."), [&](const report::Progress &progreso) {
        return report::writePdf(m_informe, fichero, progreso);
    });
}

void MuestraVisualizador(report::Report &informe)
{
    QWidget *padre = QApplication::activeWindow();
    if (!padre)
        padre = qobject_cast<QWidget *>(informe.owner);
    TVisualizador ventana(informe, padre);
    if (ventana.Prepara())
        ventana.exec();
}
