#pragma once

#include <QtCore/QDate>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// The host's configuration object.
class TConfig
{
public:
    virtual ~TConfig() = default;
    /// Number of notaries of the office; 0 for an office kept under a single notary's data.
    [[nodiscard]] virtual int GetnCuantos() const = 0;
    /// Alias of the host's shared database, which holds VA_COMUN and EMPLEADO.
    [[nodiscard]] virtual QString GetAliasZentra() const = 0;
    /// Name and form of address of the single notary.
    [[nodiscard]] virtual QString GetNombre1() const = 0;
    [[nodiscard]] virtual QString GetDon() const = 0;
    /// Names of the notaries; item i - 1 is notary i.
    [[nodiscard]] virtual QStringList GetNotarios() const = 0;
    /// Base folder in front of "CONFIG\VARIOS.INI"; ends in a directory separator.
    [[nodiscard]] virtual QString GetPath() const = 0;
    [[nodiscard]] virtual QDate GetAgenda_FechaInicio() const = 0;
    virtual void SetAgenda_FechaInicio(QDate fecha) = 0;
    /// Name of the printer for other documents; empty for the system's default printer.
    [[nodiscard]] virtual QString GetPrnOtros() const = 0;
    /// File of this user at this workstation in which windows remember their places; never one of the office.
    /// Empty: nothing is remembered.
    [[nodiscard]] virtual QString GetFicheroVentanas() const { return {}; }
};
