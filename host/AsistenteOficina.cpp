#include "host/AsistenteOficina.h"

#include "agenda/Rnumcad.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/PlainText.h"
#include "dbcontrols/TextMenu.h"
#include "host/Configuracion.h"
#include "host/DatosDemo.h"
#include "host/OficinaNueva.h"
#include "host/ServiciosOficina.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QScopeGuard>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QRadioButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QVBoxLayout>

#include <functional>

namespace
{

constexpr int AnchoNotario = 60;
constexpr int AnchoOficial = 40; ///< of EMPLEADO's field

const QString Atencion = QStringLiteral(" ATENCIÓN:");

/// A page that is left only when its check says so.
class TPagina : public QWizardPage
{
public:
    TPagina(const QString &titulo, const QString &explicacion, std::function<bool()> valida)
        : m_valida(std::move(valida))
    {
        setTitle(titulo);
        setSubTitle(explicacion);
        new QVBoxLayout(this);
    }
    bool validatePage() override { return !m_valida || m_valida(); }
    void initializePage() override
    {
        if (AlEntrar)
            AlEntrar();
    }
    [[nodiscard]] QVBoxLayout *Orden() const { return static_cast<QVBoxLayout *>(layout()); }

    std::function<void()> AlEntrar;

private:
    std::function<bool()> m_valida;
};

/// No services are installed as long as there is no office.
void Avisa(const QString &texto, QWidget *culpable)
{
    TMensaje mensaje;
    mensaje.Texto = texto;
    mensaje.Titulo = Atencion;
    TMensajeOficina().Mensajes(mensaje);
    culpable->setFocus();
}

/// The first name that comes twice.
QString Repetido(const QStringList &nombres)
{
    for (qsizetype i = 0; i < nombres.size(); ++i) {
        if (nombres.mid(0, i).contains(nombres.at(i), Qt::CaseInsensitive))
            return nombres.at(i);
    }
    return {};
}

QComboBox *ComboHoras(QWidget *padre, const char *nombre, int hora)
{
    auto *const combo = new QComboBox(padre);
    combo->setObjectName(QLatin1String(nombre));
    for (int una = 1; una <= 23; ++una)
        combo->addItem(StrCeros(una, 2) + QStringLiteral(":00"), una);
    combo->setCurrentIndex(hora - 1);
    return combo;
}

} // namespace

TAsistenteOficina::TAsistenteOficina(const QString &carpeta, QDate hoy)
    : m_hoy(hoy)
{
    setObjectName(QStringLiteral("AsistenteOficina"));
    setWindowTitle(QStringLiteral("Oficina nueva"));
    setWizardStyle(QWizard::ModernStyle);
    setOption(QWizard::NoBackButtonOnStartPage);
    // Named here and not by Qt's translation, which an installation may lack.
    setButtonText(QWizard::BackButton, QStringLiteral("< &Atrás"));
    setButtonText(QWizard::NextButton, QStringLiteral("&Siguiente >"));
    setButtonText(QWizard::FinishButton, QStringLiteral("&Crear la oficina"));
    setButtonText(QWizard::CancelButton, QStringLiteral("Cancelar"));
    addPage(PaginaCarpeta(carpeta));
    addPage(PaginaNotarios());
    addPage(PaginaHoras());
    addPage(PaginaOficiales());
    addPage(PaginaContenido());
    resize(sizeHint().expandedTo({70 * fontMetrics().averageCharWidth(), 26 * fontMetrics().height()}));
}

QString TAsistenteOficina::Carpeta() const
{
    return QDir(QDir::fromNativeSeparators(ECarpeta->text().trimmed())).absolutePath();
}

QWizardPage *TAsistenteOficina::PaginaCarpeta(const QString &carpeta)
{
    auto *const pagina =
        new TPagina(QStringLiteral("Carpeta de los datos"),
                    QStringLiteral("Las tablas de la oficina se guardan en una carpeta. Si van a "
                                   "trabajar varios puestos, ha de ser una que todos alcancen."),
                    [this] { return ValidaCarpeta(); });
    auto *const rotulo = dbcontrols::plainLabel(QStringLiteral("&Carpeta:"), pagina);
    ECarpeta = new QLineEdit(QDir::toNativeSeparators(QDir(carpeta).absolutePath()), pagina);
    ECarpeta->setObjectName(QStringLiteral("ECarpeta"));
    dbcontrols::useTextMenu(*ECarpeta);
    rotulo->setBuddy(ECarpeta);
    auto *const examinar = new QPushButton(QStringLiteral("&Examinar..."), pagina);
    connect(examinar, &QPushButton::clicked, this, &TAsistenteOficina::ExaminaCarpetas);
    auto *const fila = new QHBoxLayout;
    fila->addWidget(rotulo);
    fila->addWidget(ECarpeta, 1);
    fila->addWidget(examinar);
    pagina->Orden()->addLayout(fila);
    auto *const nota = dbcontrols::plainLabel(
        QStringLiteral("Ha de estar vacía; si no existe, se crea. Hasta el último paso no "
                       "se escribe nada."),
        pagina);
    nota->setWordWrap(true);
    pagina->Orden()->addWidget(nota);
    pagina->Orden()->addStretch();
    return pagina;
}

QWizardPage *TAsistenteOficina::PaginaNotarios()
{
    auto *const pagina =
        new TPagina(QStringLiteral("Notarios"),
                    QStringLiteral("Nombre de los notarios, de uno a cinco. Cada uno tendrá su agenda."),
                    [this] { return ValidaNotarios(); });
    auto *const orden = new QFormLayout;
    for (int notario = 1; notario <= TConfiguracion::MaxNotarios; ++notario) {
        auto *const edicion = new QLineEdit(pagina);
        edicion->setObjectName(QStringLiteral("ENotario%1").arg(notario));
        edicion->setMaxLength(AnchoNotario);
        dbcontrols::useTextMenu(*edicion);
        orden->addRow(QStringLiteral("Notario &%1:").arg(notario), edicion);
        ENotarios << edicion;
    }
    pagina->Orden()->addLayout(orden);
    pagina->Orden()->addStretch();
    return pagina;
}

QWizardPage *TAsistenteOficina::PaginaHoras()
{
    auto *const pagina =
        new TPagina(QStringLiteral("Horario"),
                    QStringLiteral("Horas de cada hoja de la agenda y minutos entre sus líneas. "
                                   "Se pueden cambiar después."),
                    [this] { return ValidaHoras(); });
    CBHoraInicio = ComboHoras(pagina, "CBHoraInicio", TOficinaNueva().HoraInicio);
    CBHoraFin = ComboHoras(pagina, "CBHoraFin", TOficinaNueva().HoraFin);
    SEIntervalo = new QSpinBox(pagina);
    SEIntervalo->setObjectName(QStringLiteral("SEIntervalo"));
    SEIntervalo->setRange(1, 60);
    SEIntervalo->setValue(TOficinaNueva().Intervalo);
    SEIntervalo->setSuffix(QStringLiteral(" minutos"));
    auto *const orden = new QFormLayout;
    orden->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    orden->addRow(QStringLiteral("&Primera hora:"), CBHoraInicio);
    orden->addRow(QStringLiteral("&Última hora:"), CBHoraFin);
    orden->addRow(QStringLiteral("&Una línea cada:"), SEIntervalo);
    pagina->Orden()->addLayout(orden);
    pagina->Orden()->addStretch();
    return pagina;
}

QWizardPage *TAsistenteOficina::PaginaOficiales()
{
    auto *const pagina =
        new TPagina(QStringLiteral("Oficiales"),
                    QStringLiteral("Nombre de los oficiales, uno en cada línea. Se puede dejar en "
                                   "blanco y añadirlos después."),
                    [this] { return ValidaOficiales(); });
    auto *const rotulo = dbcontrols::plainLabel(QStringLiteral("&Oficiales:"), pagina);
    MOficiales = new QPlainTextEdit(pagina);
    MOficiales->setObjectName(QStringLiteral("MOficiales"));
    MOficiales->setTabChangesFocus(true);
    MOficiales->setContextMenuPolicy(Qt::NoContextMenu); // Qt's own, which may speak English
    rotulo->setBuddy(MOficiales);
    pagina->Orden()->addWidget(rotulo);
    pagina->Orden()->addWidget(MOficiales);
    return pagina;
}

QWizardPage *TAsistenteOficina::PaginaContenido()
{
    auto *const pagina =
        new TPagina(QStringLiteral("Contenido"), QStringLiteral("Con qué empieza la oficina."), {});
    pagina->AlEntrar = [this] { Resume(); };
    RBVacia = new QRadioButton(QStringLiteral("&Vacía, para trabajar con ella"), pagina);
    RBVacia->setObjectName(QStringLiteral("RBVacia"));
    RBVacia->setChecked(true);
    RBDemo = new QRadioButton(QStringLiteral("Con clientes y citas &inventados, para probarla"), pagina);
    RBDemo->setObjectName(QStringLiteral("RBDemo"));
    LResumen = dbcontrols::plainLabel({}, pagina);
    LResumen->setObjectName(QStringLiteral("LResumen"));
    LResumen->setWordWrap(true);
    pagina->Orden()->addWidget(RBVacia);
    pagina->Orden()->addWidget(RBDemo);
    pagina->Orden()->addSpacing(fontMetrics().height());
    pagina->Orden()->addWidget(LResumen);
    pagina->Orden()->addStretch();
    return pagina;
}

void TAsistenteOficina::ExaminaCarpetas()
{
    const QString elegida =
        QFileDialog::getExistingDirectory(this, QStringLiteral("Carpeta de los datos"), Carpeta());
    if (!elegida.isEmpty())
        ECarpeta->setText(QDir::toNativeSeparators(elegida));
}

bool TAsistenteOficina::ValidaCarpeta()
{
    if (!ECarpeta->text().trimmed().isEmpty() && QFileInfo::exists(TConfiguracion::FicheroDe(Carpeta()))) {
        if (TMensajeOficina().Mensaje_SiNo(
                QStringLiteral("¿Desea abrir la oficina que ya hay en esa carpeta?"),
                QDir::toNativeSeparators(Carpeta()), windowTitle()) == RespuestaSi)
            // NOLINTNEXTLINE(bugprone-parent-virtual-call): the wizard's own would look at this page again
            QDialog::done(Accepted);
        return false;
    }
    const QString porque = PorQueNoSirve(ECarpeta->text().trimmed().isEmpty() ? QString() : Carpeta());
    if (!porque.isEmpty())
        Avisa(porque, ECarpeta);
    return porque.isEmpty();
}

QStringList TAsistenteOficina::Notarios() const
{
    QStringList nombres;
    for (const QLineEdit *const edicion : ENotarios) {
        if (const QString nombre = edicion->text().simplified(); !nombre.isEmpty())
            nombres << nombre;
    }
    return nombres;
}

bool TAsistenteOficina::ValidaNotarios()
{
    const QStringList nombres = Notarios();
    const QString repetido = Repetido(nombres);
    if (nombres.isEmpty())
        Avisa(QStringLiteral("Escriba el nombre de un notario al menos."), ENotarios.front());
    else if (!repetido.isEmpty())
        Avisa(QStringLiteral("El notario «%1» está dos veces.").arg(repetido), ENotarios.front());
    return !nombres.isEmpty() && repetido.isEmpty();
}

bool TAsistenteOficina::ValidaHoras()
{
    const bool bien = CBHoraFin->currentIndex() >= CBHoraInicio->currentIndex();
    if (!bien)
        Avisa(QStringLiteral("La última hora no puede ser anterior a la primera."), CBHoraFin);
    return bien;
}

QStringList TAsistenteOficina::Oficiales() const
{
    QStringList nombres;
    for (const QString &linea : MOficiales->toPlainText().split(u'\n')) {
        if (const QString nombre = linea.simplified(); !nombre.isEmpty())
            nombres << nombre;
    }
    return nombres;
}

bool TAsistenteOficina::ValidaOficiales()
{
    const QStringList nombres = Oficiales();
    QString aviso;
    if (const QString repetido = Repetido(nombres); !repetido.isEmpty())
        aviso = QStringLiteral("El oficial «%1» está dos veces.").arg(repetido);
    for (const QString &nombre : nombres) {
        if (nombre.size() > AnchoOficial)
            aviso = QStringLiteral("«%1» es demasiado largo: caben %2 letras.").arg(nombre).arg(AnchoOficial);
    }
    if (!aviso.isEmpty())
        Avisa(aviso, MOficiales);
    return aviso.isEmpty();
}

void TAsistenteOficina::Resume()
{
    const QStringList oficiales = Oficiales();
    LResumen->setText(
        QStringLiteral("Se va a crear la oficina en\n%1\n\nNotarios: %2.\nHojas de %3 a %4, una línea "
                       "cada %5 minutos.\nOficiales: %6.")
            .arg(QDir::toNativeSeparators(Carpeta()), Notarios().join(QStringLiteral(", ")),
                 CBHoraInicio->currentText(), CBHoraFin->currentText(), Int_Cad(SEIntervalo->value()),
                 oficiales.isEmpty() ? QStringLiteral("ninguno por ahora")
                                     : oficiales.join(QStringLiteral(", "))));
}

void TAsistenteOficina::accept()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    auto normal = qScopeGuard([] { QApplication::restoreOverrideCursor(); });
    try {
        if (RBDemo->isChecked()) {
            TDemo demo;
            demo.Hoy = m_hoy;
            demo.NombresNotarios = Notarios();
            demo.Oficiales = Oficiales();
            demo.HoraInicio = CBHoraInicio->currentData().toInt();
            demo.HoraFin = CBHoraFin->currentData().toInt();
            demo.Intervalo = SEIntervalo->value();
            CreaEnSuSitio(Carpeta(), [&](const QString &oculta) { CreaDatosDemo(oculta, demo); });
        } else {
            TOficinaNueva oficina;
            oficina.Notarios = Notarios();
            oficina.Oficiales = Oficiales();
            oficina.HoraInicio = CBHoraInicio->currentData().toInt();
            oficina.HoraFin = CBHoraFin->currentData().toInt();
            oficina.Intervalo = SEIntervalo->value();
            oficina.Hoy = m_hoy;
            CreaEnSuSitio(Carpeta(), [&](const QString &oculta) {
                CreaTablasDeOficina(oculta, oficina);
                CreaConfiguracionDeOficina(oculta, oficina);
            });
        }
    } catch (const std::exception &error) {
        normal.dismiss();
        QApplication::restoreOverrideCursor();
        TMensajeOficina().Mensaje_Error(QString::fromUtf8(error.what()), Atencion);
        return;
    }
    QWizard::accept();
}
