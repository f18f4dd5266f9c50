// File calls that fail, each in turn: nothing is damaged, nothing acknowledged is lost, who asked for the
// change is told, and the other writer goes on.

#include "tests/driver/FileCalls.h"
#include "tests/driver/Judge.h"
#include "tests/driver/OnShares.h"
#include "tests/driver/PowerCut.h"
#include "tests/driver/Writer.h"
#include "tests/support/TempFolder.h"
#include "upkeep/TableCare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <iostream>

namespace
{

using namespace driver;
using filecalls::Call;
using filecalls::Fault;
using filecalls::Plant;
using filecalls::Share;

constexpr unsigned seed = 20261121;
constexpr int changes = 6;
constexpr auto patience = std::chrono::milliseconds(40);

struct Kind {
    std::optional<Call> call;
    int error;
    bool staysBroken;
    bool mustBeTold; ///< a failure of a read may be got over by reading in another way, one of these may not
    const char *name;
    int late = 0; ///< seconds that the call takes first; without error it works then
};

const Kind kinds[] = {
    {Call::write, EIO, false, true, "write EIO"},
    {Call::write, ENOSPC, false, true, "write ENOSPC"},
    {Call::write, ENOSPC, true, true, "write ENOSPC from then on"},
    {Call::write, 0, false, false, "short write"},
    {Call::write, EINTR, false, false, "write EINTR"},
    {Call::flush, EIO, false, true, "flush EIO"},
    {Call::flush, EIO, true, true, "flush EIO from then on"},
    {Call::flush, EINTR, false, false, "flush EINTR"}, // a write through to the disk is written again
    {Call::reserve, ENOSPC, false, true, "reserve ENOSPC"},
    {Call::size, EIO, false, true, "truncate EIO"},
    {Call::read, EIO, false, false, "read EIO"},
    {Call::read, 0, false, false, "short read"},
    {Call::read, EINTR, false, false, "read EINTR"},
    {Call::open, EACCES, false, false, "open EACCES"},
    {Call::open, EMFILE, true, false, "open EMFILE from then on"}, // a look at the place can be done without
    {Call::open, ENOENT, false, false, "open ENOENT"},
    {Call::look, EIO, false, false, "stat EIO"},
    {Call::length, EIO, false, false, "length EIO"},
    {Call::map, ENOMEM, false, false, "map ENOMEM"},
    {Call::lock, EAGAIN, false, false, "lock EAGAIN"},
    {Call::lock, ENOLCK, true, true, "lock ENOLCK from then on"},
    {{}, ESTALE, true, true, "connection gone"},
};

const Kind kindsOnShares[] = {
    {Call::unlock, EIO, false, false, "unlock EIO"},
    {Call::unlock, EIO, true, false, "unlock EIO from then on"},
    {Call::lookByName, ESTALE, false, false, "stat ESTALE"},
    {{}, EHOSTDOWN, true, true, "machine gone"},
    {{}, 0, false, false, "slow", 20},
    {{}, EAGAIN, false, false, "slow EAGAIN", 20},
    {{}, EIO, false, false, "slow EIO", 60},
    {{}, EHOSTDOWN, true, true, "slow EHOSTDOWN from then on", 60},
};

struct Outcome {
    bool met = false;
    std::vector<std::string> wrong;
};

/// One run with a fault: a writer whose calls fail, beside one whose do not.
/// @param start   the table's files.
/// @param beside  whether the other writer is there all the time, or comes when the first has gone.
Outcome run(const Image &start, const Kind &kind, int number, bool beside, Plant planted, Share share)
{
    const support::TempFolder folder;
    writeImage(folder.path(), start);
    filecalls::watch(folder.path(), false);
    filecalls::plant(planted);
    filecalls::behaveAs(share);
    filecalls::asWorkstation(2);
    Told told;
    const auto teller = [&told](int id) {
        return [&told, id](const std::string &line) { told.line(id, line); };
    };
    Outcome outcome;
    Writer sound(folder.path(), 2, seed + 1, teller(2), patience);
    if (beside)
        sound.step();
    const int refusedBefore = told.refused();
    bool said = false;
    {
        filecalls::asWorkstation(1);
        Writer broken(folder.path(), 1, seed, teller(1), patience);
        filecalls::fail(
            Fault{kind.call, number, kind.error, kind.staysBroken, false, std::chrono::seconds(kind.late)});
        for (int n = 0; n < changes; ++n)
            broken.step();
        said = !broken.close().ok() || told.refused() > refusedBefore;
        outcome.met = filecalls::faultMet();
        filecalls::fail({});
    }
    // On a share giving back the last locks may fail as well, with nothing left to tell.
    const bool mustBeTold = kind.mustBeTold && (kind.call || share == Share::local);
    if (outcome.met && mustBeTold && !said)
        outcome.wrong.emplace_back("nobody was told");
    const int refused = told.refused();
    filecalls::asWorkstation(2);
    sound.step();
    sound.step();
    if (told.refused() > refused)
        outcome.wrong.emplace_back("the other writer cannot go on");
    if (const dbase::Status status = sound.close(); !status.ok())
        outcome.wrong.push_back("the other writer: " + status.message());
    filecalls::behaveAs(Share::local);
    filecalls::unwatch();
    for (const std::string &one : judge(folder.path(), told))
        outcome.wrong.push_back(one);
    return outcome;
}

/// All calls of a kind in turn. @return failures, with the call that fails.
std::vector<std::string> runAll(const Image &start, const Kind &kind, Plant planted, int &faults,
                                Share share = Share::local)
{
    std::vector<std::string> failures;
    for (const bool beside : {true, false}) {
        for (int number = 1;; ++number) {
            const Outcome outcome = run(start, kind, number, beside, planted, share);
            for (const std::string &one : outcome.wrong)
                failures.push_back(std::string(kind.name) + ", call " + std::to_string(number) +
                                   (beside ? ", beside another: " : ", alone: ") + one);
            if (!outcome.met || failures.size() > 5)
                break;
            ++faults;
        }
    }
    return failures;
}

Image newTable()
{
    const support::TempFolder folder;
    EXPECT_TRUE(AgendaTable::create(folder.path()).ok());
    return readImage(folder.path());
}

TEST(FailingCalls, DamageNothingAndAreTold)
{
    const Image start = newTable();
    int faults = 0;
    for (const Kind &kind : kinds) {
        const int before = faults;
        for (const std::string &one : runAll(start, kind, Plant::none, faults))
            ADD_FAILURE() << one;
        EXPECT_TRUE(faults > before || kind.call == Call::size) << kind.name << " was never met";
    }
    std::cout << faults << " faults\n";
}

class FailingCallsOn : public testing::TestWithParam<Share>
{
};
INSTANTIATE_TEST_SUITE_P(Shares, FailingCallsOn, testing::Values(Share::smb, Share::nfs));

TEST_P(FailingCallsOn, DamageNothingAndAreTold)
{
    std::vector<Kind> all(std::begin(kindsOnShares), std::end(kindsOnShares));
    std::copy_if(std::begin(kinds), std::end(kinds), std::back_inserter(all),
                 [](const Kind &kind) { return kind.mustBeTold && kind.call != Call::size; });
    const Image start = newTable();
    int faults = 0;
    std::vector<std::string> wrong;
    for (const Kind &kind : all) {
        const int before = faults;
        const auto found = runAll(start, kind, Plant::none, faults, GetParam());
        wrong.insert(wrong.end(), found.begin(), found.end());
        EXPECT_GT(faults, before) << kind.name << " was never met";
    }
    std::cout << faults << " faults\n";
    EXPECT_EQ(wrong.empty(), onShares::failingCalls.on(GetParam()));
    for (const std::string &one : wrong)
        std::cout << one << "\n";
}

/// Adds a line as a program does that keeps no index.
void addForeignLine(const std::filesystem::path &file)
{
    constexpr std::size_t headerLength = 289;
    constexpr std::size_t recordLength = 406;
    constexpr std::size_t keyAt = 388;
    std::string bytes = support::readFile(file);
    std::string line = bytes.substr(headerLength, recordLength);
    line.replace(keyAt, 16, "foreign         ");
    bytes.replace(bytes.size() - 1, 1, line + '\x1A');
    ++bytes[4];
    support::writeFile(file, bytes);
}

/// The index is written anew in the middle of a question, and that fails: the object goes on, and the next
/// question puts it in order.
TEST(FailingCalls, LeaveAnIndexThatCanBeRepaired)
{
    const Image start = newTable();
    for (const Call call : {Call::write, Call::read, Call::reserve, Call::size, Call::look, Call::length}) {
        int number = 1;
        for (bool met = true; met; ++number) {
            SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", " + std::to_string(number));
            const support::TempFolder folder;
            writeImage(folder.path(), start);
            filecalls::watch(folder.path(), false);
            AgendaTable agenda;
            ASSERT_TRUE(agenda.open(folder.path(), patience).ok());
            addForeignLine(folder.path() / "AGENDA_N.DBF");
            filecalls::fail(Fault{call, number, ENOSPC, false, false});
            std::ignore = agenda.table().refresh();
            std::ignore = agenda.find("foreign");
            met = filecalls::faultMet();
            filecalls::fail({});
            std::ignore = agenda.table().refresh();
            const auto found = agenda.find("foreign");
            EXPECT_TRUE(found.ok()) << found.status().message();
            EXPECT_EQ(found.ok() ? found.value() : 0, 5U);
            EXPECT_TRUE(agenda.table().check().ok());
            filecalls::unwatch();
        }
        EXPECT_GT(number, 2) << "no such call in a repair";
    }
}

/// A full disk is met before anything has changed, however often it is tried.
TEST(FailingCalls, AFullDiskIsMetEachTime)
{
    const support::TempFolder folder;
    writeImage(folder.path(), newTable());
    filecalls::watch(folder.path(), false);
    AgendaTable agenda;
    ASSERT_TRUE(agenda.open(folder.path(), patience).ok());
    std::mt19937 random(1);
    const auto add = [&] {
        return agenda.table().append(agenda.line("nueva", "v0", random)).status().kind();
    };
    filecalls::fail(Fault{Call::reserve, 1, ENOSPC, true, false});
    for (int attempt = 1; attempt <= 3; ++attempt) {
        const int before = filecalls::counted();
        EXPECT_EQ(add(), dbase::ErrorKind::full) << attempt;
        EXPECT_GT(filecalls::counted(), before) << "room must be asked for, attempt " << attempt;
    }
    filecalls::fail({});
    EXPECT_EQ(add(), dbase::ErrorKind::none);
    filecalls::unwatch();
}

/// Who dies while it makes the index anew leaves half of one to those who have the table open.
TEST(FailingCalls, NobodyBelievesInAnIndexThatIsHalfMade)
{
    constexpr int lines = 300;
    for (int write = 1;; ++write) {
        SCOPED_TRACE(write);
        const support::TempFolder folder;
        const auto file = folder.path() / "AGENDA_N.DBF";
        ASSERT_TRUE(dbase::Table::create(file, upkeep::agendaDefinition()).ok());
        filecalls::watch(folder.path(), false);
        auto other = dbase::Table::open(file, {});
        ASSERT_TRUE(other.ok());
        dbase::Table &table = *other.value();
        for (int n = 0; n < lines; ++n) {
            auto line = dbase::blankRecord(table.recordLength());
            const std::string day = std::to_string(20260100 + n * 7 % 31 + n % 12 * 100 + 1);
            std::copy(day.begin(), day.end(), line.begin() + 1);
            ASSERT_TRUE(table.append(line).ok());
        }
        {
            auto dying = dbase::Table::open(file, {});
            ASSERT_TRUE(dying.ok());
            filecalls::fail(Fault{Call::write, write, EIO, true, true});
            std::ignore = dying.value()->reindex();
        }
        const bool met = filecalls::faultMet();
        filecalls::fail({});
        std::vector<dbase::RecordNumber> numbers;
        const dbase::Status status = table.liveRecords(table.index("FECHA"), {}, {}, numbers);
        EXPECT_TRUE(status.ok()) << status.message();
        EXPECT_EQ(numbers.size(), lines);
        EXPECT_TRUE(table.check().ok());
        filecalls::unwatch();
        if (!met)
            break;
        ASSERT_LT(write, 50);
    }
}

/// A table that took a failed flush for done would not tell; the test above must see that.
TEST(FailingCalls, FindAPlantedFault)
{
    int faults = 0;
    const Kind flush{Call::flush, EIO, false, true, "flush EIO"};
    EXPECT_FALSE(runAll(newTable(), flush, Plant::failureHidden, faults).empty());
}

} // namespace
