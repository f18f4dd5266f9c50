// What the share of the tests does, held to what real ones were seen to do.

#include "tests/driver/FileCalls.h"
#include "tests/driver/OnShares.h"
#include "tests/driver/ShareModel.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace
{

using namespace driver;
using filecalls::Share;

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
