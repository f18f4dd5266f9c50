#pragma once

#include "agenda1/FilaDia.h"

#include <QtCore/QStringList>

// Two workstations on the same day of two notaries: what each has done to it, brought together.
//
// A line of the day as it was loaded (base), by what has become of it here and in the table since:
//
//                        table: as it was     table: changed              table: gone
//   here: as it was      as it was            theirs                      gone
//   here: changed        mine                 both, field by field;       mine, as a new line, told
//                                             where both changed the same
//                                             field: theirs and, as a new
//                                             line, mine, told
//   here: deleted        gone                 theirs, told                gone
//
// A line that only one side has is in the result as it is. Of lines that said the same, most often empty
// ones, nobody can tell which was deleted: it is one that nobody has changed, where there is one.

struct TFusionDia {
    TFilasDia Filas;     ///< in the order of the hours, those of one hour by their records, and new ones last
    QStringList Choques; ///< hours of the lines that both have touched in a way that excludes the other
};

/// Brings two versions of a day together. Nothing that either side has written is lost.
/// @param base   the day as this workstation loaded it.
/// @param mias   the day as it is here now; lines keep the record they were loaded from.
/// @param suyas  the day as the table holds it now.
[[nodiscard]] TFusionDia FundeDia(const TFilasDia &base, TFilasDia mias, const TFilasDia &suyas);
