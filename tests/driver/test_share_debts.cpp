// What is still owed after a late write, and what a workstation believes of a table that others have changed
// while it was not heard of.

#include "dbase/File.h"
#include "tests/driver/Desk.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <iostream>
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

constexpr auto longAway = std::chrono::seconds(60);

bool giveForSure(Desk &desk, dbase::RecordNumber number, const std::string &value)
{
    return desk.give(number, value).ok() || desk.give(number, value).ok();
}

std::string valueOf(Desk &desk, dbase::RecordNumber number)
{
    desk.sit();
    return desk->text(desk.line(number), Field::interesado);
}

/// A commit that others have finished, and added lines behind: the next line of one's own does not lie on
/// theirs.
TEST(Debts, LinesThatOthersHaveAddedMeanwhileAreNotWrittenOver)
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

/// Another file has come into the table's place meanwhile: what was owed to the old one does not go there.
TEST(Debts, AreNotPaidToATableThatWasPackedMeanwhile)
{
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none);
        office.at(1).addSheet("w1-s", "v1");
        office.at(1).add("w1-x", "v1");
        static_cast<void>(office.at(1).close().ok());
        Desk one(office, 1);
        const auto mine = one->find("w1-x").value();
        bool packed = false;
        dbase::RecordNumber kept = 0;
        filecalls::fail(lateCall(Call::write, number, longAway, [&] {
            filecalls::loseLocks(1);
            {
                Desk two(office, 2);
                two.giveSheet("w1-s", "v1");
                static_cast<void>(two->table().commitGroup().ok());
                const auto sheet = two->findAll("w1-s");
                EXPECT_TRUE(two->table().beginGroup().ok());
                for (const auto line : sheet.value())
                    EXPECT_TRUE(two->table().erase(line, two.line(line)).ok());
                EXPECT_TRUE(two->table().commitGroup().ok());
                packed = two->table().pack().ok();
                kept = two->table().recordCount();
            }
            one.sit();
        }));
        static_cast<void>(one.give(mine, "v7").ok());
        met = filecalls::faultMet();
        filecalls::fail({});
        for (int look = 0; look < 3; ++look) {
            filecalls::passTime(std::chrono::seconds(20));
            static_cast<void>(one->table().refresh().ok());
        }
        if (packed) {
            Desk three(office, 3);
            EXPECT_EQ(three->table().recordCount(), kept);
            const auto all = three->readAll();
            EXPECT_TRUE(all.ok()) << all.status().message();
        }
    }
}

/// The clerk does what he is told: he closes the table and opens it again. What was written late over others'
/// changes is put right all the same.
TEST(Debts, ArePaidAlsoByWhoClosesTheTable)
{
    for (const bool waits : {false, true}) {
        bool met = true;
        for (int number = 1; met; ++number) {
            SCOPED_TRACE(std::to_string(number) + (waits ? ", when the others are done" : ", at once"));
            Office office(Share::smb, Plant::none);
            office.both();
            Desk two(office, 2);
            bool others = false;
            std::string told;
            {
                Desk one(office, 1);
                filecalls::fail(lateCall(Call::write, number, longAway, [&] {
                    filecalls::loseLocks(1);
                    two.sit();
                    others = giveForSure(two, 1, "v3");
                    EXPECT_TRUE(two->table().beginGroup().ok() && two.give(2, "v4").ok()); // some work
                    one.sit();
                }));
                const auto status = one.give(1, "v2");
                told = status.ok() ? "ok" : status.message();
                met = filecalls::faultMet();
                filecalls::fail({});
                if (waits && met) {
                    two.sit();
                    EXPECT_TRUE(two->table().commitGroup().ok());
                    filecalls::passTime(std::chrono::seconds(20));
                }
            }
            if (!waits && met) {
                two.sit();
                EXPECT_TRUE(two->table().commitGroup().ok());
            }
            Desk again(office, 1);
            for (int look = 0; look < 3; ++look) {
                filecalls::passTime(std::chrono::seconds(20));
                static_cast<void>(again->table().refresh().ok());
            }
            if (others) {
                EXPECT_TRUE(valueOf(two, 1) == "v3" || !again->table().notice().empty())
                    << valueOf(two, 1) << ", told: " << told;
            }
        }
    }
}

/// Who opens a table alone does the journal's commits again. What is written late then, too, is put right.
TEST(Debts, ArePaidByWhoWasLateWhenItOpenedTheTable)
{
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        std::string before;
        {
            Desk first(office, 3);
            EXPECT_TRUE(first.give(1, "v1").ok() && first.give(1, "v2").ok());
            filecalls::failUnlocks(0);
            const Image left = readImage(office.place());
            static_cast<void>(first->close().ok());
            writeImage(office.place(), left); // as a machine leaves it that goes off
        }
        std::unique_ptr<Desk> two;
        bool others = false;
        filecalls::asWorkstation(1);
        AgendaTable one;
        filecalls::fail(lateCall(Call::write, number, longAway, [&] {
            filecalls::loseLocks(1);
            two = std::make_unique<Desk>(office, 2);
            others = giveForSure(*two, 1, "v3");
            EXPECT_TRUE(two->operator*().table().beginGroup().ok() && two->give(2, "v4").ok());
            filecalls::asWorkstation(1);
        }));
        dbase::Status status = one.open(office.place());
        met = filecalls::faultMet();
        filecalls::fail({});
        if (met) {
            two->sit();
            EXPECT_TRUE(two->operator*().table().commitGroup().ok());
            filecalls::passTime(std::chrono::seconds(20));
            filecalls::asWorkstation(1);
            if (!one.isOpen())
                status = one.open(office.place());
            EXPECT_TRUE(status.ok()) << status.message();
            if (one.isOpen()) {
                static_cast<void>(one.table().refresh().ok());
            }
            if (others) {
                EXPECT_EQ(valueOf(*two, 1), "v3");
            }
        }
        filecalls::asWorkstation(1);
        static_cast<void>(one.close().ok());
    }
}

/// A journal that is emptied for another program's change, and late: numbers do not go back.
TEST(Debts, NumbersDoNotGoBackWhereAJournalIsEmptiedForAnotherProgram)
{
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        Desk two(office, 2, false);
        Desk one(office, 1, false);
        EXPECT_TRUE(two.give(2, "v5").ok());
        one.sit();
        for (int look = 0; look < 3; ++look) {
            filecalls::passTime(std::chrono::seconds(20));
            EXPECT_TRUE(one->table().refresh().ok());
        }
        const int file = ::open((office.place() / "AGENDA_N.DBF").c_str(), O_RDWR);
        const std::string bytes = support::readFile(office.place() / "AGENDA_N.DBF");
        ASSERT_EQ(::pwrite(file, bytes.data(), 4, 0), 4); // its time moves, and no commit's number
        ::close(file);
        std::uint64_t others = 0;
        filecalls::fail(lateCall(Call::write, number, longAway, [&] {
            filecalls::loseLocks(1);
            two.sit();
            EXPECT_TRUE(giveForSure(two, 1, "v3") && giveForSure(two, 1, "v4"));
            others = lastCommitIn(office.place());
            one.sit();
        }));
        static_cast<void>(one->table().refresh().ok());
        met = filecalls::faultMet();
        filecalls::fail({});
        EXPECT_GE(lastCommitIn(office.place()), others);
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
TEST(Debts, AnotherProgramsLineIsNotWrittenOverByALateOne)
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
TEST(Debts, OneBehindASlowLineDoesNotKeepTheOthersOut)
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

/// What cannot be put right just now (the server's disk is full, and the index does not find room) is not
/// tried at every look, since all others wait meanwhile.
TEST(Debts, ThatCannotBePaidAreNotTriedAtEveryLook)
{
    Office office(Share::smb, Plant::none, true);
    office.both();
    Desk two(office, 2);
    Desk one(office, 1);
    filecalls::fail(lateCall(Call::write, 2, longAway, [&] {
        filecalls::loseLocks(1);
        two.sit();
        EXPECT_TRUE(giveForSure(two, 1, "v3"));
        EXPECT_TRUE(two->table().beginGroup().ok());
        one.sit();
    }));
    static_cast<void>(one.give(1, "v2").ok());
    EXPECT_TRUE(filecalls::faultMet());
    filecalls::fail({});
    two.sit();
    two->table().dropGroup();
    Fault full{Call::write, 1, ENOSPC, true};
    full.workstation = 1;
    filecalls::fail(full);
    one.sit();
    std::vector<int> under;
    for (int look = 0; look < 20; ++look) {
        filecalls::passTime(std::chrono::milliseconds(500));
        filecalls::roundTripsAnew();
        static_cast<void>(one->table().refresh().ok());
        under.push_back(filecalls::roundTripsUnderLock());
    }
    filecalls::fail({});
    int tries = 0;
    for (const int trips : under) {
        std::cout << trips << " ";
        tries += trips > 2 ? 1 : 0;
    }
    std::cout << "\n";
    EXPECT_LE(tries, 5) << "of 20 looks in 10 s";
}

/// A line that is being edited stays locked also where the files could not be opened anew at once.
TEST(Debts, ALineStaysLockedAlsoWhereTheServerIsNotBackAtOnce)
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

/// Another one finishes what was begun here, and sets the line back to what it was; a third one writes right
/// behind the late write, before it is mended. The newest value is one that the line has had before.
TEST(Debts, ALineThatWasSetBackStaysSoAlsoWhenAThirdOneWritesBeforeTheMend)
{
    bool met = true;
    int setBack = 0;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        office.both();
        Desk two(office, 2);
        Desk three(office, 3);
        Desk one(office, 1);
        EXPECT_TRUE(one.give(1, "N").ok());
        bool others = false;
        bool third = false;
        int calls = 0;
        Fault fault = lateCall({}, number, longAway, [&] {
            ++calls;
            if (calls == 1) {
                filecalls::loseLocks(1);
                two.sit();
                static_cast<void>(two.give(2, "v8").ok()); // finishes what was begun
                static_cast<void>(two->table().refresh().ok());
                others = valueOf(two, 1) == "S" && two.give(1, "N").ok();
            } else if (calls == 2) {
                three.sit();
                third = three.give(3, "v9").ok() || three.give(3, "v9").ok();
            }
            one.sit();
        });
        fault.staysBroken = true;
        fault.meanwhileEachTime = true;
        filecalls::fail(fault);
        one.sit();
        const auto status = one.give(1, "S");
        met = filecalls::faultMet();
        filecalls::fail({});
        for (int look = 0; look < 3; ++look) {
            filecalls::passTime(std::chrono::seconds(20));
            one.sit();
            static_cast<void>(one->table().refresh().ok());
        }
        setBack += others ? 1 : 0;
        if (others) {
            EXPECT_TRUE(valueOf(two, 1) == "N" || !one->table().notice().empty())
                << "told: " << (status.ok() ? "ok" : status.message());
            EXPECT_EQ(valueOf(two, 1), "N") << "told: " << (status.ok() ? "ok" : status.message());
        }
        if (third) {
            EXPECT_EQ(valueOf(two, 3), "v9");
        }
    }
    EXPECT_GT(setBack, 0);
}

/// The journal's header cannot be written, which is said late: what is put back then must not be older than
/// what others have written.
TEST(Debts, AHeaderThatFailsLateIsNotPutBackOverThatOfOthers)
{
    bool met = true;
    int setBack = 0;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        office.both();
        Desk two(office, 2);
        Desk one(office, 1);
        EXPECT_TRUE(one.give(1, "N").ok());
        bool others = false;
        Fault fault = lateCall(Call::write, number, longAway, [&] {
            filecalls::loseLocks(1);
            two.sit();
            static_cast<void>(two.give(2, "v8").ok()); // finishes what was begun
            static_cast<void>(two->table().refresh().ok());
            others = valueOf(two, 1) == "S" && two.give(1, "N").ok();
            one.sit();
        });
        fault.error = EIO;
        filecalls::fail(fault);
        one.sit();
        const auto status = one.give(1, "S");
        met = filecalls::faultMet();
        filecalls::fail({});
        two.sit();
        static_cast<void>(two.give(2, "v9").ok());
        const std::string between = valueOf(two, 1);
        for (int look = 0; look < 3; ++look) {
            filecalls::passTime(std::chrono::seconds(20));
            one.sit();
            static_cast<void>(one->table().refresh().ok());
        }
        setBack += others ? 1 : 0;
        if (others) {
            EXPECT_EQ(between, "N");
            EXPECT_EQ(valueOf(two, 1), "N") << "notice: " << one->table().notice();
        }
    }
    EXPECT_GT(setBack, 0);
}

/// Not all of what the others have written meanwhile is kept: a commit that is too long is not. What was kept
/// before it is older than what it has left in the lines.
TEST(Debts, AMendWithAGapBringsNoOldValueBack)
{
    Office office(Share::smb, Plant::none, true);
    office.at(2).addSheet("w2-s", "v1");
    Desk two(office, 2);
    Desk one(office, 1);
    EXPECT_TRUE(one.give(1, "N").ok());
    two.sit();
    for (int sheet = 0; sheet < 60; ++sheet) { // so that what is kept lies farther behind
        two.giveSheet("w2-s", sheet % 2 == 0 ? "v4" : "v5");
        EXPECT_TRUE(two->table().commitGroup().ok());
    }
    one.sit();
    filecalls::fail(lateCall(Call::write, 2, longAway, [&] {
        filecalls::loseLocks(1);
        two.sit();
        EXPECT_TRUE(giveForSure(two, 1, "S"));
        EXPECT_TRUE(two->table().reindex().ok());
        EXPECT_TRUE(two->table().beginGroup().ok() && two.give(1, "N").ok());
        for (int change = 0; change < 900; ++change)
            EXPECT_TRUE(two.give(2, "v" + std::to_string(change)).ok());
        EXPECT_TRUE(two->table().commitGroup().ok());
        EXPECT_TRUE(two->table().reindex().ok());
        EXPECT_EQ(valueOf(two, 1), "N");
        one.sit();
    }));
    const auto status = one.give(3, "v7");
    EXPECT_TRUE(filecalls::faultMet());
    filecalls::fail({});
    EXPECT_EQ(valueOf(two, 1), "N") << "told: " << (status.ok() ? "ok" : status.message())
                                    << ", notice here: " << one->table().notice()
                                    << ", there: " << two->table().notice();
}

/// A slow line, a writer that died, and nobody else: what is to be finished is not taken for what others have
/// written meanwhile, over and over again. In a process of its own, since that has no end but the stack's.
TEST(Debts, WhatADeadOneLeftIsFinishedOverASlowLine)
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

/// As where two are late at once, but another one empties the journal, and so keeps what it holds, before the
/// one whose commit lies over his has had the lock.
TEST(Debts, ARefusedCommitIsNotDoneLaterByWhatAnotherOneHasKept)
{
    int refusedOnes = 0;
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        office.both();
        Desk one(office, 1);
        Desk two(office, 2);
        Desk three(office, 3);
        bool others = false;
        dbase::Status refused;
        const std::string before = valueOf(one, 2);
        three.sit();
        Fault outer = lateCall(Call::write, 2, 2 * longAway, [&] {
            filecalls::loseLocks(3);
            two.sit();
            EXPECT_TRUE(two.give(3, "w1").ok()); // finishes what three has begun
            one.sit();
            int calls = 0;
            Fault inner = lateCall({}, number, longAway, [&] {
                ++calls;
                two.sit();
                if (calls == 1) {
                    filecalls::loseLocks(1);
                    others = two.give(1, "vB").ok();
                } else if (calls == 2) {
                    static_cast<void>(two->table().reindex().ok());
                }
                one.sit();
            });
            inner.staysBroken = true;
            inner.meanwhileEachTime = true;
            filecalls::fail(inner);
            refused = one.give(2, "vA");
            met = filecalls::faultMet();
            filecalls::fail({});
            three.sit();
        });
        outer.workstation = 3;
        filecalls::fail(outer);
        static_cast<void>(three.give(1, "vC").ok());
        filecalls::fail({});
        if (refused.kind() == dbase::ErrorKind::locked) {
            ++refusedOnes;
            EXPECT_EQ(valueOf(three, 2), before) << "refused: " << refused.message();
        }
        if (others) {
            EXPECT_TRUE(valueOf(three, 1) == "vB" || !three->table().notice().empty()) << valueOf(three, 1);
        }
    }
    EXPECT_GT(refusedOnes, 0);
}

/// The server takes what is written and finds no room for it when it is to be on its disk: who was refused
/// for that does it again, so it must not be done by the next one.
TEST(Debts, WhatAFullServerHasRefusedIsNotDoneLater)
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
TEST(Debts, ALongCommitIsNotTakenForThatOfOthers)
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
