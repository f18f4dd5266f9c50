#pragma once

#include "agenda/Respuesta.h"
#include "dataset/DataSet.h"

#include <QtCore/QDate>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// One line of a slot: whose it is, and how it was seen.
struct TLineaDeHueco {
    int Notario = 0; ///< 1-based
    dataset::SeenRecord Linea;
};
/// Lines of several notaries. As a slot they stand side by side in a row of a screen, at most one of each
/// notary; who has none there is not in it.
using THueco = QList<TLineaDeHueco>;

/// What a paste is going to do: made by PreparaPegado(), looked at by whoever asks the user, and done by
/// PegaPreparado().
struct TPegado {
    struct TDestino {
        QString Copiada;           ///< the hour of the copied line
        QString Hora;              ///< where it goes; empty where it has no hour that could be shifted
        dataset::SeenRecord Linea; ///< that is written over; no line where the slot is still to be added
    };
    QDate Fecha;
    int Notario = 0;
    QList<TDestino> Destinos; ///< in the order copied
    QStringList Ocupadas;     ///< hours at which something is written that would be lost
    bool SePisan = false;     ///< several lines go to one hour, of which the last one stays
};

/// Engine of several notary tables in which a time slot is one slot of all of them: it is added to and
/// deleted from every table, and the day shown is the same everywhere. Line operations, searches, copying,
/// pasting and reports work on the current table.
///
/// Every table is written in commits of its own, always in the order of the notaries.
///
/// Failure. What answers a TRespuesta throws nothing: a failure cancels the pending change of the table
/// concerned, is logged and gives false, with its cause. Pegar(), PegarHora() and AceptarAgendaN() keep the
/// pending change, so that it can be tried again or given up by who called. All else that is not const, a
/// boolean or not, throws dataset::EDatabaseError when a table cannot be read or written; CancelarAgendaN()
/// and what only chooses, forgets or asks do not.
///
/// Tables of the host are ordered by date and hour when the engine is made, which drops their range.
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

    // Days
    /// Restricts every table to a day. @return whether each of them holds a line of it.
    /// @throws dataset::EDatabaseError, naming the notaries whose table cannot be read; the others show the
    /// day all the same.
    virtual bool RangoPorFecha(QDate fecha) = 0;
    /// Shows the whole of every table. @throws dataset::EDatabaseError as RangoPorFecha() does.
    virtual void CancelaRangoPorFecha() = 0;
    /// Shows a day in every table that can be read, each for itself: one of the engine's own that could not
    /// be opened before is opened if it can be by now; one that shows the day already takes in what others
    /// have written and keeps its line, also the one being edited; one that cannot be read stays as it was,
    /// which DiaMostrado() tells.
    /// @return whether any table holds a line of the day; the cause names the notaries whose table failed.
    virtual TRespuesta VeDia(QDate fecha) = 0;
    /// The day to which a notary's table is restricted; invalid where there is none.
    [[nodiscard]] virtual QDate DiaMostrado(int notario) const = 0;
    /// Whether a notary's table could be read when a day was last shown in all, seen again or built. One that
    /// could not be shows what it showed before, which may be old.
    [[nodiscard]] virtual bool EsLegible(int notario) const = 0;
    /// Builds the sheet of a day in every table and shows that day. A table in which that fails shows what it
    /// showed before, and keeps no other from its sheet.
    /// @param preguntar  ask the user first. @return false when declined, or when a table has no line of it.
    /// @throws dataset::EDatabaseError at the end, naming the notaries whose table failed.
    virtual bool InsertaDia(QDate fecha, bool preguntar) = 0;
    /// Show the nearest earlier or later day of the current table, in the others as VeDia() does.
    /// @return false when there is none. @throws dataset::EDatabaseError when the current table cannot be
    /// read: all stay as they were.
    virtual bool AnteriorDia() = 0;
    virtual bool SiguienteDia() = 0;
    /// Searches the current table. With `exacta` false and an empty time: whether the line reached is of that
    /// day.
    virtual bool BuscarPorFecha(QDate fecha, const QString &hora, bool exacta) = 0;
    /// Gives the current table its order by date and hour; its range stays where it had that order already.
    virtual void OrdenarListaPorFecha() = 0;

    // Slots and lines
    /// Adds and posts a line in every table; each stands on its new one. Nothing happens without a date.
    /// @return whether all took it.
    virtual TRespuesta Anadir(QDate fecha, const QString &hora) = 0;
    /// Adds and posts a line in the current table alone, which stands on it then.
    /// @param tenia  how many lines of that hour the user has seen the notary have; with more of them by now
    ///               others have added the slot already, and nothing is added.
    virtual TRespuesta AnadirSolo(QDate fecha, const QString &hora, int tenia) = 0;
    /// Gives every table the slots of a day that another one has more of, each table in one commit, all of
    /// its slots or none. Tables that do not show the day are left out. @return whether all took theirs.
    virtual TRespuesta Completar(QDate fecha) = 0;
    /// Puts the current line in edit mode; says so when the day has none.
    virtual TRespuesta Modificar() = 0;
    /// Goes to a line of the current table and puts it in edit mode, unless it says something else by now.
    virtual TRespuesta Modificar(const dataset::SeenRecord &linea) = 0;
    /// Deletes the slot of the current line from every table. Deliberate: the others are not searched, each
    /// is taken to stand on the same slot, and where NumNotarios() counts places without a table, the last
    /// table is looked at once more for each of them: of two lines it has at that hour both may go. For a
    /// slot that is seen on a screen take BorrarHueco(). @return whether the current line is gone; false on
    /// an empty day, deliberately unlike the engine of one table for each window.
    virtual TRespuesta Borrar(bool preguntar) = 0;
    /// Deletes the lines of a slot as they were seen: all of them, or none where one has changed, has gone or
    /// is in use, or where the current notary has none among them. They are held while the user is asked.
    /// Each table is a commit of its own; where one fails after others were written, the cause names those.
    virtual TRespuesta BorrarHueco(const THueco &hueco, bool preguntar) = 0;
    /// Posts what is pending in the current table; after a failure it is still pending.
    virtual TRespuesta AceptarAgendaN() = 0;
    /// Gives up what is pending in the current table. @param preguntar  ask first. @return false when the
    /// user has said no.
    virtual bool CancelarAgendaN(bool preguntar) = 0;
    /// Puts the outing mark on the current line, or takes it away. A subject that is too long for its field
    /// with the mark loses its end, which the cause of the true answer tells; so does Ausente().
    virtual TRespuesta Salida() = 0;
    /// Puts the absence mark on every line of the shown day, or takes it away, each by itself and as it has
    /// been shown. Does nothing, and gives false, where the current table shows no day.
    /// @return whether a line has been changed; the cause names the hours of those that have not.
    virtual TRespuesta Ausente() = 0;

    // Copying
    /// Adds the current line to the copy buffer; an empty one where there is none.
    /// @throws dataset::EDatabaseError
    virtual void Copiar() = 0;
    /// Adds lines of any notaries to the copy buffer, as they were seen: all of them, or none where one has
    /// changed or gone or cannot be read, or where a line of its table is being edited. Every table stands
    /// afterwards where it stood before. The cause says whose and of what hour it was.
    virtual TRespuesta CopiarVistas(const THueco &lineas) = 0;
    /// The hours of the copied lines, in the order copied.
    [[nodiscard]] virtual QStringList HorasCopiadas() const = 0;
    /// Writes every copied line into the same hour of a day; what stands there is written over, whatever it
    /// says. Lines of other days and hours stay as they are. Every table stands afterwards where it stood
    /// before, not on the line pasted last. An error ends it and is the answer; what was pending then still
    /// is, and its table goes back to its place once that is accepted or given up. A slot that could only be
    /// added to the current table leaves the answer true, with a cause.
    virtual TRespuesta Pegar(QDate fecha) = 0;
    /// The same, every line shifted so that the first one lands at `hora`. Deliberate: no wrap at midnight
    /// and no look at the day's hours. A line that lands outside 00:00 to 23:59 is in no day that is ever
    /// shown, and of one more than five characters long the rest is cut off: whoever calls refuses such hours
    /// first.
    virtual TRespuesta PegarHora(QDate fecha, const QString &hora) = 0;
    /// Looks where the copied lines would go in the current table, and at what stands there; writes nothing.
    /// @param hora  of the first line, as in PegarHora(); null: each goes to its own hour.
    /// @return without Destinos where nothing can be pasted, also while a line of that table is being edited,
    /// which stays so. @throws dataset::EDatabaseError
    [[nodiscard]] virtual TPegado PreparaPegado(QDate fecha, const QString &hora) = 0;
    /// Does it: all lines in one commit, or none where one of those to be written over has changed since,
    /// somebody has booked at an hour that was free, more has been copied, or a line of that table is being
    /// edited. Slots that are missing are added once those lines have been looked at, and stay where one of
    /// them changes in that moment: to the current table alone where another one has that hour, otherwise to
    /// all. Every table stands afterwards where it stood before, and nothing of the paste is left pending.
    /// @return whether it was pasted; true with a cause where a slot could not be added to another table.
    virtual TRespuesta PegaPreparado(const TPegado &pegado) = 0;
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
