// The commands that work on appointments.

#include "agendan/FichaAgendaN.h"

#include "agenda/GuardaVentana.h"
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
        , m_fila(tabla.currentRow())
    {
        for (int fila = 0; fila < tabla.rowCount(); ++fila)
            m_lineas.append(tabla.bookmarkAt(fila));
    }
    /// The same line, or else the next one that is still there, or the one before.
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
        m_tabla.first();
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
        return m_tabla.rowOf(linea) >= 0 && m_tabla.goToBookmark(linea);
    }
    DataSet &m_tabla;
    int m_fila;
    QList<Bookmark> m_lineas;
};

/// What a clerk knows an appointment by; asked before anything happens to the line.
QHash<Bookmark, QString> HoraEInteresado(const DataSet &tabla, const QList<Bookmark> &lineas)
{
    const int hora = tabla.fieldIndex(u"HORA");
    const int interesado = tabla.fieldIndex(u"INTERESADO");
    QHash<Bookmark, QString> textos;
    for (const Bookmark linea : lineas) {
        const int fila = tabla.rowOf(linea);
        textos.insert(linea,
                      QString(tabla.textAt(fila, hora) + u' ' + tabla.textAt(fila, interesado)).trimmed());
    }
    return textos;
}

/// One part of a message: what has failed, on which appointments, and why. Empty when nothing has.
QString QueHaFallado(const QString &que, const QList<Bookmark> &lineas,
                     const QHash<Bookmark, QString> &textos, const QString &causa)
{
    if (lineas.isEmpty())
        return {};
    QStringList renglones{que};
    for (const Bookmark linea : lineas.first(qMin(lineas.size(), CitasNombradas)))
        renglones << textos.value(linea);
    if (lineas.size() > CitasNombradas)
        renglones << QStringLiteral("... y otras %1").arg(lineas.size() - CitasNombradas);
    if (!causa.isEmpty())
        renglones << causa;
    return renglones.join(u'\n');
}

} // namespace

QList<Bookmark> TFFichaAgendaN::LineasDeLaOrden() const
{
    const QList<Bookmark> seleccion = GetDBGAgendaN()->selectedBookmarks();
    if (seleccion.size() >= 2)
        return seleccion;
    const Bookmark actual = GetDatosAgendaN()->bookmark();
    return actual != 0 ? QList<Bookmark>{actual} : QList<Bookmark>();
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
    const QList<Bookmark> seleccion = GetDBGAgendaN()->selectedBookmarks();
    if (seleccion.size() < 2) {
        m_motor->Borrar(true);
        AvisaSiFallo(QStringLiteral("No se ha podido borrar la cita."));
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
    const auto textos = HoraEInteresado(*tabla, seleccion);
    const auto fallidas = m_motor->PorCadaLinea(seleccion, [this] { return m_motor->Borrar(false); });
    const QString causa = m_motor->TomaError();
    sitio.Vuelve();
    if (!fallidas.isEmpty())
        AvisaError(QueHaFallado(QStringLiteral("No se ha podido borrar:"), fallidas, textos, causa));
}

void TFFichaAgendaN::ASalidaExecute()
{
    DataSet *const tabla = GetDatosAgendaN();
    if (!tabla)
        return;
    const QList<Bookmark> seleccion = GetDBGAgendaN()->selectedBookmarks();
    if (seleccion.size() < 2)
        m_motor->Salida();
    for (qsizetype i = 0; seleccion.size() >= 2 && i < seleccion.size(); ++i) {
        if (tabla->goToBookmark(seleccion.at(i)))
            m_motor->Salida();
    }
    AvisaSiFallo(QStringLiteral("No se ha podido marcar la salida."));
}

void TFFichaAgendaN::AAusenteExecute()
{
    if (!GetDatosAgendaN())
        return;
    m_motor->Ausente();
    AvisaSiFallo(QStringLiteral("No se ha podido marcar la ausencia en todas las líneas."));
}

void TFFichaAgendaN::CopiaCitas(TTrasCopiar tras)
{
    DataSet *const tabla = GetDatosAgendaN();
    if (!tabla)
        return;
    const bool mover = tras == TTrasCopiar::borrar;
    QDate destino = Servicios().Reloj->Hoy();
    if (!PreguntaFecha(destino))
        return;
    // Deliberate: choosing the day that is shown does nothing.
    if (Date_Cad(destino) == MEFecha->text())
        return;
    const QList<Bookmark> lineas = LineasDeLaOrden();
    if (lineas.isEmpty()) {
        AvisaAlUsuario(mover ? QStringLiteral("No hay ninguna cita que mover.")
                             : QStringLiteral("No hay ninguna cita que copiar."));
        return;
    }
    const TSitioEnElDia sitio(*tabla);
    const auto textos = HoraEInteresado(*tabla, lineas);
    const auto sinCopiar =
        m_motor->PorCadaLinea(lineas, [this, destino] { return m_motor->CopiarCita(destino); });
    QStringList avisos{QueHaFallado(mover ? QStringLiteral("No se ha podido mover:")
                                          : QStringLiteral("No se ha podido copiar:"),
                                    sinCopiar, textos, m_motor->TomaError())};
    if (mover) {
        // From the last to the first, and only what has its copy.
        QList<Bookmark> copiadas;
        std::copy_if(lineas.rbegin(), lineas.rend(), std::back_inserter(copiadas),
                     [&](Bookmark linea) { return !sinCopiar.contains(linea); });
        const auto sinBorrar = m_motor->PorCadaLinea(copiadas, [this] { return m_motor->Borrar(false); });
        avisos << QueHaFallado(QStringLiteral("Se ha copiado, pero sigue también en este día:"), sinBorrar,
                               textos, m_motor->TomaError());
    }
    sitio.Vuelve();
    avisos.removeAll({});
    if (!avisos.isEmpty())
        AvisaError(avisos.join(QStringLiteral("\n\n")));
}

void TFFichaAgendaN::AContactoExecute()
{
    DataSet *const tabla = GetDatosAgendaN();
    TClientesRaiz *const clientes = m_motor->Clientes();
    if (!tabla || !clientes)
        return;
    const qint64 codigo = tabla->field(u"CODCLIENTE").asInteger();
    if (codigo == 0)
        clientes->Explora(QStringLiteral("Lista de clientes"));
    else
        clientes->MuestraFicha(codigo);
}
