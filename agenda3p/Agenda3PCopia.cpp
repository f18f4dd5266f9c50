// The copy buffer: lines are copied one by one and pasted onto a day, at their own hours or shifted.

#include "agenda/Avisos.h"
#include "agenda/HoraTexto.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Ruttb.h"
#include "agenda3p/Sitio3P.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QHash>
#include <QtCore/QSet>

#include <optional>
#include <utility>

using dataset::DataSet;

namespace
{

/// A line as it travels: its code without a fraction, and 0 for no client.
TLineaAgenda ParaCopiar(TLineaAgenda linea)
{
    linea.CodCliente = static_cast<double>(linea.Codigo());
    return linea;
}

const QString SinHora = QStringLiteral("Una cita copiada no tiene hora.");
const QString CitaAMedias = QStringLiteral("Hay una cita a medio escribir: acéptela o déjela antes.");

/// Empty where the hour is none that could be shifted.
QString HoraDesplazada(const QString &hora, int minutos)
{
    const std::optional<int> suyos = MinutosDeHora(hora);
    return suyos ? HoraDeMinutos(*suyos + minutos) : QString();
}

/// Whether something would be lost with what a line says.
bool EstaEscrita(const TLineaAgenda &linea)
{
    return !linea.EstaLibre() || linea.EsSalida();
}

} // namespace

void TAgenda3P::PreparaBuffer()
{
    if (!m_buffer)
        m_buffer = std::make_unique<dataset::MemTable>();
    if (m_buffer->isActive())
        return;
    if (!TablaActual().isActive()) // it has no fields to go by
        throw dataset::EDatabaseError(QStringLiteral("La tabla no está abierta"));
    QList<dataset::FieldInfo> campos;
    for (int campo = 0; campo < TablaActual().fieldCount(); ++campo)
        campos << TablaActual().fieldInfo(campo);
    m_buffer->create(campos);
}

void TAgenda3P::Copiar()
{
    CopiaAlBuffer(ParaCopiar(TLineaAgenda::Actual(TablaActual())));
}

void TAgenda3P::CopiaAlBuffer(const TLineaAgenda &linea)
{
    PreparaBuffer();
    const dataset::PendingEditGuard sinResto(*m_buffer);
    m_buffer->append();
    linea.Escribe(*m_buffer, CamposDeCita);
    linea.Escribe(*m_buffer, std::array{TCampoLinea::hora, TCampoLinea::fecha});
    m_buffer->post();
}

TRespuesta TAgenda3P::CopiarVistas(const THueco &lineas)
{
    QList<TLineaAgenda> copias; // all of them in front, so that a refused one leaves none copied
    {
        const TSitio vuelve(*this);
        for (const TLineaDeHueco &una : lineas) {
            DataSet *const tabla = Tabla(una.Notario);
            if (!tabla)
                return TRespuesta::Fallo(SinHueco(una.Notario));
            TLineaAgenda linea;
            const auto toma = [&]() -> TRespuesta {
                if (tabla->isEditing())
                    return TRespuesta::Fallo(CitaAMedias);
                linea = TLineaAgenda::DeVista(*tabla, una.Linea);
                tabla->goToSeen(una.Linea);
                return true;
            };
            if (const TRespuesta comoSeVio = ConGuarda(*tabla, "Copiar", toma, TTrasFallo::deja); !comoSeVio)
                return TRespuesta::Fallo(
                    ConNombre(una.Notario, linea.Hora + QStringLiteral(": ") + comoSeVio.Causa()));
            copias << ParaCopiar(linea);
        }
    }
    return ConGuarda(TablaActual(), "Copiar", [&] {
        for (const TLineaAgenda &linea : std::as_const(copias))
            CopiaAlBuffer(linea);
        return true;
    });
}

/// The buffered row into the line of a date and hour, which is added where it is missing.
TRespuesta TAgenda3P::PegaFila(QDate fecha, const QString &hora)
{
    QString causa;
    if (!BuscarPorFecha(fecha, hora, true)) {
        const TAnadida anadida = AnadeEnTodas(fecha, hora);
        causa = anadida.Todas.Causa();
        if (!anadida.Actual)
            return TRespuesta::Fallo(causa);
    }
    // It has just been read, and may be of a day that is not shown.
    if (const TRespuesta enEdicion = TMotorDeTablas::Modificar(TALaVista::ficha); !enEdicion)
        return enEdicion;
    ParaCopiar(TLineaAgenda::Actual(*m_buffer)).Escribe(TablaActual(), CamposDeCita);
    TBPost(TablaActual());
    return {true, causa};
}

TRespuesta TAgenda3P::PegaDesplazado(QDate fecha, int minutos, bool desplaza)
{
    if (!fecha.isValid())
        return false;
    const auto pega = [&] {
        TRespuesta respuesta = true;
        const TSitio vuelve(*this);
        for (m_buffer->first(); !m_buffer->eof(); m_buffer->next()) {
            const QString suya = TLineaAgenda::Actual(*m_buffer).Hora;
            const QString hora = desplaza ? HoraDesplazada(suya, minutos) : suya;
            const TRespuesta una =
                hora.isEmpty() && desplaza ? TRespuesta::Fallo(SinHora) : PegaFila(fecha, hora);
            if (!una.Causa().isEmpty())
                respuesta = {respuesta && una, una.Causa()};
        }
        return respuesta;
    };
    // Deliberate: what is pending on the line being pasted stays as it is.
    return ConGuarda(TablaActual(), "Pegar", pega, TTrasFallo::deja);
}

TRespuesta TAgenda3P::Pegar(QDate fecha)
{
    return HayDatosEnPortapapeles() ? PegaDesplazado(fecha, 0, false) : TRespuesta(false);
}

TRespuesta TAgenda3P::PegarHora(QDate fecha, const QString &hora)
{
    const std::optional<int> minutos = Desplazamiento(hora);
    return minutos ? PegaDesplazado(fecha, *minutos, true) : TRespuesta(false);
}

/// By how many minutes the first copied line is shifted to land at an hour.
std::optional<int> TAgenda3P::Desplazamiento(const QString &hora) const
{
    const std::optional<int> destino = MinutosDeHora(hora);
    const std::optional<int> primera = MinutosDeHora(HorasCopiadas().value(0));
    if (!destino || !primera)
        return {};
    return *destino - *primera;
}

QStringList TAgenda3P::HorasCopiadas() const
{
    QStringList horas;
    for (int fila = 0; HayDatosEnPortapapeles() && fila < m_buffer->rowCount(); ++fila)
        horas << TextoDeFila(*m_buffer, fila, TCampoLinea::hora);
    return horas;
}

// ---------------------------------------------------------------------------------------------------------------------
// A paste that the user has been asked about

TPegado TAgenda3P::PreparaPegado(QDate fecha, const QString &hora)
{
    TPegado pegado;
    pegado.Fecha = fecha;
    pegado.Notario = NotarioActual();
    const std::optional<int> minutos = hora.isNull() ? 0 : Desplazamiento(hora);
    if (!minutos || !fecha.isValid() || TablaActual().isEditing()) // the look would post what is pending
        return pegado;
    const TSitio vuelve(*this);
    QSet<QString> vistas;
    for (const QString &copiada : HorasCopiadas()) {
        TPegado::TDestino destino{copiada, hora.isNull() ? copiada : HoraDesplazada(copiada, *minutos), {}};
        if (!destino.Hora.isEmpty() && BuscarPorFecha(fecha, destino.Hora, true)) {
            const TLineaAgenda linea = TLineaAgenda::Actual(TablaActual());
            destino.Linea = linea.Vista;
            if (EstaEscrita(linea) && !pegado.Ocupadas.contains(destino.Hora))
                pegado.Ocupadas << destino.Hora;
        }
        pegado.SePisan = pegado.SePisan || vistas.contains(destino.Hora);
        vistas.insert(destino.Hora);
        pegado.Destinos << destino;
    }
    return pegado;
}

/// Whether another table has a line of a day and hour; one that cannot be read has none.
bool TAgenda3P::OtraTiene(QDate fecha, const QString &hora) const
{
    for (int notario = 1; notario <= MaxNotarios; ++notario) {
        DataSet *const tabla = Tabla(notario);
        if (tabla && notario != NotarioActual() &&
            ConGuarda(*tabla, "Pegar", [&] { return BuscaLineaDeFecha(*tabla, fecha, hora, true); }))
            return true;
    }
    return false;
}

/// Looks again where nothing was seen, and adds the slot where there still is none.
/// @return with a cause where it could not be added; then true when another table is the one that lacks it.
TRespuesta TAgenda3P::PonLinea(TPegado::TDestino &destino, QDate fecha)
{
    const QString &hora = destino.Hora;
    TRespuesta puesta = true;
    if (!BuscarPorFecha(fecha, hora, true)) {
        if (OtraTiene(fecha, hora)) {
            // A slot that others have and this notary has not is his alone to add.
            AnadeSolas(TablaActual(), fecha, {hora},
                       [](const QString &, int tiene) { return tiene > 0 ? 0 : 1; });
        } else {
            const TAnadida anadida = AnadeEnTodas(fecha, hora);
            puesta = {anadida.Actual, anadida.Todas.Causa()};
        }
        // Looked for again: others may have been quicker, also between two looks.
        if (!puesta || !BuscarPorFecha(fecha, hora, true))
            return TRespuesta::Fallo(puesta.Causa().isEmpty()
                                         ? QStringLiteral("No hay hueco a las %1.").arg(hora)
                                         : puesta.Causa());
    }
    const TLineaAgenda linea = TLineaAgenda::Actual(TablaActual());
    if (EstaEscrita(linea))
        return TRespuesta::Fallo(
            QStringLiteral("Otro puesto ha dado mientras tanto una cita a las %1.").arg(hora));
    destino.Linea = linea.Vista;
    return puesta;
}

TRespuesta TAgenda3P::PegaPreparado(const TPegado &pegado)
{
    PonNotarioActual(pegado.Notario);
    DataSet &tabla = TablaActual();
    return ConGuarda(tabla, "PegaPreparado", [&]() -> TRespuesta {
        if (tabla.isEditing())
            return TRespuesta::Fallo(CitaAMedias);
        if (pegado.Destinos.isEmpty())
            return TRespuesta::Fallo(HayDatosEnPortapapeles() ? SinHora
                                                              : QStringLiteral("No hay nada copiado."));
        QList<TPegado::TDestino> destinos = pegado.Destinos;
        QStringList copiadas;
        for (const TPegado::TDestino &uno : std::as_const(destinos))
            copiadas << uno.Copiada;
        if (copiadas != HorasCopiadas())
            return TRespuesta::Fallo(QStringLiteral("Lo copiado no es ya lo mismo."));
        const TSitio vuelve(*this);
        for (const TPegado::TDestino &uno : std::as_const(destinos)) { // a refused paste leaves no new slots
            if (uno.Linea.bookmark() != 0)
                tabla.goToSeen(uno.Linea);
        }
        QString causa;
        QHash<QString, int> ultima; // of several lines that go to one hour
        for (int i = 0; i < destinos.size(); ++i) {
            TPegado::TDestino &uno = destinos[i];
            if (uno.Hora.isEmpty())
                return TRespuesta::Fallo(SinHora);
            if (uno.Linea.bookmark() == 0 && !ultima.contains(uno.Hora)) {
                const TRespuesta puesta = PonLinea(uno, pegado.Fecha);
                if (!puesta)
                    return puesta;
                if (!puesta.Causa().isEmpty())
                    causa = puesta.Causa();
            } else if (uno.Linea.bookmark() == 0) {
                uno.Linea = destinos.at(ultima.value(uno.Hora)).Linea;
            }
            ultima[uno.Hora] = i;
        }
        dataset::CommitGroup juntas(tabla);
        for (int i = 0; i < destinos.size(); ++i) { // in the order copied, not in that of the hash
            if (ultima.value(destinos.at(i).Hora) != i)
                continue;
            tabla.edit(destinos.at(i).Linea);
            m_buffer->setCurrentRow(i);
            ParaCopiar(TLineaAgenda::Actual(*m_buffer)).Escribe(tabla, CamposDeCita);
            TBPost(tabla);
        }
        juntas.commit();
        return {true, causa};
    });
}

TRespuesta TAgenda3P::Limpiar(bool preguntar)
{
    DataSet &tabla = TablaActual();
    return ConGuarda(tabla, "Limpiar", [&]() -> TRespuesta {
        if (const auto sinLinea =
                RespuestaSinLinea(TALaVista::dia, SinCitaQue(QStringLiteral("limpiar"), false)))
            return *sinLinea;
        const dataset::SeenRecord vista = tabla.seen(); // yes is for this line, whatever comes meanwhile
        if (preguntar &&
            !PreguntaMotor(QStringLiteral("¿Desea limpiar la cita de las %1 de la base de datos?")
                               .arg(TLineaAgenda::Actual(tabla).Hora),
                           TituloAtencion))
            return false;
        tabla.edit(vista);
        TLineaAgenda().Escribe(tabla, std::array{TCampoLinea::interesado, TCampoLinea::concepto,
                                                 TCampoLinea::oficial, TCampoLinea::salida});
        TBPost(tabla);
        return true;
    });
}

void TAgenda3P::LimpiarBufferDeCopia()
{
    m_buffer.reset();
}

bool TAgenda3P::HayDatosEnPortapapeles() const
{
    return m_buffer && m_buffer->isActive() && !m_buffer->isEmpty();
}
