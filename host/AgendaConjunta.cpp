// Cells are edited, the day is refreshed, and what the clerk stands on is shown.

#include "host/AgendaConjunta.h"

#include "agenda/HojaNueva.h"
#include "agenda/IAgenda3P.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Clacliraiz.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/CalendarPopup.h"
#include "dbcontrols/ColorPanel.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/Texts.h"

#include <QtCore/QLocale>
#include <QtCore/QLoggingCategory>
#include <QtCore/QScopedValueRollback>
#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QStatusBar>

using dataset::DataSet;

namespace
{

Q_LOGGING_CATEGORY(registroConjunta, "oficina.conjunta")

constexpr int EntreRefrescos = 5000; // ms
constexpr const char *Codigo = "Tag";

} // namespace

TFAgendaConjunta::TFAgendaConjunta(IAgenda3P &motor, TClientesRaiz *clientes, const TOpciones &opciones,
                                   QWidget *propietario)
    : m_motor(motor)
    , m_clientes(clientes)
    , m_opciones(opciones)
    , m_propietario(propietario)
    , m_modelo(new TModeloConjunto(this))
{
    setObjectName(QStringLiteral("AgendaConjunta"));
    setWindowTitle(QStringLiteral("Agenda conjunta"));
    setWindowModality(Qt::ApplicationModal);
    m_modelo->PonMotor(motor, opciones.Nombres);
    CreaComandos();
    CreaBarra();
    CreaMenus();
    CreaCentro();
    LeeColores();
    Coloca();
    m_reloj = new QTimer(this);
    m_reloj->setObjectName(QStringLiteral("Reloj"));
    m_reloj->setInterval(EntreRefrescos);
    connect(m_reloj, &QTimer::timeout, this, &TFAgendaConjunta::Refresca);
    m_reloj->start();
    m_rejilla->setFocus();
}

TFAgendaConjunta::~TFAgendaConjunta() = default;

void TFAgendaConjunta::ShowModal()
{
    show();
    raise();
    activateWindow();
    m_bucle.exec(QEventLoop::DialogExec);
    m_reloj->stop();
}

void TFAgendaConjunta::closeEvent(QCloseEvent *evento)
{
    if (!CierraEditor()) {
        evento->ignore(); // what was typed could not be written, and the clerk has been told
        return;
    }
    RecuerdaLugar();
    QMainWindow::closeEvent(evento);
    m_bucle.quit();
}

void TFAgendaConjunta::keyPressEvent(QKeyEvent *tecla)
{
    if (tecla->key() == Qt::Key_Escape)
        close();
    else
        QMainWindow::keyPressEvent(tecla);
}

void TFAgendaConjunta::changeEvent(QEvent *evento)
{
    QMainWindow::changeEvent(evento);
    if (evento->type() == QEvent::PaletteChange && m_rejilla)
        LeeColores();
}

void TFAgendaConjunta::LeeColores()
{
    try {
        m_modelo->PonColorSalida(dbcontrols::screenColor(m_opciones.ColorSalida(), palette()));
    } catch (const std::exception &error) {
        qCWarning(registroConjunta, "The colour of outings stays as it was: %s", error.what());
    }
    m_rejilla->viewport()->update();
}

int TFAgendaConjunta::Fila() const
{
    return m_rejilla->currentIndex().row();
}

int TFAgendaConjunta::Notario() const
{
    const QModelIndex celda = m_rejilla->currentIndex();
    return celda.isValid() ? TModeloConjunto::NotarioDe(celda.column()) : 1;
}

QString TFAgendaConjunta::DeQuien(int notario) const
{
    return QStringLiteral("la agenda de ") + m_modelo->Nombre(notario);
}

// ---------------------------------------------------------------------------------------------------------------------
// The day

void TFAgendaConjunta::VeAlDia(QDate fecha)
{
    const TPuestoConjunto puesto = m_modelo->Puesto(m_rejilla->currentIndex());
    m_fecha = fecha;
    m_motor.RangoPorFecha(fecha);
    m_modelo->Relee();
    // Where only some notaries lack the day a whole new sheet would double the others'; its holes are seen,
    // and completed on demand.
    if (m_modelo->rowCount() == 0)
        m_motor.InsertaDia(fecha, true);
    Muestra(puesto);
}

void TFAgendaConjunta::Muestra(const TPuestoConjunto &puesto)
{
    m_modelo->Relee();
    const QModelIndex celda = m_modelo->Celda(puesto);
    if (celda.isValid() && celda != m_rejilla->currentIndex())
        m_rejilla->setCurrentIndex(celda);
    MuestraFecha();
    MuestraAvisos();
    CambiaCelda();
}

void TFAgendaConjunta::Refresca()
{
    if (m_ordenes > 0 || m_rejilla->EstaEditando() || QApplication::activePopupWidget() ||
        QApplication::activeModalWidget() != this)
        return;
    try {
        for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario) {
            if (DataSet *const tabla = m_motor.Tabla(notario))
                tabla->refresh();
        }
        const QList<QPersistentModelIndex> elegidas = [this] {
            QList<QPersistentModelIndex> lista;
            for (const QModelIndex &una : m_rejilla->selectionModel()->selectedIndexes())
                lista << una;
            return lista;
        }();
        QList<TPuestoConjunto> puestos;
        for (const QPersistentModelIndex &una : elegidas)
            puestos << m_modelo->Puesto(una);
        const int filas = m_modelo->rowCount();
        const TPuestoConjunto actual = m_modelo->Puesto(m_rejilla->currentIndex());
        Muestra(actual);
        // Slots made or deleted elsewhere renumber the rows; the cells chosen stay chosen.
        if (m_modelo->rowCount() != filas && puestos.size() > 1) {
            for (const TPuestoConjunto &puesto : std::as_const(puestos))
                m_rejilla->selectionModel()->select(m_modelo->Celda(puesto), QItemSelectionModel::Select);
        }
        LeeColores();
    } catch (const std::exception &error) {
        // Every few seconds again: not in a box that would stop the work.
        qCWarning(registroConjunta, "%s", error.what());
        statusBar()->showMessage(QStringLiteral("No se ven los cambios de otros puestos: ") +
                                     QString::fromUtf8(error.what()),
                                 EntreRefrescos);
    }
}

void TFAgendaConjunta::MuestraFecha()
{
    if (!MEFecha->hasFocus())
        MEFecha->setMaskedText(Date_Cad(m_fecha));
    LDia->setText(QLocale(QLocale::Spanish, QLocale::Spain)
                      .toString(m_fecha, QStringLiteral("dddd, d 'de' MMMM 'de' yyyy")));
}

void TFAgendaConjunta::MuestraAvisos()
{
    QStringList faltan;
    for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario) {
        if (m_modelo->LeFaltaLaHoja(notario))
            faltan << m_modelo->Nombre(notario);
    }
    const bool huecos = m_modelo->TieneHuecos();
    if (m_modelo->rowCount() == 0)
        LAviso->setText(QStringLiteral("Este día no tiene hoja. Inserte un hueco, o busque el día otra vez "
                                       "para añadirla."));
    else if (!faltan.isEmpty())
        LAviso->setText(QStringLiteral("Sin hoja de este día: ") + faltan.join(QStringLiteral(", ")) + u'.');
    else
        LAviso->setText(QStringLiteral("Hay huecos que no tienen todos los notarios."));
    m_aviso->setVisible(huecos || m_modelo->rowCount() == 0);
    ACompletar->setEnabled(huecos);
    const bool hayCopia = m_motor.HayDatosEnPortapapeles();
    for (QAction *const comando : {APegar, APegarHora, AVaciar})
        comando->setEnabled(hayCopia);
    LPortapapeles->setText(hayCopia ? QStringLiteral("Copiado: ") + m_horasCopiadas.join(QStringLiteral(", "))
                                    : QString());
}

void TFAgendaConjunta::CambiaCelda()
{
    const QModelIndex celda = m_rejilla->currentIndex();
    const int notario = Notario();
    if (m_ordenes == 0 && !m_rejilla->EstaEditando())
        m_motor.PonNotarioActual(notario);
    m_rejilla->Cabecera().PonNotarioActual(notario);
    const bool linea = celda.isValid() && m_modelo->Linea(celda.row(), notario) != 0;
    for (QAction *const comando : {ALimpiar, ASalida, ACopiar})
        comando->setEnabled(linea);
    AModificar->setEnabled(celda.isValid());
    ABorrar->setEnabled(linea);
    AAusente->setEnabled(celda.isValid() && !m_modelo->LeFaltaLaHoja(notario));
    QString texto;
    if (linea) {
        const int primera = (notario - 1) * CamposPorNotario;
        QStringList partes;
        for (int campo = 0; campo < CamposPorNotario; ++campo) {
            const QString parte = celda.siblingAtColumn(primera + campo).data().toString();
            if (!parte.isEmpty())
                partes << parte;
        }
        texto = QStringLiteral("%1 · %2\n%3")
                    .arg(m_modelo->Hora(celda.row()), m_modelo->Nombre(notario),
                         partes.isEmpty() ? QStringLiteral("(libre)") : partes.join(QStringLiteral(" · ")));
    }
    if (m_detalle->toPlainText() != texto)
        m_detalle->setPlainText(texto);
}

void TFAgendaConjunta::FechaDejada()
{
    const QDate escrita = QDate::fromString(MEFecha->text(), QStringLiteral("dd/MM/yyyy"));
    if (escrita == m_fecha)
        return;
    if (escrita.isValid())
        Ejecuta([this, escrita] { VeAlDia(escrita); });
    else if (!MEFecha->isBlank())
        AvisaError(QStringLiteral("«%1» no es una fecha.").arg(MEFecha->text().trimmed()));
    MEFecha->setMaskedText(Date_Cad(m_fecha));
}

void TFAgendaConjunta::AbreCalendario()
{
    auto *calendario = findChild<dbcontrols::CalendarPopup *>();
    if (!calendario) {
        calendario = new dbcontrols::CalendarPopup(this);
        connect(calendario, &dbcontrols::CalendarPopup::chosen, this,
                [this](QDate fecha) { Ejecuta([this, fecha] { VeAlDia(fecha); }); });
    }
    calendario->open(*MEFecha, m_fecha);
}

bool TFAgendaConjunta::eventFilter(QObject *objeto, QEvent *evento)
{
    const bool pulsada = evento->type() == QEvent::KeyPress;
    if (!pulsada && evento->type() != QEvent::KeyRelease)
        return QMainWindow::eventFilter(objeto, evento);
    const auto &tecla = *static_cast<QKeyEvent *>(evento);
    const bool abre =
        tecla.key() == Qt::Key_F4 || (tecla.key() == Qt::Key_Down && (tecla.modifiers() & Qt::AltModifier));
    if (objeto == MEFecha && pulsada) {
        if (abre) {
            AbreCalendario();
            return true;
        }
        if (tecla.key() == Qt::Key_Enter || tecla.key() == Qt::Key_Return) {
            m_rejilla->setFocus();
            return true;
        }
    }
    if (m_editor && objeto == m_editor) {
        if (pulsada && abre) {
            EligeDeLista();
            return true;
        }
        const QModelIndex celda = m_rejilla->currentIndex();
        if (!pulsada && m_clientes && TModeloConjunto::CampoDe(celda.column()) == TCampoConjunto::interesado)
            m_clientes->KeyUpBusqueda(*m_editor, tecla.key());
    }
    return QMainWindow::eventFilter(objeto, evento);
}

// ---------------------------------------------------------------------------------------------------------------------
// Editing

bool TFAgendaConjunta::CierraEditor()
{
    if (m_rejilla->EstaEditando())
        m_rejilla->setFocus(); // leaving the cell writes it
    return !m_rejilla->EstaEditando();
}

bool TFAgendaConjunta::EmpiezaEdicion(const QModelIndex &celda)
{
    const QScopedValueRollback<int> enCurso(m_ordenes, m_ordenes + 1);
    bool hecho = false;
    const TPuestoConjunto puesto = m_modelo->Puesto(celda);
    const int notario = TModeloConjunto::NotarioDe(celda.column());
    ConGuarda([&] {
        if (m_modelo->Linea(celda.row(), notario) == 0 && !OfreceHueco(celda))
            return;
        const QModelIndex ahora = m_modelo->Celda(puesto);
        if (!SituaEn(ahora.row(), notario))
            return;
        static_cast<void>(m_motor.TomaError());
        if (!m_motor.Modificar()) {
            AvisaSiFallo(QStringLiteral("No se puede cambiar la línea de las %1 de %2.")
                             .arg(puesto.Hora, DeQuien(notario)));
            m_motor.TablaActual().refresh(); // so that a line that has gone is seen to be gone
            Muestra(puesto);
            return;
        }
        const QString campo = TModeloConjunto::NombreDelCampo(TModeloConjunto::CampoDe(celda.column()));
        if (m_motor.TablaActual().field(campo).asText() != ahora.data().toString()) {
            m_motor.CancelarAgendaN(false);
            m_motor.TablaActual().refresh();
            Muestra(puesto);
            AvisaError(dbcontrols::changedElsewhere());
            return;
        }
        hecho = true;
    });
    return hecho;
}

bool TFAgendaConjunta::OfreceHueco(const QModelIndex &celda)
{
    const int notario = TModeloConjunto::NotarioDe(celda.column());
    const TPuestoConjunto puesto = m_modelo->Puesto(celda);
    if (!Pregunta(QStringLiteral("¿Desea añadirlo (S/N)?"),
                  QStringLiteral("No hay hueco a las %1 en %2.").arg(puesto.Hora, DeQuien(notario))))
        return false;
    const bool anadido = AnadeHuecoA(notario, {puesto.Hora});
    Muestra(puesto);
    return anadido;
}

/// Adds lines to one notary alone, where the others have theirs already; all of them or none.
bool TFAgendaConjunta::AnadeHuecoA(int notario, const QStringList &horas)
{
    DataSet *const tabla = m_motor.Tabla(notario);
    return tabla && ConGuarda([this, tabla, &horas] {
               const dataset::ControlsGuard sinAvisos(*tabla);
               const dataset::PendingEditGuard sinResto(*tabla);
               dataset::CommitGroup todas(*tabla);
               for (const QString &hora : horas) {
                   InsertaLinea(*tabla, m_fecha, hora);
                   TBPost(*tabla);
               }
               todas.commit();
           });
}

void TFAgendaConjunta::PreparaEditor(QLineEdit &editor, const QModelIndex &celda)
{
    const TCampoConjunto campo = TModeloConjunto::CampoDe(celda.column());
    DataSet &tabla = m_motor.TablaActual();
    editor.setMaxLength(tabla.fieldInfo(tabla.fieldIndex(TModeloConjunto::NombreDelCampo(campo))).width);
    editor.setProperty(Codigo, tabla.field(u"CODCLIENTE").asInteger());
    editor.installEventFilter(this);
    if (campo != TCampoConjunto::concepto)
        statusBar()->showMessage(QStringLiteral("F4 abre la lista"));
    m_editor = &editor;
}

void TFAgendaConjunta::EligeDeLista()
{
    const QModelIndex celda = m_rejilla->currentIndex();
    const TCampoConjunto campo = TModeloConjunto::CampoDe(celda.column());
    ConGuarda([this, campo] {
        QString nombre = m_editor->text();
        if (campo == TCampoConjunto::oficial && Servicios().Rut->PreguntaOficial(nombre) && m_editor)
            m_editor->setText(nombre.left(m_editor->maxLength()));
        if (campo == TCampoConjunto::interesado && m_clientes &&
            m_clientes->Elige(QStringLiteral("Interesado de la cita"), nombre) && m_editor) {
            m_editor->setText(m_clientes->Nombre().left(m_editor->maxLength()));
            m_editor->setProperty(Codigo, m_clientes->Codigo());
        }
        if (m_editor)
            m_editor->setModified(true);
    });
    if (m_editor)
        m_editor->setFocus();
}

bool TFAgendaConjunta::GuardaEdicion(QLineEdit &editor, const QModelIndex &celda)
{
    const QScopedValueRollback<int> enCurso(m_ordenes, m_ordenes + 1);
    DataSet &tabla = m_motor.TablaActual();
    const TCampoConjunto campo = TModeloConjunto::CampoDe(celda.column());
    if (!tabla.isEditing() || editor.text() == celda.data(Qt::EditRole).toString())
        return true; // nothing was changed, and the end of the editing gives the line back
    bool escrita = false;
    const bool sinError = ConGuarda([&] {
        if (campo == TCampoConjunto::interesado && m_clientes) {
            m_clientes->ExitBusqueda(editor, true);
            if (const qint64 cliente = editor.property(Codigo).toLongLong();
                cliente != tabla.field(u"CODCLIENTE").asInteger())
                tabla.field(u"CODCLIENTE").setInteger(cliente);
        }
        tabla.field(TModeloConjunto::NombreDelCampo(campo)).setText(editor.text());
        static_cast<void>(m_motor.TomaError());
        escrita = m_motor.AceptarAgendaN();
        if (!escrita)
            AvisaError(QStringLiteral("No se ha podido guardar la cita.\n%1\n\nLo que ha escrito sigue en la "
                                      "celda: pulse Intro para volver a intentarlo o Esc para dejarlo.")
                           .arg(m_motor.TomaError()));
    });
    return sinError && escrita;
}

void TFAgendaConjunta::TerminaEdicion()
{
    if (m_clientes)
        m_clientes->FinBusqueda();
    if (m_motor.TablaActual().isEditing())
        m_motor.CancelarAgendaN(false);
    statusBar()->clearMessage();
    ConGuarda([this] { Muestra(m_modelo->Puesto(m_rejilla->currentIndex())); });
}
