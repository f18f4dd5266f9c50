#pragma once

// Between the program and the system's file calls, in test programs on Linux: a program that links this has
// the calls of this file instead of the library's, for every shared library in it. Files of the watched
// folder are recorded, made to fail and treated wrongly; all others are passed on. The folder may behave as
// one on a share, see ShareModel.h. For programs with one thread.

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace driver::filecalls
{

/// Giving back a lock and a look by name fail on shares alone. A write through to the disk is a write and a
/// flush.
enum class Call {
    open,
    read,
    write,
    flush,
    size,
    lock,
    look,
    length,
    map,
    reserve,
    unlock,
    rename,
    lookByName
};
inline constexpr std::size_t kindsOfCall = 13;

/// Which call fails, and how.
struct Fault {
    std::optional<Call> call; ///< empty: any of them
    int number = 1;           ///< the first one is 1
    int error = 0;            ///< as in errno; 0: the call does half of its work
    bool staysBroken = false; ///< all further calls of the kind fail as well
    bool halfDone = false;    ///< the first to fail, when it is a write, does half of its work
    /// It takes that long by all clocks, and then fails with the error, or with 0 does its work.
    std::chrono::seconds late{0};
    bool answerIsLate = false;            ///< its work is done before the time passes, without error
    std::function<void()> meanwhile = {}; ///< what happens in that time, once; its calls are not counted
    bool meanwhileEachTime = false;       ///< not once but in all calls that are late
    std::optional<int> workstation = {};  ///< whose calls are counted; empty: everybody's
};

/// Faults of a table program that tests must find. They stand here so that the program has no switch for
/// them.
enum class Plant {
    none,
    journalNotFlushed, ///< a change is acknowledged that is only in the cache
    tableNotFlushed,   ///< the journal is emptied before the table is on the disk
    headerFirst,       ///< the table's header counts a line that is not in the journal yet
    nothingLocked,     ///< every lock is granted
    journalNotRead,    ///< what a dead writer left is not done again
    failureHidden,     ///< a failed flush is reported as done
    // On shares:
    directIgnored,       ///< NFS: what is to go to the server at once is kept as all else
    exclusiveStays,      ///< presence is held exclusive, as by one that has converted its lock
    unlockNotTriedAgain, ///< a lock that could not be given back stays for good
    clockStandsStill,    ///< time that a call takes does not show
    neverMended,         ///< calls that have begun to fail go on failing
    renewalsNotTold,     ///< nobody learns that his session has been renewed
};

/// A change of a file, or a mark between changes.
struct Event {
    enum class Kind { created, written, sized, flushed, flushFailed, renamed, removed, mark } kind;
    std::filesystem::path file; ///< name in the folder; of a mark empty
    std::uint64_t offset = 0;   ///< of sized: the new size
    std::uint64_t length = 0;   ///< of flushed and flushFailed: so many bytes from the offset on; 0: the file
    std::string bytes;          ///< written
    std::string text;           ///< of a mark; of renamed: the new name
};

/// Watches the files of one folder that are opened from now on, and starts a new recording if asked to;
/// faults and plants are taken back. Flushes of those files are noted and not done: the disk's part is played
/// by whoever reads the recording.
void watch(const std::filesystem::path &folder, bool recording = true);
void unwatch();
void plant(Plant what);
[[nodiscard]] Plant planted();
/// Counts calls from here on; no fault: none fails any more.
void fail(std::optional<Fault> fault);
[[nodiscard]] bool faultMet();
[[nodiscard]] int counted(); ///< calls of the fault's kind so far
/// Calls of a kind since watch() or tallyAnew(), failing ones included.
[[nodiscard]] int tally(Call call);
[[nodiscard]] int tally(); ///< of all kinds
void tallyAnew();
/// Does something just before a journal is locked the next time: what another workstation does in between.
/// The calls of `work` are made as any others.
void beforeLockOfJournal(std::function<void()> work);
/// The process kills itself at its n-th change of a file, in mid-write where that is one.
void dieAt(int change);

[[nodiscard]] std::vector<Event> recorded();
void mark(std::string text);

} // namespace driver::filecalls
