#pragma once

#include "dataset/DbfTable.h"
#include "dataset/MemTable.h"

#include <QtCore/QDate>

/// Date of the row that holds the settings of the single-table agenda.
inline const QDate FechaAjustes{1901, 1, 1};

/// Fields of the single-table agenda, AGENDA, for creating it.
[[nodiscard]] const QList<dataset::FieldInfo> &CamposAgenda();
/// Fields of a day of two notaries side by side.
[[nodiscard]] const QList<dataset::FieldInfo> &CamposAgenda2();
/// Gives a cursor the table name "AGENDA", the alias "DB" and the order by date and hour.
void PreparaTablaAgenda(dataset::DbfTable &tabla);
/// Makes sure that an open table has AGENDA's fields, as wide as they must be. @throws
/// dataset::EDatabaseError naming what is missing.
void CompruebaCamposAgenda(const dataset::DataSet &tabla);

/// Data module of the single-table agenda and of the engine of several tables: the cursor over AGENDA, five
/// cursors over AGENDA_N tables, and two tables in memory.
class TDMAgendaZen : public QObject
{
    Q_OBJECT
public:
    /// @param aliases  databases of the host; must outlive the data module.
    TDMAgendaZen(const dataset::Aliases &aliases, QObject *propietario);
    ~TDMAgendaZen() override;

    /// @param n 1 to 5: tbAgendaN1 .. tbAgendaN5.
    [[nodiscard]] dataset::DbfTable &tbAgendaN(int n);

    dataset::DbfTable tbAgenda;
    dataset::DbfTable tbAgendaN1;
    dataset::DbfTable tbAgendaN2;
    dataset::DbfTable tbAgendaN3;
    dataset::DbfTable tbAgendaN4;
    dataset::DbfTable tbAgendaN5;
    dataset::MemTable cdsAgendaSemanal; ///< not open until a report creates it
    dataset::MemTable cdsAgenda2;       ///< not open until a day of two notaries is loaded
};
