#include "agendan/CalendarioAgendaN.h"

#include <QtCore/QLocale>
#include <QtGui/QScreen>
#include <QtGui/QTextCharFormat>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCalendarWidget>
#include <QtWidgets/QVBoxLayout>

namespace
{

/// Names for those who hear the window; the parts are known by the names that the toolkit gives them.
void NombraPartes(const QCalendarWidget &calendario)
{
    const struct {
        const char *parte;
        QString nombre;
    } partes[] = {
        {"qt_calendar_calendarview", QStringLiteral("Días del mes")},
        {"qt_calendar_prevmonth", QStringLiteral("Mes anterior")},
        {"qt_calendar_nextmonth", QStringLiteral("Mes siguiente")},
        {"qt_calendar_monthbutton", QStringLiteral("Mes")},
        {"qt_calendar_yearbutton", QStringLiteral("Año")},
        {"qt_calendar_yearedit", QStringLiteral("Año")},
    };
    for (const auto &[parte, nombre] : partes) {
        if (auto *const control = calendario.findChild<QWidget *>(QLatin1String(parte)))
            control->setAccessibleName(nombre);
    }
}

/// Sundays in a red that can be read on the ground that they stand on, light or dark.
QTextCharFormat LetraDeDomingo(const QPalette &paleta)
{
    QTextCharFormat letra;
    const bool oscuro = paleta.color(QPalette::Base).lightness() < 128;
    letra.setForeground(oscuro ? QColor(0xFF, 0x8A, 0x80) : QColor(0xB7, 0x1C, 0x1C));
    return letra;
}

} // namespace

TCalendarioAgendaN::TCalendarioAgendaN(QWidget *padre)
    : QFrame(padre, Qt::Popup)
    , m_calendario(new QCalendarWidget(this))
{
    setObjectName(QStringLiteral("CalendarioAgendaN"));
    setAccessibleName(QStringLiteral("Calendario"));
    setFrameShape(QFrame::StyledPanel);
    m_calendario->setAccessibleName(accessibleName());
    m_calendario->setLocale(QLocale(QStringLiteral("es_ES")));
    m_calendario->setFirstDayOfWeek(Qt::Monday);
    m_calendario->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    m_calendario->setGridVisible(false);
    m_calendario->setWeekdayTextFormat(Qt::Saturday, {});
    NombraPartes(*m_calendario);
    auto *const orden = new QVBoxLayout(this);
    orden->setContentsMargins(1, 1, 1, 1);
    orden->addWidget(m_calendario);
    setFocusProxy(m_calendario);
    connect(m_calendario, &QCalendarWidget::activated, this, &TCalendarioAgendaN::Elige);
    connect(m_calendario, &QCalendarWidget::clicked, this, &TCalendarioAgendaN::Elige);
}

TCalendarioAgendaN::~TCalendarioAgendaN() = default;

void TCalendarioAgendaN::Abre(const QWidget &campo, QDate fecha)
{
    m_calendario->setWeekdayTextFormat(Qt::Sunday, LetraDeDomingo(palette()));
    if (fecha.isValid())
        m_calendario->setSelectedDate(fecha);
    m_calendario->showSelectedDate();
    adjustSize();
    const QRect sitio = campo.screen()->availableGeometry();
    QRect lugar(campo.mapToGlobal(QPoint(0, campo.height())), size());
    if (lugar.bottom() > sitio.bottom())
        lugar.moveBottom(campo.mapToGlobal(QPoint(0, 0)).y() - 1);
    lugar.moveLeft(qMax(sitio.left(), qMin(lugar.left(), sitio.right() - lugar.width() + 1)));
    move(lugar.topLeft());
    m_conFoco = QApplication::focusWidget();
    show();
    m_calendario->setFocus(Qt::PopupFocusReason);
}

void TCalendarioAgendaN::hideEvent(QHideEvent *evento)
{
    QFrame::hideEvent(evento);
    if (!m_conFoco)
        return;
    m_conFoco->activateWindow(); // some desktops make the window of a pop-up the active one
    m_conFoco->setFocus(Qt::PopupFocusReason);
}

void TCalendarioAgendaN::Elige(QDate fecha)
{
    if (!isVisible())
        return; // a double click has chosen with its first half
    close();
    emit Elegida(fecha);
}
