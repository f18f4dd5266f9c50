#include "dbcontrols/LaterCall.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QObject>

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
        deleteLater();
        const auto call = std::move(m_call); // which may end the parent, and this with it
        call();
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
