#pragma once

// Between the program and the system's file calls, in test programs on Linux: a program that links this has
// the calls of this file instead of the library's, for every shared library in it. Files of the watched
// folder are recorded, made to fail and treated wrongly; all others are passed on. For programs with one
// thread.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace driver::filecalls
{

/// Giving back a lock never fails. A write through to the disk is a write and a flush.
enum class Call { open, read, write, flush, size, lock, look, length, map, reserve, unlock, rename };
inline constexpr std::size_t kindsOfCall = 12;

/// Which call fails, and how.
struct Fault {
    std::optional<Call> call; ///< empty: any of them
    int number = 1;           ///< the first one is 1
    int error = 0;            ///< as in errno; 0: the call does half of its work
    bool staysBroken = false; ///< all further calls of the kind fail as well
    bool halfDone = false;    ///< the first to fail, when it is a write, does half of its work
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
    oldPages,          ///< what has been read once is read so again until the file is closed
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
