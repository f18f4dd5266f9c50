// Where files lie under POSIX; beside ShareAdviceWindows.cpp.

#include "dbase/ShareAdvice.h"

#include "dbase/FileNative.h"

#include <fstream>
#include <iterator>

#if defined(__linux__)
#include <sys/vfs.h>
#endif

namespace dbase
{

namespace
{

bool isLocal(const std::filesystem::path &path)
{
#if defined(__linux__)
    struct statfs info = {};
    return ::statfs(path.c_str(), &info) == 0 && isLocalFileSystem(static_cast<std::uint32_t>(info.f_type));
#else
    static_cast<void>(path);
    return false;
#endif
}

/// The path without links; of what does not exist, the folder where it would be made.
std::filesystem::path realPlace(const std::filesystem::path &path)
{
    std::error_code failed;
    auto place = std::filesystem::absolute(path, failed);
    if (failed)
        return path;
    for (;;) {
        const auto real = std::filesystem::canonical(place, failed);
        if (!failed)
            return real;
        if (!place.has_relative_path())
            return place;
        place = place.parent_path();
    }
}

Share shareAt(const std::filesystem::path &realPath)
{
    Share share;
    share.local =
        isLocal(realPath); // first: a folder that is mounted on demand is mounted by being asked about
    std::ifstream table("/proc/self/mountinfo", std::ios::binary); // only Linux has one
    const std::string text{std::istreambuf_iterator<char>(table), {}};
    share.mount = mountOf(text, realPath.native()).value_or(Mount());
    if (!share.local)
        share.warnings = mountWarnings(share.mount);
    return share;
}

} // namespace

Share shareOf(const std::filesystem::path &path)
{
    return shareAt(realPlace(path));
}

std::vector<std::string> shareAdvice(const std::filesystem::path &path)
{
    return isLocal(path) ? std::vector<std::string>() : shareOf(path).warnings;
}

} // namespace dbase
