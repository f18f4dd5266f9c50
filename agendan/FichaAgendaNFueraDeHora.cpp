// Lines of the shown day whose hour is none of a day: the card stores what is typed, and the sheet would hide
// them.

#include "agendan/FichaAgendaN.h"

#include "agenda/HoraTexto.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "dbcontrols/DbGrid.h"

#include <QtCore/QSignalBlocker>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QToolButton>

using dataset::DataSet;

void TFFichaAgendaN::CreaFueraDeHora()
{
    BFueraDeHora = new QToolButton(LExplica);
    BFueraDeHora->setObjectName(QStringLiteral("BFueraDeHora"));
    BFueraDeHora->setCheckable(true);
    BFueraDeHora->setFocusPolicy(Qt::TabFocus);
    BFueraDeHora->setToolTip(
        QStringLiteral("Líneas de este día con una hora que no es del día: verlas, o dejar de verlas"));
    BFueraDeHora->setStatusTip(BFueraDeHora->toolTip());
    BFueraDeHora->hide();
    LExplica->addPermanentWidget(BFueraDeHora);
    connect(BFueraDeHora, &QToolButton::clicked, this, [this] {
        m_diaFueraDeHora = GetDatosAgendaN() ? m_motor->DiaActual().Mostrado() : QDate();
        if (!Ejecuta(TAlcance::citas, [] {}))
            BFueraDeHora->setChecked(!BFueraDeHora->isChecked());
        else if (BFueraDeHora->isChecked())
            ConGuarda([this] { VeAFueraDeHora(*GetDatosAgendaN()); });
    });
}

/// To the first of them: shown among the others they are not easily found.
void TFFichaAgendaN::VeAFueraDeHora(DataSet &tabla)
{
    int fila = 0;
    while (fila < tabla.rowCount() && SeVeEnSuHoja(TextoDeFila(tabla, fila, TCampoLinea::hora)))
        ++fila;
    if (fila < tabla.rowCount())
        tabla.setCurrentRow(fila);
}

void TFFichaAgendaN::MiraFueraDeHora()
{
    DataSet *const tabla = GetDatosAgendaN();
    int cuantas = 0;
    try {
        if (tabla && tabla->isActive() && !tabla->isEditing() && m_motor->HayRangoPorFecha()) {
            TDiaDeTabla &dia = m_motor->DiaActual();
            // Shown with the others for as long as the clerk wants to see them there.
            const bool verlas = BFueraDeHora->isChecked() && m_diaFueraDeHora == dia.Mostrado();
            cuantas = dia.FueraDeHora(verlas);
            if (!verlas)
                BFueraDeHora->setChecked(false);
        }
    } catch (const std::exception &error) {
        // Not worth an interruption: the next command looks again.
        qWarning("Lines outside the hours of the day: %s", error.what());
        return;
    }
    const QSignalBlocker callado(BFueraDeHora);
    if (cuantas == 0)
        BFueraDeHora->setChecked(false);
    BFueraDeHora->setText(cuantas == 1 ? QStringLiteral("1 línea fuera de hora")
                                       : Int_Cad(cuantas) + QStringLiteral(" líneas fuera de hora"));
    BFueraDeHora->setVisible(cuantas > 0);
}
