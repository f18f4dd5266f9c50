// Cells are edited in place; the line is the clerk's own meanwhile.

#include "host/AgendaConjunta.h"

#include "agenda/HojaDia.h"
#include "agenda/HojaNueva.h"
#include "agenda/IAgenda3P.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Clacliraiz.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/FieldLink.h"

#include <QtCore/QScopedValueRollback>
#include <QtCore/QSet>
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
        hecho = TomaLinea(m_modelo->Celda(puesto).row(), notario);
        if (!hecho)
            Muestra(puesto);
    });
    m_enEdicion = hecho ? &m_motor.TablaActual() : nullptr;
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
    if (m_modelo->EsIlegible(notario)) {
        AvisaError(QStringLiteral("No se puede leer este día en %1.").arg(DeQuien(notario)));
        return false;
    }
    if (!Pregunta(QStringLiteral("¿Desea añadirlo (S/N)?"),
                  QStringLiteral("No hay hueco a las %1 en %2.").arg(puesto.Hora, DeQuien(notario))))
        return false;
    const dataset::Bookmark linea = AnadeHuecoA(notario, {puesto.Hora});
    m_modelo->Relee(m_fecha);
    const int fila = m_modelo->FilaDeLinea(linea, notario);
    if (fila >= 0)
        puesto = m_modelo->Puesto(m_modelo->index(fila, celda.column()));
    Muestra(puesto);
    if (fila < 0)
        AvisaError(QStringLiteral("Otro puesto ha añadido ya ese hueco. Mire lo que dice ahora."));
    return fila >= 0;
}

dataset::Bookmark TFAgendaConjunta::AnadeHuecoA(int notario, const QStringList &horas)
{
    DataSet *const tabla = m_motor.Tabla(notario);
    if (!tabla || m_modelo->EsIlegible(notario))
        return 0;
    dataset::Bookmark ultima = 0;
    const dataset::ControlsGuard sinAvisos(*tabla);
    const dataset::PendingEditGuard sinResto(*tabla);
    dataset::CommitGroup todas(*tabla);
    PonRangoDelDia(*tabla, m_fecha); // the day as it is now that nobody else writes
    const QSet<QString> distintas(horas.begin(), horas.end());
    for (const QString &hora : distintas) {
        int faltan = m_modelo->LineasA(hora, notario) + static_cast<int>(horas.count(hora));
        for (int fila = 0; fila < tabla->rowCount(); ++fila)
            faltan -= TextoDeFila(*tabla, fila, TCampoLinea::hora) == hora ? 1 : 0;
        for (; faltan > 0; --faltan) {
            InsertaLinea(*tabla, m_fecha, hora);
            TBPost(*tabla);
            ultima = tabla->bookmark();
        }
    }
    todas.commit();
    tabla->refresh();
    return ultima;
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
        }
    });
    if (m_editor)
        m_editor->setFocus();
}

void TFAgendaConjunta::AvisaDespues(const QString &texto)
{
    QMetaObject::invokeMethod(
        this, [this, texto] { AvisaError(texto); }, Qt::QueuedConnection);
}

bool TFAgendaConjunta::GuardaEdicion(QLineEdit &editor, const QModelIndex &celda)
{
    DataSet &tabla = m_motor.TablaActual();
    if (!m_enEdicion || m_enEdicion != &tabla)
        return editor.text() == celda.data(Qt::EditRole).toString();
    // Not in edit where the line could not be had again after a failure.
    TRespuesta guardada = tabla.isEditing() ? TRespuesta(true) : RecuperaCelda();
    if (guardada) {
        guardada = EscribeCelda(editor, celda);
        if (guardada)
            return true;
        RecuperaCelda();
    }
    const QString texto = QStringLiteral("No se ha podido guardar la cita de las %1.\n%2\n\n")
                              .arg(m_modelo->Hora(celda.row()), guardada.Causa());
    const bool sigue = tabla.rowOf(m_lineaEnEdicion) >= 0;
    AvisaDespues(texto +
                 (sigue ? QStringLiteral("Lo que ha escrito sigue en la celda: pulse Intro para volver a "
                                         "intentarlo o Esc para dejarlo.") +
                              m_borrador.LoDeOtros()
                        : QStringLiteral("Había escrito:\n") + m_borrador.Tecleado().join(u'\n')));
    return !sigue;
}

TRespuesta TFAgendaConjunta::EscribeCelda(QLineEdit &editor, const QModelIndex &celda)
{
    try {
        DataSet &tabla = *m_enEdicion;
        const TCampoConjunto campo = TModeloConjunto::CampoDe(celda.column());
        TLineaAgenda linea = TLineaAgenda::Actual(tabla);
        qint64 cliente = linea.Codigo();
        if (campo == TCampoConjunto::interesado && m_clientes) {
            m_clientes->ExitBusqueda(editor, true);
            cliente = editor.property(Codigo).toLongLong();
        }
        const bool mismoTexto = editor.text() == celda.data(Qt::EditRole).toString();
        if (mismoTexto && cliente == linea.Codigo() && !tabla.isModified())
            return true; // nothing was changed, and the end of the editing gives the line back
        if (cliente != linea.Codigo()) {
            linea.CodCliente = static_cast<double>(cliente);
            linea.Escribe(tabla, TCampoLinea::codCliente);
        }
        tabla.field(TModeloConjunto::NombreDelCampo(campo)).setText(dbcontrols::keptBy(tabla, editor.text()));
        m_borrador.Guarda(tabla);
        return m_motor.AceptarAgendaN();
    } catch (const std::exception &error) {
        return TRespuesta::Fallo(dataset::plainText(error));
    }
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
