#include "agenda3p/Agenda3P.h"

#include "agenda/AgendaZenDM.h"
#include "agenda/HojaNueva.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>
#include <QtCore/QScopedValueRollback>

#include <algorithm>
#include <array>
#include <exception>
#include <utility>

using dataset::DataSet;

namespace
{

Q_LOGGING_CATEGORY(registro, "agenda.tablas")

/// A text without the first occurrence of a mark.
QString SinMarca(QString texto, const QString &marca)
{
    return texto.remove(texto.indexOf(marca), marca.size());
}

} // namespace

/// Runs work on a table; a failure cancels the pending change, is logged and gives false.
template <class TTrabajo> bool TAgenda3P::ConGuarda(DataSet &tabla, const char *operacion, TTrabajo &&trabajo)
{
    try {
        return trabajo();
    } catch (const std::exception &error) {
        AnotaError(operacion, error);
        CancelaSinPreguntar(tabla);
        return false;
    }
}

void TAgenda3P::AnotaError(const char *operacion, const std::exception &error)
{
    qCWarning(registro, "%s: %s", operacion, error.what());
    m_ultimoError = QString::fromUtf8(error.what());
}

TAgenda3P::TAgenda3P(QObject *propietario, QDate fecha, const TTablasNotarios &tablas,
                     IInformesAgenda *informes)
    : m_propietario(propietario)
    , m_informes(informes)
    , m_tablas(tablas)
{
    if (m_tablas.front()) {
        m_numNotarios = CuentaNotarios(m_tablas);
        PreparaTablasDelHost(m_tablas);
    } else {
        AbreTablasPropias();
    }
    m_tablaActual = m_tablas.front();
    if (fecha.isValid() && !TAgenda3P::RangoPorFecha(fecha))
        TAgenda3P::InsertaDia(fecha, true);
}

void TAgenda3P::AbreTablasPropias()
{
    // Without a parent: the engine is the one that deletes it.
    m_datos = std::make_unique<TDMAgendaZen>(*Servicios().Aliases, nullptr);
    m_numNotarios = AbreTablasDeNotarios(
        m_tablas, [this](int notario) -> dataset::DbfTable & { return m_datos->tbAgendaN(notario); });
}

TAgenda3P::~TAgenda3P()
{
    if (!m_datos)
        return;
    for (int notario = 1; notario <= std::min(m_numNotarios, MaxNotarios); ++notario) {
        dataset::DbfTable &tabla = m_datos->tbAgendaN(notario);
        try {
            tabla.close();
        } catch (const std::exception &error) {
            qCWarning(registro, "Cerrar: %s", error.what());
        }
    }
}

void TAgenda3P::PonNotarioActual(int notario)
{
    if (DataSet *const tabla = Tabla(notario))
        m_tablaActual = tabla;
}

// ---------------------------------------------------------------------------------------------------------------------
// Days

bool TAgenda3P::RangoPorFecha(QDate fecha)
{
    if (fecha.isValid())
        m_dia = fecha;
    bool todas = true;
    std::exception_ptr fallo;
    for (int notario = 1; notario <= m_numNotarios; ++notario) {
        DataSet *const tabla = TablaDe(m_tablas, notario);
        try {
            if (tabla && !PonRangoDelDia(*tabla, fecha))
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
    for (DataSet *const tabla : m_tablas) {
        if (tabla)
            QuitaRangoDelDia(*tabla);
    }
}

QDate TAgenda3P::DiaMostrado() const
{
    const QDate deLaLinea = TLineaAgenda::Actual(TablaActual()).Fecha;
    return deLaLinea.isValid() ? deLaLinea : m_dia;
}

bool TAgenda3P::InsertaDia(QDate fecha, bool preguntar)
{
    if (!fecha.isValid())
        return false;
    // A table that is seen to have no line of the day gets its sheet once, though another workstation may be
    // answering the same question.
    std::array<bool, MaxNotarios> vacias{};
    for (std::size_t i = 0; i < m_tablas.size(); ++i)
        vacias.at(i) =
            m_tablas.at(i) && fecha == m_dia && m_tablas.at(i)->hasRange() && m_tablas.at(i)->isEmpty();
    if (preguntar && !PreguntaHojaNueva(fecha))
        return false;
    QStringList perdidos;
    try {
        // The slots of a whole sheet go table by table: one commit each, instead of one a line.
        for (int notario = 1; notario <= m_numNotarios; ++notario) {
            if (DataSet *const tabla = TablaDe(m_tablas, notario))
                perdidos << AnadeHojaDelDia(*tabla, fecha, vacias.at(static_cast<std::size_t>(notario - 1)));
        }
    } catch (...) {
        TAgenda3P::RangoPorFecha(fecha); // the settings could not be read: the day is to be seen all the same
        throw;
    }
    // A slot is one of all tables, and is named once, however many of them lack it.
    perdidos.removeDuplicates();
    perdidos.sort();
    for (const QString &hueco : std::as_const(perdidos))
        AvisaHuecoPerdido(hueco);
    return TAgenda3P::RangoPorFecha(fecha);
}

bool TAgenda3P::AnteriorDia()
{
    return VeAOtroDia(TablaActual(), DiaMostrado(), TSentido::anterior,
                      [this](QDate fecha) { return RangoPorFecha(fecha); });
}

bool TAgenda3P::SiguienteDia()
{
    return VeAOtroDia(TablaActual(), DiaMostrado(), TSentido::siguiente,
                      [this](QDate fecha) { return RangoPorFecha(fecha); });
}

bool TAgenda3P::BuscarPorFecha(QDate fecha, const QString &hora, bool exacta)
{
    return BuscaLineaDeFecha(TablaActual(), fecha, hora, exacta);
}

void TAgenda3P::OrdenarListaPorFecha()
{
    OrdenaPorDia(TablaActual());
}

// ---------------------------------------------------------------------------------------------------------------------
// Slots and lines

bool TAgenda3P::Anadir(QDate fecha, const QString &hora)
{
    return AnadeEnTodas(fecha, hora).Todas;
}

TAgenda3P::TAnadida TAgenda3P::AnadeEnTodas(QDate fecha, const QString &hora)
{
    TAnadida anadida;
    const QScopedValueRollback<DataSet *> vuelve(m_tablaActual);
    DataSet *const inicial = m_tablaActual;
    for (int notario = 1; notario <= m_numNotarios; ++notario) {
        if (!Tabla(notario))
            continue; // the count goes beyond the tables given
        PonNotarioActual(notario);
        DataSet &tabla = TablaActual();
        const dataset::ControlsGuard sinAvisos(tabla);
        const bool puesta = ConGuarda(tabla, "Anadir",
                                      [&] {
                                          InsertaLinea(tabla, fecha, hora);
                                          return true;
                                      }) &&
                            AceptarAgendaN();
        if (!puesta) {
            CancelaSinPreguntar(tabla);
            anadida.Todas = false;
        } else if (&tabla == inicial) {
            anadida.Actual = true;
        }
    }
    return anadida;
}

bool TAgenda3P::Modificar()
{
    DataSet &tabla = TablaActual();
    return ConGuarda(tabla, "Modificar", [&tabla] {
        if (tabla.isEmpty()) {
            AvisaMotor(QStringLiteral("No hay AgendaN introducidos que modificar"),
                       QStringLiteral("Inserte primero un AgendaN."), TituloAtencion);
            return false;
        }
        tabla.edit();
        return true;
    });
}

bool TAgenda3P::BorraSiEsDe(DataSet &tabla, const QString &hora)
{
    return ConGuarda(tabla, "Borrar", [&] {
        if (tabla.isEmpty() || TLineaAgenda::Actual(tabla).Hora != hora)
            return false;
        TBDelete(tabla);
        return true;
    });
}

bool TAgenda3P::Borrar(bool preguntar)
{
    DataSet &inicial = TablaActual();
    QString hora;
    const bool hay = ConGuarda(inicial, "Borrar", [&] {
        if (inicial.isEmpty()) {
            AvisaMotor(QStringLiteral("No hay citas para ese día introducidas que borrar"),
                       QStringLiteral("Inserte primero una."), TituloAtencion);
            return false;
        }
        hora = TLineaAgenda::Actual(inicial).Hora;
        return true;
    });
    if (!hay ||
        (preguntar && !PreguntaMotor(QStringLiteral("¿Desea borrar la cita de las %1 de todas las agendas?\n"
                                                    "Los datos se perderán.")
                                         .arg(hora),
                                     TituloAtencion)))
        return false;
    {
        const QScopedValueRollback<DataSet *> vuelve(m_tablaActual);
        for (int notario = 1; notario <= m_numNotarios; ++notario) {
            PonNotarioActual(notario); // deliberate: an empty position leaves the table before it, once more
            if (m_tablaActual != &inicial)
                BorraSiEsDe(TablaActual(), hora);
        }
    }
    return BorraSiEsDe(inicial, hora);
}

bool TAgenda3P::AceptarAgendaN()
{
    try {
        TBPost(TablaActual());
        return true;
    } catch (const std::exception &error) {
        AnotaError("AceptarAgendaN", error);
        return false;
    }
}

bool TAgenda3P::CancelarAgendaN(bool preguntar)
{
    if (preguntar && !PreguntaMotor(QStringLiteral("¿Desea cancelar la operación?"), TituloAtencionPuntos))
        return false;
    CancelaSinPreguntar(TablaActual());
    return true;
}

/// Turns a mark of the current line on, off, or from the other one into this one, and posts the line.
/// @return whether it was posted; nothing when the line could not be put in edit mode.
std::optional<bool> TAgenda3P::AlternaMarca(const QString &marca, const QString &otra)
{
    if (!Modificar())
        return {};
    DataSet &tabla = TablaActual();
    const bool puesta = ConGuarda(tabla, "Marcar", [&] {
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
        return true;
    });
    if (puesta && AceptarAgendaN())
        return true;
    CancelaSinPreguntar(tabla);
    return false;
}

bool TAgenda3P::Salida()
{
    return AlternaMarca(MarcaSalida, MarcaAusente).value_or(false);
}

bool TAgenda3P::Ausente()
{
    DataSet &tabla = TablaActual();
    const dataset::ControlsGuard sinAvisos(tabla);
    return ConGuarda(tabla, "Ausente", [&] {
        bool ultima = false;
        RecorreLineas(tabla, [&] { ultima = AlternaMarca(MarcaAusente, MarcaSalida).value_or(ultima); });
        return ultima;
    });
}
