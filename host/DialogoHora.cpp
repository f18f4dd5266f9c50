#include "host/DialogoHora.h"

#include "agenda/HoraTexto.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/PlainText.h"
#include "host/Dialogos.h"

#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

TDialogoHora::TDialogoHora(const QString &hora, const QString &indicacion, const QString &titulo,
                           QWidget *padre)
    : QDialog(padre)
    , EHora(new dbcontrols::MaskEdit(this))
{
    setWindowTitle(titulo);
    EHora->setObjectName(QStringLiteral("EHora"));
    EHora->setMask(QStringLiteral("99:99;1; "));
    EHora->setZeroPadding(true);
    EHora->setMaskedText(hora);
    EHora->setAccessibleName(titulo);
    EHora->selectAll();
    auto *const etiqueta = dbcontrols::plainLabel(indicacion, this);
    etiqueta->setBuddy(EHora);
    auto *const orden = new QVBoxLayout(this);
    orden->addWidget(etiqueta);
    orden->addWidget(EHora);
    orden->addWidget(CreaBotones(*this, QStringLiteral("&Aceptar"), QStringLiteral("&Cancelar")));
    setMinimumWidth(fontMetrics().averageCharWidth() * 45); // the title is read whole
    EHora->setFocus();
}

void TDialogoHora::accept()
{
    try {
        m_hora = NormalizaHora(EHora->text());
    } catch (const dataset::EConvertError &) {
        AvisaAtencion(QStringLiteral("«%1» no es una hora del día.").arg(EHora->text().trimmed()));
        EHora->setFocus();
        return;
    }
    QDialog::accept();
}
