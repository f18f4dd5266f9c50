// Lines of the shown day whose hour is none of a day: the card stores what is typed, and the sheet would hide
// them.

#include "agendan/FichaAgendaN.h"

#include "agenda/HoraTexto.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "dbcontrols/DbGrid.h"

#include <QtCore/QSignalBlocker>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QToolButton>

using dataset::DataSet;

namespace
{

int CuentaFueraDeHora(const DataSet &tabla)
{
    int cuantas = 0;
    for (int fila = 0; fila < tabla.rowCount(); ++fila)
        cuantas += SeVeEnSuHoja(TextoDeFila(tabla, fila, TCampoLinea::hora)) ? 0 : 1;
    return cuantas;
}

} // namespace

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
        m_diaFueraDeHora = m_motor ? m_motor->DiaPedido() : QDate();
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
        const QDate dia = m_motor ? m_motor->DiaPedido() : QDate();
        if (tabla && tabla->isActive() && !tabla->isEditing() && dia.isValid() && m_motor->HayRangoPorFecha())
            cuantas = PonTambienFueraDeHora(*tabla, dia);
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

/// Counts them, and shows them with the others of their day for as long as the clerk wants to see them there.
int TFFichaAgendaN::PonTambienFueraDeHora(DataSet &tabla, QDate dia)
{
    const dataset::ControlsGuard sinAvisos(tabla);
    const dataset::Bookmark donde = tabla.bookmark();
    const bool estaba = tabla.currentRow() >= 0;
    TBRango(tabla, ClaveDelDia(dia), ClaveDelDia(dia));
    const int cuantas = CuentaFueraDeHora(tabla);
    if (cuantas == 0 || !BFueraDeHora->isChecked() || m_diaFueraDeHora != dia) {
        BFueraDeHora->setChecked(false);
        m_motor->RangoPorFecha(dia);
    }
    if (estaba && tabla.rowOf(donde) >= 0)
        tabla.goToBookmark(donde);
    return cuantas;
}
