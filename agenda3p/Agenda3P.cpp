#include "agenda3p/Agenda3P.h"

#include "agenda/AgendaZenDM.h"
#include "agenda/Avisos.h"
#include "agenda/HojaNueva.h"
#include "agenda/LineaAgenda.h"
#include "agenda/OrdenesDeLineas.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"

#include <QtCore/QScopeGuard>

#include <algorithm>
#include <array>
#include <exception>
#include <utility>

using dataset::DataSet;

namespace
{

/// A text without the first occurrence of a mark.
QString SinMarca(QString texto, const QString &marca)
{
    return texto.remove(texto.indexOf(marca), marca.size());
}

/// Turns a mark of the line being edited on, off, or from the other one into this one.
void EscribeMarcaAlterna(DataSet &tabla, const QString &marca, const QString &otra)
{
    TLineaAgenda linea = TLineaAgenda::Actual(tabla);
    if (linea.EsSalida() && linea.Concepto.contains(otra)) {
        linea.Concepto = marca + SinMarca(linea.Concepto, otra);
    } else if (linea.EsSalida() && linea.Concepto.contains(marca)) {
        linea.Concepto = SinMarca(linea.Concepto, marca);
        linea.Salida = NoEstaFuera;
    } else if (!linea.EsSalida()) {
        linea.Concepto.prepend(marca);
        linea.Salida = EstaFuera;
    }
    linea.Escribe(tabla, std::array{TCampoLinea::concepto, TCampoLinea::salida});
}

} // namespace

TAgenda3P::TAgenda3P(QObject *propietario, QDate fecha, const TTablasNotarios &tablas,
                     IInformesAgenda *informes)
    : TMotorDeTablas(propietario, tablas, informes)
{
    if (!tablas.front()) {
        // Without a parent: the engine is the one that deletes it.
        m_datos = std::make_unique<TDMAgendaZen>(*Servicios().Aliases, nullptr);
        AbreTablas([this](int notario) -> dataset::DbfTable & { return m_datos->tbAgendaN(notario); });
    }
    if (fecha.isValid() && !TAgenda3P::RangoPorFecha(fecha))
        TAgenda3P::InsertaDia(fecha, true);
}

TAgenda3P::~TAgenda3P()
{
    if (!m_datos)
        return;
    for (int notario = 1; notario <= std::min(TAgenda3P::NumNotarios(), MaxNotarios); ++notario)
        CierraTabla(m_datos->tbAgendaN(notario));
}

// ---------------------------------------------------------------------------------------------------------------------
// Days

bool TAgenda3P::RangoPorFecha(QDate fecha)
{
    if (fecha.isValid())
        m_dia = fecha;
    bool todas = true;
    std::exception_ptr fallo;
    for (int notario = 1; notario <= MaxNotarios; ++notario) {
        try {
            if (Tabla(notario) && !Dia(notario).Muestra(fecha))
                todas = false;
        } catch (...) {
            fallo = std::current_exception(); // the others show the day all the same
        }
    }
    if (fallo)
        std::rethrow_exception(fallo);
    return todas;
}

void TAgenda3P::CancelaRangoPorFecha()
{
    for (int notario = 1; notario <= MaxNotarios; ++notario) {
        if (Tabla(notario))
            Dia(notario).MuestraTodo();
    }
}

bool TAgenda3P::InsertaDia(QDate fecha, bool preguntar)
{
    if (!fecha.isValid())
        return false;
    // A table that is seen to have no line of the day gets its sheet once, though another workstation may be
    // answering the same question.
    std::array<bool, MaxNotarios> vacias{};
    for (int notario = 1; notario <= MaxNotarios; ++notario)
        vacias.at(static_cast<std::size_t>(notario - 1)) =
            Tabla(notario) && Dia(notario).Mostrado() == fecha && Tabla(notario)->isEmpty();
    if (preguntar && !PreguntaHojaNueva(fecha))
        return false;
    QStringList perdidos;
    std::exception_ptr fallo;
    // The slots of a whole sheet go table by table: one commit each, instead of one a line.
    for (int notario = 1; notario <= MaxNotarios && !fallo; ++notario) {
        if (!Tabla(notario))
            continue;
        try {
            Dia(notario).TodoONada([&] {
                perdidos << AnadeHojaDelDia(*Tabla(notario), fecha,
                                            vacias.at(static_cast<std::size_t>(notario - 1)));
                Dia(notario).Muestra(fecha);
            });
        } catch (...) {
            fallo = std::current_exception();
        }
    }
    // A slot is one of all tables, and is named once, however many of them lack it.
    perdidos.removeDuplicates();
    perdidos.sort();
    for (const QString &hueco : std::as_const(perdidos))
        AvisaHuecoPerdido(hueco);
    const bool todas = TAgenda3P::RangoPorFecha(fecha); // to be seen also where its sheet could not be had
    if (fallo)
        std::rethrow_exception(fallo);
    return todas;
}

bool TAgenda3P::AnteriorDia()
{
    return DiaActual().VeAOtro(TSentido::anterior, [this](QDate fecha) { return RangoPorFecha(fecha); });
}

bool TAgenda3P::SiguienteDia()
{
    return DiaActual().VeAOtro(TSentido::siguiente, [this](QDate fecha) { return RangoPorFecha(fecha); });
}

// ---------------------------------------------------------------------------------------------------------------------
// Slots and lines

TRespuesta TAgenda3P::Anadir(QDate fecha, const QString &hora)
{
    return AnadeEnTodas(fecha, hora).Todas;
}

TAgenda3P::TAnadida TAgenda3P::AnadeEnTodas(QDate fecha, const QString &hora)
{
    TAnadida anadida;
    const auto vuelve = qScopeGuard([this, actual = NotarioActual()] { PonNotarioActual(actual); });
    const DataSet *const inicial = &TablaActual();
    for (int notario = 1; notario <= MaxNotarios; ++notario) {
        if (!Tabla(notario))
            continue; // the count goes beyond the tables given
        PonNotarioActual(notario);
        DataSet &tabla = TablaActual();
        const dataset::ControlsGuard sinAvisos(tabla);
        TRespuesta puesta = ConGuarda(tabla, "Anadir", [&] {
            InsertaLinea(tabla, fecha, hora);
            return true;
        });
        if (puesta)
            puesta = AceptarAgendaN();
        if (!puesta) {
            CancelaSinPreguntar(tabla);
            anadida.Todas = puesta;
        } else if (&tabla == inicial) {
            anadida.Actual = true;
        }
    }
    return anadida;
}

TRespuesta TAgenda3P::BorraSiEsDe(DataSet &tabla, const QString &hora)
{
    return ConGuarda(tabla, "Borrar", [&] {
        if (tabla.isEmpty() || TLineaAgenda::Actual(tabla).Hora != hora)
            return false;
        TBDelete(tabla);
        return true;
    });
}

TRespuesta TAgenda3P::Borrar(bool preguntar)
{
    DataSet &inicial = TablaActual();
    QString hora;
    const TRespuesta hay = ConGuarda(inicial, "Borrar", [&]() -> TRespuesta {
        if (const auto sinLinea =
                RespuestaSinLinea(TALaVista::dia, SinCitaQue(QStringLiteral("borrar"), false)))
            return *sinLinea;
        hora = TLineaAgenda::Actual(inicial).Hora;
        return true;
    });
    if (!hay)
        return hay;
    if (preguntar && !PreguntaMotor(QStringLiteral("¿Desea borrar la cita de las %1 de todas las agendas?\n"
                                                   "Los datos se perderán.")
                                        .arg(hora),
                                    TituloAtencion))
        return false;
    QString causa;
    {
        const auto vuelve = qScopeGuard([this, actual = NotarioActual()] { PonNotarioActual(actual); });
        for (int notario = 1; notario <= TAgenda3P::NumNotarios(); ++notario) {
            PonNotarioActual(notario); // deliberate: an empty position leaves the table before it, once more
            if (&TablaActual() == &inicial)
                continue;
            if (const TRespuesta suya = BorraSiEsDe(TablaActual(), hora); !suya.Causa().isEmpty())
                causa = suya.Causa();
        }
    }
    const TRespuesta borrada = BorraSiEsDe(inicial, hora);
    return {borrada, borrada.Causa().isEmpty() ? causa : borrada.Causa()};
}

TRespuesta TAgenda3P::AceptarAgendaN()
{
    return AceptaPendiente(TablaActual(), "AceptarAgendaN", TTrasFallo::deja);
}

TRespuesta TAgenda3P::Salida()
{
    if (const TRespuesta enEdicion = Modificar(); !enEdicion)
        return enEdicion;
    return ConGuarda(TablaActual(), "Marcar", [this] {
        EscribeMarcaAlterna(TablaActual(), MarcaSalida, MarcaAusente);
        TBPost(TablaActual());
        return true;
    });
}

TRespuesta TAgenda3P::Ausente()
{
    DataSet &tabla = TablaActual();
    return ConGuarda(tabla, "Ausente", [&]() -> TRespuesta {
        if (!tabla.hasRange())
            return TRespuesta::Fallo(QStringLiteral("La agenda no muestra ningún día."));
        return TOrdenesDeLineas(tabla).CambiaTodas(
            [](DataSet &linea) { EscribeMarcaAlterna(linea, MarcaAusente, MarcaSalida); });
    });
}
