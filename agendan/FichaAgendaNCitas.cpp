// The commands that work on appointments.

#include "agendan/FichaAgendaN.h"

#include "agenda/GuardaVentana.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/MaskEdit.h"

#include <algorithm>

using dataset::Bookmark;
using dataset::DataSet;

namespace
{

constexpr qsizetype CitasNombradas = 12; ///< in one message; more would not fit on a screen

/// Where the clerk stands in the day, to be found again after lines have gone.
class TSitioEnElDia
{
public:
    explicit TSitioEnElDia(DataSet &tabla)
        : m_tabla(tabla)
        , m_vista(tabla.keepView())
        , m_fila(tabla.currentRow())
    {
        for (int fila = 0; fila < tabla.rowCount(); ++fila)
            m_lineas.append(tabla.bookmarkAt(fila));
    }
    /// The same line, or else the next one that is still there, or the one before. Throws nothing: the
    /// command has been done. Where none can be read all is shown as it was, to be brought up to date by the
    /// next refresh.
    void Vuelve() const
    {
        for (qsizetype fila = qMax(0, m_fila); fila < m_lineas.size(); ++fila) {
            if (Va(m_lineas.at(fila)))
                return;
        }
        for (qsizetype fila = m_fila - 1; fila >= 0; --fila) {
            if (Va(m_lineas.at(fila)))
                return;
        }
        try {
            m_tabla.first();
        } catch (const std::exception &error) {
            qWarning("The line where the clerk stood: %s", error.what());
            m_tabla.showAgain(m_vista);
        }
    }
    /// The same, when the current line is none of the day's.
    void VuelveSiEstaFuera() const
    {
        if (!m_tabla.isEditing() && m_tabla.currentRow() < 0)
            Vuelve();
    }

private:
    [[nodiscard]] bool Va(Bookmark linea) const
    {
        try {
            return m_tabla.rowOf(linea) >= 0 && m_tabla.goToBookmark(linea);
        } catch (const std::exception &error) {
            qWarning("The line where the clerk stood: %s", error.what());
            return false;
        }
    }
    DataSet &m_tabla;
    dataset::KeptView m_vista;
    int m_fila;
    QList<Bookmark> m_lineas;
};

/// What a clerk knows an appointment by, as he saw it.
QString HoraEInteresado(const DataSet &tabla, const dataset::SeenRecord &linea)
{
    const TLineaAgenda una = TLineaAgenda::DeVista(tabla, linea);
    return QString(una.Hora + u' ' + una.Interesado).trimmed();
}

/// The hour of a command's only line, as the clerk saw it; the table may tell another by now.
QString HoraDe(const TLineasVistas &lineas, const DataSet &tabla)
{
    return TLineaAgenda::DeVista(tabla, lineas.value(0)).Hora;
}

/// A message: what has failed, on which appointments, and why. Those that failed for one reason stand
/// together.
QString QueHaFallado(const QString &que, const TLineasFallidas &fallidas, const DataSet &tabla)
{
    QStringList renglones{que};
    for (qsizetype i = 0; i < qMin(fallidas.size(), CitasNombradas); ++i) {
        const QString &causa = fallidas.at(i).Causa;
        renglones << HoraEInteresado(tabla, fallidas.at(i).Linea);
        const bool ultima = i + 1 == fallidas.size() || i + 1 == CitasNombradas;
        if (ultima && fallidas.size() > CitasNombradas)
            renglones << QStringLiteral("... y otras %1").arg(fallidas.size() - CitasNombradas);
        if (!causa.isEmpty() && (ultima || fallidas.at(i + 1).Causa != causa))
            renglones << causa;
    }
    return renglones.join(u'\n');
}

} // namespace

TLineasVistas TFFichaAgendaN::LineasDeLaOrden() const
{
    const DataSet &tabla = *GetDatosAgendaN();
    const QList<Bookmark> seleccion = GetDBGAgendaN()->selectedBookmarks();
    TLineasVistas lineas;
    if (seleccion.size() >= 2) {
        for (const Bookmark linea : seleccion)
            lineas << tabla.seen(linea);
    } else if (tabla.bookmark() != 0 && !m_motor->Dia(Pestana() + 1).LineaFuera()) {
        lineas << tabla.seen(); // not one of another day, on which the cursor may have been left
    }
    return lineas;
}

TLineasVistas TFFichaAgendaN::LasDemas() const
{
    const DataSet &tabla = *GetDatosAgendaN();
    TLineasVistas lineas;
    for (const Bookmark linea : tabla.rows()) {
        if (linea != tabla.bookmark())
            lineas << tabla.seen(linea);
    }
    return lineas;
}

bool TFFichaAgendaN::SiguenIguales(const TLineasVistas &lineas) const
{
    const DataSet &tabla = *GetDatosAgendaN();
    const TLineasVistas ahora = LasDemas();
    const auto igual = [&tabla](const dataset::SeenRecord &una, const dataset::SeenRecord &otra) {
        return una.bookmark() == otra.bookmark() &&
               std::all_of(TodosLosCampos.begin(), TodosLosCampos.end(), [&](TCampoLinea campo) {
                   const int cual = tabla.fieldIndex(NombreDe(campo));
                   return tabla.textOf(una, cual) == tabla.textOf(otra, cual);
               });
    };
    return std::equal(lineas.begin(), lineas.end(), ahora.begin(), ahora.end(), igual);
}

void TFFichaAgendaN::FichaCita(TOperacion operacion)
{
    DataSet *const tabla = GetDatosAgendaN();
    if (!tabla)
        return;
    const TSitioEnElDia sitio(*tabla);
    m_motor->FichaCita(operacion);
    // An appointment made for another day leaves the cursor there; the shown day stays.
    sitio.VuelveSiEstaFuera();
}

void TFFichaAgendaN::ABorrarExecute()
{
    DataSet *const tabla = GetDatosAgendaN();
    if (!tabla)
        return;
    const TLineasVistas lineas = LineasDeLaOrden(); // as they are seen before the question
    if (lineas.size() < 2) {
        AvisaSiFallo(m_motor->Borrar(true),
                     QStringLiteral("No se ha podido borrar la cita de las %1.").arg(HoraDe(lineas, *tabla)));
        return;
    }
    TMensaje pregunta;
    pregunta.Clase = TClaseMensaje::pregunta;
    pregunta.Texto = QStringLiteral("¿Desea borrar las citas seleccionadas?");
    pregunta.Icono = TIconoMensaje::pregunta;
    pregunta.Titulo = QStringLiteral(" ATENCIÓN");
    if (Servicios().Mensaje->Mensajes(pregunta) != RespuestaSi)
        return;
    const TSitioEnElDia sitio(*tabla);
    const auto fallidas = m_motor->BorrarLineas(lineas);
    sitio.Vuelve();
    if (!fallidas.isEmpty())
        AvisaError(QueHaFallado(QStringLiteral("No se ha podido borrar:"), fallidas, *tabla));
}

void TFFichaAgendaN::ASalidaExecute()
{
    DataSet *const tabla = GetDatosAgendaN();
    if (!tabla)
        return;
    const TLineasVistas lineas = LineasDeLaOrden();
    if (lineas.size() < 2) {
        AvisaSiFallo(
            m_motor->Salida(),
            QStringLiteral("No se ha podido marcar la salida de las %1.").arg(HoraDe(lineas, *tabla)));
        return;
    }
    const auto fallidas = m_motor->MarcarSalidas(lineas);
    if (!fallidas.isEmpty())
        AvisaError(QueHaFallado(QStringLiteral("No se ha podido marcar la salida."), fallidas, *tabla));
}

void TFFichaAgendaN::AAusenteExecute()
{
    if (!GetDatosAgendaN())
        return;
    if (!m_diaVisto) { // the whole day is marked as it is seen, and it has only just come
        AvisaAlUsuario(QStringLiteral("Otro puesto ha cambiado el día mientras tanto. Mire lo que "
                                      "dice ahora y repita la orden."));
        return;
    }
    AvisaSiFallo(m_motor->Ausente(),
                 QStringLiteral("No se ha podido marcar la ausencia en todas las líneas."));
}

void TFFichaAgendaN::CopiaCitas(TTrasCopiar tras)
{
    DataSet *const tabla = GetDatosAgendaN();
    if (!tabla)
        return;
    const bool mover = tras == TTrasCopiar::borrar;
    const TLineasVistas lineas = LineasDeLaOrden(); // as they are seen before the question
    QDate destino = Servicios().Reloj->Hoy();
    if (!PreguntaFecha(destino))
        return;
    // Deliberate: choosing the day that is shown does nothing.
    if (destino == FechaActual())
        return;
    if (lineas.isEmpty()) {
        AvisaAlUsuario(mover ? QStringLiteral("No hay ninguna cita que mover.")
                             : QStringLiteral("No hay ninguna cita que copiar."));
        return;
    }
    const TSitioEnElDia sitio(*tabla);
    const auto fallidas =
        mover ? m_motor->MoverLineas(lineas, destino) : m_motor->CopiarLineas(lineas, destino);
    sitio.Vuelve();
    if (!fallidas.isEmpty())
        AvisaError(QueHaFallado(mover ? QStringLiteral("No se ha podido mover:")
                                      : QStringLiteral("No se ha podido copiar:"),
                                fallidas, *tabla));
}

void TFFichaAgendaN::AContactoExecute()
{
    DataSet *const tabla = GetDatosAgendaN();
    TClientesRaiz *const clientes = m_motor->Clientes();
    if (!tabla || !clientes)
        return;
    const qint64 codigo = TLineaAgenda::Actual(*tabla).Codigo();
    if (codigo == 0)
        clientes->Explora(QStringLiteral("Lista de clientes"));
    else
        clientes->MuestraFicha(codigo);
}
