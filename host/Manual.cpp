#include "host/Manual.h"

#include "host/Dialogos.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QUrl>
#include <QtGui/QAction>
#include <QtGui/QKeyEvent>
#include <QtGui/QScreen>
#include <QtGui/QTextDocument>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QTextBrowser>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QVBoxLayout>

namespace
{

/// Whether somebody else in front of everything, such as an open menu or list, takes the keys.
bool HayDesplegable()
{
    return QApplication::activePopupWidget() != nullptr;
}

} // namespace

TVentanaManual::TVentanaManual(const QString &pagina, QWidget *padre)
    : QDialog(padre)
{
    setObjectName(QStringLiteral("VentanaManual"));
    setWindowTitle(QStringLiteral("Manual"));
    setAttribute(Qt::WA_DeleteOnClose);
    auto *const texto = new QTextBrowser(this);
    texto->setObjectName(QStringLiteral("TBManual"));
    texto->setAccessibleName(windowTitle());
    texto->setContextMenuPolicy(Qt::NoContextMenu); // Qt's own, which may speak English
    texto->setOpenExternalLinks(false);             // an office's program opens nothing of the network
    constexpr double MargenDePagina = 14;
    texto->document()->setDocumentMargin(MargenDePagina);
    texto->document()->setDefaultStyleSheet(
        QStringLiteral("p, li { line-height: 125%; } li { margin-bottom: 3px; }"
                       "div, table { margin-top: 8px; margin-bottom: 10px; }"
                       "table { border-collapse: collapse; border-color: gray; }"));
    texto->zoomIn(); // to be read at length, unlike the captions of a window
    auto *const barra = new QToolBar(this);
    barra->setToolButtonStyle(Qt::ToolButtonTextOnly);
    const auto comando = [&](const QString &titulo, const QKeySequence &tecla,
                             void (QTextBrowser::*orden)()) {
        QAction *const accion = barra->addAction(titulo);
        accion->setShortcut(tecla);
        connect(accion, &QAction::triggered, texto, orden);
        return accion;
    };
    QAction *const atras =
        comando(QStringLiteral("< Atrás"), QKeySequence(Qt::ALT | Qt::Key_Left), &QTextBrowser::backward);
    QAction *const adelante =
        comando(QStringLiteral("Adelante >"), QKeySequence(Qt::ALT | Qt::Key_Right), &QTextBrowser::forward);
    comando(QStringLiteral("Índice"), QKeySequence(Qt::ALT | Qt::Key_Home), &QTextBrowser::home);
    atras->setEnabled(false);
    adelante->setEnabled(false);
    connect(texto, &QTextBrowser::backwardAvailable, atras, &QAction::setEnabled);
    connect(texto, &QTextBrowser::forwardAvailable, adelante, &QAction::setEnabled);
    auto *const orden = new QVBoxLayout(this);
    orden->addWidget(barra);
    orden->addWidget(texto);
    // Wide enough for its pictures, which are those of whole windows.
    const QSize medida(130 * fontMetrics().averageCharWidth(), 46 * fontMetrics().height());
    resize(medida.boundedTo(screen()->availableSize() * 0.94));
    texto->setSource(QUrl::fromLocalFile(pagina));
    texto->setFocus();
}

TAyuda::TAyuda(const QString &pagina)
    : m_pagina(pagina)
{
    qApp->installEventFilter(this);
}

TAyuda::~TAyuda()
{
    delete m_ventana;
}

QString TAyuda::PaginaDelManual()
{
    // Installed or just built, the manual lies at the same place seen from the program.
    const QDir programa(QCoreApplication::applicationDirPath());
    const QString pagina =
        QDir::cleanPath(programa.absoluteFilePath(QStringLiteral("../share/oficina/manual/index.html")));
    return QFileInfo::exists(pagina) ? pagina : QString();
}

void TAyuda::Muestra()
{
    const QString pagina = m_pagina.isEmpty() ? PaginaDelManual() : m_pagina;
    if (!QFileInfo::exists(pagina)) {
        AvisaAtencion(QStringLiteral("El manual no está instalado en este equipo."));
        return;
    }
    QWidget *const delante = QApplication::activeWindow();
    if (m_ventana && (m_ventana == delante || m_ventana->parentWidget() == delante)) {
        m_ventana->raise();
        m_ventana->activateWindow();
        return;
    }
    delete m_ventana; // of another window, which may be shut off by the one in front now
    m_ventana = new TVentanaManual(pagina, delante);
    m_ventana->show();
}

/// Only windows are looked at: each key is then seen once, before the control with the focus.
bool TAyuda::eventFilter(QObject *objeto, QEvent *evento)
{
    if (evento->type() != QEvent::KeyPress || !objeto->isWindowType() || HayDesplegable())
        return QObject::eventFilter(objeto, evento);
    const auto &tecla = *static_cast<QKeyEvent *>(evento);
    if (tecla.key() != Qt::Key_F1 || tecla.modifiers() != Qt::NoModifier)
        return QObject::eventFilter(objeto, evento);
    Muestra();
    return true;
}
