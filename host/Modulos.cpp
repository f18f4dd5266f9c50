#include "host/Modulos.h"

#include "dataset/DatabaseError.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QJsonObject>
#include <QtCore/QLibrary>

namespace
{

dataset::EDatabaseError NoSirve(const QString &porque)
{
    return dataset::EDatabaseError(
        QStringLiteral("No se puede cargar el módulo de la agenda: %1").arg(porque));
}

/// By its whole path: a relative one would be searched for in Qt's folders.
QString FicheroDelModulo()
{
    const QDir programa(QCoreApplication::applicationDirPath());
    for (const QString &carpeta : {QStringLiteral("."), QStringLiteral("../lib/oficina/agenda")}) {
        const QDir sitio(programa.absoluteFilePath(carpeta));
        for (const QString &candidato : sitio.entryList({"libZenAgenda.*", "ZenAgenda.*"}, QDir::Files)) {
            if (QLibrary::isLibrary(candidato)) // not its debug symbols, nor a linker's list
                return QDir::cleanPath(sitio.absoluteFilePath(candidato));
        }
    }
    throw NoSirve(QStringLiteral("no está junto al programa."));
}

} // namespace

TModuloAgenda::TModuloAgenda(const TServicios &servicios, const QString &fichero)
    : m_cargador(fichero.isEmpty() ? FicheroDelModulo() : fichero)
{
    if (m_cargador.metaData().value(QStringLiteral("IID")).toString() != QStringLiteral(IZenAgenda_iid))
        throw NoSirve(QStringLiteral("el fichero «%1» no es el módulo esperado.")
                          .arg(QDir::toNativeSeparators(m_cargador.fileName())));
    m_modulo = qobject_cast<IZenAgenda *>(m_cargador.instance());
    if (!m_modulo) {
        const QString porque = m_cargador.isLoaded()
                                   ? QStringLiteral("su objeto no es el de un módulo de la agenda.")
                                   : m_cargador.errorString();
        m_cargador.unload();
        throw NoSirve(porque);
    }
    if (const int version = m_modulo->Version(); version != IZenAgenda::VersionInterfaz) {
        m_cargador.unload();
        throw NoSirve(
            QStringLiteral("es de la versión %1 y este programa trabaja con la %2. Instale el programa y el "
                           "módulo de la misma entrega.")
                .arg(version)
                .arg(IZenAgenda::VersionInterfaz));
    }
    if (!m_modulo->Registra(servicios)) {
        m_cargador.unload();
        throw NoSirve(QStringLiteral("ya está en uso, o al programa le falta un servicio."));
    }
}

TModuloAgenda::~TModuloAgenda()
{
    if (m_modulo->Libera())
        m_cargador.unload();
}
