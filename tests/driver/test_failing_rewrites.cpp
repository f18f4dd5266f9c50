// A table that gives way to a new file while calls fail, each in turn: its lines are the old ones or the new
// ones, as was answered, and what lies aside are the old ones.

#include "tests/driver/AgendaTable.h"
#include "tests/driver/FileCalls.h"
#include "tests/driver/PowerCut.h"
#include "tests/support/EraseLine.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace
{

using namespace driver;
using filecalls::Call;
using filecalls::Fault;

constexpr auto shortPatience = std::chrono::milliseconds(40);

struct RewriteFault {
    std::optional<Call> call;
    int error;
    bool staysBroken;
};

const RewriteFault rewriteFaults[] = {
    {Call::rename, EACCES, true}, {Call::open, EMFILE, false}, {Call::open, EMFILE, true},
    {Call::write, ENOSPC, false}, {Call::write, ENOSPC, true}, {Call::flush, EIO, false},
    {Call::flush, EIO, true},     {Call::read, EIO, false},    {Call::read, EIO, true},
    {Call::size, EIO, false},     {Call::length, EIO, false},  {Call::lock, ENOLCK, true},
    {{}, ESTALE, true},
};

Bytes liveLines(const dbase::Table &table)
{
    std::vector<dbase::RecordNumber> numbers;
    Bytes rows;
    EXPECT_TRUE(table.liveRows(nullptr, {}, {}, numbers, rows).ok());
    return rows;
}

/// One replacement of the lines in which a call fails.
/// @return whether there were that many calls.
bool replaceWith(const Image &start, const RewriteFault &kind, int number)
{
    const support::TempFolder folder;
    writeImage(folder.path(), start);
    const auto aside = folder.path() / "AGENDA_N.ANTES";
    const std::string file = support::readFile(folder.path() / "AGENDA_N.DBF");
    filecalls::watch(folder.path(), false);
    AgendaTable agenda;
    EXPECT_TRUE(agenda.open(folder.path(), shortPatience).ok());
    const Bytes before = liveLines(agenda.table());
    const Bytes after(before.begin(), before.begin() + static_cast<long>(agenda.table().recordLength()));
    const auto held = agenda.table().lockRecord(2); // given back to whatever file there is in the end
    filecalls::fail(Fault{kind.call, number, kind.error, kind.staysBroken, false});
    const dbase::Status status = agenda.table().replaceLines(after, aside);
    const bool met = filecalls::faultMet();
    filecalls::fail({});
    if (kind.call == Call::rename && met) {
        EXPECT_EQ(status.kind(), dbase::ErrorKind::inputOutput);
        EXPECT_EQ(liveLines(agenda.table()), before) << "the table goes on with its old file";
        EXPECT_TRUE(support::eraseLine(agenda.table(), 1).ok());
        EXPECT_TRUE(agenda.table().replaceLines(before, {}).ok());
    }
    std::ignore = agenda.close();
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "AGENDA_N.DBF.PCK"));
    // Only a step that the disk has not confirmed is a failure that leaves the copy to go back to.
    const bool kept = std::filesystem::exists(aside);
    const bool unsure = !status.ok() && kept;
    EXPECT_TRUE(kept || !status.ok());
    EXPECT_TRUE(!unsure || status.message().find("a medias") != std::string::npos) << status.message();
    if (kept) {
        EXPECT_EQ(support::readFile(aside), file);
    }
    EXPECT_TRUE(agenda.open(folder.path(), shortPatience).ok());
    const Bytes now = liveLines(agenda.table());
    EXPECT_TRUE(now == (status.ok() ? after : before) || (unsure && now == after)) << status.message();
    EXPECT_TRUE(agenda.table().check().ok());
    filecalls::unwatch();
    return met;
}

TEST(FailingRewrites, LeaveTheLinesThatWereAnswered)
{
    const support::TempFolder folder;
    ASSERT_TRUE(AgendaTable::create(folder.path()).ok());
    const Image start = readImage(folder.path());
    for (const RewriteFault &kind : rewriteFaults) {
        int number = 1;
        for (bool met = true; met && !HasFailure(); ++number) {
            SCOPED_TRACE("call " + (kind.call ? std::to_string(static_cast<int>(*kind.call)) : "any") +
                         (kind.staysBroken ? " from then on, " : ", ") + std::to_string(number));
            met = replaceWith(start, kind, number);
        }
        EXPECT_TRUE(number > 2 || kind.call == Call::size || HasFailure()) << "never met";
    }
}

/// A table that is packed after somebody has opened its file and before it has joined: journal and index are
/// the new file's, and who still has the old one leaves them alone.
TEST(Displaced, AnOpenerThatWaitedWritesNothingForTheOldFile)
{
    const support::TempFolder folder;
    ASSERT_TRUE(AgendaTable::create(folder.path()).ok());
    const auto jnl = folder.path() / "AGENDA_N.JNL";
    const auto mdx = folder.path() / "AGENDA_N.MDX";
    std::string journal;
    std::string index;
    filecalls::watch(folder.path(), false);
    filecalls::beforeLockOfJournal([&] {
        AgendaTable other;
        ASSERT_TRUE(other.open(folder.path(), shortPatience).ok());
        ASSERT_TRUE(support::eraseLine(other.table(), 1).ok());
        ASSERT_TRUE(other.table().pack().ok());
        ASSERT_TRUE(other.close().ok());
        journal = support::readFile(jnl);
        index = support::readFile(mdx);
    });
    AgendaTable agenda;
    ASSERT_TRUE(agenda.open(folder.path(), shortPatience).ok());
    EXPECT_FALSE(journal.empty());
    EXPECT_EQ(agenda.table().recordCount(), 3U);
    EXPECT_TRUE(support::readFile(jnl) == journal);
    EXPECT_TRUE(support::readFile(mdx) == index);
    filecalls::unwatch();
}

/// A program that knows nothing of the journal puts another file there while the table is open.
TEST(Displaced, LeavingATableWritesNothingAboutTheNewFile)
{
    const support::TempFolder folder;
    ASSERT_TRUE(AgendaTable::create(folder.path()).ok());
    const auto file = folder.path() / "AGENDA_N.DBF";
    const auto jnl = folder.path() / "AGENDA_N.JNL";
    AgendaTable agenda;
    ASSERT_TRUE(agenda.open(folder.path(), shortPatience).ok());
    ASSERT_TRUE(support::eraseLine(agenda.table(), 1).ok());
    std::filesystem::copy_file(file, folder.path() / "otra");
    std::filesystem::rename(folder.path() / "otra", file);
    const std::string journal = support::readFile(jnl);
    EXPECT_FALSE(agenda.close().ok()) << "what was written is in a file that nobody finds";
    EXPECT_TRUE(support::readFile(jnl) == journal);
}

} // namespace
