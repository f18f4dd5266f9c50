#pragma once

#include "agenda/HoraTexto.h" // IncrementaHora comes along with the engine
#include "agenda/MotorDeTablas.h"
#include "agenda/OrdenesDeLineas.h"
#include "agendan/VistasAgendaN.h"
#include "dataset/DataSet.h"

#include <QtCore/QDate>
#include <QtCore/QString>

#include <memory>

class TClientesRaiz;
class TDMAgendaN;

/// Engine of the multi-notary agenda: up to five notary tables, one of them the current one, on which every
/// line operation works. It has no window of its own; it asks for them through IVistasAgendaN.
///
/// Operations that answer a boolean never throw: a database error cancels the pending change, is logged and
/// gives false, with its cause. The searches, ranges and moves say so where they throw.
class TClassAgendaN : public TMotorDeTablas
{
public:
    static constexpr int MaxNotarios = ::MaxNotarios;
    using TTablas = TTablasNotarios;

    /// @param propietario  owner of the windows; not owned, may be null.
    /// @param clientes     the host's client list; not owned, may be null.
    /// @param tablas       open tables of the host, not owned; with an empty first position the engine opens
    ///                     one table per notary itself.
    /// @param vistas       not owned; outlives the engine. Null where no window is ever asked for.
    /// @param informes     the same, for its reports.
    /// @throws dataset::EDatabaseError when a notary's table cannot be opened.
    TClassAgendaN(QObject *propietario, TClientesRaiz *clientes, const TTablas &tablas,
                  IVistasAgendaN *vistas, IInformesAgenda *informes = nullptr);
    ~TClassAgendaN();
    TClassAgendaN(const TClassAgendaN &) = delete;
    TClassAgendaN &operator=(const TClassAgendaN &) = delete;

    // Notaries
    /// @param notario 1-based; positions above five mean the fifth. @return null where there is no table.
    [[nodiscard]] dataset::DataSet *Tabla(int notario) const;
    void PonNotarioActual(int notario);
    [[nodiscard]] TClientesRaiz *Clientes() const { return m_clientes; }

    // Day sheets. All of these throw dataset::EDatabaseError when a table cannot be read.
    /// Builds the day sheet of a date on the current table and shows that day.
    /// @param fecha      an invalid date does nothing, and gives false.
    /// @param preguntar  ask the user first. @return whether the day now holds a line; false when declined.
    bool InsertaDia(QDate fecha, bool preguntar);
    /// Shows a date, building missing sheets without a question, on the current table or on all of them. An
    /// invalid date does nothing. One notary's failure does not keep the others from the date; at the end it
    /// is thrown, naming each notary that failed.
    void SincronizarTablasAFecha(QDate fecha, bool todos);
    /// Restricts the current table to a day. @return whether it holds a line.
    bool RangoPorFecha(QDate fecha);
    [[nodiscard]] bool HayRangoPorFecha() const;
    void CancelaRangoPorFecha();
    /// Shows the nearest earlier / later day that has lines. @return false, and the same day shown, when
    /// there is none.
    bool AnteriorDia();
    bool SiguienteDia();

    // Lines of the current table
    /// Leaves a new line (SALIDA and AVISO "N") in insert mode.
    TRespuesta Anadir(QDate fecha, const QString &hora);
    /// Deletes the current line. Deliberate: an empty day counts as a successful delete. A line that is not
    /// among those of the day is refused, unless the user has it before him on its card.
    TRespuesta Borrar(bool preguntar, TALaVista vista = TALaVista::dia);
    /// Posts the pending insert or edit. On failure the change is cancelled and false returned.
    TRespuesta AceptarAgendaN();
    /// Marks the current line as an outing. Deliberate: marking twice puts the mark twice.
    TRespuesta Salida();
    /// Marks every line of the shown day as absence, each as it has been shown; the cursor stays on its line.
    /// Does nothing, and gives false, in a table that shows no day when the current line has no date.
    /// @return whether a line has been marked; the cause names the hours of those that have not.
    TRespuesta Ausente();
    /// Copies the current line to another date of the same notary, at the same hour, as one line more:
    /// nothing is replaced there and no sheet is built. The cursor stays on the line, and the shown day too.
    /// @return false, with nothing written, when there is no line to copy, when it is not as it was shown any
    /// more, or when no line can be added; false also when others change the line just behind its copy. So a
    /// host that goes on to delete the line does it after a true alone; MoverLineas() does both in one.
    /// @throws dataset::EDatabaseError when the copy cannot be written; nothing is left pending.
    TRespuesta CopiarCita(QDate destino);

    // Several lines of the current table, as the clerk saw them when he gave the command; see
    // TOrdenesDeLineas.
    TLineasFallidas BorrarLineas(const TLineasVistas &lineas);
    TLineasFallidas CopiarLineas(const TLineasVistas &lineas, QDate destino);
    TLineasFallidas MoverLineas(const TLineasVistas &lineas, QDate destino);
    TLineasFallidas MarcarSalidas(const TLineasVistas &lineas);

    // Windows
    void FichaAgendaN();
    void FichaCita(TOperacion operacion);

    // Reports of the current table, each shown until the user closes it. Those by clerk ask for the clerk
    // first, and do nothing when the user cancels. What the table or the report layer throws passes on, with
    // the table's range and controls as they were.
    /// @param fecha  the day shown: the sheet's title; its lines are those that the table holds.
    void InformeDia(QDate fecha);
    void InformeDia_PorOficial(QDate fecha);
    /// The week, Monday to Saturday, that holds the date or ends on it; the table shows the date afterwards.
    void InformeSemana(QDate fecha);
    void InformeSemana_PorOficial(QDate fecha);

private:
    bool ConstruyeHoja(QDate fecha, bool soloSiFalta);
    void SincronizaTablaActual(QDate fecha);
    TRespuesta VuelveALaLinea(const TLineaAgenda &linea) noexcept;
    void MuestraInforme(TClaseInforme clase, QDate fecha);

    TClientesRaiz *m_clientes = nullptr;
    IVistasAgendaN *m_vistas = nullptr;
    std::unique_ptr<TDMAgendaN> m_datos;
};
