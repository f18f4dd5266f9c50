// Two clerks by chance: works the agenda from several workstations in random order and judges what comes of
// it. A seed is enough to see the same again.

#include "tests/simulacion/Faltas.h"
#include "tests/simulacion/Jornada.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QElapsedTimer>
#include <QtCore/QLocale>
#include <QtCore/QTextStream>
#include <QtGui/QFont>
#include <QtWidgets/QApplication>

#include <algorithm>

namespace
{

using namespace simulacion;

constexpr int PasosPorJornada = 400;
constexpr int IntentosDeRecorte = 600;

/// The seed of the n-th day of a run; the first one is the run's own, so that a failing day can be had alone.
quint64 SemillaDe(quint64 semilla, int jornada)
{
    return semilla + static_cast<quint64>(jornada) * 1'000'003;
}

/// @param intentos  of making it shorter; 0 shows the run as it was.
int Informa(TCual cual, const TResultado &fallida, quint64 semilla, int puestos, int intentos)
{
    QTextStream salida(stdout);
    salida << "FALLO " << fallida.Fallo->Regla << " con --agenda " << NombreDe(cual) << " --semilla "
           << semilla << " --pasos " << fallida.Pasos.size() << " --puestos " << puestos << '\n'
           << fallida.Fallo->Que << '\n';
    salida.flush();
    const TResultado corta = TJornada::Recorta(cual, fallida, puestos, intentos);
    salida << "Lo más corto que falla igual, " << corta.Pasos.size() << " pasos:\n";
    QStringList relato;
    TJornada::Repite(cual, corta.Pasos, puestos, &relato);
    salida << relato.join(u'\n') << '\n' << corta.Fallo->Que << '\n';
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_NO_GLIB", "1"); // the dispatcher that says before it sleeps
    qputenv("LC_ALL", "C.UTF-8");
    QApplication aplicacion(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("Arial"), 9));
    QApplication::setCursorFlashTime(0);
    QLocale::setDefault(QLocale(QStringLiteral("es_ES")));
    PreparaProcesos();

    QCommandLineParser linea;
    linea.setApplicationDescription(QStringLiteral("Varios puestos trabajan la agenda al azar y se juzga lo "
                                                   "que queda en las tablas y en las pantallas."));
    linea.addHelpOption();
    const QCommandLineOption semilla("semilla", "La misma semilla da los mismos pasos.", "S", "1");
    const QCommandLineOption pasos("pasos", "Cuántos pasos.", "N", "2000");
    const QCommandLineOption puestos("puestos", "Cuántos puestos.", "K", "2");
    const QCommandLineOption agenda("agenda", "multi, unica, doble, o todas por turno.", "cuál", "multi");
    const QCommandLineOption ruido("con-avisos", "Enseña también los avisos del programa.");
    const QCommandLineOption falta("falta", "Planta una falta que se ha de encontrar.", "nombre", "ninguna");
    const QCommandLineOption entera("sin-recortar",
                                    "Enseña el fallo como ha salido, sin buscarlo más corto.");
    linea.addOptions({semilla, pasos, puestos, agenda, ruido, falta, entera});
    linea.process(aplicacion);
    const QString agendas = linea.value(agenda);
    const auto elegida = std::find_if(NombresDeAgendas.begin(), NombresDeAgendas.end(),
                                      [&](const char *una) { return agendas == QLatin1String(una); });
    if (elegida == NombresDeAgendas.end() && agendas != u"todas") {
        QTextStream(stderr) << "No hay agenda «" << agendas << "».\n";
        return 2;
    }
    if (!linea.isSet(ruido))
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});

    for (std::size_t una = 0; una < NombresDeFaltas.size(); ++una) {
        if (linea.value(falta) == QLatin1String(NombresDeFaltas.at(una)))
            Planta(static_cast<TFalta>(una));
    }
    const quint64 primera = linea.value(semilla).toULongLong();
    const int todos = linea.value(pasos).toInt();
    const int cuantos = qBound(1, linea.value(puestos).toInt(), 8);
    QElapsedTimer reloj;
    reloj.start();
    TCifras cifras;
    int salida = 0;
    for (int hechos = 0, jornada = 0; hechos < todos && salida == 0; ++jornada) {
        const int ahora = qMin(PasosPorJornada, todos - hechos);
        const quint64 suya = SemillaDe(primera, jornada);
        const auto cual = elegida != NombresDeAgendas.end()
                              ? static_cast<TCual>(elegida - NombresDeAgendas.begin())
                              : static_cast<TCual>(suya % NombresDeAgendas.size());
        const TResultado resultado = TJornada::Corre(cual, suya, ahora, cuantos);
        cifras.Suma(resultado.Cifras);
        hechos += ahora;
        if (resultado.Fallo)
            salida = Informa(cual, resultado, suya, cuantos, linea.isSet(entera) ? 0 : IntentosDeRecorte);
    }
    const double segundos = static_cast<double>(reloj.elapsed()) / 1000;
    QTextStream(stdout) << "pasos " << cifras.Pasos << ", órdenes " << cifras.Ordenes << ", conflictos "
                        << cifras.Conflictos << ", negativas " << cifras.Negativas << ", muertes "
                        << cifras.Muertes << ", segundos " << segundos << ", huella "
                        << QString::number(cifras.Huella, 16) << '\n';
    return salida;
}
