#include "agenda/FicheroIni.h"

#include "agenda/Rnumcad.h"
#include "dataset/DatabaseError.h"
#include "dbase/CodePage.h"
#include "dbase/File.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtCore/QThread>

#include <chrono>
#include <filesystem>
#include <system_error>

namespace
{

constexpr int EsperaMs = 1000;
constexpr int PausaMs = 20;

QString DeBytes(QByteArrayView bytes)
{
    const auto *datos = reinterpret_cast<const std::uint8_t *>(bytes.data());
    return QString::fromStdU16String(dbase::decode(dbase::CodePage::windows1252,
                                                   std::span(datos, static_cast<std::size_t>(bytes.size()))));
}

QByteArray ABytes(const QString &texto)
{
    return QByteArray::fromStdString(dbase::encode(
        dbase::CodePage::windows1252, texto.normalized(QString::NormalizationForm_C).toStdU16String()));
}

/// One line of the file: where it is, with and without its end.
struct TLinea {
    qsizetype Inicio = 0;
    qsizetype Fin = 0;       ///< behind the last character of its text
    qsizetype Siguiente = 0; ///< where the next line begins
};

TLinea LineaDesde(const QByteArray &contenido, qsizetype inicio)
{
    TLinea linea{inicio, inicio, inicio};
    while (linea.Fin < contenido.size() && contenido[linea.Fin] != '\n' && contenido[linea.Fin] != '\r')
        ++linea.Fin;
    linea.Siguiente = linea.Fin;
    if (linea.Siguiente < contenido.size() && contenido[linea.Siguiente] == '\r')
        ++linea.Siguiente;
    if (linea.Siguiente < contenido.size() && contenido[linea.Siguiente] == '\n')
        ++linea.Siguiente;
    return linea;
}

bool MismoNombre(const QString &uno, const QString &otro)
{
    return uno.trimmed().compare(otro.trimmed(), Qt::CaseInsensitive) == 0;
}

std::optional<QString> NombreDeSeccion(const QString &linea)
{
    const QString limpia = linea.trimmed();
    if (!limpia.startsWith(u'['))
        return {};
    const qsizetype cierre = limpia.indexOf(u']');
    return cierre < 0 ? limpia.mid(1) : limpia.mid(1, cierre - 1);
}

/// Where a key is, or would go.
struct TLugar {
    bool HaySeccion = false;
    std::optional<TLinea> Clave;
    qsizetype FinDeSeccion = 0; ///< behind the last line of the section that says something
};

TLugar Busca(const QByteArray &contenido, const QString &seccion, const QString &clave)
{
    TLugar lugar;
    for (qsizetype en = 0; en < contenido.size();) {
        const TLinea linea = LineaDesde(contenido, en);
        en = linea.Siguiente;
        const QString texto =
            DeBytes(QByteArrayView(contenido).sliced(linea.Inicio, linea.Fin - linea.Inicio));
        if (const auto nombre = NombreDeSeccion(texto)) {
            if (lugar.HaySeccion)
                return lugar;
            lugar.HaySeccion = MismoNombre(*nombre, seccion);
            lugar.FinDeSeccion = linea.Siguiente;
            continue;
        }
        if (!lugar.HaySeccion || texto.trimmed().isEmpty())
            continue;
        lugar.FinDeSeccion = linea.Siguiente;
        const qsizetype igual = texto.indexOf(u'=');
        const bool comentario = texto.trimmed().startsWith(u';');
        if (!comentario && igual > 0 && MismoNombre(texto.left(igual), clave)) {
            lugar.Clave = linea;
            return lugar;
        }
    }
    return lugar;
}

QByteArray FinDeLinea(const QByteArray &contenido)
{
    const TLinea primera = LineaDesde(contenido, 0);
    const QByteArray fin = contenido.mid(primera.Fin, primera.Siguiente - primera.Fin);
    return fin.isEmpty() ? QByteArrayLiteral("\r\n") : fin;
}

/// Entry of a folder whatever the case of its letters; the name as asked for when there is none.
QString EntradaDe(const QDir &carpeta, const QString &nombre)
{
    if (carpeta.exists(nombre))
        return carpeta.filePath(nombre);
    for (const QString &entrada : carpeta.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)) {
        if (entrada.compare(nombre, Qt::CaseInsensitive) == 0)
            return carpeta.filePath(entrada);
    }
    return carpeta.filePath(nombre);
}

QString RutaReal(const QString &ruta)
{
    const QFileInfo fichero(QDir::fromNativeSeparators(ruta));
    const QFileInfo carpeta(fichero.path());
    return EntradaDe(QDir(EntradaDe(QDir(carpeta.path()), carpeta.fileName())), fichero.fileName());
}

dataset::EDatabaseError NoSePuedeEscribir(const QString &ruta, const QString &causa)
{
    return dataset::EDatabaseError(dbase::Status(
        dbase::ErrorKind::inputOutput, "no se puede escribir: " + causa.toStdString(), ruta.toStdString()));
}

/// Another program may have the file open at this very moment: that passes.
template <class Intento> bool Insiste(Intento &&intento)
{
    for (int esperado = 0; !intento(); esperado += PausaMs) {
        if (esperado >= EsperaMs)
            return false;
        QThread::msleep(PausaMs);
    }
    return true;
}

/// What lies under a name, not what a link of that name leads to.
std::filesystem::file_type ClaseDe(const QString &ruta, std::error_code &error)
{
    return std::filesystem::symlink_status(std::filesystem::path(ruta.toStdU16String()), error).type();
}

/// @return nothing when there is no such file. @throws when it is there and cannot be read to its end, or
/// when nobody can say whether it is there: what is missing would be taken for settings that nobody has made,
/// and lost with the next one that is set.
std::optional<QByteArray> Contenido(const QString &ruta)
{
    QByteArray contenido;
    QString causa;
    bool falta = false;
    bool noSirve = false; // and will not, however long it is tried
    const bool leido = Insiste([&] {
        std::error_code error;
        // Not QFile::exists(), which says no also where the look itself has failed.
        const auto clase = ClaseDe(ruta, error);
        falta = clase == std::filesystem::file_type::not_found;
        if (falta)
            return true;
        if (error) {
            causa = QString::fromStdString(error.message());
            return false;
        }
        // A link might lead to anybody's file, which the next setting would be written into; a pipe keeps one
        // waiting.
        noSirve = clase != std::filesystem::file_type::regular;
        if (noSirve) {
            causa = QStringLiteral("no es un fichero corriente");
            return true;
        }
        QFile fichero(ruta);
        if (!fichero.open(QIODevice::ReadOnly)) {
            causa = fichero.errorString();
            return false;
        }
        const qint64 tamanyo = fichero.size();
        noSirve = tamanyo > TFicheroIni::MaxBytes;
        if (noSirve) {
            causa = QStringLiteral("ocupa %1 MiB, y un fichero de ajustes no pasa de 1")
                        .arg((tamanyo + TFicheroIni::MaxBytes - 1) / TFicheroIni::MaxBytes);
            return true;
        }
        contenido = fichero.read(TFicheroIni::MaxBytes);
        causa = fichero.error() != QFileDevice::NoError
                    ? fichero.errorString()
                    : QStringLiteral("el fichero se acaba antes de tiempo");
        return fichero.error() == QFileDevice::NoError && contenido.size() >= tamanyo;
    });
    if (!leido || noSirve)
        throw dataset::EDatabaseError(dbase::Status(
            dbase::ErrorKind::inputOutput, "no se puede leer: " + causa.toStdString(), ruta.toStdString()));
    if (falta)
        return {};
    return contenido;
}

} // namespace

std::optional<QString> ValorEn(const QByteArray &contenido, const QString &seccion, const QString &clave)
{
    const TLugar lugar = Busca(contenido, seccion, clave);
    if (!lugar.Clave)
        return {};
    const QString linea = DeBytes(
        QByteArrayView(contenido).sliced(lugar.Clave->Inicio, lugar.Clave->Fin - lugar.Clave->Inicio));
    QString valor = linea.mid(linea.indexOf(u'=') + 1).trimmed();
    const bool entreComillas = valor.size() >= 2 && (valor.front() == u'"' || valor.front() == u'\'') &&
                               valor.back() == valor.front();
    return entreComillas ? valor.sliced(1, valor.size() - 2) : valor;
}

QByteArray ConValor(const QByteArray &contenido, const QString &seccion, const QString &clave,
                    const QString &valor)
{
    QString unaLinea = valor;
    unaLinea.replace(u'\r', u' ').replace(u'\n', u' ');
    const bool pideComillas =
        unaLinea != unaLinea.trimmed() || (unaLinea.size() >= 2 && unaLinea.front() == unaLinea.back() &&
                                           (unaLinea.front() == u'"' || unaLinea.front() == u'\''));
    const QByteArray bytes = ABytes(pideComillas ? u'"' + unaLinea + u'"' : unaLinea);
    const QByteArray fin = FinDeLinea(contenido);
    const TLugar lugar = Busca(contenido, seccion, clave);
    QByteArray nuevo = contenido;
    if (lugar.Clave) {
        const qsizetype igual = contenido.indexOf('=', lugar.Clave->Inicio);
        return nuevo.replace(igual + 1, lugar.Clave->Fin - igual - 1, bytes);
    }
    const QByteArray linea = ABytes(clave) + '=' + bytes + fin;
    const qsizetype donde = lugar.HaySeccion ? lugar.FinDeSeccion : contenido.size();
    const bool cortada = donde > 0 && contenido[donde - 1] != '\n' && contenido[donde - 1] != '\r';
    const QByteArray cabecera = lugar.HaySeccion ? QByteArray() : '[' + ABytes(seccion) + ']' + fin;
    return nuevo.insert(donde, (cortada ? fin : QByteArray()) + cabecera + linea);
}

TFicheroIni::TFicheroIni(const QString &ruta)
    : m_ruta(RutaReal(ruta))
{
}

std::optional<QString> TFicheroIni::Lee(const QString &seccion, const QString &clave) const
{
    const auto contenido = Contenido(m_ruta);
    return contenido ? ValorEn(*contenido, seccion, clave) : std::nullopt;
}

int TFicheroIni::LeeEntero(const QString &seccion, const QString &clave, int porDefecto) const
{
    const QString texto = Lee(seccion, clave).value_or(QString()).trimmed();
    bool bien = false;
    const int valor = texto.startsWith(u'$') ? texto.mid(1).toInt(&bien, 16) : texto.toInt(&bien);
    return bien ? valor : porDefecto;
}

bool TFicheroIni::LeeLogico(const QString &seccion, const QString &clave, bool porDefecto) const
{
    return LeeEntero(seccion, clave, porDefecto ? 1 : 0) != 0;
}

void TFicheroIni::Escribe(const QString &seccion, const QString &clave, const QString &valor)
{
    Escribe({{seccion, clave, valor}});
}

void TFicheroIni::Escribe(const QList<TValorIni> &valores)
{
    Cambia([&](const QByteArray & /*contenido*/) { return valores; });
}

void TFicheroIni::Cambia(const std::function<QList<TValorIni>(const QByteArray &)> &decide)
{
    const QFileInfo fichero(m_ruta);
    if (!QDir().mkpath(fichero.path()))
        throw NoSePuedeEscribir(m_ruta, QStringLiteral("no se puede crear la carpeta"));
    // Two workstations that set different values at the same time must both find theirs afterwards.
    const QString rutaCerrojo = m_ruta + QStringLiteral(".lck");
    std::error_code error; // whoever asks for the lock meets what it is about
    const auto clase = ClaseDe(rutaCerrojo, error);
    if (clase != std::filesystem::file_type::not_found && clase != std::filesystem::file_type::regular)
        throw NoSePuedeEscribir(rutaCerrojo, QStringLiteral("no es un fichero corriente"));
    QLockFile cerrojo(rutaCerrojo);
    cerrojo.setStaleLockTime(std::chrono::seconds(10));
    if (!cerrojo.tryLock(std::chrono::milliseconds(2 * EsperaMs)))
        throw NoSePuedeEscribir(m_ruta, cerrojo.error() == QLockFile::LockFailedError
                                            ? QStringLiteral("lo está usando otro puesto")
                                            : QStringLiteral("no se puede escribir en su carpeta"));
    const QByteArray antes = Contenido(m_ruta).value_or(QByteArray());
    QByteArray despues = antes;
    for (const TValorIni &uno : decide(antes))
        despues = ConValor(despues, uno.Seccion, uno.Clave, uno.Valor);
    if (despues == antes)
        return;
    QString causa;
    const bool escrito = Insiste([&] {
        const auto estado = dbase::replaceContent(
            m_ruta.toStdU16String(), std::span(reinterpret_cast<const std::uint8_t *>(despues.constData()),
                                               static_cast<std::size_t>(despues.size())));
        causa = QString::fromStdString(estado.text());
        return estado.ok();
    });
    if (!escrito)
        throw NoSePuedeEscribir(m_ruta, causa);
}

void TFicheroIni::EscribeEntero(const QString &seccion, const QString &clave, int valor)
{
    Escribe(seccion, clave, Int_Cad(valor));
}

void TFicheroIni::EscribeLogico(const QString &seccion, const QString &clave, bool valor)
{
    Escribe(seccion, clave, valor ? QStringLiteral("1") : QStringLiteral("0"));
}
