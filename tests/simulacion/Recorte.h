#pragma once

#include "tests/simulacion/Jornada.h"

namespace simulacion
{

/// Takes steps out of a failing run for as long as it goes on failing by the same rule.
/// @param intentos  how many runs that may cost. @return the shortest one found, with its failure.
[[nodiscard]] TResultado Recorta(const TResultado &fallida, int puestos, int intentos);

} // namespace simulacion
