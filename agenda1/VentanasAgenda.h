#pragma once

#include "agenda1/VistasAgenda.h"

/// The screens of the single-table agenda.
class TVistasAgenda : public IVistasAgenda
{
public:
    void MuestraAgenda(TAgenda &motor) override;
    void MuestraAgenda2(TAgenda &motor) override;
    void MuestraConfAgenda(TAgenda &motor, QObject *propietario) override;
};
