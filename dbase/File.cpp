#include "dbase/File.h"

#if defined(_WIN32)
#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <algorithm>
#else
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#if defined(__linux__)
#include <sys/vfs.h>
#endif
#include <unistd.h>
#endif

namespace dbase
{

std::string displayName(const std::filesystem::path &file)
{
    const auto text = file.u8string();
    return {text.begin(), text.end()};
}

#if defined(_WIN32)

struct File::Native {
    HANDLE handle = INVALID_HANDLE_VALUE;
    std::string name;
    ~Native()
    {
        if (handle != INVALID_HANDLE_VALUE)
            CloseHandle(handle);
    }
};

namespace
{

Status failure(const std::string &what, const std::string &name)
{
    const DWORD code = GetLastError();
    const bool full = code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL;
    return {full ? ErrorKind::full : ErrorKind::inputOutput,
            full ? std::string("no queda sitio en el disco") : what + " (error " + std::to_string(code) + ")",
            name};
}

OVERLAPPED placeOf(std::uint64_t offset)
{
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    return place;
}

} // namespace

Result<File> File::open(const std::filesystem::path &path, Mode mode)
{
    auto native = std::make_unique<Native>();
    native->name = displayName(path);
    const DWORD access = mode == Mode::readOnly ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    native->handle =
        CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    mode == Mode::createNew ? CREATE_NEW : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (native->handle != INVALID_HANDLE_VALUE)
        return File(std::move(native));
    switch (GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return Status(ErrorKind::notFound, "el fichero no existe", native->name);
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
        return Status(ErrorKind::readOnly, "no hay permiso para abrir el fichero", native->name);
    case ERROR_FILE_EXISTS:
        return Status(ErrorKind::invalidArgument, "el fichero ya existe", native->name);
    default:
        return failure("no se puede abrir el fichero", native->name);
    }
}

Result<FileStamp> File::stamp() const
{
    BY_HANDLE_FILE_INFORMATION info{};
    if (!GetFileInformationByHandle(m_native->handle, &info))
        return failure("no se puede consultar el fichero", m_native->name);
    const auto joined = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32U | low; };
    return FileStamp{
        joined(info.nFileSizeHigh, info.nFileSizeLow),
        static_cast<std::int64_t>(
            joined(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime) * 100)};
}

Result<std::size_t> File::readAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const
{
    std::size_t done = 0;
    while (done < buffer.size()) {
        OVERLAPPED place = placeOf(offset + done);
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min<std::size_t>(buffer.size() - done, 1U << 30U));
        if (!ReadFile(m_native->handle, buffer.data() + done, wanted, &count, &place)) {
            if (GetLastError() == ERROR_HANDLE_EOF)
                break;
            return failure("no se puede leer el fichero", m_native->name);
        }
        if (count == 0)
            break;
        done += count;
    }
    return done;
}

Status File::writeAt(std::uint64_t offset, std::span<const std::uint8_t> bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        OVERLAPPED place = placeOf(offset + done);
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - done, 1U << 30U));
        if (!WriteFile(m_native->handle, bytes.data() + done, wanted, &count, &place))
            return failure("no se puede escribir en el fichero", m_native->name);
        done += count;
    }
    return {};
}

Status File::truncate(std::uint64_t size)
{
    LARGE_INTEGER place{};
    place.QuadPart = static_cast<LONGLONG>(size);
    if (!SetFilePointerEx(m_native->handle, place, nullptr, FILE_BEGIN) || !SetEndOfFile(m_native->handle))
        return failure("no se puede cambiar el tamaño del fichero", m_native->name);
    return {};
}

Status File::sync()
{
    if (!FlushFileBuffers(m_native->handle))
        return failure("el disco no ha confirmado la escritura", m_native->name);
    return {};
}

Result<bool> File::tryLock(std::uint64_t offset, std::uint64_t length, LockKind kind)
{
    OVERLAPPED place = placeOf(offset);
    const DWORD flags =
        LOCKFILE_FAIL_IMMEDIATELY | (kind == LockKind::exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
    if (LockFileEx(m_native->handle, flags, 0, static_cast<DWORD>(length), static_cast<DWORD>(length >> 32U),
                   &place))
        return true;
    if (GetLastError() == ERROR_LOCK_VIOLATION || GetLastError() == ERROR_IO_PENDING)
        return false;
    return failure("no se puede bloquear el fichero", m_native->name);
}

Result<bool> File::convertLock(std::uint64_t offset, std::uint64_t length, LockKind kind)
{
    unlock(offset, length);
    return tryLock(offset, length, kind);
}

void File::unlock(std::uint64_t offset, std::uint64_t length) noexcept
{
    OVERLAPPED place = placeOf(offset);
    UnlockFileEx(m_native->handle, 0, static_cast<DWORD>(length), static_cast<DWORD>(length >> 32U), &place);
}

Result<bool> File::isLockedElsewhere(std::uint64_t offset, std::uint64_t length)
{
    // The system has no question for this: it is tried.
    const auto got = tryLock(offset, length, LockKind::exclusive);
    if (got.ok() && got.value())
        unlock(offset, length);
    return got.ok() ? Result<bool>(!got.value()) : got;
}

Status File::reserve(std::uint64_t /*offset*/, std::uint64_t /*bytes*/)
{
    return {};
}

bool File::isRemote() const
{
    FILE_REMOTE_PROTOCOL_INFO info{};
    return GetFileInformationByHandleEx(m_native->handle, FileRemoteProtocolInfo, &info, sizeof info) != 0;
}

// Not mapped: a mapped file cannot be shortened here, not even by the program that packs it.
Result<Mapping> Mapping::of(const File & /*file*/, std::size_t /*size*/)
{
    return Status(ErrorKind::unsupported, "los ficheros no se proyectan en memoria");
}

Mapping::~Mapping() = default;

bool Mapping::lost() const
{
    return false;
}

Status syncFolder(const std::filesystem::path & /*folder*/)
{
    return {};
}

#else

struct File::Native {
    int descriptor = -1;
    std::string name;
    ~Native()
    {
        if (descriptor >= 0)
            ::close(descriptor);
    }
};

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

Status failure(const std::string &what, const std::string &name)
{
    const int code = errno;
    if (code == ENOSPC || code == EDQUOT || code == EFBIG)
        return {ErrorKind::full, "no queda sitio en el disco", name};
    return {ErrorKind::inputOutput, what + ": " + std::strerror(code), name};
}

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

} // namespace

Result<File> File::open(const std::filesystem::path &path, Mode mode)
{
    auto native = std::make_unique<Native>();
    native->name = displayName(path);
    int flags = O_CLOEXEC | (mode == Mode::readOnly ? O_RDONLY : O_RDWR);
    if (mode == Mode::createNew)
        flags |= O_CREAT | O_EXCL;
    do {
        native->descriptor = ::open(path.c_str(), flags, 0666); // the folder's umask decides
    } while (native->descriptor < 0 && errno == EINTR);
    if (native->descriptor >= 0)
        return File(std::move(native));
    switch (errno) {
    case ENOENT:
    case ENOTDIR:
        return Status(ErrorKind::notFound, "el fichero no existe", native->name);
    case EACCES:
    case EPERM:
    case EROFS:
        return Status(ErrorKind::readOnly, "no hay permiso para abrir el fichero", native->name);
    case EEXIST:
        return Status(ErrorKind::invalidArgument, "el fichero ya existe", native->name);
    default:
        return failure("no se puede abrir el fichero", native->name);
    }
}

Result<FileStamp> File::stamp() const
{
    struct stat info = {};
    if (::fstat(m_native->descriptor, &info) != 0)
        return failure("no se puede consultar el fichero", m_native->name);
    return FileStamp{static_cast<std::uint64_t>(info.st_size),
                     std::int64_t{info.st_mtim.tv_sec} * nanosecondsPerSecond + info.st_mtim.tv_nsec};
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
            return failure("no se puede leer el fichero", m_native->name);
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
            continue;
        if (count < 0)
            return failure("no se puede escribir en el fichero", m_native->name);
        done += static_cast<std::size_t>(count);
    }
    return {};
}

Status File::truncate(std::uint64_t size)
{
    while (::ftruncate(m_native->descriptor, static_cast<off_t>(size)) != 0) {
        if (errno != EINTR)
            return failure("no se puede cambiar el tamaño del fichero", m_native->name);
    }
    return {};
}

Status File::sync()
{
#if defined(__APPLE__)
    const int outcome = ::fcntl(m_native->descriptor, F_FULLFSYNC);
#else
    const int outcome = ::fdatasync(m_native->descriptor);
#endif
    // Not repeated on any error: what a failed flush covered may have been dropped from the cache.
    if (outcome != 0)
        return failure("el disco no ha confirmado la escritura", m_native->name);
    return {};
}

Result<bool> File::tryLock(std::uint64_t offset, std::uint64_t length, LockKind kind)
{
    struct flock range = rangeOf(offset, length, kind == LockKind::exclusive ? F_WRLCK : F_RDLCK);
    while (::fcntl(m_native->descriptor, setLockCommand, &range) != 0) {
        if (errno == EINTR)
            continue;
        if (errno == EAGAIN || errno == EACCES)
            return false;
        return failure("no se puede bloquear el fichero", m_native->name);
    }
    return true;
}

Result<bool> File::convertLock(std::uint64_t offset, std::uint64_t length, LockKind kind)
{
    return tryLock(offset, length, kind);
}

void File::unlock(std::uint64_t offset, std::uint64_t length) noexcept
{
    struct flock range = rangeOf(offset, length, F_UNLCK);
    while (::fcntl(m_native->descriptor, setLockCommand, &range) != 0 && errno == EINTR) {
    }
}

Result<bool> File::isLockedElsewhere(std::uint64_t offset, std::uint64_t length)
{
    struct flock range = rangeOf(offset, length, F_WRLCK);
    while (::fcntl(m_native->descriptor, askLockCommand, &range) != 0) {
        if (errno != EINTR)
            return failure("no se puede consultar el bloqueo", m_native->name);
    }
    return range.l_type != F_UNLCK;
}

Status File::reserve(std::uint64_t offset, std::uint64_t bytes)
{
#if defined(__linux__)
    const auto from = static_cast<off_t>(offset);
    while (::fallocate(m_native->descriptor, FALLOC_FL_KEEP_SIZE, from, static_cast<off_t>(bytes)) != 0) {
        if (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)
            return failure("no queda sitio", m_native->name);
        if (errno != EINTR)
            break;
    }
#endif
    return {};
}

bool File::isRemote() const
{
#if defined(__linux__)
    struct statfs info = {};
    if (::fstatfs(m_native->descriptor, &info) != 0)
        return true; // the careful answer
    constexpr long nfs = 0x6969;
    constexpr long smb = 0x517B;
    constexpr long smb2 = 0xFE534D42L;
    constexpr long cifs = 0xFF534D42L;
    constexpr long fuse = 0x65735546;
    const auto type = static_cast<long>(static_cast<unsigned long>(info.f_type) & 0xFFFFFFFFUL);
    return type == nfs || type == smb || type == smb2 || type == cifs || type == fuse;
#else
    return true;
#endif
}

// A read of a mapped page that the file no longer has is a signal, SIGBUS. The handler puts zeros in the
// place of the missing pages and notes it; all else it hands on to whoever was there before. It may only use
// what is safe in a signal: atomics, and mmap, which is a bare system call here.

struct MappedRange {
    std::atomic<std::uintptr_t> begin{0}; ///< 0: free
    std::atomic<std::uintptr_t> end{0};
    std::atomic<bool> lost{false};
};

namespace
{

/// Three for a table; beyond that files are read without mapping.
constexpr std::size_t mostMappings = 384;
std::array<MappedRange, mostMappings> mappedRanges;
static_assert(std::atomic<std::uintptr_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

class BusErrorHandler
{
public:
    BusErrorHandler()
    {
        s_pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        struct sigaction action = {};
        action.sa_sigaction = &BusErrorHandler::handle;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
        sigemptyset(&action.sa_mask);
        ::sigaction(SIGBUS, &action, &s_before);
    }
    ~BusErrorHandler()
    {
        struct sigaction present = {};
        ::sigaction(SIGBUS, nullptr, &present);
        if ((present.sa_flags & SA_SIGINFO) != 0 && present.sa_sigaction == &BusErrorHandler::handle)
            ::sigaction(SIGBUS, &s_before, nullptr);
    }
    BusErrorHandler(const BusErrorHandler &) = delete;
    BusErrorHandler &operator=(const BusErrorHandler &) = delete;

private:
    static void handle(int signal, siginfo_t *info, void *context)
    {
        const int error = errno;
        const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
        for (MappedRange &range : mappedRanges) {
            const std::uintptr_t begin = range.begin.load();
            const std::uintptr_t end = range.end.load();
            if (begin == 0 || address < begin || address >= end)
                continue;
            range.lost = true;
            const std::uintptr_t page = address - address % s_pageSize;
            void *const zeros = ::mmap(reinterpret_cast<void *>(page), end - page, PROT_READ,
                                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
            if (zeros == MAP_FAILED)
                break;
            errno = error;
            return;
        }
        if ((s_before.sa_flags & SA_SIGINFO) != 0)
            s_before.sa_sigaction(signal, info, context);
        else if (s_before.sa_handler != SIG_DFL && s_before.sa_handler != SIG_IGN)
            s_before.sa_handler(signal);
        else
            ::sigaction(SIGBUS, &s_before, nullptr); // the read is done again, and ends the program
    }
    static inline std::uintptr_t s_pageSize = 0;
    static inline struct sigaction s_before = {};
};

MappedRange *freeRange()
{
    constexpr std::uintptr_t taken = 1;
    for (MappedRange &range : mappedRanges) {
        std::uintptr_t free = 0;
        if (range.begin.compare_exchange_strong(free, taken))
            return &range;
    }
    return nullptr;
}

} // namespace

Result<Mapping> Mapping::of(const File &file, std::size_t size)
{
    static const BusErrorHandler handler;
    Mapping mapping;
    mapping.m_range = freeRange();
    if (!mapping.m_range)
        return Status(ErrorKind::unsupported, "hay demasiados ficheros proyectados en memoria");
    void *const data = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file.m_native->descriptor, 0);
    if (data == MAP_FAILED)
        return failure("el fichero no se puede proyectar en memoria", file.m_native->name);
    mapping.m_data = static_cast<const std::uint8_t *>(data);
    mapping.m_size = size;
    mapping.m_range->lost = false;
    mapping.m_range->end = reinterpret_cast<std::uintptr_t>(data) + size;
    mapping.m_range->begin = reinterpret_cast<std::uintptr_t>(data);
    return mapping;
}

bool Mapping::lost() const
{
    return m_range && m_range->lost.load(std::memory_order_relaxed);
}

Mapping::~Mapping()
{
    if (m_range) {
        m_range->end = 0;
        m_range->begin = 0;
    }
    if (m_data)
        ::munmap(const_cast<std::uint8_t *>(m_data), m_size);
}

Status syncFolder(const std::filesystem::path &folder)
{
    const auto name = displayName(folder);
    const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return failure("no se puede abrir la carpeta", name);
    const bool synced = ::fsync(descriptor) == 0 || errno == EINVAL; // some file systems have nothing to do
    const Status status = synced ? Status() : failure("el disco no ha confirmado la escritura", name);
    ::close(descriptor);
    return status;
}

#endif

File::File(std::unique_ptr<Native> native)
    : m_native(std::move(native))
{
}
File::File() = default;
File::File(File &&other) noexcept = default;
File &File::operator=(File &&other) noexcept = default;
File::~File() = default;

bool File::isOpen() const
{
    return m_native != nullptr;
}

} // namespace dbase
