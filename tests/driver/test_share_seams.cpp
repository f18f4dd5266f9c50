// Where the protocol of a share has its seams: what falls between two of its steps.

#include "dbase/Bytes.h"
#include "dbase/File.h"
#include "dbase/HandleSet.h"
#include "tests/driver/Desk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
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

/// A lock that the server grants and the own system refuses: who went on asking would keep everybody out.
TEST(Renewals, FilesOfBeforeAreNotAskedWithForLong)
{
    Office office(Share::smb, Plant::none, true);
    office.both();
    filecalls::asWorkstation(1);
    filecalls::renewSession(1, true);
    filecalls::passTime(std::chrono::seconds(5));
    for (const int number : {1, 2, 3}) {
        Fault fault = lateCall(filecalls::Call::lock, number, std::chrono::seconds(1),
                               [] { filecalls::renewSession(1, true); });
        filecalls::asWorkstation(1);
        filecalls::fail(fault);
        office.mustChange(1, "shared-a");
        filecalls::fail({});
        office.mustChange(2, "shared-b");
        filecalls::passTime(std::chrono::seconds(5));
    }
    for (const std::string &wrong : office.finish())
        ADD_FAILURE() << wrong;
}

/// After a server's return all come back at once. Who does keeps his presence meanwhile: nobody is alone
/// then, and puts the whole table in order while the others wait.
TEST(Renewals, FindNobodyAlone)
{
    Office office(Share::smb, Plant::none, true);
    office.mustChange(1, "shared-a");
    const std::uint64_t last = lastCommitIn(office.place());
    filecalls::loseLocks(1);
    filecalls::renewSession(1);
    filecalls::passTime(std::chrono::seconds(5));
    EXPECT_TRUE(office.at(1).refresh().ok());
    EXPECT_EQ(lastCommitIn(office.place()), last) << "the numbers leap where a journal is done again";
    office.mustAdd(2, "w2-new");
    EXPECT_TRUE(office.finish().empty());
}

} // namespace
