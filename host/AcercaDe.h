#pragma once

class IZenAgenda;
class QWidget;

/// Shows which program, module and toolkit are running.
void MuestraAcercaDe(const IZenAgenda &modulo, QWidget *padre);
