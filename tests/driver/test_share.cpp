// Two workstations at one table on a share: what SMB and NFS do to locks, to what is read, and to those whose
// connection goes away for a while.

#include "dbase/Bytes.h"
#include "dbase/File.h"
#include "dbase/HandleSet.h"
#include "tests/driver/FileCalls.h"
#include "tests/driver/Judge.h"
#include "tests/driver/OnShares.h"
#include "tests/driver/PowerCut.h"
#include "tests/driver/Writer.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <iostream>
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
using Wrong = std::vector<std::string>;

constexpr std::size_t enoughWrong = 3;

Image newOffice()
{
    const support::TempFolder folder;
    EXPECT_TRUE(AgendaTable::create(folder.path()).ok());
    return readImage(folder.path());
}

/// A share with two workstations.
class Office
{
public:
    /// @param keepsOpen  the first one never closes its table, whatever happens.
    Office(Share share, Plant planted, bool keepsOpen = false)
    {
        static const Image start = newOffice();
        writeImage(m_folder.path(), start);
        filecalls::watch(m_folder.path(), false);
        filecalls::plant(planted);
        filecalls::behaveAs(share);
        for (const int id : {1, 2}) {
            m_writers.push_back(
                std::make_unique<Writer>(m_folder.path(), id, 100U + static_cast<unsigned>(id),
                                         [this, id](const std::string &line) { m_told.line(id, line); }));
        }
        if (keepsOpen)
            at(1).keepOpen();
    }
    ~Office() { leave(); }
    Office(const Office &) = delete;
    Office &operator=(const Office &) = delete;

    [[nodiscard]] const std::filesystem::path &place() const { return m_folder.path(); }
    Writer &at(int workstation)
    {
        filecalls::asWorkstation(workstation);
        return *m_writers[static_cast<std::size_t>(workstation) - 1];
    }
    /// A value that no line has had.
    std::string newValue(int workstation)
    {
        return "v" + std::to_string(workstation) + "x" + std::to_string(++m_changes);
    }
    void change(int workstation, const std::string &key)
    {
        at(workstation).changeTo(key, newValue(workstation));
    }
    /// A change that nothing stands in the way of.
    void mustChange(int workstation, const std::string &key)
    {
        mustChange(workstation, key, newValue(workstation));
    }
    /// @param tries  2 where the line may be one that another has left half written: whoever finishes that
    /// for him has seen the line as it was before.
    void mustChange(int workstation, const std::string &key, const std::string &value, int tries = 1)
    {
        const int before = m_told.acknowledged();
        for (int n = 0; n < tries && m_told.acknowledged() == before; ++n)
            at(workstation).changeTo(key, value);
        if (m_told.acknowledged() == before)
            m_wrong.push_back("workstation " + std::to_string(workstation) + " cannot write");
    }
    void both()
    {
        mustChange(1, "shared-a");
        mustChange(2, "shared-b");
    }
    void must(bool holds, const std::string &what)
    {
        if (!holds)
            m_wrong.push_back(what);
    }
    /// All go home, and the table is looked at where it lies.
    Wrong finish()
    {
        leave();
        if (m_wrong.empty())
            m_wrong = judge(m_folder.path(), m_told);
        return std::move(m_wrong);
    }

private:
    void leave()
    {
        for (std::size_t i = 0; i < m_writers.size(); ++i) {
            filecalls::asWorkstation(static_cast<int>(i) + 1);
            m_writers[i].reset();
        }
        m_writers.clear();
        filecalls::behaveAs(Share::local);
        filecalls::unwatch();
    }

    support::TempFolder m_folder;
    Told m_told;
    std::vector<std::unique_ptr<Writer>> m_writers;
    int m_changes = 0;
    Wrong m_wrong;
};

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

struct Scenario {
    const char *name;
    Wrong (*run)(Share, Plant);
    onShares::Holds holds;
    Plant planted; ///< what makes it fail
    Share where;   ///< there
};

const Scenario scenarios[] = {
    {"both write", bothWrite, onShares::twoWriters, Plant::exclusiveStays, Share::smb},
    {"set back to an earlier value", setBackToAnEarlierValue, onShares::lastWordStays, Plant::directIgnored,
     Share::nfs},
    {"one writes, one watches", watchOneWrite, onShares::newsAreSeen, Plant::directIgnored, Share::nfs},
    {"locks lost in the middle", loseLocksInTheMiddle, onShares::locksLost, Plant::clockStandsStill,
     Share::smb},
    {"an unlock fails", failUnlocks, onShares::unlockFails, Plant::unlockNotTriedAgain, Share::smb},
    {"handle not known", forgetAHandle, onShares::connectionDead, Plant::neverMended, Share::smb},
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
    for (const Scenario &one : scenarios)
        EXPECT_FALSE(one.run(one.where, one.planted).empty()) << one.name;
}

// ---------------------------------------------------------------------------------------------------------------------
// The model itself, held to what real shares were seen to do.

/// Handles of one file: a and b of the first workstation, c of the second.
class OneFile
{
public:
    explicit OneFile(Share share)
    {
        support::writeFile(m_file, std::string(10, '.'));
        filecalls::watch(m_folder.path(), false);
        filecalls::behaveAs(share);
    }
    ~OneFile()
    {
        for (const auto &[name, descriptor] : m_open)
            ::close(descriptor);
        filecalls::behaveAs(Share::local);
        filecalls::unwatch();
    }
    OneFile(const OneFile &) = delete;
    OneFile &operator=(const OneFile &) = delete;

    /// Handle and deed: X, S take the lock at byte 5, U gives it back, ? asks; r and wTEXT read and write at
    /// 0, R and WTEXT there under byte 5; f flushes, c closes, e says the length; an upper-case handle is one
    /// past the pages. !L frees the first workstation's locks on the server, !U makes an unlock fail.
    /// @return the outcome: "ok", the error's number, or what was read.
    std::string operator()(const std::string &word)
    {
        if (word == "!L" || word == "!U") {
            word == "!L" ? filecalls::loseLocks(1) : filecalls::failUnlocks(1);
            return "ok";
        }
        const int descriptor = handle(word[0]);
        const std::string text = word.substr(2);
        std::string read(text.empty() ? 1 : text.size(), ' ');
        struct flock range = {};
        range.l_start = 5;
        range.l_len = 1;
        switch (word[1]) {
        case 'X':
        case 'S':
        case 'U':
            range.l_type = word[1] == 'X' ? F_WRLCK : word[1] == 'S' ? F_RDLCK : F_UNLCK;
            return said(::fcntl(descriptor, F_OFD_SETLK, &range));
        case '?':
            range.l_type = F_WRLCK;
            ::fcntl(descriptor, F_OFD_GETLK, &range);
            return range.l_type == F_UNLCK ? "free" : "taken";
        case 'w':
        case 'W':
            return said(::pwrite(descriptor, text.data(), text.size(), word[1] == 'w' ? 0 : 5));
        case 'r':
        case 'R': {
            const auto got = ::pread(descriptor, read.data(), read.size(), word[1] == 'r' ? 0 : 5);
            return got < 0 ? std::to_string(errno) : read;
        }
        case 'e':
            return std::to_string(::lseek(descriptor, 0, SEEK_END));
        case 't':
            return said(::ftruncate(descriptor, 3));
        case 'f':
            return said(::fdatasync(descriptor));
        default:
            m_open.erase(word[0]);
            return said(::close(descriptor));
        }
    }

private:
    static std::string said(long outcome) { return outcome < 0 ? std::to_string(errno) : "ok"; }
    int handle(char name)
    {
        const bool direct = name < 'a';
        const auto place = m_open.find(name);
        if (place != m_open.end())
            return place->second;
        filecalls::asWorkstation((direct ? name - 'A' : name - 'a') < 2 ? 1 : 2);
        return m_open[name] = ::open(m_file.c_str(), O_RDWR | (direct ? O_DIRECT : 0));
    }
    support::TempFolder m_folder;
    std::filesystem::path m_file = m_folder.path() / "T.DBF";
    std::map<char, int> m_open;
};

TEST(ShareModel, DoesWhatSharesDo)
{
    const struct {
        Share share;
        std::vector<std::pair<const char *, std::string>> steps;
    } cases[] = {
        // Locks of one handle stack; only giving them back ends them.
        {Share::smb, {{"aX", "ok"}, {"aS", "ok"}, {"cS", "13"}, {"aU", "ok"}, {"cS", "ok"}, {"cX", "13"}}},
        {Share::smb,
         {{"aS", "ok"}, {"a?", "taken"}, {"aX", "13"}, {"aU", "ok"}, {"a?", "free"}, {"aX", "ok"}}},
        {Share::nfs, {{"aX", "ok"}, {"aS", "ok"}, {"cS", "ok"}, {"aX", "11"}, {"cU", "ok"}, {"aX", "ok"}}},
        {Share::nfs, {{"aS", "ok"}, {"a?", "free"}, {"c?", "taken"}, {"ac", "ok"}, {"c?", "free"}}},
        // On SMB they are in the way of others' reads and writes.
        {Share::smb, {{"aX", "ok"}, {"cR", "13"}, {"cWx", "13"}, {"cwx", "ok"}, {"aWx", "ok"}, {"aR", "x"}}},
        {Share::smb, {{"aS", "ok"}, {"cR", "."}, {"cWx", "13"}, {"aU", "ok"}, {"cWx", "ok"}}},
        {Share::nfs, {{"aX", "ok"}, {"cR", "."}, {"cWx", "ok"}}},
        // Pages are kept until a lock is taken in the same file, and brought to the server when it goes.
        {Share::nfs,
         {{"cr", "."},
          {"awx", "ok"},
          {"ar", "x"},
          {"br", "x"},
          {"af", "ok"},
          {"cr", "."},
          {"cX", "ok"},
          {"cr", "x"}}},
        {Share::nfs, {{"aX", "ok"}, {"awx", "ok"}, {"cr", "."}, {"aU", "ok"}, {"cS", "ok"}, {"cr", "x"}}},
        {Share::nfs, {{"cr", "."}, {"awx", "ok"}, {"ac", "ok"}, {"cr", "."}, {"cc", "ok"}, {"cr", "x"}}},
        {Share::smb, {{"cr", "."}, {"awx", "ok"}, {"cr", "x"}}},
        // Two write into one page, and neither takes the other's bytes back.
        {Share::nfs, {{"awx", "ok"}, {"cWy", "ok"}, {"af", "ok"}, {"cf", "ok"}, {"Dr", "x"}, {"DR", "y"}}},
        // Past the pages all is as on the server, own pages first.
        {Share::nfs,
         {{"awx", "ok"}, {"Cr", "."}, {"Br", "x"}, {"Cr", "x"}, {"Cwz", "ok"}, {"Br", "z"}, {"ar", "x"}}},
        {Share::nfs,
         {{"ce", "10"}, {"Ce", "10"}, {"at", "ok"}, {"ce", "10"}, {"Ce", "3"}, {"cX", "ok"}, {"ce", "3"}}},
        // Locks that the server has freed: the next one's; the old holder goes on or does not.
        {Share::smb,
         {{"aX", "ok"},
          {"!L", "ok"},
          {"aWx", "ok"},
          {"cX", "ok"},
          {"aWx", "13"},
          {"aU", "ok"},
          {"cU", "ok"},
          {"aX", "ok"}}},
        {Share::nfs,
         {{"aX", "ok"},
          {"!L", "ok"},
          {"cX", "ok"},
          {"ar", "5"},
          {"awx", "5"},
          {"br", "."},
          {"aU", "ok"},
          {"ar", "5"},
          {"ac", "ok"},
          {"ar", "."}}},
        // One that was not given back is in everybody's way, its own handle's too.
        {Share::smb,
         {{"aX", "ok"}, {"!U", "ok"}, {"aU", "5"}, {"cX", "13"}, {"aX", "13"}, {"aU", "ok"}, {"cX", "ok"}}},
        {Share::nfs,
         {{"aX", "ok"}, {"!U", "ok"}, {"aU", "5"}, {"cX", "11"}, {"aX", "13"}, {"ac", "ok"}, {"cX", "ok"}}},
    };
    for (const auto &one : cases) {
        OneFile file(one.share);
        std::string so = onShares::nameOf(one.share);
        for (const auto &[word, outcome] : one.steps) {
            so += std::string(" ") + word;
            ASSERT_EQ(file(word), outcome) << so;
        }
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Where one protocol meets the next.

/// A table of a workstation, opened and left as that one.
class Desk
{
public:
    Desk(const Office &office, int workstation)
        : m_workstation(workstation)
    {
        sit();
        EXPECT_TRUE(m_agenda.open(office.place()).ok());
    }
    ~Desk()
    {
        sit();
        static_cast<void>(m_agenda.close());
    }
    Desk(const Desk &) = delete;
    Desk &operator=(const Desk &) = delete;
    AgendaTable &operator*() { return m_agenda; }
    AgendaTable *operator->() { return &m_agenda; }
    void sit() const { filecalls::asWorkstation(m_workstation); }
    Bytes line(dbase::RecordNumber number)
    {
        Bytes record(m_agenda.table().recordLength());
        EXPECT_TRUE(m_agenda.table().read(number, record).ok());
        return record;
    }
    dbase::Status give(dbase::RecordNumber number, const std::string &value)
    {
        const Bytes before = line(number);
        Bytes after = before;
        m_agenda.setValue(after, value);
        return m_agenda.table().update(number, before, after);
    }
    /// All lines of a sheet get a value, in a group that is still to be written.
    void giveSheet(const std::string &key, const std::string &value)
    {
        const auto lines = m_agenda.findAll(key);
        ASSERT_TRUE(lines.ok() && m_agenda.table().beginGroup().ok());
        for (const auto number : lines.value())
            ASSERT_TRUE(give(number, value).ok());
    }
    /// The values of a key's lines, as one question answers.
    std::set<std::string> valuesOf(const std::string &key)
    {
        std::string wanted = key;
        wanted.resize(16, ' ');
        const std::span bytes(reinterpret_cast<const std::uint8_t *>(wanted.data()), wanted.size());
        std::vector<dbase::RecordNumber> numbers;
        Bytes rows;
        dbase::Table &table = m_agenda.table();
        std::set<std::string> values;
        if (!table.liveRows(table.index("CLAVE"), bytes, bytes, numbers, rows).ok())
            return values;
        for (std::size_t i = 0; i < numbers.size(); ++i)
            values.insert(m_agenda.text(
                std::span(rows).subspan(i * table.recordLength(), table.recordLength()), Field::interesado));
        return values;
    }

private:
    int m_workstation;
    AgendaTable m_agenda;
};

/// A workstation's n-th call of a kind takes that long, and something happens meanwhile.
Fault lateCall(std::optional<filecalls::Call> call, int number, std::chrono::seconds late,
               std::function<void()> meanwhile)
{
    Fault fault{call, number, 0};
    fault.late = late;
    fault.workstation = 1;
    fault.meanwhile = std::move(meanwhile);
    return fault;
}

class Seams : public testing::TestWithParam<Share>
{
};
INSTANTIATE_TEST_SUITE_P(Shares, Seams, testing::Values(Share::smb, Share::nfs),
                         [](const auto &one) { return std::string(onShares::nameOf(one.param)); });

TEST_P(Seams, ACommitOfSeveralLinesIsSeenWholeAlsoByWhatIsKeptOfTheIndex)
{
    bool met = true;
    for (int number = 1; met; ++number) {
        Office office(GetParam(), Plant::none);
        office.at(1).addSheet("w1-s", "v1");
        Desk reader(office, 2);
        filecalls::passTime(std::chrono::seconds(5));
        EXPECT_TRUE(reader->table().refresh().ok() && reader->readAll().ok());
        Desk writer(office, 1);
        writer.giveSheet("w1-s", "v2");
        std::set<std::string> seen;
        filecalls::fail(lateCall(filecalls::Call::write, number, std::chrono::seconds(1), [&] {
            reader.sit();
            seen = reader.valuesOf("w1-s");
            writer.sit();
        }));
        EXPECT_TRUE(writer->table().commitGroup().ok());
        met = filecalls::faultMet();
        filecalls::fail({});
        EXPECT_LE(seen.size(), 1U) << "half a commit at write " << number;
    }
}

TEST_P(Seams, OnesOwnHalfCommitIsFinishedAfterTheConnectionWasAway)
{
    bool met = true;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        Office office(GetParam(), Plant::none, true);
        office.both();
        office.at(1).addSheet("w1-s", "v1");
        Desk writer(office, 1);
        writer.giveSheet("w1-s", "v2");
        Fault fault{filecalls::Call::write, number, EIO, true};
        fault.workstation = 1;
        filecalls::fail(fault);
        static_cast<void>(writer->table().commitGroup());
        met = filecalls::faultMet();
        filecalls::fail({});
        filecalls::passTime(std::chrono::seconds(5));
        EXPECT_TRUE(writer->table().refresh().ok());
        EXPECT_TRUE(writer.give(writer->find("shared-c").value(), "v9").ok());
        EXPECT_TRUE(writer->readAll().ok()) << "each sheet has one value";
    }
}

TEST_P(Seams, ATableWhoseFilesAreInDoubtIsNotPackedBesideOthers)
{
    Office office(GetParam(), Plant::none, true);
    Desk one(office, 1);
    filecalls::failUnlocks(1);
    static_cast<void>(one->table().check());
    EXPECT_TRUE(filecalls::unlockHasFailed());
    filecalls::failUnlocks(0);
    filecalls::passTime(std::chrono::seconds(2));
    filecalls::fail(lateCall(filecalls::Call::rename, 1, std::chrono::seconds(1), [&] {
        office.change(2, "shared-a");
        office.at(2).add("w2-new", "v2");
        one.sit();
    }));
    static_cast<void>(one->table().pack());
    filecalls::fail({});
    static_cast<void>(one->close());
    for (const std::string &wrong : office.finish())
        ADD_FAILURE() << wrong;
}

TEST_P(Seams, WhatAnotherProgramHasMovedIsFoundAfterAnOwnChange)
{
    Office office(GetParam(), Plant::none, true);
    Desk one(office, 1);
    filecalls::passTime(std::chrono::seconds(5));
    EXPECT_TRUE(one->table().refresh().ok() && one->readAll().ok());
    // A program without a journal: what it would leave is made in a copy and put over table and index.
    const support::TempFolder copy;
    writeImage(copy.path(), readImage(office.place()));
    {
        AgendaTable other;
        ASSERT_TRUE(other.open(copy.path()).ok());
        Bytes before(other.table().recordLength());
        const auto at = other.find("shared-a").value();
        ASSERT_TRUE(other.table().read(at, before).ok());
        Bytes after = before;
        const std::string old = "shared-a        ";
        const std::string moved = "moved-a         ";
        std::copy(moved.begin(), moved.end(),
                  std::search(after.begin(), after.end(), old.begin(), old.end()));
        ASSERT_TRUE(other.table().update(at, before, after).ok() && other.close().ok());
    }
    filecalls::asWorkstation(2);
    for (const char *const name : {"AGENDA_N.DBF", "AGENDA_N.MDX"}) {
        const std::string bytes = support::readFile(copy.path() / name);
        const int file = ::open((office.place() / name).c_str(), O_RDWR);
        ASSERT_EQ(::pwrite(file, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
        ::close(file);
    }
    one.sit();
    EXPECT_TRUE(one.give(2, "v7").ok());
    for (int n = 0; n < 2; ++n) {
        filecalls::passTime(std::chrono::seconds(5));
        EXPECT_TRUE(one->table().refresh().ok());
    }
    EXPECT_EQ(one->find("moved-a").value(), 1U);
    EXPECT_EQ(one->find("shared-a").value(), 0U);
}

TEST_P(Seams, ALineStaysLockedWhileItIsWrittenAfterAReconnection)
{
    Office office(GetParam(), Plant::none, true);
    Desk one(office, 1);
    const Bytes before = one.line(1);
    Bytes after = before;
    one->setValue(after, "v7");
    filecalls::fail(Fault{filecalls::Call::read, 1, EIO});
    Bytes other(before.size());
    EXPECT_FALSE(one->table().read(2, other).ok());
    filecalls::fail({});
    filecalls::passTime(std::chrono::seconds(3));
    int taken = 0;
    filecalls::fail(lateCall(filecalls::Call::write, 1, std::chrono::seconds(1), [&] {
        filecalls::asWorkstation(2);
        const int file = ::open((office.place() / "AGENDA_N.DBF").c_str(), O_RDWR);
        struct flock range = {};
        range.l_type = F_WRLCK;
        range.l_start = 0xEFFFFFFE - 1;
        range.l_len = 1;
        taken = ::fcntl(file, F_OFD_SETLK, &range);
        ::close(file);
        one.sit();
    }));
    EXPECT_TRUE(one->table().update(1, before, after).ok());
    EXPECT_TRUE(filecalls::faultMet());
    filecalls::fail({});
    EXPECT_EQ(taken, -1);
}

/// What the journal's header says of the last commit.
std::uint64_t lastCommitIn(const std::filesystem::path &folder)
{
    constexpr std::size_t place = 12;
    const std::string bytes = support::readFile(folder / "AGENDA_N.JNL");
    return dbase::get64(reinterpret_cast<const std::uint8_t *>(bytes.data()) + place);
}

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

/// The flags that this program has a file open with, once for each time.
std::multiset<int> flagsOf(const std::filesystem::path &file)
{
    std::multiset<int> all;
    for (const auto &one : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(one.path(), gone) == file)
            all.insert(::fcntl(std::stoi(one.path().filename().string()), F_GETFL));
    }
    return all;
}

/// Programs of one workstation, and the objects of one, must not be taken for one another by its SMB client.
TEST(Shares, NoTwoOpeningsHaveTheSameFlags)
{
    constexpr int each = dbase::HandleSet::count / 2;
    const Office office(Share::smb, Plant::none, true);
    const std::filesystem::path file = office.place() / "AGENDA_N.DBF";
    std::vector<dbase::File> open;
    const auto openMore = [&](int count) {
        for (int n = 0; n < count; ++n) {
            auto one = dbase::File::open(file, dbase::File::Mode::readWrite);
            ASSERT_TRUE(one.ok());
            open.push_back(std::move(one).value());
        }
    };
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    openMore(1);
    const pid_t child = ::fork();
    if (child == 0) {
        openMore(each); // from the same point on as the parent
        std::vector<int> flags;
        for (const int one : flagsOf(file))
            flags.push_back(one);
        const auto size = flags.size() * sizeof(int);
        ::_exit(::write(pipe[1], flags.data(), size) == static_cast<ssize_t>(size) && ::pause() != 0 ? 1 : 2);
    }
    std::array<int, each + 1> childs{}; // the first one is shared with the parent
    ASSERT_EQ(::read(pipe[0], childs.data(), sizeof childs), static_cast<ssize_t>(sizeof childs));
    openMore(each - 1);
    std::multiset<int> all = flagsOf(file);
    EXPECT_EQ(all.size(), static_cast<std::size_t>(each));
    all.insert(childs.begin(), childs.end());
    EXPECT_EQ(std::set<int>(all.begin(), all.end()).size(), dbase::HandleSet::count);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(pipe[0]);
    ::close(pipe[1]);
}

TEST(Kills, ADeadWritersCommitWaitsForWhoReadsByTheIndex)
{
    for (int change = 3; change < 9; ++change) {
        SCOPED_TRACE(change);
        const support::TempFolder folder;
        ASSERT_TRUE(AgendaTable::create(folder.path()).ok());
        AgendaTable one;
        ASSERT_TRUE(one.open(folder.path(), std::chrono::milliseconds(50)).ok());
        const pid_t child = ::fork();
        if (child == 0) {
            filecalls::watch(folder.path(), false);
            AgendaTable other;
            std::mt19937 random(7);
            if (other.open(folder.path()).ok()) {
                filecalls::dieAt(change);
                static_cast<void>(other.table().append(other.line("w9-x", "v9", random)));
            }
            ::_exit(4);
        }
        int how = 0;
        ::waitpid(child, &how, 0);
        const int reader = ::open((folder.path() / "AGENDA_N.MDX").c_str(), O_RDWR);
        struct flock range = {};
        range.l_type = F_RDLCK;
        range.l_start = 0xEFFFFFFE;
        range.l_len = 1;
        ASSERT_EQ(::fcntl(reader, F_OFD_SETLK, &range), 0);
        Bytes before(one.table().recordLength());
        ASSERT_TRUE(one.table().read(1, before).ok());
        Bytes after = before;
        one.setValue(after, "v7");
        static_cast<void>(one.table().update(1, before, after));
        ::close(reader);
        ASSERT_TRUE(one.table().read(1, before).ok());
        EXPECT_TRUE(before == after || one.table().update(1, before, after).ok());
    }
}

} // namespace
