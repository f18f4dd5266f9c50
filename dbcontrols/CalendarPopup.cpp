#include "dbcontrols/CalendarPopup.h"

#include <QtCore/QLocale>
#include <QtGui/QScreen>
#include <QtGui/QTextCharFormat>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCalendarWidget>
#include <QtWidgets/QVBoxLayout>

namespace dbcontrols
{

namespace
{

/// Names for those who hear the window; the parts are known by the names that the toolkit gives them.
void nameParts(const QCalendarWidget &calendar)
{
    const struct {
        const char *part;
        QString name;
    } parts[] = {
        {"qt_calendar_calendarview", QStringLiteral("Días del mes")},
        {"qt_calendar_prevmonth", QStringLiteral("Mes anterior")},
        {"qt_calendar_nextmonth", QStringLiteral("Mes siguiente")},
        {"qt_calendar_monthbutton", QStringLiteral("Mes")},
        {"qt_calendar_yearbutton", QStringLiteral("Año")},
        {"qt_calendar_yearedit", QStringLiteral("Año")},
    };
    for (const auto &[part, name] : parts) {
        if (auto *const widget = calendar.findChild<QWidget *>(QLatin1String(part)))
            widget->setAccessibleName(name);
    }
}

/// Sundays in a red that can be read on the ground that they stand on, light or dark.
QTextCharFormat sundayFormat(const QPalette &palette)
{
    QTextCharFormat format;
    const bool dark = palette.color(QPalette::Base).lightness() < 128;
    format.setForeground(dark ? QColor(0xFF, 0x8A, 0x80) : QColor(0xB7, 0x1C, 0x1C));
    return format;
}

} // namespace

CalendarPopup::CalendarPopup(QWidget *parent)
    : QFrame(parent, Qt::Popup)
    , m_calendar(new QCalendarWidget(this))
{
    setObjectName(QStringLiteral("CalendarPopup"));
    setAccessibleName(QStringLiteral("Calendario"));
    setFrameShape(QFrame::StyledPanel);
    m_calendar->setAccessibleName(accessibleName());
    m_calendar->setLocale(QLocale(QStringLiteral("es_ES")));
    m_calendar->setFirstDayOfWeek(Qt::Monday);
    m_calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    m_calendar->setGridVisible(false);
    m_calendar->setWeekdayTextFormat(Qt::Saturday, {});
    nameParts(*m_calendar);
    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);
    layout->addWidget(m_calendar);
    setFocusProxy(m_calendar);
    connect(m_calendar, &QCalendarWidget::activated, this, &CalendarPopup::choose);
    connect(m_calendar, &QCalendarWidget::clicked, this, &CalendarPopup::choose);
}

CalendarPopup::~CalendarPopup() = default;

void CalendarPopup::open(const QWidget &field, QDate date)
{
    m_calendar->setWeekdayTextFormat(Qt::Sunday, sundayFormat(palette()));
    if (date.isValid())
        m_calendar->setSelectedDate(date);
    m_calendar->showSelectedDate();
    adjustSize();
    const QRect available = field.screen()->availableGeometry();
    QRect place(field.mapToGlobal(QPoint(0, field.height())), size());
    if (place.bottom() > available.bottom())
        place.moveBottom(field.mapToGlobal(QPoint(0, 0)).y() - 1);
    place.moveLeft(qMax(available.left(), qMin(place.left(), available.right() - place.width() + 1)));
    move(place.topLeft());
    m_focused = QApplication::focusWidget();
    show();
    m_calendar->setFocus(Qt::PopupFocusReason);
}

void CalendarPopup::hideEvent(QHideEvent *event)
{
    QFrame::hideEvent(event);
    if (!m_focused)
        return;
    m_focused->activateWindow(); // some desktops make the window of a pop-up the active one
    m_focused->setFocus(Qt::PopupFocusReason);
}

void CalendarPopup::choose(QDate date)
{
    if (!isVisible())
        return; // a double click has chosen with its first half
    close();
    emit chosen(date);
}

} // namespace dbcontrols
