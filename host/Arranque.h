#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>

/// Waits for the first painting of a modal window, says how long it took from the start of the program, and
/// closes it.
class TMideArranque : public QObject
{
    Q_OBJECT
public:
    /// @param reloj  running since the start; not owned.
    explicit TMideArranque(const QElapsedTimer &reloj);
    bool eventFilter(QObject *objeto, QEvent *evento) override;

private:
    const QElapsedTimer &m_reloj;
    bool m_visto = false;
};
