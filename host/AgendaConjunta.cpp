// The day is shown and refreshed, and what the clerk stands on with it.

#include "host/AgendaConjunta.h"

#include "agenda/IAgenda3P.h"
#include "agenda/Rnumcad.h"
#include "agenda/Rvarias.h"
#include "agenda/host/Clacliraiz.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/CalendarPopup.h"
#include "dbcontrols/ColorPanel.h"
#include "dbcontrols/MaskEdit.h"

#include <QtCore/QLocale>
#include <QtCore/QLoggingCategory>
#include <QtCore/QScopedValueRollback>
#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStatusBar>

namespace
{

Q_LOGGING_CATEGORY(registroConjunta, "oficina.conjunta")

constexpr int EntreRefrescos = 5000; // ms

/// Keys that work on a text that is being typed.
bool EsDeTexto(const QKeyEvent &tecla)
{
    switch (tecla.key()) {
    case Qt::Key_Insert:
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
    case Qt::Key_Home:
    case Qt::Key_End:
        return true;
    default:
        return false;
    }
}

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
    CreaComandosDeHuecos();
    CreaComandosDeLineas();
    CreaComandosDelDia();
    PonDibujos();
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

TFAgendaConjunta::~TFAgendaConjunta()
{
    m_acaba = true;
    CierraEditor(); // the program may end with a cell open
    DiLoPendiente();
    // What closes from here on is neither edited nor a command's.
    ++m_ordenes;
    ++m_dialogos;
    m_editor.clear();
    SueltaLineas();
    delete std::exchange(m_rejilla, nullptr); // before this object is no window of the day any more
}

void TFAgendaConjunta::ShowModal()
{
    winId(); // gives the window a handle, so that it can be put in front of its owner
    if (m_propietario && m_propietario->window()->windowHandle())
        windowHandle()->setTransientParent(m_propietario->window()->windowHandle());
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
    DiLoPendiente(); // of a line that has gone; later there is no window to tell it
    CuentaAvisos();
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
    return TModeloConjunto::NotarioDe(m_columna);
}

TPuestoConjunto TFAgendaConjunta::PuestoActual() const
{
    TPuestoConjunto puesto = m_modelo->Puesto(m_rejilla->currentIndex());
    puesto.Columna = m_columna; // also while there are no rows
    return puesto;
}

QString TFAgendaConjunta::DeQuien(int notario) const
{
    return QStringLiteral("la agenda de ") + m_modelo->Nombre(notario);
}

// ---------------------------------------------------------------------------------------------------------------------
// The day

void TFAgendaConjunta::VeAlDia(QDate fecha)
{
    if (!fecha.isValid())
        return;
    const TPuestoConjunto puesto = PuestoActual();
    const TRespuesta visto = m_motor.VeDia(fecha);
    bool alguno = false;
    for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario)
        alguno = alguno || m_motor.DiaMostrado(notario) == fecha;
    if (!alguno) // all are where they were
        throw dataset::EDatabaseError(visto.Causa());
    PonDia(fecha);
    m_modelo->Relee(m_fecha);
    try {
        // Where only some notaries lack the day a whole new sheet would double the others'; its holes are
        // seen, and completed on demand. What cannot be read may have one.
        if (m_modelo->rowCount() == 0 && visto.Causa().isEmpty())
            m_motor.InsertaDia(fecha, true);
    } catch (...) {
        Muestra(puesto); // what has been made of it, in those tables that could take it
        throw;
    }
    Muestra(puesto);
}

void TFAgendaConjunta::PonDia(QDate fecha)
{
    if (fecha != m_fecha)
        m_rejilla->selectionModel()->select(m_rejilla->currentIndex(), QItemSelectionModel::ClearAndSelect);
    m_fecha = fecha;
}

void TFAgendaConjunta::Muestra(const TPuestoConjunto &puesto)
{
    const int alto = m_rejilla->verticalScrollBar()->value();
    const int ancho = m_rejilla->horizontalScrollBar()->value();
    const QModelIndex antes = m_rejilla->currentIndex();
    const QList<TPuestoConjunto> elegidas = Elegidas();
    m_modelo->Relee(m_fecha, m_rejilla->EstaEditando()); // the rows wait until the cell is closed
    const QModelIndex celda = m_modelo->Celda(puesto);
    if (celda.isValid() && celda != m_rejilla->currentIndex())
        m_rejilla->VeA(celda);
    if (elegidas.size() > 1 && Elegidas() != elegidas)
        Elige(elegidas);
    if (celda == antes) { // rows that came or went have moved nothing that the clerk looks at
        m_rejilla->verticalScrollBar()->setValue(alto);
        m_rejilla->horizontalScrollBar()->setValue(ancho);
    }
    MuestraFecha();
    MuestraAvisos();
    CambiaCelda();
}

QList<TPuestoConjunto> TFAgendaConjunta::Elegidas() const
{
    QList<TPuestoConjunto> puestos;
    for (const QModelIndex &una : m_rejilla->selectionModel()->selectedIndexes())
        puestos << m_modelo->Puesto(una);
    return puestos;
}

void TFAgendaConjunta::Elige(const QList<TPuestoConjunto> &puestos)
{
    QItemSelection celdas;
    for (const TPuestoConjunto &puesto : puestos) {
        if (m_modelo->Sigue(puesto))
            celdas.select(m_modelo->Celda(puesto), m_modelo->Celda(puesto));
    }
    if (!celdas.isEmpty())
        m_rejilla->selectionModel()->select(celdas, QItemSelectionModel::ClearAndSelect);
}

QString TFAgendaConjunta::RefrescaTablas()
{
    return m_motor.VeDia(m_fecha).Causa();
}

void TFAgendaConjunta::Refresca()
{
    if (m_ordenes > 0 || m_dialogos > 0 || QApplication::activePopupWidget() ||
        QApplication::activeModalWidget() != this)
        return;
    // Every few seconds again: not in a box that would stop the work.
    if (const QString causa = RefrescaTablas(); !causa.isEmpty())
        statusBar()->showMessage(QStringLiteral("No se ven los cambios de otros puestos. ") + causa,
                                 EntreRefrescos);
    if (m_rejilla->EstaEditando()) {
        m_modelo->Relee(m_fecha, true); // the rows wait until the cell is closed
        return;
    }
    const TPuestoConjunto actual = PuestoActual();
    Muestra(actual);
    // A row may have been one that can be read no more.
    const bool seSabe = actual.Linea != 0 ? !m_modelo->EsIlegible(Notario()) : !m_modelo->HayIlegibles();
    if (!actual.Hora.isEmpty() && !m_modelo->Sigue(actual) && seSabe)
        statusBar()->showMessage(
            QStringLiteral("Otro puesto ha borrado el hueco de las %1.").arg(actual.Hora), EntreRefrescos);
    LeeColores();
    CuentaAvisos();
}

void TFAgendaConjunta::MuestraFecha()
{
    // A date that is being typed is the clerk's, unless a command has gone to another day.
    if (!MEFecha->hasFocus() || m_ordenes > 0)
        MEFecha->setMaskedText(Date_Cad(m_fecha));
    LDia->setText(QLocale(QLocale::Spanish, QLocale::Spain)
                      .toString(m_fecha, QStringLiteral("dddd, d 'de' MMMM 'de' yyyy")));
}

void TFAgendaConjunta::MuestraAvisos()
{
    QStringList faltan;
    QStringList ilegibles;
    for (int notario = 1; notario <= m_modelo->NumNotarios(); ++notario) {
        if (m_modelo->LeFaltaLaHoja(notario))
            faltan << m_modelo->Nombre(notario);
        if (m_modelo->EsIlegible(notario))
            ilegibles << m_modelo->Nombre(notario);
    }
    const bool huecos = m_modelo->TieneHuecos();
    QStringList avisos;
    if (!ilegibles.isEmpty())
        avisos << QStringLiteral("No se puede leer el día de ") + ilegibles.join(QStringLiteral(", ")) + u'.';
    else if (m_modelo->rowCount() == 0)
        avisos << QStringLiteral("Este día no tiene hoja. Inserte un hueco, o busque el día otra vez "
                                 "para añadirla.");
    else if (!faltan.isEmpty())
        avisos << QStringLiteral("Sin hoja de este día: ") + faltan.join(QStringLiteral(", ")) + u'.';
    else if (huecos)
        avisos << QStringLiteral("Hay huecos que no tienen todos los notarios.");
    if (m_modelo->FaltanNotarios())
        avisos << QStringLiteral("Solo se ven los %1 primeros notarios.").arg(m_modelo->NumNotarios());
    LAviso->setText(avisos.join(u' '));
    m_aviso->setVisible(!avisos.isEmpty());
    ACompletar->setEnabled(huecos);
    const bool hayCopia = m_motor.HayDatosEnPortapapeles();
    for (QAction *const comando : {APegar, APegarHora, AVaciar})
        comando->setEnabled(hayCopia);
    LPortapapeles->setText(hayCopia ? QStringLiteral("Copiado: ") +
                                          m_motor.HorasCopiadas().join(QStringLiteral(", "))
                                    : QString());
}

void TFAgendaConjunta::CambiaCelda()
{
    const QModelIndex celda = m_rejilla->currentIndex();
    if (celda.isValid())
        m_columna = celda.column();
    const int notario = Notario();
    if (m_ordenes == 0 && !m_rejilla->EstaEditando())
        m_motor.PonNotarioActual(notario);
    m_rejilla->Cabecera().PonNotarioActual(notario);
    const bool linea = celda.isValid() && m_modelo->Linea(celda.row(), notario) != 0;
    for (QAction *const comando : {ALimpiar, ASalida, ACopiar})
        comando->setEnabled(linea);
    AModificar->setEnabled(celda.isValid());
    ABorrar->setEnabled(linea);
    AAusente->setEnabled(celda.isValid() && !m_modelo->LeFaltaLaHoja(notario) &&
                         !m_modelo->EsIlegible(notario));
    QString texto;
    if (celda.isValid()) {
        const int primera = (notario - 1) * CamposPorNotario;
        QStringList partes;
        for (int campo = 0; campo < CamposPorNotario; ++campo) {
            const QString parte = celda.siblingAtColumn(primera + campo).data().toString();
            if (!parte.isEmpty())
                partes << parte;
        }
        if (partes.isEmpty())
            partes << (linea                           ? QStringLiteral("(libre)")
                       : m_modelo->EsIlegible(notario) ? QStringLiteral("(no se puede leer)")
                                                       : QStringLiteral("(sin hueco)"));
        texto = QStringLiteral("%1 · %2\n%3")
                    .arg(m_modelo->Hora(celda.row()), m_modelo->Nombre(notario),
                         partes.join(QStringLiteral(" · ")));
    }
    if (m_detalle->toPlainText() != texto)
        m_detalle->setPlainText(texto);
}

void TFAgendaConjunta::FechaDejada()
{
    if (m_ordenes == 0 && MEFecha->text() != Date_Cad(m_fecha))
        Ejecuta([] {}); // which begins with the date
}

bool TFAgendaConjunta::AceptaFecha()
{
    QString texto = MEFecha->text();
    if (texto == Date_Cad(m_fecha))
        return true;
    if (MEFecha->isBlank()) {
        MEFecha->setMaskedText(Date_Cad(m_fecha));
        return true;
    }
    if (!VerificaFecha(texto)) {
        AvisaError(QStringLiteral("«%1» no es una fecha.").arg(texto.trimmed()));
        MEFecha->setFocus();
        return false;
    }
    const bool visto = ConGuarda([&] { VeAlDia(Cad_Date(texto)); });
    if (!visto) // told; the field stands over the rows that are shown
        MEFecha->setMaskedText(Date_Cad(m_fecha));
    return visto;
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
    const bool enEditor = m_editor && objeto == m_editor;
    if (!enEditor && objeto != MEFecha)
        return QMainWindow::eventFilter(objeto, evento);
    const auto *const tecla = dynamic_cast<QKeyEvent *>(evento);
    if (!tecla)
        return QMainWindow::eventFilter(objeto, evento);
    if (evento->type() == QEvent::ShortcutOverride && EsDeTexto(*tecla)) {
        evento->accept(); // typed into the text, whatever command of the day has the same keys
        return true;
    }
    const bool pulsada = evento->type() == QEvent::KeyPress;
    const bool abre = (tecla->key() == Qt::Key_F4 && tecla->modifiers() == Qt::NoModifier) ||
                      (tecla->key() == Qt::Key_Down && tecla->modifiers() == Qt::AltModifier);
    if (pulsada && abre) {
        enEditor ? EligeDeLista() : AbreCalendario();
        return true;
    }
    if (pulsada && !enEditor && (tecla->key() == Qt::Key_Enter || tecla->key() == Qt::Key_Return)) {
        m_rejilla->setFocus();
        return true;
    }
    if (evento->type() == QEvent::KeyRelease && enEditor && m_clientes &&
        TModeloConjunto::CampoDe(m_rejilla->CeldaEditada().column()) == TCampoConjunto::interesado)
        ConGuarda([&] { m_clientes->KeyUpBusqueda(*m_editor, tecla->key()); });
    return QMainWindow::eventFilter(objeto, evento);
}
