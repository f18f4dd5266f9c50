#include "host/Dialogos.h"

#include "agenda/Rnumcad.h"
#include "agenda/Rvarias.h"
#include "agenda/host/Servicios.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/PlainText.h"

#include <QtCore/QLocale>
#include <QtCore/QSignalBlocker>
#include <QtGui/QTextCharFormat>
#include <QtWidgets/QCalendarWidget>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

QDialogButtonBox *CreaBotones(QDialog &dialogo, const QString &aceptar, const QString &cancelar)
{
    auto *const botones = new QDialogButtonBox(&dialogo);
    botones->addButton(aceptar, QDialogButtonBox::AcceptRole)->setDefault(true);
    if (!cancelar.isEmpty())
        botones->addButton(cancelar, QDialogButtonBox::RejectRole);
    QObject::connect(botones, &QDialogButtonBox::accepted, &dialogo, &QDialog::accept);
    QObject::connect(botones, &QDialogButtonBox::rejected, &dialogo, &QDialog::reject);
    return botones;
}

void AvisaAtencion(const QString &texto)
{
    TMensaje mensaje;
    mensaje.Texto = texto;
    mensaje.Titulo = QStringLiteral(" ATENCIÓN:");
    Servicios().Mensaje->Mensajes(mensaje);
}

TDialogoFecha::TDialogoFecha(QDate fecha, const QString &indicacion, const QString &titulo, QWidget *padre)
    : QDialog(padre)
    , m_fecha(fecha)
{
    setWindowTitle(titulo);
    auto *const rotulo = dbcontrols::plainLabel(indicacion, this);
    m_texto = new dbcontrols::MaskEdit(this);
    m_texto->setMask(QStringLiteral("99/99/9999;1; "));
    m_texto->setMaskedText(Date_Cad(fecha));
    m_texto->setAccessibleName(indicacion);
    rotulo->setBuddy(m_texto);
    m_calendario = new QCalendarWidget(this);
    m_calendario->setLocale(QLocale(QStringLiteral("es_ES")));
    m_calendario->setFirstDayOfWeek(Qt::Monday);
    m_calendario->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    m_calendario->setSelectedDate(fecha);
    m_calendario->setAccessibleName(QStringLiteral("Calendario"));

    auto *const orden = new QVBoxLayout(this);
    orden->addWidget(rotulo);
    orden->addWidget(m_texto);
    orden->addWidget(m_calendario);
    orden->addWidget(CreaBotones(*this, QStringLiteral("&Aceptar"), QStringLiteral("&Cancelar")));
    orden->setSizeConstraint(QLayout::SetFixedSize);
    m_texto->setFocus();
    m_texto->selectAll();

    connect(m_calendario, &QCalendarWidget::selectionChanged, this,
            [this] { m_texto->setMaskedText(Date_Cad(m_calendario->selectedDate())); });
    connect(m_calendario, &QCalendarWidget::activated, this, &TDialogoFecha::accept);
    connect(m_texto, &QLineEdit::textEdited, this, [this](const QString &texto) {
        const QDate tecleada = QDate::fromString(texto, QStringLiteral("dd/MM/yyyy"));
        const QSignalBlocker sinEco(m_calendario);
        if (tecleada.isValid())
            m_calendario->setSelectedDate(tecleada);
    });
}

void TDialogoFecha::accept()
{
    QString texto = m_texto->text();
    if (!VerificaFecha(texto)) {
        AvisaAtencion(QStringLiteral("La fecha introducida no es correcta"));
        m_texto->setFocus();
        m_texto->selectAll();
        return;
    }
    m_fecha = Cad_Date(texto);
    QDialog::accept();
}
