#pragma once

#include "dataset/DbfTable.h"

class TConfiguracion;

/// Fields of the tables that the office shares, for creating them.
[[nodiscard]] const QList<dataset::FieldInfo> &CamposComun();
[[nodiscard]] const QList<dataset::FieldInfo> &CamposEmpleados();
[[nodiscard]] const QList<dataset::FieldInfo> &CamposClientes();

// Each gives a closed cursor its table's name, database and indexes.
void PreparaTablaComun(dataset::DbfTable &tabla, const QString &alias);
/// Ordered by name.
void PreparaTablaEmpleados(dataset::DbfTable &tabla, const QString &alias);
/// Ordered by name; "CODIGO" is another order.
void PreparaTablaClientes(dataset::DbfTable &tabla, const QString &alias);

/// Makes the folder of a cursor's database and the table that is to be in it where they are missing; the
/// cursor stays closed. @return whether there was no such table. @throws dataset::EDatabaseError
bool CreaTablaSiFalta(dataset::DbfTable &tabla, const dataset::Aliases &aliases,
                      const QList<dataset::FieldInfo> &campos);

/// Makes the agenda of a notary where it is missing. @return whether there was none.
/// @throws dataset::EDatabaseError
bool CreaAgendaDeNotario(const TConfiguracion &config, const QString &alias);

/// Adds a line with values for its first fields.
void AnadeLinea(dataset::DataSet &tabla, const QList<QVariant> &valores);
