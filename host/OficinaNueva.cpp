#include "host/OficinaNueva.h"

#include "agenda/AgendaNDM.h"
#include "agenda/FicheroIni.h"
#include "agenda/Rnumcad.h"
#include "dataset/DatabaseError.h"
#include "host/AgendaUnica.h"
#include "host/Configuracion.h"
#include "host/TablasOficina.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>

using dataset::DbfTable;

namespace
{

const QString AliasComun = QStringLiteral("ZENTRA");

QString AliasDe(int notario)
{
    return QStringLiteral("NOTARIO%1").arg(notario);
}

dataset::EDatabaseError NoSePuede(const QString &porque)
{
    return dataset::EDatabaseError(porque, dbase::ErrorKind::inputOutput);
}

void CreaComunes(const dataset::Aliases &aliases, const TOficinaNueva &oficina)
{
    DbfTable comun(aliases);
    PreparaTablaComun(comun, AliasComun);
    CreaTablaSiFalta(comun, aliases, CamposComun());
    comun.open();
    AnadeLinea(comun, {"AGENDA", "HoraInicio", Int_Cad(oficina.HoraInicio)});
    AnadeLinea(comun, {"AGENDA", "HoraFin", Int_Cad(oficina.HoraFin)});
    AnadeLinea(comun, {"AGENDA", "intervalo", Int_Cad(oficina.Intervalo)});

    DbfTable empleados(aliases);
    PreparaTablaEmpleados(empleados, AliasComun);
    CreaTablaSiFalta(empleados, aliases, CamposEmpleados());
    empleados.open();
    for (int i = 0; i < oficina.Oficiales.size(); ++i)
        AnadeLinea(empleados, {i + 1, oficina.Oficiales.at(i), i == 0 ? "Oficial mayor" : "Oficial"});

    DbfTable clientes(aliases);
    PreparaTablaClientes(clientes, AliasComun);
    CreaTablaSiFalta(clientes, aliases, CamposClientes());
}

/// The names that an office takes in its folder, the configuration last.
QStringList EntradasDe(const QString &carpeta)
{
    const QString configuracion = QFileInfo(TConfiguracion::FicheroDe(carpeta)).fileName();
    QStringList entradas = QDir(carpeta).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    entradas.removeAll(configuracion);
    return entradas << configuracion;
}

const QString NombreOculto = QStringLiteral(".oficina-XXXXXX");

/// A folder itself, no link to one.
bool EsCarpeta(const QFileInfo &entrada)
{
    return entrada.isDir() && !entrada.isSymLink() && !entrada.isJunction();
}

/// Whether an office is, or was, being made in an entry.
bool EsOculta(const QFileInfo &entrada)
{
    static const QRegularExpression oculto(QStringLiteral("^\\.oficina-[A-Za-z]{6}$"));
    return EsCarpeta(entrada) && oculto.match(entrada.fileName()).hasMatch();
}

/// What is in a folder and is somebody's: not what desktops and file systems put into every folder, and not
/// what an interrupted start has left.
QStringList Ajenas(const QString &carpeta)
{
    static const QStringList deTodas{QStringLiteral("desktop.ini"), QStringLiteral("Thumbs.db"),
                                     QStringLiteral(".DS_Store"), QStringLiteral(".directory"),
                                     QStringLiteral("lost+found")};
    QStringList ajenas;
    for (const QFileInfo &una :
         QDir(carpeta).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        if (!EsOculta(una) && !deTodas.contains(una.fileName(), Qt::CaseInsensitive))
            ajenas << una.fileName();
    }
    return ajenas;
}

constexpr QDir::Filters Todo = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;

/// Takes the files of those names away, and then the folder when nothing else is in it.
void QuitaCarpeta(const QString &carpeta, const QRegularExpression &nombres)
{
    for (const QFileInfo &uno : QDir(carpeta).entryInfoList(Todo)) {
        if (nombres.match(uno.fileName()).hasMatch() && uno.isFile() && !uno.isSymLink())
            QFile::remove(uno.filePath());
    }
    QDir().rmdir(carpeta);
}

/// Takes away what an office being made has put into its hidden folder. Whatever else is there is somebody's,
/// and then the folder stays as well.
void QuitaOculta(const QString &oculta)
{
    static const QRegularExpression carpetas(QStringLiteral("^(ZENTRA|DB|CONFIG|NOTARIO[0-9]+)$"));
    static const QRegularExpression ficheros(QStringLiteral(
        "^([A-Z0-9_]+\\.(DBF|MDX|JNL|PCK)|(oficina|VARIOS)\\.(ini|INI)(\\.lck|\\.[A-Za-z0-9]{6})?)$"));
    for (const QFileInfo &una : QDir(oculta).entryInfoList(Todo)) {
        if (EsCarpeta(una) && carpetas.match(una.fileName()).hasMatch())
            QuitaCarpeta(una.filePath(), ficheros);
    }
    QuitaCarpeta(oculta, ficheros);
}

/// Takes away what interrupted starts have left; what has just been written may be another workstation's.
void QuitaRestos(const QString &carpeta)
{
    constexpr qint64 SegundosSeguros = 3600;
    for (const QFileInfo &una :
         QDir(carpeta).entryInfoList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)) {
        if (EsOculta(una) && una.lastModified().secsTo(QDateTime::currentDateTime()) > SegundosSeguros)
            QuitaOculta(una.filePath());
    }
}

/// Folders made on the way to a new one, to be taken away again.
class TCarpetaNueva
{
public:
    explicit TCarpetaNueva(const QString &carpeta)
    {
        for (QString falta = QDir(carpeta).absolutePath(); !QFileInfo::exists(falta);
             falta = QFileInfo(falta).absolutePath())
            m_faltaban << falta;
        if (!QDir().mkpath(carpeta)) {
            Deshaz();
            throw NoSePuede(
                QStringLiteral("No se puede crear la carpeta «%1».").arg(QDir::toNativeSeparators(carpeta)));
        }
    }
    ~TCarpetaNueva() { Deshaz(); }
    TCarpetaNueva(const TCarpetaNueva &) = delete;
    TCarpetaNueva &operator=(const TCarpetaNueva &) = delete;
    void Conserva() { m_faltaban.clear(); }

private:
    void Deshaz()
    {
        for (const QString &una : std::as_const(m_faltaban))
            QDir().rmdir(una);
    }
    QStringList m_faltaban; ///< the innermost first
};

/// Moves everything from one folder to the other; all of it or nothing.
void Traslada(const QString &de, const QString &a)
{
    QStringList trasladadas;
    for (const QString &entrada : EntradasDe(de)) {
        if (QFile::rename(QDir(de).filePath(entrada), QDir(a).filePath(entrada))) {
            trasladadas << entrada;
            continue;
        }
        for (const QString &una : std::as_const(trasladadas))
            QFile::rename(QDir(a).filePath(una), QDir(de).filePath(una));
        throw NoSePuede(QStringLiteral("No se puede poner «%1» en la carpeta «%2».")
                            .arg(entrada, QDir::toNativeSeparators(a)));
    }
}

} // namespace

dataset::Aliases CreaTablasDeOficina(const QString &carpeta, const TOficinaNueva &oficina)
{
    dataset::Aliases aliases;
    aliases.add(AliasComun, QDir(carpeta).absoluteFilePath(AliasComun));
    aliases.add(QStringLiteral("DB"), QDir(carpeta).absoluteFilePath(QStringLiteral("DB")));
    CreaComunes(aliases, oficina);
    for (int notario = 1; notario <= oficina.Notarios.size(); ++notario) {
        const QString alias = AliasDe(notario);
        aliases.add(alias, QDir(carpeta).absoluteFilePath(alias));
        DbfTable agenda(aliases);
        agenda.setDatabaseName(alias);
        PreparaTablaAgendaN(agenda);
        CreaTablaSiFalta(agenda, aliases, CamposAgendaN());
    }
    TAjustesUnica unica;
    unica.HoraInicio = oficina.HoraInicio;
    unica.HoraFin = oficina.HoraFin;
    unica.Intervalo = oficina.Intervalo;
    if (oficina.Convenio)
        unica.Notarios = oficina.Notarios.mid(0, 2);
    CreaAgendaUnica(aliases, unica);
    return aliases;
}

void CreaConfiguracionDeOficina(const QString &carpeta, const TOficinaNueva &oficina)
{
    TFicheroIni varios(carpeta + QStringLiteral("/CONFIG/VARIOS.INI"));
    varios.EscribeEntero(QStringLiteral("IncrementoMin"), QStringLiteral("AGENDASALIDA"),
                         qMin(oficina.Intervalo, 15));
    varios.EscribeLogico(QStringLiteral("AGENDA"), QStringLiteral("SincronizarDia"), true);
    varios.Escribe(QStringLiteral("COLOR"), QStringLiteral("AGENDASALIDA"), oficina.ColorSalida);
    const QString seccion = QStringLiteral("Oficina");
    QList<TValorIni> valores{
        {seccion, QStringLiteral("Notarios"), Int_Cad(static_cast<int>(oficina.Notarios.size()))},
        {seccion, QStringLiteral("AliasZentra"), AliasComun},
        {seccion, QStringLiteral("Don"), QStringLiteral("D.")},
        {seccion, QStringLiteral("Nombre"), oficina.Notarios.value(0)},
        {seccion, QStringLiteral("FechaInicio"), Date_Cad(oficina.Hoy)}};
    for (int notario = 1; notario <= oficina.Notarios.size(); ++notario) {
        const QString suya = QStringLiteral("Notario%1").arg(notario);
        valores << TValorIni{suya, QStringLiteral("Nombre"), oficina.Notarios.at(notario - 1)}
                << TValorIni{suya, QStringLiteral("Alias"), AliasDe(notario)};
    }
    TFicheroIni(TConfiguracion::FicheroDe(carpeta)).Escribe(valores);
}

QString PorQueNoSirve(const QString &carpeta)
{
    if (carpeta.trimmed().isEmpty())
        return QStringLiteral("Falta el nombre de la carpeta.");
    const QString nombre = QDir::toNativeSeparators(QDir(carpeta).absolutePath());
    if (QFileInfo::exists(TConfiguracion::FicheroDe(carpeta)))
        return QStringLiteral("La carpeta «%1» ya contiene una oficina.").arg(nombre);
    if (const QStringList ajenas = Ajenas(carpeta); !ajenas.isEmpty())
        return QStringLiteral("La carpeta «%1» no está vacía: contiene «%2»%3. Elija otra, o escriba el "
                              "nombre de una nueva.")
            .arg(nombre, ajenas.front(),
                 ajenas.size() == 1 ? QString() : QStringLiteral(" y %1 más").arg(ajenas.size() - 1));
    QFileInfo raiz(QDir(carpeta).absolutePath());
    while (!raiz.exists())
        raiz = QFileInfo(raiz.absolutePath());
    if (!raiz.isDir())
        return QStringLiteral("«%1» no es una carpeta.").arg(QDir::toNativeSeparators(raiz.filePath()));
    // The only sure way to know is to try.
    if (!QTemporaryDir(QDir(raiz.filePath()).filePath(NombreOculto)).isValid())
        return QStringLiteral("No se puede escribir en la carpeta «%1».")
            .arg(QDir::toNativeSeparators(raiz.filePath()));
    return {};
}

void CreaEnSuSitio(const QString &carpeta, const std::function<void(const QString &)> &haz)
{
    if (const QString porque = PorQueNoSirve(carpeta); !porque.isEmpty())
        throw NoSePuede(porque);
    TCarpetaNueva sitio(carpeta);
    // In the same folder, so that moving is renaming.
    QuitaRestos(carpeta);
    const QTemporaryDir oculta(QDir(carpeta).filePath(NombreOculto));
    if (!oculta.isValid())
        throw NoSePuede(QStringLiteral("No se puede escribir en la carpeta «%1».")
                            .arg(QDir::toNativeSeparators(carpeta)));
    haz(oculta.path());
    Traslada(oculta.path(), carpeta);
    sitio.Conserva();
}
