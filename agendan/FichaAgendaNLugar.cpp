// Place, size and widths of the agenda window, and what it remembers of them.

#include "agendan/FichaAgendaN.h"

#include "agenda/host/Servicios.h"
#include "agendan/PestanasAgendaN.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/DbMemo.h"
#include "dbcontrols/MaskEdit.h"
#include "dbcontrols/WindowPlace.h"

#include <QtCore/QSettings>
#include <QtGui/QScreen>
#include <QtGui/QWindow>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QToolButton>

using dbcontrols::DbGrid;

namespace
{

// As the window was drawn, at 96 dots to the inch.
constexpr QSize AreaCliente{635, 437};
constexpr int PuntosPorPulgada = 96;
constexpr int AnchoHora = 33;
constexpr int AnchoCita = 272;
constexpr int AnchoOficial = 88;
constexpr int AnchoFecha = 65;
constexpr int LadoIcono = 20;
constexpr int LineasMemo = 3;
constexpr int AnchoMinimo = 20;

const QString ClaveDivisor = QStringLiteral("Divisor");
const QString ClaveColumnas = QStringLiteral("Columnas%1");

} // namespace

int TFFichaAgendaN::Escalado(int puntos) const
{
    return puntos * qMax(PuntosPorPulgada, logicalDpiX()) / PuntosPorPulgada;
}

void TFFichaAgendaN::Coloca()
{
    ensurePolished();
    winId(); // gives the window a handle, so that it can be put in front of its owner
    const QWidget *const propietario = m_propietario ? m_propietario->window() : nullptr;
    if (!RecuperaLugar())
        ColocaSobreElPropietario();
    if (propietario && propietario->windowHandle())
        windowHandle()->setTransientParent(propietario->windowHandle());
}

void TFFichaAgendaN::ColocaSobreElPropietario()
{
    const QWidget *const propietario = m_propietario ? m_propietario->window() : nullptr;
    const QScreen *const pantalla = propietario ? propietario->screen() : screen();
    const QRect disponible = pantalla->availableGeometry();
    const QSize area(Escalado(AreaCliente.width()),
                     Escalado(AreaCliente.height()) + menuBar()->sizeHint().height());
    resize(area.boundedTo(disponible.size()));
    QRect lugar = frameGeometry();
    lugar.moveCenter(propietario ? propietario->frameGeometry().center() : disponible.center());
    move(qMax(disponible.left(), qMin(lugar.left(), disponible.right() - lugar.width() + 1)),
         qMax(disponible.top(), qMin(lugar.top(), disponible.bottom() - lugar.height() + 1)));
}

/// @return false when nothing is remembered, or not for a screen like this one.
bool TFFichaAgendaN::RecuperaLugar()
{
    const QString fichero = Servicios().Config->GetFicheroVentanas();
    if (!dbcontrols::restorePlace(*this, fichero))
        return false;
    QSettings memoria(fichero, QSettings::IniFormat);
    memoria.beginGroup(objectName());
    for (int pestana = 0; pestana < NumPestanas; ++pestana) {
        const QStringList anchos = memoria.value(ClaveColumnas.arg(pestana + 1)).toStringList();
        DbGrid *const rejilla = DBGAgendaN[static_cast<std::size_t>(pestana)];
        for (int columna = 0; columna < qMin(static_cast<int>(anchos.size()), ColumnaOficial + 1); ++columna)
            rejilla->setColumnWidth(columna, qBound(AnchoMinimo, anchos.at(columna).toInt(), width()));
    }
    if (auto *const divisor = findChild<QSplitter *>(QStringLiteral("Splitter1")))
        divisor->restoreState(memoria.value(ClaveDivisor).toByteArray());
    return true;
}

void TFFichaAgendaN::RecuerdaLugar() const
{
    const QString fichero = Servicios().Config->GetFicheroVentanas();
    if (fichero.isEmpty())
        return;
    dbcontrols::rememberPlace(*this, fichero);
    QSettings memoria(fichero, QSettings::IniFormat);
    memoria.beginGroup(objectName());
    for (int pestana = 0; pestana < NumPestanas; ++pestana) {
        const DbGrid *const rejilla = DBGAgendaN[static_cast<std::size_t>(pestana)];
        QStringList anchos;
        for (int columna = ColumnaHora; columna <= ColumnaOficial; ++columna)
            anchos << QString::number(rejilla->columnWidth(columna));
        memoria.setValue(ClaveColumnas.arg(pestana + 1), anchos);
    }
    if (const auto *const divisor = findChild<QSplitter *>(QStringLiteral("Splitter1")))
        memoria.setValue(ClaveDivisor, divisor->saveState());
}

void TFFichaAgendaN::FormResize()
{
    for (DbGrid *const rejilla : DBGAgendaN) {
        if (!rejilla)
            continue; // a grid tells its size while its neighbours are still being made
        const int ocupado = rejilla->columnWidth(ColumnaHora) + rejilla->columnWidth(ColumnaCita) +
                            rejilla->columnWidth(ColumnaOficial);
        // Where there is no room for it the grid scrolls; its title at least is read whole.
        const int minimo = rejilla->horizontalHeader()->sectionSizeHint(ColumnaInteresado);
        rejilla->setColumnWidth(ColumnaInteresado, qMax(minimo, rejilla->viewport()->width() - ocupado - 5));
    }
}

void TFFichaAgendaN::AjustaMedidasALaLetra()
{
    // The widths were drawn for a small letter; with a larger one date and hour must still be read whole.
    const QFontMetrics letra = fontMetrics();
    const int margenes = MEFecha->sizeHint().width() - 17 * letra.horizontalAdvance(QLatin1Char('x'));
    MEFecha->setFixedWidth(qMax(Escalado(AnchoFecha), letra.horizontalAdvance(QStringLiteral("00/00/0000")) +
                                                          qBound(6, margenes, 16)));
    BCalendario->setFixedSize(MEFecha->sizeHint().height(), MEFecha->sizeHint().height());
    TBAgendaN->setIconSize({Escalado(LadoIcono), Escalado(LadoIcono)});
    const int hora = qMax(Escalado(AnchoHora), letra.horizontalAdvance(QStringLiteral("00:00")) + 2);
    const int memo = letra.lineSpacing() * LineasMemo + 12;
    for (std::size_t i = 0; i < DBGAgendaN.size(); ++i) {
        DBGAgendaN[i]->setColumnWidth(ColumnaHora, hora);
        DBGAgendaN[i]->setColumnWidth(ColumnaCita, Escalado(AnchoCita));
        DBGAgendaN[i]->setColumnWidth(ColumnaOficial, Escalado(AnchoOficial));
        DBGAgendaN[i]->verticalHeader()->setDefaultSectionSize(letra.height() + 6);
        DBMConcepto[i]->setMinimumHeight(letra.lineSpacing() + 12);
        if (i > 0)
            DBMConcepto[i]->setFixedHeight(memo);
    }
    if (auto *const divisor = findChild<QSplitter *>(QStringLiteral("Splitter1")))
        divisor->setSizes({10 * memo, memo});
    FormResize();
}
