// Changes while a file call fails, one call after the other: what is in the table is told as done, and what
// is not is told as refused.

#include "dataset/DatabaseError.h"
#include "tests/dataset/Tables.h"
#include "tests/dataset/Watcher.h"
#include "tests/driver/FileCalls.h"

#include <cerrno>
#include <functional>

namespace
{

using namespace dataset;
using namespace support;
namespace filecalls = driver::filecalls;

QStringList linesOf(DataSet &table)
{
    QStringList lines;
    for (int row = 0; row < table.rowCount(); ++row)
        lines << table.textAt(row, 1) + u' ' + table.textAt(row, 2);
    return lines;
}

void write(DataSet &table, const QString &text)
{
    table.field(u"CONCEPTO").setText(text);
    table.post();
}

TEST(FailingChanges, AreToldAsDoneExactlyWhenTheyAre)
{
    const struct {
        const char *what;
        std::function<void(DataSet &)> change;
        QStringList done;
        QString current; ///< line afterwards
    } cases[] = {
        {"a line is changed",
         [](DataSet &table) {
             table.edit();
             write(table, "new");
         },
         {"09:00 a", "09:30 new", "10:00 c"},
         "new"},
        {"a line is added",
         [](DataSet &table) { addLine(table, day(1), "09:45", "new"); },
         {"09:00 a", "09:30 b", "09:45 new", "10:00 c"},
         "new"},
        {"a line is deleted", [](DataSet &table) { table.remove(); }, {"09:00 a", "10:00 c"}, "c"},
        {"a line goes to another hour in one commit",
         [](DataSet &table) {
             CommitGroup together(table);
             table.remove();
             addLine(table, day(1), "11:00", "new");
             together.commit();
         },
         {"09:00 a", "10:00 c", "11:00 new"},
         "new"},
    };
    for (const auto &c : cases) {
        int refused = 0;
        int caughtUp = 0;
        for (const filecalls::Call call :
             {filecalls::Call::read, filecalls::Call::map, filecalls::Call::lock}) {
            bool met = true;
            for (int number = 1; met; ++number) {
                const SharedTable shared;
                filecalls::watch(shared.file().parent_path(), false);
                const auto table = shared.opened();
                for (const char *line : {"09:00 a", "09:30 b", "10:00 c"})
                    addLine(*table, day(1), QString(line).left(5), QString(line).mid(6));
                rangeOfDay(*table, day(1));
                const QStringList before = linesOf(*table);
                table->setCurrentRow(1);
                const Watcher watcher(*table);
                bool told = true;
                filecalls::fail(filecalls::Fault{call, number, EIO, false, false});
                try {
                    c.change(*table);
                } catch (const EDatabaseError &) {
                    told = false;
                    if (table->isEditing())
                        table->cancel();
                }
                met = filecalls::faultMet();
                filecalls::fail({});
                SCOPED_TRACE(std::string(c.what) + ", call " + std::to_string(number) + " of kind " +
                             std::to_string(static_cast<int>(call)));
                const auto other = shared.opened();
                rangeOfDay(*other, day(1));
                EXPECT_EQ(linesOf(*other), told ? c.done : before);
                EXPECT_GE(table->rowCount(), 2) << "a question in between, from which nobody else learns";
                table->refresh();
                EXPECT_EQ(linesOf(*table), told ? c.done : before);
                EXPECT_EQ(watcher.rows, linesOf(*table)) << "by what it was told alone";
                EXPECT_GE(table->currentRow(), 0);
                if (told && !met) {
                    EXPECT_EQ(concept_(*table), c.current);
                }
                refused += told ? 0 : 1;
                caughtUp += told && met ? 1 : 0;
            }
        }
        filecalls::unwatch();
        EXPECT_GT(refused, 0) << c.what;
        EXPECT_GT(caughtUp, 0) << c.what;
    }
}

TEST(FailingChanges, WhatARefusedDeletionCouldNotReadIsTakenInByTheNextCommand)
{
    int unread = 0;
    bool met = true;
    for (int number = 1; met; ++number) {
        const SharedTable shared;
        filecalls::watch(shared.file().parent_path(), false);
        const auto table = shared.opened();
        addLine(*table, day(1), "09:00", "mine");
        rangeOfDay(*table, day(1));
        EXPECT_EQ(linesOf(*table), QStringList{"09:00 mine"});
        const auto other = shared.opened();
        other->edit();
        write(*other, "theirs");
        for (const char *const kind : {".DBF", ".JNL"}) { // long ago: the files' times leave no doubt
            std::filesystem::path file = shared.file();
            file.replace_extension(kind);
            std::filesystem::last_write_time(file,
                                             std::filesystem::last_write_time(file) - std::chrono::hours(1));
        }
        filecalls::fail(filecalls::Fault{filecalls::Call::read, number, EIO, false, false});
        try {
            table->remove();
            ADD_FAILURE() << "deleted unseen, call " << number;
        } catch (const EDatabaseError &error) {
            unread += error.kind() == dbase::ErrorKind::conflict ? 0 : 1;
        }
        met = filecalls::faultMet();
        filecalls::fail({});
        table->edit(EditOf::fresh);
        EXPECT_EQ(concept_(*table), "theirs") << "call " << number;
        table->cancel();
    }
    filecalls::unwatch();
    EXPECT_GT(unread, 1);
}

TEST(FailingChanges, ARefreshThatCannotReadAllShowsNoLineOfAnotherDay)
{
    int refused = 0;
    bool met = true;
    for (int number = 1; met; ++number) {
        const SharedTable shared;
        filecalls::watch(shared.file().parent_path(), false);
        const auto table = shared.opened();
        for (const char *const hour : {"09:00", "09:30", "10:00"})
            addLine(*table, day(1), hour, "a");
        rangeOfDay(*table, day(1));
        table->first();
        EXPECT_EQ(linesOf(*table).size(), 3);
        const auto other = shared.opened();
        other->setCurrentRow(number % 2); // the line under the keys, or another one
        other->edit();
        other->field(u"FECHA").setDate(day(2));
        other->post();
        filecalls::fail(filecalls::Fault{filecalls::Call::read, number, EIO, false, false});
        try {
            table->refresh();
        } catch (const EDatabaseError &) {
            ++refused;
        }
        met = filecalls::faultMet();
        filecalls::fail({});
        for (int row = 0; row < table->rowCount(); ++row)
            EXPECT_EQ(table->valueAt(row, 0).toDate(), day(1)) << "call " << number << ", row " << row;
        table->refresh();
        EXPECT_EQ(table->rowCount(), 2);
        EXPECT_EQ(table->valueAt(table->currentRow(), 0).toDate(), day(1));
    }
    filecalls::unwatch();
    EXPECT_GT(refused, 1);
}

} // namespace
