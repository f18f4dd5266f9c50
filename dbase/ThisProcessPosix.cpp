// What a program asks of POSIX for itself; beside ThisProcessWindows.cpp.

#include "dbase/ThisProcess.h"

#include "dbase/FileNative.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif
#include <unistd.h>

namespace dbase
{

namespace
{

// A sanitizer looks for lost memory from outside at the end, which the system then refuses it.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool isWatched = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool isWatched = true;
#else
constexpr bool isWatched = false;
#endif
#else
constexpr bool isWatched = false;
#endif

bool isOwn(const std::filesystem::path &path, mode_t kind) noexcept
{
    struct stat info = {};
    return ::lstat(path.c_str(), &info) == 0 && (info.st_mode & S_IFMT) == kind && info.st_uid == ::geteuid();
}

} // namespace

void prepareProcess() noexcept
{
    // The calls themselves fail then.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    const struct rlimit none = {};
    ::setrlimit(RLIMIT_CORE, &none);
#if defined(__linux__)
    if (!isWatched) // the limit does not bind a program that the system hands images to
        ::prctl(PR_SET_DUMPABLE, 0);
#endif
}

Result<std::filesystem::path> makePrivateFolder(const std::filesystem::path &beside)
{
    std::string name = beside.native() + "XXXXXX";
    if (::mkdtemp(name.data()))
        return std::filesystem::path(name);
    switch (errno) {
    case ENOENT:
    case ENOTDIR:
        return Status(ErrorKind::notFound, "no existe la carpeta", displayName(beside.parent_path()));
    case EACCES:
    case EPERM:
    case EROFS:
        return Status(ErrorKind::readOnly, "no hay permiso para escribir en la carpeta",
                      displayName(beside.parent_path()));
    default:
        return failureOfCall("no se puede crear la carpeta de trabajo", displayName(beside));
    }
}

bool isOwnFolder(const std::filesystem::path &folder) noexcept
{
    return isOwn(folder, S_IFDIR);
}

bool isOwnFile(const std::filesystem::path &file) noexcept
{
    return isOwn(file, S_IFREG);
}

} // namespace dbase
