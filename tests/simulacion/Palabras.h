#pragma once

#include "tests/simulacion/Tabla.h"

namespace simulacion
{

/// A step, and what has become of a record, for who reads a run.
[[nodiscard]] QString EnPalabras(const TPaso &paso);
[[nodiscard]] QString EnPalabras(const TCambio &cambio);

} // namespace simulacion
