#include "agenda/host/Constanteszen.h"

TColor clAgendaSalida = 0x00C6C6FF;
