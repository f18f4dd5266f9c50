#pragma once

#include <QtCore/QString>

#include <functional>

/// The one guard of a window's commands: what fails is logged and shown to the user, and never leaves a slot.
/// @return false when the command failed.
bool EjecutaConGuarda(const std::function<void()> &orden);

/// A notice with the host's message box, under the title " ATENCIÓN:".
void AvisaDeError(const QString &texto);
void AvisaAlUsuario(const QString &texto);
