// A session that was renewed, files that cannot be opened anew, and what is written late while others' work
// is finished.

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

/// The lock is refused, the session is a new one, and the files cannot be opened: a refusal, not a crash.
TEST(RenewedShares, ARefusedLockWhoseFilesCannotBeOpenedAnewIsToldAsOne)
{
    for (const bool locking : {false, true}) {
        SCOPED_TRACE(locking);
        Office office(Share::smb, Plant::none, true);
        const auto table = office.place() / "AGENDA_N.DBF";
        const auto away = office.place() / "AWAY";
        office.both();
        Desk two(office, 2);
        Desk one(office, 1);
        two.sit();
        ASSERT_TRUE(two->table().beginGroup().ok());
        ASSERT_TRUE(two.give(2, "v8").ok());
        one.sit();
        filecalls::fail(lateCall(Call::lock, 1 + (locking ? 0 : 1), std::chrono::seconds(1), [&] {
            filecalls::renewSession(1);
            std::filesystem::rename(table, away); // nothing can be opened there for now
        }));
        if (locking)
            EXPECT_FALSE(one->table().beginGroup().ok());
        else
            EXPECT_FALSE(one.give(1, "v7").ok());
        filecalls::fail({});
        std::filesystem::rename(away, table);
        two.sit();
        EXPECT_TRUE(two->table().commitGroup().ok());
        filecalls::passTime(std::chrono::seconds(5));
        one.sit();
        EXPECT_TRUE(one->table().refresh().ok());
        EXPECT_TRUE(one.give(1, "v7").ok());
    }
}

/// Late while a dead one's commit is finished, which another one has finished meanwhile, and set the line
/// back.
TEST(RenewedShares, ADeadOnesCommitIsNotDoneAgainOverWhatOthersHaveSetBack)
{
    for (const bool isFirst : {true, false}) {
        bool met = true;
        int setBack = 0;
        for (int number = 1; met; ++number) {
            SCOPED_TRACE(std::to_string(number) + (isFirst ? ", first in the journal" : ""));
            Office office(Share::smb, Plant::none, true);
            office.both();
            Desk three(office, 3);
            Desk two(office, 2);
            Desk one(office, 1);
            EXPECT_TRUE(one.give(1, "N").ok());
            if (isFirst) {
                EXPECT_TRUE(one->table().reindex().ok());
                EXPECT_TRUE(one->table().addTag({"OTRO", "INTERESADO"}).ok());
            }
            three.sit();
            Fault dead{Call::write, 2, EIO, true};
            dead.workstation = 3;
            filecalls::fail(dead);
            EXPECT_FALSE(three.give(1, "S").ok());
            filecalls::fail({});
            bool others = false;
            filecalls::fail(lateCall(Call::write, number, longAway, [&] {
                filecalls::loseLocks(1);
                two.sit();
                static_cast<void>(two.give(2, "v8").ok()); // finishes what was begun
                static_cast<void>(two->table().refresh().ok());
                others = valueOf(two, 1) == "S" && two.give(1, "N").ok();
                one.sit();
            }));
            one.sit();
            const auto status = one.give(3, "v5");
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
                    << valueOf(two, 1) << ", told: " << (status.ok() ? "ok" : status.message());
            }
        }
        EXPECT_GT(setBack, 0);
    }
}

/// The same for one who opens the table alone, and is late with that.
TEST(RenewedShares, AnOpeningThatIsLateBringsNoOldValueBack)
{
    for (const bool isDead : {false, true}) {
        bool met = true;
        for (int number = 1; met; ++number) {
            SCOPED_TRACE(std::to_string(number) + (isDead ? ", dead" : ""));
            Office office(Share::smb, Plant::none, true);
            {
                Desk first(office, 3);
                EXPECT_TRUE(first.give(1, "v1").ok() && first.give(1, "v2").ok());
                if (isDead) {
                    Fault dead{Call::write, 2, EIO, true};
                    dead.workstation = 3;
                    filecalls::fail(dead);
                    EXPECT_FALSE(first.give(2, "v6").ok());
                    filecalls::fail({});
                }
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
                others = giveForSure(*two, 1, "v1");
                filecalls::asWorkstation(1);
            }));
            dbase::Status status = one.open(office.place());
            met = filecalls::faultMet();
            filecalls::fail({});
            if (met) {
                filecalls::passTime(std::chrono::seconds(20));
                filecalls::asWorkstation(1);
                if (!one.isOpen())
                    status = one.open(office.place());
                EXPECT_TRUE(status.ok()) << status.message();
                if (one.isOpen())
                    static_cast<void>(one.table().refresh().ok());
                if (others) {
                    EXPECT_TRUE(valueOf(*two, 1) == "v1" || (one.isOpen() && !one.table().notice().empty()))
                        << valueOf(*two, 1);
                }
            }
            filecalls::asWorkstation(1);
            static_cast<void>(one.close().ok());
        }
    }
}

/// Who is alone with a journal whose header is damaged puts it in order when he opens his files anew, as who
/// opens the table does.
TEST(RenewedShares, AHeaderThatIsDamagedIsPutInOrderByWhoIsAlone)
{
    Office office(Share::smb, Plant::none, true);
    Desk one(office, 1);
    EXPECT_TRUE(one.give(1, "N").ok());
    Fault fault{Call::write, 3, EIO, true};
    filecalls::fail(fault);
    EXPECT_FALSE(one.give(1, "S").ok());
    filecalls::fail({});
    const int journal = ::open((office.place() / "AGENDA_N.JNL").c_str(), O_RDWR);
    ASSERT_EQ(::pwrite(journal, "torn", 4, 12), 4);
    ::close(journal);
    dbase::Status status;
    for (int look = 0; look < 4; ++look) {
        filecalls::passTime(std::chrono::seconds(20));
        status = one->table().refresh().status();
    }
    EXPECT_TRUE(status.ok()) << status.message();
    EXPECT_TRUE(one.give(2, "v5").ok());
}

/// A lock that another one has for a moment is waited for, also soon after files were opened anew.
TEST(RenewedShares, ALockIsWaitedForSoonAfterTheFilesWereOpenedAnew)
{
    Office office(Share::smb, Plant::none, true);
    office.both();
    Desk two(office, 2);
    Desk one(office, 1);
    filecalls::renewSession(1);
    EXPECT_TRUE(one.give(1, "v4").ok()); // opens them
    filecalls::renewSession(1);          // the share's own connection follows the session's
    two.sit();
    ASSERT_TRUE(two->table().beginGroup().ok() && two.give(2, "v8").ok());
    one.sit();
    bool given = false;
    filecalls::fail(lateCall(Call::lock, 4, std::chrono::seconds(1), [&] {
        two.sit();
        given = two->table().commitGroup().ok();
        one.sit();
    }));
    const auto from = std::chrono::steady_clock::now();
    const auto status = one->table().beginGroup();
    const auto waited = std::chrono::steady_clock::now() - from;
    filecalls::fail({});
    EXPECT_TRUE(status.ok()) << status.message() << " after "
                             << std::chrono::duration_cast<std::chrono::milliseconds>(waited).count()
                             << " ms of 2000";
    if (!given) {
        two.sit();
        two->table().dropGroup();
    }
    one.sit();
    one->table().dropGroup();
}

/// A line that another one locks while files are opened anew in the middle of a change is not changed.
TEST(RenewedShares, ALineThatAnotherOneHasLockedMeanwhileIsNotChanged)
{
    Office office(Share::smb, Plant::none, true);
    office.both();
    Desk two(office, 2);
    Desk one(office, 1);
    two.sit();
    ASSERT_TRUE(two->table().beginGroup().ok() && two.give(2, "v8").ok());
    one.sit();
    std::optional<dbase::RecordLock> held;
    filecalls::fail(lateCall(Call::lock, 2, std::chrono::seconds(1), [] { filecalls::renewSession(1); }));
    filecalls::beforeLockOfJournal([&] {     // the old files are given up
        filecalls::beforeLockOfJournal([&] { // the new ones are there
            two.sit();
            EXPECT_TRUE(two->table().commitGroup().ok());
            auto lock = two->table().lockRecord(1);
            EXPECT_TRUE(lock.ok()) << lock.status().message();
            if (lock.ok())
                held = std::move(lock).value();
            one.sit();
        });
    });
    const auto status = one.give(1, "v7");
    filecalls::fail({});
    ASSERT_TRUE(held.has_value());
    EXPECT_EQ(status.kind(), dbase::ErrorKind::locked) << (status.ok() ? "ok" : status.message());
    EXPECT_NE(valueOf(two, 1), "v7");
    two.sit();
    held.reset();
}

/// The whole folder has been put back as it was before: what was owed to the other table does not go there.
TEST(RenewedShares, DebtsAreNotPaidToACopyOfBefore)
{
    bool met = true;
    int left = 0;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none);
        {
            Desk three(office, 3);
            EXPECT_TRUE(three.give(1, "v0").ok());
        }
        const Image before = readImage(office.place());
        std::mt19937 random(7);
        auto two = std::make_unique<Desk>(office, 2);
        {
            Desk one(office, 1);
            for (int added = 0; added < 5; ++added)
                EXPECT_TRUE(one->table().append(one->line("w1-" + std::to_string(added), "v1", random)).ok());
            filecalls::fail(lateCall(Call::write, number, longAway, [&] {
                filecalls::loseLocks(1);
                two->sit();
                static_cast<void>(giveForSure(*two, 1, "v3"));
                EXPECT_TRUE((*two)->table().beginGroup().ok() && two->give(2, "v4").ok());
                one.sit();
            }));
            static_cast<void>(one->table().append(one->line("w1-late", "v1", random)).ok());
            met = filecalls::faultMet();
            filecalls::fail({});
        }
        two->sit();
        (*two)->table().dropGroup();
        two.reset();
        writeImage(office.place(), before);
        Desk again(office, 1);
        const auto count = again->table().recordCount();
        for (int look = 0; look < 3; ++look) {
            filecalls::passTime(std::chrono::seconds(20));
            static_cast<void>(again->table().refresh().ok());
        }
        EXPECT_EQ(again->table().recordCount(), count);
        const auto all = again->readAll();
        EXPECT_TRUE(all.ok()) << all.status().message();
        left += met ? 1 : 0;
    }
    EXPECT_GT(left, 0);
}

/// Who may only read cannot pay: what is owed waits for one who can.
TEST(RenewedShares, DebtsAreNotTakenByWhoOnlyReads)
{
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        office.both();
        Desk two(office, 2);
        bool others = false;
        {
            Desk one(office, 1);
            filecalls::fail(lateCall(Call::write, number, longAway, [&] {
                filecalls::loseLocks(1);
                two.sit();
                others = giveForSure(two, 1, "v3");
                EXPECT_TRUE(two->table().beginGroup().ok() && two.give(2, "v4").ok());
                one.sit();
            }));
            static_cast<void>(one.give(1, "v2").ok());
            met = filecalls::faultMet();
            filecalls::fail({});
        }
        two.sit();
        if (met) {
            EXPECT_TRUE(two->table().commitGroup().ok());
        }
        filecalls::asWorkstation(1);
        dbase::OpenOptions options;
        options.readOnly = true;
        const auto reader = dbase::Table::open(office.place() / "AGENDA_N.DBF", options);
        EXPECT_TRUE(reader.ok());
        Desk again(office, 1);
        for (int look = 0; look < 3; ++look) {
            filecalls::passTime(std::chrono::seconds(20));
            static_cast<void>(again->table().refresh().ok());
        }
        if (others) {
            EXPECT_TRUE(valueOf(two, 1) == "v3" || !again->table().notice().empty()) << valueOf(two, 1);
        }
        filecalls::asWorkstation(1);
    }
}

/// Another server, which this table has nothing to do with, comes and goes: looks at the table stay cheap.
TEST(RenewedShares, AnotherServersRenewalsDoNotOpenTheFilesAgainAndAgain)
{
    Office office(Share::smb, Plant::none, true);
    office.both();
    Desk one(office, 1);
    filecalls::tallyAnew();
    const auto from = std::chrono::steady_clock::now();
    constexpr int looks = 20;
    for (int look = 0; look < looks; ++look) {
        filecalls::renewSession(9); // no file of this machine is open there
        filecalls::passTime(std::chrono::seconds(3));
        one.sit();
        EXPECT_TRUE(one->table().refresh().ok());
    }
    const auto took = std::chrono::steady_clock::now() - from - looks * std::chrono::seconds(3);
    std::cout << filecalls::tally(Call::open) << " files opened, "
              << std::chrono::duration_cast<std::chrono::milliseconds>(took).count() << " ms waited\n";
    EXPECT_LT(took, std::chrono::seconds(5));
}

/// Being alone could not be given back: the next look goes on from there.
TEST(RenewedShares, BeingAloneThatCouldNotBeGivenBackDoesNotStandInTheWay)
{
    for (int after = 0; after < 8; ++after) {
        SCOPED_TRACE(after);
        Office office(Share::smb, Plant::none, false);
        Desk one(office, 1);
        EXPECT_TRUE(one.give(1, "N").ok());
        filecalls::failUnlocks(1, after);
        static_cast<void>(one->table().pack().ok());
        filecalls::failUnlocks(0);
        filecalls::passTime(std::chrono::seconds(5));
        const auto from = std::chrono::steady_clock::now();
        const auto status = one->table().refresh().status();
        const auto took = std::chrono::steady_clock::now() - from;
        EXPECT_TRUE(status.ok()) << status.message() << " after "
                                 << std::chrono::duration_cast<std::chrono::milliseconds>(took).count();
    }
}

/// One is late with a line, and the journal's header is that of a third one, who was late, too: what lies
/// beneath the line is put right all the same, or who was late with it is told to look.
TEST(RenewedShares, ALateLineBehindAThirdOnesLateHeaderIsNotPassedOver)
{
    Office office(Share::smb, Plant::none, true);
    office.both();
    Desk three(office, 3);
    Desk two(office, 2);
    Desk one(office, 1);
    EXPECT_TRUE(one.give(1, "N").ok());
    bool others = false;
    filecalls::fail(lateCall(Call::write, 2, longAway, [&] {
        filecalls::loseLocks(1);
        two.sit();
        static_cast<void>(two.give(2, "v8").ok()); // finishes what was begun
        static_cast<void>(two->table().refresh().ok());
        others = valueOf(two, 1) == "S" && two.give(1, "N2").ok();
        Fault inner = lateCall(Call::write, 3, longAway, [&] {
            filecalls::loseLocks(3);
            two.sit();
            EXPECT_TRUE(giveForSure(two, 2, "v9") && two.give(2, "v10").ok());
            EXPECT_TRUE(two->table().beginGroup().ok()); // some work
            three.sit();
        });
        inner.workstation = 3;
        filecalls::fail(inner);
        three.sit();
        static_cast<void>(three.give(3, "v11").ok());
        EXPECT_TRUE(filecalls::faultMet());
        filecalls::fail({});
        two.sit();
        two->table().dropGroup();
        one.sit();
    }));
    one.sit();
    const auto status = one.give(1, "S");
    filecalls::fail({});
    EXPECT_TRUE(others);
    for (int look = 0; look < 3; ++look) {
        for (Desk *desk : {&one, &three}) {
            filecalls::passTime(std::chrono::seconds(20));
            desk->sit();
            static_cast<void>((*desk)->table().refresh().ok());
        }
    }
    EXPECT_TRUE(valueOf(two, 1) == "N2" || !one->table().notice().empty())
        << valueOf(two, 1) << ", told: " << (status.ok() ? "ok" : status.message());
}

} // namespace
