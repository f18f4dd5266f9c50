#pragma once

class QObject;
class TAgenda;

/// Where the single-table engine gets its windows from: the screens in the office, doubles in tests. Each
/// shows a window and returns when it is closed.
class IVistasAgenda
{
public:
    virtual ~IVistasAgenda() = default;
    /// TFAgenda: the day of one notary, over the engine's table.
    virtual void MuestraAgenda(TAgenda &motor) = 0;
    /// TFAgenda2: the day of two notaries, over the engine's table in memory.
    virtual void MuestraAgenda2(TAgenda &motor) = 0;
    /// TFConfAgenda. @param propietario  owner of the dialog; may be null.
    virtual void MuestraConfAgenda(TAgenda &motor, QObject *propietario) = 0;
};
