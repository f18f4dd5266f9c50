#pragma once

#include "dbcontrols/Export.h"

#include <QtCore/QDate>
#include <QtCore/QPointer>
#include <QtWidgets/QFrame>

class QCalendarWidget;

namespace dbcontrols
{

/// A month that drops down under a date field. The arrows go from day to day, the page keys from month to
/// month; Enter or a click chooses, Esc leaves everything as it was.
class DBCONTROLS_EXPORT CalendarPopup : public QFrame
{
    Q_OBJECT
public:
    explicit CalendarPopup(QWidget *parent);
    ~CalendarPopup() override;

    /// Drops down under a control, or above it where the screen ends.
    /// @param date  the day that is marked; an invalid one marks none in particular.
    void open(const QWidget &field, QDate date);

signals:
    /// A day was chosen; the calendar has closed.
    void chosen(QDate date);

protected:
    void hideEvent(QHideEvent *event) override;

private:
    void choose(QDate date);
    QCalendarWidget *m_calendar = nullptr;
    QPointer<QWidget> m_focused; ///< gets the keys back
};

} // namespace dbcontrols
