// Two workstations at one table on a share: what SMB and NFS do to locks, to what is read, and to those whose
// connection goes away for a while.

#include "tests/driver/FileCalls.h"
#include "tests/driver/Judge.h"
#include "tests/driver/OnShares.h"
#include "tests/driver/PowerCut.h"
#include "tests/driver/Writer.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <iostream>

#include <fcntl.h>
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
    } ways[] = {{"works late", 0, false}, {"answered late", 0, true}, {"fails late", EIO, false}};
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
                fault.meanwhile = [&office] {
                    filecalls::loseLocks(1);
                    office.mustChange(2, "shared-a", office.newValue(2), 2);
                    office.at(2).add("w2-new", "v2");
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

} // namespace
