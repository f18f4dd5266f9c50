#pragma once

#include "agenda/HojaDia.h"
#include "agenda/MotorComun.h"
#include "dataset/MemTable.h"

#include <QtCore/QDate>
#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>

#include <memory>
#include <optional>

class TDMAgendaZen;

/// Engine of several notary tables in which a time slot is one slot of all of them: it is added to and
/// deleted from every table, and the day shown is the same everywhere. Line operations, searches, copying and
/// pasting work on the current table.
///
/// Every table is written in a commit of its own, always in the order of the notaries. Operations that return
/// a boolean never throw: a failure cancels the pending change of the table concerned, is logged and gives
/// false.
class TAgenda3P
{
public:
    /// Shows a day; asks whether to make its sheet where a table has no line of it.
    /// @param propietario  owner of the report windows; not owned, may be null.
    /// @param tablas       open tables of the host, not owned; with an empty first position the engine opens
    ///                     one table per notary itself.
    /// @throws dataset::EDatabaseError when a notary's table cannot be opened.
    TAgenda3P(QObject *propietario, QDate fecha, const TTablasNotarios &tablas);
    ~TAgenda3P();
    TAgenda3P(const TAgenda3P &) = delete;
    TAgenda3P &operator=(const TAgenda3P &) = delete;

    // Notaries
    /// Deliberate: with tables of the host it is one more than the tables given; it may exceed five.
    [[nodiscard]] int NumNotarios() const { return m_numNotarios; }
    /// @param notario 1-based. @return null where there is no table.
    [[nodiscard]] dataset::DataSet *Tabla(int notario) const { return TablaDe(m_tablas, notario); }
    [[nodiscard]] dataset::DataSet &TablaActual() const { return *m_tablaActual; }
    /// Makes notary `notario`'s table the current one; an empty position changes nothing.
    void PonNotarioActual(int notario);

    // Days. The searches, ranges and moves throw dataset::EDatabaseError when a table cannot be read.
    /// Restricts every table to a day. @return whether each of them holds a line of it.
    bool RangoPorFecha(QDate fecha);
    void CancelaRangoPorFecha();
    /// Builds the sheet of a day in every table and shows that day.
    /// @param preguntar  ask the user first. @return false when declined, or when a table has no line of it.
    bool InsertaDia(QDate fecha, bool preguntar);
    bool AnteriorDia();
    bool SiguienteDia();
    /// Searches the current table. With `exacta` false and an empty time: whether the line reached is of that
    /// day.
    bool BuscarPorFecha(QDate fecha, const QString &hora, bool exacta);
    void OrdenarListaPorFecha();

    // Slots and lines
    /// Adds and posts a line in every table; each stands on its new one. @return whether all took it.
    bool Anadir(QDate fecha, const QString &hora);
    /// Puts the current line in edit mode; says so when the day has none.
    bool Modificar();
    /// Deletes the slot of the current line from every table. Deliberate: the others are not searched, each
    /// is taken to stand on the same slot.
    bool Borrar(bool preguntar);
    bool AceptarAgendaN();
    bool CancelarAgendaN(bool preguntar);
    /// Puts the outing mark on the current line, or takes it away.
    bool Salida();
    /// Puts the absence mark on every line of the shown day, or takes it away, each by itself.
    bool Ausente();

    // Copying
    /// Adds the current line to the copy buffer. @throws dataset::EDatabaseError
    void Copiar();
    /// Writes every copied line into the same hour of a day; what stands there is written over. Lines of
    /// other days and hours stay as they are, and so does the day shown.
    void Pegar(QDate fecha);
    /// The same, every line shifted so that the first one lands at `hora`. Deliberate: no wrap at midnight.
    void PegarHora(QDate fecha, const QString &hora);
    /// Blanks the current line but for its date, hour, client code and notice flag.
    void Limpiar(bool preguntar);
    void LimpiarBufferDeCopia();
    [[nodiscard]] bool HayDatosEnPortapapeles() const;

private:
    struct TAnadida {
        bool Todas = true;
        bool Actual = false;
    };
    class TSitio;

    void AbreTablasPropias();
    TAnadida AnadeEnTodas(QDate fecha, const QString &hora);
    bool BorraSiEsDe(dataset::DataSet &tabla, const QString &hora);
    std::optional<bool> AlternaMarca(const QString &marca, const QString &otra);
    [[nodiscard]] QDate DiaMostrado() const;
    void PreparaBuffer();
    void PegaDesplazado(QDate fecha, int minutos, bool desplaza);
    void PegaFila(QDate fecha, const QString &hora);

    QPointer<QObject> m_propietario;
    std::unique_ptr<dataset::MemTable> m_buffer;
    int m_numNotarios = 0;
    std::unique_ptr<TDMAgendaZen> m_datos;
    TTablasNotarios m_tablas{};
    dataset::DataSet *m_tablaActual = nullptr;
    QDate m_dia; ///< last shown, for when it has no lines
};
