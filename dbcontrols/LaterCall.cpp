#include "dbcontrols/LaterCall.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QObject>
#include <QtCore/QPointer>

#include <memory>

namespace dbcontrols
{

namespace
{

/// Holds one call until its event arrives. Its parent owns it till then.
class LaterCall : public QObject
{
public:
    LaterCall(QObject *context, std::function<void()> call)
        : QObject(context)
        , m_call(std::move(call))
    {
    }

    bool event(QEvent *event) override
    {
        if (event->type() != laterCallEvent())
            return QObject::event(event);
        const auto call = std::move(m_call);
        const QPointer<LaterCall> self(this); // the call may end the parent, and this with it
        call();
        if (self)
            deleteLater();
        return true;
    }

private:
    std::function<void()> m_call;
};

} // namespace

void callLater(QObject *context, std::function<void()> call)
{
    auto later = std::make_unique<LaterCall>(context, std::move(call));
    QCoreApplication::postEvent(later.release(), new QEvent(laterCallEvent())); // the parent owns it
}

QEvent::Type laterCallEvent()
{
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

} // namespace dbcontrols
