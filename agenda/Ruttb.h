#pragma once

#include "dataset/DbfTable.h"

#include <memory>

/// Goes to the line with a key (exact) or to the nearest line at or after it. @return true when a line with
/// the key was found. @throws dataset::EDatabaseError
bool TBBusca(dataset::DataSet &tabla, const dataset::Key &clave, bool exacta);
/// Restricts the table to the lines between two keys, both included, and goes to the first. @return true when
/// there is one. @throws dataset::EDatabaseError
bool TBRango(dataset::DataSet &tabla, const dataset::Key &desde, const dataset::Key &hasta);
/// Posts the pending insert or edit. @throws dataset::EDatabaseError
void TBPost(dataset::DataSet &tabla);
/// Deletes the current line. @throws dataset::EDatabaseError, also when there is none.
void TBDelete(dataset::DataSet &tabla);
/// Orders a table by fields.
void TBIndexa(const QString &campos, dataset::DataSet &tabla);
/// Opens a cursor on a table of an alias, ordered by an index.
/// @param indice       index name or field names; empty for the order of the file.
/// @param abrir        true opens the table at once.
/// @param soloLectura  true opens it for reading only.
/// @throws dataset::EDatabaseError when the alias, the table or the index is missing.
[[nodiscard]] std::unique_ptr<dataset::DbfTable>
CreaTabla(const QString &alias, const QString &tabla, const QString &indice, bool abrir, bool soloLectura);

/// Opens a table, and tells the user and the log what opening it has found, such as an older copy in its
/// place. @throws dataset::EDatabaseError
void AbreTabla(dataset::DataSet &tabla);
/// Closes a table. What cannot be posted on the way is given up; a failure is only logged.
void CierraTabla(dataset::DataSet &tabla);

/// Opens a table, and closes it again however its use ends; what is pending then is given up.
class TMientrasAbierta
{
public:
    /// @param tabla  not owned; outlives this object. @throws dataset::EDatabaseError
    explicit TMientrasAbierta(dataset::DataSet &tabla)
        : m_tabla(tabla)
    {
        AbreTabla(m_tabla);
    }
    ~TMientrasAbierta();
    TMientrasAbierta(const TMientrasAbierta &) = delete;
    TMientrasAbierta &operator=(const TMientrasAbierta &) = delete;

private:
    dataset::DataSet &m_tabla;
};

/// Tells the user and the log what a table has found since this was last done; mostly nothing.
void CuentaAvisosDe(dataset::DataSet &tabla);
/// Drops what is being edited after a failure; a failure of this too is only logged, since the first one is
/// answered for.
void CancelaSinPreguntar(dataset::DataSet &tabla);
