#pragma once

#include "agenda/Color.h"

#include <QtCore/QObject>
#include <QtCore/QString>

/// What the settings dialog shows and gives back, as it stands in its controls.
struct TAjustesEnPantalla {
    TColor ColorSalida = 0;
    int IndiceHoraComienzo = -1; ///< position in the list of the hours "01" to "23"; -1: none of them
    int IndiceHoraFin = -1;
    QString IntervaloHoras; ///< minutes
    QString IncrementoMin;  ///< minutes
    bool SincronizarDia = false;
    bool SincronizarVisible = true;
};

/// Where the settings object gets its dialog from: the screen in the office, a double in tests.
class IVistaConfiguracion
{
public:
    virtual ~IVistaConfiguracion() = default;
    /// Shows the settings modally and returns when the dialog is closed.
    /// @param ajustes      the values shown; those in the dialog when the user accepts, untouched otherwise.
    /// @param propietario  owner of the dialog; may be null.
    /// @return true when the user has accepted.
    virtual bool EditaAjustes(TAjustesEnPantalla &ajustes, QObject *propietario) = 0;
};
