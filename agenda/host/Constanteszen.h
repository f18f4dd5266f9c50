#pragma once

#include "agenda/Color.h"

/// Colour of the outings in the single-table agenda, shared by its windows. A light red until somebody sets
/// it.
extern TColor clAgendaSalida;
