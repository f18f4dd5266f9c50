// What a workstation writes late, after its server has given its locks to others: nothing of theirs may be
// undone.

#include "dbase/File.h"
#include "dbase/HandleSet.h"
#include "tests/driver/Desk.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <set>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace driver;
using filecalls::Fault;
using filecalls::Plant;
using filecalls::Share;

TEST(Shares, NumbersOfCommitsNeverGoBack)
{
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        office.both();
        const pid_t child = ::fork(); // a writer that dies in the middle of a commit
        if (child == 0) {
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
        ::waitpid(child, &how, 0);
        ASSERT_TRUE(WIFSIGNALED(how));
        std::uint64_t others = 0;
        filecalls::asWorkstation(1);
        filecalls::fail(lateCall({}, number, std::chrono::seconds(60), [&] {
            filecalls::loseLocks(1);
            office.mustChange(2, "shared-a", office.newValue(2), 2);
            office.mustChange(2, "shared-b", office.newValue(2), 2);
            others = lastCommitIn(office.place());
            filecalls::asWorkstation(1);
        }));
        office.change(1, "shared-c");
        met = filecalls::faultMet();
        filecalls::fail({});
        EXPECT_GE(lastCommitIn(office.place()), others);
        office.mustChange(1, "shared-c");
        office.mustChange(2, "shared-a");
        static_cast<void>(office.finish()); // the dead one's line may be there or not
    }
}

/// The answer to a lock lies about while the machine sleeps, and the lock has gone to another.
TEST(Shares, ALockIsAsOldAsTheQuestionForIt)
{
    for (int number = 1; number < 4; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        Desk two(office, 2);
        const Bytes second = two.line(2);
        Bytes after = second;
        two->setValue(after, "v8");
        Desk one(office, 1);
        const std::uint64_t before = lastCommitIn(office.place());
        bool isIn = false;
        Fault fault = lateCall(filecalls::Call::lock, number, std::chrono::seconds(60), [&] {
            filecalls::loseLocks(1);
            two.sit();
            isIn = two->table().beginGroup().ok() && two->table().update(2, second, after).ok();
            one.sit();
        });
        fault.answerIsLate = true;
        filecalls::fail(fault);
        int told = one.give(1, "v7").ok() ? 1 : 0;
        filecalls::fail({});
        two.sit();
        told += isIn && two->table().commitGroup().ok() ? 1 : 0;
        two->table().dropGroup();
        EXPECT_EQ(lastCommitIn(office.place()) - before, static_cast<std::uint64_t>(told));
    }
}

/// How much others have written meanwhile decides whether it is known what a late write has undone.
TEST(Shares, WhatALateWriteMayHaveUndoneIsSaid)
{
    for (const int sheets : {20, 600}) {
        int told = 0;
        int undone = 0;
        bool met = true;
        for (int number = 1; met; ++number) {
            Office office(Share::smb, Plant::none);
            office.at(2).addSheet("w2-s", "v1");
            Desk two(office, 2);
            Desk one(office, 1);
            filecalls::fail(lateCall(filecalls::Call::write, number, std::chrono::seconds(60), [&] {
                filecalls::loseLocks(1);
                two.sit();
                EXPECT_TRUE(two.give(1, "v3").ok() || two.give(1, "v3").ok());
                for (int sheet = 0; sheet < sheets; ++sheet) {
                    two.giveSheet("w2-s", sheet % 2 == 0 ? "v4" : "v5");
                    EXPECT_TRUE(two->table().commitGroup().ok());
                }
                one.sit();
            }));
            static_cast<void>(one.give(1, "v2").ok());
            met = filecalls::faultMet();
            filecalls::fail({});
            told += one->table().notice().empty() ? 0 : 1;
            undone += one->text(one.line(1), Field::interesado) == "v2" && met ? 1 : 0;
        }
        EXPECT_LE(undone, told) << sheets;
        EXPECT_EQ(told > 0, sheets > 100) << told << " of " << sheets;
    }
}

/// Behind a table that was closed in order the journal's header is written before the first commit.
TEST(LateWrites, TheFirstChangeAfterAnOrderlyCloseUndoesNothing)
{
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        const Office office(Share::smb, Plant::none);
        Desk two(office, 2);
        Desk one(office, 1);
        const std::uint64_t start = lastCommitIn(office.place());
        bool others = false;
        filecalls::fail(lateCall({}, number, longAway, [&] {
            filecalls::loseLocks(1);
            two.sit();
            others = giveForSure(two, 1, "v3");
            one.sit();
        }));
        const bool own = one.give(1, "v2").ok();
        met = filecalls::faultMet();
        filecalls::fail({});
        const auto told = static_cast<std::uint64_t>((own ? 1 : 0) + (others ? 1 : 0));
        EXPECT_GE(lastCommitIn(office.place()) - start, told);
        if (others && !own) {
            EXPECT_EQ(valueOf(one, 1), "v3");
        }
    }
}

/// The journal is to be emptied for a sheet; another's line still has room in it.
TEST(LateWrites, WhoEmptiesTheJournalUndoesNothing)
{
    const auto room = [](const Office &office) {
        const std::string bytes = support::readFile(office.place() / "AGENDA_N.JNL");
        return 64U * 1024U - dbase::get32(reinterpret_cast<const std::uint8_t *>(bytes.data()) + 20);
    };
    for (const bool durable : {true, false}) {
        bool met = true;
        for (int number = 1; met && number < 14; ++number) { // what comes later is as in any sheet
            SCOPED_TRACE(std::to_string(number) + (durable ? ", durable" : ""));
            Office office(Share::smb, Plant::none);
            office.at(1).addSheet("w1-s", "v1");
            Desk two(office, 2);
            Desk one(office, 1, durable);
            two.sit();
            const std::uint32_t before = room(office);
            two.giveSheet("w1-s", "f");
            ASSERT_TRUE(two->table().commitGroup().ok());
            const std::uint32_t sheet = before - room(office);
            while (room(office) > sheet) {
                two.giveSheet("w1-s", "f" + std::to_string(room(office)));
                ASSERT_TRUE(two->table().commitGroup().ok());
            }
            ASSERT_GT(room(office), 2048U); // for the other's line
            one.sit();
            one.giveSheet("w1-s", "v2");
            const auto mine = one->findAll("w1-s").value().front();
            bool others = false;
            filecalls::fail(lateCall({}, number, longAway, [&] {
                filecalls::loseLocks(1);
                two.sit();
                others = giveForSure(two, mine, "v3");
                one.sit();
            }));
            static_cast<void>(one->table().commitGroup().ok());
            met = filecalls::faultMet();
            filecalls::fail({});
            if (others) {
                EXPECT_EQ(valueOf(two, mine), "v3");
            }
        }
    }
}

/// The lock cannot be had back at once, nor soon: what is owed is not forgotten.
TEST(LateWrites, AreMendedAlsoWhenOthersAreBusy)
{
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none);
        office.both();
        Desk two(office, 2);
        Desk one(office, 1);
        bool others = false;
        filecalls::fail(lateCall(filecalls::Call::write, number, longAway, [&] {
            filecalls::loseLocks(1);
            two.sit();
            others = giveForSure(two, 1, "v3");
            EXPECT_TRUE(two->table().beginGroup().ok() && two.give(2, "v4").ok()); // a longer piece of work
            one.sit();
        }));
        static_cast<void>(one.give(1, "v2").ok());
        met = filecalls::faultMet();
        filecalls::fail({});
        two.sit();
        if (met) {
            EXPECT_TRUE(two->table().commitGroup().ok());
        }
        one.sit();
        for (int look = 0; look < 3; ++look) {
            filecalls::passTime(std::chrono::seconds(20));
            static_cast<void>(one->table().refresh().ok());
        }
        if (others) {
            EXPECT_EQ(valueOf(two, 1), "v3");
        }
    }
}

/// Others have finished a new line and then changed it: told as refused, it would be entered twice.
TEST(LateWrites, ANewLineThatIsThereIsNotRefused)
{
    bool met = true;
    int changed = 0;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        office.both();
        Desk two(office, 2);
        Desk one(office, 1);
        const auto count = one->table().recordCount();
        std::mt19937 random(7);
        const Bytes line = one->line("w9-x", "v1", random);
        bool others = false;
        Fault fault = lateCall(filecalls::Call::write, number, longAway, [&] {
            filecalls::loseLocks(1);
            two.sit();
            static_cast<void>(two.give(2, "v8").ok()); // finishes what was begun
            static_cast<void>(two->table().refresh().ok());
            others = two->table().recordCount() > count && two.give(count + 1, "v3").ok();
            one.sit();
        });
        fault.answerIsLate = true;
        filecalls::fail(fault);
        const auto added = one->table().append(line);
        met = filecalls::faultMet();
        filecalls::fail({});
        changed += others ? 1 : 0;
        EXPECT_FALSE(others && added.status().kind() == dbase::ErrorKind::locked);
    }
    EXPECT_GT(changed, 0);
}

/// Two are late at once, and the commit of one lies over another's in the journal: it is refused, and does
/// not come up later as if it had been done. What it covered is not known any more, which is told.
TEST(LateWrites, ARefusedCommitIsNotDoneLater)
{
    Office office(Share::smb, Plant::none, true);
    office.both();
    Desk one(office, 1);
    Desk two(office, 2);
    Desk three(office, 3);
    bool others = false;
    dbase::Status refused;
    const std::string before = valueOf(one, 2);
    three.sit();
    Fault outer = lateCall(filecalls::Call::write, 2, 2 * longAway, [&] {
        filecalls::loseLocks(3);
        two.sit();
        EXPECT_TRUE(two.give(3, "w1").ok()); // finishes what three has begun
        one.sit();
        filecalls::fail(lateCall(filecalls::Call::write, 1, longAway, [&] {
            filecalls::loseLocks(1);
            two.sit();
            others = two.give(1, "vB").ok();
            one.sit();
        }));
        refused = one.give(2, "vA");
        filecalls::fail({});
        three.sit();
    });
    outer.workstation = 3;
    filecalls::fail(outer);
    static_cast<void>(three.give(1, "vC").ok());
    filecalls::fail({});
    ASSERT_TRUE(others);
    ASSERT_EQ(refused.kind(), dbase::ErrorKind::locked);
    EXPECT_EQ(valueOf(three, 2), before);
    EXPECT_TRUE(valueOf(three, 1) == "vB" || !three->table().notice().empty());
}

/// A late commit lies over one in the middle of the journal. The last one, of a writer that died, is still to
/// be finished.
TEST(LateWrites, ADeadOnesSheetIsFinishedBehindACoveredCommit)
{
    for (int change = 1; change < 40; ++change) {
        SCOPED_TRACE(change);
        Office office(Share::smb, Plant::none);
        office.at(1).addSheet("w1-s", "v1");
        static_cast<void>(office.at(1).close().ok());
        const pid_t child = ::fork();
        if (child == 0) {
            Desk other(office, 3);
            static_cast<void>(other.give(1, "v2").ok());
            static_cast<void>(other.give(1, "v3").ok());
            other.giveSheet("w1-s", "v2");
            filecalls::dieAt(change);
            static_cast<void>(other->table().commitGroup().ok());
            ::_exit(4);
        }
        int how = 0;
        ::waitpid(child, &how, 0);
        if (!WIFSIGNALED(how))
            break;
        std::string journal = support::readFile(office.place() / "AGENDA_N.JNL");
        support::writeFile(office.place() / "AGENDA_N.JNL", journal.replace(512, 512, 512, '\0'));
        Desk next(office, 1);
        const auto all = next->readAll();
        EXPECT_TRUE(all.ok()) << all.status().message();
        EXPECT_LE(next.valuesOf("w1-s").size(), 1U);
    }
}

/// Who was away finds another file at the table's place, and writes nothing into the old one.
TEST(LateWrites, NothingGoesIntoATableThatWasPackedMeanwhile)
{
    for (const auto call : {filecalls::Call::read, filecalls::Call::write, filecalls::Call::lock}) {
        bool met = true;
        for (int number = 1; met; ++number) {
            SCOPED_TRACE(std::to_string(static_cast<int>(call)) + ", " + std::to_string(number));
            const Office office(Share::smb, Plant::none);
            Desk one(office, 1);
            bool packed = false;
            filecalls::fail(lateCall(call, number, longAway, [&] {
                filecalls::loseLocks(1);
                {
                    Desk two(office, 2);
                    packed = two->table().pack().ok();
                }
                one.sit();
            }));
            const bool told = one.give(2, "v7").ok();
            met = filecalls::faultMet();
            filecalls::fail({});
            Desk three(office, 3);
            if (told && packed) {
                EXPECT_EQ(valueOf(three, 2), "v7");
            }
            EXPECT_TRUE(three->readAll().ok());
        }
    }
}

/// A file that cannot be opened as a share needs it would show old news, or write what is not on the disk.
TEST(LateWrites, AFileIsOpenedAsItMustBeOrNot)
{
    for (const Share share : {Share::smb, Share::nfs}) {
        const Office office(share, Plant::none, true);
        const std::filesystem::path file = office.place() / "AGENDA_N.DBF";
        filecalls::asWorkstation(1);
        filecalls::fail(Fault{filecalls::Call::open, 2, ESTALE});
        EXPECT_FALSE(dbase::File::open(file, dbase::File::Mode::readWrite).ok());
        EXPECT_TRUE(filecalls::faultMet());
        filecalls::fail({});
        std::vector<dbase::File> open;
        for (unsigned n = 0; n < dbase::HandleSet::count; ++n) {
            auto one = dbase::File::open(file, dbase::File::Mode::readWrite);
            ASSERT_TRUE(one.ok());
            open.push_back(std::move(one).value());
        }
    }
}

} // namespace
