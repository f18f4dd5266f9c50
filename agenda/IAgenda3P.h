#pragma once

#include "agenda/Respuesta.h"
#include "dataset/DataSet.h"

#include <QtCore/QDate>
#include <QtCore/QString>

/// Engine of several notary tables in which a time slot is one slot of all of them: it is added to and
/// deleted from every table, and the day shown is the same everywhere. Line operations, searches, copying,
/// pasting and reports work on the current table.
///
/// Every table is written in a commit of its own, always in the order of the notaries. Operations on slots
/// and lines that answer a boolean never throw: a failure cancels the pending change of the table concerned,
/// is logged and gives false, with its cause. Two keep it: AceptarAgendaN() and the pastes, so that it can be
/// tried again or given up by who called.
class IAgenda3P
{
public:
    virtual ~IAgenda3P() = default;

    // Notaries
    /// Deliberate: with tables of the host it is one more than the tables given; it may exceed five.
    [[nodiscard]] virtual int NumNotarios() const = 0;
    /// @param notario 1-based. @return null where there is no table. Owned by the engine, or by whoever gave
    /// it.
    [[nodiscard]] virtual dataset::DataSet *Tabla(int notario) const = 0;
    [[nodiscard]] virtual dataset::DataSet &TablaActual() const = 0;
    /// Makes notary `notario`'s table the current one; an empty position changes nothing.
    virtual void PonNotarioActual(int notario) = 0;

    // Days. The searches, ranges and moves throw dataset::EDatabaseError when a table cannot be read.
    /// Restricts every table to a day. @return whether each of them holds a line of it.
    virtual bool RangoPorFecha(QDate fecha) = 0;
    /// Shows the whole of every table.
    virtual void CancelaRangoPorFecha() = 0;
    /// Builds the sheet of a day in every table and shows that day. A table in which that fails shows what it
    /// showed before.
    /// @param preguntar  ask the user first. @return false when declined, or when a table has no line of it.
    virtual bool InsertaDia(QDate fecha, bool preguntar) = 0;
    /// Show the nearest earlier or later day of the current table. @return false when there is none.
    virtual bool AnteriorDia() = 0;
    virtual bool SiguienteDia() = 0;
    /// Searches the current table. With `exacta` false and an empty time: whether the line reached is of that
    /// day.
    virtual bool BuscarPorFecha(QDate fecha, const QString &hora, bool exacta) = 0;
    /// Gives the current table its order by date and hour.
    virtual void OrdenarListaPorFecha() = 0;

    // Slots and lines
    /// Adds and posts a line in every table; each stands on its new one. @return whether all took it.
    virtual TRespuesta Anadir(QDate fecha, const QString &hora) = 0;
    /// Puts the current line in edit mode; says so when the day has none.
    virtual TRespuesta Modificar() = 0;
    /// Deletes the slot of the current line from every table. Deliberate: the others are not searched, each
    /// is taken to stand on the same slot. @return whether the current line is gone; false on an empty day.
    virtual TRespuesta Borrar(bool preguntar) = 0;
    /// Posts what is pending in the current table; after a failure it is still pending.
    virtual TRespuesta AceptarAgendaN() = 0;
    /// Gives up what is pending in the current table. @param preguntar  ask first. @return false when the
    /// user has said no.
    virtual bool CancelarAgendaN(bool preguntar) = 0;
    /// Puts the outing mark on the current line, or takes it away.
    virtual TRespuesta Salida() = 0;
    /// Puts the absence mark on every line of the shown day, or takes it away, each by itself and as it has
    /// been shown. Does nothing, and gives false, where the current table shows no day.
    /// @return whether a line has been changed; the cause names the hours of those that have not.
    virtual TRespuesta Ausente() = 0;

    // Copying
    /// Adds the current line to the copy buffer. @throws dataset::EDatabaseError
    virtual void Copiar() = 0;
    /// Writes every copied line into the same hour of a day; what stands there is written over. Lines of
    /// other days and hours stay as they are, and so does the day shown. An error ends it and is the answer;
    /// what was pending then still is.
    virtual TRespuesta Pegar(QDate fecha) = 0;
    /// The same, every line shifted so that the first one lands at `hora`. Deliberate: no wrap at midnight.
    virtual TRespuesta PegarHora(QDate fecha, const QString &hora) = 0;
    /// Blanks the current line but for its date, hour, client code and notice flag.
    virtual TRespuesta Limpiar(bool preguntar) = 0;
    /// Forgets what was copied.
    virtual void LimpiarBufferDeCopia() = 0;
    /// Whether anything has been copied.
    [[nodiscard]] virtual bool HayDatosEnPortapapeles() const = 0;

    // Reports of the current table, each shown until the user closes it. Those by clerk ask for the clerk
    // first. What the table or the report layer throws passes on, with ranges and controls as they were.
    virtual void InformeDia(QDate fecha) = 0;
    virtual void InformeDia_PorOficial(QDate fecha) = 0;
    virtual void InformeSemana(QDate fecha) = 0;
    virtual void InformeSemana_PorOficial(QDate fecha) = 0;
};
