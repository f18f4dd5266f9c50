#include "agendan/ConfAgendaN.h"

#include "agenda/Rnumcad.h"
#include "agenda/Rvarias.h"
#include "agenda/host/Servicios.h"
#include "dbcontrols/ColorPanel.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/PlainText.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QValidator>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace
{

constexpr QSize AreaDelDialogo{324, 313};
constexpr QSize TamanyoBoton{88, 28};
constexpr int AnchoMinutos = 33;
constexpr QMargins MargenesDeGrupo{5, 1, 5, 1};
constexpr int HorasDeLaLista = 23;
constexpr TColor RojoClaro = 0x00C6C6FF;

/// Takes digits that make a number which the settings can hold; whatever would not is not taken in.
class TSoloCifras : public QValidator
{
public:
    using QValidator::QValidator;
    State validate(QString &texto, int & /*posicion*/) const override
    {
        bool cabe = false;
        static_cast<void>(texto.toInt(&cabe));
        if (texto.isEmpty())
            return Intermediate;
        return EsUnNumero(texto) && cabe ? Acceptable : Invalid;
    }
};

} // namespace

// Putting the dialog together

TFConfAgendaN::TFConfAgendaN(QWidget *propietario)
    : FieldDialog(propietario)
{
    setObjectName(QStringLiteral("FConfAgendaN"));
    setWindowTitle(QStringLiteral("Configuracion de la Agenda"));
    auto *const orden = new QVBoxLayout(this);
    orden->setContentsMargins(6, 4, 6, 6);
    orden->setSpacing(0);
    orden->addWidget(CreaIntervaloDelDia());
    orden->addWidget(CreaMinutos(QStringLiteral(" Intevalos entre las citas de creación automatica"),
                                 QStringLiteral("Minutos que pasan entre una linea y otra [1..60]"),
                                 "eIntervaloHoras", eIntervaloHoras));
    orden->addWidget(CreaMinutos(QStringLiteral(" Incremento de minutos en las nuevas citas "),
                                 QStringLiteral("Minutos en los que se incrementa [1..60]"), "EIncrementoMin",
                                 EIncrementoMin));
    orden->addWidget(CreaColor());
    BAceptar = CreaBoton("BAceptar", QStringLiteral("&Aceptar"));
    BCancelar = CreaBoton("BCancelar", QStringLiteral("&Cancelar"));
    connect(BAceptar, &QPushButton::clicked, this, &TFConfAgendaN::BAceptarClick);
    connect(BCancelar, &QPushButton::clicked, this, &TFConfAgendaN::BCancelarClick);
    orden->addWidget(CreaSincronizar());
    orden->addStretch();
    auto *const botones = new QHBoxLayout;
    botones->setContentsMargins(0, 5, 0, 0);
    botones->setSpacing(6);
    botones->addStretch();
    botones->addWidget(BAceptar);
    botones->addWidget(BCancelar);
    orden->addLayout(botones);

    QWidget *const enOrden[] = {cbHoraComienzo,     cbHoraFin, eIntervaloHoras, EIncrementoMin,
                                pColorAgendaSalida, BAceptar,  BCancelar,       CBSincronizarDia};
    for (std::size_t i = 1; i < std::size(enOrden); ++i)
        setTabOrder(enOrden[i - 1], enOrden[i]);
    setEscapeButton(BCancelar);
    watch({cbHoraComienzo, cbHoraFin, eIntervaloHoras, EIncrementoMin});
    cbHoraComienzo->setFocus();
}

QComboBox *TFConfAgendaN::CreaHoras(const char *nombre, const QString &rotulo, int indice)
{
    auto *const horas = new QComboBox(this);
    horas->setObjectName(QLatin1String(nombre));
    horas->setAccessibleName(rotulo);
    for (int hora = 1; hora <= HorasDeLaLista; ++hora)
        horas->addItem(StrCeros(hora, 2));
    horas->setCurrentIndex(indice);
    return horas;
}

QGroupBox *TFConfAgendaN::CreaIntervaloDelDia()
{
    auto *const grupo = new QGroupBox(QStringLiteral(" Intervalo del día "), this);
    const QString comienzo = QStringLiteral("Hora comienzo [1..23]");
    const QString fin = QStringLiteral("Hora fin [1..23]");
    cbHoraComienzo = CreaHoras("cbHoraComienzo", comienzo, 0);
    cbHoraFin = CreaHoras("cbHoraFin", fin, HorasDeLaLista - 1);
    auto *const fila = new QHBoxLayout(grupo);
    fila->setContentsMargins(MargenesDeGrupo);
    fila->setSpacing(3);
    fila->addWidget(dbcontrols::plainLabel(comienzo, grupo));
    fila->addWidget(cbHoraComienzo);
    fila->addStretch();
    fila->addWidget(dbcontrols::plainLabel(fin, grupo));
    fila->addWidget(cbHoraFin);
    return grupo;
}

QGroupBox *TFConfAgendaN::CreaMinutos(const QString &titulo, const QString &rotulo, const char *nombre,
                                      QLineEdit *&edicion)
{
    auto *const grupo = new QGroupBox(titulo, this);
    edicion = new QLineEdit(grupo);
    edicion->setObjectName(QLatin1String(nombre));
    edicion->setAccessibleName(rotulo);
    edicion->setValidator(new TSoloCifras(edicion));
    edicion->setAttribute(Qt::WA_InputMethodEnabled, false);
    edicion->setContextMenuPolicy(Qt::NoContextMenu); // Qt's own menu, which may speak English
    edicion->setFixedWidth(qMax(AnchoMinutos, fontMetrics().horizontalAdvance(QStringLiteral("000")) + 14));
    auto *const fila = new QHBoxLayout(grupo);
    fila->setContentsMargins(MargenesDeGrupo);
    fila->addWidget(dbcontrols::plainLabel(rotulo, grupo));
    fila->addWidget(edicion);
    fila->addStretch();
    return grupo;
}

QGroupBox *TFConfAgendaN::CreaColor()
{
    auto *const grupo = new QGroupBox(QStringLiteral("Color que se usará para identificar una salida"), this);
    pColorAgendaSalida = new dbcontrols::ColorPanel(grupo);
    pColorAgendaSalida->setObjectName(QStringLiteral("pColorAgendaSalida"));
    pColorAgendaSalida->setAccessibleName(grupo->title());
    PonColor(RojoClaro);
    connect(pColorAgendaSalida, &QAbstractButton::clicked, this, &TFConfAgendaN::pColorAgendaSalidaClick);
    auto *const columna = new QVBoxLayout(grupo);
    columna->setContentsMargins(MargenesDeGrupo);
    columna->setSpacing(0);
    auto *const fila = new QHBoxLayout;
    fila->setSpacing(6);
    fila->addWidget(dbcontrols::plainLabel(QStringLiteral("Casillas de selección y verificación:"), grupo));
    fila->addWidget(pColorAgendaSalida);
    fila->addStretch();
    columna->addLayout(fila);
    columna->addWidget(CreaNota(QStringLiteral("(Pulse sobre el color para cambiarlo)")));
    return grupo;
}

QGroupBox *TFConfAgendaN::CreaSincronizar()
{
    gbSincronizar = new QGroupBox(QStringLiteral("Sincronizar &día"), this);
    gbSincronizar->setObjectName(QStringLiteral("gbSincronizar"));
    CBSincronizarDia =
        new QCheckBox(QStringLiteral("Agendas de los notarios sincronizadas por días"), gbSincronizar);
    CBSincronizarDia->setObjectName(QStringLiteral("CBSincronizarDia"));
    QLabel *const nota = CreaNota(QStringLiteral(
        "(Si esta marcada, cada una de las agendas de cada notario estará situada en la misma fecha)"));
    CBSincronizarDia->setAccessibleDescription(nota->text());
    auto *const columna = new QVBoxLayout(gbSincronizar);
    columna->setContentsMargins(MargenesDeGrupo);
    columna->setSpacing(0);
    columna->addWidget(CBSincronizarDia);
    columna->addWidget(nota);
    return gbSincronizar;
}

QPushButton *TFConfAgendaN::CreaBoton(const char *nombre, const QString &titulo)
{
    auto *const boton = new QPushButton(titulo, this);
    boton->setObjectName(QLatin1String(nombre));
    boton->setMinimumSize(TamanyoBoton);
    boton->setAutoDefault(false); // Enter never presses a button here, so none may look as if it did
    return boton;
}

QLabel *TFConfAgendaN::CreaNota(const QString &texto)
{
    auto *const nota = dbcontrols::plainLabel(texto, this);
    QFont cursiva = nota->font();
    cursiva.setItalic(true);
    nota->setFont(cursiva);
    nota->setWordWrap(true);
    return nota;
}

void TFConfAgendaN::PonAjustes(const TAjustesEnPantalla &ajustes)
{
    PonColor(ajustes.ColorSalida);
    cbHoraComienzo->setCurrentIndex(ajustes.IndiceHoraComienzo);
    cbHoraFin->setCurrentIndex(ajustes.IndiceHoraFin);
    eIntervaloHoras->setText(ajustes.IntervaloHoras);
    EIncrementoMin->setText(ajustes.IncrementoMin);
    CBSincronizarDia->setChecked(ajustes.SincronizarDia);
    gbSincronizar->setVisible(ajustes.SincronizarVisible);
}

TAjustesEnPantalla TFConfAgendaN::Ajustes() const
{
    return {pColorAgendaSalida->color(),     cbHoraComienzo->currentIndex(), cbHoraFin->currentIndex(),
            eIntervaloHoras->text(),         EIncrementoMin->text(),         CBSincronizarDia->isChecked(),
            gbSincronizar->isVisibleTo(this)};
}

void TFConfAgendaN::showEvent(QShowEvent *evento)
{
    // Before the base class centres it. The notes wrap, so the height follows from the width.
    const int ancho = qMax(AreaDelDialogo.width(), layout()->sizeHint().width());
    setFixedSize(ancho, qMax(AreaDelDialogo.height(), layout()->totalHeightForWidth(ancho)));
    FieldDialog::showEvent(evento);
}

// Keys and focus

bool TFConfAgendaN::takesKey(const QWidget &control, const QKeyEvent &tecla) const
{
    return !EsDeMinutos(control) || eIntervaloHorasKeyPress(tecla);
}

void TFConfAgendaN::entered(QWidget &control)
{
    Servicios().Rvarias->TomaFocoControl(control);
}

void TFConfAgendaN::left(QWidget &control)
{
    if (EsDeMinutos(control))
        eIntervaloHorasExit(static_cast<QLineEdit &>(control));
    else
        Servicios().Rvarias->DejaFocoControl(control);
}

bool TFConfAgendaN::EsDeMinutos(const QWidget &control) const
{
    return &control == eIntervaloHoras || &control == EIncrementoMin;
}

bool TFConfAgendaN::eIntervaloHorasKeyPress(const QKeyEvent &tecla)
{
    // Keys that move or delete are no characters, although Qt gives some of them one.
    if (tecla.key() == Qt::Key_Delete || tecla.key() == Qt::Key_Tab || tecla.key() == Qt::Key_Backtab)
        return true;
    // Deliberate: Backspace and Ctrl with a letter arrive as control characters and are discarded as well.
    if ((tecla.modifiers() & Qt::ControlModifier) && tecla.key() >= Qt::Key_A && tecla.key() <= Qt::Key_Z)
        return false;
    return tecla.key() != Qt::Key_Backspace && (tecla.text().isEmpty() || EsUnNumero(tecla.text()));
}

void TFConfAgendaN::eIntervaloHorasExit(QLineEdit &edicion)
{
    if (m_sinNumero || EsUnNumero(edicion.text())) {
        Servicios().Rvarias->DejaFocoControl(
            edicion); // also one that is only being left for the field that gets the focus back
        return;
    }
    m_sinNumero = &edicion;
    // Queued: the control that is to get the focus now has not had it yet.
    dbcontrols::callLater(this, [this] {
        if (m_sinNumero)
            m_sinNumero->setFocus();
        m_sinNumero = nullptr;
    });
}

// Commands

void TFConfAgendaN::PonColor(TColor color)
{
    pColorAgendaSalida->setColor(color);
    pColorAgendaSalida->setAccessibleDescription(ColorATexto(color));
}

void TFConfAgendaN::pColorAgendaSalidaClick()
{
    if (const auto color = pColorAgendaSalida->askColor(QStringLiteral("Color de una salida")))
        PonColor(*color);
}

void TFConfAgendaN::BAceptarClick()
{
    // Its key presses the button without the focus leaving the field, which must not be left without a
    // number.
    auto *const edicion = m_sinNumero ? m_sinNumero : qobject_cast<QLineEdit *>(focusWidget());
    if (edicion && !EsUnNumero(edicion->text())) {
        edicion->setFocus();
        return;
    }
    m_tag = 1;
    accept();
}

void TFConfAgendaN::BCancelarClick()
{
    BCancelar->setFocus();
    showFocus();
    TMensaje pregunta;
    pregunta.Clase = TClaseMensaje::pregunta;
    pregunta.Texto = QStringLiteral("¿Desea cancelar la operación?");
    pregunta.Icono = TIconoMensaje::pregunta;
    pregunta.Titulo = QStringLiteral(" ATENCIÓN:");
    if (Servicios().Mensaje->Mensajes(pregunta) != RespuestaSi)
        return;
    m_tag = 0;
    reject();
}

bool TVistaConfiguracion::EditaAjustes(TAjustesEnPantalla &ajustes, QObject *propietario)
{
    auto *const ventana = qobject_cast<QWidget *>(propietario);
    TFConfAgendaN dialogo(ventana ? ventana : QApplication::activeWindow());
    dialogo.PonAjustes(ajustes);
    dialogo.exec();
    if (dialogo.Tag() != 1)
        return false;
    ajustes = dialogo.Ajustes();
    return true;
}
