#include "host/VentanaOficina.h"

#include "dataset/DatabaseError.h"
#include "host/AgendaUnica.h"

#include <QtCore/QLocale>
#include <QtGui/QAction>
#include <QtGui/QScreen>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QVBoxLayout>

TOficina::TOficina(const QString &carpeta, QDate hoy)
    : Config(carpeta)
    , Aliases(Config.Aliases())
    , Rut(Config, Aliases)
    , Reloj(hoy)
    , Servicios({&Mensaje, &Rut, &Rvarias, &Config, &Reloj, &Aliases})
    , Clientes(Aliases, Config.GetAliasZentra())
    , Modulo({&Mensaje, &Rut, &Rvarias, &Config, &Reloj, &Aliases})
{
}

TVentanaOficina::TVentanaOficina(TOficina &oficina)
    : m_oficina(oficina)
{
    setObjectName(QStringLiteral("VentanaOficina"));
    setWindowTitle(QStringLiteral("Oficina notarial"));
    QAction *const agenda =
        Comando(QStringLiteral("&Agenda..."), QStringLiteral("Abrir la agenda de los notarios"),
                [this] { AbreAgenda(); });
    agenda->setShortcut(Qt::Key_F2);
    QAction *const unica = Comando(QStringLiteral("Agenda ú&nica..."),
                                   QStringLiteral("Abrir la agenda de una sola tabla, de uno o dos notarios"),
                                   [this] { AbreAgendaUnica(); });
    unica->setShortcut(Qt::Key_F3);
    QAction *const ajustes = Comando(QStringLiteral("C&onfiguración de la agenda única..."),
                                     QStringLiteral("Cambiar las horas y los notarios de la agenda única"),
                                     [this] { ConfiguraAgendaUnica(); });
    QAction *const clientes =
        Comando(QStringLiteral("&Clientes..."), QStringLiteral("Consultar la lista de clientes"),
                [this] { m_oficina.Clientes.Explora(QStringLiteral("Lista de clientes")); });
    QAction *const salir =
        Comando(QStringLiteral("&Salir"), QStringLiteral("Cerrar el programa"), [this] { close(); });
    QMenu *const menu = menuBar()->addMenu(QStringLiteral("&Oficina"));
    menu->addActions({agenda, unica, ajustes, clientes});
    menu->addSeparator();
    menu->addAction(salir);

    auto *const centro = new QWidget(this);
    auto *const orden = new QVBoxLayout(centro);
    const QString hoy = QLocale(QStringLiteral("es_ES"))
                            .toString(oficina.Reloj.Hoy(), QStringLiteral("dddd, d 'de' MMMM 'de' yyyy"));
    auto *const fecha = new QLabel(hoy, centro);
    QFont grande = fecha->font();
    grande.setPointSizeF(grande.pointSizeF() * 1.5);
    fecha->setFont(grande);
    fecha->setAlignment(Qt::AlignCenter);
    QStringList notarios = oficina.Config.GetNotarios();
    if (notarios.isEmpty())
        notarios << oficina.Config.GetDon() + u' ' + oficina.Config.GetNombre1();
    auto *const nombres = new QLabel(notarios.join(u'\n'), centro);
    nombres->setAlignment(Qt::AlignCenter);
    auto *const abrir = new QPushButton(QStringLiteral("Abrir la &agenda (F2)"), centro);
    connect(abrir, &QPushButton::clicked, agenda, &QAction::trigger);
    orden->addStretch();
    orden->addWidget(fecha);
    orden->addSpacing(12);
    orden->addWidget(nombres);
    orden->addSpacing(20);
    orden->addWidget(abrir, 0, Qt::AlignCenter);
    orden->addStretch();
    setCentralWidget(centro);
    // A widget, not a message: hints of commands come and go over it.
    statusBar()->addWidget(new QLabel(QStringLiteral("Datos: ") + oficina.Config.GetPath(), this));
    resize(760, 540);
    // Placed here and not by the desktop, which would do it after the agenda has been centred on this window.
    const QRect sitio = screen()->availableGeometry();
    move(sitio.center() - QPoint(width() / 2, height() / 2));
    abrir->setFocus();
}

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
        const auto agenda = m_oficina.Modulo->CreaAgendaN(this, &m_oficina.Clientes, {});
        agenda->SincronizarTablasAFecha(m_oficina.Reloj.Hoy(), true);
        agenda->FichaAgendaN();
    });
}

bool TVentanaOficina::AbreAgendaUnica()
{
    return ConGuarda([this] {
        if (PreparaAgendaUnica(m_oficina.Aliases))
            m_oficina.Modulo->CreaAgenda1(this, m_oficina.Reloj.Hoy())->IAgenda();
    });
}

bool TVentanaOficina::ConfiguraAgendaUnica()
{
    return ConGuarda([this] {
        if (PreparaAgendaUnica(m_oficina.Aliases))
            m_oficina.Modulo->CreaAgenda1(this, m_oficina.Reloj.Hoy())->IConfiguracion();
    });
}
