#pragma once

#include <QtCore/QDate>
#include <QtCore/QString>

// What engines say and ask, in the host's message boxes.

inline const QString TituloAtencion = QStringLiteral(" ATENCIÓN");
inline const QString TituloAtencionPuntos = QStringLiteral(" ATENCIÓN:");

/// Shows a notice of an engine in the host's message box.
void AvisaMotor(const QString &texto, const QString &texto2, const QString &titulo);
/// Asks yes or no in the host's message box. @return true for yes.
[[nodiscard]] bool PreguntaMotor(const QString &texto, const QString &titulo);
/// Asks whether the sheet of a day that has none is to be made.
[[nodiscard]] bool PreguntaHojaNueva(QDate fecha);
/// Says that a line of a day sheet could not be added. @param hueco  its time text.
void AvisaHuecoPerdido(const QString &hueco);
