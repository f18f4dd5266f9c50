#pragma once

#include "agenda/Color.h"
#include "agenda/VistaConfiguracion.h"

#include <memory>

/// The settings of the agenda. Nothing is cached: every getter reads its store and every setter writes it, so
/// that what another workstation sets counts at once.
///
/// First hour, last hour and interval live in the host's table VA_COMUN (program "AGENDA"); a setter whose
/// record is missing writes nothing, deliberately: only the host creates these records. The others live in
/// CONFIG\VARIOS.INI.
/// @throws dataset::EDatabaseError, from the table's settings when VA_COMUN cannot be read or written, and
/// from the setters of the file's settings when it cannot be written.
class TClassConfAgendaN
{
public:
    /// @param vista  where FichaConfiguracion() gets its dialog from; not owned, outlives this; may be null.
    explicit TClassConfAgendaN(IVistaConfiguracion *vista = nullptr)
        : m_vista(vista)
    {
    }

    /// Hours; 9 and 20 when missing. What is none of 0 to 23 counts as the nearest of them.
    [[nodiscard]] int GetHoraInicio() const;
    void SetHoraInicio(int hora);
    [[nodiscard]] int GetHoraFin() const;
    void SetHoraFin(int hora);
    /// Minutes between the lines of a generated sheet, 0 (for a single line) to those of a day, or the
    /// nearest of them; 30 when missing.
    [[nodiscard]] int GetIntervalo() const;
    void SetIntervalo(int minutos);
    /// Minutes added to the time of a new appointment, those of a day at most in either direction; 1 when
    /// missing.
    [[nodiscard]] int GetIncrementoMin() const;
    void SetIncrementoMin(int minutos);
    /// Whether the notaries' agendas move together by date; true when missing.
    [[nodiscard]] bool GetSincronizarDia() const;
    void SetSincronizarDia(bool sincronizar);
    /// Colour of an outing; a light red when missing or unreadable.
    [[nodiscard]] TColor GetColorSalida() const;
    void SetColorSalida(TColor color);

    /// Shows the settings dialog and, when the user accepts, writes every setting: those of VA_COMUN as one
    /// change, those of the file as another, and of both none when either fails. Then the user is told and
    /// the dialog comes back with what stood in it. What it shows first is what is stored, also where another
    /// value counts. An hour that is none of 1 to 23 shows as no choice and is then stored as 0. Does nothing
    /// without a view.
    /// @param propietario  owner of the dialog; may be null. A window of the class TFAgendaZen has one agenda
    /// only and gets no choice about synchronising.
    void FichaConfiguracion(QObject *propietario);

private:
    void Guarda(const TAjustesEnPantalla &ajustes);

    IVistaConfiguracion *m_vista;
};

/// The settings object of the module: made when the module is loaded, gone when it is unloaded.
extern std::unique_ptr<TClassConfAgendaN> goConfAgendaN;
