#pragma once

class QWidget;
struct TOficina;

// The lists of the office's data, to be maintained by hand. Each shows its list and returns when it is
// closed. Lines are locked while their card is open; what others change meanwhile shows in the list by
// itself.

/// CLIENTES. Codes are given by the program. @throws dataset::EDatabaseError when the table cannot be opened.
void MantieneClientes(TOficina &oficina, QWidget *padre);
/// EMPLEADO, likewise.
void MantieneOficiales(TOficina &oficina, QWidget *padre);
/// The notaries: their rows in the configuration and, for a new one, his folder and table. A notary who is
/// removed leaves his table behind. @throws dataset::EDatabaseError
void MantieneNotarios(TOficina &oficina, QWidget *padre);
