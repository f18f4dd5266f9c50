#pragma once

#include "agendan/VistasAgendaN.h"

/// The screens of the multi-notary agenda.
class TVistasAgendaN : public IVistasAgendaN
{
public:
    [[nodiscard]] std::unique_ptr<IFichaAgendaN> CreaFichaAgendaN(QObject *propietario) override;
    void MuestraFichaCitas(TClassAgendaN &motor, TOperacion operacion, QObject *propietario) override;
};
