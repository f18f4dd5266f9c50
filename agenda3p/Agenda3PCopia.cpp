// The copy buffer: lines are copied one by one and pasted onto a day, at their own hours or shifted.

#include "agenda/Avisos.h"
#include "agenda/HoraTexto.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Ruttb.h"
#include "agenda3p/Agenda3P.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>

#include <deque>
#include <optional>
#include <utility>
#include <vector>

using dataset::DataSet;

namespace
{

Q_LOGGING_CATEGORY(registroCopia, "agenda.copia")

/// A line as it travels: its code without a fraction, and 0 for no client.
TLineaAgenda ParaCopiar(DataSet &tabla)
{
    TLineaAgenda linea = TLineaAgenda::Actual(tabla);
    linea.CodCliente = static_cast<double>(linea.Codigo());
    return linea;
}

} // namespace

/// Where every table stands, for going back after a paste; meanwhile none tells its watchers anything. A
/// table on which a change was left pending stays on it.
class TAgenda3P::TSitio
{
public:
    explicit TSitio(TAgenda3P &motor)
        : m_motor(motor)
        , m_dia(motor.DiaActual().ALaVista())
        , m_sinDia(motor.TablaActual().isEmpty())
    {
        for (int notario = 1; notario <= MaxNotarios; ++notario) {
            DataSet *const tabla = motor.Tabla(notario);
            if (!tabla)
                continue;
            m_quietas.emplace_back(*tabla);
            m_lineas.emplace_back(tabla, tabla->bookmark());
        }
        if (m_sinDia)
            motor.DiaActual().MuestraTodo();
    }
    ~TSitio()
    {
        for (const auto &[tabla, linea] : m_lineas) {
            try {
                if (!tabla->isEditing()) {
                    if (m_sinDia && tabla == &m_motor.TablaActual())
                        m_motor.DiaActual().Muestra(m_dia);
                    if (linea != 0 && !tabla->goToBookmark(linea))
                        tabla->first(); // gone: not on the line pasted last, which may be of another day
                }
            } catch (const std::exception &error) {
                qCWarning(registroCopia, "The day shown before could not be put back: %s", error.what());
            }
        }
    }
    TSitio(const TSitio &) = delete;
    TSitio &operator=(const TSitio &) = delete;

private:
    TAgenda3P &m_motor;
    QDate m_dia;
    bool m_sinDia; ///< an empty day takes no change, so the whole table is shown while there is one
    std::deque<dataset::ControlsGuard> m_quietas; ///< go last, after every table is where it was
    std::vector<std::pair<DataSet *, dataset::Bookmark>> m_lineas;
};

void TAgenda3P::PreparaBuffer()
{
    if (!m_buffer)
        m_buffer = std::make_unique<dataset::MemTable>();
    if (m_buffer->isActive())
        return;
    QList<dataset::FieldInfo> campos;
    for (int campo = 0; campo < TablaActual().fieldCount(); ++campo)
        campos << TablaActual().fieldInfo(campo);
    m_buffer->create(campos);
}

void TAgenda3P::Copiar()
{
    PreparaBuffer();
    const dataset::PendingEditGuard sinResto(*m_buffer);
    m_buffer->append();
    const TLineaAgenda linea = ParaCopiar(TablaActual());
    linea.Escribe(*m_buffer, CamposDeCita);
    linea.Escribe(*m_buffer, std::array{TCampoLinea::hora, TCampoLinea::fecha});
    m_buffer->post();
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
    ParaCopiar(*m_buffer).Escribe(TablaActual(), CamposDeCita);
    TBPost(TablaActual());
    return {true, causa};
}

TRespuesta TAgenda3P::PegaDesplazado(QDate fecha, int minutos, bool desplaza)
{
    const auto pega = [&] {
        TRespuesta respuesta = true;
        const TSitio vuelve(*this);
        for (m_buffer->first(); !m_buffer->eof(); m_buffer->next()) {
            const QString hora = TLineaAgenda::Actual(*m_buffer).Hora;
            const TRespuesta una =
                PegaFila(fecha, desplaza ? HoraDeMinutos(MinutosDeHora(hora).value_or(0) + minutos) : hora);
            if (!una.Causa().isEmpty())
                respuesta = una;
        }
        return respuesta;
    };
    // Deliberate: what is pending on the line being pasted stays as it is.
    return ConGuarda(TablaActual(), "Pegar", pega, TTrasFallo::deja);
}

TRespuesta TAgenda3P::Pegar(QDate fecha)
{
    PreparaBuffer();
    return m_buffer->isEmpty() ? TRespuesta(false) : PegaDesplazado(fecha, 0, false);
}

TRespuesta TAgenda3P::PegarHora(QDate fecha, const QString &hora)
{
    PreparaBuffer();
    if (m_buffer->isEmpty())
        return false;
    const std::optional<int> destino = MinutosDeHora(hora);
    m_buffer->first();
    const std::optional<int> primera = MinutosDeHora(TLineaAgenda::Actual(*m_buffer).Hora);
    return destino && primera ? PegaDesplazado(fecha, *destino - *primera, true) : TRespuesta(false);
}

TRespuesta TAgenda3P::Limpiar(bool preguntar)
{
    DataSet &tabla = TablaActual();
    return ConGuarda(tabla, "Limpiar", [&]() -> TRespuesta {
        if (const auto sinLinea =
                RespuestaSinLinea(TALaVista::dia, SinCitaQue(QStringLiteral("limpiar"), false)))
            return *sinLinea;
        if (preguntar &&
            !PreguntaMotor(QStringLiteral("¿Desea limpiar la cita de las %1 de la base de datos?")
                               .arg(TLineaAgenda::Actual(tabla).Hora),
                           TituloAtencion))
            return false;
        tabla.edit();
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
