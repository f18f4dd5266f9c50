#pragma once

#include <QtCore/QString>

/// The host's register of the units that loaded modules have brought.
class IRegistro
{
public:
    virtual ~IRegistro() = default;
    /// @param unidad  name of a unit, known once.
    virtual void RegistraUnidad(const QString &unidad) = 0;
    /// The unit goes; told in reverse order of registration.
    virtual void LiberaUnidad(const QString &unidad) = 0;
};
