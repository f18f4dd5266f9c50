#include "host/CapturasInformes.h"

#include "host/Capturas.h"
#include "host/Visualizador.h"
#include "report/Painter.h"

#include <QtCore/QDir>
#include <QtCore/QSize>
#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QImage>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>

#include <memory>

namespace
{

constexpr int PuntosPorPulgada = 110;
constexpr QSize MedidaDeVistaPrevia{800, 600}; ///< whole beside a text, in the manual

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

using TPasos = std::vector<std::function<void()>>;
struct TInformeDeVentana {
    const char *Comando;
    QString Nombre;
};

/// A window without the command has no such report, and the steps do nothing.
TPasos Pasos(TCapturas &capturas, const QString &carpeta, const QList<TInformeDeVentana> &informes)
{
    TPasos pasos;
    for (const TInformeDeVentana &informe : informes) {
        const auto pedido = std::make_shared<bool>(false);
        pasos.emplace_back([pedido, comando = informe.Comando] {
            auto *const ventana = QApplication::activeModalWidget();
            auto *const accion = ventana->findChild<QAction *>(QLatin1String(comando));
            *pedido = accion && !accion->menu(); // one with a menu only holds the reports
            if (*pedido)
                QTimer::singleShot(0, accion, &QAction::trigger); // the preview is modal
        });
        pasos.emplace_back([pedido, &capturas, nombre = informe.Nombre] {
            if (!*pedido)
                return;
            QWidget &vista = *QApplication::activeModalWidget();
            vista.resize(MedidaDeVistaPrevia);
            capturas.Dibuja(vista, QStringLiteral("vista-previa-") + nombre);
        });
        pasos.emplace_back([pedido, &capturas, carpeta, nombre = informe.Nombre] {
            if (*pedido)
                GuardaInforme(capturas, carpeta, nombre);
        });
    }
    return pasos;
}

} // namespace

std::vector<std::function<void()>> PasosDeInformes(TCapturas &capturas, const QString &carpeta)
{
    return Pasos(
        capturas, carpeta,
        {{"AImprimirDia", QStringLiteral("hoja-dia")}, {"AImprimirSemana", QStringLiteral("hoja-semana")}});
}

std::vector<std::function<void()>> PasosDeInformesUnica(TCapturas &capturas, const QString &carpeta)
{
    return Pasos(capturas, carpeta,
                 {{"ImprimirDia", QStringLiteral("hoja-unica-dia")},
                  {"ImprimirSemana", QStringLiteral("hoja-unica-semana")},
                  {"Imprimir", QStringLiteral("hoja-unica-dos")}});
}
