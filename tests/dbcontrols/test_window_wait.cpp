#include "dbase/Table.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/WindowWait.h"

#include <gtest/gtest.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>
#include <QtGui/QCloseEvent>
#include <QtGui/QExposeEvent>
#include <QtGui/QInputMethodEvent>
#include <QtGui/QWindow>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QWidget>

#include <filesystem>
#include <thread>

namespace
{

using namespace std::chrono_literals;

/// Counts what reaches it, and its window, and whether the pointer told of a wait then.
class Watched : public QWidget
{
public:
    Watched()
    {
        show();
        windowHandle()->installEventFilter(this);
    }
    bool event(QEvent *event) override
    {
        paints += event->type() == QEvent::Paint;
        return QWidget::event(event);
    }
    bool eventFilter(QObject * /*window*/, QEvent *event) override
    {
        if (event->type() == QEvent::Expose) {
            ++exposes;
            toldWaiting = QGuiApplication::overrideCursor() != nullptr;
        }
        return false;
    }
    int paints = 0;
    int exposes = 0;
    bool toldWaiting = false;
};

class WindowWaitTest : public testing::Test
{
protected:
    void SetUp() override
    {
        const std::filesystem::path file =
            std::filesystem::path(m_folder.path().toStdU16String()) / "CITAS.DBF";
        dbase::TableDefinition definition;
        definition.fields = {{"TEXTO", dbase::FieldType::character, 10, 0}};
        ASSERT_TRUE(dbase::Table::create(file, definition).ok());
        dbase::OpenOptions options;
        options.lockTimeout = 10s;
        options.onWait = dbcontrols::windowWait;
        auto mine = dbase::Table::open(file, options);
        ASSERT_TRUE(mine.ok());
        m_mine = std::move(mine).value();
        const auto line = dbase::blankRecord(m_mine->recordLength());
        ASSERT_TRUE(m_mine->append(line).ok());
        auto others = dbase::Table::open(file);
        ASSERT_TRUE(others.ok());
        m_others = std::move(others).value();
    }

    QTemporaryDir m_folder;
    std::unique_ptr<dbase::Table> m_mine;
    std::unique_ptr<dbase::Table> m_others;
};

TEST_F(WindowWaitTest, AWindowWhoseTableWaitsIsShownAgainAndDoesNothingElse)
{
    Watched window;
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QCoreApplication::processEvents();
    const int exposed = window.exposes;

    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
    timer.start(5);
    int fired = 0;
    QTimer::singleShot(5, &window, [&fired] { ++fired; });
    int called = 0;
    dbcontrols::callLater(&window, [&called] { ++called; });
    window.update();
    const int painted = window.paints;

    auto held = m_others->lockRecord(1);
    ASSERT_TRUE(held.ok());
    std::thread colleague([&] {
        std::this_thread::sleep_for(500ms);
        QCoreApplication::postEvent(window.windowHandle(), new QExposeEvent(QRect(0, 0, 50, 50)));
        QCoreApplication::postEvent(window.windowHandle(), new QCloseEvent);
        std::this_thread::sleep_for(300ms);
        held.value().release();
    });
    const auto mine = m_mine->lockRecord(1);
    colleague.join();

    ASSERT_TRUE(mine.ok()) << mine.status().message();
    EXPECT_EQ(window.exposes, exposed + 1);
    EXPECT_TRUE(window.toldWaiting);
    EXPECT_EQ(window.paints, painted);
    EXPECT_EQ(ticks, 0);
    EXPECT_EQ(fired, 0);
    EXPECT_EQ(called, 0);
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);

    QTest::qWait(50);
    EXPECT_GT(ticks, 0);
    EXPECT_EQ(fired, 1);
    EXPECT_EQ(called, 1);
    EXPECT_GT(window.paints, painted);
    EXPECT_FALSE(window.isVisible());
}

// A desktop's input method and a drop of text bring letters by ways of their own, which are no keys.
TEST_F(WindowWaitTest, NoTextArrivesWhileATableWaits)
{
    QLineEdit edit;
    edit.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&edit));
    edit.setFocus();
    auto held = m_others->lockRecord(1);
    ASSERT_TRUE(held.ok());
    std::thread colleague([&] {
        std::this_thread::sleep_for(500ms);
        auto *const typed = new QInputMethodEvent;
        typed->setCommitString("composed");
        QCoreApplication::postEvent(&edit, typed);
        std::this_thread::sleep_for(300ms);
        held.value().release();
    });
    const auto mine = m_mine->lockRecord(1);
    colleague.join();
    ASSERT_TRUE(mine.ok());
    EXPECT_EQ(edit.text(), "");
    QTest::qWait(50);
    EXPECT_EQ(edit.text(), "composed");
}

// Whoever asks a window to close while a table waits sees it closed afterwards.
TEST_F(WindowWaitTest, AWindowThatIsToCloseWhileATableWaitsClosesAfterwards)
{
    QWidget window;
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    auto held = m_others->lockRecord(1);
    ASSERT_TRUE(held.ok());
    std::thread colleague([&] {
        std::this_thread::sleep_for(500ms);
        QMetaObject::invokeMethod(&window, &QWidget::close, Qt::QueuedConnection);
        std::this_thread::sleep_for(300ms);
        held.value().release();
    });
    const auto mine = m_mine->lockRecord(1);
    colleague.join();
    ASSERT_TRUE(mine.ok());
    EXPECT_TRUE(window.isVisible());
    QTest::qWait(50);
    EXPECT_FALSE(window.isVisible());
}

} // namespace
