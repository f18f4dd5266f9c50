#pragma once

#include "agenda/DiaDeTabla.h"
#include "agenda/Respuesta.h"
#include "dataset/DbfTable.h"

#include <QtCore/QDate>
#include <QtCore/QPointer>
#include <QtCore/QString>

#include <array>
#include <functional>
#include <memory>
#include <optional>

class IInformesAgenda;
enum class TClaseInforme;
namespace dataset
{
class MemTable;
}

/// Places for notaries in the engines of several tables.
inline constexpr int MaxNotarios = 5;
/// The table of each notary; null where there is none.
using TTablasNotarios = std::array<dataset::DataSet *, MaxNotarios>;

/// Why an operation on the current line refuses one that is not seen.
inline const QString LineaDeOtroDia =
    QStringLiteral("La línea ya no está entre las que se ven: es de otro día o de otra hora.");

/// What the user has before him when he gives a command: the lines of the day, or the one line of a card,
/// which may be of another day.
enum class TALaVista { dia, ficha };

/// What the engines have in common: the tables and the day that each shows, the current one, the guard around
/// operations on it, the search, the pending change, and the reports of notary tables. The engine of a single
/// table has that one.
class TMotorDeTablas
{
public:
    TMotorDeTablas(const TMotorDeTablas &) = delete;
    TMotorDeTablas &operator=(const TMotorDeTablas &) = delete;

    /// Deliberate: with tables of the host it is one more than the tables given; it may exceed five.
    [[nodiscard]] int NumNotarios() const { return m_numNotarios; }
    /// @param notario 1-based. @return null where there is no table.
    [[nodiscard]] dataset::DataSet *Tabla(int notario) const;
    /// The table on which line operations work. Asking while there is none is a programming error.
    [[nodiscard]] dataset::DataSet &TablaActual() const;
    /// Makes notary `notario`'s table the current one; an empty position changes nothing.
    void PonNotarioActual(int notario);
    /// Name of a notary, 1 onwards, as the host's settings have it.
    [[nodiscard]] static QString NombreNotario(int notario);
    /// The day of a notary who has a table, and of the current one.
    [[nodiscard]] TDiaDeTabla &Dia(int notario) const
    {
        return *m_dias.at(static_cast<std::size_t>(notario - 1));
    }
    [[nodiscard]] TDiaDeTabla &DiaActual() const { return Dia(m_actual); }

    /// Searches the current table. With `exacta` false and an empty time: whether the line reached is of that
    /// day. @throws dataset::EDatabaseError
    bool BuscarPorFecha(QDate fecha, const QString &hora, bool exacta);
    /// Gives the current table its order by date, and within it by hour: days can be shown afterwards,
    /// whatever indexes the table has. @throws dataset::EDatabaseError
    void OrdenarListaPorFecha();
    /// Puts the current line in edit mode; says so where there is none. A line that is not among those of the
    /// day is refused, unless the user has it before him on its card.
    TRespuesta Modificar(TALaVista vista = TALaVista::dia);
    /// Goes to a line and puts it in edit mode as it was seen.
    TRespuesta Modificar(const dataset::SeenRecord &linea);
    /// Gives up what is pending in the current table. @param preguntar  ask first. @return false when the
    /// user has said no.
    bool CancelarAgendaN(bool preguntar);

protected:
    /// @param propietario  owner of the windows; not owned, may be null.
    /// @param tablas       open tables of the host, not owned; with an empty first position AbreTablas() is
    /// to
    ///                     be called.
    /// @param informes     not owned, outlives the engine; null where no report is ever asked for.
    /// @throws dataset::EDatabaseError when a table lacks a field of an agenda.
    TMotorDeTablas(QObject *propietario, const TTablasNotarios &tablas, IInformesAgenda *informes);
    ~TMotorDeTablas();

    /// Opens a table for every notary of the office, one where the office counts none.
    /// @param tabla     gives the cursor of a notary, 1 to 5.
    /// @param sinAbrir  is told of a notary whose table cannot be opened, which has its place all the same
    /// and
    ///                  stays closed; null: the failure is thrown. @throws dataset::EDatabaseError
    void AbreTablas(const std::function<dataset::DbfTable &(int)> &tabla,
                    const std::function<void(int notario)> &sinAbrir = {});
    /// Opens one of them. What it has found stays with the table, to be told later.
    /// @throws dataset::EDatabaseError, with the table closed, also when it lacks a field of an agenda.
    static void AbreAgendaN(dataset::DbfTable &tabla);
    /// Takes the one table of an engine that opens it for each use. @param tabla  not owned, outlives the
    /// engine; it may be closed. @param lineas  those that its day shows.
    void PonTablaUnica(dataset::DataSet &tabla, TLineasDelDia lineas);
    [[nodiscard]] int NotarioActual() const { return m_actual; }
    /// What an operation on the current line says where there is none.
    struct TSinLinea {
        QString Texto;
        QString Consejo;
        bool Respuesta; ///< the operation's, by its contract
    };
    /// For a day without appointments to delete or to clear. Deliberate: one engine counts a deletion with
    /// nothing to delete as done.
    [[nodiscard]] static TSinLinea SinCitaQue(const QString &verbo, bool respuesta);
    /// Looks whether the current line may be worked on. @return nothing where it may; else the operation's
    /// answer: where there is no line the user has been told, and one that is not seen is refused.
    [[nodiscard]] std::optional<TRespuesta> RespuestaSinLinea(TALaVista vista, const TSinLinea &aviso) const;
    [[nodiscard]] QObject *Propietario() const { return m_propietario; }

    /// What becomes of the pending change of a failed operation: most contracts give it up.
    enum class TTrasFallo { cancela, deja };
    /// Runs work on a table, which answers a boolean or TRespuesta; a failure is logged, and is the answer.
    template <class TTrabajo>
    static TRespuesta ConGuarda(dataset::DataSet &tabla, const char *operacion, TTrabajo &&trabajo,
                                TTrasFallo despues = TTrasFallo::cancela)
    {
        try {
            return trabajo();
        } catch (const std::exception &error) {
            TrasFallo(tabla, operacion, error, despues);
            return TRespuesta::Fallo(dataset::plainText(error), dataset::isTableBusy(error));
        }
    }
    /// Posts what is pending in a table.
    static TRespuesta AceptaPendiente(dataset::DataSet &tabla, const char *operacion, TTrasFallo despues);

    /// Shows a report of the current table until the user closes it.
    /// @param semana    rows for a week; null: some are made for the while.
    /// @param ponRango  shows a day where the engine shows days. @throws what the table or the layout throws
    void MuestraInforme(TClaseInforme clase, QDate fecha, dataset::MemTable *semana,
                        const std::function<void(QDate)> &ponRango);

private:
    static void TrasFallo(dataset::DataSet &tabla, const char *operacion, const std::exception &error,
                          TTrasFallo despues);
    void PonTablas();

    QPointer<QObject> m_propietario;
    IInformesAgenda *m_informes;
    TTablasNotarios m_tablas;
    std::array<std::unique_ptr<TDiaDeTabla>, MaxNotarios> m_dias;
    int m_numNotarios = 0;
    int m_actual = 1;
};
