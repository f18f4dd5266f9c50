#pragma once

#include "agenda1/FilaDia.h"

#include <QtCore/QStringList>

#include <optional>

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
// A line that only one side has is in the result as it is.

struct TFusionDia {
    TFilasDia Filas;     ///< in the order of OrdenaComoAgenda()
    QStringList Choques; ///< hours of the lines that both have touched in a way that excludes the other
};

/// Brings two versions of a day together. Nothing that either side has written is lost.
/// @param base   the day as this workstation loaded it.
/// @param mias   the day as it is here now; lines keep the record they were loaded from.
/// @param suyas  the day as the table holds it now.
[[nodiscard]] TFusionDia FundeDia(const TFilasDia &base, const TFilasDia &mias, const TFilasDia &suyas);

/// For each line of `base` the place of the same line in `suyas`: the one of its record; where that has gone,
/// one that says the same in a record that is new, since programs that write the whole day anew give all
/// lines new ones. Nothing for a line that has gone: no other one is ever taken for it.
[[nodiscard]] std::vector<std::optional<std::size_t>> Empareja(const TFilasDia &base, const TFilasDia &suyas);

/// One line out of three versions; nothing when both sides have changed the same field in different ways.
[[nodiscard]] std::optional<TFilaDia> FundeLinea(const TFilaDia &base, const TFilaDia &mia,
                                                 const TFilaDia &suya);

/// What becomes a line of its own where FundeLinea() has nothing: mine, without the half of a notary that was
/// not touched here, which stands in theirs.
[[nodiscard]] TFilaDia SoloLoMio(const TFilaDia &base, TFilaDia mia);

/// Puts lines in the order of the hours, as they stand in AGENDA: those of one hour by their records, those
/// that are not there yet behind them.
void OrdenaComoAgenda(TFilasDia &filas);
