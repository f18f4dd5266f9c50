// How the card is put together.

#include "agenda/GuardaVentana.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"
#include "agendan/FichaCita.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/DataSource.h"
#include "dbcontrols/DbComboBox.h"
#include "dbcontrols/DbEdit.h"
#include "dbcontrols/DbMemo.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/PlainText.h"
#include "dbcontrols/TextMenu.h"
#include "dbcontrols/UpperCaseValidator.h"

#include <QtWidgets/QGridLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

#include <utility>

using dbcontrols::DbEdit;
using dbcontrols::MaskEdit;

namespace
{

constexpr int Margen = 6;
constexpr int LineasDelMemo = 3;

void PonPista(QWidget &control, const QString &nombre, const QString &pista)
{
    control.setAccessibleName(nombre);
    control.setToolTip(dbcontrols::plainTip(pista));
    control.setStatusTip(pista);
}

MaskEdit *CreaMascara(QWidget *padre, const char *nombre, const QString &mascara)
{
    auto *const edicion = new MaskEdit(padre);
    edicion->setObjectName(QLatin1String(nombre));
    edicion->setMask(mascara);
    edicion->setZeroPadding(mascara.startsWith(QLatin1String("90:")));
    return edicion;
}

QLabel *CreaRotulo(QWidget *padre, const QString &texto, QWidget *control)
{
    auto *const rotulo = dbcontrols::plainLabel(texto, padre);
    rotulo->setBuddy(control);
    return rotulo;
}

/// Text of a width, in a mask edit, is seen whole.
void AjustaMascara(MaskEdit &edicion, const QString &muestra)
{
    constexpr int BordeYCursor = 14;
    edicion.setFixedWidth(edicion.fontMetrics().horizontalAdvance(muestra) + BordeYCursor);
}

double Claridad(const QColor &color)
{
    return 0.299 * color.red() + 0.587 * color.green() + 0.114 * color.blue();
}

QColor Mezcla(const QColor &uno, const QColor &otro, double parte)
{
    const auto mezcla = [parte](int a, int b) { return static_cast<int>(a * parte + b * (1 - parte)); };
    return {mezcla(uno.red(), otro.red()), mezcla(uno.green(), otro.green()),
            mezcla(uno.blue(), otro.blue())};
}

} // namespace

void TFFichaCitas::CreaDetalles()
{
    PCita = new QGroupBox(QStringLiteral("Detalles de la cita:"), this);
    PCita->setObjectName(QStringLiteral("PCita"));
    // In three steps: controls take the Tab key, and are read out, in the order in which they are made.
    QLayout *const horas = CreaFilaDeHoras();
    QLayout *const oficial = CreaFilaDelOficial();
    QLayout *const interesado = CreaFilaDelInteresado();
    auto *const filas = new QGridLayout;
    filas->setHorizontalSpacing(Margen);
    filas->setVerticalSpacing(Margen / 2);
    filas->addWidget(CreaRotulo(PCita, QStringLiteral("Fecha:"), MEFecha), 0, 0);
    filas->addLayout(horas, 0, 1);
    filas->addWidget(CreaRotulo(PCita, QStringLiteral("Oficial:"), DBCBOficial), 1, 0);
    filas->addLayout(oficial, 1, 1);
    filas->addWidget(CreaRotulo(PCita, QStringLiteral("Interesado:"), EInteresado), 2, 0);
    filas->addLayout(interesado, 2, 1);
    filas->setColumnStretch(1, 1);

    DBMConcepto = new dbcontrols::DbMemo(PCita);
    DBMConcepto->setObjectName(QStringLiteral("DBMConcepto"));
    DBMConcepto->setAccessibleName(QStringLiteral("Concepto de la cita"));
    DBMConcepto->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    DBMConcepto->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    DBMConcepto->setField(NombreDe(TCampoLinea::concepto));
    DBMConcepto->setDataSource(DSAgendaN);
    connect(DBMConcepto, &dbcontrols::DbMemo::failed, this, &AvisaDeError);

    auto *const orden = new QVBoxLayout(PCita);
    orden->setContentsMargins(Margen, Margen / 2, Margen, Margen);
    orden->setSpacing(Margen / 2);
    orden->addLayout(filas);
    orden->addWidget(DBMConcepto, 1);
}

QLayout *TFFichaCitas::CreaFilaDeHoras()
{
    const QString mascaraHora = QStringLiteral("90:00;1; ");
    MEFecha = CreaMascara(PCita, "MEFecha", QStringLiteral("99/99/9999;1; "));
    PonPista(*MEFecha, QStringLiteral("Fecha"), QStringLiteral("Seleccione la fecha de alta del expediente"));
    MEFecha->setAccessibleDescription(QStringLiteral("F4 abre el calendario"));
    MEFecha->installEventFilter(this);
    m_botonCalendario = new QToolButton(PCita);
    m_botonCalendario->setObjectName(QStringLiteral("BCalendario"));
    m_botonCalendario->setArrowType(Qt::DownArrow);
    m_botonCalendario->setFocusPolicy(Qt::NoFocus);
    PonPista(*m_botonCalendario, QStringLiteral("Calendario"), QStringLiteral("Abre el calendario (F4)"));
    connect(m_botonCalendario, &QToolButton::clicked, this, &TFFichaCitas::AbreCalendario);
    MEHora = CreaMascara(PCita, "MEHora", mascaraHora);
    PonPista(*MEHora, QStringLiteral("Hora"), QStringLiteral("Seleccione la hora de alta del expediente"));
    MEHoraFin = CreaMascara(PCita, "MEHoraFin", mascaraHora);
    PonPista(*MEHoraFin, QStringLiteral("Hora de fin, opcional"),
             QStringLiteral("Seleccione la hora de fin del alta del expediente"));
    lblHoraFin = CreaRotulo(PCita, QStringLiteral("hasta:"), MEHoraFin);
    lblHoraFin->setObjectName(QStringLiteral("lblHoraFin"));
    lblHorafinComentario = dbcontrols::plainLabel(QStringLiteral("(opcional)"), PCita);
    lblHorafinComentario->setObjectName(QStringLiteral("lblHorafinComentario"));

    auto *const fila = new QHBoxLayout;
    fila->setSpacing(Margen);
    auto *const fecha = new QHBoxLayout;
    fecha->setSpacing(0);
    fecha->addWidget(MEFecha);
    fecha->addWidget(m_botonCalendario);
    fila->addLayout(fecha);
    fila->addWidget(CreaRotulo(PCita, QStringLiteral("Hora:"), MEHora));
    fila->addWidget(MEHora);
    fila->addWidget(lblHoraFin);
    fila->addWidget(MEHoraFin);
    fila->addWidget(lblHorafinComentario);
    fila->addStretch(1);
    return fila;
}

QLayout *TFFichaCitas::CreaFilaDelOficial()
{
    DBCBOficial = new dbcontrols::DbComboBox(PCita);
    DBCBOficial->setObjectName(QStringLiteral("DBCBOficial"));
    DBCBOficial->setAccessibleName(QStringLiteral("Oficial"));
    DBCBOficial->setUpperCase(true);
    DBCBOficial->setCompleter(nullptr); // what the clerk types is what the line gets
    DBCBOficial->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    DBCBOficial->setMinimumContentsLength(16);
    DBCBOficial->setField(NombreDe(TCampoLinea::oficial));
    DBCBOficial->setDataSource(DSAgendaN);
    DBCBSalida = new dbcontrols::DbComboBox(PCita);
    DBCBSalida->setObjectName(QStringLiteral("DBCBSalida"));
    DBCBSalida->setAccessibleName(QStringLiteral("Salida"));
    DBCBSalida->setListOnly(true);
    DBCBSalida->addItems({QStringLiteral("N"), QStringLiteral("S")});
    DBCBSalida->setFocusPolicy(Qt::ClickFocus); // deliberate: no stop of the Tab key
    DBCBSalida->setField(NombreDe(TCampoLinea::salida));
    DBCBSalida->setDataSource(DSAgendaN);

    for (auto *const combo : {DBCBOficial, DBCBSalida})
        connect(combo, &dbcontrols::DbComboBox::failed, this, &AvisaDeError);

    auto *const fila = new QHBoxLayout;
    fila->setSpacing(Margen);
    fila->addWidget(DBCBOficial);
    fila->addWidget(CreaRotulo(PCita, QStringLiteral("Salida:"), DBCBSalida));
    fila->addWidget(DBCBSalida);
    fila->addStretch(1);
    return fila;
}

QLayout *TFFichaCitas::CreaFilaDelInteresado()
{
    EInteresado = new QLineEdit(PCita);
    EInteresado->setObjectName(QStringLiteral("EInteresado"));
    PonPista(*EInteresado, QStringLiteral("Interesado"),
             QStringLiteral("Persona de contacto/interesado de la cita.  Pulse flecha abajo para ver la "
                            "lista de clientes"));
    EInteresado->setAccessibleDescription(QStringLiteral("Ctrl+Supr quita el interesado"));
    EInteresado->setProperty("Tag", 0);
    m_mayusculas = new dbcontrols::UpperCaseValidator(this);
    EInteresado->setValidator(m_mayusculas);
    EInteresado->installEventFilter(this);
    dbcontrols::useTextMenu(*EInteresado);
    BInteresado = new QToolButton(PCita);
    BInteresado->setObjectName(QStringLiteral("BInteresado"));
    BInteresado->setText(QStringLiteral("…"));
    BInteresado->setFocusPolicy(Qt::NoFocus); // the arrow key in the edit beside it does the same
    PonPista(*BInteresado, QStringLiteral("Lista de clientes"),
             QStringLiteral("Pulse el botón para ver la lista de clientes"));
    connect(BInteresado, &QToolButton::clicked, this, &TFFichaCitas::BInteresadoClick);

    auto *const fila = new QHBoxLayout;
    fila->setSpacing(0);
    fila->addWidget(EInteresado, 1);
    fila->addWidget(BInteresado);
    return fila;
}

void TFFichaCitas::CreaEspejos()
{
    const auto crea = [this](const char *nombre, TCampoLinea campo, void (TFFichaCitas::*muestra)()) {
        auto *const espejo = new DbEdit(PCita);
        espejo->setObjectName(QLatin1String(nombre));
        espejo->setFocusPolicy(Qt::NoFocus);
        espejo->hide();
        espejo->setField(NombreDe(campo));
        espejo->setDataSource(DSAgendaN);
        connect(espejo, &DbEdit::shown, this, muestra);
        connect(espejo, &DbEdit::failed, this, &AvisaDeError);
        return espejo;
    };
    DBEFecha = crea("DBEFecha", TCampoLinea::fecha, &TFFichaCitas::MuestraFecha);
    DBEHora = crea("DBEHora", TCampoLinea::hora, &TFFichaCitas::MuestraHora);
    DBEInteresado = crea("DBEInteresado", TCampoLinea::interesado, &TFFichaCitas::MuestraInteresado);
    DBECodCliente = crea("DBECodCliente", TCampoLinea::codCliente, &TFFichaCitas::MuestraCodCliente);
}

QPushButton *TFFichaCitas::CreaBoton(const char *nombre, const QString &titulo, const QString &pista,
                                     void (TFFichaCitas::*orden)())
{
    auto *const boton = new QPushButton(titulo, this);
    boton->setObjectName(QLatin1String(nombre));
    boton->setAutoDefault(false); // Enter moves on from a button as from any control
    boton->setEnabled(false);
    PonPista(*boton, QString(titulo).remove(u'&'), pista);
    connect(boton, &QPushButton::clicked, this, orden);
    return boton;
}

void TFFichaCitas::CreaBotones()
{
    BModificar =
        CreaBoton("BModificar", QStringLiteral("&Modificar"),
                  QStringLiteral("Modifica los datos del expediente"), &TFFichaCitas::BModificarClick);
    BBorrar =
        CreaBoton("BBorrar", QStringLiteral("&Borrar"),
                  QStringLiteral("Elimina el expediente de la base de datos"), &TFFichaCitas::BBorrarClick);
    BNuevo = CreaBoton("BNuevo", QStringLiteral("&Nuevo"), QStringLiteral("Crea un nuevo expediente"),
                       &TFFichaCitas::BNuevoClick);
    BAceptar = CreaBoton("BAceptar", QStringLiteral("&Aceptar"),
                         QStringLiteral("Acepta los datos introducidos"), &TFFichaCitas::BAceptarClick);
    // Pressed anew after the clerk has been told of a bad date, it counts.
    connect(BAceptar, &QPushButton::pressed, this, [this] {
        if (std::exchange(m_rechazoDicho, false))
            m_fechaRechazada = false;
    });
    BCancelar = CreaBoton("BCancelar", QStringLiteral("&Cancelar"),
                          QStringLiteral("Descarta los datos introducidos"), &TFFichaCitas::BCancelarClick);
    BSalir = CreaBoton("BSalir", QStringLiteral("&Salir"), QStringLiteral("Cierra esta ventana"),
                       &TFFichaCitas::BSalirClick);
    BSalir->setEnabled(true);
    LExplica = dbcontrols::plainLabel({}, this);
    LExplica->setObjectName(QStringLiteral("LExplica"));
    LExplica->setAccessibleDescription(QStringLiteral("Ayuda"));
    LExplica->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);

    auto *const columna = new QVBoxLayout;
    columna->setSpacing(2);
    for (QPushButton *const boton : {BModificar, BBorrar, BNuevo, BAceptar, BCancelar, BSalir})
        columna->addWidget(boton);
    columna->addStretch(1);
    auto *const orden = new QGridLayout(this);
    orden->setContentsMargins(Margen, Margen / 2, Margen, Margen / 2);
    orden->setHorizontalSpacing(Margen);
    orden->setVerticalSpacing(Margen / 2);
    orden->addWidget(PCita, 0, 0);
    orden->addLayout(columna, 0, 1);
    orden->addWidget(LExplica, 1, 0, 1, 2);
    orden->setColumnStretch(0, 1);
    orden->setRowStretch(0, 1);
}

void TFFichaCitas::AjustaMedidasALaLetra()
{
    AjustaMascara(*MEFecha, QStringLiteral("00/00/0000"));
    AjustaMascara(*MEHora, QStringLiteral("00:00"));
    AjustaMascara(*MEHoraFin, QStringLiteral("00:00"));
    DBMConcepto->setMinimumHeight(fontMetrics().lineSpacing() * LineasDelMemo + 2 * Margen);
    LExplica->setMinimumHeight(fontMetrics().lineSpacing());
    int pistaMasLarga = 0;
    for (const QWidget *const uno : findChildren<QWidget *>())
        pistaMasLarga = qMax(pistaMasLarga, fontMetrics().horizontalAdvance(uno->statusTip()));
    LExplica->setMinimumWidth(pistaMasLarga);
}

void TFFichaCitas::PonColores()
{
    const QPalette paleta = palette();
    const bool oscura = Claridad(paleta.color(QPalette::Window)) < 128;
    QPalette ayuda = LExplica->palette();
    ayuda.setColor(QPalette::WindowText, oscura ? QColor(140, 190, 255) : QColor(0, 0, 190));
    LExplica->setPalette(ayuda);
    // A card that is only looked at is disabled as a whole, and yet it is there to be read.
    QPalette detalles = PCita->palette();
    const std::pair<QPalette::ColorRole, QPalette::ColorRole> letras[] = {
        {QPalette::Text, QPalette::Base},
        {QPalette::WindowText, QPalette::Window},
        {QPalette::ButtonText, QPalette::Button}};
    for (const auto &[letra, fondo] : letras)
        detalles.setColor(
            QPalette::Disabled, letra,
            Mezcla(paleta.color(QPalette::Active, letra), paleta.color(QPalette::Active, fondo), 0.75));
    PCita->setPalette(detalles);
}

void TFFichaCitas::CargaComboOficial()
{
    try {
        const auto empleados =
            CreaTabla(Servicios().Config->GetAliasZentra(), QStringLiteral("EMPLEADO.DBF"), {}, true, true);
        for (empleados->first(); !empleados->eof(); empleados->next())
            DBCBOficial->addItem(empleados->field(u"NOMBRE").asText());
    } catch (const dataset::EDatabaseError &error) {
        // A name can still be typed, so this is no reason to stop the clerk.
        qWarning("The list of clerks could not be read: %s", error.what());
        m_sinOficiales =
            QStringLiteral("No se ha podido leer la lista de oficiales. ") + dataset::plainText(error);
    }
}
