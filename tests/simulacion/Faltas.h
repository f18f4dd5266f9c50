#pragma once

#include <QtCore/QString>

#include <array>

namespace simulacion
{

/// Faults that the agenda has had, or could have. They are put in front of its libraries' own functions, so
/// that the program has no switch for them; a judge that does not find them is no judge.
enum class TFalta {
    ninguna,
    borraSinVer,   ///< a line is deleted, moved or taken as the table holds it and not as it was seen
    celdaSinVer,   ///< what is typed into a cell replaces what a colleague has written there since
    rellenaSinVer, ///< the fill up to an end hour goes over what a colleague has written since
    sigueALaIda,   ///< a line that a colleague moves to another day stays the current one
    rangoAMedias,  ///< a day that cannot be shown leaves behind what its range has come to
    fechaVieja,    ///< the date field stays as it was when only some notaries could go to a day
    mascaraCorta,  ///< Ctrl+U makes a date shorter than its mask, and the next digit kills the program
    sinGrupo,      ///< several lines are several commits
    sinFundir,     ///< a line of two notaries is accepted over what others have written into it
    horaVieja,     ///< and stays at its old hour when it is given another one
    quedaLoNegado, ///< a mark that AGENDA has refused stays in memory
    diaAMedias,    ///< another day's title stands over lines that are not of that day
};
inline constexpr std::array<const char *, 13> NombresDeFaltas{
    "ninguna",      "borraSinVer",   "celdaSinVer",  "rellenaSinVer", "sigueALaIda",
    "rangoAMedias", "fechaVieja",    "mascaraCorta", "sinGrupo",      "sinFundir",
    "horaVieja",    "quedaLoNegado", "diaAMedias"};

/// From now on every workstation that starts has this fault.
void Planta(TFalta falta);
/// In a workstation: the fault comes into force in this process.
void PlantaAqui();

} // namespace simulacion
