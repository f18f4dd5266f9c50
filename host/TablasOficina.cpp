#include "host/TablasOficina.h"

#include "agenda/AgendaNDM.h"
#include "dataset/DatabaseError.h"
#include "dbase/Table.h"
#include "host/Configuracion.h"

#include <QtCore/QDir>

using dataset::DbfTable;
using dataset::FieldInfo;
using dataset::FieldKind;

namespace
{

void Prepara(DbfTable &tabla, const QString &alias, const QString &nombre)
{
    tabla.setDatabaseName(alias);
    tabla.setTableName(nombre);
}

void OrdenaPorNombre(DbfTable &tabla)
{
    const QString campo = QStringLiteral("NOMBRE");
    tabla.addIndexDefinition(campo, QStringLiteral("UPPER(NOMBRE)"));
    tabla.setIndexFieldNames(campo);
}

} // namespace

const QList<FieldInfo> &CamposComun()
{
    static const QList<FieldInfo> campos{
        {"PROGRAMA", FieldKind::text, 10}, {"NOMBRE", FieldKind::text, 20}, {"VALOR", FieldKind::text, 60}};
    return campos;
}

const QList<FieldInfo> &CamposEmpleados()
{
    static const QList<FieldInfo> campos{
        {"CODIGO", FieldKind::integer, 6}, {"NOMBRE", FieldKind::text, 40}, {"CARGO", FieldKind::text, 30}};
    return campos;
}

const QList<FieldInfo> &CamposClientes()
{
    static const QList<FieldInfo> campos{
        {"CODIGO", FieldKind::integer, 8},  {"NOMBRE", FieldKind::text, 100},
        {"NIF", FieldKind::text, 12},       {"TELEFONO", FieldKind::text, 15},
        {"DIRECCION", FieldKind::text, 60}, {"POBLACION", FieldKind::text, 40}};
    return campos;
}

void PreparaTablaComun(DbfTable &tabla, const QString &alias)
{
    Prepara(tabla, alias, QStringLiteral("VA_COMUN"));
}

void PreparaTablaEmpleados(DbfTable &tabla, const QString &alias)
{
    Prepara(tabla, alias, QStringLiteral("EMPLEADO"));
    OrdenaPorNombre(tabla);
}

void PreparaTablaClientes(DbfTable &tabla, const QString &alias)
{
    Prepara(tabla, alias, QStringLiteral("CLIENTES"));
    OrdenaPorNombre(tabla);
    tabla.addIndexDefinition(QStringLiteral("CODIGO"), QStringLiteral("CODIGO"));
}

bool CreaTablaSiFalta(DbfTable &tabla, const dataset::Aliases &aliases, const QList<FieldInfo> &campos)
{
    const QString carpeta = aliases.folderOf(tabla.databaseName());
    if (!QDir().mkpath(carpeta))
        throw dataset::EDatabaseError(
            QStringLiteral("No se puede crear la carpeta «%1».").arg(QDir::toNativeSeparators(carpeta)),
            dbase::ErrorKind::inputOutput);
    const auto hay =
        dbase::findTable(std::filesystem::path(carpeta.toStdU16String()), tabla.tableName().toStdString());
    if (hay.ok())
        return false;
    if (hay.status().kind() != dbase::ErrorKind::notFound)
        throw dataset::EDatabaseError(hay.status());
    tabla.createFile(campos);
    return true;
}

bool CreaAgendaDeNotario(const TConfiguracion &config, const QString &alias)
{
    dataset::Aliases aliases;
    aliases.add(alias, config.CarpetaDeAlias(alias));
    DbfTable agenda(aliases);
    agenda.setDatabaseName(alias);
    PreparaTablaAgendaN(agenda);
    return CreaTablaSiFalta(agenda, aliases, CamposAgendaN());
}

void AnadeLinea(dataset::DataSet &tabla, const QList<QVariant> &valores)
{
    tabla.append();
    for (int campo = 0; campo < valores.size(); ++campo)
        tabla.field(campo).setValue(valores.at(campo));
    tabla.post();
}
