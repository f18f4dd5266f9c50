#pragma once

#include "dataset/DbfTable.h"
#include "dataset/MemTable.h"

#include <array>

/// Gives a cursor the table name "AGENDA_N" and the order by date and hour that every agenda table has.
void PreparaTablaAgendaN(dataset::DbfTable &tabla);

/// The agenda line's fields, for creating an agenda table.
[[nodiscard]] const QList<dataset::FieldInfo> &CamposAgendaN();

/// Makes sure that an open table has the agenda line's fields. @throws dataset::EDatabaseError naming what is
/// missing.
void CompruebaCamposAgendaN(const dataset::DataSet &tabla);
/// The same for a list of fields.
void CompruebaCampos(const dataset::DataSet &tabla, const QList<dataset::FieldInfo> &campos);

/// Data module of the multi-notary agenda: five cursors over AGENDA_N tables, whose database is set by
/// whoever opens them, and the in-memory table of week-report rows.
class TDMAgendaN : public QObject
{
    Q_OBJECT
public:
    /// @param aliases  databases of the host; must outlive the data module.
    TDMAgendaN(const dataset::Aliases &aliases, QObject *propietario);
    ~TDMAgendaN() override;

    /// @param n 1 to 5: TAgendaN1 .. TAgendaN5.
    [[nodiscard]] dataset::DbfTable &TAgendaN(int n);

    dataset::DbfTable TAgendaN1;
    dataset::DbfTable TAgendaN2;
    dataset::DbfTable TAgendaN3;
    dataset::DbfTable TAgendaN4;
    dataset::DbfTable TAgendaN5;
    dataset::MemTable cdsAgendaSemanal; ///< not open until a report creates it with CamposAgendaSemanal()
};

/// Fields of a week-report row: a half-week of three days side by side.
[[nodiscard]] const QList<dataset::FieldInfo> &CamposAgendaSemanal();
