// The grid, its model and the memo over a data set in memory.

#include "dataset/MemTable.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/DbMemo.h"

#include <gtest/gtest.h>

#include <QtCore/QRandomGenerator>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QTest>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QVBoxLayout>

namespace
{

using dataset::FieldKind;
using dataset::MemTable;
using dbcontrols::DataSource;
using dbcontrols::DbGrid;
using dbcontrols::DbMemo;

class GridTest : public testing::Test
{
protected:
    GridTest()
    {
        table.create(
            {{"HORA", FieldKind::text, 5}, {"TEXTO", FieldKind::text, 10}, {"N", FieldKind::integer, 4}});
        table.setIndexFieldNames("HORA");
        for (const char *hour : {"09:00", "10:00", "11:00", "12:00"})
            add(hour);
        table.first();
        source.setDataSet(&table);
        grid = new DbGrid(&window);
        memo = new DbMemo(&window);
        auto *const layout = new QVBoxLayout(&window);
        layout->addWidget(grid);
        layout->addWidget(memo);
        grid->setColumns({{"Hora", "HORA", 60}, {"Texto", "TEXTO", 200}, {"N", "N", 50}});
        grid->setDataSource(&source);
        memo->setField("TEXTO");
        memo->setDataSource(&source);
        window.resize(400, 300);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        grid->setFocus();
    }
    void add(const QString &hour)
    {
        table.append();
        table.field(u"HORA").setText(hour);
        table.field(u"TEXTO").setText("t" + hour);
        table.post();
    }
    void key(Qt::Key which, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(window.windowHandle(), which, modifiers);
        QCoreApplication::processEvents();
    }
    void type(const char *text) { QTest::keyClicks(&window, text), QCoreApplication::processEvents(); }
    void click(int row, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, modifiers,
                          grid->visualRect(grid->model()->index(row, 1)).center());
        QCoreApplication::processEvents();
    }
    QStringList selected()
    {
        QStringList hours;
        for (const auto bookmark : grid->selectedBookmarks())
            hours << table.textAt(table.rowOf(bookmark), 0);
        return hours;
    }

    MemTable table;
    DataSource source;
    QWidget window;
    DbGrid *grid = nullptr;
    DbMemo *memo = nullptr;
};

// Rows that have gone while nobody was told are none to go to: the set would stand outside its range.
TEST_F(GridTest, ARowThatIsOneNoMoreIsNotGoneTo)
{
    table.setRange({{"HORA", "09:00"}}, {{"HORA", "12:00"}});
    {
        const dataset::ControlsGuard quiet(table);
        table.last();
        table.edit();
        table.field(u"HORA").setText("20:00");
        table.post();
        table.first();
        click(3);
        EXPECT_EQ(table.field(u"HORA").asText(), "09:00");
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(grid->model()->rowCount(), 3);
    EXPECT_EQ(grid->currentIndex().row(), 0);
}

TEST_F(GridTest, CurrentRowIsTheCurrentRecordBothWays)
{
    key(Qt::Key_Down);
    key(Qt::Key_Down);
    EXPECT_EQ(table.currentRow(), 2);
    EXPECT_EQ(memo->toPlainText(), "t11:00");
    table.first();
    EXPECT_EQ(grid->currentIndex().row(), 0);
    EXPECT_EQ(memo->toPlainText(), "t09:00");
    click(3);
    EXPECT_EQ(table.currentRow(), 3);
}

TEST_F(GridTest, ANewLineIsSeenWhole)
{
    for (int minute = 0; minute < 30; ++minute) {
        add(QStringLiteral("13:%1").arg(minute, 2, 10, QLatin1Char('0')));
        const QRect row = grid->visualRect(grid->currentIndex());
        EXPECT_TRUE(grid->viewport()->rect().contains(row.topLeft())) << minute;
        EXPECT_LT(row.bottom(), grid->viewport()->height()) << minute;
    }
}

TEST_F(GridTest, SelectionKeepsItsOrderAndOutlivesChanges)
{
    click(2);
    click(0, Qt::ControlModifier);
    click(3, Qt::ControlModifier);
    EXPECT_EQ(selected(), (QStringList{"11:00", "09:00", "12:00"}));
    add("08:00");
    QCoreApplication::processEvents();
    EXPECT_EQ(selected(), (QStringList{"11:00", "09:00", "12:00"}));
    EXPECT_TRUE(grid->selectionModel()->isRowSelected(1, {})) << "the painted rows follow";
    table.locate({{"HORA", "09:00"}}, dataset::SearchMode::exact);
    table.remove();
    QCoreApplication::processEvents();
    EXPECT_EQ(selected(), (QStringList{"11:00", "12:00"}));
    click(3);
    click(1, Qt::ShiftModifier);
    EXPECT_EQ(selected(), (QStringList{"12:00", "11:00", "10:00"})) << "from the first clicked to the last";
    key(Qt::Key_Down);
    EXPECT_TRUE(selected().isEmpty());
}

TEST_F(GridTest, EditsInPlaceAndRefusesWhatDoesNotFit)
{
    click(1);
    QTest::keyClick(window.windowHandle(), Qt::Key_F2);
    EXPECT_TRUE(grid->isEditorOpen());
    EXPECT_FALSE(table.isEditing()) << "looking is not changing";
    QTest::keyClicks(QApplication::focusWidget(), "nuevo");
    EXPECT_TRUE(table.isEditing());
    key(Qt::Key_Tab);
    EXPECT_EQ(table.field(u"TEXTO").asText(), "nuevo");
    EXPECT_EQ(grid->currentIndex().column(), 2);
    QString failure;
    QObject::connect(grid, &DbGrid::failed, &window, [&](const QString &text) { failure = text; });
    QTest::keyClick(window.windowHandle(), Qt::Key_F2);
    QTest::keyClicks(QApplication::focusWidget(), "doce");
    key(Qt::Key_Tab);
    EXPECT_TRUE(failure.contains("doce")) << failure.toStdString();
    EXPECT_TRUE(grid->isEditorOpen()) << "what was typed stays before the user's eyes";
    int failures = 0;
    QObject::connect(grid, &DbGrid::failed, &window, [&failures] { ++failures; });
    click(3);
    QTest::qWait(20);
    EXPECT_LE(failures, 2) << "by what the editor and the grid were left with, and no more";
    EXPECT_EQ(grid->currentIndex(), grid->model()->index(1, 2));
    EXPECT_TRUE(grid->isEditorOpen());
    key(Qt::Key_Escape);
    EXPECT_FALSE(table.isEditing());
    EXPECT_EQ(table.textAt(1, 1), "t10:00");
}

TEST_F(GridTest, WhatIsTooLongIsRefusedAtTheKeyboard)
{
    click(0);
    QTest::keyClick(window.windowHandle(), Qt::Key_F2);
    auto *const editor = qobject_cast<QLineEdit *>(QApplication::focusWidget());
    ASSERT_TRUE(editor);
    QTest::keyClicks(editor, "12345678901234");
    EXPECT_EQ(editor->text(), "1234567890") << "ten characters wide";
}

// The model tells its views exactly what the data set told it: Qt's own tester watches every notice.
TEST_F(GridTest, TheModelKeepsTheViewsContract)
{
    const QAbstractItemModelTester tester(grid->model(),
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    QRandomGenerator random(3);
    for (int step = 0; step < 200; ++step) {
        const auto action = table.isEmpty() ? 0U : random.bounded(4U);
        if (action == 0) {
            add(QString("%1:%2").arg(random.bounded(10, 20)).arg(random.bounded(10, 60)));
            continue;
        }
        table.setCurrentRow(int(random.bounded(unsigned(table.rowCount()))));
        if (action == 1) {
            table.remove();
        } else if (action == 2) {
            table.edit();
            table.field(u"HORA").setText(QString("%1:00").arg(random.bounded(10, 20)));
            table.post();
        } else {
            table.setRange({{"HORA", "10:00"}}, {{"HORA", QString("%1:00").arg(random.bounded(12, 20))}});
        }
        QCoreApplication::processEvents();
        ASSERT_EQ(grid->model()->rowCount(), table.rowCount());
        ASSERT_EQ(grid->currentIndex().row(), table.currentRow());
    }
}

} // namespace
