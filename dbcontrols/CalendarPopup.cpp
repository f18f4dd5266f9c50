#include "dbcontrols/CalendarPopup.h"

#include <QtCore/QLocale>
#include <QtGui/QScreen>
#include <QtGui/QTextCharFormat>
#include <QtWidgets/QCalendarWidget>
#include <QtWidgets/QVBoxLayout>

namespace dbcontrols
{

CalendarPopup::CalendarPopup(QWidget *parent)
    : QFrame(parent, Qt::Popup)
    , m_calendar(new QCalendarWidget(this))
{
    setFrameShape(StyledPanel);
    setAccessibleName(QStringLiteral("Calendario"));
    m_calendar->setAccessibleName(accessibleName());
    m_calendar->setLocale(QLocale(QStringLiteral("es_ES")));
    m_calendar->setFirstDayOfWeek(Qt::Monday);
    m_calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);
    layout->addWidget(m_calendar);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    setFocusProxy(m_calendar);
    connect(m_calendar, &QCalendarWidget::clicked, this, &CalendarPopup::choose);
    connect(m_calendar, &QCalendarWidget::activated, this, &CalendarPopup::choose);
}

CalendarPopup::~CalendarPopup() = default;

void CalendarPopup::useColors()
{
    // The calendar's own header and red are made for a light ground only.
    const QPalette &colors = palette();
    QTextCharFormat day;
    day.setForeground(colors.color(QPalette::Active, QPalette::Text));
    day.setBackground(colors.color(QPalette::Active, QPalette::Base));
    m_calendar->setHeaderTextFormat(day);
    const bool dark = colors.color(QPalette::Active, QPalette::Base).lightness() < 128;
    QTextCharFormat weekend;
    weekend.setForeground(dark ? QColor(255, 140, 140) : QColor(190, 0, 0));
    for (const Qt::DayOfWeek one : {Qt::Saturday, Qt::Sunday})
        m_calendar->setWeekdayTextFormat(one, weekend);
}

void CalendarPopup::open(const QWidget &anchor, QDate date)
{
    useColors();
    if (date.isValid())
        m_calendar->setSelectedDate(date);
    const QSize size = sizeHint();
    const QRect screen = anchor.screen()->availableGeometry();
    QPoint place = anchor.mapToGlobal(QPoint(0, anchor.height()));
    if (place.y() + size.height() > screen.bottom())
        place = anchor.mapToGlobal(QPoint(0, -size.height()));
    place.setX(qMax(screen.left(), qMin(place.x(), screen.right() - size.width())));
    place.setY(qMax(screen.top(), place.y()));
    move(place);
    show();
    m_calendar->setFocus(Qt::PopupFocusReason);
}

void CalendarPopup::hideEvent(QHideEvent *event)
{
    QFrame::hideEvent(event);
    // Not every desktop gives the keys back to the window that had them.
    if (parentWidget())
        parentWidget()->activateWindow();
}

void CalendarPopup::choose(QDate date)
{
    if (!isVisible())
        return; // a double click chooses twice
    close();
    emit chosen(date);
}

} // namespace dbcontrols
