#include "dbase/ThisProcess.h"
#include "dbcontrols/CommandIcons.h"
#include "host/Arranque.h"
#include "host/AsistenteOficina.h"
#include "host/Aspecto.h"
#include "host/Capturas.h"
#include "host/Opciones.h"
#include "host/VentanaOficina.h"
#include "upkeep/OfficeCopy.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>
#include <QtCore/QTimer>
#include <QtGui/QIcon>
#include <QtWidgets/QApplication>

#include <cstdio>

namespace
{

QString FicheroDelUsuario()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
           QStringLiteral("/ventanas.ini");
}

/// Finds out which office is to be opened, leading to a new one where there is none.
/// @return false when the user gives up.
bool EligeOficina(TOpciones &opciones)
{
    const QString clave = QStringLiteral("Oficina/Datos");
    QSettings memoria(FicheroDelUsuario(), QSettings::IniFormat);
    const QString ultima = memoria.value(clave).toString();
    if (opciones.Datos.isEmpty())
        opciones.Datos = ultima;
    if (opciones.Datos.isEmpty())
        opciones.Datos =
            QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + QStringLiteral("/Oficina");
    if (!QFileInfo::exists(TConfiguracion::FicheroDe(opciones.Datos))) {
        // An office that was there yesterday is more likely out of reach than gone.
        if (opciones.Datos == ultima &&
            TMensajeOficina().Mensaje_NoSi(
                QStringLiteral("No se encuentra la oficina en «%1». ¿Desea crear una nueva?")
                    .arg(QDir::toNativeSeparators(ultima)),
                QStringLiteral("Si la carpeta está en otro equipo, compruebe antes que se llega a él."),
                QStringLiteral(" ATENCIÓN:")) != RespuestaSi)
            return false;
        TAsistenteOficina asistente(opciones.Datos,
                                    opciones.Hoy.isValid() ? opciones.Hoy : QDate::currentDate());
        if (asistente.exec() != QDialog::Accepted)
            return false;
        opciones.Datos = asistente.Carpeta();
    }
    memoria.setValue(clave, QDir(opciones.Datos).absolutePath());
    return true;
}

QtMessageHandler g_avisosDeAntes = nullptr;

void AvisosSinPantalla(QtMsgType clase, const QMessageLogContext &donde, const QString &texto)
{
    for (const char *const ruido :
         {"This plugin does not support", "QStandardPaths: XDG_RUNTIME_DIR", "Detected locale"}) {
        if (texto.startsWith(QLatin1String(ruido)))
            return;
    }
    g_avisosDeAntes(clase, donde, texto);
}

/// Without a display the toolkit tells of all that it cannot do there; whoever has asked for pictures knows.
void CallaLoQueFaltaSinPantalla()
{
    if (qgetenv("QT_QPA_PLATFORM").startsWith("offscreen"))
        g_avisosDeAntes = qInstallMessageHandler(AvisosSinPantalla);
}

int Trabaja(TOpciones &opciones, const QElapsedTimer &reloj)
{
    if (opciones.Datos.isEmpty() && (opciones.CrearDemo || opciones.SinNadie()))
        opciones.Datos = QStringLiteral("datos-demo");
    PreparaDatos(opciones);
    if (opciones.SoloDatos || (!opciones.SinNadie() && !EligeOficina(opciones)))
        return 0;
    upkeep::clearLeftovers(upkeep::workFolder()); // of restorings that were cut
    TOficina oficina(opciones.Datos, opciones.Hoy);
    if (opciones.Capturas.isEmpty() && !opciones.MideArranque) // both show the windows as they are first
        oficina.Config.PonFicheroVentanas(FicheroDelUsuario());
    TVentanaOficina ventana(oficina);
    if (opciones.MideArranque) {
        const TMideArranque medida(reloj);
        return ventana.AbreAgenda() ? 0 : 1;
    }
    ventana.show();
    if (!opciones.Capturas.isEmpty()) {
        QCoreApplication::processEvents(); // laid out and shown, as a clerk would find it
        TCapturas capturas(opciones.Capturas, oficina);
        capturas.Dibuja(ventana, QStringLiteral("oficina"));
        capturas.Empieza();
        return ventana.AbreAgenda() && capturas.Completas() ? 0 : 1;
    }
    QTimer::singleShot(0, &ventana, &TVentanaOficina::AbreAgenda);
    return QApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    dbase::prepareProcess();
    QElapsedTimer reloj;
    reloj.start();
    CallaLoQueFaltaSinPantalla();
    const QApplication programa(argc, argv);
    // What a desktop knows the windows by: the name of the menu entry.
    QGuiApplication::setDesktopFileName(QStringLiteral("oficina-agenda"));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("oficina-agenda"),
                                                 dbcontrols::commandIcon(dbcontrols::CommandIcon::edit)));
    const TAspecto aspecto;
    TLineaLeida leida = LeeOpciones(QCoreApplication::arguments());
    if (!leida.Opciones) {
        // Never a box: whoever starts the program from a script would wait for it for ever.
        std::fprintf(leida.Ayuda ? stdout : stderr, "%s\n", qPrintable(leida.Texto));
        return leida.Ayuda ? 0 : 1;
    }
    TOpciones &opciones = *leida.Opciones;
    try {
        return Trabaja(opciones, reloj);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        if (!opciones.SinNadie())
            TMensajeOficina().Mensaje_Error(QString::fromUtf8(error.what()), QStringLiteral(" ATENCIÓN:"));
        return 1;
    }
}
