#include "tests/driver/ShareModel.h"

#include "tests/driver/FileCalls.h"
#include "tests/driver/RealCalls.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cerrno>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace driver::share
{

namespace
{

using filecalls::Plant;
using filecalls::Share;

constexpr off_t headerLock = 0xEFFFFFFE;
constexpr off_t pageSize = 4096;

/// A lock as the workstation believes in it.
struct Lock {
    off_t from = 0;
    off_t to = 0; ///< behind the last byte
    bool exclusive = false;
    bool lost = false;  ///< the server has freed it
    bool stuck = false; ///< giving it back has failed
    bool twice = false; ///< taken a second time by the system, which does not know it any more
    [[nodiscard]] bool meets(off_t begin, off_t end) const { return from < end && begin < to; }
    [[nodiscard]] bool isInside(off_t begin, off_t end) const { return begin <= from && to <= end; }
};

using FileId = std::pair<dev_t, ino_t>;

struct Handle {
    int workstation = 1;
    FileId file;
    bool direct = false;
    bool isTable = false;
    bool hasLostLock = false;
    bool isRefusedHere = false; ///< what the server grants, by the workstation's own system
    std::vector<Lock> locks;
};

struct Page {
    std::array<char, pageSize> bytes{};
    std::bitset<pageSize> dirty;
};

/// What a workstation keeps of a file.
struct Kept {
    std::map<off_t, Page> pages; ///< by number
    std::optional<struct stat> look;
};

struct State {
    Share share = Share::local;
    int workstation = 1;
    std::map<int, Handle> handles;
    std::map<std::pair<int, FileId>, Kept> kept;
    std::vector<int> stayOpen; ///< copies of handles, by a plant, which keep their locks
    int unlocksBefore = 0;
    int unlocksToFail = 0;
    bool unlockFailed = false;
    bool unlockingLostFails = false;
    bool sleepsInNoTime = true;
    std::chrono::nanoseconds ahead{0}; ///< never less: clocks do not go back
    std::chrono::milliseconds tripTime{0};
    int trips = 0;
    int tripsUnderLock = 0;
    int tableHolder = -1;        ///< handle
    std::map<int, int> renewals; ///< of the sessions of each workstation
};

State &state()
{
    static State &one = *new State;
    return one;
}

bool isNfs()
{
    return state().share == Share::nfs;
}

int refuse(int error)
{
    errno = error;
    return -1;
}

/// Whether a handle's reads and writes go by what its workstation keeps.
bool isKept(const Handle &handle)
{
    return isNfs() && (!handle.direct || filecalls::planted() == Plant::directIgnored);
}

Kept &keptOf(const Handle &handle)
{
    return state().kept[{handle.workstation, handle.file}];
}

/// The file as the workstation believes it to be.
struct stat &lookOf(Kept &kept, int descriptor)
{
    if (!kept.look)
        REAL(fstat)(descriptor, &kept.look.emplace());
    return *kept.look;
}

Page &pageOf(Kept &kept, int descriptor, off_t number)
{
    const auto [place, isNew] = kept.pages.try_emplace(number);
    if (isNew)
        static_cast<void>(REAL(pread)(descriptor, place->second.bytes.data(), pageSize, number * pageSize));
    return place->second;
}

/// Does something for each page of a range. @param work  gets the page's number, the first byte in it, how
/// many, and how far from the range's beginning.
template <class Work> void forPages(off_t at, std::size_t count, Work &&work)
{
    std::size_t done = 0;
    while (done < count) {
        const off_t place = at + static_cast<off_t>(done);
        const auto inside = static_cast<std::size_t>(place % pageSize);
        const std::size_t part = std::min(count - done, static_cast<std::size_t>(pageSize) - inside);
        work(place / pageSize, inside, part, done);
        done += part;
    }
}

/// A handle of a workstation that may write a file; -1 when there is none.
int writableHandle(int workstation, const FileId &file)
{
    for (const auto &[descriptor, handle] : state().handles) {
        if (handle.workstation == workstation && handle.file == file &&
            (REAL(fcntl)(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY)
            return descriptor;
    }
    return -1;
}

void pushPages(int workstation, const FileId &file, Kept &kept)
{
    const int descriptor = writableHandle(workstation, file);
    for (auto &[number, page] : kept.pages) {
        for (off_t from = 0; from < pageSize && page.dirty.any();) {
            off_t to = from;
            while (to < pageSize && page.dirty[static_cast<std::size_t>(to)])
                page.dirty.reset(static_cast<std::size_t>(to++));
            if (to > from) {
                writeAtServer(descriptor, page.bytes.data() + from, static_cast<std::size_t>(to - from),
                              number * pageSize + from);
                kept.look.reset();
            }
            from = to + 1;
        }
    }
}

/// The strongest of a handle's own locks, byte for byte: what the server holds for it.
struct Part {
    off_t from;
    off_t to;
    short type;
};
std::vector<Part> partsOf(const Handle &handle, off_t from, off_t to)
{
    std::set<off_t> edges{from, to};
    for (const Lock &lock : handle.locks) {
        edges.insert(std::clamp(lock.from, from, to));
        edges.insert(std::clamp(lock.to, from, to));
    }
    std::vector<Part> parts;
    for (auto edge = edges.begin(); std::next(edge) != edges.end(); ++edge) {
        Part part{*edge, *std::next(edge), F_UNLCK};
        for (const Lock &lock : handle.locks) {
            if (!lock.lost && lock.meets(part.from, part.to) && part.type != F_WRLCK)
                part.type = lock.exclusive ? F_WRLCK : F_RDLCK;
        }
        parts.push_back(part);
    }
    return parts;
}

bool setAtServer(int descriptor, off_t from, off_t to, short type)
{
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = from;
    range.l_len = to - from;
    return REAL(fcntl)(descriptor, F_OFD_SETLK, &range) == 0;
}

void settle(int descriptor, const Handle &handle, off_t from, off_t to)
{
    for (const Part &part : partsOf(handle, from, to))
        setAtServer(descriptor, part.from, part.to, part.type);
}

/// Whether others hold a lock that is in the way.
bool isTaken(int descriptor, off_t from, std::size_t count, short type)
{
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = from;
    range.l_len = static_cast<off_t>(count);
    return count > 0 && REAL(fcntl)(descriptor, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

bool meetsOwn(const Handle &handle, off_t from, off_t to)
{
    return std::any_of(handle.locks.begin(), handle.locks.end(),
                       [&](const Lock &lock) { return lock.meets(from, to); });
}

/// What lies unwritten for long the system brings to the server by itself.
void pass(std::chrono::nanoseconds time)
{
    constexpr auto tooLong = std::chrono::seconds(30);
    if (time >= tooLong) {
        for (const auto &[descriptor, handle] : state().handles)
            share::push(descriptor);
    }
    state().ahead += time;
}

int take(int descriptor, Handle &handle, Lock wanted)
{
    const off_t from = wanted.from;
    const off_t to = wanted.to;
    if (filecalls::planted() == Plant::exclusiveStays && !handle.isTable && from == headerLock)
        wanted.exclusive = true;
    if (handle.isRefusedHere && handle.isTable && wanted.exclusive && from == headerLock) {
        wanted.twice = true;
        if (!meetsOwn(handle, from, to) && setAtServer(descriptor, from, to, F_WRLCK))
            handle.locks.push_back(wanted);
        return refuse(EAGAIN);
    }
    const bool stuck = std::any_of(handle.locks.begin(), handle.locks.end(),
                                   [&](const Lock &lock) { return lock.stuck && lock.meets(from, to); });
    if (wanted.exclusive && (stuck || (!isNfs() && meetsOwn(handle, from, to))))
        return refuse(EACCES);
    bool granted = true;
    if (isNfs()) {
        push(descriptor);
        granted = setAtServer(descriptor, from, to, wanted.exclusive ? F_WRLCK : F_RDLCK);
    } else {
        for (const Part &part : partsOf(handle, from, to)) {
            if (granted && part.type != F_WRLCK)
                granted = setAtServer(descriptor, part.from, part.to, wanted.exclusive ? F_WRLCK : F_RDLCK);
        }
    }
    if (!granted) {
        const int error = errno == EAGAIN && !isNfs() ? EACCES : errno;
        settle(descriptor, handle, from, to);
        return refuse(error);
    }
    if (isNfs()) { // what was held there has become the new one, and the file is looked at anew
        std::erase_if(handle.locks, [&](const Lock &lock) { return lock.isInside(from, to); });
        keptOf(handle) = Kept();
    }
    handle.locks.push_back(wanted);
    if (handle.isTable && wanted.exclusive && from <= headerLock && headerLock < to) {
        state().tableHolder = descriptor;
        ++state().tripsUnderLock; // the one that got it
    }
    return 0;
}

int giveBack(int descriptor, Handle &handle, off_t from, off_t to)
{
    State &now = state();
    const auto isOurs = [&](const Lock &lock) { return !lock.twice && lock.isInside(from, to); };
    const bool held = std::any_of(handle.locks.begin(), handle.locks.end(), isOurs);
    const bool fails = held && now.unlocksToFail > 0 && now.unlocksBefore-- <= 0;
    if (fails) {
        --now.unlocksToFail;
        keepLock(descriptor, from, to);
        return refuse(EIO);
    }
    if (filecalls::planted() == Plant::unlockNotTriedAgain &&
        std::any_of(handle.locks.begin(), handle.locks.end(),
                    [&](const Lock &lock) { return lock.stuck && isOurs(lock); }))
        return 0;
    if (isNfs())
        push(descriptor);
    const bool lost = std::any_of(handle.locks.begin(), handle.locks.end(),
                                  [&](const Lock &lock) { return lock.lost && isOurs(lock); });
    std::erase_if(handle.locks, isOurs);
    settle(descriptor, handle, from, to);
    if (now.tableHolder == descriptor && from <= headerLock && headerLock < to)
        now.tableHolder = -1;
    return lost && std::exchange(now.unlockingLostFails, false) ? refuse(EIO) : 0;
}

} // namespace

bool isOn()
{
    return state().share != Share::local;
}

bool knows(int descriptor)
{
    return state().handles.contains(descriptor);
}

void roundTrip(int count)
{
    if (!isOn())
        return;
    state().trips += count;
    if (state().tripTime.count() > 0)
        std::this_thread::sleep_for(count * state().tripTime);
    if (state().tableHolder >= 0)
        state().tripsUnderLock += count;
}

int workstationOf(int descriptor)
{
    const auto found = state().handles.find(descriptor);
    return found == state().handles.end() ? state().workstation : found->second.workstation;
}

std::uint32_t magic()
{
    return isNfs() ? 0x6969 : 0xFF534D42;
}

int openCounts()
{
    if (isNfs() || filecalls::planted() == Plant::renewalsNotTold)
        return refuse(ENOENT);
    const int renewals = state().renewals[state().workstation];
    const std::string text = "Resources in use\nCIFS Session: 1\nShare (unique mount targets): 2\n\n" +
                             std::to_string(renewals) + " session " + std::to_string(2 * renewals) +
                             " share reconnects\n";
    const int descriptor = ::memfd_create("counts", MFD_CLOEXEC);
    static_cast<void>(REAL(pwrite)(descriptor, text.data(), text.size(), 0));
    return descriptor;
}

void opened(int descriptor, bool direct, bool isTable)
{
    struct stat info = {};
    REAL(fstat)(descriptor, &info);
    state().handles[descriptor] = {
        state().workstation, {info.st_dev, info.st_ino}, direct, isTable, false, false, {}};
}

void close(int descriptor)
{
    const auto found = state().handles.find(descriptor);
    if (found == state().handles.end())
        return;
    push(descriptor);
    const Handle handle = std::move(found->second);
    state().handles.erase(found);
    if (state().tableHolder == descriptor)
        state().tableHolder = -1;
    const bool last = std::none_of(state().handles.begin(), state().handles.end(), [&](const auto &other) {
        return other.second.workstation == handle.workstation && other.second.file == handle.file;
    });
    if (last) // who opens a file looks at it anew
        state().kept.erase({handle.workstation, handle.file});
}

void push(int descriptor)
{
    const auto found = state().handles.find(descriptor);
    if (found == state().handles.end())
        return;
    const auto kept = state().kept.find({found->second.workstation, found->second.file});
    if (kept != state().kept.end())
        pushPages(found->second.workstation, found->second.file, kept->second);
}

ssize_t read(int descriptor, void *bytes, std::size_t count, off_t at)
{
    const Handle &handle = state().handles.at(descriptor);
    if (handle.hasLostLock && isNfs())
        return refuse(EIO);
    if (!isNfs() && isTaken(descriptor, at, count, F_RDLCK))
        return refuse(EACCES);
    if (!isKept(handle)) {
        push(descriptor);
        return REAL(pread)(descriptor, bytes, count, at);
    }
    Kept &kept = keptOf(handle);
    const off_t end = lookOf(kept, descriptor).st_size;
    count = at >= end ? 0 : std::min(count, static_cast<std::size_t>(end - at));
    forPages(at, count, [&](off_t number, std::size_t inside, std::size_t part, std::size_t done) {
        std::memcpy(static_cast<char *>(bytes) + done, pageOf(kept, descriptor, number).bytes.data() + inside,
                    part);
    });
    return static_cast<ssize_t>(count);
}

ssize_t write(int descriptor, const void *bytes, std::size_t count, off_t at)
{
    const Handle &handle = state().handles.at(descriptor);
    if (handle.hasLostLock && isNfs())
        return refuse(EIO);
    if (!isNfs() && isTaken(descriptor, at, count, F_WRLCK))
        return refuse(EACCES);
    if (!isNfs())
        return writeAtServer(descriptor, bytes, count, at);
    Kept &kept = keptOf(handle);
    if (!isKept(handle)) {
        push(descriptor);
        forPages(at, count, [&](off_t number, auto...) { kept.pages.erase(number); });
        kept.look.reset();
        return writeAtServer(descriptor, bytes, count, at);
    }
    forPages(at, count, [&](off_t number, std::size_t inside, std::size_t part, std::size_t done) {
        Page &page = pageOf(kept, descriptor, number);
        std::memcpy(page.bytes.data() + inside, static_cast<const char *>(bytes) + done, part);
        for (std::size_t i = inside; i < inside + part; ++i)
            page.dirty.set(i);
    });
    struct stat &look = lookOf(kept, descriptor);
    look.st_size = std::max(look.st_size, at + static_cast<off_t>(count));
    return static_cast<ssize_t>(count);
}

int truncate(int descriptor, off_t size)
{
    const Handle &handle = state().handles.at(descriptor);
    if (handle.hasLostLock && isNfs())
        return refuse(EIO);
    push(descriptor);
    keptOf(handle) = Kept();
    return REAL(ftruncate)(descriptor, size);
}

int look(int descriptor, struct stat *info)
{
    const Handle &handle = state().handles.at(descriptor);
    if (isKept(handle)) {
        *info = lookOf(keptOf(handle), descriptor);
        return 0;
    }
    push(descriptor);
    return REAL(fstat)(descriptor, info);
}

void lookByName(struct stat *info)
{
    const auto kept = state().kept.find({state().workstation, {info->st_dev, info->st_ino}});
    if (kept != state().kept.end() && kept->second.look)
        *info = *kept->second.look;
}

int lock(int descriptor, int command, struct flock *range)
{
    Handle &handle = state().handles.at(descriptor);
    const off_t from = range->l_start;
    const off_t to = from + range->l_len;
    if (command == F_OFD_GETLK || command == F_GETLK) {
        // On SMB this is done by taking the lock, for which an own one is in the way as any other.
        if (isNfs() || !meetsOwn(handle, from, to))
            return REAL(fcntl)(descriptor, command, range);
        range->l_type = F_WRLCK;
        return 0;
    }
    if (range->l_type == F_UNLCK)
        return giveBack(descriptor, handle, from, to);
    return take(descriptor, handle, {from, to, range->l_type == F_WRLCK});
}

void keepLock(int descriptor, off_t from, off_t to)
{
    state().unlockFailed = true;
    for (Lock &lock : state().handles.at(descriptor).locks)
        lock.stuck = lock.stuck || lock.isInside(from, to);
    if (filecalls::planted() == Plant::unlockNotTriedAgain)
        state().stayOpen.push_back(::dup(descriptor));
}

void takeTime(std::chrono::nanoseconds time)
{
    if (filecalls::planted() != Plant::clockStandsStill)
        pass(time);
}

std::chrono::nanoseconds timeAhead()
{
    return state().ahead;
}

bool sleepsInNoTime()
{
    return isOn() && state().sleepsInNoTime;
}

} // namespace driver::share

namespace driver::filecalls
{

using share::state;

void behaveAs(Share how)
{
    auto &now = state();
    for (const auto &[descriptor, handle] : now.handles)
        share::push(descriptor);
    now.kept.clear();
    for (const int descriptor : std::exchange(now.stayOpen, {}))
        REAL(close)(descriptor);
    now.share = how;
    now.workstation = 1;
    failUnlocks(0);
    roundTripsAnew();
}
Share behaviour()
{
    return state().share;
}
void asWorkstation(int number)
{
    state().workstation = number;
}

void loseLocks(int workstation, bool unlockingFails)
{
    for (auto &[descriptor, handle] : state().handles) {
        if (handle.workstation != workstation)
            continue;
        for (share::Lock &lock : handle.locks) {
            lock.lost = true;
            handle.hasLostLock = true;
            share::setAtServer(descriptor, lock.from, lock.to, F_UNLCK);
        }
    }
    state().unlockingLostFails = unlockingFails;
}

void renewSession(int workstation, bool refusesHere)
{
    if (share::isNfs())
        return;
    ++state().renewals[workstation];
    for (auto &[descriptor, handle] : state().handles) {
        if (handle.workstation != workstation)
            continue;
        handle.isRefusedHere = refusesHere;
        std::vector<share::Lock> twice;
        for (share::Lock &lock : handle.locks) {
            const bool isFree =
                !share::isTaken(descriptor, lock.from, static_cast<std::size_t>(lock.to - lock.from),
                                lock.exclusive ? F_WRLCK : F_RDLCK);
            lock.lost = lock.lost && !isFree;
            if (!lock.lost && !lock.exclusive && !lock.twice)
                twice.push_back({lock.from, lock.to, false, false, false, true});
        }
        handle.locks.insert(handle.locks.end(), twice.begin(), twice.end());
        for (const share::Lock &lock : handle.locks)
            share::settle(descriptor, handle, lock.from, lock.to);
    }
}

void failUnlocks(int count, int after)
{
    state().unlocksToFail = count;
    state().unlocksBefore = after;
    state().unlockFailed = false;
}
bool unlockHasFailed()
{
    return state().unlockFailed;
}

void passTime(std::chrono::nanoseconds time)
{
    share::pass(time);
}
void eachRoundTripTakes(std::chrono::milliseconds time)
{
    state().tripTime = time;
}

void sleepVirtually(bool inNoTime)
{
    state().sleepsInNoTime = inNoTime;
}

int roundTrips()
{
    return state().trips;
}
int roundTripsUnderLock()
{
    return state().tripsUnderLock;
}
void roundTripsAnew()
{
    state().trips = 0;
    state().tripsUnderLock = 0;
}

} // namespace driver::filecalls
