#include "tests/driver/FileCalls.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <numeric>
#include <set>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace driver::filecalls
{

namespace
{

struct State {
    std::string folder;                                 ///< with its slash; empty: nothing is watched
    std::map<int, std::filesystem::path> open;          ///< descriptor to name
    std::set<int> through;                              ///< those whose writes go to the disk at once
    std::map<std::pair<int, off_t>, std::string> pages; ///< of Plant::oldPages
    Plant planted = Plant::none;
    std::optional<Fault> fault;
    int counted = 0;
    bool met = false;
    std::array<int, kindsOfCall> tally{};
    int changesLeft = 0; ///< until death; 0: for ever
    std::function<void()> beforeLock;
    bool recording = false;
    std::vector<Event> events;
};

/// Never destroyed: files are closed after the last test.
State &state()
{
    static State &one = *new State;
    return one;
}

/// The call that this file stands in front of.
template <class Function> Function *real(const char *name, Function * /*same type*/)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}
#define REAL(name) (real(#name, &::name))

/// Name of a watched file, null for all others.
const std::filesystem::path *watched(int descriptor)
{
    const auto found = state().open.find(descriptor);
    return found == state().open.end() ? nullptr : &found->second;
}

std::optional<std::filesystem::path> nameOf(const char *path)
{
    const std::string &folder = state().folder;
    if (folder.empty() || !path || std::strncmp(path, folder.c_str(), folder.size()) != 0)
        return {};
    return std::filesystem::path(path + folder.size());
}

bool isJournal(const std::filesystem::path &name)
{
    return name.extension() == ".JNL";
}
bool isTable(const std::filesystem::path &name)
{
    return name.extension() == ".DBF";
}

int &tallyOf(Call call)
{
    return state().tally[static_cast<std::size_t>(call)];
}

/// Whether this call is to fail; errno is set then, and 0 means half the work.
bool fails(Call call)
{
    State &now = state();
    ++tallyOf(call);
    if (!now.fault || (now.fault->call && *now.fault->call != call))
        return false;
    ++now.counted;
    if (now.counted < now.fault->number || (now.counted > now.fault->number && !now.fault->staysBroken))
        return false;
    now.met = true;
    errno = now.fault->error;
    return true;
}

void note(Event event)
{
    if (state().recording)
        state().events.push_back(std::move(event));
}

/// @return whether the process is to die in this change.
bool isLastChange()
{
    return state().changesLeft > 0 && --state().changesLeft == 0;
}

[[noreturn]] void die()
{
    ::kill(::getpid(), SIGKILL);
    std::abort();
}

ssize_t writeNow(int descriptor, const std::filesystem::path &name, const void *bytes, std::size_t count,
                 off_t at)
{
    const ssize_t done = REAL(pwrite)(descriptor, bytes, count, at);
    if (done > 0)
        note({Event::Kind::written,
              name,
              static_cast<std::uint64_t>(at),
              0,
              {static_cast<const char *>(bytes), static_cast<std::size_t>(done)},
              {}});
    return done;
}

/// The count of a commit that is about to be written goes into the table's header at once.
void countBeforeJournal(const void *bytes, std::size_t count, off_t at)
{
    constexpr std::size_t countInCommit = 16;
    constexpr off_t countInHeader = 4;
    const auto *const from = static_cast<const std::uint8_t *>(bytes);
    if (at == 0 || count < countInCommit + 4 || std::memcmp(from, "AGC1", 4) != 0)
        return;
    for (const auto &[descriptor, name] : state().open) {
        if (!isTable(name))
            continue;
        if (isLastChange())
            die();
        writeNow(descriptor, name, from + countInCommit, 4, countInHeader);
        return;
    }
}

/// A flush of a watched file, or of some of its bytes.
int flushNow(const std::filesystem::path &name, std::uint64_t from, std::uint64_t length)
{
    const Plant planted = state().planted;
    if ((planted == Plant::journalNotFlushed && isJournal(name)) ||
        (planted == Plant::tableNotFlushed && isTable(name)))
        return 0;
    if (fails(Call::flush)) {
        note({Event::Kind::flushFailed, name, from, length, {}, {}});
        return planted == Plant::failureHidden ? 0 : -1;
    }
    if (isLastChange())
        die();
    note({Event::Kind::flushed, name, from, length, {}, {}});
    return 0;
}

int flush(int descriptor, int (*call)(int))
{
    const std::filesystem::path *const name = watched(descriptor);
    return name ? flushNow(*name, 0, 0) : call(descriptor);
}

/// The second half of a write through to the disk; of any other nothing.
ssize_t flushThrough(int descriptor, const std::filesystem::path &name, ssize_t done, off_t at)
{
    if (done <= 0 || !state().through.contains(descriptor))
        return done;
    return flushNow(name, static_cast<std::uint64_t>(at), static_cast<std::uint64_t>(done)) == 0 ? done : -1;
}

/// As a workstation reads that keeps pages of a share and does not ask whether they are still good.
ssize_t readOldPages(int descriptor, char *into, std::size_t count, off_t at)
{
    constexpr off_t page = 4096;
    std::size_t done = 0;
    while (done < count) {
        const off_t place = at + static_cast<off_t>(done);
        const off_t begin = place - place % page;
        auto kept = state().pages.find({descriptor, begin});
        if (kept == state().pages.end()) {
            std::string bytes(page, '\0');
            const ssize_t got = REAL(pread)(descriptor, bytes.data(), bytes.size(), begin);
            if (got < 0)
                return got;
            bytes.resize(static_cast<std::size_t>(got));
            kept = state().pages.emplace(std::pair(descriptor, begin), std::move(bytes)).first;
        }
        const auto from = static_cast<std::size_t>(place - begin);
        if (from >= kept->second.size())
            break;
        done += kept->second.copy(into + done, count - done, from);
    }
    return static_cast<ssize_t>(done);
}

int openFile(const char *path, int flags, mode_t rights)
{
    const auto name = nameOf(path);
    const bool file = name && (flags & O_DIRECTORY) == 0;
    if (file && fails(Call::open))
        return -1;
    if (file && (flags & O_CREAT) != 0 && isLastChange())
        die();
    const bool through = file && (flags & O_DSYNC) != 0;
    const int descriptor = REAL(open)(path, through ? flags & ~O_DSYNC : flags, rights);
    if (descriptor >= 0 && file) {
        state().open[descriptor] = *name;
        if (through)
            state().through.insert(descriptor);
        if ((flags & O_CREAT) != 0)
            note({Event::Kind::created, *name, 0, 0, {}, {}});
    }
    return descriptor;
}

} // namespace

void watch(const std::filesystem::path &folder, bool recording)
{
    state() = State();
    state().recording = recording;
    state().folder = folder.string() + "/";
}
void unwatch()
{
    state() = State();
}
void plant(Plant what)
{
    state().planted = what;
}
void fail(std::optional<Fault> fault)
{
    state().fault = fault;
    state().counted = 0;
    state().met = false;
}
bool faultMet()
{
    return state().met;
}
int counted()
{
    return state().counted;
}
int tally(Call call)
{
    return tallyOf(call);
}
int tally()
{
    return std::accumulate(state().tally.begin(), state().tally.end(), 0);
}
void tallyAnew()
{
    state().tally.fill(0);
}
void beforeLockOfJournal(std::function<void()> work)
{
    state().beforeLock = std::move(work);
}
void dieAt(int change)
{
    state().changesLeft = change;
}
std::vector<Event> recorded()
{
    return state().events;
}
void mark(std::string text)
{
    note({Event::Kind::mark, {}, 0, 0, {}, std::move(text)});
}

} // namespace driver::filecalls

// ---------------------------------------------------------------------------------------------------------------------
// The calls. Those of the C library have no noexcept or have it; these must agree.

using namespace driver::filecalls;

#pragma GCC visibility push(default) // libraries must find them
extern "C" {

int open(const char *path, int flags, ...)
{
    mode_t rights = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        rights = va_arg(rest, mode_t); // NOLINT(clang-analyzer-valist.Uninitialized): begun just above
        va_end(rest);
    }
    return openFile(path, flags, rights);
}

int close(int descriptor)
{
    state().open.erase(descriptor);
    state().through.erase(descriptor);
    std::erase_if(state().pages, [descriptor](const auto &page) { return page.first.first == descriptor; });
    return REAL(close)(descriptor);
}

ssize_t pwrite(int descriptor, const void *bytes, size_t count, off_t at)
{
    const std::filesystem::path *const name = watched(descriptor);
    if (!name)
        return REAL(pwrite)(descriptor, bytes, count, at);
    if (fails(Call::write)) {
        const int error = errno;
        const bool first = state().counted == state().fault->number;
        const bool half = error == 0 || (first && state().fault->halfDone);
        const ssize_t done = half ? writeNow(descriptor, *name, bytes, (count + 1) / 2, at) : 0;
        if (error == 0)
            return flushThrough(descriptor, *name, done, at);
        errno = error;
        return -1;
    }
    if (state().planted == Plant::headerFirst && isJournal(*name))
        countBeforeJournal(bytes, count, at);
    if (isLastChange()) {
        writeNow(descriptor, *name, bytes, count / 2, at);
        die();
    }
    return flushThrough(descriptor, *name, writeNow(descriptor, *name, bytes, count, at), at);
}

off_t lseek(int descriptor, off_t place, int from) noexcept
{
    if (watched(descriptor) && fails(Call::length))
        return -1;
    return REAL(lseek)(descriptor, place, from);
}

ssize_t pread(int descriptor, void *bytes, size_t count, off_t at)
{
    const std::filesystem::path *const name = watched(descriptor);
    if (name && fails(Call::read)) {
        if (errno != 0)
            return -1;
        count = (count + 1) / 2;
    }
    if (name && state().planted == Plant::oldPages)
        return readOldPages(descriptor, static_cast<char *>(bytes), count, at);
    const ssize_t got = REAL(pread)(descriptor, bytes, count, at);
    constexpr off_t firstCommit = 512;
    if (name && isJournal(*name) && state().planted == Plant::journalNotRead && at + got > firstCommit) {
        const off_t from = at < firstCommit ? firstCommit - at : 0;
        std::memset(static_cast<char *>(bytes) + from, 0, static_cast<std::size_t>(got - from));
    }
    return got;
}

int fdatasync(int descriptor)
{
    return flush(descriptor, REAL(fdatasync));
}

int fsync(int descriptor)
{
    return flush(descriptor, REAL(fsync));
}

int ftruncate(int descriptor, off_t size) noexcept
{
    const std::filesystem::path *const name = watched(descriptor);
    if (name) {
        if (fails(Call::size))
            return -1;
        if (isLastChange())
            die();
        note({Event::Kind::sized, *name, static_cast<std::uint64_t>(size), 0, {}, {}});
    }
    return REAL(ftruncate)(descriptor, size);
}

int fallocate(int descriptor, int mode, off_t from, off_t count)
{
    if (watched(descriptor) && fails(Call::reserve))
        return -1;
    return REAL(fallocate)(descriptor, mode, from, count);
}

int fcntl(int descriptor, int command, ...)
{
    va_list rest;
    va_start(rest, command);
    void *const argument = va_arg(rest, void *);
    va_end(rest);
    if ((command == F_OFD_SETLK || command == F_SETLK) && watched(descriptor)) {
        if (state().beforeLock && isJournal(*watched(descriptor)))
            std::exchange(state().beforeLock, nullptr)();
        // Giving back a lock does not fail: the system has nothing to find room for.
        if (static_cast<const struct flock *>(argument)->l_type == F_UNLCK)
            ++tallyOf(Call::unlock);
        else if (fails(Call::lock))
            return -1;
        if (state().planted == Plant::nothingLocked)
            return 0;
    }
    return REAL(fcntl)(descriptor, command, argument);
}

int fstat(int descriptor, struct stat *info) noexcept
{
    if (watched(descriptor) && fails(Call::look))
        return -1;
    return REAL(fstat)(descriptor, info);
}

void *mmap(void *place, size_t size, int protection, int flags, int descriptor, off_t at) noexcept
{
    if (const std::filesystem::path *const name = descriptor >= 0 ? watched(descriptor) : nullptr) {
        if (fails(Call::map))
            return MAP_FAILED;
        if (isJournal(*name) && state().planted == Plant::journalNotRead) {
            errno = ENODEV;
            return MAP_FAILED;
        }
    }
    return REAL(mmap)(place, size, protection, flags, descriptor, at);
}

int rename(const char *from, const char *to) noexcept
{
    const auto name = nameOf(from);
    const auto newName = nameOf(to);
    if (name && newName) {
        if (fails(Call::rename))
            return -1;
        if (isLastChange())
            die();
        note({Event::Kind::renamed, *name, 0, 0, {}, newName->string()});
    }
    return REAL(rename)(from, to);
}

int remove(const char *path) noexcept
{
    const int outcome = REAL(remove)(path);
    if (const auto name = nameOf(path); name && outcome == 0)
        note({Event::Kind::removed, *name, 0, 0, {}, {}});
    return outcome;
}

// Programs that are built for large files call the same by other names.
int open64(const char *path, int flags, ...) __attribute__((alias("open")));
ssize_t pwrite64(int descriptor, const void *bytes, size_t count, off64_t at)
    __attribute__((alias("pwrite")));
ssize_t pread64(int descriptor, void *bytes, size_t count, off64_t at) __attribute__((alias("pread")));
off64_t lseek64(int descriptor, off64_t place, int from) noexcept __attribute__((alias("lseek")));
int ftruncate64(int descriptor, off64_t size) noexcept __attribute__((alias("ftruncate")));
int fallocate64(int descriptor, int mode, off64_t from, off64_t count) __attribute__((alias("fallocate")));
int fcntl64(int descriptor, int command, ...) __attribute__((alias("fcntl")));
void *mmap64(void *place, size_t size, int protection, int flags, int descriptor, off64_t at) noexcept
    __attribute__((alias("mmap")));

} // extern "C"
#pragma GCC visibility pop
