#include "agenda1/ClasAge.h"

#include "agenda/Avisos.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"

using dataset::DataSet;

namespace
{

/// Tells of lines that others have changed at the same time. Both versions are in the grid already.
void AvisaChoques(const QStringList &horas)
{
    if (!horas.isEmpty())
        AvisaMotor(QStringLiteral("Otro puesto ha cambiado a la vez la cita de las %1")
                       .arg(horas.join(QStringLiteral(", "))),
                   QStringLiteral("Se han conservado las dos anotaciones. Revíselas."), TituloAtencionPuntos);
}

} // namespace

TAgenda::TAgenda(QDate fecha, IVistasAgenda *vistas, IInformesAgenda1 *informes)
    : TMotorDeTablas(nullptr, {}, nullptr)
    , m_vistas(vistas)
    , m_informes(informes)
    , m_datos(std::make_unique<TDMAgendaZen>(*Servicios().Aliases, nullptr))
    , FTabla(&m_datos->tbAgenda)
    , FFecha(fecha)
{
    PonTablaUnica(*FTabla, TLineasDelDia::todas);
    m_dosNotarios = std::make_unique<TDiaDeDos>(*FTabla, DiaActual(), m_datos->cdsAgenda2);
}

TAgenda::~TAgenda() = default;

void TAgenda::IAgenda(QObject * /*propietario*/)
{
    if (!SeleccionaConfiguracion())
        return;
    const TMientrasAbierta abierta(*FTabla);
    if (BuscarPorFecha(FFecha, {}, false) || InsertaDia())
        ISelecciona();
}

void TAgenda::IConfiguracion(QObject *propietario)
{
    m_vistas->MuestraConfAgenda(*this, propietario);
}

void TAgenda::ISelecciona()
{
    if (!DiaActual().Muestra(FFecha))
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
    if (DiaActual().Muestra(FFecha))
        return true;
    DiaActual().MuestraTodo();
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
    try {
        DiaActual().TodoONada([&] {
            if (DiaActual().Mostrado() != FFecha) // a report could not come back to it
                DiaActual().Muestra(FFecha);
            DiaActual().VeAOtro(sentido, [this](QDate fecha) {
                if (fecha != FechaAjustes) // the settings are no day
                    FFecha = fecha;
                return DiaActual().Muestra(FFecha);
            });
            if (DosNotarios() && FFecha != antes)
                CargarAgenda2();
        });
    } catch (...) {
        FFecha = antes;
        throw;
    }
    if (FFecha == antes) {
        AvisaMotor(nadaMas, {}, TituloAtencionPuntos);
        // Behind the message: what others write while it is read is part of what the clerk then sees.
        if (DosNotarios())
            RecargaAgenda2(); // what is deleted here stays so until the day is written or left
    }
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
    return ConGuarda(
        tabla, "Insertar",
        [&] {
            const TLineaAgenda nueva = TLineaAgenda::Nueva(FFecha, TLineaAgenda::Actual(tabla).Hora);
            tabla.insert();
            nueva.Escribe(tabla, std::array{TCampoLinea::fecha, TCampoLinea::hora});
            if (!DosNotarios())
                nueva.Escribe(tabla, TCampoLinea::salida);
            return true;
        },
        SiFallaUnaLinea());
}

bool TAgenda::Modificar(dataset::EditOf linea)
{
    return EnLaLinea("Modificar", [linea](DataSet &tabla) { tabla.edit(linea); });
}

bool TAgenda::Borrar()
{
    return EnLaLinea("Borrar", [](DataSet &tabla) { TBDelete(tabla); });
}

/// Does something to the current line of what the window shows.
bool TAgenda::EnLaLinea(const char *operacion, const std::function<void(DataSet &)> &trabajo)
{
    DataSet &tabla = TablaDeLaVentana();
    return ConGuarda(
        tabla, operacion,
        [&] {
            if (!DosNotarios() && DiaActual().LineaFuera())
                return TRespuesta::Fallo(LineaDeOtroDia);
            trabajo(tabla);
            return TRespuesta(true);
        },
        SiFallaUnaLinea());
}

bool TAgenda::Aceptar()
{
    if (!DosNotarios())
        return AceptaPendiente(*FTabla, "Aceptar", TTrasFallo::deja);
    return ConGuarda(
        Tabla2(), "Aceptar",
        [this] {
            AvisaChoques(m_dosNotarios->Acepta());
            return true;
        },
        TTrasFallo::deja);
}

bool TAgenda::Cancelar()
{
    DataSet &tabla = TablaDeLaVentana();
    return ConGuarda(
        tabla, "Cancelar",
        [&tabla] {
            tabla.cancel();
            return true;
        },
        TTrasFallo::deja);
}

/// Changes the current line of AGENDA and posts it.
bool TAgenda::CambiaLinea(const char *operacion, std::span<const TCampoLinea> campos,
                          const std::function<void(TLineaAgenda &)> &cambio)
{
    return EnLaLinea(operacion, [&](DataSet &tabla) {
        tabla.edit();
        TLineaAgenda linea = TLineaAgenda::Actual(tabla);
        cambio(linea);
        linea.Escribe(tabla, campos);
        TBPost(tabla);
    });
}

bool TAgenda::Ausente(int notario)
{
    if (DosNotarios())
        return (notario == 1 || notario == 2) &&
               ConGuarda(Tabla2(), "Ausente", [&] { return AusenteDeDos(notario); });
    return CambiaLinea("Ausente", CamposDeUnica, [](TLineaAgenda &linea) {
        const bool quita = linea.Concepto == QLatin1String("AUSENTE");
        linea.Concepto = linea.Interesado = linea.Oficial = quita ? QString() : QStringLiteral("AUSENTE");
    });
}

bool TAgenda::Salida(int notario)
{
    if (DosNotarios())
        return notario == 0 || ConGuarda(Tabla2(), "Salida", [&] { return SalidaDeDos(notario); });
    return CambiaLinea("Salida", std::array{TCampoLinea::salida}, [](TLineaAgenda &linea) {
        linea.Salida = linea.EsSalida() ? NoEstaFuera : EstaFuera;
    });
}

// ---------------------------------------------------------------------------------------------------------------------
// The day of two notaries

void TAgenda::CargarAgenda2()
{
    m_dosNotarios->Carga(FFecha);
}

void TAgenda::RecargaAgenda2()
{
    AvisaChoques(m_dosNotarios->Recarga());
}

void TAgenda::ActualizarDesdeAgenda2()
{
    AvisaChoques(m_dosNotarios->Escribe());
}

void TAgenda::DeshazAgenda2()
{
    m_dosNotarios->Deshaz();
}

/// Puts a notary's mark on the current line of the day in memory, or takes it away.
void TAgenda::AlternaMarcaDeDos(int notario, const QString &texto)
{
    DataSet &tabla2 = Tabla2();
    tabla2.edit();
    TLineaAgenda linea = TLineaAgenda::Actual(tabla2);
    const bool quita = linea.Salida == Int_Cad(notario);
    tabla2.field(NombreDe(TCampoLinea::interesado, notario)).setText(quita ? QString() : texto);
    linea.Salida = quita ? QStringLiteral("0") : Int_Cad(notario);
    linea.Escribe(tabla2, TCampoLinea::salida);
    tabla2.post();
}

bool TAgenda::AusenteDeDos(int notario)
{
    const dataset::ControlsGuard sinAvisos(Tabla2());
    RecorreLineas(Tabla2(), [&] { AlternaMarcaDeDos(notario, QStringLiteral("AUSENCIA")); });
    return true;
}

bool TAgenda::SalidaDeDos(int notario)
{
    AlternaMarcaDeDos(notario, QStringLiteral("Salida"));
    return true;
}
