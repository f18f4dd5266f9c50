#pragma once

#include <QtCore/QStringList>

class IZenAgenda;
class QWidget;

/// Shows which program, module and toolkit are running.
/// @param unidades  what the module has registered.
void MuestraAcercaDe(const IZenAgenda &modulo, const QStringList &unidades, QWidget *padre);
