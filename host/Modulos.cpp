#include "host/Modulos.h"

#include "dataset/DatabaseError.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QJsonObject>

namespace
{

dataset::EDatabaseError NoSirve(const QString &porque)
{
    return dataset::EDatabaseError(
        QStringLiteral("No se puede cargar el módulo de la agenda: %1").arg(porque));
}

} // namespace

TModuloAgenda::TModuloAgenda(const TServicios &servicios)
{
    // Beside the program, by its whole path: a relative one would be searched for in Qt's folders.
    const QDir carpeta(QCoreApplication::applicationDirPath());
    const QStringList candidatos = carpeta.entryList({"libZenAgenda.*", "ZenAgenda.*"}, QDir::Files);
    if (candidatos.isEmpty())
        throw NoSirve(QStringLiteral("no está junto al programa."));
    m_cargador.setFileName(carpeta.absoluteFilePath(candidatos.front()));
    if (m_cargador.metaData().value(QStringLiteral("IID")).toString() != QStringLiteral(IZenAgenda_iid))
        throw NoSirve(QStringLiteral("el fichero no es el módulo esperado."));
    m_modulo = qobject_cast<IZenAgenda *>(m_cargador.instance());
    if (!m_modulo)
        throw NoSirve(m_cargador.errorString());
    if (m_modulo->Version() != IZenAgenda::VersionInterfaz || !m_modulo->Registra(servicios)) {
        m_cargador.unload();
        throw NoSirve(QStringLiteral("es de otra versión."));
    }
}

TModuloAgenda::~TModuloAgenda()
{
    if (m_modulo->Libera())
        m_cargador.unload();
}
