#include "host/AcercaDe.h"

#include "dbcontrols/PlainText.h"
#include "host/Dialogos.h"
#include "module/ZenAgenda.h"

#include <QtWidgets/QDialog>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QLabel>

void MuestraAcercaDe(const IZenAgenda &modulo, const QStringList &unidades, QWidget *padre)
{
    QDialog dialogo(padre);
    dialogo.setObjectName(QStringLiteral("AcercaDe"));
    dialogo.setWindowTitle(QStringLiteral("Acerca de"));
    auto *const orden = new QFormLayout(&dialogo);
    auto *const titulo = dbcontrols::plainLabel(QStringLiteral("Oficina notarial"), &dialogo);
    QFont grande = titulo->font();
    grande.setPointSizeF(grande.pointSizeF() * 1.6);
    titulo->setFont(grande);
    orden->addRow(titulo);
    const auto fila = [&](const QString &rotulo, const QString &texto) {
        auto *const valor = dbcontrols::plainLabel(texto, &dialogo);
        valor->setTextInteractionFlags(Qt::TextSelectableByMouse);
        orden->addRow(rotulo, valor);
    };
    fila(QStringLiteral("Versión:"), QStringLiteral(AGENDA_VERSION));
    fila(QStringLiteral("Módulo de la agenda:"), QStringLiteral("interfaz %1").arg(modulo.Version()));
    fila(QStringLiteral("Sus unidades:"), unidades.join(u'\n'));
    fila(QStringLiteral("Qt:"), QString::fromLatin1(qVersion()));
    orden->addRow(
        dbcontrols::plainLabel(QStringLiteral("Qt se usa según la licencia LGPL, versión 3."), &dialogo));
    orden->addRow(CreaBotones(dialogo, QStringLiteral("&Cerrar"), {}));
    dialogo.exec();
}
