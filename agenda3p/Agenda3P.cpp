#include "agenda3p/Agenda3P.h"

#include "agenda/AgendaZenDM.h"
#include "agenda/Avisos.h"
#include "agenda/HojaNueva.h"
#include "agenda/LineaAgenda.h"
#include "agenda/OrdenesDeLineas.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QMap>
#include <QtCore/QScopeGuard>

#include <algorithm>
#include <array>
#include <map>
#include <utility>

using dataset::DataSet;

namespace
{

/// A text without the first occurrence of a mark.
QString SinMarca(QString texto, const QString &marca)
{
    return texto.remove(texto.indexOf(marca), marca.size());
}

/// What the user is told of a subject that has become too long for its field: its end is lost for good. Empty
/// where all of it is kept.
QString LoQueNoCabe(const DataSet &tabla, const TLineaAgenda &linea)
{
    const int ancho = tabla.fieldInfo(tabla.fieldIndex(NombreDe(TCampoLinea::concepto))).width;
    return linea.Concepto.size() <= ancho
               ? QString()
               : QStringLiteral(
                     "Con la marca no cabe entero lo que dice la cita de las %1, que ha perdido su "
                     "final: «%2».")
                     .arg(linea.Hora, linea.Concepto.mid(ancho));
}

/// Turns a mark of the line being edited on, off, or from the other one into this one.
/// @return what LoQueNoCabe() says of it.
QString EscribeMarcaAlterna(DataSet &tabla, const QString &marca, const QString &otra)
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
    return LoQueNoCabe(tabla, linea);
}

/// @throws dataset::EDatabaseError where there is a cause.
void LanzaSiHay(const QString &causa)
{
    if (!causa.isEmpty())
        throw dataset::EDatabaseError(causa);
}

} // namespace

TAgenda3P::TAgenda3P(QObject *propietario, QDate fecha, const TTablasNotarios &tablas,
                     IInformesAgenda *informes)
    : TMotorDeTablas(propietario, tablas, informes)
{
    if (!tablas.front()) {
        // Without a parent: the engine is the one that deletes it.
        m_datos = std::make_unique<TDMAgendaZen>(*Servicios().Aliases, nullptr);
        const auto sinAbrir = [this](int notario) {
            m_sinAbrir.at(static_cast<std::size_t>(notario - 1)) = true;
        };
        // Who asks for a day at once gets it of all tables or none; who asks later, of those that open.
        AbreTablas([this](int notario) -> dataset::DbfTable & { return m_datos->tbAgendaN(notario); },
                   fecha.isValid() ? std::function<void(int)>() : sinAbrir);
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

QString TAgenda3P::ConNombre(int notario, const QString &causa)
{
    return NombreNotario(notario) + QStringLiteral(": ") + causa;
}

/// Runs work that reads the table, for every notary who has one; a table that fails does not hold up the
/// others. @param menosEn  the notary who is left out; 0 for none. @return the causes, with their notaries.
QString TAgenda3P::EnCadaTabla(const std::function<void(int notario)> &trabajo, int menosEn)
{
    QStringList causas;
    for (int notario = 1; notario <= MaxNotarios; ++notario) {
        if (!Tabla(notario) || notario == menosEn)
            continue;
        const auto suyo = [&] {
            trabajo(notario);
            return true;
        };
        const TRespuesta hecho = ConGuarda(*Tabla(notario), "EnCadaTabla", suyo, TTrasFallo::deja);
        m_legibles.at(static_cast<std::size_t>(notario - 1)) = hecho;
        if (!hecho)
            causas << ConNombre(notario, hecho.Causa());
    }
    return causas.join(u'\n');
}

bool TAgenda3P::RangoPorFecha(QDate fecha)
{
    bool todas = true;
    LanzaSiHay(EnCadaTabla([&](int notario) { todas = Dia(notario).Muestra(fecha) && todas; }));
    return todas;
}

void TAgenda3P::CancelaRangoPorFecha()
{
    LanzaSiHay(EnCadaTabla([this](int notario) { Dia(notario).MuestraTodo(); }));
}

TRespuesta TAgenda3P::VeDia(QDate fecha)
{
    return VeDiaEn(fecha, 0);
}

/// Tries again to open a table that could not be opened. @throws dataset::EDatabaseError
void TAgenda3P::AbreSiFalta(int notario)
{
    bool &falta = m_sinAbrir.at(static_cast<std::size_t>(notario - 1));
    if (!falta)
        return;
    AbreAgendaN(m_datos->tbAgendaN(notario));
    falta = false;
}

/// @param menosEn  the notary who is left out; 0 for none.
TRespuesta TAgenda3P::VeDiaEn(QDate fecha, int menosEn)
{
    if (!fecha.isValid())
        return false;
    bool hay = false;
    const auto ve = [&](int notario) {
        DataSet &tabla = *Tabla(notario);
        AbreSiFalta(notario);
        if (DiaMostrado(notario) != fecha)
            Dia(notario).Muestra(fecha);
        else
            tabla.refresh(); // which leaves alone a line that is being edited
        hay = hay || !tabla.isEmpty();
    };
    const QString causa = EnCadaTabla(ve, menosEn);
    return {hay, causa};
}

QDate TAgenda3P::DiaMostrado(int notario) const
{
    return Tabla(notario) ? Dia(notario).Mostrado() : QDate();
}

bool TAgenda3P::EsLegible(int notario) const
{
    return Tabla(notario) && m_legibles.at(static_cast<std::size_t>(notario - 1));
}

/// Shows a day in the current table, and then in the others as far as they can be read.
void TAgenda3P::VeDiaConLasDemas(QDate fecha)
{
    DiaActual().Muestra(fecha); // in front: where it fails, no table has gone to another day
    m_legibles.at(static_cast<std::size_t>(NotarioActual() - 1)) = true;
    VeDiaEn(fecha, NotarioActual());
}

bool TAgenda3P::InsertaDia(QDate fecha, bool preguntar)
{
    if (!fecha.isValid())
        return false;
    // A table that is seen to have no line of the day gets its sheet once, though another workstation may be
    // answering the same question.
    std::array<bool, MaxNotarios> vacias{};
    for (int notario = 1; notario <= MaxNotarios; ++notario) {
        const DataSet *const tabla = TMotorDeTablas::Tabla(notario);
        vacias.at(static_cast<std::size_t>(notario - 1)) =
            tabla && Dia(notario).Mostrado() == fecha && tabla->isEmpty();
    }
    if (preguntar && !PreguntaHojaNueva(fecha))
        return false;
    QStringList perdidos;
    // The slots of a whole sheet go table by table: one commit each, instead of one a line.
    const QString causa = EnCadaTabla([&](int notario) {
        Dia(notario).TodoONada([&] {
            perdidos << AnadeHojaDelDia(*Tabla(notario), fecha,
                                        vacias.at(static_cast<std::size_t>(notario - 1)));
            Dia(notario).Muestra(fecha);
        });
    });
    // A slot is one of all tables, and is named once, however many of them lack it.
    perdidos.removeDuplicates();
    perdidos.sort();
    for (const QString &hueco : std::as_const(perdidos))
        AvisaHuecoPerdido(hueco);
    bool todas = true; // to be seen also where its sheet could not be had
    const QString alVer = EnCadaTabla([&](int notario) { todas = Dia(notario).Muestra(fecha) && todas; });
    LanzaSiHay(causa.isEmpty() ? alVer : causa);
    return todas;
}

bool TAgenda3P::VeAOtroDia(TSentido sentido)
{
    return DiaActual().VeAOtro(sentido, [this](QDate fecha) {
        VeDiaConLasDemas(fecha);
        return !TablaActual().isEmpty();
    });
}

bool TAgenda3P::AnteriorDia()
{
    return VeAOtroDia(TSentido::anterior);
}

bool TAgenda3P::SiguienteDia()
{
    return VeAOtroDia(TSentido::siguiente);
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
    if (!fecha.isValid()) { // no day would ever show it
        anadida.Todas = TRespuesta::Fallo(QStringLiteral("No se ha dicho de qué día."));
        return anadida;
    }
    const auto vuelve = qScopeGuard([this, actual = NotarioActual()] { PonNotarioActual(actual); });
    const DataSet *const inicial = &TablaActual();
    QStringList causas;
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
            causas << ConNombre(notario, puesta.Causa());
        } else if (&tabla == inicial) {
            anadida.Actual = true;
        }
    }
    anadida.Todas = {causas.isEmpty(), causas.join(u'\n')};
    return anadida;
}

bool TAgenda3P::PreguntaBorrar(const QString &hora)
{
    return PreguntaMotor(QStringLiteral("¿Desea borrar la cita de las %1 de todas las agendas?\n"
                                        "Los datos se perderán.")
                             .arg(hora),
                         TituloAtencion);
}

/// The current line of a table as it has been shown, where it is of that hour; else one that is none.
dataset::SeenRecord TAgenda3P::VistaSiEsDe(DataSet &tabla, const QString &hora)
{
    const bool esDeLaHora = !tabla.isEmpty() && TLineaAgenda::Actual(tabla).Hora == hora;
    return esDeLaHora ? tabla.seen() : dataset::SeenRecord();
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
    // Yes is for the lines as they are now, whatever comes while it is asked. Of a table that cannot be read
    // now nothing has been seen, and nothing is deleted.
    QStringList causas;
    std::map<DataSet *, dataset::SeenRecord> vistas;
    for (int notario = 1; notario <= TAgenda3P::NumNotarios(); ++notario) {
        DataSet *const tabla = Tabla(notario);
        if (!tabla || !tabla->isActive())
            continue;
        dataset::SeenRecord &vista = vistas[tabla];
        const TRespuesta leida = ConGuarda(*tabla, "Borrar", [&] {
            vista = VistaSiEsDe(*tabla, hora);
            return true;
        });
        if (!leida)
            causas << ConNombre(notario, leida.Causa());
    }
    if (preguntar && !PreguntaBorrar(hora))
        return false;
    const auto borra = [&](DataSet &tabla) {
        const TRespuesta suya = ConGuarda(tabla, "Borrar", [&] {
            const auto nodo = vistas.extract(&tabla);
            const auto vista = nodo.empty() ? VistaSiEsDe(tabla, hora) : nodo.mapped();
            if (vista.bookmark() == 0)
                return false;
            tabla.remove(vista);
            return true;
        });
        if (!suya.Causa().isEmpty())
            causas << ConNombre(NotarioActual(), suya.Causa());
        return suya;
    };
    {
        const auto vuelve = qScopeGuard([this, actual = NotarioActual()] { PonNotarioActual(actual); });
        for (int notario = 1; notario <= TAgenda3P::NumNotarios(); ++notario) {
            PonNotarioActual(notario); // deliberate: an empty position leaves the table before it, once more
            if (&TablaActual() != &inicial)
                borra(TablaActual());
        }
    }
    const bool borrada = borra(inicial);
    causas.removeDuplicates();
    return {borrada, causas.join(u'\n')};
}

TRespuesta TAgenda3P::Salida()
{
    if (const TRespuesta enEdicion = Modificar(); !enEdicion)
        return enEdicion;
    return ConGuarda(TablaActual(), "Marcar", [this]() -> TRespuesta {
        const QString perdido = EscribeMarcaAlterna(TablaActual(), MarcaSalida, MarcaAusente);
        TBPost(TablaActual());
        return {true, perdido};
    });
}

TRespuesta TAgenda3P::Ausente()
{
    DataSet &tabla = TablaActual();
    return ConGuarda(tabla, "Ausente", [&]() -> TRespuesta {
        if (!tabla.hasRange())
            return TRespuesta::Fallo(QStringLiteral("La agenda no muestra ningún día."));
        QMap<dataset::Bookmark, QString> perdidos; // by line, which may be tried twice
        const TRespuesta marcadas = TOrdenesDeLineas(tabla).CambiaTodas([&perdidos](DataSet &linea) {
            if (const QString perdido = EscribeMarcaAlterna(linea, MarcaAusente, MarcaSalida);
                !perdido.isEmpty())
                perdidos[linea.bookmark()] = perdido;
        });
        QStringList causas = perdidos.values();
        causas.prepend(marcadas.Causa());
        causas.removeAll(QString());
        return {marcadas, causas.join(u'\n')};
    });
}
