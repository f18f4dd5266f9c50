#include "agendan/ClaseAgendaN.h"

#include "agenda/AgendaNDM.h"
#include "agenda/Avisos.h"
#include "agenda/ClaseConfAgendaN.h"
#include "agenda/HojaDia.h"
#include "agenda/HojaNueva.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>
#include <QtCore/QScopeGuard>

#include <algorithm>

using dataset::DataSet;

namespace
{

Q_LOGGING_CATEGORY(registro, "agenda.motor")

} // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Notaries

TClassAgendaN::TClassAgendaN(QObject *propietario, TClientesRaiz *clientes, const TTablas &tablas,
                             IVistasAgendaN *vistas, IInformesAgenda *informes)
    : TMotorDeTablas(propietario, tablas, informes)
    , m_clientes(clientes)
    , m_vistas(vistas)
{
    if (tablas.front())
        return;
    // Without a parent: the engine is the one that deletes it.
    m_datos = std::make_unique<TDMAgendaN>(*Servicios().Aliases, nullptr);
    AbreTablas([this](int notario) -> dataset::DbfTable & { return m_datos->TAgendaN(notario); });
}

TClassAgendaN::~TClassAgendaN()
{
    if (!m_datos)
        return;
    // The first cursor every time; the others close when the data module goes.
    for (int posicion = 1; posicion <= std::min(NumNotarios(), MaxNotarios); ++posicion)
        CierraTabla(m_datos->TAgendaN1);
}

DataSet *TClassAgendaN::Tabla(int notario) const
{
    return TMotorDeTablas::Tabla(std::min(notario, MaxNotarios));
}

void TClassAgendaN::PonNotarioActual(int notario)
{
    TMotorDeTablas::PonNotarioActual(std::min(notario, MaxNotarios));
}

// ---------------------------------------------------------------------------------------------------------------------
// Day sheets

bool TClassAgendaN::RangoPorFecha(QDate fecha)
{
    return DiaActual().Muestra(fecha);
}
bool TClassAgendaN::HayRangoPorFecha() const
{
    return DiaActual().HayRango();
}
void TClassAgendaN::CancelaRangoPorFecha()
{
    DiaActual().MuestraTodo();
}

bool TClassAgendaN::InsertaDia(QDate fecha, bool preguntar)
{
    if (!fecha.isValid())
        return false;
    // A day that is seen to have no line gets its sheet once, though another workstation may be answering the
    // same question.
    const bool vacio = DiaActual().Mostrado() == fecha && TablaActual().isEmpty();
    if (preguntar && !PreguntaHojaNueva(fecha))
        return false;
    return ConstruyeHoja(fecha, vacio);
}

/// @param soloSiFalta  nothing is built when another workstation has built the day in the meantime.
bool TClassAgendaN::ConstruyeHoja(QDate fecha, bool soloSiFalta)
{
    bool hay = false;
    DiaActual().TodoONada([&] {
        const QStringList perdidos = AnadeHojaDelDia(TablaActual(), fecha, soloSiFalta);
        hay = RangoPorFecha(fecha);
        for (const QString &hueco : perdidos)
            AvisaHuecoPerdido(hueco);
    });
    return hay;
}

void TClassAgendaN::SincronizaTablaActual(QDate fecha)
{
    // By its lines, too: a host may have put a range of its own.
    if (HayRangoPorFecha() && DiaActual().Mostrado() == fecha &&
        TLineaAgenda::DeFila(TablaActual(), 0).Fecha == fecha)
        return;
    DiaActual().TodoONada([&] {
        if (!RangoPorFecha(fecha))
            ConstruyeHoja(fecha, true);
    });
}

void TClassAgendaN::SincronizarTablasAFecha(QDate fecha, bool todos)
{
    if (!fecha.isValid())
        return;
    if (!todos) {
        SincronizaTablaActual(fecha);
        return;
    }
    const auto vuelve = qScopeGuard([this, actual = NotarioActual()] { PonNotarioActual(actual); });
    QStringList fallidos;
    for (int notario = 1; notario <= NumNotarios(); ++notario) {
        if (!Tabla(notario))
            continue;
        PonNotarioActual(notario);
        try {
            SincronizaTablaActual(fecha);
        } catch (const std::exception &error) { // the others show the date all the same
            if (notario <= MaxNotarios)
                fallidos << NombreNotario(notario) + QStringLiteral(": ") + dataset::plainText(error);
        }
    }
    if (!fallidos.isEmpty())
        throw dataset::EDatabaseError(
            QStringLiteral("No se ha podido mostrar el %1 en todas las agendas:\n%2")
                .arg(Date_Cad(fecha), fallidos.join(u'\n')),
            dbase::ErrorKind::inputOutput);
}

bool TClassAgendaN::AnteriorDia()
{
    return DiaActual().VeAOtro(TSentido::anterior, [this](QDate fecha) { return RangoPorFecha(fecha); });
}

bool TClassAgendaN::SiguienteDia()
{
    return DiaActual().VeAOtro(TSentido::siguiente, [this](QDate fecha) { return RangoPorFecha(fecha); });
}

// ---------------------------------------------------------------------------------------------------------------------
// Lines

TRespuesta TClassAgendaN::Anadir(QDate fecha, const QString &hora)
{
    return ConGuarda(TablaActual(), "Anadir", [&] {
        InsertaLinea(TablaActual(), fecha, hora);
        return true;
    });
}

TRespuesta TClassAgendaN::Borrar(bool preguntar, TALaVista vista)
{
    DataSet &tabla = TablaActual();
    return ConGuarda(tabla, "Borrar", [&]() -> TRespuesta {
        if (const auto sinLinea = RespuestaSinLinea(vista, SinCitaQue(QStringLiteral("borrar"), true)))
            return *sinLinea;
        const dataset::SeenRecord estaLinea = tabla.seen(); // yes is for this line, whatever comes meanwhile
        if (preguntar && !PreguntaMotor(QStringLiteral("¿Desea borrar la cita de las %1 de la base de datos?")
                                            .arg(TLineaAgenda::Actual(tabla).Hora),
                                        TituloAtencion))
            return false;
        tabla.remove(estaLinea);
        return true;
    });
}

TRespuesta TClassAgendaN::AceptarAgendaN()
{
    return AceptaPendiente(TablaActual(), "AceptarAgendaN", TTrasFallo::cancela);
}

TRespuesta TClassAgendaN::Salida()
{
    TRespuesta preparada = Modificar();
    if (preparada)
        preparada = ConGuarda(TablaActual(), "Marcar", [&] {
            EscribeMarca(TablaActual(), MarcaSalida);
            return true;
        });
    if (preparada)
        return AceptarAgendaN();
    CancelarAgendaN(false);
    return preparada;
}

TRespuesta TClassAgendaN::Ausente()
{
    DataSet &tabla = TablaActual();
    const dataset::ControlsGuard sinAvisos(tabla);
    return ConGuarda(tabla, "Ausente", [&]() -> TRespuesta {
        const dataset::Bookmark donde = tabla.bookmark();
        if (!HayRangoPorFecha()) {
            RangoPorFecha(TLineaAgenda::Actual(tabla).Fecha);
            tabla.goToBookmark(donde); // the range has gone to its first line
        }
        if (!tabla.hasRange())
            return false; // a line without a date: the whole table would be marked
        return TOrdenesDeLineas(tabla).CambiaTodas([](DataSet &linea) { EscribeMarca(linea, MarcaAusente); });
    });
}

/// Back to the line that was current, in every case; without it, to the first one of the shown day.
/// @return false, with its cause, where the line is not as it was seen any more.
TRespuesta TClassAgendaN::VuelveALaLinea(const TLineaAgenda &linea) noexcept
{
    TRespuesta comoSeVio = true;
    try {
        DataSet &tabla = TablaActual();
        // By number first: of two lines with the same hour a search finds the first.
        comoSeVio = ConGuarda(tabla, "CopiarCita", [&] {
            tabla.goToSeen(linea.Vista);
            return true;
        });
        if (!comoSeVio && tabla.bookmark() != linea.Registro() &&
            !BuscarPorFecha(linea.Fecha, linea.Hora, true))
            tabla.first();
    } catch (const std::exception &error) {
        qCWarning(registro, "The line that was copied could not be found again: %s", error.what());
    }
    return comoSeVio;
}

TRespuesta TClassAgendaN::CopiarCita(QDate destino)
{
    DataSet &tabla = TablaActual();
    const dataset::ControlsGuard sinAvisos(tabla);
    // What is being typed is part of the line, and must not be lost with a copy that fails.
    if (tabla.isModified())
        TBPost(tabla);
    const dataset::Bookmark origen = tabla.bookmark();
    if (origen == 0 || !destino.isValid())
        return false;
    const TLineaAgenda linea = TLineaAgenda::Actual(tabla);
    // What others have written since is not what was to be copied, nor deleted after it.
    if (const TRespuesta comoSeVio = VuelveALaLinea(linea); !comoSeVio)
        return comoSeVio;
    auto vuelve = qScopeGuard([&] { static_cast<void>(VuelveALaLinea(linea)); });

    if (const TRespuesta anadida = Anadir(destino, {}); !anadida)
        return anadida;
    EscribeCopia(tabla, linea);
    vuelve.dismiss();
    return VuelveALaLinea(linea);
}

TLineasFallidas TClassAgendaN::BorrarLineas(const TLineasVistas &lineas)
{
    return TOrdenesDeLineas(TablaActual()).Borra(lineas);
}

TLineasFallidas TClassAgendaN::CopiarLineas(const TLineasVistas &lineas, QDate destino)
{
    return TOrdenesDeLineas(TablaActual()).Copia(lineas, destino);
}

TLineasFallidas TClassAgendaN::MoverLineas(const TLineasVistas &lineas, QDate destino)
{
    return TOrdenesDeLineas(TablaActual()).Mueve(lineas, destino);
}

TLineasFallidas TClassAgendaN::MarcarSalidas(const TLineasVistas &lineas)
{
    return TOrdenesDeLineas(TablaActual()).Marca(lineas, MarcaSalida);
}

// ---------------------------------------------------------------------------------------------------------------------
// Windows

void TClassAgendaN::FichaAgendaN()
{
    const auto ficha = m_vistas->CreaFichaAgendaN(Propietario());
    for (int notario = 1; notario <= std::min(NumNotarios(), MaxNotarios); ++notario)
        ficha->PonNotario(notario, NombreNotario(notario), Tabla(notario));
    ficha->PonMotor(*this);
    ficha->PonSincronizarDia(goConfAgendaN->GetSincronizarDia());
    ficha->PCAgendaChange();
    ficha->ShowModal();
}

void TClassAgendaN::FichaCita(TOperacion operacion)
{
    m_vistas->MuestraFichaCitas(*this, operacion, Propietario());
}
