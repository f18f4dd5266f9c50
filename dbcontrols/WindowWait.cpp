#include "dbcontrols/WindowWait.h"

#include "dbcontrols/LaterCall.h"

#include <QtCore/QPointer>
#include <QtCore/QThread>
#include <QtGui/QGuiApplication>
#include <QtWidgets/QWidget>

#include <thread>
#include <vector>

namespace dbcontrols
{

namespace
{

using std::chrono::milliseconds;

/// Most waits end within it; a pointer that changes for less only flickers.
constexpr milliseconds quiet{200};

class WindowWait : public QObject, public dbase::LockWait
{
public:
    WindowWait() = default;
    ~WindowWait() override;
    void pause(milliseconds time) override;
    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    struct PutOff {
        QPointer<QObject> receiver;
        std::unique_ptr<QEvent> event;
    };

    milliseconds m_waited{0};
    bool m_shown = false;
    std::vector<PutOff> m_putOff; ///< in the order in which they came
    std::vector<QPointer<QWidget>> m_unpainted;
};

WindowWait::~WindowWait()
{
    if (!m_shown)
        return;
    QCoreApplication::instance()->removeEventFilter(this);
    QGuiApplication::restoreOverrideCursor();
    for (PutOff &later : m_putOff) {
        if (later.receiver)
            QCoreApplication::postEvent(later.receiver, later.event.release());
    }
    for (const QPointer<QWidget> &widget : m_unpainted) {
        if (widget)
            widget->update();
    }
}

void WindowWait::pause(milliseconds time)
{
    using Clock = std::chrono::steady_clock;
    const auto until = Clock::now() + time;
    m_waited += time;
    if (m_waited > quiet && QCoreApplication::instance()) {
        if (!m_shown) {
            m_shown = true;
            QGuiApplication::setOverrideCursor(Qt::WaitCursor);
            QCoreApplication::instance()->installEventFilter(this);
        }
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents |
                                        QEventLoop::ExcludeSocketNotifiers);
    }
    std::this_thread::sleep_until(until);
}

/// @return true for what must not reach the program in the middle of an operation.
bool WindowWait::eventFilter(QObject *receiver, QEvent *event)
{
    const auto type = event->type();
    switch (type) {
    case QEvent::Timer:
        return true; // also one that fires once comes again
    case QEvent::Paint:
        // A window is shown again as it was kept; what is to be new in it would have to be read.
        if (auto *const widget = qobject_cast<QWidget *>(receiver)) {
            m_unpainted.emplace_back(widget);
            return true;
        }
        return false;
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        event->ignore(); // it can be done again
        return true;
    case QEvent::InputMethod:
        // Letters of the desktop's input method are keys: they go to whoever has the focus then.
        callLater(QCoreApplication::instance(), [letters = std::shared_ptr<QEvent>(event->clone())] {
            if (QObject *const focus = QGuiApplication::focusObject())
                QCoreApplication::sendEvent(focus, letters.get());
        });
        return true;
    case QEvent::ApplicationStateChange:
    case QEvent::Close:
    case QEvent::FocusAboutToChange:
    case QEvent::FocusIn:
    case QEvent::FocusOut:
    case QEvent::Hide:
    case QEvent::LayoutRequest:
    case QEvent::Move:
    case QEvent::Quit:
    case QEvent::Resize:
    case QEvent::Show:
    case QEvent::UpdateRequest:
    case QEvent::WindowActivate:
    case QEvent::WindowDeactivate:
    case QEvent::WindowStateChange:
        break;
    default:
        if (type != laterCallEvent())
            return false;
    }
    m_putOff.push_back({receiver, std::unique_ptr<QEvent>(event->clone())});
    event->ignore();
    return true;
}

} // namespace

std::unique_ptr<dbase::LockWait> windowWait()
{
    const auto *const application = QCoreApplication::instance();
    if (!application || application->thread() != QThread::currentThread())
        return nullptr;
    return std::make_unique<WindowWait>();
}

} // namespace dbcontrols
