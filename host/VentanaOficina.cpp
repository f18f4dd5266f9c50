#include "host/VentanaOficina.h"

#include "dataset/DatabaseError.h"
#include "dbcontrols/PlainText.h"
#include "dbcontrols/WindowPlace.h"
#include "dbcontrols/WindowWait.h"
#include "host/AcercaDe.h"
#include "host/AgendaConjunta.h"
#include "host/AgendaUnica.h"
#include "host/MantenimientoDatos.h"
#include "host/Manual.h"
#include "host/PanelOficina.h"
#include "host/VentanaTablas.h"

#include <QtCore/QDir>
#include <QtCore/QEvent>
#include <QtGui/QAction>
#include <QtGui/QCloseEvent>
#include <QtGui/QScreen>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QStatusBar>

#include <algorithm>

TOficina::TOficina(const QString &carpeta, QDate hoy)
    : Config(carpeta)
    , Aliases(Config.Aliases())
    , Rut(Config, Aliases)
    , Reloj(hoy)
    , Servicios({&Mensaje, &Rut, &Rvarias, &Config, &Reloj, &Aliases, &Registro})
    , Clientes(Aliases, Config.GetAliasZentra())
    , Modulo({&Mensaje, &Rut, &Rvarias, &Config, &Reloj, &Aliases, &Registro})
{
    Aliases.setLockWait(dbcontrols::windowWait);
}

QStringList TOficina::NombresDeNotarios() const
{
    QStringList nombres = Config.GetNotarios();
    if (nombres.isEmpty())
        nombres << Config.GetDon() + u' ' + Config.GetNombre1();
    const int cuantos = std::max(1, Config.GetnCuantos());
    while (nombres.size() < cuantos)
        nombres << QStringLiteral("Notario %1").arg(nombres.size() + 1);
    return nombres.mid(0, cuantos);
}

void TOficina::MuestraAgendaConjunta(QWidget *propietario)
{
    const auto motor = Modulo->CreaAgenda3P(propietario, {}, {});
    if (!motor)
        throw dataset::EDatabaseError(QStringLiteral("El módulo de la agenda no está disponible."));
    TFAgendaConjunta ventana(*motor, &Clientes,
                             {NombresDeNotarios(), [this] { return Modulo->ColorSalida(); }}, propietario);
    ventana.VeAlDia(Reloj.Hoy());
    ventana.ShowModal();
}

TVentanaOficina::TVentanaOficina(TOficina &oficina)
    : m_oficina(oficina)
    , m_panel(new TPanelOficina(this))
    , m_ayuda(std::make_unique<TAyuda>())
{
    setObjectName(QStringLiteral("VentanaOficina"));
    setWindowTitle(QStringLiteral("Oficina notarial"));
    QMenu *const menu = menuBar()->addMenu(QStringLiteral("&Oficina"));
    AnadeAgenda(*menu, Qt::Key_F2,
                Comando(QStringLiteral("&Agenda de los notarios..."),
                        QStringLiteral("Cada notario en su pestaña, con su propia tabla"),
                        [this] { AbreAgenda(); }));
    AnadeAgenda(*menu, Qt::Key_F3,
                Comando(QStringLiteral("Agenda ú&nica..."),
                        QStringLiteral("Una sola tabla, para uno o dos notarios"),
                        [this] { AbreAgendaUnica(); }));
    AnadeAgenda(*menu, Qt::Key_F4,
                Comando(QStringLiteral("Agenda con&junta..."),
                        QStringLiteral("El día de todos los notarios, uno al lado del otro"),
                        [this] { AbreAgendaConjunta(); }));
    menu->addSeparator();
    QAction *const salir =
        Comando(QStringLiteral("&Salir"), QStringLiteral("Cerrar el programa"), [this] { close(); });
    salir->setShortcut(Qt::CTRL | Qt::Key_Q);
    menu->addAction(salir);
    CreaMenuDatos();
    QMenu *const mantenimiento = menuBar()->addMenu(QStringLiteral("&Mantenimiento"));
    mantenimiento->addAction(Comando(QStringLiteral("&Tablas y copias de seguridad..."),
                                     QStringLiteral("Comprobar, reparar, compactar, copiar y restaurar"),
                                     [this] { TVentanaTablas(m_oficina, this).exec(); }));
    QMenu *const ayuda = menuBar()->addMenu(QStringLiteral("&Ayuda"));
    QAction *const manual =
        Comando(QStringLiteral("&Manual"), QStringLiteral("Leer el manual; F1 en cualquier ventana"),
                [this] { m_ayuda->Muestra(); });
    // Shown only: the key is answered in every window.
    manual->setText(manual->text() + QStringLiteral("\tF1"));
    ayuda->addAction(manual);
    ayuda->addAction(
        Comando(QStringLiteral("&Acerca de..."), QStringLiteral("Versiones del programa"), [this] {
            MuestraAcercaDe(*m_oficina.Modulo.operator->(), m_oficina.Registro.Unidades(), this);
        }));

    setCentralWidget(m_panel);
    // A widget, not a message: hints of commands come and go over it.
    auto *const datos = dbcontrols::plainLabel(
        QStringLiteral("Datos: ") + QDir::toNativeSeparators(oficina.Config.GetPath()), this);
    datos->setObjectName(QStringLiteral("LDatos"));
    statusBar()->addWidget(datos);
    ActualizaPanel();
    Coloca();
    m_panel->TomaElFoco();
}

void TVentanaOficina::CreaMenuDatos()
{
    QMenu *const menu = menuBar()->addMenu(QStringLiteral("&Datos"));
    menu->addAction(Comando(QStringLiteral("&Notarios..."),
                            QStringLiteral("Añadir, cambiar o quitar notarios de la oficina"), [this] {
                                MantieneNotarios(m_oficina, this);
                                ActualizaPanel();
                            }));
    menu->addAction(Comando(QStringLiteral("O&ficiales..."),
                            QStringLiteral("Añadir, cambiar o borrar oficiales"), [this] {
                                m_oficina.LeeAliases();
                                MantieneOficiales(m_oficina, this);
                            }));
    menu->addAction(
        Comando(QStringLiteral("&Clientes..."), QStringLiteral("Añadir, cambiar o borrar clientes"), [this] {
            m_oficina.LeeAliases();
            MantieneClientes(m_oficina, this);
        }));
    menu->addSeparator();
    menu->addAction(Comando(QStringLiteral("Agenda única: c&onfiguración..."),
                            QStringLiteral("Cambiar las horas y los notarios de la agenda única"),
                            [this] { ConfiguraAgendaUnica(); }));
}

void TVentanaOficina::AnadeAgenda(QMenu &menu, Qt::Key tecla, QAction *comando)
{
    comando->setShortcut(tecla);
    menu.addAction(comando);
    m_panel->AnadeAgenda(*comando);
}

void TVentanaOficina::ActualizaPanel()
{
    m_oficina.LeeAliases();
    m_panel->PonFecha(m_oficina.Reloj.Hoy());
    m_panel->PonNotarios(m_oficina.NombresDeNotarios());
}

void TVentanaOficina::Coloca()
{
    if (dbcontrols::restorePlace(*this, m_oficina.Config.GetFicheroVentanas()))
        return;
    const QRect sitio = screen()->availableGeometry();
    resize((sizeHint() * 5 / 4).boundedTo(sitio.size()));
    // Placed here and not by the desktop, which would do it after the agenda has been centred on this window.
    move(sitio.center() - QPoint(width() / 2, height() / 2));
}

void TVentanaOficina::changeEvent(QEvent *evento)
{
    QMainWindow::changeEvent(evento);
    // The program stays open over night, and other workstations change the office's data.
    if (evento->type() == QEvent::ActivationChange && isActiveWindow())
        ActualizaSinEstorbar();
}

/// For what the user has not asked for: a box would make the window active again when it is closed, and so
/// come back for ever.
void TVentanaOficina::ActualizaSinEstorbar()
{
    try {
        ActualizaPanel();
        statusBar()->clearMessage();
    } catch (const std::exception &error) {
        statusBar()->showMessage(QString::fromUtf8(error.what()));
    }
}

void TVentanaOficina::closeEvent(QCloseEvent *evento)
{
    dbcontrols::rememberPlace(*this, m_oficina.Config.GetFicheroVentanas());
    QMainWindow::closeEvent(evento);
}

TVentanaOficina::~TVentanaOficina() = default;

QAction *TVentanaOficina::Comando(const QString &titulo, const QString &pista,
                                  const std::function<void()> &orden)
{
    auto *const comando = new QAction(titulo, this);
    comando->setStatusTip(pista);
    connect(comando, &QAction::triggered, this, [this, orden] { ConGuarda(orden); });
    return comando;
}

bool TVentanaOficina::ConGuarda(const std::function<void()> &orden)
{
    try {
        orden();
        return true;
    } catch (const std::exception &error) {
        m_oficina.Mensaje.Mensaje_Error(QString::fromUtf8(error.what()), QStringLiteral(" ATENCIÓN:"));
        return false;
    }
}

bool TVentanaOficina::AbreAgenda()
{
    return ConGuarda([this] {
        m_oficina.LeeAliases();
        const auto agenda = m_oficina.Modulo->CreaAgendaN(this, &m_oficina.Clientes, {});
        agenda->SincronizarTablasAFecha(m_oficina.Reloj.Hoy(), true);
        agenda->FichaAgendaN();
    });
}

bool TVentanaOficina::AbreAgendaUnica()
{
    return ConGuarda([this] {
        m_oficina.LeeAliases();
        if (PreparaAgendaUnica(m_oficina.Aliases))
            m_oficina.Modulo->CreaAgenda1(this, m_oficina.Reloj.Hoy())->IAgenda();
    });
}

bool TVentanaOficina::AbreAgendaConjunta()
{
    return ConGuarda([this] {
        m_oficina.LeeAliases();
        m_oficina.MuestraAgendaConjunta(this);
    });
}

bool TVentanaOficina::ConfiguraAgendaUnica()
{
    return ConGuarda([this] {
        m_oficina.LeeAliases();
        if (PreparaAgendaUnica(m_oficina.Aliases))
            m_oficina.Modulo->CreaAgenda1(this, m_oficina.Reloj.Hoy())->IConfiguracion();
    });
}
