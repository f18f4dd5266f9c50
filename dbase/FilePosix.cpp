// Files and locks of POSIX; beside FileWindows.cpp.

#include "dbase/FileNative.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#if defined(__linux__)
#include <sys/vfs.h>
#include <sys/xattr.h>
#endif
#include <unistd.h>
#include <vector>

namespace dbase
{

Status failureOfCall(const std::string &what, const std::string &name)
{
    const int code = errno;
    if (code == ENOSPC || code == EDQUOT || code == EFBIG)
        return {ErrorKind::full, "no queda sitio en el disco", name};
    return {ErrorKind::inputOutput, what + ": " + std::strerror(code), name};
}

namespace
{

// Locks that belong to the open file, not to the process: closing another handle on the same file must not
// drop them.
#if defined(F_OFD_SETLK)
constexpr int setLockCommand = F_OFD_SETLK;
constexpr int askLockCommand = F_OFD_GETLK;
#else
constexpr int setLockCommand = F_SETLK;
constexpr int askLockCommand = F_GETLK;
#endif

struct flock rangeOf(std::uint64_t offset, std::uint64_t length, short type)
{
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = static_cast<off_t>(offset);
    range.l_len = static_cast<off_t>(length);
    return range;
}

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

FileLook lookOf(const struct stat &info)
{
    return {{static_cast<std::uint64_t>(info.st_size),
             std::int64_t{info.st_mtim.tv_sec} * nanosecondsPerSecond + info.st_mtim.tv_nsec},
            {static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino)}};
}

/// The owner of the new file alone, until it has got the rights that it is to have.
constexpr mode_t ownersOnly = 0600;
constexpr mode_t asTheFolderGives = 0666;

/// @param rights  of a file that is made by it.
int openAs(const std::filesystem::path &path, int flags, mode_t rights = ownersOnly)
{
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY, rights);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

/// Opens what is there already, and does not wait for somebody at the other end of it.
int openExisting(const std::filesystem::path &path, int flags)
{
    const int descriptor = openAs(path, flags | O_NONBLOCK);
    if (descriptor >= 0 || errno != EWOULDBLOCK)
        return descriptor;
    // A plain file that a server has lent to somebody, and has to ask back first.
    struct stat info = {};
    if (::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode))
        return openAs(path, flags);
    errno = ENXIO;
    return -1;
}

/// Why a file could not be opened or made, by errno.
Status failureToOpen(const std::string &name)
{
    switch (errno) {
    case ENOENT:
    case ENOTDIR:
        return {ErrorKind::notFound, "el fichero no existe", name};
    case EACCES:
    case EPERM:
    case EROFS:
        return {ErrorKind::readOnly, "no hay permiso para abrir el fichero", name};
    case EEXIST:
        return {ErrorKind::invalidArgument, "el fichero ya existe", name};
    case ELOOP: // a link
    case EISDIR:
    case ENXIO: // a pipe without a reader, a socket
        return {ErrorKind::unsupported, noPlainFile, name};
    default:
        return failureOfCall("no se puede abrir el fichero", name);
    }
}

constexpr mode_t rightsMask = 0777;
constexpr mode_t groupShift = 3;
constexpr mode_t othersMask = 07;

#if defined(__linux__)
constexpr const char *accessList = "system.posix_acl_access";

/// The list of those who may use a file, beyond owner, group and others; empty when there is none.
std::vector<std::uint8_t> accessListOf(int descriptor)
{
    std::vector<std::uint8_t> list(std::size_t{64} * 1024);
    const ssize_t got = ::fgetxattr(descriptor, accessList, list.data(), list.size());
    list.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return list;
}

bool copyAccessList(int from, int to)
{
    const auto wanted = accessListOf(from);
    if (wanted == accessListOf(to))
        return true;
    return wanted.empty() ? ::fremovexattr(to, accessList) == 0
                          : ::fsetxattr(to, accessList, wanted.data(), wanted.size(), 0) == 0;
}
#else
bool copyAccessList(int /*from*/, int /*to*/)
{
    return true;
}
#endif

/// Number of the file system that a file lies on; 0 where the system does not tell.
std::uint32_t fileSystemOf([[maybe_unused]] int descriptor)
{
#if defined(__linux__)
    struct statfs info = {};
    if (::fstatfs(descriptor, &info) == 0)
        return static_cast<std::uint32_t>(info.f_type);
#endif
    return 0;
}

/// Whether a lock call has failed as they do on SMB after the connection was away: until the file has been
/// read once, they do not know it any more.
bool wantsReading(int error, bool isSmb)
{
    return error == EBADF || error == EINVAL || (error == EAGAIN && isSmb);
}

/// @return 0, or why the lock was not taken or not given back.
int callForLock(int descriptor, struct flock range, bool isRemote, bool isSmb)
{
    for (bool mayRead = isRemote;;) {
        if (::fcntl(descriptor, setLockCommand, &range) == 0)
            return 0;
        const int error = errno;
        if (error == EINTR)
            continue;
        char byte = 0;
        if (!std::exchange(mayRead, false) || !wantsReading(error, isSmb) ||
            ::pread(descriptor, &byte, 1, 0) < 0)
            return error;
    }
}

/// The number that stands in front of a word; 0 when there is none.
[[maybe_unused]] std::uint64_t numberBefore(std::string_view text, std::string_view word)
{
    const std::size_t end = std::min(text.find(word), text.size());
    const std::size_t begin = text.find_last_not_of("0123456789", end - std::min<std::size_t>(end, 1)) + 1;
    std::uint64_t number = 0;
    std::from_chars(text.data() + std::min(begin, end), text.data() + end, number);
    return end < text.size() ? number : 0;
}

} // namespace

std::chrono::nanoseconds timeWithSleep()
{
#if defined(CLOCK_BOOTTIME)
    constexpr clockid_t clock = CLOCK_BOOTTIME;
#else
    constexpr clockid_t clock = CLOCK_MONOTONIC;
#endif
    struct timespec now = {};
    ::clock_gettime(clock, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

std::uint64_t sessionsRenewed()
{
#if defined(__linux__)
    const int descriptor = openAs("/proc/fs/cifs/Stats", O_RDONLY);
    if (descriptor < 0)
        return 0;
    std::array<char, 512> front{}; // "2 session 4 share reconnects" is one of the first lines
    const ssize_t got = ::pread(descriptor, front.data(), front.size(), 0);
    ::close(descriptor);
    const std::string_view text(front.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    return numberBefore(text, " session ") + numberBefore(text, " share reconnects");
#else
    return 0;
#endif
}

File::Native::~Native()
{
    if (descriptor >= 0)
        ::close(descriptor);
}

Status File::Native::takeIn()
{
    struct stat info = {};
    if (::fstat(descriptor, &info) != 0)
        return failureOfCall("no se puede consultar el fichero", name);
    if (!S_ISREG(info.st_mode))
        return {ErrorKind::unsupported, noPlainFile, name};
    identity = lookOf(info).identity;
    const std::uint32_t system = fileSystemOf(descriptor);
    isRemote = !isLocalFileSystem(system); // one that is not known is treated with care
    isSmb = system == 0xFF534D42 || system == 0xFE534D42;
    isNfs = system == 0x6969;
    return {};
}

Status File::Native::takeRightsOf(const Native &owner)
{
    struct stat wanted = {};
    struct stat made = {};
    if (::fstat(owner.descriptor, &wanted) != 0 || ::fstat(descriptor, &made) != 0)
        return failureOfCall("no se puede consultar el fichero", name);
    // Only an administrator may give it away whole; others may have it in each of their groups.
    if ((made.st_uid != wanted.st_uid || made.st_gid != wanted.st_gid) &&
        ::fchown(descriptor, wanted.st_uid, wanted.st_gid) != 0 && made.st_gid != wanted.st_gid &&
        ::fchown(descriptor, static_cast<uid_t>(-1), wanted.st_gid) != 0) {
        // A group that may no more than all others loses nothing.
        const mode_t ofGroup = (wanted.st_mode >> groupShift) & othersMask;
        if (ofGroup != (wanted.st_mode & othersMask))
            return {ErrorKind::readOnly, noSameRights, name};
    }
    if ((made.st_mode & rightsMask) != (wanted.st_mode & rightsMask) &&
        ::fchmod(descriptor, wanted.st_mode & rightsMask) != 0)
        return {ErrorKind::readOnly, noSameRights, name};
    return copyAccessList(owner.descriptor, descriptor) ? Status()
                                                        : Status(ErrorKind::readOnly, noSameRights, name);
}

bool File::Native::openForShare(const std::filesystem::path &path, int flags)
{
    int more = 0;
#if defined(O_DIRECT)
    more |= isNfs ? O_DIRECT : 0;
#endif
    if (isSmb) {
        handleSet = HandleSet::of(descriptor);
        more |= handleSet.flags();
    }
    if (more == 0)
        return true;
    // With these flags and no others: by them the handles of a file are told apart. What it is has been seen.
    int better = -1;
    do {
        better = ::open(path.c_str(), flags | more | O_CLOEXEC);
    } while (better < 0 && errno == EINTR);
    if (better < 0)
        return errno == EINVAL; // a file system that has no such thing
    ::close(descriptor);
    descriptor = better;
    writesThrough = isSmb;
    return true;
}

bool File::Native::isOpen() const
{
    return descriptor >= 0;
}

void File::close() noexcept
{
    // Without a descriptor the system refuses every call.
    if (const int open = m_native ? std::exchange(m_native->descriptor, -1) : -1; open >= 0) {
        ::close(open);
        m_native->handleSet.release();
    }
}

Result<File> File::open(const std::filesystem::path &path, Mode mode)
{
    auto native = std::make_unique<Native>();
    native->name = displayName(path);
    int flags = mode == Mode::readOnly ? O_RDONLY : O_RDWR;
    if (mode == Mode::writeThrough) {
#if defined(__linux__)
        flags |= O_DSYNC;
#else
        return Status(ErrorKind::unsupported, "el sistema no escribe a través de su memoria", native->name);
#endif
    }
    native->descriptor = openExisting(path, flags);
    if (native->descriptor < 0)
        return failureToOpen(native->name);
    if (const Status status = native->takeIn(); !status.ok())
        return status;
    if (native->isRemote && mode == Mode::writeThrough)
        return Status(ErrorKind::unsupported, "el fichero está en otra máquina", native->name);
    if (!native->openForShare(path, flags))
        return failureToOpen(native->name);
    return File(std::move(native));
}

Result<File> File::make(const std::filesystem::path &path, const File *owner)
{
    auto native = std::make_unique<Native>();
    native->name = displayName(path);
    native->descriptor = openAs(path, O_RDWR | O_CREAT | O_EXCL, owner ? ownersOnly : asTheFolderGives);
    if (native->descriptor < 0)
        return failureToOpen(native->name);
    Status status = native->takeIn();
    if (status.ok() && owner)
        status = native->takeRightsOf(*owner->m_native);
    if (status.ok() && !native->openForShare(path, O_RDWR))
        status = failureToOpen(native->name);
    if (status.ok())
        return File(std::move(native));
    ::unlink(path.c_str());
    return status;
}

Result<FileLook> File::look() const
{
    struct stat info = {};
    if (::fstat(m_native->descriptor, &info) != 0)
        return failed("no se puede consultar el fichero");
    return lookOf(info);
}

Result<FileLook> File::look(const std::filesystem::path &path)
{
    struct stat info = {};
    if (::stat(path.c_str(), &info) == 0)
        return lookOf(info);
    if (errno == ENOENT || errno == ENOTDIR)
        return Status(ErrorKind::notFound, "el fichero no existe", displayName(path));
    return failureOfCall("no se puede consultar el fichero", displayName(path));
}

Result<std::uint64_t> File::size() const
{
    const off_t end = ::lseek(m_native->descriptor, 0, SEEK_END); // reads and writes name their own place
    if (end < 0)
        return failed("no se puede consultar el fichero");
    return static_cast<std::uint64_t>(end);
}

Result<std::size_t> File::readAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const
{
    std::size_t done = 0;
    while (done < buffer.size()) {
        const ssize_t count = ::pread(m_native->descriptor, buffer.data() + done, buffer.size() - done,
                                      static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return failed("no se puede leer el fichero");
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

Status File::writeAt(std::uint64_t offset, std::span<const std::uint8_t> bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::pwrite(m_native->descriptor, bytes.data() + done, bytes.size() - done,
                                       static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR)
            continue; // also when the disk was to be reached: the bytes are given to it anew
        if (count < 0)
            return failed("no se puede escribir en el fichero");
        done += static_cast<std::size_t>(count);
    }
    return {};
}

Status File::truncate(std::uint64_t size)
{
    m_native->isResized = true;
    while (::ftruncate(m_native->descriptor, static_cast<off_t>(size)) != 0) {
        if (errno != EINTR)
            return failed("no se puede cambiar el tamaño del fichero");
    }
    return {};
}

Status File::sync()
{
    return m_native->writesThrough && !m_native->isResized ? Status() : flush();
}

bool File::flushesForOthers() const
{
    return m_native && m_native->isSmb; // on NFS a system asks only for what it has written itself
}

Status File::flush()
{
#if defined(__APPLE__)
    const int outcome = ::fcntl(m_native->descriptor, F_FULLFSYNC);
#else
    const int outcome = ::fdatasync(m_native->descriptor);
#endif
    // Not repeated on any error: what a failed flush covered may have been dropped from the cache.
    if (outcome != 0)
        return failed("el disco no ha confirmado la escritura");
    m_native->isResized = false;
    return {};
}

Result<bool> File::tryLock(std::uint64_t offset, std::uint64_t length, LockKind kind)
{
    const auto range = rangeOf(offset, length, kind == LockKind::exclusive ? F_WRLCK : F_RDLCK);
    const int error = callForLock(m_native->descriptor, range, m_native->isRemote, m_native->isSmb);
    if (error == 0)
        return true;
    if (error == EAGAIN || error == EACCES)
        return false;
    errno = error;
    return failed("no se puede bloquear el fichero");
}

void File::unlock(std::uint64_t offset, std::uint64_t length) noexcept
{
    if (!m_native->isOpen())
        return;
    const auto range = rangeOf(offset, length, F_UNLCK);
    if (callForLock(m_native->descriptor, range, m_native->isRemote, m_native->isSmb) != 0)
        m_native->isInDoubt = true; // it may be held still, by nobody who knows
}

Result<bool> File::isLockedElsewhere(std::uint64_t offset, std::uint64_t length)
{
    struct flock range = rangeOf(offset, length, F_WRLCK);
    while (::fcntl(m_native->descriptor, askLockCommand, &range) != 0) {
        if (errno != EINTR)
            return failed("no se puede consultar el bloqueo");
    }
    return range.l_type != F_UNLCK;
}

Status File::reserve(std::uint64_t offset, std::uint64_t bytes)
{
#if defined(__linux__)
    const auto from = static_cast<off_t>(offset);
    while (::fallocate(m_native->descriptor, FALLOC_FL_KEEP_SIZE, from, static_cast<off_t>(bytes)) != 0) {
        if (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)
            return failed("no queda sitio");
        if (errno != EINTR)
            break;
    }
#endif
    return {};
}

bool isLocalFileSystem(std::uint32_t magic)
{
    // Those that are known to keep one memory of a file for all who have it open; all others might be a
    // share.
    constexpr std::array<std::uint32_t, 16> local = {
        0xEF53,     // ext2, ext3, ext4
        0x58465342, // XFS
        0x9123683E, // Btrfs
        0x01021994, // tmpfs
        0x794C7630, // overlay
        0x2FC12FC1, // ZFS
        0xF2F52010, // F2FS
        0xCA451A4E, // bcachefs
        0x3153464A, // JFS
        0x52654973, // ReiserFS
        0x858458F6, // ramfs
        0x4D44,     // FAT
        0x2011BAB0, // exFAT
        0x7366746E, // NTFS
        0x73717368, // SquashFS
        0x9660,     // ISO 9660
    };
    return std::find(local.begin(), local.end(), magic) != local.end();
}

Status syncFolder(const std::filesystem::path &folder)
{
    const auto name = displayName(folder);
    const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return failureOfCall("no se puede abrir la carpeta", name);
    const bool synced = ::fsync(descriptor) == 0 || errno == EINVAL; // some file systems have nothing to do
    const Status status = synced ? Status() : failureOfCall("el disco no ha confirmado la escritura", name);
    ::close(descriptor);
    return status;
}

} // namespace dbase
