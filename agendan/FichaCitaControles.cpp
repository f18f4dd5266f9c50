// Date, time and interested party of the card: what is typed in them, and how the record shows in them.

#include "agenda/GuardaVentana.h"
#include "agenda/HoraTexto.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Rvarias.h"
#include "agenda/host/Servicios.h"
#include "agendan/FichaCita.h"
#include "dbcontrols/CalendarPopup.h"
#include "dbcontrols/DbEdit.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/UpperCaseValidator.h"

#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

namespace
{

constexpr const char *Tag = "Tag";
constexpr int AnchoHoraTexto = 5;
constexpr int AnchoInteresado = 100;
const QString ListaDeClientes = QStringLiteral("Lista de clientes");

} // namespace

// Mirrors

void TFFichaCitas::MuestraFecha()
{
    MEFecha->setMaskedText(DBEFecha->text());
}

void TFFichaCitas::MuestraHora()
{
    // As it stands in the record, also where it is no time: to be mended it must be seen.
    const QString hora = DBEHora->text().leftJustified(AnchoHoraTexto);
    if (hora.size() == AnchoHoraTexto && hora.at(2) == u':')
        MEHora->setText(hora);
    else
        MEHora->setMaskedText(hora);
}

void TFFichaCitas::MuestraInteresado()
{
    // The capitals are for what is typed; a name in the record stays as it is.
    EInteresado->setValidator(nullptr);
    EInteresado->setText(DBEInteresado->text());
    EInteresado->setCursorPosition(0);
    EInteresado->setValidator(m_mayusculas);
}

void TFFichaCitas::MuestraCodCliente()
{
    EjecutaConGuarda([this] {
        dataset::DataSet *const tabla = DSAgendaN->activeDataSet();
        EInteresado->setProperty(Tag, tabla ? TLineaAgenda::Actual(*tabla).Codigo() : 0);
    });
}

// Date and time

void TFFichaCitas::MEFechaExit()
{
    m_fechaRechazada = false;
    m_rechazoDicho = false;
    DejaFoco(*MEFecha);
    if (m_conFoco == BCancelar)
        return;
    QString fecha = MEFecha->text();
    if (QuitaCaracter(QuitaCaracter(fecha, u' '), u'/').isEmpty())
        return;
    if (VerificaFecha(fecha)) {
        m_fechaRechazada = !DBEFecha->putText(fecha); // told already
        m_rechazoDicho = m_fechaRechazada;
        MuestraFecha();
        return;
    }
    m_fechaRechazada = true;
    // From the event loop: the focus is on its way to another control, perhaps under a pressed mouse button,
    // and can be called back only when it is there.
    dbcontrols::callLater(this, [this] {
        AvisaAlUsuario(QStringLiteral("La fecha introducida no es correcta"));
        m_rechazoDicho = m_fechaRechazada;
        MuestraFecha(); // behind the box, so that he sees what he is told of
        PonFoco(*MEFecha);
        MEFecha->selectAll();
    });
}

void TFFichaCitas::MEHoraExit()
{
    DejaFoco(*MEHora);
    if (m_conFoco == BCancelar)
        return;
    // Deliberate: no check of what it says, but the clerk is told of a line that he will not find again.
    EjecutaConGuarda([this] {
        TLineaAgenda linea;
        linea.Hora = MEHora->text();
        linea.Escribe(Tabla(), TCampoLinea::hora);
        AvisaDeHora(TLineaAgenda::Actual(Tabla()).Hora);
    });
}

void TFFichaCitas::MEHoraFinExit()
{
    DejaFoco(*MEHoraFin);
    // None asks for no line.
    if (m_conFoco != BCancelar && MEHoraFin->text().trimmed() != u":")
        AvisaDeHora(MEHoraFin->text());
}

/// The next hint of the help line tells of an hour whose line the clerk will not find again.
void TFFichaCitas::AvisaDeHora(const QString &hora)
{
    if (SeVeEnSuHoja(hora))
        return;
    const QString limpia = hora.trimmed();
    m_avisoAyuda = limpia == u":" || limpia.isEmpty()
                       ? QStringLiteral("Sin hora, la línea no se verá en su hoja")
                       : limpia + QStringLiteral(" no es una hora del día: la línea no se verá en su hoja");
}

void TFFichaCitas::AbreCalendario()
{
    if (!m_calendario) {
        m_calendario = new dbcontrols::CalendarPopup(this);
        connect(m_calendario, &dbcontrols::CalendarPopup::chosen, this, [this](QDate dia) {
            PonFoco(*MEFecha);
            MEFecha->setMaskedText(Date_Cad(dia)); // goes into the record when the field is left, as typed
            MEFecha->selectAll();
        });
    }
    QString fecha = MEFecha->text();
    QDate dia = Servicios().Reloj->Hoy();
    if (VerificaFecha(fecha))
        dia = Cad_Date(fecha);
    m_calendario->open(*MEFecha, dia);
}

// Interested party

qint64 TFFichaCitas::TagDelInteresado() const
{
    return EInteresado->property(Tag).toLongLong();
}

void TFFichaCitas::EInteresadoEnter()
{
    EInteresado->setMaxLength(AnchoInteresado);
    m_tecleandoInteresado = false;
    EjecutaConGuarda([this] { m_codigoAlEntrar = TLineaAgenda::Actual(Tabla()).Codigo(); });
}

void TFFichaCitas::EInteresadoKeyUp(int tecla)
{
    if (!Editando() || m_conFoco != EInteresado)
        return;
    if (tecla == Qt::Key_Down) {
        BInteresadoClick();
        return;
    }
    EjecutaConGuarda([this, tecla] {
        TClientesRaiz *const clientes = m_motor->Clientes();
        if (!clientes)
            return;
        clientes->KeyUpBusqueda(*EInteresado, tecla);
        if (const qint64 codigo = TagDelInteresado())
            EscribeCodigo(codigo);
    });
}

void TFFichaCitas::EInteresadoExit()
{
    DejaFoco(*EInteresado);
    if (m_conFoco == BCancelar)
        return;
    EjecutaConGuarda([this] {
        TClientesRaiz *const clientes = m_motor->Clientes();
        if (!clientes)
            return;
        // A text cut out with the mouse may agree with a list that stands on nobody, or on somebody else.
        if (EInteresado->text() != clientes->Nombre() || TagDelInteresado() != clientes->Codigo())
            clientes->ExitBusqueda(*EInteresado, true);
        if (const qint64 codigo = TagDelInteresado()) {
            EscribeInteresado(clientes->Nombre(), codigo);
            return;
        }
        // The name stays as it was, so a code that the search has put in on the way goes out again, from the
        // line and from the Tag, which always goes with the party of the line.
        const QString tecleado = EInteresado->text();
        if (TLineaAgenda::Actual(Tabla()).Codigo() != m_codigoAlEntrar)
            EscribeCodigo(m_codigoAlEntrar);
        MuestraCodCliente();
        if (tecleado == DBEInteresado->text())
            return;
        if (tecleado.isEmpty()) {
            MuestraInteresado();
            m_avisoAyuda = QStringLiteral("El interesado no cambia: Ctrl+Supr en su casilla lo quita");
        } else
            m_avisoAyuda =
                QStringLiteral("«%1» no está en la lista de clientes: el interesado no cambia").arg(tecleado);
    });
}

void TFFichaCitas::QuitaInteresado()
{
    if (!Editando())
        return;
    EjecutaConGuarda([this] {
        TLineaAgenda().Escribe(Tabla(), std::array{TCampoLinea::interesado, TCampoLinea::codCliente});
        m_codigoAlEntrar = 0;
        m_tecleandoInteresado = false;
        MuestraInteresado(); // also over a name that was being typed
        MuestraCodCliente();
        Avisa(QStringLiteral("La cita queda sin interesado"));
    });
}

void TFFichaCitas::EscribeInteresado(const QString &nombre, qint64 codigo)
{
    TLineaAgenda linea;
    linea.Interesado = nombre;
    linea.Escribe(Tabla(), TCampoLinea::interesado);
    EscribeCodigo(codigo);
}

void TFFichaCitas::EscribeCodigo(qint64 codigo)
{
    TLineaAgenda linea;
    linea.CodCliente = static_cast<double>(codigo);
    linea.Escribe(Tabla(), TCampoLinea::codCliente);
}

void TFFichaCitas::BInteresadoClick()
{
    EjecutaConGuarda([this] {
        TClientesRaiz *const clientes = m_motor->Clientes();
        if (!clientes)
            return;
        /// The list is told that the lookup is over also when it failed.
        struct TFin {
            TClientesRaiz &Clientes;
            ~TFin() { Clientes.FinBusqueda(); }
        } const fin{*clientes};
        if (const qint64 codigo = TLineaAgenda::Actual(Tabla()).Codigo())
            clientes->MuestraFicha(codigo);
        // Deliberate: the initial text is the card's caption, not the party typed.
        else if (clientes->Elige(ListaDeClientes, windowTitle())) {
            EscribeInteresado(clientes->Nombre(), clientes->Codigo());
            m_codigoAlEntrar = clientes->Codigo(); // what the party field goes back to from here on
        }
    });
}
