#pragma once

#include "dataset/DbfTable.h"

#include <QtCore/QDate>
#include <QtCore/QString>

#include <array>
#include <functional>

// What the engines of the house do in the same way.

/// Places for notaries in the engines of several tables.
inline constexpr int MaxNotarios = 5;
/// The table of each notary; null where there is none.
using TTablasNotarios = std::array<dataset::DataSet *, MaxNotarios>;

inline const QString TituloAtencion = QStringLiteral(" ATENCIÓN");
inline const QString TituloAtencionPuntos = QStringLiteral(" ATENCIÓN:");

/// Shows a notice of an engine in the host's message box.
void AvisaMotor(const QString &texto, const QString &texto2, const QString &titulo);
/// Asks yes or no in the host's message box. @return true for yes.
[[nodiscard]] bool PreguntaMotor(const QString &texto, const QString &titulo);
/// Name of a notary, 1 onwards, as the host's settings have it.
[[nodiscard]] QString NombreDeNotario(int notario);
/// Asks whether the sheet of a day that has none is to be made.
[[nodiscard]] bool PreguntaHojaNueva(QDate fecha);
/// Says that a line of a day sheet could not be added. @param hueco  its time text.
void AvisaHuecoPerdido(const QString &hueco);

/// Opens a table, and tells the user and the log what opening it has found, such as an older copy in its
/// place. @throws dataset::EDatabaseError
void AbreTabla(dataset::DataSet &tabla);

/// Drops what is being edited after a failure; a failure of this too is only logged, since the first one is
/// answered for.
void CancelaSinPreguntar(dataset::DataSet &tabla);

/// How many notaries the tables of a host stand for. Deliberate: one more than the tables up to the first
/// empty place, six when none is empty.
[[nodiscard]] int CuentaNotarios(const TTablasNotarios &tablas);
/// Makes the host's open tables fit for day sheets. @throws dataset::EDatabaseError naming a missing field.
void PreparaTablasDelHost(const TTablasNotarios &tablas);
/// Opens a table for every notary of the office, one where the office counts none.
/// @param tabla  gives the cursor of a notary, 1 to 5.
/// @return the number of notaries, which may exceed five. @throws dataset::EDatabaseError
int AbreTablasDeNotarios(TTablasNotarios &tablas, const std::function<dataset::DbfTable &(int)> &tabla);
/// The table of notary `notario`, 1-based. @return null where there is none.
[[nodiscard]] dataset::DataSet *TablaDe(const TTablasNotarios &tablas, int notario);
