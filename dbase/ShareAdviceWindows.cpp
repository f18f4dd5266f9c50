// Where files lie under Windows; beside ShareAdvicePosix.cpp.

#include "dbase/ShareAdvice.h"

#include "dbase/File.h"

#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <array>

namespace dbase
{

Share shareOf(const std::filesystem::path &path)
{
    constexpr std::size_t longestPath = 32768;
    Share share;
    std::wstring root(longestPath, L'\0');
    // Also for what does not exist, and for \\server\share.
    if (!GetVolumePathNameW(path.c_str(), root.data(), static_cast<DWORD>(root.size())))
        return share;
    root.resize(root.find(L'\0'));
    share.mount.point = displayName(root);
    const UINT drive = GetDriveTypeW(root.c_str());
    share.local = drive == DRIVE_FIXED || drive == DRIVE_REMOVABLE || drive == DRIVE_RAMDISK;
    std::array<wchar_t, MAX_PATH + 1> type{};
    if (GetVolumeInformationW(root.c_str(), nullptr, 0, nullptr, nullptr, nullptr, type.data(),
                              static_cast<DWORD>(type.size())))
        share.mount.type = displayName(type.data());
    return share; // how a share is used is settled for the whole workstation, and is not told for a folder
}

std::vector<std::string> shareAdvice(const std::filesystem::path & /*path*/)
{
    return {};
}

} // namespace dbase
