#pragma once

#include "agenda/host/Servicios.h"
#include "agenda/IAgenda3P.h"
#include "dataset/DataSet.h"

#include <QtCore/QDate>
#include <QtCore/QObject>

#include <array>
#include <memory>

// What a host needs to know of the loadable module, and all it needs to know.
//
// Host and module are built with the same compiler and share the libraries dbase, dataset and dbcontrols;
// through these interfaces objects and exceptions of those libraries may pass. Whatever the module makes, the
// module deletes.

/// The multi-notary agenda as the host sees it.
class IAgendaN
{
public:
    virtual ~IAgendaN() = default;
    /// Shows a date, building day sheets that are missing, on the first notary's table or on all.
    /// @throws dataset::EDatabaseError
    virtual void SincronizarTablasAFecha(QDate fecha, bool todos) = 0;
    /// Shows the agenda window and returns when the user has closed it. @throws dataset::EDatabaseError
    virtual void FichaAgendaN() = 0;
};

/// The single-table agenda as the host sees it.
class IAgenda1
{
public:
    virtual ~IAgenda1() = default;
    /// Shows the working day, whose sheet is made after asking, and returns when the user has closed the
    /// window. Nothing happens where the table AGENDA, of the alias "DB", has no settings row.
    /// @throws dataset::EDatabaseError
    virtual void IAgenda() = 0;
    /// Shows the settings dialog. The settings row must be there. @throws dataset::EDatabaseError
    virtual void IConfiguracion() = 0;
};

/// The module. Registra() once after loading, Libera() once before unloading.
class IZenAgenda
{
public:
    /// Grows with every change of these interfaces.
    static constexpr int VersionInterfaz = 4;
    using TTablas = std::array<dataset::DataSet *, 5>;

    virtual ~IZenAgenda() = default;
    /// The version that the module was built with; to be compared before anything else is called.
    [[nodiscard]] virtual int Version() const = 0;
    /// Takes the host's services, which must stay until Libera(), and makes the settings object.
    /// @return false when a service is missing or the module is registered already.
    virtual bool Registra(const TServicios &servicios) = 0;
    /// Gives everything back in reverse. @return false, with nothing done, while an agenda lives.
    virtual bool Libera() = 0;

    /// @param propietario  owner of the windows; may be null.
    /// @param clientes     the host's client list, outliving the agenda; may be null.
    /// @param tablas       open tables of the host, outliving the agenda; with an empty first position the
    /// agenda opens
    ///                     one table per notary itself.
    /// @return null before Registra(). @throws dataset::EDatabaseError when a notary's table cannot be
    /// opened.
    [[nodiscard]] virtual std::unique_ptr<IAgendaN> CreaAgendaN(QObject *propietario, TClientesRaiz *clientes,
                                                                const TTablas &tablas) = 0;
    /// @param propietario  owner of the windows; may be null.
    /// @param fecha        the working day.
    /// @return null before Registra().
    [[nodiscard]] virtual std::unique_ptr<IAgenda1> CreaAgenda1(QObject *propietario, QDate fecha) = 0;
    /// The engine of several tables, for a screen of the host's own.
    /// @param propietario  owner of the report windows; may be null.
    /// @param fecha        the day shown first, whose sheet is made after asking; invalid: none yet.
    /// @param tablas       as for CreaAgendaN().
    /// @return null before Registra(). @throws dataset::EDatabaseError when a notary's table cannot be
    /// opened.
    [[nodiscard]] virtual std::unique_ptr<IAgenda3P> CreaAgenda3P(QObject *propietario, QDate fecha,
                                                                  const TTablas &tablas) = 0;
    /// The colour of outings, as the office has it now: 0x00BBGGRR, or a colour of the desktop by number.
    /// Only between Registra() and Libera(). @throws dataset::EDatabaseError
    [[nodiscard]] virtual quint32 ColorSalida() const = 0;
};

#define IZenAgenda_iid "agenda.IZenAgenda/1"
Q_DECLARE_INTERFACE(IZenAgenda, IZenAgenda_iid)
