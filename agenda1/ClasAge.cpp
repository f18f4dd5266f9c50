#include "agenda1/ClasAge.h"

#include "agenda/Avisos.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>

using dataset::DataSet;

namespace
{

Q_LOGGING_CATEGORY(registro, "agenda.unica")

/// Closes the table again, however its use ends.
class TMientrasAbierta
{
public:
    explicit TMientrasAbierta(DataSet &tabla)
        : m_tabla(tabla)
    {
        AbreTabla(m_tabla);
    }
    ~TMientrasAbierta()
    {
        CancelaSinPreguntar(m_tabla);
        try {
            m_tabla.close();
        } catch (const std::exception &error) {
            qCWarning(registro, "Closing the agenda: %s", error.what());
        }
    }
    TMientrasAbierta(const TMientrasAbierta &) = delete;
    TMientrasAbierta &operator=(const TMientrasAbierta &) = delete;

private:
    DataSet &m_tabla;
};

} // namespace

/// Runs work on the table of the mode; a failure is logged and gives false.
template <class TTrabajo> bool TAgenda::ConGuarda(const char *operacion, TTrabajo &&trabajo)
{
    try {
        return trabajo();
    } catch (const std::exception &error) {
        qCWarning(registro, "%s: %s", operacion, error.what());
        return false;
    }
}

TAgenda::TAgenda(QDate fecha, IVistasAgenda *vistas, IInformesAgenda1 *informes)
    : m_vistas(vistas)
    , m_informes(informes)
    , m_datos(std::make_unique<TDMAgendaZen>(*Servicios().Aliases, nullptr))
    , FTabla(&m_datos->tbAgenda)
    , FFecha(fecha)
{
}

TAgenda::~TAgenda() = default;

void TAgenda::IAgenda(QObject * /*propietario*/)
{
    if (!SeleccionaConfiguracion())
        return;
    const TMientrasAbierta abierta(*FTabla);
    TBBusca(*FTabla, ClaveDeHora(FFecha, {}), false);
    if (TLineaAgenda::Actual(*FTabla).Fecha == FFecha || InsertaDia())
        ISelecciona();
}

void TAgenda::IConfiguracion(QObject *propietario)
{
    m_vistas->MuestraConfAgenda(*this, propietario);
}

bool TAgenda::PonRango()
{
    // Exactly the working day: both bounds of a range belong to it.
    return TBRango(*FTabla, ClaveDelDia(FFecha), ClaveDelDia(FFecha));
}

void TAgenda::ISelecciona()
{
    if (!PonRango())
        return;
    if (!DosNotarios()) {
        m_vistas->MuestraAgenda(*this);
        return;
    }
    CargarAgenda2();
    m_vistas->MuestraAgenda2(*this);
}

bool TAgenda::InsertaDia()
{
    if (!PreguntaHojaNueva(FFecha))
        return false;
    const dataset::ControlsGuard sinAvisos(*FTabla);
    // One change of the table: all lines or none; and none when another workstation has just made the sheet.
    dataset::CommitGroup hoja(*FTabla);
    if (PonRango())
        return true;
    FTabla->cancelRange();
    const TParrilla parrilla{[this] { return m_ajustes.FHoraInicio; }, [this] { return m_ajustes.FHoraFin; },
                             [this] { return m_ajustes.FIntervalo; }};
    RecorreHuecos(parrilla, [this](int hora, int minuto) {
        FTabla->insert();
        TLineaAgenda::Nueva(FFecha, StrCeros(hora, 2) + u':' + StrCeros(minuto, 2))
            .Escribe(*FTabla, CamposDeUnica);
        TBPost(*FTabla);
    });
    hoja.commit();
    return true;
}

QString TAgenda::VeA(TSentido sentido, const QString &nadaMas)
{
    const QDate antes = FFecha;
    VeAOtroDia(*FTabla, FFecha, sentido, [this](QDate fecha) {
        if (fecha != FechaAjustes) // the settings are no day
            FFecha = fecha;
        return PonRango();
    });
    if (FFecha == antes)
        AvisaMotor(nadaMas, {}, TituloAtencionPuntos);
    if (DosNotarios())
        CargarAgenda2();
    return Date_Cad(FFecha);
}

QString TAgenda::BuscarSiguiente()
{
    return VeA(TSentido::siguiente, QStringLiteral("No hay días posteriores en la agenda"));
}

QString TAgenda::BuscarAnterior()
{
    return VeA(TSentido::anterior, QStringLiteral("No hay días anteriores en la agenda"));
}

// ---------------------------------------------------------------------------------------------------------------------
// Lines

bool TAgenda::Insertar()
{
    DataSet &tabla = TablaDeLaVentana();
    const bool hecho = ConGuarda("Insertar", [&] {
        const TLineaAgenda nueva = TLineaAgenda::Nueva(FFecha, TLineaAgenda::Actual(tabla).Hora);
        tabla.insert();
        nueva.Escribe(tabla, std::array{TCampoLinea::fecha, TCampoLinea::hora});
        if (!DosNotarios())
            nueva.Escribe(tabla, TCampoLinea::salida);
        return true;
    });
    if (!hecho && !DosNotarios())
        CancelaSinPreguntar(tabla);
    return hecho;
}

bool TAgenda::Modificar(dataset::EditOf linea)
{
    DataSet &tabla = TablaDeLaVentana();
    const bool hecho = ConGuarda("Modificar", [&] {
        tabla.edit(linea);
        return true;
    });
    if (!hecho && !DosNotarios())
        CancelaSinPreguntar(tabla);
    return hecho;
}

bool TAgenda::Borrar()
{
    DataSet &tabla = TablaDeLaVentana();
    const bool hecho = ConGuarda("Borrar", [&] {
        TBDelete(tabla);
        return true;
    });
    if (!hecho && !DosNotarios())
        CancelaSinPreguntar(tabla);
    return hecho;
}

bool TAgenda::Aceptar()
{
    return ConGuarda("Aceptar", [this] {
        if (DosNotarios())
            return AceptaDosNotarios();
        TBPost(*FTabla);
        return true;
    });
}

bool TAgenda::Cancelar()
{
    return ConGuarda("Cancelar", [this] {
        TablaDeLaVentana().cancel();
        return true;
    });
}

bool TAgenda::Ausente(int notario)
{
    if (DosNotarios() && notario != 1 && notario != 2)
        return false;
    const bool hecho = ConGuarda("Ausente", [&] {
        if (DosNotarios())
            return AusenteDeDos(notario);
        FTabla->edit();
        TLineaAgenda linea = TLineaAgenda::Actual(*FTabla);
        const bool quita = linea.Concepto == QLatin1String("AUSENTE");
        linea.Concepto = linea.Interesado = linea.Oficial = quita ? QString() : QStringLiteral("AUSENTE");
        linea.Escribe(*FTabla, CamposDeUnica);
        TBPost(*FTabla);
        return true;
    });
    if (!hecho)
        CancelaSinPreguntar(TablaDeLaVentana());
    return hecho;
}

bool TAgenda::Salida(int notario)
{
    if (DosNotarios() && notario == 0)
        return true;
    const bool hecho = ConGuarda("Salida", [&] {
        if (DosNotarios())
            return SalidaDeDos(notario);
        FTabla->edit();
        TLineaAgenda linea = TLineaAgenda::Actual(*FTabla);
        linea.Salida = linea.EsSalida() ? NoEstaFuera : EstaFuera;
        linea.Escribe(*FTabla, TCampoLinea::salida);
        TBPost(*FTabla);
        return true;
    });
    if (!hecho)
        CancelaSinPreguntar(TablaDeLaVentana());
    return hecho;
}
