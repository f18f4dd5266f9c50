// Files and locks of Windows; beside FilePosix.cpp.

#include "dbase/FileNative.h"

#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <algorithm>
#include <vector>

namespace dbase
{

Status failureOfCall(const std::string &what, const std::string &name)
{
    constexpr DWORD diskQuotaExceeded = 1295; // not every header names it
    const DWORD code = GetLastError();
    const bool full = code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL || code == diskQuotaExceeded;
    return {full ? ErrorKind::full : ErrorKind::inputOutput,
            full ? std::string("no queda sitio en el disco") : what + " (error " + std::to_string(code) + ")",
            name};
}

namespace
{

OVERLAPPED placeOf(std::uint64_t offset)
{
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    return place;
}

std::uint64_t joined(DWORD high, DWORD low)
{
    return std::uint64_t{high} << 32U | low;
}

FileLook lookOf(const BY_HANDLE_FILE_INFORMATION &info)
{
    return {{joined(info.nFileSizeHigh, info.nFileSizeLow),
             static_cast<std::int64_t>(
                 joined(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime) * 100)},
            {info.dwVolumeSerialNumber, joined(info.nFileIndexHigh, info.nFileIndexLow)}};
}

/// Whether a name is that of a link to another place. Other marked files, such as those that the system keeps
/// elsewhere until they are wanted, are plain ones.
bool isLink(const std::filesystem::path &path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        return false;
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return true;
    FindClose(search);
    return found.dwReserved0 == IO_REPARSE_TAG_SYMLINK || found.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT;
}

/// Who may use a file; empty where its file system does not tell.
std::vector<std::uint8_t> accessListOf(HANDLE handle)
{
    DWORD size = 0;
    GetKernelObjectSecurity(handle, DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<std::uint8_t> list(size);
    if (size > 0 && !GetKernelObjectSecurity(handle, DACL_SECURITY_INFORMATION, list.data(), size, &size))
        list.clear();
    return list;
}

/// Why a file could not be opened or made, by the system's last error.
Status failureToOpen(const std::string &name)
{
    switch (GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return {ErrorKind::notFound, "el fichero no existe", name};
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
        return {ErrorKind::readOnly, "no hay permiso para abrir el fichero", name};
    case ERROR_FILE_EXISTS:
        return {ErrorKind::invalidArgument, "el fichero ya existe", name};
    default:
        return failureOfCall("no se puede abrir el fichero", name);
    }
}

bool liesElsewhere(HANDLE handle)
{
    FILE_REMOTE_PROTOCOL_INFO info{};
    return GetFileInformationByHandleEx(handle, FileRemoteProtocolInfo, &info, sizeof info) != 0;
}

} // namespace

std::chrono::nanoseconds timeWithSleep()
{
    return std::chrono::milliseconds(GetTickCount64());
}

std::uint64_t sessionsRenewed()
{
    return 0; // a handle of a session that has ended fails here, and is not opened anew
}

File::Native::~Native()
{
    if (handle && handle != INVALID_HANDLE_VALUE)
        CloseHandle(handle);
}

Status File::Native::takeIn()
{
    BY_HANDLE_FILE_INFORMATION info{};
    if (GetFileType(handle) != FILE_TYPE_DISK)
        return {ErrorKind::unsupported, noPlainFile, name};
    if (!GetFileInformationByHandle(handle, &info))
        return failureOfCall("no se puede consultar el fichero", name);
    identity = lookOf(info).identity;
    isRemote = liesElsewhere(handle);
    return {};
}

Status File::Native::takeRightsOf(const Native &owner)
{
    const auto wanted = accessListOf(owner.handle);
    if (wanted.empty() || wanted == accessListOf(handle)) // as its folder gives them
        return {};
    auto list = wanted;
    return SetKernelObjectSecurity(handle, DACL_SECURITY_INFORMATION, list.data())
               ? Status()
               : Status(ErrorKind::readOnly, noSameRights, name);
}

bool File::Native::isOpen() const
{
    return handle && handle != INVALID_HANDLE_VALUE;
}

void File::close() noexcept
{
    // Without a handle the system refuses every call.
    if (m_native && m_native->isOpen())
        CloseHandle(std::exchange(m_native->handle, nullptr));
}

Result<File> File::open(const std::filesystem::path &path, Mode mode)
{
    auto native = std::make_unique<Native>();
    native->name = displayName(path);
    if (mode == Mode::writeThrough) // disks are known to take its flag for advice
        return Status(ErrorKind::unsupported, "el sistema no escribe a través de su memoria", native->name);
    if (isLink(path))
        return Status(ErrorKind::unsupported, noPlainFile, native->name);
    const DWORD access = mode == Mode::readOnly ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    native->handle = CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                 OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (native->handle == INVALID_HANDLE_VALUE)
        return failureToOpen(native->name);
    if (const Status status = native->takeIn(); !status.ok())
        return status;
    return File(std::move(native));
}

Result<File> File::make(const std::filesystem::path &path, const File *owner)
{
    auto native = std::make_unique<Native>();
    native->name = displayName(path);
    native->handle =
        CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE | (owner ? WRITE_DAC : 0),
                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (native->handle == INVALID_HANDLE_VALUE)
        return failureToOpen(native->name);
    Status status = native->takeIn();
    if (status.ok() && owner)
        status = native->takeRightsOf(*owner->m_native);
    if (status.ok())
        return File(std::move(native));
    native.reset();
    DeleteFileW(path.c_str());
    return status;
}

Result<FileLook> File::look() const
{
    BY_HANDLE_FILE_INFORMATION info{};
    if (!GetFileInformationByHandle(m_native->handle, &info))
        return failed("no se puede consultar el fichero");
    return lookOf(info);
}

Result<FileLook> File::look(const std::filesystem::path &path)
{
    const auto file = open(path, Mode::readOnly);
    return file.ok() ? file.value().look() : file.status();
}

Result<std::uint64_t> File::size() const
{
    LARGE_INTEGER end{};
    if (!GetFileSizeEx(m_native->handle, &end))
        return failed("no se puede consultar el fichero");
    return static_cast<std::uint64_t>(end.QuadPart);
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
            return failed("no se puede leer el fichero");
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
            return failed("no se puede escribir en el fichero");
        done += count;
    }
    return {};
}

Status File::truncate(std::uint64_t size)
{
    LARGE_INTEGER place{};
    place.QuadPart = static_cast<LONGLONG>(size);
    if (!SetFilePointerEx(m_native->handle, place, nullptr, FILE_BEGIN) || !SetEndOfFile(m_native->handle))
        return failed("no se puede cambiar el tamaño del fichero");
    return {};
}

Status File::sync()
{
    return flush();
}

bool File::flushesForOthers() const
{
    return m_native && m_native->isRemote;
}

Status File::flush()
{
    if (!FlushFileBuffers(m_native->handle))
        return failed("el disco no ha confirmado la escritura");
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
    return failed("no se puede bloquear el fichero");
}

void File::unlock(std::uint64_t offset, std::uint64_t length) noexcept
{
    if (!m_native->isOpen())
        return;
    OVERLAPPED place = placeOf(offset);
    if (!UnlockFileEx(m_native->handle, 0, static_cast<DWORD>(length), static_cast<DWORD>(length >> 32U),
                      &place))
        m_native->isInDoubt = true; // it may be held still, by nobody who knows
}

Result<bool> File::isLockedElsewhere(std::uint64_t offset, std::uint64_t length)
{
    // The system has no question for this: it is tried.
    const auto got = tryLock(offset, length, LockKind::exclusive);
    if (got.ok() && got.value())
        unlock(offset, length);
    return got.ok() ? Result<bool>(!got.value()) : got;
}

Status File::reserve(std::uint64_t offset, std::uint64_t bytes)
{
    FILE_STANDARD_INFO info{};
    if (isRemote()) // what it answers there may be old news, and asking for less than there is cuts the file
        return {};
    if (!GetFileInformationByHandleEx(m_native->handle, FileStandardInfo, &info, sizeof info))
        return {};
    FILE_ALLOCATION_INFO wanted{};
    wanted.AllocationSize.QuadPart = static_cast<LONGLONG>(offset + bytes);
    // Less than the file has would cut it off.
    if (wanted.AllocationSize.QuadPart <= info.AllocationSize.QuadPart ||
        wanted.AllocationSize.QuadPart <= info.EndOfFile.QuadPart ||
        SetFileInformationByHandle(m_native->handle, FileAllocationInfo, &wanted, sizeof wanted))
        return {};
    const Status status = failureOfCall("no queda sitio", m_native->name);
    return status.kind() == ErrorKind::full ? status : Status();
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

} // namespace dbase
