// A workstation behind a slow line, and what it believes of a table that others have changed while it was not
// heard of.

#include "dbase/File.h"
#include "tests/driver/Desk.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <iostream>
#include <random>
#include <utility>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace driver;
using filecalls::Call;
using filecalls::Fault;
using filecalls::Plant;
using filecalls::Share;

/// A commit that others have finished, and added lines behind: the next line of one's own does not lie on
/// theirs.
TEST(SlowLines, LinesThatOthersHaveAddedMeanwhileAreNotWrittenOver)
{
    for (const bool answerIsLate : {true, false}) {
        for (const bool adds : {true, false}) {
            bool met = true;
            for (int number = 1; met; ++number) {
                SCOPED_TRACE(std::to_string(number) + (answerIsLate ? ", answer" : "") +
                             (adds ? ", adds" : ""));
                Office office(Share::smb, Plant::none, true);
                office.both();
                Desk two(office, 2);
                Desk one(office, 1);
                std::mt19937 random(7);
                dbase::RecordNumber theirs = 0;
                Fault fault = lateCall(Call::write, number, longAway, [&] {
                    filecalls::loseLocks(1);
                    two.sit();
                    static_cast<void>(two.give(2, "v8").ok()); // finishes what was begun
                    const auto added = two->table().append(two->line("w2-x", "v2", random));
                    theirs = added.ok() ? added.value() : 0;
                    one.sit();
                });
                fault.answerIsLate = answerIsLate;
                filecalls::fail(fault);
                const bool own =
                    adds ? one->table().append(one->line("w1-x", "v1", random)).ok() : one.give(1, "v1").ok();
                met = filecalls::faultMet();
                filecalls::fail({});
                const bool again = one->table().append(one->line("w1-y", "v3", random)).ok();
                if (theirs != 0) {
                    EXPECT_EQ(valueOf(two, theirs), "v2") << own << again;
                    EXPECT_TRUE(two->table().refresh().ok());
                    EXPECT_EQ(two->find("w2-x").value(), theirs) << own << again;
                }
                two.sit();
                const auto all = two->readAll();
                EXPECT_TRUE(all.ok()) << all.status().message() << own << again;
            }
        }
    }
}

/// Bytes of a line of the table, and where it stands.
struct ForeignTable {
    explicit ForeignTable(const std::filesystem::path &folder)
        : file(folder / "AGENDA_N.DBF")
        , bytes(support::readFile(file))
    {
    }
    [[nodiscard]] std::uint32_t at(std::size_t place, std::size_t size) const
    {
        std::uint32_t value = 0;
        for (std::size_t i = size; i-- > 0;)
            value = value * 256 + static_cast<unsigned char>(bytes[place + i]);
        return value;
    }
    /// What a program without a journal does under the table's lock: a copy of the first line, behind the
    /// last one.
    [[nodiscard]] std::uint32_t append() const
    {
        const std::uint32_t count = at(4, 4);
        const std::uint32_t head = at(8, 2);
        const std::uint32_t length = at(10, 2);
        std::string line = bytes.substr(head, length);
        line.push_back('\x1a');
        const int descriptor = ::open(file.c_str(), O_RDWR);
        EXPECT_GT(::pwrite(descriptor, line.data(), line.size(), head + static_cast<off_t>(count) * length),
                  0);
        const std::array<char, 4> more{static_cast<char>(count + 1), 0, 0, 0};
        EXPECT_EQ(::pwrite(descriptor, more.data(), more.size(), 4), 4);
        ::close(descriptor);
        return count + 1;
    }
    std::filesystem::path file;
    std::string bytes;
};

/// A program without a journal has had the lock meanwhile, and written a line.
TEST(SlowLines, AnotherProgramsLineIsNotWrittenOverByALateOne)
{
    bool met = true;
    for (int number = 1; met && number < 3; ++number) { // until the line itself is written
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        office.both();
        Desk one(office, 1);
        std::mt19937 random(7);
        std::uint32_t theirs = 0;
        filecalls::fail(lateCall(Call::write, number, longAway, [&] {
            if (number == 1) {
                filecalls::loseLocks(1);
                filecalls::asWorkstation(2);
                theirs = ForeignTable(office.place()).append();
                one.sit();
            }
        }));
        const auto added = one->table().append(one->line("w1-x", "v1", random));
        met = filecalls::faultMet();
        filecalls::fail({});
        if (theirs != 0) {
            EXPECT_EQ(valueOf(one, theirs), valueOf(one, 1))
                << (added.ok() ? "acknowledged" : added.status().message());
        }
    }
}

/// A slow line: what takes longer than a lock is trusted is not begun again each time somebody writes.
TEST(SlowLines, OneBehindASlowLineDoesNotKeepTheOthersOut)
{
    constexpr int enough = 20;
    for (const bool wasAway : {true, false}) {
        SCOPED_TRACE(wasAway ? "after a late write" : "for another program's line");
        Office office(Share::smb, Plant::none, true);
        office.both();
        Desk one(office, 1);
        filecalls::asWorkstation(2);
        AgendaTable two;
        ASSERT_TRUE(two.open(office.place(), std::chrono::milliseconds(0)).ok());
        const auto giveOther = [&](const std::string &value) {
            Bytes before(two.table().recordLength());
            EXPECT_TRUE(two.table().read(2, before).ok());
            Bytes after = before;
            two.setValue(after, value);
            return two.table().update(2, before, after).ok();
        };
        if (wasAway) {
            filecalls::fail(lateCall(Call::write, 2, longAway, [&] {
                filecalls::loseLocks(1);
                filecalls::asWorkstation(2);
                EXPECT_TRUE(giveOther("v8") || giveOther("v8"));
                EXPECT_TRUE(two.table().beginGroup().ok());
                one.sit();
            }));
            one.sit();
            static_cast<void>(one.give(1, "v2").ok());
            EXPECT_TRUE(filecalls::faultMet());
            filecalls::fail({});
            filecalls::asWorkstation(2);
            two.table().dropGroup();
        } else {
            static_cast<void>(ForeignTable(office.place()).append());
        }
        filecalls::passTime(std::chrono::seconds(20));
        int written = 0;
        bool held = false;
        std::chrono::nanoseconds longest{0};
        auto since = dbase::timeWithSleep();
        const int probe = ::open((office.place() / "AGENDA_N.DBF").c_str(), O_RDWR);
        Fault slow = lateCall({}, 1, std::chrono::seconds(1), [&] {
            struct flock range = {};
            range.l_type = F_WRLCK;
            range.l_start = 0xEFFFFFFE;
            range.l_len = 2;
            const bool isHeld = ::fcntl(probe, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
            const auto now = dbase::timeWithSleep();
            if (isHeld && !std::exchange(held, true))
                since = now;
            if (isHeld || !std::exchange(held, false) || written == enough)
                return;
            longest = std::max(longest, now - since); // one of those who have waited gets it
            filecalls::asWorkstation(2);
            written += giveOther("n" + std::to_string(written)) ? 1 : 0;
            one.sit();
        });
        slow.staysBroken = true;
        slow.meanwhileEachTime = true;
        one.sit();
        const auto begun = dbase::timeWithSleep();
        filecalls::fail(slow);
        static_cast<void>(one->table().refresh().ok());
        const auto took = dbase::timeWithSleep() - begun;
        filecalls::fail({});
        ::close(probe);
        std::cout << "one refresh: " << took / std::chrono::seconds(1) << " s; others wrote " << written
                  << " times, longest wait " << longest / std::chrono::seconds(1) << " s\n";
        EXPECT_LT(written, enough) << "it has ended only because the others have stopped writing";
        EXPECT_LT(longest, std::chrono::seconds(30));
    }
}

/// A line that is being edited stays locked also where the files could not be opened anew at once.
TEST(SlowLines, ALineStaysLockedAlsoWhereTheServerIsNotBackAtOnce)
{
    Office office(Share::smb, Plant::none, true);
    Desk two(office, 2);
    Desk one(office, 1);
    const auto edited = one->table().lockRecord(2);
    ASSERT_TRUE(edited.ok());
    filecalls::fail(Fault{Call::read, 1, EIO});
    Bytes other(one->table().recordLength());
    EXPECT_FALSE(one->table().read(1, other).ok());
    filecalls::passTime(std::chrono::seconds(3));
    filecalls::fail(Fault{Call::open, 1, ESTALE});
    EXPECT_FALSE(one->table().refresh().ok());
    EXPECT_TRUE(filecalls::faultMet());
    filecalls::fail({});
    filecalls::passTime(std::chrono::seconds(20));
    EXPECT_TRUE(one->table().refresh().ok());
    two.sit();
    EXPECT_FALSE(two->table().lockRecord(2, std::chrono::milliseconds(0)).ok());
    one.sit();
}

/// A slow line, a writer that died, and nobody else: what is to be finished is not taken for what others have
/// written meanwhile, over and over again. In a process of its own, since that has no end but the stack's.
TEST(SlowLines, WhatADeadOneLeftIsFinishedOverASlowLine)
{
    for (const int seconds : {1, 2, 4, 6, 12}) {
        SCOPED_TRACE("each reading takes " + std::to_string(seconds) + " s");
        Office office(Share::smb, Plant::none, true);
        office.both();
        const pid_t writer = ::fork();
        if (writer == 0) {
            filecalls::asWorkstation(3);
            AgendaTable other;
            std::mt19937 random(7);
            if (other.open(office.place()).ok()) {
                filecalls::dieAt(5);
                static_cast<void>(other.table().append(other.line("w9-x", "v9", random)));
            }
            ::_exit(4);
        }
        int how = 0;
        ::waitpid(writer, &how, 0);
        ASSERT_TRUE(WIFSIGNALED(how));
        const pid_t child = ::fork();
        if (child == 0) {
            Desk one(office, 1);
            Fault slow = lateCall(Call::read, 1, std::chrono::seconds(seconds), nullptr);
            slow.staysBroken = true;
            const auto begun = dbase::timeWithSleep();
            filecalls::fail(slow);
            bool done = false;
            for (int tries = 0; tries < 4 && !done; ++tries) {
                const auto status = one.give(1, "v7");
                done = status.ok();
                std::cout << seconds << ": " << (status.ok() ? "ok" : status.message()) << " after "
                          << (dbase::timeWithSleep() - begun) / std::chrono::seconds(1) << " s" << std::endl;
            }
            ::_exit(done ? 0 : 1);
        }
        ::waitpid(child, &how, 0);
        EXPECT_TRUE(WIFEXITED(how)) << "signal " << WTERMSIG(how);
        EXPECT_TRUE(WIFEXITED(how) && WEXITSTATUS(how) == 0);
    }
}

/// The server takes what is written and finds no room for it when it is to be on its disk: who was refused
/// for that does it again, so it must not be done by the next one.
TEST(SlowLines, WhatAFullServerHasRefusedIsNotDoneLater)
{
    for (const Share share : {Share::smb, Share::nfs}) {
        for (const Call call : {Call::flush, Call::write}) {
            bool met = true;
            for (int number = 1; met; ++number) {
                SCOPED_TRACE(std::to_string(number) + (call == Call::flush ? ", flush" : ", write") +
                             (share == Share::smb ? ", smb" : ", nfs"));
                Office office(share, Plant::none, true);
                office.both();
                Desk two(office, 2);
                Desk one(office, 1);
                std::mt19937 random(7);
                Fault fault{call, number, ENOSPC};
                fault.halfDone = true;
                filecalls::fail(fault);
                const auto added = one->table().append(one->line("w1-x", "v1", random));
                met = filecalls::faultMet();
                filecalls::fail({});
                two.sit();
                EXPECT_TRUE(giveForSure(two, 2, "v9"));
                static_cast<void>(two->table().refresh().ok());
                if (added.status().kind() == dbase::ErrorKind::full) {
                    EXPECT_EQ(two->find("w1-x").value(), 0U) << added.status().message();
                }
            }
        }
    }
}

/// A commit that is longer than an empty journal, and takes long, with nobody else there: its own first
/// sector is not that of others who have gone on.
TEST(SlowLines, ALongCommitIsNotTakenForThatOfOthers)
{
    bool met = true;
    for (int number = 1; met && number < 8; ++number) {
        SCOPED_TRACE(number);
        const Office office(Share::smb, Plant::none);
        Desk one(office, 1);
        EXPECT_TRUE(one->table().reindex().ok());
        EXPECT_TRUE(one->table().beginGroup().ok());
        for (int change = 0; change < 900; ++change)
            EXPECT_TRUE(one.give(2, "v" + std::to_string(change)).ok());
        filecalls::fail(lateCall(Call::write, number, std::chrono::seconds(11), nullptr));
        const auto status = one->table().commitGroup();
        met = filecalls::faultMet();
        filecalls::fail({});
        EXPECT_TRUE(status.ok()) << status.message();
        EXPECT_EQ(valueOf(one, 2), "v899");
    }
}

} // namespace
