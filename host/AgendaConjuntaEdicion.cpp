// Cells are edited in place; the line is the clerk's own meanwhile.

#include "host/AgendaConjunta.h"

#include "agenda/LineaAgenda.h"
#include "agenda/host/Clacliraiz.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/FieldLink.h"
#include "dbcontrols/LaterCall.h"

#include <QtCore/QScopedValueRollback>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QStatusBar>

using dataset::DataSet;

namespace
{

constexpr const char *Codigo = "Tag"; ///< property in which the client list leaves the code found

} // namespace

bool TFAgendaConjunta::CierraEditor()
{
    if (m_rejilla->EstaEditando())
        m_rejilla->setFocus(); // leaving the cell writes it
    return !m_rejilla->EstaEditando();
}

bool TFAgendaConjunta::EmpiezaEdicion(const QModelIndex &celda)
{
    if (m_ordenes > 0)
        return false;
    TPuestoConjunto puesto = m_modelo->Puesto(celda);
    const int notario = TModeloConjunto::NotarioDe(celda.column());
    bool hecho = false;
    ConGuarda([&] {
        if (m_modelo->Linea(celda.row(), notario) == 0) {
            if (!OfreceHueco(celda))
                return;
            puesto = PuestoActual();
        }
        hecho = TomaLinea(LineaDe(m_modelo->Celda(puesto).row(), notario));
    });
    m_enEdicion = hecho ? &m_motor.TablaActual() : nullptr;
    m_notarioEnEdicion = notario;
    m_elegido.reset();
    if (hecho) {
        m_lineaEnEdicion = m_enEdicion->bookmark();
        m_borrador.Empieza(*m_enEdicion);
    }
    return hecho;
}

bool TFAgendaConjunta::OfreceHueco(const QModelIndex &celda)
{
    const int notario = TModeloConjunto::NotarioDe(celda.column());
    TPuestoConjunto puesto = m_modelo->Puesto(celda);
    if (!EstaALaVista(notario))
        return false;
    if (!Pregunta(QStringLiteral("¿Desea añadirlo (S/N)?"),
                  QStringLiteral("No hay hueco a las %1 en %2.").arg(puesto.Hora, DeQuien(notario))))
        return false;
    m_motor.PonNotarioActual(notario);
    const TRespuesta anadido =
        m_motor.AnadirSolo(m_fecha, puesto.Hora, m_modelo->LineasA(puesto.Hora, notario));
    if (!anadido) {
        AvisaSiFallo(anadido, QStringLiteral("El hueco de las %1 no se ha añadido.").arg(puesto.Hora));
        return false;
    }
    puesto.Linea = m_motor.TablaActual().bookmark();
    Muestra(puesto);
    return m_modelo->Sigue(puesto);
}

void TFAgendaConjunta::PreparaEditor(QLineEdit &editor, const QModelIndex &celda)
{
    const TCampoConjunto campo = TModeloConjunto::CampoDe(celda.column());
    m_editor = &editor;
    editor.installEventFilter(this);
    ConGuarda([&] {
        DataSet &tabla = m_motor.TablaActual();
        editor.setMaxLength(tabla.fieldInfo(tabla.fieldIndex(TModeloConjunto::NombreDelCampo(campo))).width);
        editor.setProperty(Codigo, TLineaAgenda::Actual(tabla).Codigo());
    });
    if (campo != TCampoConjunto::concepto)
        statusBar()->showMessage(QStringLiteral("F4 abre la lista"));
}

void TFAgendaConjunta::EligeDeLista()
{
    const TCampoConjunto campo = TModeloConjunto::CampoDe(m_rejilla->CeldaEditada().column());
    ConGuarda([this, campo] {
        const QScopedValueRollback<int> abierto(m_dialogos, m_dialogos + 1);
        QString nombre = m_editor->text();
        if (campo == TCampoConjunto::oficial && Servicios().Rut->PreguntaOficial(nombre) && m_editor)
            m_editor->setText(nombre.left(m_editor->maxLength()));
        if (campo == TCampoConjunto::interesado && m_clientes &&
            m_clientes->Elige(QStringLiteral("Interesado de la cita"), nombre) && m_editor) {
            m_editor->setText(m_clientes->Nombre().left(m_editor->maxLength()));
            m_editor->setProperty(Codigo, m_clientes->Codigo());
            m_elegido.emplace(m_editor->text(), m_clientes->Codigo());
        }
    });
    if (m_editor)
        m_editor->setFocus();
}

void TFAgendaConjunta::AvisaDespues(const QString &texto)
{
    m_porDecir << texto;
    dbcontrols::callLater(this, [this] { DiLoPendiente(); });
}

void TFAgendaConjunta::DiLoPendiente()
{
    while (!m_porDecir.isEmpty())
        AvisaError(m_porDecir.takeFirst());
}

bool TFAgendaConjunta::GuardaEdicion(QLineEdit &editor, const QModelIndex &celda)
{
    if (!m_enEdicion) { // closed already, which nothing is known to bring about
        AvisaDespues(QStringLiteral("No se ha podido guardar la cita.\nHabía escrito:\n") + editor.text());
        return true;
    }
    // One key or click may leave the cell twice: what he is still to be told is no reason to write over it.
    if (!m_acaba && !m_porDecir.isEmpty())
        return false;
    m_motor.PonNotarioActual(m_notarioEnEdicion);
    DataSet &tabla = *m_enEdicion;
    TRespuesta guardada = TomaCelda();
    if (guardada) {
        guardada = EscribeCelda(editor, celda);
        if (guardada)
            return true;
        RecuperaCelda();
    }
    const QString texto = QStringLiteral("No se ha podido guardar la cita de las %1.\n%2\n\n")
                              .arg(m_modelo->Hora(celda.row()), guardada.Causa());
    const bool sigue = !m_acaba && tabla.rowOf(m_lineaEnEdicion) >= 0;
    AvisaDespues(texto +
                 (sigue ? QStringLiteral("Lo que ha escrito sigue en la celda: pulse Intro para volver a "
                                         "intentarlo o Esc para dejarlo.") +
                              m_borrador.LoDeOtros()
                        : QStringLiteral("Había escrito:\n") + editor.text()));
    return !sigue;
}

TRespuesta TFAgendaConjunta::EscribeCelda(QLineEdit &editor, const QModelIndex &celda)
{
    try {
        DataSet &tabla = *m_enEdicion;
        const TCampoConjunto campo = TModeloConjunto::CampoDe(celda.column());
        TLineaAgenda linea = TLineaAgenda::Actual(tabla);
        const QString nombre = TModeloConjunto::NombreDelCampo(campo);
        const qint64 cliente =
            campo == TCampoConjunto::interesado ? ClienteDe(editor, linea) : linea.Codigo();
        if (editor.text() == tabla.field(nombre).asText() && cliente == linea.Codigo() && !tabla.isModified())
            return true; // nothing was changed, and the end of the editing gives the line back
        if (cliente != linea.Codigo()) {
            linea.CodCliente = static_cast<double>(cliente);
            linea.Escribe(tabla, TCampoLinea::codCliente);
        }
        tabla.field(nombre).setText(dbcontrols::keptBy(tabla, editor.text()));
        m_borrador.Guarda(tabla);
        return m_motor.AceptarAgendaN();
    } catch (const std::exception &error) {
        return TRespuesta::Fallo(dataset::plainText(error));
    }
}

qint64 TFAgendaConjunta::ClienteDe(QLineEdit &editor, const TLineaAgenda &linea)
{
    if (m_elegido && m_elegido->first == editor.text())
        return m_elegido->second; // who may have another one's name
    // Not searched where nothing was typed, or what stood there before: that the list does not know the name
    // just now unlinks nobody.
    if (!m_clientes || editor.text() == linea.Interesado)
        return linea.Codigo();
    const auto alEmpezar = [this](TCampoLinea campo) {
        return m_borrador.AlEmpezar(m_enEdicion->fieldIndex(NombreDe(campo)));
    };
    if (editor.text() == alEmpezar(TCampoLinea::interesado).toString())
        return static_cast<qint64>(alEmpezar(TCampoLinea::codCliente).toDouble());
    m_clientes->ExitBusqueda(editor, true);
    return editor.property(Codigo).toLongLong();
}

TRespuesta TFAgendaConjunta::TomaCelda()
{
    if (m_enEdicion->isEditing())
        return true;
    const TRespuesta tomada = RecuperaCelda();
    return tomada && m_borrador.HaCambiado() ? TRespuesta::Fallo(LineaCambiada) : tomada;
}

TRespuesta TFAgendaConjunta::RecuperaCelda()
{
    TRespuesta tomada = TRespuesta::Fallo(QStringLiteral("Otro puesto ha borrado la línea mientras tanto"));
    try {
        m_motor.CancelarAgendaN(false);
        m_enEdicion->refresh();
        m_modelo->Relee(m_fecha, true); // the rows wait until the cell is closed
        CambiaCelda();
    } catch (const std::exception &error) { // what was typed is in the cell all the same
        tomada = TRespuesta::Fallo(dataset::plainText(error));
    }
    const auto modifica = [&] { return bool(tomada = m_motor.Modificar()); };
    static_cast<void>(m_borrador.Recupera(*m_enEdicion, {modifica, {}}));
    return tomada;
}

void TFAgendaConjunta::TerminaEdicion()
{
    m_editor.clear(); // deleted soon, and what reaches the filter meanwhile is no longer an edit's
    ConGuarda([this] {
        if (m_clientes)
            m_clientes->FinBusqueda();
        SueltaLineas();
        m_enEdicion = nullptr;
        statusBar()->clearMessage();
        Muestra(PuestoActual());
    });
}
