#pragma once

#include "agenda/HoraTexto.h" // IncrementaHora comes along with the engine
#include "agenda/MotorComun.h"
#include "agendan/VistasAgendaN.h"
#include "dataset/DataSet.h"

#include <QtCore/QDate>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QPointer>
#include <QtCore/QString>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

class IInformesAgenda;
enum class TClaseInforme;
class TClientesRaiz;
class TDMAgendaN;
struct TLineaAgenda;
namespace dataset
{
class MemTable;
}

/// Engine of the multi-notary agenda: up to five notary tables, one of them the current one, on which every
/// line operation works. It has no window of its own; it asks for them through IVistasAgendaN.
///
/// Operations that return a boolean never throw: a database error cancels the pending change, is logged and
/// gives false. The searches, ranges and moves say so where they throw.
class TClassAgendaN
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
    /// Deliberate: with tables of the host it is one more than the tables given; it may exceed five.
    [[nodiscard]] int NumNotarios() const { return m_numNotarios; }
    /// @param notario 1-based; positions above five mean the fifth. @return null where there is no table.
    [[nodiscard]] dataset::DataSet *Tabla(int notario) const;
    /// The table on which line operations work. Asking while there is none is a programming error.
    [[nodiscard]] dataset::DataSet &TablaActual() const;
    /// Makes notary `notario`'s table the current one; an empty position changes nothing.
    void PonNotarioActual(int notario);
    [[nodiscard]] QString NombreNotario(int notario) const;
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
    /// The day that RangoPorFecha last showed on the current table; invalid before the first time.
    [[nodiscard]] QDate DiaPedido() const { return m_dias.value(m_tablaActual); }
    /// Shows the nearest earlier / later day that has lines. @return false, and the same day shown, when
    /// there is none.
    bool AnteriorDia();
    bool SiguienteDia();
    /// Searches the current table. With `exacta` false and an empty time: whether the line reached is of that
    /// day.
    bool BuscarPorFecha(QDate fecha, const QString &hora, bool exacta);
    /// By date, and within it by hour: days can be shown afterwards, whatever indexes the table has.
    void OrdenarListaPorFecha();

    // Lines of the current table
    /// Leaves a new line (SALIDA and AVISO "N") in insert mode.
    bool Anadir(QDate fecha, const QString &hora);
    /// Puts the current line in edit mode; says so when the day has none.
    /// @param linea  `fresh` for who shows the line before anything is typed into it.
    bool Modificar(dataset::EditOf linea = dataset::EditOf::seen);
    /// Deletes the current line. Deliberate: an empty day counts as a successful delete.
    bool Borrar(bool preguntar);
    /// Posts the pending insert or edit. On failure the change is cancelled and false returned.
    bool AceptarAgendaN();
    bool CancelarAgendaN(bool preguntar);
    /// Marks the current line as an outing. Deliberate: marking twice puts the mark twice.
    bool Salida();
    /// Marks every line of the shown day as absence; the cursor stays on its line. Does nothing, and gives
    /// false, in a table that shows no day when the current line has no date.
    bool Ausente();
    /// Copies the current line to another date of the same notary, at the same hour, as one line more:
    /// nothing is replaced there and no sheet is built. The cursor stays on the line, and the shown day too.
    /// @return false, with nothing written, when there is no line to copy or no line can be added.
    /// @throws dataset::EDatabaseError when the copy cannot be written; nothing is left pending.
    bool CopiarCita(QDate destino);

    // Several lines of the current table, as the clerk saw them when he gave the command. A line that the
    // table holds otherwise by now is left alone, and named. Each operation is one commit; when that cannot
    // be written, every line is tried as a commit of its own, so that one bad line does not hold up the
    // others. They never throw and ask nothing; to be called with nothing being edited. The cursor goes where
    // the work leads it.
    using TLineas = QList<dataset::SeenRecord>;
    struct TLineaFallida {
        dataset::SeenRecord Linea;
        QString Causa;
    };
    using TFallidas = QList<TLineaFallida>; ///< in the order of the lines given
    TFallidas BorrarLineas(const TLineas &lineas);
    /// As CopiarCita() for each.
    TFallidas CopiarLineas(const TLineas &lineas, QDate destino);
    /// Copies and deletes: a line that is not deleted is not copied either.
    TFallidas MoverLineas(const TLineas &lineas, QDate destino);
    /// As Salida() for each, one commit a line.
    TFallidas MarcarSalidas(const TLineas &lineas);

    /// What the last failed operation met, for telling the user, and forgets it; empty when none has failed
    /// since.
    [[nodiscard]] QString TomaError() { return std::exchange(m_ultimoError, {}); }

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
    template <class TTrabajo> bool ConGuarda(const char *operacion, TTrabajo &&trabajo);
    void AbreTablasPropias();
    bool ConstruyeHoja(QDate fecha, bool soloSiFalta);
    void SincronizaTablaActual(QDate fecha);
    using TOperacionDeLinea = std::function<void(const dataset::SeenRecord &)>;
    /// Tries an operation on each line; what it throws is noted.
    TFallidas PorCadaLinea(const TLineas &lineas, const TOperacionDeLinea &operacion);
    TFallidas EnUnGrupo(const TLineas &lineas, const TOperacionDeLinea &operacion);
    TFallidas Mueve(const TLineas &lineas, QDate destino);
    void EscribeCopia(TLineaAgenda linea);
    void EscribeMarca(const QString &marca);
    [[nodiscard]] QDate DiaMostrado() const;
    std::optional<bool> MarcaLineaActual(const QString &marca);
    void VuelveALaLinea(const TLineaAgenda &linea) noexcept;
    void MuestraInforme(TClaseInforme clase, QDate fecha);
    /// The data module's week rows; an engine over the host's tables has some of its own.
    [[nodiscard]] dataset::MemTable &SemanaDeInforme();

    QPointer<QObject> m_propietario;
    TClientesRaiz *m_clientes = nullptr;
    IVistasAgendaN *m_vistas = nullptr;
    IInformesAgenda *m_informes = nullptr;
    int m_numNotarios = 0;
    std::unique_ptr<TDMAgendaN> m_datos;
    std::unique_ptr<dataset::MemTable> m_semanaPropia;
    TTablas m_tablas{};
    dataset::DataSet *m_tablaActual = nullptr;
    QHash<const dataset::DataSet *, QDate> m_dias; ///< day last shown of each table, for when it has no lines
    QString m_ultimoError;
};
