#include "host/Dialogos.h"

#include "agenda/Rnumcad.h"
#include "agenda/Rvarias.h"
#include "dbcontrols/MaskEdit.h"

#include <QtCore/QLocale>
#include <QtCore/QSignalBlocker>
#include <QtGui/QTextCharFormat>
#include <QtWidgets/QCalendarWidget>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace
{

/// Named here and not by Qt's translation, which an installation may lack.
QDialogButtonBox *Botones(QDialog &dialogo, bool conCancelar)
{
    auto *const botones = new QDialogButtonBox(&dialogo);
    QPushButton *const aceptar = botones->addButton(
        conCancelar ? QStringLiteral("&Aceptar") : QStringLiteral("&Cerrar"), QDialogButtonBox::AcceptRole);
    aceptar->setDefault(true);
    if (conCancelar)
        botones->addButton(QStringLiteral("&Cancelar"), QDialogButtonBox::RejectRole);
    QObject::connect(botones, &QDialogButtonBox::accepted, &dialogo, &QDialog::accept);
    QObject::connect(botones, &QDialogButtonBox::rejected, &dialogo, &QDialog::reject);
    return botones;
}

} // namespace

TDialogoFecha::TDialogoFecha(QDate fecha, const QString &indicacion, const QString &titulo, QWidget *padre)
    : QDialog(padre)
    , m_fecha(fecha)
{
    setWindowTitle(titulo);
    auto *const rotulo = new QLabel(indicacion, this);
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
    orden->addWidget(Botones(*this, true));
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
        QMessageBox aviso(QMessageBox::Warning, QStringLiteral(" ATENCIÓN:"),
                          QStringLiteral("La fecha introducida no es correcta"), QMessageBox::NoButton, this);
        aviso.addButton(QStringLiteral("&Aceptar"), QMessageBox::AcceptRole);
        aviso.exec();
        m_texto->setFocus();
        m_texto->selectAll();
        return;
    }
    m_fecha = Cad_Date(texto);
    QDialog::accept();
}

TDialogoLista::TDialogoLista(const QStringList &nombres, const QString &inicial, const QString &titulo,
                             bool elegir, QWidget *padre)
    : QDialog(padre)
{
    setWindowTitle(titulo);
    m_lista = new QListWidget(this);
    m_lista->setAccessibleName(titulo);
    m_lista->addItems(nombres);
    int posicion = 0;
    for (int i = 0; i < nombres.size() && !inicial.isEmpty(); ++i) {
        if (nombres.at(i).startsWith(inicial, Qt::CaseInsensitive)) {
            posicion = i;
            break;
        }
    }
    m_lista->setCurrentRow(posicion);
    auto *const orden = new QVBoxLayout(this);
    orden->addWidget(m_lista);
    orden->addWidget(Botones(*this, elegir));
    resize(380, 320);
    connect(m_lista, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
}

int TDialogoLista::Posicion() const
{
    return m_lista->currentRow();
}
