#include "tests/driver/FileCalls.h"

#include "tests/driver/RealCalls.h"
#include "tests/driver/ShareModel.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <numeric>
#include <set>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace driver::filecalls
{

namespace
{

constexpr int byName = -1; ///< in place of a descriptor

struct State {
    std::string folder;                        ///< with its slash; empty: nothing is watched
    std::map<int, std::filesystem::path> open; ///< descriptor to name
    std::set<int> through;                     ///< those whose writes go to the disk at once
    Plant planted = Plant::none;
    std::optional<Fault> fault;
    int counted = 0;
    bool met = false;
    bool answerIsLate = false; ///< of the call under way
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

/// The time that a call takes, with what others do meanwhile.
void passLateness()
{
    State &now = state();
    const int error = errno;
    share::takeTime(now.fault->late);
    const auto work =
        now.fault->meanwhileEachTime ? now.fault->meanwhile : std::exchange(now.fault->meanwhile, nullptr);
    if (work) {
        auto fault = std::exchange(now.fault, {});
        work();
        now.fault = std::move(fault);
    }
    errno = error;
}

/// Stands for the way of an answer back to the caller.
struct Answer {
    Answer() = default;
    ~Answer()
    {
        if (std::exchange(state().answerIsLate, false))
            passLateness();
    }
    Answer(const Answer &) = delete;
    Answer &operator=(const Answer &) = delete;
};

/// Whether this call is to fail; errno is set then, and 0 means half the work.
/// @param descriptor  -1: of a call by name.
bool fails(Call call, int descriptor)
{
    State &now = state();
    ++tallyOf(call);
    if (call != Call::map)
        share::roundTrip();
    if (!now.fault || (now.fault->call && *now.fault->call != call) ||
        (now.fault->workstation && *now.fault->workstation != share::workstationOf(descriptor)))
        return false;
    ++now.counted;
    if (now.counted < now.fault->number || (now.counted > now.fault->number && !now.fault->staysBroken))
        return false;
    now.met = true;
    now.answerIsLate = now.fault->answerIsLate;
    if (now.answerIsLate)
        return false;
    if (now.fault->late > std::chrono::seconds(0)) {
        passLateness();
        if (now.fault->error == 0)
            return false;
    }
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

ssize_t writeNow(int descriptor, const void *bytes, std::size_t count, off_t at)
{
    return share::knows(descriptor) ? share::write(descriptor, bytes, count, at)
                                    : share::writeAtServer(descriptor, bytes, count, at);
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
        writeNow(descriptor, from + countInCommit, 4, countInHeader);
        return;
    }
}

/// A flush of a watched file, or of some of its bytes.
int flushNow(int descriptor, const std::filesystem::path &name, std::uint64_t from, std::uint64_t length)
{
    const Plant planted = state().planted;
    if ((planted == Plant::journalNotFlushed && isJournal(name)) ||
        (planted == Plant::tableNotFlushed && isTable(name)))
        return 0;
    if (fails(Call::flush, descriptor)) {
        note({Event::Kind::flushFailed, name, from, length, {}, {}});
        return planted == Plant::failureHidden ? 0 : -1;
    }
    if (isLastChange())
        die();
    share::push(descriptor);
    note({Event::Kind::flushed, name, from, length, {}, {}});
    return 0;
}

int flush(int descriptor, int (*call)(int))
{
    const Answer answer;
    const std::filesystem::path *const name = watched(descriptor);
    return name ? flushNow(descriptor, *name, 0, 0) : call(descriptor);
}

/// The second half of a write through to the disk; of any other nothing.
ssize_t flushThrough(int descriptor, const std::filesystem::path &name, ssize_t done, off_t at)
{
    if (done <= 0 || !state().through.contains(descriptor))
        return done;
    share::roundTrip(-1); // the write has said that it is to go through
    const auto from = static_cast<std::uint64_t>(at);
    return flushNow(descriptor, name, from, static_cast<std::uint64_t>(done)) == 0 ? done : -1;
}

int openFile(const char *path, int flags, mode_t rights)
{
    const Answer answer;
    if (share::isOn() && std::strcmp(path, "/proc/fs/cifs/Stats") == 0)
        return share::openCounts();
    const auto name = nameOf(path);
    const bool file = name && (flags & O_DIRECTORY) == 0;
    if (file && fails(Call::open, byName))
        return -1;
    if (file && (flags & O_CREAT) != 0 && isLastChange())
        die();
    const bool through = file && (flags & O_DSYNC) != 0;
    // Played here; the folder's own file system may have no such thing.
    const int played = file ? O_DSYNC | (share::isOn() ? O_DIRECT : 0) : 0;
    const int descriptor = REAL(open)(path, flags & ~played, rights);
    if (descriptor >= 0 && file) {
        if (share::isOn())
            share::opened(descriptor, (flags & O_DIRECT) != 0, isTable(*name));
        state().open[descriptor] = *name;
        if (through)
            state().through.insert(descriptor);
        if ((flags & O_CREAT) != 0)
            note({Event::Kind::created, *name, 0, 0, {}, {}});
    }
    return descriptor;
}

/// A look at a watched file by its name: at once, or 0 to be done, or -1 when it fails.
/// @param done  asks the system.
template <class Look> int lookByName(const char *path, struct stat *info, Look &&done)
{
    const Answer answer;
    const bool onShare = share::isOn() && nameOf(path);
    if (onShare && fails(Call::lookByName, byName))
        return -1;
    const int outcome = done();
    if (onShare && outcome == 0)
        share::lookByName(info);
    return outcome;
}

/// Sleeps, or lets the time pass.
int sleep(const timespec &time, const std::function<int()> &really)
{
    if (!share::sleepsInNoTime())
        return really();
    passTime(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
    return 0;
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
Plant planted()
{
    return state().planted;
}
void fail(std::optional<Fault> fault)
{
    if (!fault && state().planted == Plant::neverMended)
        return;
    state().fault = std::move(fault);
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

ssize_t driver::share::writeAtServer(int descriptor, const void *bytes, std::size_t count, off_t at)
{
    using namespace filecalls;
    const ssize_t done = REAL(pwrite)(descriptor, bytes, count, at);
    const std::filesystem::path *const name = watched(descriptor);
    if (done > 0 && name)
        note({Event::Kind::written,
              *name,
              static_cast<std::uint64_t>(at),
              0,
              {static_cast<const char *>(bytes), static_cast<std::size_t>(done)},
              {}});
    return done;
}

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
    if (watched(descriptor))
        driver::share::roundTrip();
    driver::share::close(descriptor);
    state().open.erase(descriptor);
    state().through.erase(descriptor);
    return REAL(close)(descriptor);
}

ssize_t pwrite(int descriptor, const void *bytes, size_t count, off_t at)
{
    const Answer answer;
    const std::filesystem::path *const name = watched(descriptor);
    if (!name)
        return REAL(pwrite)(descriptor, bytes, count, at);
    if (fails(Call::write, descriptor)) {
        const int error = errno;
        const bool first = state().counted == state().fault->number;
        const bool half = error == 0 || (first && state().fault->halfDone);
        const ssize_t done = half ? writeNow(descriptor, bytes, (count + 1) / 2, at) : 0;
        if (error == 0)
            return flushThrough(descriptor, *name, done, at);
        errno = error;
        return -1;
    }
    if (state().planted == Plant::headerFirst && isJournal(*name))
        countBeforeJournal(bytes, count, at);
    if (isLastChange()) {
        writeNow(descriptor, bytes, count / 2, at);
        die();
    }
    return flushThrough(descriptor, *name, writeNow(descriptor, bytes, count, at), at);
}

off_t lseek(int descriptor, off_t place, int from) noexcept
{
    const Answer answer;
    if (watched(descriptor) && fails(Call::length, descriptor))
        return -1;
    if (from != SEEK_END || !driver::share::knows(descriptor))
        return REAL(lseek)(descriptor, place, from);
    struct stat info = {};
    return driver::share::look(descriptor, &info) == 0 ? info.st_size + place : -1;
}

ssize_t pread(int descriptor, void *bytes, size_t count, off_t at)
{
    const Answer answer;
    const std::filesystem::path *const name = watched(descriptor);
    if (name && fails(Call::read, descriptor)) {
        if (errno != 0)
            return -1;
        count = (count + 1) / 2;
    }
    const ssize_t got = driver::share::knows(descriptor) ? driver::share::read(descriptor, bytes, count, at)
                                                         : REAL(pread)(descriptor, bytes, count, at);
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
    const Answer answer;
    const std::filesystem::path *const name = watched(descriptor);
    if (name) {
        if (fails(Call::size, descriptor))
            return -1;
        if (isLastChange())
            die();
        driver::share::push(descriptor);
        note({Event::Kind::sized, *name, static_cast<std::uint64_t>(size), 0, {}, {}});
    }
    return driver::share::knows(descriptor) ? driver::share::truncate(descriptor, size)
                                            : REAL(ftruncate)(descriptor, size);
}

int fallocate(int descriptor, int mode, off_t from, off_t count)
{
    const Answer answer;
    if (watched(descriptor) && fails(Call::reserve, descriptor))
        return -1;
    return REAL(fallocate)(descriptor, mode, from, count);
}

int fcntl(int descriptor, int command, ...)
{
    va_list rest;
    va_start(rest, command);
    void *const argument = va_arg(rest, void *);
    va_end(rest);
    const Answer answer;
    const bool isSet = command == F_OFD_SETLK || command == F_SETLK;
    const bool isAsked = command == F_OFD_GETLK || command == F_GETLK;
    if (!watched(descriptor) || (!isSet && !isAsked))
        return REAL(fcntl)(descriptor, command, argument);
    auto *const range = static_cast<struct flock *>(argument);
    if (isSet) {
        if (state().beforeLock && isJournal(*watched(descriptor)))
            std::exchange(state().beforeLock, nullptr)();
        // On a folder of this machine giving back a lock does not fail: the system has nothing to find room
        // for.
        if (range->l_type == F_UNLCK && !driver::share::knows(descriptor)) {
            ++tallyOf(Call::unlock);
        } else if (fails(range->l_type == F_UNLCK ? Call::unlock : Call::lock, descriptor)) {
            if (range->l_type == F_UNLCK)
                driver::share::keepLock(descriptor, range->l_start, range->l_start + range->l_len);
            return -1;
        }
        if (state().planted == Plant::nothingLocked)
            return 0;
    } else if (driver::share::knows(descriptor)) {
        if (fails(Call::lock, descriptor))
            return -1;
        if (behaviour() == Share::smb)
            driver::share::roundTrip(); // it is taken and given back
    }
    return driver::share::knows(descriptor) ? driver::share::lock(descriptor, command, range)
                                            : REAL(fcntl)(descriptor, command, argument);
}

int fstat(int descriptor, struct stat *info) noexcept
{
    const Answer answer;
    if (watched(descriptor) && fails(Call::look, descriptor))
        return -1;
    return driver::share::knows(descriptor) ? driver::share::look(descriptor, info)
                                            : REAL(fstat)(descriptor, info);
}

int stat(const char *path, struct stat *info) noexcept
{
    return lookByName(path, info, [&] { return REAL(stat)(path, info); });
}

int lstat(const char *path, struct stat *info) noexcept
{
    return lookByName(path, info, [&] { return REAL(lstat)(path, info); });
}

int fstatat(int folder, const char *path, struct stat *info, int flags) noexcept
{
    return lookByName(path, info, [&] { return REAL(fstatat)(folder, path, info, flags); });
}

int fstatfs(int descriptor, struct statfs *info) noexcept
{
    const int outcome = REAL(fstatfs)(descriptor, info);
    if (outcome == 0 && driver::share::knows(descriptor))
        info->f_type = driver::share::magic();
    return outcome;
}

int statfs(const char *path, struct statfs *info) noexcept
{
    const int outcome = REAL(statfs)(path, info);
    if (outcome == 0 && driver::share::isOn() && nameOf((std::string(path) + "/").c_str()))
        info->f_type = driver::share::magic();
    return outcome;
}

void *mmap(void *place, size_t size, int protection, int flags, int descriptor, off_t at) noexcept
{
    if (const std::filesystem::path *const name = descriptor >= 0 ? watched(descriptor) : nullptr) {
        if (fails(Call::map, descriptor))
            return MAP_FAILED;
        if (driver::share::knows(descriptor) ||
            (isJournal(*name) && state().planted == Plant::journalNotRead)) {
            errno = ENODEV;
            return MAP_FAILED;
        }
    }
    return REAL(mmap)(place, size, protection, flags, descriptor, at);
}

int clock_gettime(clockid_t clock, timespec *now) noexcept
{
    static auto *const call = REAL(clock_gettime);
    const int outcome = call(clock, now);
    if (outcome != 0 || (clock != CLOCK_REALTIME && clock != CLOCK_MONOTONIC && clock != CLOCK_BOOTTIME))
        return outcome;
    constexpr long second = 1'000'000'000;
    const auto ahead = driver::share::timeAhead().count();
    now->tv_sec += ahead / second + (now->tv_nsec + ahead % second) / second;
    now->tv_nsec = (now->tv_nsec + ahead % second) % second;
    return 0;
}

int nanosleep(const timespec *time, timespec *left)
{
    return sleep(*time, [&] { return REAL(nanosleep)(time, left); });
}

int clock_nanosleep(clockid_t clock, int flags, const timespec *time, timespec *left)
{
    if ((flags & TIMER_ABSTIME) != 0)
        return REAL(clock_nanosleep)(clock, flags, time, left);
    return sleep(*time, [&] { return REAL(clock_nanosleep)(clock, flags, time, left); });
}

int rename(const char *from, const char *to) noexcept
{
    const Answer answer;
    const auto name = nameOf(from);
    const auto newName = nameOf(to);
    if (name && newName) {
        if (fails(Call::rename, byName))
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
int fstat64(int descriptor, struct stat64 *info) noexcept __attribute__((alias("fstat")));
int stat64(const char *path, struct stat64 *info) noexcept __attribute__((alias("stat")));
int lstat64(const char *path, struct stat64 *info) noexcept __attribute__((alias("lstat")));
int fstatat64(int folder, const char *path, struct stat64 *info, int flags) noexcept
    __attribute__((alias("fstatat")));
int fstatfs64(int descriptor, struct statfs64 *info) noexcept __attribute__((alias("fstatfs")));
int statfs64(const char *path, struct statfs64 *info) noexcept __attribute__((alias("statfs")));
void *mmap64(void *place, size_t size, int protection, int flags, int descriptor, off64_t at) noexcept
    __attribute__((alias("mmap")));

} // extern "C"
#pragma GCC visibility pop
