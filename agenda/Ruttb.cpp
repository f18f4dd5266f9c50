#include "agenda/Ruttb.h"

#include "agenda/Avisos.h"
#include "agenda/host/Servicios.h"

#include <QtCore/QLoggingCategory>

using dataset::DataSet;

namespace
{
Q_LOGGING_CATEGORY(registroTablas, "agenda.motor")
} // namespace

bool TBBusca(dataset::DataSet &tabla, const dataset::Key &clave, bool exacta)
{
    return tabla.locate(clave, exacta ? dataset::SearchMode::exact : dataset::SearchMode::nearest);
}

bool TBRango(dataset::DataSet &tabla, const dataset::Key &desde, const dataset::Key &hasta)
{
    return tabla.setRange(desde, hasta);
}

void TBPost(dataset::DataSet &tabla)
{
    tabla.post();
}
void TBDelete(dataset::DataSet &tabla)
{
    tabla.remove();
}
void TBIndexa(const QString &campos, dataset::DataSet &tabla)
{
    tabla.setIndexFieldNames(campos);
}

std::unique_ptr<dataset::DbfTable> CreaTabla(const QString &alias, const QString &tabla,
                                             const QString &indice, bool abrir, bool soloLectura)
{
    auto cursor = std::make_unique<dataset::DbfTable>(*Servicios().Aliases);
    cursor->setDatabaseName(alias);
    cursor->setTableName(tabla);
    cursor->setIndexFieldNames(indice);
    cursor->setOpenReadOnly(soloLectura);
    if (abrir)
        cursor->open();
    return cursor;
}

void AbreTabla(DataSet &tabla)
{
    tabla.open();
    CuentaAvisosDe(tabla);
}

void CierraTabla(DataSet &tabla)
{
    try {
        tabla.close();
    } catch (const std::exception &error) {
        qCWarning(registroTablas, "Closing the agenda: %s", error.what());
        CancelaSinPreguntar(tabla);
    }
}

TMientrasAbierta::~TMientrasAbierta()
{
    CancelaSinPreguntar(m_tabla);
    CierraTabla(m_tabla);
}

void CuentaAvisosDe(DataSet &tabla)
{
    const QString aviso = tabla.takeNotice();
    if (aviso.isEmpty())
        return;
    qCWarning(registroTablas, "%s", qUtf8Printable(aviso));
    AvisaMotor(aviso, {}, TituloAtencionPuntos);
}

void CancelaSinPreguntar(DataSet &tabla)
{
    try {
        if (tabla.isActive())
            tabla.cancel();
    } catch (const std::exception &error) {
        qCWarning(registroTablas, "The pending change could not be dropped: %s", error.what());
    }
}
