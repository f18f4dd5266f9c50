#pragma once

#include "agenda/LineaAgenda.h"
#include "agenda/Respuesta.h"

#include <QtCore/QList>

#include <functional>
#include <utility>

/// Lines as the clerk saw them when he gave a command.
using TLineasVistas = QList<dataset::SeenRecord>;

struct TLineaFallida {
    dataset::SeenRecord Linea;
    QString Causa;
};
using TLineasFallidas = QList<TLineaFallida>; ///< in the order of the lines given

/// What has failed, hour by hour and why; hours of one cause stand together.
using THorasFallidas = QList<std::pair<QString, QString>>;
[[nodiscard]] QString HorasYCausas(const THorasFallidas &fallidas);

/// Why a line that the clerk has not seen is left alone.
inline const QString LaHaAnadidoOtro = QStringLiteral("Otro puesto la ha añadido mientras tanto.");

/// Commands on several lines of a table. A line that the table holds otherwise by now is left alone, and
/// named. Each command is one commit; when that cannot be written, every line is tried as a commit of its
/// own, so that one bad line does not hold up the others. Where others hold the whole table it is waited for
/// once, and all lines that are left are named. They throw nothing unless they say so, and ask nothing; to be
/// called with nothing being edited. The cursor goes where the work leads it.
class TOrdenesDeLineas
{
public:
    /// @param tabla  not owned; outlives this object.
    explicit TOrdenesDeLineas(dataset::DataSet &tabla)
        : m_tabla(tabla)
    {
    }
    TLineasFallidas Borra(const TLineasVistas &lineas);
    /// One line more for each on another date, at the same hour; see EscribeCopia().
    TLineasFallidas Copia(const TLineasVistas &lineas, QDate destino);
    /// Copies and deletes: a line that is not deleted is not copied either.
    TLineasFallidas Mueve(const TLineasVistas &lineas, QDate destino);
    /// Puts a mark in front of each subject, and SALIDA "S".
    TLineasFallidas Marca(const TLineasVistas &lineas, const QString &marca);
    /// Changes every line that the table shows, as it shows it, and goes back to the current line, unless
    /// that cannot be read by then.
    /// @param cambio  writes into the line that is being edited.
    /// @return whether a line has been changed; the cause names those that have not, by their hours, and
    /// those that others have added meanwhile.
    /// @throws dataset::EDatabaseError when what is pending cannot be stored.
    TRespuesta CambiaTodas(const std::function<void(dataset::DataSet &)> &cambio);

private:
    TLineasFallidas Cambia(const TLineasVistas &lineas,
                           const std::function<void(dataset::DataSet &)> &cambio);
    using TOperacion = std::function<void(const dataset::SeenRecord &)>;
    TLineasFallidas PorCadaLinea(const TLineasVistas &lineas, const TOperacion &operacion);
    TLineasFallidas EnUnGrupo(const TLineasVistas &lineas, const TOperacion &operacion);
    THorasFallidas AnadidasDesde(const TLineasVistas &lineas);
    TLineasFallidas BorraYCopia(const TLineasVistas &lineas, QDate destino);
    TLineasFallidas MueveEnUnCommit(const TLineasVistas &lineas, QDate destino);

    dataset::DataSet &m_tabla;
};

/// Fills the new line that has been begun with another one, but for the date, and posts it.
/// @throws dataset::EDatabaseError when it cannot be written; nothing is left pending.
void EscribeCopia(dataset::DataSet &tabla, TLineaAgenda linea);
/// Puts a mark in front of the subject of the line being edited, and SALIDA "S". Deliberate: marking twice
/// puts the mark twice. @throws dataset::EDatabaseError
void EscribeMarca(dataset::DataSet &tabla, const QString &marca);
