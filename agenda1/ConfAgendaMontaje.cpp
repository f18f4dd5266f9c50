// How the settings dialog of the single-table agenda is put together.

#include "agenda1/ConfAgenda.h"

#include "agenda/Rnumcad.h"
#include "dbcontrols/ColorPanel.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/PlainText.h"
#include "dbcontrols/TextMenu.h"

#include <QtCore/QRegularExpression>
#include <QtGui/QRegularExpressionValidator>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QRadioButton>

namespace
{

constexpr quint32 ColorDelPanel = 13027071; // a light red
constexpr int HorasDelDia = 23;
constexpr int AnchoDelNombre = 50; ///< characters
constexpr int AnchoDelDialogo = 420;
constexpr QSize MedidaBoton{88, 28};

} // namespace

TFConfAgenda::TFConfAgenda(QWidget *propietario, TAgenda &motor)
    : FieldDialog(propietario)
    , m_motor(motor)
{
    setObjectName(QStringLiteral("FConfAgenda"));
    setWindowTitle(QStringLiteral("Agenda del día"));
    auto *const orden = new QVBoxLayout(this);
    for (QGroupBox *const grupo :
         {CreaTipo(), CreaIntervaloDelDia(), CreaIntervalo(), CreaNombres(), CreaColor(), CreaFecha()})
        orden->addWidget(grupo);
    orden->addStretch();
    orden->addLayout(CreaBotones());
    setEscapeButton(BSalir);
    watch({rbNormal, rbConvenio, cbHoraComienzo, cbHoraFin, eIntervaloHoras, eNotario1, eNotario2, MEFecha});
    HabilitaInteresados();
    leerDatos();
    (rbConvenio->isChecked() ? rbConvenio : rbNormal)->setFocus();
}

QGroupBox *TFConfAgenda::CreaTipo()
{
    auto *const grupo = new QGroupBox(QStringLiteral(" Tipo de agenda "), this);
    rbNormal = new QRadioButton(QStringLiteral("Agenda normal"), grupo);
    rbNormal->setObjectName(QStringLiteral("rbNormal"));
    rbNormal->setChecked(true);
    rbConvenio = new QRadioButton(QStringLiteral("Agenda a doble columna"), grupo);
    rbConvenio->setObjectName(QStringLiteral("rbConvenio"));
    auto *const fila = new QHBoxLayout(grupo);
    for (QRadioButton *const boton : {rbNormal, rbConvenio}) {
        // Also with the arrow keys, which choose without a click.
        connect(boton, &QRadioButton::toggled, this, &TFConfAgenda::rbNormalClick);
        fila->addWidget(boton);
    }
    fila->addStretch();
    return grupo;
}

QComboBox *TFConfAgenda::CreaHoras(const char *nombre, const QString &rotulo, int indice)
{
    auto *const horas = new QComboBox(this);
    horas->setObjectName(QLatin1String(nombre));
    horas->setAccessibleName(rotulo);
    for (int hora = 1; hora <= HorasDelDia; ++hora)
        horas->addItem(StrCeros(hora, 2));
    horas->setCurrentIndex(indice);
    return horas;
}

QGroupBox *TFConfAgenda::CreaIntervaloDelDia()
{
    auto *const grupo = new QGroupBox(QStringLiteral(" Intervalo del día "), this);
    const QString comienzo = QStringLiteral("Hora comienzo [1..23]");
    const QString fin = QStringLiteral("Hora fin [1..23]");
    cbHoraComienzo = CreaHoras("cbHoraComienzo", comienzo, 0);
    cbHoraFin = CreaHoras("cbHoraFin", fin, HorasDelDia - 1);
    auto *const fila = new QHBoxLayout(grupo);
    fila->addWidget(dbcontrols::plainLabel(comienzo, grupo));
    fila->addWidget(cbHoraComienzo);
    fila->addStretch();
    fila->addWidget(dbcontrols::plainLabel(fin, grupo));
    fila->addWidget(cbHoraFin);
    return grupo;
}

QLineEdit *TFConfAgenda::CreaEdicion(const char *nombre, const QString &rotulo)
{
    auto *const edicion = new QLineEdit(this);
    edicion->setObjectName(QLatin1String(nombre));
    edicion->setAccessibleName(rotulo);
    dbcontrols::useTextMenu(*edicion);
    return edicion;
}

QGroupBox *TFConfAgenda::CreaIntervalo()
{
    auto *const grupo = new QGroupBox(QStringLiteral(" Intevalos entre horas "), this);
    const QString rotulo = QStringLiteral("Minutos que pasan entre una linea y otra [1..60]");
    eIntervaloHoras = CreaEdicion("eIntervaloHoras", rotulo);
    // What is pasted or dropped, too. The settings row gives back two digits.
    eIntervaloHoras->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]{0,2}")), eIntervaloHoras));
    eIntervaloHoras->setAttribute(Qt::WA_InputMethodEnabled, false);
    eIntervaloHoras->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("000")) + 18);
    auto *const fila = new QHBoxLayout(grupo);
    fila->addWidget(dbcontrols::plainLabel(rotulo, grupo));
    fila->addWidget(eIntervaloHoras);
    fila->addStretch();
    return grupo;
}

QGroupBox *TFConfAgenda::CreaNombres()
{
    gbINteresados =
        new QGroupBox(QStringLiteral(" Nombres de los notarios (caso de la agenda a doble columna)"), this);
    gbINteresados->setObjectName(QStringLiteral("gbINteresados"));
    const QString primero = QStringLiteral("Notario 1ª columna");
    const QString segundo = QStringLiteral("Notario 2ª columna");
    eNotario1 = CreaEdicion("eNotario1", primero);
    eNotario2 = CreaEdicion("eNotario2", segundo);
    for (QLineEdit *const nombre : {eNotario1, eNotario2})
        nombre->setMaxLength(AnchoDelNombre);
    m_rotuloNotario1 = dbcontrols::plainLabel(primero, gbINteresados);
    m_rotuloNotario2 = dbcontrols::plainLabel(segundo, gbINteresados);
    auto *const filas = new QFormLayout(gbINteresados);
    filas->addRow(m_rotuloNotario1, eNotario1);
    filas->addRow(m_rotuloNotario2, eNotario2);
    return gbINteresados;
}

QGroupBox *TFConfAgenda::CreaColor()
{
    auto *const grupo = new QGroupBox(QStringLiteral("Color que se usará para identificar una salida"), this);
    pColorAgendaSalida = new dbcontrols::ColorPanel(grupo);
    pColorAgendaSalida->setObjectName(QStringLiteral("pColorAgendaSalida"));
    pColorAgendaSalida->setAccessibleName(grupo->title());
    pColorAgendaSalida->setColor(ColorDelPanel); // deliberate: not the stored one
    connect(pColorAgendaSalida, &QAbstractButton::clicked, this, &TFConfAgenda::pColorAgendaSalidaClick);
    auto *const columna = new QVBoxLayout(grupo);
    auto *const fila = new QHBoxLayout;
    fila->addWidget(dbcontrols::plainLabel(QStringLiteral("Casillas de selección y verificación:"), grupo));
    fila->addWidget(pColorAgendaSalida);
    fila->addStretch();
    columna->addLayout(fila);
    auto *const nota = dbcontrols::plainLabel(QStringLiteral("(Pulse sobre el color para cambiarlo)"), grupo);
    QFont cursiva = nota->font();
    cursiva.setItalic(true);
    nota->setFont(cursiva);
    columna->addWidget(nota);
    return grupo;
}

QGroupBox *TFConfAgenda::CreaFecha()
{
    auto *const grupo =
        new QGroupBox(QStringLiteral("Fecha que indicará el fin del uso de esta agenda "), this);
    const QString rotulo = QStringLiteral("Ultima cita que usara esta agenda:");
    MEFecha = new dbcontrols::MaskEdit(grupo);
    MEFecha->setObjectName(QStringLiteral("MEFecha"));
    MEFecha->setMask(QStringLiteral("99/99/9999;1; "));
    MEFecha->setAccessibleName(rotulo);
    MEFecha->setToolTip(QStringLiteral("Seleccione la fecha de alta del expediente"));
    MEFecha->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("00/00/0000")) + 18);
    connect(MEFecha, &dbcontrols::MaskEdit::focusLeft, this, &TFConfAgenda::MEFechaExit);
    auto *const fila = new QHBoxLayout(grupo);
    fila->addWidget(dbcontrols::plainLabel(rotulo, grupo));
    fila->addWidget(MEFecha);
    fila->addStretch();
    return grupo;
}

QBoxLayout *TFConfAgenda::CreaBotones()
{
    auto *const fila = new QHBoxLayout;
    fila->addStretch();
    const auto boton = [&](const char *nombre, const QString &titulo, void (TFConfAgenda::*orden)()) {
        auto *const uno = new QPushButton(titulo, this);
        uno->setObjectName(QLatin1String(nombre));
        uno->setMinimumSize(MedidaBoton);
        uno->setAutoDefault(false); // Enter never presses a button here, so none may look as if it did
        connect(uno, &QPushButton::clicked, this, orden);
        fila->addWidget(uno);
        return uno;
    };
    BAceptar = boton("BAceptar", QStringLiteral("Aceptar"), &TFConfAgenda::BAceptarClick);
    BSalir = boton("BSalir", QStringLiteral("Salir"), &TFConfAgenda::BSalirClick);
    return fila;
}

void TFConfAgenda::showEvent(QShowEvent *evento)
{
    // Before the base class centres it.
    setFixedSize(layout()->sizeHint().expandedTo({AnchoDelDialogo, 0}));
    FieldDialog::showEvent(evento);
}
