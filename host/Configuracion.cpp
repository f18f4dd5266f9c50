#include "host/Configuracion.h"

#include "agenda/FicheroIni.h"
#include "agenda/Rnumcad.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

namespace
{
const QString SeccionOficina = QStringLiteral("Oficina");
const QString ClaveFechaInicio = QStringLiteral("FechaInicio");
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
}

QString TConfiguracion::Lee(const QString &seccion, const QString &clave, const QString &porDefecto) const
{
    return TFicheroIni(FicheroDe(m_carpeta)).Lee(seccion, clave).value_or(porDefecto);
}

int TConfiguracion::GetnCuantos() const
{
    return TFicheroIni(FicheroDe(m_carpeta)).LeeEntero(SeccionOficina, QStringLiteral("Notarios"), 0);
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
    for (int notario = 1; notario <= GetnCuantos(); ++notario)
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

void TConfiguracion::SetNotarios(const QList<TNotario> &notarios)
{
    QList<TValorIni> valores{
        {SeccionOficina, QStringLiteral("Notarios"), Int_Cad(static_cast<int>(notarios.size()))}};
    for (int notario = 1; notario <= notarios.size(); ++notario) {
        const QString suya = QStringLiteral("Notario%1").arg(notario);
        valores << TValorIni{suya, QStringLiteral("Nombre"), notarios.at(notario - 1).Nombre}
                << TValorIni{suya, QStringLiteral("Alias"), notarios.at(notario - 1).Alias};
    }
    TFicheroIni(FicheroDe(m_carpeta)).Escribe(valores);
}

QString TConfiguracion::CarpetaDeAlias(const QString &alias) const
{
    return QDir(m_carpeta).absoluteFilePath(Lee(QStringLiteral("Alias"), alias, alias));
}

dataset::Aliases TConfiguracion::Aliases() const
{
    QStringList nombres{GetAliasZentra(), QStringLiteral("DB")}; // DB: the single-table agenda's
    for (int notario = 1; notario <= std::max(1, GetnCuantos()); ++notario)
        nombres << AliasNotario(notario);
    dataset::Aliases aliases;
    for (const QString &nombre : std::as_const(nombres))
        aliases.add(nombre, CarpetaDeAlias(nombre));
    return aliases;
}
