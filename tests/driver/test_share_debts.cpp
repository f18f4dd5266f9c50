// What is still owed after a late write: it is paid once, by whoever knows of it, and never over something
// newer.

#include "tests/driver/Desk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>
#include <memory>
#include <random>

#include <fcntl.h>
#include <unistd.h>

namespace
{

using namespace driver;
using filecalls::Call;
using filecalls::Fault;
using filecalls::Plant;
using filecalls::Share;

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
        two.sit();
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
    EXPECT_EQ(one.give(3, "v7").kind(), dbase::ErrorKind::full) << "nothing of that change has been begun";
    filecalls::fail({});
    int tries = 0;
    for (const int trips : under) {
        std::cout << trips << " ";
        tries += trips > 2 ? 1 : 0;
    }
    std::cout << "\n";
    EXPECT_LE(tries, 5) << "of 20 looks in 10 s";
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

} // namespace
