#include "tests/simulacion/Puesto.h"

#include "agenda/ClaseConfAgendaN.h"
#include "agendan/ClaseAgendaN.h"
#include "agendan/FichaAgendaN.h"
#include "agendan/VentanasAgendaN.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/DbGrid.h"
#include "tests/driver/FileCalls.h"
#include "tests/simulacion/Faltas.h"
#include "tests/simulacion/Vocabulario.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QToolButton>

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
constexpr std::chrono::milliseconds Paciencia{2}; // nobody lets a lock go while another one waits

QString ComoClave(const QString &fecha)
{
    return QDate::fromString(fecha, QStringLiteral("dd/MM/yyyy")).toString(QStringLiteral("yyyyMMdd"));
}

TLinea LineaDe(const dataset::DataSet &tabla, int fila)
{
    const auto texto = [&](QStringView campo) { return tabla.textAt(fila, tabla.fieldIndex(campo)); };
    return {tabla.valueAt(fila, tabla.fieldIndex(u"FECHA")).toDate().toString(QStringLiteral("yyyyMMdd")),
            texto(u"HORA"), texto(u"CONCEPTO"), texto(u"INTERESADO"), texto(u"OFICIAL")};
}

} // namespace

/// A sheet that notes what stands on it, and stands on the screen until it is closed.
class TPuesto::TInforme : public IInforme
{
public:
    /// @param datos  of a day; null: the sheet of a week, which is not looked at.
    TInforme(TPuesto &puesto, QDate fecha, const dataset::DataSet *datos)
        : m_puesto(puesto)
        , m_fecha(fecha)
        , m_datos(datos)
    {
    }
    void Preview() override
    {
        THoja hoja{m_fecha.toString(QStringLiteral("yyyyMMdd")), {}};
        for (int fila = 0; m_datos && fila < m_datos->rowCount(); ++fila)
            hoja.Lineas << LineaDe(*m_datos, fila);
        if (m_datos)
            m_puesto.m_respuesta.Hojas << hoja;
        m_puesto.EsperaEn(TEstado::vista, TVerbo::responde);
    }
    void PonDeQuien(const QString &) override {}

private:
    TPuesto &m_puesto;
    QDate m_fecha;
    const dataset::DataSet *m_datos;
};

std::unique_ptr<IInforme> TPuesto::CreaQRAgendaDiaN(QObject *, QDate fecha, dataset::DataSet &datos,
                                                    const std::optional<QString> &)
{
    return std::make_unique<TInforme>(*this, fecha, &datos);
}
std::unique_ptr<IInforme> TPuesto::CreaQRAgendaN(QObject *, QDate lunes, dataset::DataSet &)
{
    return std::make_unique<TInforme>(*this, lunes, nullptr);
}

template <class T> T *TPuesto::En(const char *nombre) const
{
    return m_ventana->findChild<T *>(QLatin1String(nombre));
}

// Life

TPuesto::TPuesto(const QString &carpeta, TCanal canal)
    : m_canal(canal)
{
    m_clientes.lista = {{7, QStringLiteral("MARIA")}, {8, QStringLiteral("PEDRO")}};
    m_aliases.setLockPatience(Paciencia);
    m_aliases.add(QStringLiteral("ZENTRA"), carpeta + QStringLiteral("/ZENTRA"));
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

void TPuesto::Vive()
{
    m_debe = true; // the first answer says that the window stands
    for (;;) {
        try {
            TVistasAgendaN vistas;
            TClassAgendaN motor(nullptr, &m_clientes, {}, &vistas, this);
            m_motor = &motor;
            motor.SincronizarTablasAFecha(Dia(0), true);
            motor.FichaAgendaN();
        } catch (const std::exception &error) {
            m_respuesta.Avisos << QString::fromUtf8(error.what());
        }
        m_motor = nullptr;
        m_ventana = nullptr;
        m_respuesta.Pantalla = {};
        for (TPaso paso; paso.Verbo != TVerbo::abre; m_debe = true) {
            if (m_debe)
                Contesta(TEstado::cerrado);
            paso = LeePaso();
            m_respuesta.Hecho = paso.Verbo == TVerbo::abre;
        }
    }
}

bool TPuesto::eventFilter(QObject *objeto, QEvent *evento)
{
    if (evento->type() == QEvent::Show && objeto->isWidgetType()) {
        auto *const widget = static_cast<QWidget *>(objeto);
        if (widget->isWindow())
            widget->setUpdatesEnabled(false); // what would be painted is read from the model instead
        if (auto *const ventana = qobject_cast<TFFichaAgendaN *>(objeto)) {
            m_ventana = ventana;
            En<QTimer>("Timer1")->setInterval(NuncaPorSiSolo);
        }
    }
    return false;
}

/// Called where the program would sleep until the clerk does something.
void TPuesto::AlEsperar()
{
    QAbstractEventDispatcher *const reparto = QAbstractEventDispatcher::instance();
    if (m_rondas < RondasHastaElReposo) {
        ++m_rondas;
        // As a desktop does when the window in front has gone.
        if (QWidget *const delante = Ficha() ? Ficha() : m_ventana; delante && !delante->isActiveWindow())
            delante->activateWindow();
        QCoreApplication::processEvents();
    } else {
        if (m_debe)
            Contesta(TEstado::listo);
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
    if (paso.Percance == TPercance::falla) {
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
    if (paso.Verbo == TVerbo::tecla)
        return PulsaTecla(paso);
    return Ficha() ? HazEnFicha(paso) : HazEnVentana(paso);
}

bool TPuesto::HazEnVentana(const TPaso &paso)
{
    switch (paso.Verbo) {
    case TVerbo::texto:
        if (!m_ventana->GetDBGAgendaN()->isAncestorOf(m_ventana->focusWidget()) &&
            m_ventana->focusWidget() != m_ventana->GetDBGAgendaN())
            return false;
        Teclea(Texto(paso.A));
        return true;
    case TVerbo::accion: {
        auto *const accion = m_ventana->findChild<QAction *>(
            QLatin1String(Acciones.at(static_cast<std::size_t>(paso.A) % Acciones.size())));
        if (!accion->isEnabled())
            return false;
        accion->trigger();
        return true;
    }
    case TVerbo::clic:
        return Clic(paso);
    case TVerbo::pestana:
        En<QTabWidget>("PCAgenda")->setCurrentIndex(paso.A % Notarios);
        return true;
    case TVerbo::fecha:
        return EscribeFecha(paso);
    case TVerbo::memo:
        return EscribeMemo(paso);
    default:
        return false;
    }
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

bool TPuesto::Clic(const TPaso &paso)
{
    dbcontrols::DbGrid &rejilla = *m_ventana->GetDBGAgendaN();
    if (paso.A >= rejilla.model()->rowCount())
        return false;
    const QModelIndex celda = rejilla.model()->index(paso.A, 1);
    rejilla.scrollTo(celda);
    QTest::mouseClick(rejilla.viewport(), Qt::LeftButton, paso.B == 1 ? Qt::ControlModifier : Qt::NoModifier,
                      rejilla.visualRect(celda).center());
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

bool TPuesto::EscribeMemo(const TPaso &paso)
{
    auto *const memo = m_ventana->findChild<QPlainTextEdit *>(
        QStringLiteral("DBMConcepto%1").arg(En<QTabWidget>("PCAgenda")->currentIndex() + 1));
    if (!memo || !memo->isVisible())
        return false;
    memo->setFocus();
    Teclea(Texto(paso.A));
    return true;
}

bool TPuesto::HazEnFicha(const TPaso &paso)
{
    QWidget *const ficha = Ficha();
    if (paso.Verbo == TVerbo::boton) {
        auto *const boton = ficha->findChild<QAbstractButton *>(
            QLatin1String(Botones.at(static_cast<std::size_t>(paso.A) % Botones.size())));
        if (!boton || !boton->isEnabled())
            return false;
        QTest::mouseClick(boton, Qt::LeftButton);
        return true;
    }
    if (paso.Verbo != TVerbo::campo)
        return false;
    auto *const campo = ficha->findChild<QWidget *>(
        QLatin1String(Campos.at(static_cast<std::size_t>(paso.A) % Campos.size())));
    if (!campo || !campo->isEnabled() || !campo->isVisible())
        return false;
    campo->setFocus();
    QTest::keyClick(ficha->windowHandle(), Qt::Key_A, Qt::ControlModifier);
    Teclea(paso.A == enConcepto                      ? Texto(paso.B)
           : paso.A == enHora || paso.A == enHoraFin ? Hora(paso.B).remove(u':')
           : paso.A == enFecha                       ? Dia(paso.B % Dias).toString(QStringLiteral("ddMMyyyy"))
           : paso.B % 2 == 0                         ? QStringLiteral("MAR")
                                                     : QStringLiteral("PED"));
    return true;
}

bool TPuesto::Tic()
{
    if (!m_ventana)
        return false;
    m_ventana->statusBar()->clearMessage(); // what an earlier refresh failed in is told for seconds
    return QMetaObject::invokeMethod(En<QTimer>("Timer1"), "timeout", Qt::DirectConnection);
}

// The screen

TPantalla TPuesto::Mira()
{
    TPantalla pantalla;
    dataset::DataSet *const tabla = m_ventana ? m_ventana->GetDatosAgendaN() : nullptr;
    if (!tabla || !tabla->isActive())
        return pantalla;
    const dbcontrols::DbGrid &rejilla = *m_ventana->GetDBGAgendaN();
    const auto *const fecha = En<QLineEdit>("MEFecha");
    pantalla.Pestana = En<QTabWidget>("PCAgenda")->currentIndex();
    pantalla.Fecha = fecha->text();
    pantalla.FechaConFoco = m_ventana->focusWidget() == fecha;
    const int campoFecha = tabla->fieldIndex(u"FECHA");
    for (int fila = 0; fila < rejilla.model()->rowCount(); ++fila) {
        const auto celda = [&](int columna) {
            return rejilla.model()->index(fila, columna).data().toString();
        };
        const quint32 marca = rejilla.gridModel().bookmarkAt(fila);
        const int enTabla = tabla->rowOf(marca);
        const QString dia =
            enTabla < 0 ? QString() : tabla->valueAt(enTabla, campoFecha).toDate().toString("yyyyMMdd");
        pantalla.Filas.append({marca, {dia, celda(0), celda(1), celda(2), celda(3)}});
    }
    pantalla.Actual = tabla->bookmark();
    pantalla.FilaActual = tabla->currentRow();
    pantalla.Seleccion = rejilla.selectedBookmarks();
    pantalla.Editando = tabla->isEditing();
    pantalla.Editor = rejilla.isEditorOpen();
    const auto *const fuera = En<QToolButton>("BFueraDeHora");
    pantalla.FueraDeHora = fuera && fuera->isChecked();
    pantalla.Ayuda = m_ventana->statusBar()->currentMessage();
    if (const QWidget *const control = QApplication::focusWidget())
        pantalla.Foco = control->objectName();
    if (pantalla.Editando)
        pantalla.Pendiente = tabla->field(u"CONCEPTO").asText();
    if (const auto *const editor = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        editor && pantalla.Editor) {
        const bool encima = rejilla.currentIndex().column() == 1; // of what the line says so far
        pantalla.Pendiente = (encima ? QString() : pantalla.Pendiente) + u'|' + editor->text();
    }
    MiraFicha(pantalla);
    return pantalla;
}

void TPuesto::MiraFicha(TPantalla &pantalla)
{
    const QWidget *const ficha = Ficha();
    if (!ficha)
        return;
    const auto texto = [ficha](const char *nombre) {
        QString valor = ficha->findChild<QLineEdit *>(QLatin1String(nombre))->text();
        while (valor.endsWith(u' ')) // a mask shows its blanks, and a table keeps none at the end
            valor.chop(1);
        return valor;
    };
    const QString concepto = ficha->findChild<QPlainTextEdit *>(QStringLiteral("DBMConcepto"))->toPlainText();
    pantalla.Ficha = true;
    pantalla.FichaEditando = ficha->findChild<QAbstractButton *>(QStringLiteral("BAceptar"))->isEnabled();
    pantalla.EnFicha = {pantalla.Actual,
                        {ComoClave(texto("MEFecha")), texto("MEHora"), concepto, texto("EInteresado"),
                         ficha->findChild<QComboBox *>(QStringLiteral("DBCBOficial"))->currentText()}};
    if (pantalla
            .FichaEditando) // also the line's own party, which stays where a name is typed that nobody has
        pantalla.Pendiente += u'|' + pantalla.EnFicha.Linea.EnTexto() + u'|' +
                              m_ventana->GetDatosAgendaN()->field(u"INTERESADO").asText();
}

void EjecutaPuesto(const QString &carpeta, int descriptor)
{
    std::signal(SIGINT, SIG_IGN); // the scheduler ends between two steps, and its workstations with it
    std::signal(SIGTERM, SIG_IGN);
    PlantaAqui();
    TPuesto(carpeta, TCanal(descriptor)).Vive();
    std::abort();
}

} // namespace simulacion
