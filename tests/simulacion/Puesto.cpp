#include "tests/simulacion/Puesto.h"

#include "agenda/ClaseConfAgendaN.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/DbGrid.h"
#include "tests/driver/FileCalls.h"
#include "tests/simulacion/Faltas.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTableView>

#include <cerrno>
#include <csignal>

#include <unistd.h>

namespace simulacion
{

namespace calls = driver::filecalls;

namespace
{

constexpr int NuncaPorSiSolo = 1 << 30; // ms; the scheduler fires it
constexpr int RondasHastaElReposo = 3;  // a posted event may post another, and a timer of no time one more
constexpr std::chrono::milliseconds Paciencia{
    0}; // nobody lets a lock go meanwhile, and tries are counted calls

QString Clave(const QDate &fecha)
{
    return fecha.toString(QStringLiteral("yyyyMMdd"));
}

TLinea LineaDeFila(TCual cual, const dataset::DataSet &tabla, int fila)
{
    return LineaDe(
        cual, Clave(tabla.valueAt(fila, tabla.fieldIndex(u"FECHA")).toDate()),
        [&](const char *campo) { return tabla.textAt(fila, tabla.fieldIndex(QString::fromLatin1(campo))); });
}

} // namespace

/// A sheet that notes what stands on it, and stands on the screen until it is closed.
class TPuesto::TInforme : public IInforme
{
public:
    TInforme(TPuesto &puesto, QDate fecha, const dataset::DataSet *datos)
        : m_puesto(puesto)
        , m_fecha(fecha)
        , m_datos(datos)
    {
    }
    void Preview() override
    {
        THoja hoja{Clave(m_fecha), {}};
        for (int fila = 0; m_datos && fila < m_datos->rowCount(); ++fila)
            hoja.Lineas << LineaDeFila(m_puesto.m_cual, *m_datos, fila);
        if (m_datos)
            m_puesto.m_respuesta.Hojas << hoja;
        m_puesto.EsperaEn(TEstado::vista, TVerbo::responde);
    }

private:
    TPuesto &m_puesto;
    QDate m_fecha;
    const dataset::DataSet *m_datos;
};

std::unique_ptr<IInforme> TPuesto::Informe(QDate fecha, const dataset::DataSet *datos)
{
    return std::make_unique<TInforme>(*this, fecha, datos);
}

// Life

TPuesto::TPuesto(TCual cual, const QString &carpeta, TCanal canal)
    : m_cual(cual)
    , m_canal(canal)
{
    m_clientes.lista = {{7, QStringLiteral("MARIA")}, {8, QStringLiteral("PEDRO")}};
    m_aliases.setLockPatience(Paciencia);
    m_aliases.add(QStringLiteral("ZENTRA"), carpeta + QStringLiteral("/ZENTRA"));
    m_aliases.add(QStringLiteral("DB"), carpeta + u'/' + NombreDe(cual));
    for (int notario = 1; notario <= Notarios; ++notario)
        m_aliases.add(AliasNotario(notario), carpeta + u'/' + AliasNotario(notario));
    m_config.Cuantos = Notarios;
    m_config.Carpeta = carpeta + u'/';
    m_config.FechaInicio = m_reloj.Dia = Dia(0);
    m_rvarias.esBoton = [](const QWidget *control) { return qobject_cast<const QAbstractButton *>(control); };
    m_servicios = std::make_unique<TServiciosInstalados>(
        TServicios{this, this, &m_rvarias, &m_config, &m_reloj, &m_aliases});
    goConfAgendaN = std::make_unique<TClassConfAgendaN>();
    calls::watch(carpeta.toStdString(), false);
    qApp->installEventFilter(this);
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            &TPuesto::AlEsperar);
}

TPuesto::~TPuesto()
{
    goConfAgendaN.reset();
}

void TPuesto::Vive(int dia)
{
    m_debe = true; // the first answer says that the window stands
    for (;;) {
        try {
            Trabaja(Dia(dia));
        } catch (const std::exception &error) {
            m_respuesta.Avisos << QString::fromUtf8(error.what());
        }
        m_ventana = nullptr;
        m_respuesta.Pantalla = {};
        for (TPaso paso; paso.Verbo != TVerbo::abre; m_debe = true) {
            if (m_debe)
                Contesta(TEstado::cerrado);
            paso = LeePaso();
            m_respuesta.Hecho = paso.Verbo == TVerbo::abre;
            dia = paso.A % Dias;
        }
    }
}

bool TPuesto::eventFilter(QObject *objeto, QEvent *evento)
{
    if (evento->type() == QEvent::Show && objeto->isWidgetType()) {
        auto *const widget = static_cast<QWidget *>(objeto);
        if (widget->isWindow())
            widget->setUpdatesEnabled(false); // what would be painted is read from the model instead
        if (EsVentana(*objeto))
            m_ventana = static_cast<QMainWindow *>(widget);
    }
    return false;
}

/// Called where the program would sleep until the clerk does something.
void TPuesto::AlEsperar()
{
    QAbstractEventDispatcher *const reparto = QAbstractEventDispatcher::instance();
    if (m_rondas < RondasHastaElReposo) {
        ++m_rondas;
        if (auto *const reloj = m_ventana ? Reloj() : nullptr; reloj && reloj->interval() != NuncaPorSiSolo)
            reloj->setInterval(NuncaPorSiSolo);
        // As a desktop does when the window in front has gone.
        if (QWidget *const delante = Ficha() ? Ficha() : m_ventana; delante && !delante->isActiveWindow())
            delante->activateWindow();
        QCoreApplication::processEvents();
    } else {
        if (m_debe)
            Contesta(PideHora() ? TEstado::fecha : TEstado::listo);
        const TPaso paso = LeePaso();
        m_rondas = 0;
        Prepara(paso);
        m_respuesta.Hecho = Haz(paso);
    }
    reparto->interrupt(); // the loop looks whether it is to end, and comes here again
}

TPaso TPuesto::EsperaEn(TEstado estado, TVerbo respuesta, const QString &texto)
{
    m_respuesta.Pregunta = texto;
    QCoreApplication::processEvents(); // as the loop of a real box does
    for (;;) {
        Contesta(estado);
        const TPaso paso = LeePaso();
        Prepara(paso);
        if (paso.Verbo == respuesta)
            return paso;
        m_respuesta.Pregunta = texto;
        m_respuesta.Hecho = paso.Verbo == TVerbo::tic && Tic();
    }
}

void TPuesto::Contesta(TEstado estado)
{
    calls::fail({});
    calls::dieAt(0);
    m_respuesta.Estado = estado;
    if (estado != TEstado::enLlamada)
        m_respuesta.Pantalla = Mira();
    if (!m_canal.Escribe(m_respuesta))
        ::_exit(0);
    m_respuesta = {};
    m_debe = false;
}

TPaso TPuesto::LeePaso()
{
    TPaso paso;
    if (m_canal.Lee(paso) != TCanal::TLectura::leido)
        ::_exit(0); // the scheduler has gone
    m_debe = true;
    return paso;
}

void TPuesto::Prepara(const TPaso &paso)
{
    using Llamada = calls::Call;
    calls::Fault percance;
    percance.number = paso.Llamada;
    if (paso.Percance == TPercance::falla || paso.Percance == TPercance::rota) {
        percance.staysBroken = paso.Percance == TPercance::rota;
        percance.call = std::array{Llamada::read, Llamada::map, Llamada::open, Llamada::lock,
                                   Llamada::reserve}[static_cast<std::size_t>(paso.C) % 5]; // as TLlamada
        percance.error = percance.call == Llamada::reserve ? ENOSPC : EIO;
    } else if (paso.Percance == TPercance::lenta) {
        percance.late = std::chrono::seconds(1);
        percance.meanwhile = [this] { EnLlamadaLenta(); };
    }
    if (paso.Percance == TPercance::muere)
        calls::dieAt(paso.Llamada);
    else if (paso.Percance != TPercance::ninguno)
        calls::fail(percance);
}

void TPuesto::EnLlamadaLenta()
{
    Contesta(TEstado::enLlamada);
    while (LeePaso().Verbo != TVerbo::sigue) {
        m_respuesta.Hecho = false;
        Contesta(TEstado::enLlamada);
    }
}

// The host

int TPuesto::Mensajes(const TMensaje &mensaje)
{
    if (mensaje.Clase == TClaseMensaje::aviso) {
        m_respuesta.Avisos << mensaje.Texto;
        return 0;
    }
    return Pregunta(mensaje.Texto);
}
int TPuesto::Pregunta(const QString &texto)
{
    return EsperaEn(TEstado::pregunta, TVerbo::responde, texto).A == 1 ? RespuestaSi : 0;
}
bool TPuesto::PreguntaFecha(QDate &fecha, const QString & /*indicacion*/, const QString & /*titulo*/)
{
    const TPaso paso = EsperaEn(TEstado::fecha, TVerbo::eligeDia);
    if (paso.A < 0)
        return false;
    fecha = Dia(paso.A % Dias);
    return true;
}
// Steps

QTableView &TPuesto::Rejilla() const
{
    return *m_ventana->findChild<QTableView *>();
}

QWidget *TPuesto::Ficha() const
{
    QWidget *const modal = QApplication::activeModalWidget();
    return modal != m_ventana ? modal : nullptr;
}

bool TPuesto::Haz(const TPaso &paso)
{
    if (!m_ventana)
        return false;
    if (paso.Verbo == TVerbo::tic)
        return Tic();
    return paso.Verbo == TVerbo::tecla ? PulsaTecla(paso) : HazLoSuyo(paso);
}

bool TPuesto::Acciona(const TPaso &paso)
{
    const char *const nombre =
        Acciones.at(static_cast<std::size_t>(paso.A) % Acciones.size())[static_cast<std::size_t>(m_cual)];
    auto *const accion = nombre ? En<QAction>(nombre) : nullptr;
    if (!accion || !accion->isEnabled())
        return false;
    accion->trigger();
    return true;
}

bool TPuesto::PulsaBoton(const TPaso &paso, const QWidget *donde)
{
    auto *const boton =
        En<QAbstractButton>(Botones.at(static_cast<std::size_t>(paso.A) % Botones.size()), donde);
    if (!boton || !boton->isEnabled())
        return false;
    QTest::mouseClick(boton, Qt::LeftButton);
    return true;
}

bool TPuesto::Escribe(QWidget *campo, const QString &texto)
{
    if (!campo || !campo->isEnabled() || !campo->isVisible())
        return false;
    campo->setFocus();
    QTest::keyClick(campo->window()->windowHandle(), Qt::Key_A, Qt::ControlModifier);
    Teclea(texto);
    return true;
}

bool TPuesto::PulsaTecla(const TPaso &paso)
{
    const TPulsacion &tecla = Teclas.at(static_cast<std::size_t>(paso.A) % Teclas.size());
    QWidget *const donde = Ficha() ? Ficha() : m_ventana;
    QTest::keyClick(donde->windowHandle(), tecla.Tecla, tecla.Con);
    return true;
}

void TPuesto::Teclea(const QString &texto)
{
    for (const QChar letra : texto) {
        QWidget *const donde = Ficha() ? Ficha() : m_ventana;
        QTest::keyClick(donde->windowHandle(), letra.toLatin1());
    }
}

bool TPuesto::Clic(int fila, int columna, Qt::KeyboardModifiers con)
{
    QTableView &rejilla = Rejilla();
    if (fila >= rejilla.model()->rowCount())
        return false;
    const QModelIndex celda = rejilla.model()->index(fila, columna);
    rejilla.scrollTo(celda);
    QTest::mouseClick(rejilla.viewport(), Qt::LeftButton, con, rejilla.visualRect(celda).center());
    return true;
}

bool TPuesto::EscribeFecha(const TPaso &paso)
{
    auto *const fecha = En<QLineEdit>("MEFecha");
    fecha->setFocus();
    const QString texto = Dia(paso.A % Dias).toString(QStringLiteral("ddMMyyyy"));
    QWindow *const ventana = m_ventana->windowHandle();
    QTest::keyClick(ventana, paso.B == trasBorrarTodo ? Qt::Key_U : Qt::Key_A, Qt::ControlModifier);
    Teclea(paso.B == aMedias ? texto.left(paso.A + 2) : texto);
    if (paso.B != sinSalir)
        QTest::keyClick(ventana, Qt::Key_Tab);
    return true;
}

bool TPuesto::TecleaEnCelda(const TPaso &paso)
{
    const QWidget *const donde = m_ventana->focusWidget();
    if (donde != &Rejilla() && !Rejilla().isAncestorOf(donde))
        return false;
    Teclea(Texto(paso.A));
    return true;
}

bool TPuesto::Tic()
{
    if (!m_ventana)
        return false;
    m_ventana->statusBar()->clearMessage(); // what an earlier refresh failed in is told for seconds
    return QMetaObject::invokeMethod(Reloj(), "timeout", Qt::DirectConnection);
}

// The screen

TPantalla TPuesto::Mira()
{
    TPantalla pantalla;
    if (!m_ventana || !MiraLineas(pantalla))
        return {};
    pantalla.Fecha = Fecha();
    pantalla.Ayuda = m_ventana->statusBar()->currentMessage();
    if (const QWidget *const control = QApplication::focusWidget())
        pantalla.Foco = control->objectName();
    MiraLoSuyo(pantalla);
    return pantalla;
}

bool TPuesto::MiraLineas(TPantalla &pantalla) const
{
    const dataset::DataSet *const tabla = Tabla();
    if (!tabla || !tabla->isActive())
        return false;
    const auto &rejilla = static_cast<const dbcontrols::DbGrid &>(Rejilla());
    const int notario = Notario();
    const QList<QByteArray> columnas = Columnas();
    for (int fila = 0; fila < rejilla.model()->rowCount(); ++fila) {
        const quint32 marca = rejilla.gridModel().bookmarkAt(fila);
        const int enTabla = tabla->rowOf(marca);
        const auto texto = [&](const char *campo) {
            const auto columna = static_cast<int>(columnas.indexOf(campo));
            if (columna < 0 && enTabla >= 0) // told by a colour
                return tabla->textAt(enTabla, tabla->fieldIndex(QString::fromLatin1(campo)));
            return rejilla.model()->index(fila, columna).data().toString();
        };
        const QDate dia =
            enTabla < 0 ? QDate() : tabla->valueAt(enTabla, tabla->fieldIndex(u"FECHA")).toDate();
        pantalla.Filas.append({{notario, marca}, LineaDe(m_cual, Clave(dia), texto)});
    }
    pantalla.Actual = {notario, tabla->bookmark()};
    pantalla.FilaActual = tabla->currentRow();
    for (const dataset::Bookmark marca : rejilla.selectedBookmarks())
        pantalla.Seleccion.append({notario, marca});
    pantalla.Editando = tabla->isEditing();
    pantalla.Editor = rejilla.isEditorOpen();
    return true;
}

void EjecutaPuesto(TCual cual, const QString &carpeta, int descriptor, int dia)
{
    std::signal(SIGINT, SIG_IGN); // the scheduler ends between two steps, and its workstations with it
    std::signal(SIGTERM, SIG_IGN);
    PlantaAqui();
    const TCanal canal(descriptor);
    (cual == TCual::multi      ? CreaPuestoMulti(carpeta, canal)
     : cual == TCual::conjunta ? CreaPuestoConjunta(carpeta, canal)
                               : CreaPuestoUnica(cual, carpeta, canal))
        ->Vive(dia);
    std::abort();
}

} // namespace simulacion
