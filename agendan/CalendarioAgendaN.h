#pragma once

#include <QtCore/QDate>
#include <QtCore/QPointer>
#include <QtWidgets/QFrame>

class QCalendarWidget;

/// A month that drops down under a date field. The arrows go from day to day, the page keys from month to
/// month; Enter or a click chooses, Esc leaves everything as it was.
class TCalendarioAgendaN : public QFrame
{
    Q_OBJECT
public:
    explicit TCalendarioAgendaN(QWidget *padre);
    ~TCalendarioAgendaN() override;

    /// Drops down under a control, or above it where the screen ends.
    /// @param fecha  the day that is marked; an invalid one marks none in particular.
    void Abre(const QWidget &campo, QDate fecha);

signals:
    /// A day was chosen; the calendar has closed.
    void Elegida(QDate fecha);

protected:
    void hideEvent(QHideEvent *evento) override;

private:
    void Elige(QDate fecha);
    QCalendarWidget *m_calendario = nullptr;
    QPointer<QWidget> m_conFoco; ///< gets the keys back
};
