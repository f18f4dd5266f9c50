#include "host/CapturasInformes.h"

#include "host/Capturas.h"
#include "host/Visualizador.h"
#include "report/Painter.h"

#include <QtCore/QDir>
#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QImage>
#include <QtWidgets/QApplication>

namespace
{

constexpr int PuntosPorPulgada = 110;

/// The preview in front written as NAME.pdf and NAME-1.png onwards, and closed.
void GuardaInforme(TCapturas &capturas, const QString &carpeta, const QString &nombre)
{
    auto *const visor = qobject_cast<TVisualizador *>(QApplication::activeModalWidget());
    capturas.Anota(visor != nullptr);
    if (!visor)
        return;
    const QDir destino(carpeta);
    capturas.Anota(visor->GuardaPdf(destino.filePath(nombre + QStringLiteral(".pdf"))));
    for (const report::Page &pagina : report::layOut(visor->Informe())) {
        const QImage imagen = report::pageImage(pagina, visor->Informe().page, PuntosPorPulgada);
        capturas.Anota(
            imagen.save(destino.filePath(QStringLiteral("%1-%2.png").arg(nombre).arg(pagina.number))));
    }
    visor->reject();
}

} // namespace

std::vector<std::function<void()>> PasosDeInformes(TCapturas &capturas, const QString &carpeta)
{
    std::vector<std::function<void()>> pasos;
    for (const auto &[comando, nombre] : {std::pair("AImprimirDia", QStringLiteral("hoja-dia")),
                                          std::pair("AImprimirSemana", QStringLiteral("hoja-semana"))}) {
        pasos.emplace_back([comando = comando] {
            auto *const ventana = QApplication::activeModalWidget();
            if (auto *const accion = ventana->findChild<QAction *>(QLatin1String(comando)))
                QTimer::singleShot(0, accion, &QAction::trigger); // the preview is modal
        });
        pasos.emplace_back([&capturas, nombre = nombre] {
            capturas.Dibuja(*QApplication::activeModalWidget(), QStringLiteral("vista-previa-") + nombre);
        });
        pasos.emplace_back(
            [&capturas, carpeta, nombre = nombre] { GuardaInforme(capturas, carpeta, nombre); });
    }
    return pasos;
}
