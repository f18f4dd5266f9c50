// Choosing what of a table is seen, while the disk or the locks fail: the old choice stays, whole.

#include "dataset/DatabaseError.h"
#include "tests/dataset/Tables.h"
#include "tests/driver/FileCalls.h"

#include <QtTest/QSignalSpy>

#include <cerrno>
#include <functional>
#include <optional>

namespace
{

using namespace dataset;
using namespace support;
namespace filecalls = driver::filecalls;

class FailingRanges : public testing::Test
{
protected:
    FailingRanges()
    {
        filecalls::watch(shared.file().parent_path(), false);
        table = shared.opened();
        for (const int date : {1, 2})
            for (const char *hour : {"09:00", "09:30", "10:00"})
                addLine(*table, day(date), hour, QString("%1 %2").arg(date).arg(hour));
    }
    ~FailingRanges() override { filecalls::unwatch(); }
    [[nodiscard]] QString state() const
    {
        QStringList lines{table->indexFieldNames(), table->hasRange() ? "range" : "all", concept_(*table),
                          QString::number(table->currentRow())};
        for (int row = 0; row < table->rowCount(); ++row)
            lines << table->textAt(row, 2);
        return lines.join("; ");
    }
    SharedTable shared;
    std::unique_ptr<DbfTable> table;
};

TEST_F(FailingRanges, LeaveWhatWasSeenBefore)
{
    const struct {
        const char *what;
        std::function<void()> prepare;
        std::function<void()> choose;
        QString done;
    } cases[] = {
        {"another day", [&] { rangeOfDay(*table, day(1)); }, [&] { rangeOfDay(*table, day(2)); },
         "FECHA;HORA; range; 2 09:00; 0; 2 09:00; 2 09:30; 2 10:00"},
        {"the whole table, from an empty day", [&] { rangeOfDay(*table, QDate(2026, 2, 1)); },
         [&] { table->cancelRange(); },
         "FECHA;HORA; all; 1 09:00; 0; 1 09:00; 1 09:30; 1 10:00; 2 09:00; 2 09:30; 2 10:00"},
        {"another order", [&] { rangeOfDay(*table, day(2)); }, [&] { table->setIndexFieldNames("CONCEPTO"); },
         "CONCEPTO; all; 2 09:00; 3; 1 09:00; 1 09:30; 1 10:00; 2 09:00; 2 09:30; 2 10:00"},
    };
    for (const auto &c : cases) {
        int refused = 0;
        for (const filecalls::Call call : {filecalls::Call::read, filecalls::Call::lock}) {
            for (int number = 1;; ++number) {
                table->setIndexFieldNames("FECHA;HORA");
                c.prepare();
                const QString before = state();
                const int current = table->currentRow();
                QSignalSpy reset(table.get(), &DataSet::rowsReset);
                QSignalSpy moved(table.get(), &DataSet::currentChanged);
                filecalls::fail(filecalls::Fault{call, number, EIO, false, false});
                bool failed = false;
                try {
                    c.choose();
                } catch (const EDatabaseError &) {
                    failed = true;
                }
                const bool met = filecalls::faultMet();
                filecalls::fail({});
                if (!met)
                    break;
                if (!failed)
                    continue; // tried again, with success
                ++refused;
                EXPECT_EQ(state(), before) << c.what << ", call " << number;
                EXPECT_EQ(table->currentRow(), current);
                EXPECT_TRUE(reset.isEmpty() && moved.isEmpty()) << c.what << ", call " << number;
            }
        }
        EXPECT_GT(refused, 0) << c.what << ": nothing has been tried";
        c.choose();
        EXPECT_EQ(state(), c.done);
    }
}

// A refresh takes its time, and others write between two of its reads: no row is a line that has gone, or one
// of another day, and the current line says what its row says.
TEST_F(FailingRanges, WhatOthersWriteDuringARefreshIsSeenWholeOrNotYet)
{
    shared.setLockPatience(std::chrono::milliseconds(0)); // while the refresh holds a lock nobody writes
    const auto other = shared.opened();
    rangeOfDay(*table, day(1));
    const auto change = [&](const QString &field, const QVariant &value) {
        other->edit(EditOf::fresh);
        other->field(other->fieldIndex(field)).setText(value.toString());
        other->post();
    };
    const struct {
        const char *what;
        std::function<void()> work;
    } others[] = {
        {"deletes", [&] { other->remove(); }},
        {"moves", [&] { change("FECHA", day(2).toString("dd/MM/yyyy")); }},
        {"writes", [&] { change("CONCEPTO", "theirs"); }},
    };
    int written = 0;
    for (int number = 1; number <= 12; ++number) {
        for (const auto &one : others) {
            addLine(*other, day(1), "08:00", "mine");
            const Bookmark line = other->bookmark();
            table->refresh();
            table->first();
            ASSERT_EQ(table->textAt(0, 2), "mine");
            addLine(*other, day(3), "09:00", "news");
            filecalls::Fault slow{filecalls::Call::read, number};
            slow.late = std::chrono::seconds(1);
            slow.meanwhile = [&] {
                try {
                    ASSERT_TRUE(other->goToBookmark(line));
                    one.work();
                    ++written;
                } catch (const EDatabaseError &) {
                    other->cancel();
                }
            };
            filecalls::fail(slow);
            table->refresh();
            filecalls::fail({});
            for (int row = 0; row < table->rowCount(); ++row)
                EXPECT_EQ(table->valueAt(row, 0).toDate(), day(1)) << one.what << ", call " << number;
            EXPECT_TRUE(table->currentRow() < 0 || table->textAt(table->currentRow(), 2) == concept_(*table))
                << one.what << ", call " << number;
            if (other->goToBookmark(line))
                other->remove();
        }
    }
    EXPECT_GT(written, 10);
}

TEST_F(FailingRanges, ALineThatIsMovedWhileOneGoesToItIsNoneOfTheDay)
{
    const auto other = shared.opened();
    const Bookmark line = other->bookmark();
    const auto moveTo = [&](const QDate &date) {
        other->edit(EditOf::fresh);
        other->field(u"FECHA").setDate(date);
        other->post();
    };
    bool met = true;
    int number = 1;
    for (; met; ++number) {
        rangeOfDay(*table, day(1));
        table->last();
        addLine(*other, day(3), "09:00", "news"); // so that the table is looked at
        ASSERT_TRUE(other->goToBookmark(line));
        filecalls::Fault slow{filecalls::Call::read, number};
        slow.late = std::chrono::seconds(1);
        slow.meanwhile = [&] { moveTo(day(2)); };
        filecalls::fail(slow);
        const bool there = table->goToBookmark(line);
        met = filecalls::faultMet();
        filecalls::fail({});
        EXPECT_EQ(table->field(u"FECHA").asDate(), day(1)) << there << ", call " << number;
        if (met)
            moveTo(day(1));
    }
    EXPECT_GT(number, 2) << "nothing has been tried";
    // Not either where what was being typed is stored on the way.
    rangeOfDay(*table, day(1));
    table->last();
    table->edit();
    table->field(u"CONCEPTO").setText("typed");
    ASSERT_TRUE(other->goToBookmark(line));
    moveTo(day(2));
    table->setCurrentRow(table->rowOf(line));
    EXPECT_EQ(concept_(*table), "typed");
    EXPECT_EQ(table->currentRow(), 1);
}

TEST_F(FailingRanges, ARowThatIsMovedBeforeItIsLookedAtIsNoneOfTheDay)
{
    const auto other = shared.opened();
    rangeOfDay(*table, day(1));
    table->last();
    const Bookmark line = table->bookmarkAt(1);
    const KeptView view = table->keepView();
    rangeOfDay(*table, day(2)); // what was read ahead of the rows is gone
    ASSERT_TRUE(other->goToBookmark(line));
    other->edit(EditOf::fresh);
    other->field(u"FECHA").setDate(day(2));
    other->post();
    table->showAgain(view);
    ASSERT_EQ(table->bookmarkAt(1), line);
    EXPECT_FALSE(table->valueAt(1, 0).isValid()) << "a line of another day among those of this one";
    EXPECT_THROW(table->edit(table->seen(line)), EDatabaseError);
    EXPECT_EQ(concept_(*table), "1 10:00") << "nobody is led to what he has not seen";
    EXPECT_EQ(table->rowCount(), 2);
}

TEST_F(FailingRanges, ALineThatComesBackIsShownAsItIs)
{
    const auto other = shared.opened();
    rangeOfDay(*table, day(1));
    const Bookmark line = table->bookmarkAt(1);
    const auto moveTo = [&](const QDate &date) {
        ASSERT_TRUE(other->goToBookmark(line));
        other->edit(EditOf::fresh);
        other->field(u"FECHA").setDate(date);
        other->post();
    };
    EXPECT_EQ(table->valueAt(1, 0).toDate(), day(1)); // it has been seen
    moveTo(day(2));
    table->edit(); // takes in what others have written
    EXPECT_EQ(table->rowOf(line), -1);
    moveTo(day(1));
    table->field(u"CONCEPTO").setText("own");
    table->post();
    EXPECT_EQ(table->rowOf(line), 1);
    EXPECT_EQ(table->valueAt(1, 0).toDate(), day(1));
}

TEST_F(FailingRanges, AnIndexThatCannotBeReadIsAFailureToldAndNothingMore)
{
    // A table that may not be written keeps an index of its own in memory, and makes it anew after a change.
    const auto reader = shared.cursor();
    reader->setOpenReadOnly(true);
    reader->setIndexFieldNames("CONCEPTO");
    reader->open();
    EXPECT_EQ(concept_(*reader), "1 09:00");
    int refused = 0;
    for (int number = 1;; ++number) {
        reader->setIndexFieldNames("");
        addLine(*table, day(3), "09:00", QString(number, '0'));
        filecalls::fail(filecalls::Fault{filecalls::Call::read, number, EIO, true, false});
        try {
            reader->refresh();
        } catch (const EDatabaseError &error) {
            EXPECT_EQ(error.kind(), dbase::ErrorKind::inputOutput);
        }
        try {
            reader->setIndexFieldNames("CONCEPTO");
        } catch (const EDatabaseError &error) {
            EXPECT_EQ(error.kind(), dbase::ErrorKind::inputOutput) << error.what();
            EXPECT_EQ(reader->indexFieldNames(), "");
            ++refused;
        }
        const bool met = filecalls::faultMet();
        filecalls::fail({});
        reader->refresh();
        reader->setIndexFieldNames("CONCEPTO");
        reader->first();
        EXPECT_EQ(concept_(*reader), "0");
        if (!met)
            break;
    }
    EXPECT_GT(refused, 0);
}

TEST_F(FailingRanges, ALockIsTriedForAsLongAsTheTableWasTold)
{
    const struct {
        std::chrono::milliseconds ofTheAliases;
        std::optional<std::chrono::milliseconds> ofTheTable;
        bool triesAgain;
    } cases[] = {{std::chrono::milliseconds(0), {}, false},
                 {std::chrono::milliseconds(500), {}, true},
                 {std::chrono::milliseconds(500), std::chrono::milliseconds(0), false},
                 {std::chrono::milliseconds(0), std::chrono::milliseconds(500), true}};
    table->first();
    table->edit();
    for (const auto &c : cases) {
        shared.setLockPatience(c.ofTheAliases);
        const auto other = shared.cursor();
        if (c.ofTheTable)
            other->setLockPatience(*c.ofTheTable);
        other->open();
        EXPECT_THROW(other->setLockPatience(std::chrono::milliseconds(1)), EDatabaseError) << "open already";
        filecalls::fail(filecalls::Fault{filecalls::Call::lock, 5, EIO, false, false});
        EXPECT_THROW(other->edit(), EDatabaseError);
        EXPECT_EQ(filecalls::faultMet(), c.triesAgain);
        filecalls::fail({});
    }
}

} // namespace
