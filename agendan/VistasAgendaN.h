#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>

#include <memory>

namespace dataset
{
class DataSet;
}
class TClassAgendaN;

/// What the appointment card is opened for.
enum class TOperacion : unsigned char { nuevo = 0, borrar = 1, modificar = 2, ver = 3 };

/// The agenda window as its engine sees it. Made, filled, shown and freed within one call of the engine.
class IFichaAgendaN
{
public:
    virtual ~IFichaAgendaN() = default;
    /// Gives tab `notario` (1 to 5) its caption and table and makes it visible.
    virtual void PonNotario(int notario, const QString &nombre, dataset::DataSet *tabla) = 0;
    /// @param motor  not owned; outlives the window.
    virtual void PonMotor(TClassAgendaN &motor) = 0;
    virtual void PonSincronizarDia(bool marcado) = 0;
    /// The page-change handler: the engine's current table follows the selected tab.
    virtual void PCAgendaChange() = 0;
    /// Shows the window and returns when the user has closed it.
    virtual void ShowModal() = 0;
};

/// Where the engine gets its windows from: the screens in the office, doubles in tests.
class IVistasAgendaN
{
public:
    virtual ~IVistasAgendaN() = default;
    /// @param propietario  owner of the window; may be null.
    [[nodiscard]] virtual std::unique_ptr<IFichaAgendaN> CreaFichaAgendaN(QObject *propietario) = 0;
    /// Shows the appointment card on the engine's current table and returns when it is closed.
    virtual void MuestraFichaCitas(TClassAgendaN &motor, TOperacion operacion, QObject *propietario) = 0;
};
