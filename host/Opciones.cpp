#include "host/Opciones.h"

#include "agenda/Rnumcad.h"
#include "dataset/DatabaseError.h"
#include "host/Configuracion.h"
#include "host/DatosDemo.h"
#include "host/OficinaNueva.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QFileInfo>

namespace
{

constexpr int MaxAnyos = 100;

/// @param[out] fallo  what is wrong, for the first value that is.
QDate FechaDe(const QString &texto, QString &fallo)
{
    try {
        return Cad_Date(texto);
    } catch (const dataset::EConvertError &) {
        fallo = QStringLiteral("--fecha: «%1» no es una fecha dd/mm/aaaa.").arg(texto);
        return {};
    }
}

int AnyosDe(const QString &texto, QString &fallo)
{
    bool bien = false;
    const int anyos = texto.toInt(&bien);
    if (!bien || anyos < 0 || anyos > MaxAnyos)
        fallo = QStringLiteral("--anyos: «%1» no es un número de 0 a %2.").arg(texto).arg(MaxAnyos);
    return anyos;
}

} // namespace

TLineaLeida LeeOpciones(const QStringList &argumentos)
{
    QCommandLineParser linea;
    linea.setApplicationDescription(QStringLiteral("Oficina notarial con su agenda."));
    const QCommandLineOption ayuda = linea.addHelpOption();
    const QCommandLineOption datos("datos", "Carpeta de los datos de la oficina; sin ella, la última.",
                                   "carpeta");
    const QCommandLineOption crear("crear-demo",
                                   "Crea datos de demostración si la carpeta no contiene una oficina.");
    const QCommandLineOption solo("solo-datos", "Termina después de crear los datos.");
    const QCommandLineOption anyos("anyos", "Años de agenda del primer notario de la demostración.", "n",
                                   "0");
    const QCommandLineOption convenio("convenio", "La agenda única de la demostración es de dos notarios.");
    const QCommandLineOption fecha("fecha", "Fecha que se toma por hoy, dd/mm/aaaa.", "fecha");
    const QCommandLineOption capturas("capturas", "Dibuja las ventanas en ficheros PNG y termina.",
                                      "carpeta");
    const QCommandLineOption mide("mide-arranque", "Mide hasta que la agenda está pintada y termina.");
    linea.addOptions({datos, crear, solo, convenio, anyos, fecha, capturas, mide});
    if (!linea.parse(argumentos))
        return {{}, linea.errorText()};
    if (linea.isSet(ayuda))
        return {{}, linea.helpText(), true};
    if (const QStringList sobra = linea.positionalArguments(); !sobra.isEmpty())
        return {{}, QStringLiteral("No se entiende «%1».").arg(sobra.front())};
    QString fallo;
    TOpciones opciones;
    opciones.Datos = linea.value(datos);
    opciones.Capturas = linea.value(capturas);
    opciones.CrearDemo = linea.isSet(crear);
    opciones.SoloDatos = linea.isSet(solo);
    opciones.Convenio = linea.isSet(convenio);
    opciones.MideArranque = linea.isSet(mide);
    opciones.Anyos = AnyosDe(linea.value(anyos), fallo);
    if (linea.isSet(fecha))
        opciones.Hoy = FechaDe(linea.value(fecha), fallo);
    if (!fallo.isEmpty())
        return {{}, fallo};
    return {opciones, {}};
}

void PreparaDatos(const TOpciones &opciones)
{
    if (!opciones.CrearDemo || QFileInfo::exists(TConfiguracion::FicheroDe(opciones.Datos)))
        return;
    TDemo demo;
    demo.Hoy = opciones.Hoy.isValid() ? opciones.Hoy : QDate::currentDate();
    demo.AnyosDelPrimero = opciones.Anyos;
    demo.Convenio = opciones.Convenio;
    CreaEnSuSitio(opciones.Datos, [&](const QString &oculta) { CreaDatosDemo(oculta, demo); });
}
