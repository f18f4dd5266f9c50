#include "host/Configuracion.h"

#include "agenda/FicheroIni.h"
#include "agenda/Rnumcad.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace
{
const QString SeccionOficina = QStringLiteral("Oficina");
const QString ClaveFechaInicio = QStringLiteral("FechaInicio");
const QString SeccionCodigos = QStringLiteral("Codigos");

std::optional<qint64> CodigoEn(const std::optional<QString> &texto)
{
    bool bien = false;
    const qint64 codigo = texto.value_or(QString()).toLongLong(&bien);
    return bien ? std::optional(codigo) : std::nullopt;
}

int NotariosQueConstan(const QString &fichero)
{
    return TFicheroIni(fichero).LeeEntero(SeccionOficina, QStringLiteral("Notarios"), 0);
}
} // namespace

QString TConfiguracion::FicheroDe(const QString &carpeta)
{
    return QDir(carpeta).filePath(QStringLiteral("oficina.ini"));
}

TConfiguracion::TConfiguracion(const QString &carpeta)
    : m_carpeta(QDir(carpeta).absolutePath() + u'/')
{
    if (!QFileInfo::exists(FicheroDe(m_carpeta)))
        throw dataset::EDatabaseError(
            QStringLiteral(
                "La carpeta «%1» no contiene los datos de una oficina: falta el fichero oficina.ini.")
                .arg(QDir::toNativeSeparators(m_carpeta)),
            dbase::ErrorKind::notFound);
    if (const int notarios = NotariosQueConstan(FicheroDe(m_carpeta)); notarios > MasNotariosAnotados)
        throw dataset::EDatabaseError(
            QStringLiteral(
                "El fichero oficina.ini de «%1» dice que hay %2 notarios; corríjalo antes de abrir la "
                "oficina.")
                .arg(QDir::toNativeSeparators(m_carpeta))
                .arg(notarios),
            dbase::ErrorKind::damaged);
}

QString TConfiguracion::Lee(const QString &seccion, const QString &clave, const QString &porDefecto) const
{
    return TFicheroIni(FicheroDe(m_carpeta)).Lee(seccion, clave).value_or(porDefecto);
}

int TConfiguracion::GetnCuantos() const
{
    // Others may have spoilt the file since it was opened.
    return std::clamp(NotariosQueConstan(FicheroDe(m_carpeta)), 0, MasNotariosAnotados);
}

QString TConfiguracion::GetAliasZentra() const
{
    return Lee(SeccionOficina, QStringLiteral("AliasZentra"), QStringLiteral("ZENTRA"));
}

QString TConfiguracion::GetNombre1() const
{
    return Lee(SeccionOficina, QStringLiteral("Nombre"));
}
QString TConfiguracion::GetDon() const
{
    return Lee(SeccionOficina, QStringLiteral("Don"));
}

QStringList TConfiguracion::GetNotarios() const
{
    QStringList nombres;
    for (int notario = 1, cuantos = GetnCuantos(); notario <= cuantos; ++notario)
        nombres << Lee(QStringLiteral("Notario%1").arg(notario), QStringLiteral("Nombre"),
                       QStringLiteral("Notario %1").arg(notario));
    return nombres;
}

QString TConfiguracion::GetPath() const
{
    return m_carpeta;
}

QDate TConfiguracion::GetAgenda_FechaInicio() const
{
    const QString texto = Lee(SeccionOficina, ClaveFechaInicio);
    return texto.isEmpty() ? QDate() : Cad_Date(texto);
}

void TConfiguracion::SetAgenda_FechaInicio(QDate fecha)
{
    TFicheroIni(FicheroDe(m_carpeta)).Escribe(SeccionOficina, ClaveFechaInicio, Date_Cad(fecha));
}

QString TConfiguracion::GetPrnOtros() const
{
    return Lee(SeccionOficina, QStringLiteral("PrnOtros"));
}

QString TConfiguracion::AliasNotario(int notario) const
{
    return Lee(QStringLiteral("Notario%1").arg(notario), QStringLiteral("Alias"),
               QStringLiteral("NOTARIO%1").arg(notario));
}

QList<TNotario> TConfiguracion::Notarios() const
{
    QList<TNotario> notarios;
    QStringList nombres = GetNotarios();
    if (nombres.isEmpty())
        nombres << GetNombre1();
    for (int notario = 1; notario <= nombres.size(); ++notario)
        notarios << TNotario{nombres.at(notario - 1), AliasNotario(notario)};
    return notarios;
}

void TConfiguracion::SetNotarios(const QList<TNotario> &notarios, const QList<TNotario> &vistos)
{
    QList<TValorIni> valores{
        {SeccionOficina, QStringLiteral("Notarios"), Int_Cad(static_cast<int>(notarios.size()))}};
    for (int notario = 1; notario <= notarios.size(); ++notario) {
        const QString suya = QStringLiteral("Notario%1").arg(notario);
        valores << TValorIni{suya, QStringLiteral("Nombre"), notarios.at(notario - 1).Nombre}
                << TValorIni{suya, QStringLiteral("Alias"), notarios.at(notario - 1).Alias};
    }
    TFicheroIni(FicheroDe(m_carpeta)).Cambia([&](const QByteArray & /*contenido*/) {
        if (Notarios() != vistos)
            throw dataset::EDatabaseError(
                QStringLiteral("Otro puesto ha cambiado los notarios; la lista se ha vuelto a leer."),
                dbase::ErrorKind::conflict);
        return valores;
    });
}

std::optional<qint64> TConfiguracion::MayorCodigo(const QString &lista) const
{
    return CodigoEn(TFicheroIni(FicheroDe(m_carpeta)).Lee(SeccionCodigos, lista));
}

qint64 TConfiguracion::AnotaCodigo(const QString &lista, qint64 codigo, int paso)
{
    qint64 mayor = 0;
    TFicheroIni(FicheroDe(m_carpeta)).Cambia([&](const QByteArray &contenido) {
        mayor = std::max(codigo, CodigoEn(ValorEn(contenido, SeccionCodigos, lista)).value_or(0)) + paso;
        return QList<TValorIni>{{SeccionCodigos, lista, QString::number(mayor)}};
    });
    return mayor;
}

QString TConfiguracion::CarpetaDeAlias(const QString &alias) const
{
    return QDir(m_carpeta).absoluteFilePath(Lee(QStringLiteral("Alias"), alias, alias));
}

dataset::Aliases TConfiguracion::Aliases() const
{
    QStringList nombres{GetAliasZentra(), QStringLiteral("DB")}; // DB: the single-table agenda's
    for (int notario = 1, cuantos = std::max(1, GetnCuantos()); notario <= cuantos; ++notario)
        nombres << AliasNotario(notario);
    dataset::Aliases aliases;
    for (const QString &nombre : std::as_const(nombres))
        aliases.add(nombre, CarpetaDeAlias(nombre));
    return aliases;
}

QString PorQueNoSirveElAlias(const QString &alias)
{
    static const QRegularExpression valido(QStringLiteral("^[A-Z][A-Z0-9_]{0,19}$"));
    if (!valido.match(alias).hasMatch())
        return QStringLiteral("El alias empieza por una letra y solo lleva letras sin acento, cifras y "
                              "guiones bajos.");
    // The settings' folder, and names that on Windows are devices in every folder.
    static const QRegularExpression reservado(QStringLiteral("^(CONFIG|CON|NUL|AUX|PRN|COM[0-9]|LPT[0-9])$"));
    if (reservado.match(alias).hasMatch())
        return QStringLiteral("El alias «%1» está reservado; elija otro.").arg(alias);
    return {};
}
