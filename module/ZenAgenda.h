#pragma once

#include "agenda/IAgenda3P.h"
#include "agenda/host/Servicios.h"
#include "dataset/DataSet.h"

#include <QtCore/QDate>
#include <QtCore/QObject>

#include <array>
#include <memory>

// What a host needs to know of the loadable module, and all it needs to know.
//
// Load. The host loads the library and asks its root object for IZenAgenda by the interface's IID; an object
// that is not one comes from another library. It then asks Version() before anything else, and leaves a
// module alone whose number is not the one that the host was built with: the layout of these interfaces is
// what the number stands for. A library whose interface was never compatible has another IID, and is not even
// asked.
//
// Registration. Registra() is called once, with services that the host owns and keeps until Libera(). It
// makes the settings object goConfAgendaN and the makers of windows and reports, and tells the host's
// register of units (where the host has one) each unit that the module brings, in the order in which they
// come to be. It answers false, with nothing done, when a service is missing or the module is registered
// already, or when anything fails on the way; it throws nothing. Everything runs on the host's user-interface
// thread, where its QApplication lives: host and module share it, with its event loop.
//
// Use. Each Crea...() makes an agenda of its own, which the caller owns and deletes by deleting the pointer;
// any number may live at a time, each with its own cursors over the shared tables. Windows live only inside a
// call that shows them, which returns when the user has closed it; owners and parents that the host gives
// (propietario) are looked at and never deleted. Tables that the host lends stay the host's: they are not
// closed, and must be open for as long as the agenda lives. A data set that an agenda hands out
// (IAgenda3P::Tabla) belongs to the agenda and ends with it. Text and dates are copies.
//
// Failure. What the user can put right is told to the user by the agenda itself, in the host's message boxes.
// What the agenda cannot go on with is thrown as dataset::EDatabaseError, with a Spanish text for the user,
// also by operations that answer a boolean; each interface says which of its own throw. Only what answers a
// TRespuesta never does: the cause comes with it. After an exception the object it came from can be used
// further, or deleted.
//
// Unload. Libera() gives everything back in reverse: units, makers, settings object, services. While an
// agenda lives it answers false and does nothing: the host deletes its agendas first, and then unloads the
// module, which deletes its root object. A host that unloads under an agenda that lives has all of it taken
// away all the same, and must not touch that agenda again, not even to delete it. The library's code stays
// mapped until the program ends, as Qt's loader has it when it is told nothing else, and a host leaves it so:
// texts that were handed out may be constants inside it, and so may those that Qt keeps (settings, fonts).
// Loading, registering and releasing may be repeated as often as the host likes.
//
// Host and module are built with the same compiler and share the libraries dbase, dataset, dbcontrols and
// report, whose objects and exceptions may pass between them. Everything else is hidden inside the module.

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

/// The module; see the page above.
class IZenAgenda
{
public:
    /// Grows with every change of these interfaces, of those in agenda/host/ and of what they hand over.
    static constexpr int VersionInterfaz = 7;
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
    /// opened and a day is to be shown; without one that table stays closed until IAgenda3P::VeDia() can open
    /// it.
    [[nodiscard]] virtual std::unique_ptr<IAgenda3P> CreaAgenda3P(QObject *propietario, QDate fecha,
                                                                  const TTablas &tablas) = 0;
    /// The colour of outings, as the office has it now: 0x00BBGGRR, or a colour of the desktop by number.
    /// Only between Registra() and Libera(). @throws dataset::EDatabaseError
    [[nodiscard]] virtual quint32 ColorSalida() const = 0;
};

#define IZenAgenda_iid "agenda.IZenAgenda/1"
Q_DECLARE_INTERFACE(IZenAgenda, IZenAgenda_iid)
