// Commits without room for a link, renewals of the sessions with a server, and what is on its disk.

#include "tests/driver/Desk.h"

#include "upkeep/TableCare.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <random>

namespace
{

using namespace driver;
using filecalls::Call;
using filecalls::Fault;
using filecalls::Plant;
using filecalls::Share;

/// A new agenda whose lines are longer by a field that nobody uses.
Image agendaWithLongerLines(int more)
{
    const support::TempFolder folder;
    dbase::TableDefinition made = upkeep::agendaDefinition();
    made.tags.push_back({"CLAVE", "OFICIAL"});
    if (more > 0)
        made.fields.push_back({"RELLENO", dbase::FieldType::character, static_cast<std::uint8_t>(more)});
    EXPECT_TRUE(dbase::Table::create(folder.path() / "AGENDA_N.DBF", made).ok());
    AgendaTable agenda;
    EXPECT_TRUE(agenda.open(folder.path()).ok());
    std::mt19937 random(1);
    for (const char *key : {"shared-a", "shared-b", "shared-c", "shared-d"})
        EXPECT_TRUE(agenda.table().append(agenda.line(key, "v0", random)).ok());
    EXPECT_TRUE(agenda.close().ok());
    return readImage(folder.path());
}

/// A commit whose last sector has no room behind it is told apart from a late one as any other: what was
/// refused is not done later, whatever the length of the lines.
TEST(LinksAndRenewals, ARefusedCommitIsNotDoneLaterWhateverTheLengthOfTheLines)
{
    constexpr int roomy = 0;
    constexpr int fillsItsSectors = 86; // 32 + 8 + 2 * 492 bytes
    for (const int more : {roomy, fillsItsSectors}) {
        const Image start = agendaWithLongerLines(more);
        int refusedOnes = 0;
        bool met = true;
        for (int number = 1; met; ++number) {
            SCOPED_TRACE("call " + std::to_string(number) + ", " + std::to_string(more) + " bytes more");
            Office office(Share::smb, Plant::none);
            writeImage(office.place(), start);
            Desk one(office, 1);
            Desk two(office, 2);
            Desk three(office, 3);
            bool others = false;
            dbase::Status refused;
            EXPECT_TRUE(one.give(3, "v1").ok()); // the table is said to be in use
            const std::string before = valueOf(one, 2);
            three.sit();
            Fault outer = lateCall(Call::write, 2, 2 * longAway, [&] {
                filecalls::loseLocks(3);
                two.sit();
                EXPECT_TRUE(giveForSure(two, 3, "w1")); // finishes what three has begun
                one.sit();
                int calls = 0;
                Fault inner = lateCall({}, number, longAway, [&] {
                    ++calls;
                    two.sit();
                    if (calls == 1) {
                        filecalls::loseLocks(1);
                        others = two.give(1, "vB").ok() && two.give(4, "vD").ok();
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
                EXPECT_TRUE(valueOf(three, 1) == "vB" || !three->table().notice().empty())
                    << valueOf(three, 1);
            }
        }
        EXPECT_GT(refusedOnes, 0);
    }
}

/// The count of renewals is the whole machine's. After another server's have come for long, the own server's
/// return still frees at once what its client has locked twice: nobody else waits for it a minute.
TEST(LinksAndRenewals, AnOwnRenewalAfterAnotherServersIsNotPutOff)
{
    for (const bool storm : {false, true}) {
        SCOPED_TRACE(storm ? "after another server's" : "alone");
        Office office(Share::smb, Plant::none, true);
        office.both();
        Desk two(office, 2);
        Desk one(office, 1);
        for (int look = 0; storm && look < 60; ++look) {
            filecalls::renewSession(1); // nothing is locked but presence
            filecalls::passTime(std::chrono::seconds(3));
            one.sit();
            EXPECT_TRUE(one->table().refresh().ok());
        }
        one.sit();
        filecalls::fail(lateCall(Call::read, 2, std::chrono::seconds(1), [] { filecalls::renewSession(1); }));
        EXPECT_FALSE(one.valuesOf("shared-a").empty());
        EXPECT_TRUE(filecalls::faultMet());
        filecalls::fail({});
        std::mt19937 random(7);
        const auto from = std::chrono::steady_clock::now();
        bool added = false;
        int refusals = 0;
        for (int look = 0; look < 60 && !added; ++look) {
            one.sit();
            static_cast<void>(one->table().refresh().ok());
            two.sit();
            added = two->table().append(two->line("w2-x", "v1", random)).ok();
            refusals += added ? 0 : 1;
            filecalls::passTime(std::chrono::seconds(1));
        }
        const auto took = std::chrono::steady_clock::now() - from;
        EXPECT_TRUE(added);
        EXPECT_LT(took, std::chrono::seconds(8))
            << refusals << " refusals in " << std::chrono::duration_cast<std::chrono::seconds>(took).count()
            << " s";
    }
}

/// A lock that could not be given back is freed with its file as soon as its owner wants it again, also where
/// waiting is long: not when his patience ends, with everybody else kept out until then.
TEST(LinksAndRenewals, WhoCannotGiveALockBackDoesNotWaitForHimself)
{
    int stuck = 0;
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        filecalls::asWorkstation(1);
        AgendaTable one;
        ASSERT_TRUE(one.open(office.place(), std::chrono::seconds(30)).ok());
        const auto give = [&one](const std::string &value) {
            Bytes before(one.table().recordLength());
            EXPECT_TRUE(one.table().read(1, before).ok());
            Bytes after = before;
            one.setValue(after, value);
            return one.table().update(1, before, after);
        };
        filecalls::failUnlocks(1);
        EXPECT_TRUE(give("v1").ok());
        filecalls::failUnlocks(0);
        EXPECT_TRUE(one.table().refresh().ok()); // the files are opened anew, and not again at once
        filecalls::failUnlocks(1, number - 1);
        EXPECT_TRUE(give("v2").ok());
        met = filecalls::unlockHasFailed();
        stuck += met ? 1 : 0;
        filecalls::failUnlocks(0);
        const auto from = std::chrono::steady_clock::now();
        EXPECT_TRUE(give("v3").ok());
        office.mustChange(2, "shared-b");
        EXPECT_LT(std::chrono::steady_clock::now() - from, std::chrono::seconds(5));
        filecalls::asWorkstation(1);
        EXPECT_TRUE(one.close().ok());
    }
    EXPECT_GT(stuck, 1);
}

/// What needs the table alone is not refused, and a table is closed in order, while another server's renewals
/// are let pass.
TEST(LinksAndRenewals, PackingAndClosingWorkWhileRenewalsAreLetPass)
{
    Office office(Share::smb, Plant::none);
    {
        Desk one(office, 1);
        EXPECT_TRUE(one.give(1, "v1").ok());
        for (int look = 0; look < 60; ++look) {
            filecalls::renewSession(9);
            filecalls::renewSession(1);
            filecalls::passTime(std::chrono::seconds(3));
            one.sit();
            EXPECT_TRUE(one->table().refresh().ok());
        }
        int refusals = 0;
        dbase::Status packed;
        for (int attempt = 0; attempt < 10; ++attempt) {
            packed = one->table().pack();
            refusals += packed.ok() ? 0 : 1;
            filecalls::passTime(std::chrono::seconds(3));
            filecalls::renewSession(1);
        }
        EXPECT_EQ(refusals, 0) << packed.message();
        EXPECT_TRUE(one.give(1, "v2").ok());
    }
    const std::string journal = support::readFile(office.place() / "AGENDA_N.JNL");
    constexpr std::size_t flags = 28;
    EXPECT_EQ(dbase::get32(reinterpret_cast<const std::uint8_t *>(journal.data()) + flags) & 1U, 1U)
        << "closed in order";
}

/// A dead one may have been of a system whose writes do not go through, and have died before it asked for
/// them to be brought to the disk: the server has its commit in memory. Before it is done again it is brought
/// to the disk.
TEST(LinksAndRenewals, ADeadOnesCommitIsOnDiskBeforeItIsDoneAgain)
{
    for (const Share share : {Share::smb, Share::nfs}) {
        SCOPED_TRACE(share == Share::smb ? "smb" : "nfs");
        Office office(share, Plant::none);
        filecalls::watch(office.place(), true);
        filecalls::behaveAs(share);
        Desk one(office, 1);
        Desk three(office, 3);
        EXPECT_TRUE(one.give(2, "v1").ok());
        three.sit();
        Fault dead{Call::write, 2, EIO, true};
        dead.workstation = 3;
        filecalls::fail(dead);
        EXPECT_FALSE(three.give(1, "S").ok());
        filecalls::fail({});
        filecalls::mark("dead");
        one.sit();
        EXPECT_TRUE(giveForSure(one, 3, "v5"));
        bool isDead = false;
        bool isOnDisk = false;
        bool isDoneAgain = false;
        for (const auto &event : filecalls::recorded()) {
            using Kind = filecalls::Event::Kind;
            isDead = isDead || (event.kind == Kind::mark && event.text == "dead");
            if (!isDead || isDoneAgain)
                continue;
            isOnDisk = isOnDisk || (event.kind == Kind::flushed && event.file == "AGENDA_N.JNL" &&
                                    (event.length == 0 || event.offset >= 512U));
            isDoneAgain = event.kind == Kind::written && event.file == "AGENDA_N.DBF";
        }
        EXPECT_TRUE(isDoneAgain);
        EXPECT_TRUE(isOnDisk);
    }
}

/// A journal was emptied, and only its header came late: nothing of the table was written over anything, and
/// nobody is sent to look through his appointments.
TEST(LinksAndRenewals, ALateHeaderOfAnEmptiedJournalWorriesNobody)
{
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(Share::smb, Plant::none, true);
        office.both();
        Desk two(office, 2);
        Desk one(office, 1);
        EXPECT_TRUE(one.give(1, "N").ok());
        bool others = false;
        filecalls::fail(lateCall(Call::write, number, longAway, [&] {
            filecalls::loseLocks(1);
            two.sit();
            others = giveForSure(two, 1, "v3") && two.give(2, "v4").ok();
            one.sit();
        }));
        const auto status = one->table().reindex();
        met = filecalls::faultMet();
        filecalls::fail({});
        for (int look = 0; look < 3; ++look) {
            filecalls::passTime(std::chrono::seconds(20));
            one.sit();
            static_cast<void>(one->table().refresh().ok());
        }
        if (others) {
            EXPECT_EQ(valueOf(two, 1), "v3");
            EXPECT_EQ(valueOf(two, 2), "v4");
            EXPECT_EQ(one->table().notice(), "") << (status.ok() ? "ok" : status.message());
        }
    }
}

} // namespace
