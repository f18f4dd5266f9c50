#pragma once

// The watched folder as a share of another machine, beneath FileCalls.h: what workstations see of each other
// through SMB or NFS, and what becomes of their locks. The files themselves are the server's; the locks on
// the server are the system's own, so that several processes meet as well.
//
// SMB: locks belong to the handle, stack and are never converted; they are mandatory. NFS: each workstation
// keeps what it has read and written of a file until it takes a lock in that same file, but for handles that
// were opened with O_DIRECT.

#include <chrono>
#include <cstdint>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace driver::filecalls
{

enum class Share { local, smb, nfs };

/// From now on; files that are open already keep what they are. What workstations have kept is brought to the
/// server, and locks that nobody gives back are freed.
void behaveAs(Share how);
[[nodiscard]] Share behaviour();
/// Whose files the next ones opened are, and whose calls by name the next ones; 1 at first.
void asWorkstation(int number);

/// The server frees all locks of a workstation, which goes on believing in them: on SMB its writes go
/// through, on NFS what is read or written through a handle that had one fails until that is closed.
/// @param unlockingFails  giving one back answers EIO later, once.
void loseLocks(int workstation, bool unlockingFails = false);
/// SMB: the system of a workstation is connected anew, and takes its locks again where they are free. With
/// another handle on the file open there it takes the shared ones twice, and gives them back once.
/// @param refusesHere  another program there believes in the lock of a table that the server has lost: what
/// the server then grants to files that are open, the workstation's own system refuses, and does not give
/// back.
void renewSession(int workstation, bool refusesHere = false);
/// The next `count` locks to be given back, after `after` others, are not: EIO, and they stay taken for
/// everybody until they are given back once more or the handle is closed.
void failUnlocks(int count, int after = 0);
[[nodiscard]] bool unlockHasFailed(); ///< since failUnlocks()

/// Time goes on without anybody waiting; all clocks show it.
void passTime(std::chrono::nanoseconds time);
/// Whether those who sleep do it in no time, the clocks going on; only for one process. Yes at first, on
/// shares.
void sleepVirtually(bool inNoTime);

/// How long each call that goes to the server and back really takes from now on; none at first.
void eachRoundTripTakes(std::chrono::milliseconds time);
/// Calls that go to the server and back, on shares.
[[nodiscard]] int roundTrips();
/// Those from the grant of a table's exclusive lock until it has been given back, both included.
[[nodiscard]] int roundTripsUnderLock();
void roundTripsAnew();

} // namespace driver::filecalls

// What FileCalls.cpp asks. Calls that have no name here are the system's on a share as well.
namespace driver::share
{

[[nodiscard]] bool isOn();
[[nodiscard]] bool knows(int descriptor); ///< opened on a share
void roundTrip(int count = 1);
/// @param descriptor  -1: of a call by name.
[[nodiscard]] int workstationOf(int descriptor);
[[nodiscard]] std::uint32_t magic(); ///< of the file system
[[nodiscard]] int openCounts();      ///< a descriptor of the text that tells of renewed sessions

/// @param isTable  its header's lock is the one whose round trips are counted.
void opened(int descriptor, bool direct, bool isTable);
void close(int descriptor); ///< before it is closed
ssize_t read(int descriptor, void *bytes, std::size_t count, off_t at);
ssize_t write(int descriptor, const void *bytes, std::size_t count, off_t at);
void push(int descriptor); ///< what the workstation has written comes to the server
int truncate(int descriptor, off_t size);
int look(int descriptor, struct stat *info);
/// @param info  as it is on the server; becomes what the workstation believes.
void lookByName(struct stat *info);
int lock(int descriptor, int command, struct flock *range);
/// What was to be given back stays taken.
void keepLock(int descriptor, off_t from, off_t to);

/// Time that a call takes; a plant may hide it from the clocks.
void takeTime(std::chrono::nanoseconds time);
/// What goes on top of the system's clocks.
[[nodiscard]] std::chrono::nanoseconds timeAhead();
[[nodiscard]] bool sleepsInNoTime();

/// In FileCalls.cpp: something reaches the server.
ssize_t writeAtServer(int descriptor, const void *bytes, std::size_t count, off_t at);

} // namespace driver::share
