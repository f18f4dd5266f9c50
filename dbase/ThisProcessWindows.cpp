// What a program asks of Windows for itself; beside ThisProcessPosix.cpp.

#include "dbase/ThisProcess.h"

#include "dbase/FileNative.h"

#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <random>
#include <string>

namespace dbase
{

namespace
{

/// What an entry of a folder is, itself and not what it may lead to.
bool isPlain(const std::filesystem::path &path, bool folder) noexcept
{
    const DWORD kind = GetFileAttributesW(path.c_str());
    return kind != INVALID_FILE_ATTRIBUTES && (kind & FILE_ATTRIBUTE_REPARSE_POINT) == 0 &&
           ((kind & FILE_ATTRIBUTE_DIRECTORY) != 0) == folder;
}

} // namespace

void prepareProcess() noexcept
{
    // No box that waits for an answer, and no report with the program's memory.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
}

Result<std::filesystem::path> makePrivateFolder(const std::filesystem::path &beside)
{
    // Who may enter it is inherited from the folder it lies in; that for temporary files is the user's own.
    constexpr int mostTries = 100;
    std::random_device random;
    for (int i = 0; i < mostTries; ++i) {
        std::filesystem::path folder = beside;
        folder += std::to_string(random());
        if (CreateDirectoryW(folder.c_str(), nullptr))
            return folder;
        if (GetLastError() != ERROR_ALREADY_EXISTS)
            break;
    }
    return failureOfCall("no se puede crear la carpeta de trabajo", displayName(beside));
}

bool isOwnFolder(const std::filesystem::path &folder) noexcept
{
    return isPlain(folder, true);
}

bool isOwnFile(const std::filesystem::path &file) noexcept
{
    return isPlain(file, false);
}

} // namespace dbase
