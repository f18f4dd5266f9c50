// The buttons of the card.

#include "agenda/ClaseConfAgendaN.h"
#include "agenda/GuardaVentana.h"
#include "agenda/HoraTexto.h"
#include "agenda/LineaAgenda.h"
#include "agenda/OrdenesDeLineas.h"
#include "agenda/host/Servicios.h"
#include "agendan/FichaCita.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/DataSource.h"
#include "dbcontrols/MaskEdit.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>

#include <utility>

using dataset::DataSet;

namespace
{

/// Copies the appointment into a line that the engine has put into edit or insert.
TRespuesta EscribeYAcepta(TClassAgendaN &motor, const TLineaAgenda &cita)
{
    dataset::PendingEditGuard aMedias(motor.TablaActual());
    cita.Escribe(motor.TablaActual(), CamposDeCita);
    const TRespuesta aceptada = motor.AceptarAgendaN();
    aMedias.keep();
    return aceptada;
}

/// Whether the table stands on a line that says what has been accepted. As soon as that is stored others may
/// change its line, move or delete it, and the table then stands on what they have made of it, or beside it.
bool EstaEn(DataSet &tabla, const TLineaAgenda &cita)
{
    const TLineaAgenda actual = TLineaAgenda::Actual(tabla);
    return actual.Fecha == cita.Fecha && actual.Hora == cita.Hora && actual.DiceLoMismo(cita, CamposDeCita);
}

} // namespace

void TFFichaCitas::AvisaSiFallo(const TRespuesta &respuesta, const QString &que)
{
    if (!respuesta.Causa().isEmpty())
        AvisaDeError(que + u'\n' + respuesta.Causa());
}

void TFFichaCitas::EmpiezaEdicion()
{
    m_borrador.Empieza(Tabla());
    ActivarHoraFin(true);
    DesactivarBotones();
}

void TFFichaCitas::BNuevoClick()
{
    EjecutaConGuarda([this] {
        DataSet &tabla = Tabla();
        const TLineaAgenda linea = TLineaAgenda::Actual(tabla);
        const QString hora = IncrementaHora(linea.Hora, goConfAgendaN->GetIncrementoMin());
        // A day without lines has no line to take the date from.
        const TRespuesta anadida =
            m_motor->Anadir(linea.Fecha.isValid() ? linea.Fecha : m_motor->DiaActual().Ultimo(), hora);
        // Deliberate: whether that went well makes no difference to the card.
        EmpiezaEdicion();
        AvisaSiFallo(anadida, QStringLiteral("No se ha podido añadir la cita."));
    });
}

void TFFichaCitas::BModificarClick()
{
    EjecutaConGuarda([this] {
        DataSet &tabla = Tabla();
        const auto vista = m_vistasAlAbrir.constFind(tabla.bookmark());
        const TLineaAgenda antes = vista != m_vistasAlAbrir.cend() ? TLineaAgenda::DeVista(tabla, *vista)
                                                                   : TLineaAgenda::Actual(tabla);
        // The card shows it before anything is typed.
        const TRespuesta enEdicion = m_motor->Modificar(TALaVista::ficha);
        if (!enEdicion) {
            AvisaSiFallo(enEdicion,
                         QStringLiteral("No se ha podido modificar la cita de las %1.").arg(antes.Hora));
            return;
        }
        EmpiezaEdicion();
        if (!TLineaAgenda::Actual(tabla).DiceLoMismo(antes, TodosLosCampos))
            Avisa(QStringLiteral("Otro puesto ha cambiado esta línea: se ve como está ahora"));
        m_vistasAlAbrir.insert(tabla.bookmark(), tabla.seen());
    });
}

void TFFichaCitas::BBorrarClick()
{
    EjecutaConGuarda([this] {
        if (Tabla().bookmark() == 0) {
            TMensaje mensaje;
            mensaje.Texto = QStringLiteral("No hay citas introducidos para borrar");
            mensaje.Titulo = QStringLiteral(" ATENCIÓN");
            mensaje.Texto2 = QStringLiteral("Inserte primero una.");
            Servicios().Mensaje->Mensajes(mensaje);
            return;
        }
        const QString hora = TLineaAgenda::Actual(Tabla()).Hora;
        AvisaSiFallo(m_motor->Borrar(true, TALaVista::ficha),
                     QStringLiteral("No se ha podido borrar la cita de las %1.").arg(hora));
    });
}

void TFFichaCitas::BCancelarClick()
{
    EjecutaConGuarda([this] {
        QWidget *const antes = m_conFoco == BCancelar ? m_salidaPendiente : m_conFoco;
        PonFoco(*BCancelar);
        LExplica->clear();
        if (m_motor->CancelarAgendaN(true))
            ActivarBotones();
        else if (antes)
            PonFoco(*antes); // back to what was being typed, which has not been looked at yet
    });
}

void TFFichaCitas::BSalirClick()
{
    close();
}

void TFFichaCitas::BAceptarClick()
{
    // A press that began before the clerk was told of a bad date may end after it: he may want another day
    // than the one before.
    if (std::exchange(m_fechaRechazada, false))
        return;
    // The date, time and party fields write into the record when they are left.
    PonFoco(*BAceptar);
    if (m_fechaRechazada)
        return;
    // What leaving the party field has just told is to be read, also when the card goes back to rest.
    m_avisoAyuda = LExplica->toolTip();
    if (m_avisoAyuda.isEmpty())
        LExplica->clear();
    EjecutaConGuarda([this] { Acepta(); });
}

void TFFichaCitas::Acepta()
{
    DataSet &tabla = Tabla();
    m_borrador.Guarda(tabla);
    const TRespuesta enSuLinea = m_borrador.EnEspera() ? VuelveASuLinea() : TRespuesta(true);
    const TLineaAgenda cita = TLineaAgenda::Actual(tabla);
    const TRespuesta aceptada = enSuLinea ? m_motor->AceptarAgendaN() : enSuLinea;
    if (!aceptada) {
        RecuperaLoTecleado(aceptada.Causa());
        return;
    }
    if (EstaEn(tabla, cita))
        m_vistasAlAbrir.insert(tabla.bookmark(), tabla.seen());
    /// Also when an error escapes.
    struct TReposo {
        TFFichaCitas &Ficha;
        ~TReposo() { Ficha.ActivarBotones(); }
    } const reposo{*this};
    const QString horaFin = MEHoraFin->text();
    if (!MEHoraFin->isHidden() && horaFin.trimmed() != u":")
        RellenaHasta(cita, horaFin);
}

/// Begins the change again and types what was typed.
TBorrador::TLugar TFFichaCitas::VuelveAEscribir()
{
    const auto anade = [this] {
        DataSet &tabla = Tabla();
        const auto tecleado = [&](TCampoLinea campo) {
            return m_borrador.Tecleado(tabla.fieldIndex(NombreDe(campo)));
        };
        return bool(
            m_motor->Anadir(tecleado(TCampoLinea::fecha).toDate(), tecleado(TCampoLinea::hora).toString()));
    };
    const auto modifica = [this] {
        const TRespuesta enEdicion = m_motor->Modificar(TALaVista::ficha);
        m_causaDeEspera = enEdicion.Causa();
        return bool(enEdicion);
    };
    return m_borrador.Recupera(Tabla(), {modifica, anade});
}

/// What has waited goes into its line, unless that is another one by now: the clerk is to see it first.
TRespuesta TFFichaCitas::VuelveASuLinea()
{
    if (VuelveAEscribir() != TBorrador::TLugar::suLinea)
        return TRespuesta::Fallo(m_causaDeEspera);
    if (m_borrador.HaCambiado())
        return TRespuesta::Fallo(LineaCambiada);
    return true;
}

void TFFichaCitas::RecuperaLoTecleado(const QString &causa)
{
    const TBorrador::TLugar lugar = VuelveAEscribir();
    QString destino;
    switch (lugar) {
    case TBorrador::TLugar::suLinea:
    case TBorrador::TLugar::enEspera:
        destino = QStringLiteral("Lo que ha escrito sigue en la ficha: puede aceptarlo de nuevo.");
        break;
    case TBorrador::TLugar::lineaNueva:
        destino = QStringLiteral("Lo que ha escrito está ahora en una cita nueva: puede aceptarla.");
        m_borrador.Empieza(Tabla());
        break;
    case TBorrador::TLugar::ninguno:
        destino = QStringLiteral("Lo que ha escrito no se ha podido conservar. Había escrito:\n") +
                  m_borrador.Tecleado().join(u'\n');
        break;
    }
    const QString porQue = causa.isEmpty() ? QString() : causa + u'\n';
    const QString hora = m_borrador.Tecleado(Tabla().fieldIndex(NombreDe(TCampoLinea::hora))).toString();
    AvisaDeError(QStringLiteral("No se ha podido guardar la cita de las %1.\n").arg(hora) + porQue + destino +
                 m_borrador.LoDeOtros());
    if (lugar == TBorrador::TLugar::ninguno)
        ActivarBotones();
}

/// The lines of the accepted one's day that follow it before an end time, and that of the end time itself,
/// whose record is 0 where it has to be added. The table stands on the accepted line.
QList<TLineaAgenda> TFFichaCitas::LineasHasta(const TLineaAgenda &cita, const QString &horaFin) const
{
    DataSet &tabla = Tabla();
    QList<TLineaAgenda> lineas;
    tabla.next();
    TLineaAgenda linea = TLineaAgenda::Actual(tabla);
    while (!tabla.eof() && CompararHoras(horaFin, linea.Hora) == 1 && linea.Fecha == cita.Fecha) {
        lineas << linea;
        tabla.next();
        linea = TLineaAgenda::Actual(tabla);
    }
    // Deliberate: only the time and the end of the table count here, not the day. In a table that is not
    // restricted to a day this may be the first line of the next one. A restricted one ends with its day;
    // from an hour outside the day the cursor has gone on to another day all the same.
    const bool hayLinea =
        !tabla.eof() && linea.Hora == horaFin && (!tabla.hasRange() || linea.Fecha == cita.Fecha);
    lineas << (hayLinea ? linea : TLineaAgenda::Nueva(cita.Fecha, horaFin));
    return lineas;
}

/// Begins the change of a line that the appointment is to be copied onto: as the grid behind the card shows
/// it, so that nothing goes under that a colleague has written since. Of a day that no grid shows only free
/// lines are taken.
TRespuesta TFFichaCitas::TomaParaRellenar(const TLineaAgenda &linea)
{
    if (linea.Registro() == 0)
        return m_motor->Anadir(linea.Fecha, linea.Hora);
    if (!m_diaAlAbrir.isValid()) // no sheet is shown, and the whole table is too much to look at
        return m_motor->Modificar(linea.Vista);
    if (linea.Fecha == m_diaAlAbrir && SeVeEnSuHoja(linea.Hora)) {
        const auto vista = m_vistasAlAbrir.constFind(linea.Registro());
        return vista != m_vistasAlAbrir.cend() ? m_motor->Modificar(*vista)
                                               : TRespuesta::Fallo(LaHaAnadidoOtro);
    }
    if (!linea.EstaLibre())
        return TRespuesta::Fallo(QStringLiteral("Hay otra cita que no estaba a la vista"));
    return m_motor->Modificar(linea.Vista);
}

/// Copies what has been accepted onto the lines of its day that follow it up to an end time, and onto the
/// line of that time, which is added where there is none.
/// @throws dataset::EConvertError for an end time that is none.
void TFFichaCitas::RellenaHasta(const TLineaAgenda &aceptada, const QString &horaFin)
{
    // Said before the first line, also where no line follows that it would be compared with.
    static_cast<void>(CompararHoras(horaFin, QStringLiteral("00:00")));
    const dataset::ControlsGuard sinAvisos(Tabla());
    TLineaAgenda cita = aceptada;
    if (cita.CodCliente)
        cita.CodCliente = static_cast<double>(cita.Codigo()); // codes lose their fraction in a copy
    THorasFallidas fallidas;
    TRespuesta rellena = true;
    m_motor->DiaActual().Mientras(cita.Fecha, [&] {
        if (!EstaEn(Tabla(), aceptada)) { // the lines that follow are not known
            fallidas.emplaceBack(QStringLiteral("hasta las %1").arg(horaFin),
                                 QStringLiteral("Otro puesto ha cambiado la cita mientras tanto."));
            return;
        }
        for (const TLineaAgenda &linea : LineasHasta(cita, horaFin)) {
            if (!rellena.TablaOcupada()) { // else each line would be waited for as long
                rellena = TomaParaRellenar(linea);
                if (rellena)
                    rellena = EscribeYAcepta(*m_motor, cita);
            }
            if (rellena)
                m_vistasAlAbrir.insert(Tabla().bookmark(), Tabla().seen()); // by this workstation itself
            else
                fallidas.emplaceBack(linea.Hora, rellena.Causa());
        }
    });
    if (fallidas.isEmpty())
        return;
    QStringList horas;
    bool unaCausa = true;
    for (const auto &[hora, causa] : std::as_const(fallidas)) {
        horas << hora;
        unaCausa = unaCausa && causa == fallidas.first().second;
    }
    AvisaDeError(QStringLiteral("La cita se ha guardado, pero no se han podido rellenar estas horas: %1.\n%2")
                     .arg(horas.join(QStringLiteral(", ")),
                          unaCausa ? fallidas.first().second : HorasYCausas(fallidas)));
}
