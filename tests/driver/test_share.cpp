// Two workstations at one table on a share: what SMB and NFS do to locks, to what is read, and to those whose
// connection goes away for a while.

#include "tests/driver/Office.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <iostream>

namespace
{

using namespace driver;
using filecalls::Fault;
using filecalls::Plant;
using filecalls::Share;

constexpr std::size_t enoughWrong = 3;

// ---------------------------------------------------------------------------------------------------------------------
// The scenarios; each says what went wrong.

Wrong bothWrite(Share share, Plant planted)
{
    Office office(share, planted);
    office.both();
    for (int round = 0; round < 3; ++round) {
        for (const int workstation : {1, 2}) {
            office.mustChange(workstation, "shared-a");
            office.mustChange(workstation, "shared-b");
        }
        office.at(1).add("w1-" + std::to_string(round), "v1");
        office.at(2).addSheet("w2-" + std::to_string(round) + "s", "v2");
    }
    return office.finish();
}

/// What one is told is done stays, also when it has not looked for a while.
Wrong setBackToAnEarlierValue(Share share, Plant planted)
{
    Wrong wrong;
    for (const int seconds : {0, 40}) {
        Office office(share, planted);
        office.mustChange(1, "shared-a", "v1");
        filecalls::passTime(std::chrono::seconds(seconds));
        office.mustChange(2, "shared-a", "v2");
        office.mustChange(2, "shared-a", "v3");
        office.must(office.at(2).close().ok(), "the other one cannot leave");
        office.mustChange(1, "shared-a", "v2");
        for (const std::string &text : office.finish())
            wrong.push_back((seconds == 0 ? "at once: " : "after a while: ") + text);
    }
    return wrong;
}

Wrong watchOneWrite(Share share, Plant planted)
{
    Office office(share, planted);
    filecalls::asWorkstation(2);
    AgendaTable reader;
    office.must(reader.open(office.place()).ok(), "it does not open");
    for (int n = 1; n <= 5 && reader.isOpen(); ++n) {
        const std::string told = office.newValue(1);
        office.mustChange(1, "shared-a", told);
        filecalls::passTime(std::chrono::milliseconds(700));
        filecalls::asWorkstation(2);
        const auto news = reader.table().refresh();
        office.must(news.ok() && news.value(), "no news of " + told);
        const auto line = reader.find("shared-a");
        Bytes record(reader.table().recordLength());
        const bool read = line.ok() && reader.table().read(line.value(), record).ok();
        const std::string seen = read ? reader.text(record, Field::interesado) : "nothing";
        office.must(seen == told, "what is seen is " + seen);
    }
    filecalls::asWorkstation(2);
    static_cast<void>(reader.close());
    return office.finish();
}

/// Runs a scenario once for each of the calls that something happens at.
/// @param one  gets the call's number. @return whether there were that many, and what went wrong.
Wrong atEachCall(const char *what, const std::function<std::pair<bool, Wrong>(int)> &one)
{
    Wrong wrong;
    for (int number = 1;; ++number) {
        const auto [met, found] = one(number);
        for (const std::string &text : found)
            wrong.push_back(std::string(what) + ", call " + std::to_string(number) + ": " + text);
        if (!met) {
            if (number < 3)
                wrong.push_back(std::string(what) + ": there were no calls");
            return wrong;
        }
        if (wrong.size() >= enoughWrong)
            return wrong;
    }
}

/// A call takes a minute; the server gives the locks to others, who write.
Wrong loseLocksInTheMiddle(Share share, Plant planted)
{
    const struct {
        const char *name;
        int error;
        bool answerIsLate;
        int more; ///< changes of other lines, for which the journal is emptied
    } ways[] = {{"works late", 0, false, 0},
                {"answered late", 0, true, 0},
                {"fails late", EIO, false, 0},
                {"works very late", 0, false, 100}};
    Wrong wrong;
    for (const auto &way : ways) {
        for (const bool isSheet : {false, true}) {
            const Wrong found = atEachCall(way.name, [&](int number) {
                Office office(share, planted);
                office.both();
                Fault fault{{}, number, way.error};
                fault.late = std::chrono::seconds(60);
                fault.answerIsLate = way.answerIsLate;
                fault.workstation = 1;
                fault.meanwhile = [&office, more = way.more] {
                    filecalls::loseLocks(1);
                    office.mustChange(2, "shared-a", office.newValue(2), 2);
                    office.at(2).add("w2-new", "v2");
                    for (int i = 0; i < more; ++i)
                        office.mustChange(2, "shared-b", office.newValue(2), 2);
                    filecalls::asWorkstation(1);
                };
                filecalls::asWorkstation(1);
                filecalls::fail(fault);
                if (isSheet)
                    office.at(1).addSheet("w1-news", "v1");
                else
                    office.change(1, "shared-a");
                const bool met = filecalls::faultMet();
                filecalls::fail({});
                static_cast<void>(office.at(1).refresh().ok()); // may say that something was in its way
                office.mustChange(2, "shared-b");
                office.mustChange(1, "shared-b");
                return std::pair(met, office.finish());
            });
            wrong.insert(wrong.end(), found.begin(), found.end());
        }
    }
    return wrong;
}

Wrong failUnlocks(Share share, Plant planted)
{
    const struct {
        const char *name;
        bool opens;     ///< also those of the opening
        bool refreshes; ///< the first one then only looks for news
    } ways[] = {{"then a change", false, false}, {"then a look", false, true}, {"of an opening", true, true}};
    Wrong wrong;
    for (const auto &way : ways) {
        const Wrong found = atEachCall(way.name, [&](int number) {
            Office office(share, planted, true);
            if (!way.opens)
                office.both();
            filecalls::failUnlocks(1, number - 1);
            office.change(1, "shared-a");
            const bool met = filecalls::unlockHasFailed();
            filecalls::failUnlocks(0);
            if (way.refreshes)
                static_cast<void>(office.at(1).refresh().ok());
            else
                office.change(1, "shared-c");
            office.mustChange(2, "shared-a");
            office.mustChange(1, "shared-a");
            office.mustChange(2, "shared-c");
            return std::pair(met, office.finish());
        });
        wrong.insert(wrong.end(), found.begin(), found.end());
    }
    return wrong;
}

/// All calls of one workstation fail for half a minute; then it goes on with the same table.
Wrong cutTheCable(Share share, Plant planted)
{
    const struct {
        const char *name;
        int error;
        bool losesLocks;
    } ways[] = {{"cut", EIO, false}, {"cut, locks freed", EHOSTDOWN, true}};
    Wrong wrong;
    for (const auto &way : ways) {
        const Wrong found = atEachCall(way.name, [&](int number) {
            Office office(share, planted, true);
            office.both();
            Fault fault{{}, number, way.error, true};
            fault.workstation = 1;
            filecalls::fail(fault);
            office.change(1, "shared-a");
            const bool met = filecalls::faultMet();
            static_cast<void>(office.at(1).refresh().ok());
            filecalls::passTime(std::chrono::seconds(30));
            if (way.losesLocks) {
                filecalls::loseLocks(1, true);
                office.mustChange(2, "shared-a", office.newValue(2), 2);
            }
            filecalls::fail({});
            const dbase::Status status = office.at(1).refresh();
            office.must(status.ok(), "it does not go on: " + status.message());
            office.mustChange(1, "shared-b");
            office.mustChange(2, "shared-a");
            return std::pair(met, office.finish());
        });
        wrong.insert(wrong.end(), found.begin(), found.end());
    }
    return wrong;
}

/// The first lock call after a connection was away fails; a file that is read is known again.
Wrong forgetAHandle(Share share, Plant planted)
{
    return atEachCall("handle not known", [&](int number) {
        Office office(share, planted);
        office.both();
        Fault fault{filecalls::Call::lock, number, EBADF, planted == Plant::neverMended};
        fault.workstation = 1;
        filecalls::fail(fault);
        office.mustChange(1, "shared-a");
        const bool met = filecalls::faultMet();
        filecalls::fail({});
        office.mustChange(2, "shared-a");
        return std::pair(met, office.finish());
    });
}

/// The server begins anew at each call of a workstation, which notices nothing but that the call takes a
/// second. Others may be quicker than its system, which takes its locks again.
Wrong restartTheServer(Share share, Plant planted)
{
    Wrong wrong;
    for (const bool othersAreIn : {false, true}) {
        for (const bool isLook : {false, true}) {
            const std::string name =
                std::string(isLook ? "look" : "change") + (othersAreIn ? ", others in" : "");
            const Wrong found = atEachCall(name.c_str(), [&](int number) {
                Office office(share, planted, true);
                office.both();
                Fault fault{{}, number, 0};
                fault.late = std::chrono::seconds(1);
                fault.workstation = 1;
                fault.meanwhile = [&] {
                    filecalls::loseLocks(1);
                    if (othersAreIn)
                        office.at(2).add("w2-in", office.newValue(2));
                    filecalls::renewSession(1);
                    filecalls::asWorkstation(1);
                };
                filecalls::asWorkstation(1);
                filecalls::fail(fault);
                if (isLook)
                    static_cast<void>(office.at(1).agenda().readAll().ok());
                else
                    office.at(1).add("w1-new", "v1");
                const bool met = filecalls::faultMet();
                filecalls::fail({});
                filecalls::passTime(std::chrono::seconds(5));
                static_cast<void>(office.at(1).refresh().ok());
                office.mustAdd(2, "w2-new");
                office.mustChange(1, "shared-b");
                return std::pair(met, office.finish());
            });
            wrong.insert(wrong.end(), found.begin(), found.end());
        }
    }
    return wrong;
}

struct Scenario {
    const char *name;
    Wrong (*run)(Share, Plant);
    onShares::Holds holds;
    Plant planted; ///< what makes it fail; none where nothing does that is known
    Share where;   ///< there
};

const Scenario scenarios[] = {
    {"both write", bothWrite, onShares::twoWriters, Plant::exclusiveStays, Share::smb},
    {"set back to an earlier value", setBackToAnEarlierValue, onShares::lastWordStays, Plant::none,
     Share::nfs},
    {"one writes, one watches", watchOneWrite, onShares::newsAreSeen, Plant::directIgnored, Share::nfs},
    {"locks lost in the middle", loseLocksInTheMiddle, onShares::locksLost, Plant::clockStandsStill,
     Share::smb},
    {"an unlock fails", failUnlocks, onShares::unlockFails, Plant::unlockNotTriedAgain, Share::smb},
    {"handle not known", forgetAHandle, onShares::connectionDead, Plant::neverMended, Share::smb},
    {"server begins anew", restartTheServer, onShares::locksLost, Plant::renewalsNotTold, Share::smb},
    {"cable cut", cutTheCable, onShares::connectionDead, Plant::neverMended, Share::nfs},
};

TEST(Shares, AreForTwoWorkstations)
{
    for (const Scenario &one : scenarios) {
        for (const Share share : {Share::smb, Share::nfs}) {
            const Wrong wrong = one.run(share, Plant::none);
            EXPECT_EQ(wrong.empty(), one.holds.on(share)) << one.name << ", " << onShares::nameOf(share);
            for (const std::string &text : wrong)
                std::cout << one.name << ", " << onShares::nameOf(share) << ": " << text << "\n";
        }
    }
}

/// What a mistake in the table files would do is done to them from outside; the test above must see it.
TEST(Shares, FindPlantedFaults)
{
    for (const Scenario &one : scenarios) {
        EXPECT_TRUE(one.planted == Plant::none || !one.run(one.where, one.planted).empty()) << one.name;
    }
}

} // namespace
