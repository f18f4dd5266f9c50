#include "agenda/OrdenesDeLineas.h"

#include "agenda/Ruttb.h"

#include <QtCore/QHash>
#include <QtCore/QLoggingCategory>
#include <QtCore/QSet>

#include <algorithm>

using dataset::SeenRecord;

namespace
{

Q_LOGGING_CATEGORY(registroLineas, "agenda.motor")

TLineasFallidas Todas(const TLineasVistas &lineas, const QString &causa)
{
    TLineasFallidas fallidas;
    for (const SeenRecord &linea : lineas)
        fallidas.append({linea, causa});
    return fallidas;
}

} // namespace

QString HorasYCausas(const THorasFallidas &fallidas)
{
    QStringList causas;
    QHash<QString, QStringList> horas;
    for (const auto &[hora, causa] : fallidas) {
        if (!horas.contains(causa))
            causas << causa;
        horas[causa] << (hora.isEmpty() ? QStringLiteral("Una línea sin hora o sin leer") : hora);
    }
    QStringList renglones;
    for (const QString &causa : causas)
        renglones << horas.value(causa).join(QStringLiteral(", ")) + QStringLiteral(": ") + causa;
    return renglones.join(u'\n');
}

void EscribeCopia(dataset::DataSet &tabla, TLineaAgenda linea)
{
    dataset::PendingEditGuard pendiente(tabla);
    // Deliberate: codes lose their fraction, and no client is written as 0.
    linea.CodCliente = static_cast<double>(linea.Codigo());
    linea.Escribe(tabla, CamposDeCita);
    linea.Escribe(tabla, TCampoLinea::hora);
    TBPost(tabla);
    pendiente.keep();
}

void EscribeMarca(dataset::DataSet &tabla, const QString &marca)
{
    TLineaAgenda linea = TLineaAgenda::Actual(tabla);
    linea.Concepto.prepend(marca);
    linea.Salida = EstaFuera;
    linea.Escribe(tabla, std::array{TCampoLinea::concepto, TCampoLinea::salida});
}

/// Tries an operation on each line; what it throws is noted.
TLineasFallidas TOrdenesDeLineas::PorCadaLinea(const TLineasVistas &lineas, const TOperacion &operacion)
{
    TLineasFallidas fallidas;
    for (qsizetype i = 0; i < lineas.size(); ++i) {
        try {
            operacion(lineas.at(i));
        } catch (const std::exception &error) {
            qCWarning(registroLineas, "A line of several: %s", error.what());
            CancelaSinPreguntar(m_tabla);
            if (dataset::isTableBusy(error))
                return fallidas + Todas(lineas.mid(i), dataset::plainText(error));
            fallidas.append({lineas.at(i), dataset::plainText(error)});
        }
    }
    return fallidas;
}

TLineasFallidas TOrdenesDeLineas::EnUnGrupo(const TLineasVistas &lineas, const TOperacion &operacion)
{
    const dataset::ControlsGuard sinAvisos(m_tabla);
    if (lineas.size() > 1) {
        try {
            dataset::CommitGroup juntas(m_tabla);
            const TLineasFallidas fallidas = PorCadaLinea(lineas, operacion);
            juntas.commit();
            return fallidas;
        } catch (const dataset::EDatabaseError &error) {
            qCWarning(registroLineas, "The lines could not be written as a whole: %s", error.what());
            if (dataset::isTableBusy(error))
                return Todas(lineas, dataset::plainText(error));
        }
    }
    return PorCadaLinea(lineas, operacion);
}

TLineasFallidas TOrdenesDeLineas::Borra(const TLineasVistas &lineas)
{
    return EnUnGrupo(lineas, [this](const SeenRecord &linea) { m_tabla.remove(linea); });
}

TLineasFallidas TOrdenesDeLineas::Copia(const TLineasVistas &lineas, QDate destino)
{
    return EnUnGrupo(lineas, [this, destino](const SeenRecord &linea) {
        m_tabla.goToSeen(linea);
        InsertaLinea(m_tabla, destino, {});
        EscribeCopia(m_tabla, TLineaAgenda::DeVista(m_tabla, linea));
    });
}

TLineasFallidas TOrdenesDeLineas::Marca(const TLineasVistas &lineas, const QString &marca)
{
    return Cambia(lineas, [&marca](dataset::DataSet &tabla) { EscribeMarca(tabla, marca); });
}

TLineasFallidas TOrdenesDeLineas::Cambia(const TLineasVistas &lineas,
                                         const std::function<void(dataset::DataSet &)> &cambio)
{
    return EnUnGrupo(lineas, [this, &cambio](const SeenRecord &linea) {
        m_tabla.edit(linea);
        cambio(m_tabla);
        TBPost(m_tabla);
    });
}

TRespuesta TOrdenesDeLineas::CambiaTodas(const std::function<void(dataset::DataSet &)> &cambio)
{
    const dataset::ControlsGuard sinAvisos(m_tabla);
    if (m_tabla.isModified()) // part of its line
        TBPost(m_tabla);
    const dataset::Bookmark donde = m_tabla.bookmark();
    TLineasVistas lineas;
    for (int fila = 0; fila < m_tabla.rowCount(); ++fila)
        lineas << m_tabla.seen(m_tabla.bookmarkAt(fila));
    THorasFallidas fallidas;
    for (const TLineaFallida &una : Cambia(lineas, cambio))
        fallidas.emplaceBack(TLineaAgenda::DeVista(m_tabla, una.Linea).Hora, una.Causa);
    const bool alguna = fallidas.size() < lineas.size();
    fallidas += AnadidasDesde(lineas);
    try {
        if (!m_tabla.goToBookmark(donde))
            m_tabla.first();
    } catch (const std::exception &error) { // the work is done, and what is left of it is to be told
        qCWarning(registroLineas, "The line that was current is not gone back to: %s", error.what());
    }
    return {alguna, HorasYCausas(fallidas)};
}

/// The lines that the table shows by now and were not among those seen. Throws nothing: the work is done.
THorasFallidas TOrdenesDeLineas::AnadidasDesde(const TLineasVistas &lineas)
{
    QSet<dataset::Bookmark> vistas;
    for (const SeenRecord &linea : lineas)
        vistas.insert(linea.bookmark());
    THorasFallidas anadidas;
    try {
        m_tabla.refresh();
        for (int fila = 0; fila < m_tabla.rowCount(); ++fila) {
            if (!vistas.contains(m_tabla.bookmarkAt(fila)))
                anadidas.emplaceBack(TextoDeFila(m_tabla, fila, TCampoLinea::hora), LaHaAnadidoOtro);
        }
    } catch (const std::exception &error) {
        qCWarning(registroLineas, "Lines added meanwhile are not looked for: %s", error.what());
    }
    return anadidas;
}

/// To be called in a group. @return the lines that could not be deleted, of which nothing has been written.
/// @throws std::exception when a copy cannot be made: the group is to be dropped.
TLineasFallidas TOrdenesDeLineas::BorraYCopia(const TLineasVistas &lineas, QDate destino)
{
    // From the last to the first, and the copies afterwards: in one commit nobody sees the day in between,
    // and what cannot be deleted never has a copy that would have to be taken back.
    TLineasFallidas fallidas = PorCadaLinea(TLineasVistas(lineas.rbegin(), lineas.rend()),
                                            [this](const SeenRecord &linea) { m_tabla.remove(linea); });
    std::reverse(fallidas.begin(), fallidas.end());
    for (const SeenRecord &linea : lineas) {
        if (std::any_of(fallidas.begin(), fallidas.end(),
                        [&](const TLineaFallida &una) { return una.Linea.bookmark() == linea.bookmark(); }))
            continue;
        InsertaLinea(m_tabla, destino, {});
        EscribeCopia(m_tabla, TLineaAgenda::DeVista(m_tabla, linea));
    }
    return fallidas;
}

TLineasFallidas TOrdenesDeLineas::MueveEnUnCommit(const TLineasVistas &lineas, QDate destino)
{
    dataset::CommitGroup juntas(m_tabla);
    TLineasFallidas fallidas = BorraYCopia(lineas, destino);
    juntas.commit();
    return fallidas;
}

TLineasFallidas TOrdenesDeLineas::Mueve(const TLineasVistas &lineas, QDate destino)
{
    const dataset::ControlsGuard sinAvisos(m_tabla);
    if (lineas.size() > 1) {
        try {
            return MueveEnUnCommit(lineas, destino);
        } catch (const std::exception &error) {
            qCWarning(registroLineas, "The lines could not be moved as a whole: %s", error.what());
            CancelaSinPreguntar(m_tabla);
            if (dataset::isTableBusy(error))
                return Todas(lineas, dataset::plainText(error));
        }
    }
    TLineasFallidas fallidas;
    for (qsizetype i = 0; i < lineas.size(); ++i) {
        try {
            fallidas << MueveEnUnCommit({lineas.at(i)}, destino);
        } catch (const std::exception &error) {
            qCWarning(registroLineas, "A line that could not be moved: %s", error.what());
            CancelaSinPreguntar(m_tabla);
            if (dataset::isTableBusy(error))
                return fallidas + Todas(lineas.mid(i), dataset::plainText(error));
            fallidas.append({lineas.at(i), dataset::plainText(error)});
        }
    }
    return fallidas;
}
