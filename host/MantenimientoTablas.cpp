#include "host/MantenimientoTablas.h"

#include "agenda/FicheroIni.h"
#include "upkeep/Archive.h"
#include "upkeep/OfficeCopy.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <utility>

namespace
{

namespace fs = std::filesystem;
using dbase::ErrorKind;
using dbase::Status;
using dbase::Table;

constexpr std::chrono::milliseconds Paciencia{2000};

fs::path RutaDe(const QString &ruta)
{
    return fs::path(ruta.toStdU16String());
}

QString Texto(const Status &estado)
{
    QString texto = QString::fromStdString(
        estado.kind() == ErrorKind::locked ? "La está usando otro puesto: " + estado.text() : estado.text());
    if (!texto.isEmpty())
        texto[0] = texto.at(0).toUpper();
    return texto + u'.';
}

/// How one table stands.
struct TParte {
    QString Estado;
    bool Bien = false;
    qint64 Lineas = -1;
};

TParte ParteDe(const Status &fallo)
{
    return {Texto(fallo)};
}

TParte Mira(const fs::path &fichero)
{
    dbase::OpenOptions opciones;
    opciones.readOnly = true;
    const auto abierta = Table::open(fichero, opciones);
    if (!abierta.ok())
        return ParteDe(abierta.status());
    return {QString(), true, abierta.value()->recordCount()};
}

TParte Verifica(Table &tabla)
{
    if (const Status ordenes = upkeep::compareTags(tabla); !ordenes.ok())
        return ParteDe(ordenes);
    const auto ilegibles = upkeep::findUnreadable(
        tabla, [](dbase::RecordNumber, std::span<const std::uint8_t>, const dbase::FieldDefinition &) {});
    if (!ilegibles.ok())
        return ParteDe(ilegibles.status());
    const qint64 lineas = tabla.recordCount();
    if (ilegibles.value() > 0)
        return {QStringLiteral("Hay %1 datos que no se entienden.").arg(ilegibles.value()), false, lineas};
    const QString aviso = QString::fromStdString(tabla.notice());
    return {aviso.isEmpty() ? QStringLiteral("Está bien.") : QStringLiteral("Está bien (%1).").arg(aviso),
            true, lineas};
}

TParte Comprueba(const fs::path &fichero)
{
    dbase::OpenOptions opciones;
    opciones.lockTimeout = Paciencia;
    const auto abierta = Table::open(fichero, opciones);
    return abierta.ok() ? Verifica(*abierta.value()) : ParteDe(abierta.status());
}

TParte Repara(const fs::path &fichero)
{
    const auto abierta = upkeep::openWithTag(fichero, Paciencia);
    if (!abierta.ok())
        return ParteDe(abierta.status());
    Table &tabla = *abierta.value();
    if (tabla.isReadOnly())
        return ParteDe({ErrorKind::readOnly, tabla.readOnlyReason()});
    if (upkeep::compareTags(tabla).kind() != ErrorKind::damaged)
        return Verifica(tabla);
    if (const Status estado = tabla.reindex(); !estado.ok())
        return ParteDe(estado);
    TParte parte = Verifica(tabla);
    parte.Estado.prepend(QStringLiteral("El índice se ha rehecho. "));
    return parte;
}

TParte Compacta(const fs::path &fichero)
{
    dbase::OpenOptions opciones;
    opciones.lockTimeout = Paciencia;
    const auto abierta = Table::open(fichero, opciones);
    if (!abierta.ok())
        return ParteDe(abierta.status());
    Table &tabla = *abierta.value();
    const qint64 antes = tabla.recordCount();
    if (const Status estado = tabla.pack(); !estado.ok())
        return ParteDe(estado);
    const qint64 quitadas = antes - tabla.recordCount();
    return {quitadas == 0 ? QStringLiteral("No había líneas borradas.")
                          : QStringLiteral("Líneas borradas que se han quitado: %1.").arg(quitadas),
            true, tabla.recordCount()};
}

/// The same for each table, one after the other; to be stopped between two.
TTrabajo::TCuerpo UnaAUna(const QList<TTablaOficina> &tablas, const QString &que,
                          TParte (*haz)(const fs::path &), const QString &alFinal)
{
    return [=](TTrabajo &trabajo) -> TFinal {
        int mal = 0;
        for (int fila = 0; fila < tablas.size(); ++fila) {
            if (!trabajo.Sigue())
                return {QStringLiteral("Se ha cancelado; lo hecho hasta aquí vale."), true};
            const TTablaOficina &tabla = tablas.at(fila);
            trabajo.Avanza(static_cast<int>(qsizetype{100} * fila / tablas.size()),
                           QStringLiteral("%1 %2 de %3...").arg(que, tabla.Nombre, tabla.Alias));
            const TParte parte = haz(tabla.Fichero);
            trabajo.Dice(fila, parte.Estado, parte.Lineas);
            mal += parte.Bien ? 0 : 1;
        }
        trabajo.Avanza(100, {});
        if (mal > 0)
            return {mal == 1
                        ? QStringLiteral("Hay 1 tabla con problemas: se dice en su línea.")
                        : QStringLiteral("Hay %1 tablas con problemas: se dice en sus líneas.").arg(mal)};
        return {alFinal};
    };
}

QString NombreEnCopia(const TTablaOficina &tabla)
{
    return tabla.Alias + u'/' + tabla.Nombre + QStringLiteral(".DBF");
}

std::vector<upkeep::OfficeTable> ParaCopia(const QList<TTablaOficina> &tablas, bool soloLasQueHay)
{
    std::vector<upkeep::OfficeTable> copia;
    std::error_code error;
    for (const TTablaOficina &tabla : tablas) {
        if (!soloLasQueHay || fs::exists(tabla.Fichero, error))
            copia.push_back({NombreEnCopia(tabla).toStdString(), tabla.Fichero});
    }
    return copia;
}

/// Tells only what has changed: it is asked about every 64 KiB.
/// @param desde  where the work's own 0 to 100 begins. @param hasta  where it ends.
upkeep::Progress AvanceDe(TTrabajo &trabajo, const QString &que, int desde = 0, int hasta = 100)
{
    return [&trabajo, que, desde, hasta, dicho = -1](int porCiento) mutable {
        const int ahora = desde + porCiento * (hasta - desde) / 100;
        if (std::exchange(dicho, ahora) != ahora)
            trabajo.Avanza(ahora, que);
        return trabajo.Sigue();
    };
}

/// By what the work answers, not by what was asked of it: it may have failed, or ended, before it was looked
/// at whether it was to stop.
TFinal Fallo(const QString &que, const Status &estado)
{
    const Status parado = upkeep::stopped();
    if (estado.kind() == parado.kind() && estado.text() == parado.text())
        return {QStringLiteral("Se ha cancelado; todo sigue como estaba."), true};
    return {QStringLiteral("%1 %2").arg(que, estado.kind() == ErrorKind::locked
                                                 ? QStringLiteral("Otro puesto tiene abierta una tabla (%1).")
                                                       .arg(QString::fromStdString(estado.message()))
                                                 : QString::fromStdString(estado.message()) + u'.')};
}

QStringList Textos(const std::vector<std::string> &nombres)
{
    QStringList textos;
    for (const std::string &nombre : nombres)
        textos << QString::fromStdString(nombre);
    return textos;
}

QStringList NombresDe(const std::vector<upkeep::ArchivedFile> &ficheros)
{
    QStringList nombres;
    for (const upkeep::ArchivedFile &uno : ficheros)
        nombres << QString::fromStdString(uno.name);
    return nombres;
}

QString SinExtension(const QStringList &tablas)
{
    QStringList nombres;
    for (const QString &tabla : tablas)
        nombres << tabla.left(tabla.lastIndexOf(u'.'));
    return nombres.join(QStringLiteral(", "));
}

/// What a copy has brought, what it could not and what it holds besides.
QString Balance(TTrabajo &trabajo, const QList<TTablaOficina> &tablas, const QList<TTablaOficina> &todas,
                const QStringList &traidas, const QStringList &enCopia)
{
    QStringList faltan;
    for (int fila = 0; fila < tablas.size(); ++fila) {
        const TTablaOficina &tabla = tablas.at(fila);
        const bool traida = traidas.contains(NombreEnCopia(tabla), Qt::CaseInsensitive);
        trabajo.Dice(fila, traida ? QStringLiteral("Restaurada.") : QStringLiteral("No está en la copia."),
                     Mira(tabla.Fichero).Lineas);
        if (!traida)
            faltan << NombreEnCopia(tabla);
    }
    QStringList desconocidas;
    bool otrosAlias = false;
    for (const QString &nombre : enCopia) {
        const auto es = [&](const TTablaOficina &una) {
            return NombreEnCopia(una).compare(nombre, Qt::CaseInsensitive) == 0;
        };
        if (!nombre.endsWith(QStringLiteral(".DBF"), Qt::CaseInsensitive) ||
            std::any_of(todas.begin(), todas.end(), es))
            continue;
        desconocidas << nombre;
        const QString alias = nombre.section(u'/', 0, 0);
        otrosAlias = otrosAlias || std::none_of(todas.begin(), todas.end(), [&](const TTablaOficina &una) {
                         return una.Alias.compare(alias, Qt::CaseInsensitive) == 0;
                     });
    }
    QString texto = traidas.size() == 1 ? QStringLiteral("Se ha restaurado 1 tabla.")
                                        : QStringLiteral("Se han restaurado %1 tablas.").arg(traidas.size());
    if (!faltan.isEmpty())
        texto +=
            QStringLiteral(" No están en la copia, y siguen como estaban: %1.").arg(SinExtension(faltan));
    if (!desconocidas.isEmpty())
        texto += QStringLiteral(" Están en la copia y esta oficina no las tiene: %1.")
                     .arg(SinExtension(desconocidas));
    if (otrosAlias)
        texto += QStringLiteral(" Para traerlas, añada a sus notarios con esos alias (Datos, Notarios) y "
                                "restaure de nuevo.");
    return texto;
}

} // namespace

QList<TTablaOficina> TablasDeLaOficina(const TConfiguracion &config)
{
    QList<TTablaOficina> tablas;
    QSet<std::pair<QString, QString>> vistas;
    const auto anade = [&](const QString &alias, const QDir &carpeta, const QString &fichero) {
        const QString nombre = QFileInfo(fichero).completeBaseName().toUpper();
        if (vistas.contains({alias, nombre}))
            return;
        vistas.insert({alias, nombre});
        tablas << TTablaOficina{alias, nombre, RutaDe(carpeta.filePath(fichero))};
    };
    const dataset::Aliases aliases = config.Aliases();
    for (const QString &alias : aliases.names()) {
        const QDir carpeta(aliases.folderOf(alias));
        for (const QFileInfo &una :
             carpeta.entryInfoList({QStringLiteral("*.dbf")}, QDir::Files, QDir::Name)) {
            // What leads out of the folder is none of the office's.
            if (!una.isSymbolicLink() ||
                dbase::findTable(RutaDe(carpeta.path()), una.fileName().toStdString()).ok())
                anade(alias, carpeta, una.fileName());
        }
    }
    for (const TNotario &notario : config.Notarios())
        anade(notario.Alias.toUpper(), aliases.folderOf(notario.Alias), QStringLiteral("AGENDA_N.DBF"));
    return tablas;
}

QList<TApartado> ApartadosDeLaOficina(const TConfiguracion &config)
{
    static const QRegularExpression apartado(
        QStringLiteral("^.+\\.(JNL\\.APARTADO|(DBF|MDX|JNL)\\.ANTERIOR)-[0-9]+$"),
        QRegularExpression::CaseInsensitiveOption);
    QList<TApartado> apartados;
    const dataset::Aliases aliases = config.Aliases();
    for (const QString &alias : aliases.names()) {
        const QDir carpeta(aliases.folderOf(alias));
        for (const QFileInfo &uno : carpeta.entryInfoList(QDir::Files | QDir::NoSymLinks, QDir::Name)) {
            if (apartado.match(uno.fileName()).hasMatch())
                apartados << TApartado{alias, uno.fileName(), RutaDe(uno.filePath()), uno.size(),
                                       uno.lastModified()};
        }
    }
    return apartados;
}

QString QuitaApartados(const QList<TApartado> &apartados)
{
    QStringList quedan;
    for (const TApartado &uno : apartados) {
        std::error_code error;
        fs::remove(uno.Fichero, error);
        if (error)
            quedan << QStringLiteral("%1 de %2").arg(uno.Nombre, uno.Alias);
    }
    return quedan.isEmpty()
               ? QString()
               : QStringLiteral("No se ha podido quitar: %1.").arg(quedan.join(QStringLiteral(", ")));
}

TTrabajo::TCuerpo MiraTablas(const QList<TTablaOficina> &tablas)
{
    return UnaAUna(tablas, QStringLiteral("Mirando"), Mira, {});
}

TTrabajo::TCuerpo CompruebaTablas(const QList<TTablaOficina> &tablas)
{
    return UnaAUna(tablas, QStringLiteral("Comprobando"), Comprueba,
                   QStringLiteral("Todas las tablas comprobadas están bien."));
}

TTrabajo::TCuerpo ReparaTablas(const QList<TTablaOficina> &tablas)
{
    return UnaAUna(tablas, QStringLiteral("Reparando"), Repara, QStringLiteral("Las tablas están en orden."));
}

TTrabajo::TCuerpo CompactaTablas(const QList<TTablaOficina> &tablas)
{
    return UnaAUna(tablas, QStringLiteral("Compactando"), Compacta,
                   QStringLiteral("Las tablas están compactadas."));
}

TTrabajo::TCuerpo CopiaTablas(const QList<TTablaOficina> &tablas, const QString &carpeta,
                              const QString &fichero)
{
    return [=](TTrabajo &trabajo) -> TFinal {
        std::vector<upkeep::OfficeTable> ajustes;
        for (const char *const nombre : {"oficina.ini", "CONFIG/VARIOS.INI"}) {
            if (const QString ruta = QDir(carpeta).filePath(QLatin1String(nombre)); QFileInfo::exists(ruta))
                ajustes.push_back({nombre, RutaDe(ruta)});
        }
        const auto suyas = ParaCopia(tablas, true);
        const Status estado = upkeep::backUp(RutaDe(fichero), suyas, ajustes, Paciencia,
                                             AvanceDe(trabajo, QStringLiteral("Copiando...")));
        if (!estado.ok())
            return Fallo(QStringLiteral("No se ha podido hacer la copia."), estado);
        return {QStringLiteral("Copia hecha y leída de nuevo: %1 tablas en «%2».")
                    .arg(suyas.size())
                    .arg(QDir::toNativeSeparators(fichero))};
    };
}

TTrabajo::TCuerpo RestauraTablas(const QList<TTablaOficina> &tablas, const QList<TTablaOficina> &todas,
                                 const QString &fichero, quint64 masBytes)
{
    return [=](TTrabajo &trabajo) -> TFinal {
        const QString nada = QStringLiteral("No se ha restaurado nada.");
        const auto enCopia = upkeep::listArchive(RutaDe(fichero));
        if (!enCopia.ok())
            return Fallo(nada, enCopia.status());
        // Up to here upkeep::restore() looks at the answer; then it replaces tables.
        constexpr int todaviaSePara = 60;
        const auto avance = AvanceDe(trabajo, QStringLiteral("Restaurando..."));
        const auto nombres = upkeep::restore(
            RutaDe(fichero), ParaCopia(tablas, false), Paciencia,
            [&](int porCiento) {
                const bool sigue = avance(porCiento);
                if (porCiento == todaviaSePara && sigue)
                    trabajo.YaNoSePara();
                return sigue;
            },
            masBytes);
        if (!nombres.ok())
            // Of a failure in writing the status itself says what stands where.
            return Fallo(nombres.status().kind() == ErrorKind::inputOutput
                             ? QStringLiteral("No se ha podido restaurar la copia.")
                             : nada,
                         nombres.status());
        return {Balance(trabajo, tablas, todas, Textos(nombres.value()), NombresDe(enCopia.value()))};
    };
}

quint64 MayorTablaDeLaCopia(const QString &fichero, const QList<TTablaOficina> &tablas)
{
    quint64 mayor = 0;
    const auto enCopia = upkeep::listArchive(RutaDe(fichero));
    if (!enCopia.ok())
        return mayor;
    for (const upkeep::ArchivedFile &uno : enCopia.value()) {
        const auto es = [&](const TTablaOficina &una) {
            return NombreEnCopia(una).compare(QString::fromStdString(uno.name), Qt::CaseInsensitive) == 0;
        };
        if (std::any_of(tablas.begin(), tablas.end(), es))
            mayor = std::max<quint64>(mayor, uno.size);
    }
    return mayor;
}

QList<TNotario> NotariosDeLaCopia(const QString &fichero)
{
    const QTemporaryDir carpeta;
    const QString ajustes = TConfiguracion::FicheroDe(carpeta.path());
    if (!carpeta.isValid() ||
        !upkeep::extractFile(RutaDe(fichero), QFileInfo(ajustes).fileName().toStdString(), RutaDe(ajustes),
                             TFicheroIni::MaxBytes)
             .ok())
        return {};
    const TConfiguracion suya(carpeta.path());
    return suya.GetnCuantos() <= TConfiguracion::MaxNotarios ? suya.Notarios() : QList<TNotario>();
}
