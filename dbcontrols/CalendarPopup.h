#pragma once

#include "dbcontrols/Export.h"

#include <QtCore/QDate>
#include <QtWidgets/QFrame>

class QCalendarWidget;

namespace dbcontrols
{

/// A small Spanish calendar that opens below a control and goes away when a day has been chosen: with the
/// mouse, or with arrow keys and Enter; Esc leaves it.
class DBCONTROLS_EXPORT CalendarPopup : public QFrame
{
    Q_OBJECT
public:
    explicit CalendarPopup(QWidget *parent);
    ~CalendarPopup() override;

    /// @param anchor  the control below which it opens. @param date  shown first; invalid: the calendar's
    /// own.
    void open(const QWidget &anchor, QDate date);

signals:
    void chosen(QDate date);

protected:
    void hideEvent(QHideEvent *event) override;

private:
    void useColors();
    void choose(QDate date);

    QCalendarWidget *m_calendar;
};

} // namespace dbcontrols
