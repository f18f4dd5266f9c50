#pragma once

// What the files of one system share; not for others.

#include "dbase/File.h"

namespace dbase
{

struct File::Native {
#if defined(_WIN32)
    void *handle = nullptr; ///< a HANDLE
#else
    int descriptor = -1;
#endif
    [[nodiscard]] bool isOpen() const;
    bool isRemote = false;
    bool isSmb = false;
    bool writesThrough = false; ///< what has been written is on the disk
    bool isResized = false;     ///< since the last flush; that goes by the way of all else
    bool isInDoubt = false;
    std::string name; ///< for messages

    Native() = default;
    ~Native(); ///< closes it
    Native(const Native &) = delete;
    Native &operator=(const Native &) = delete;
};

/// The failure of the call that has just been made, as the system tells it.
/// @param what  what could not be done, Spanish. @param name  of the file.
[[nodiscard]] Status failureOfCall(const std::string &what, const std::string &name);

#if !defined(_WIN32)
/// Whether a file system is surely one of this machine alone.
/// @param magic  f_type of Linux's statfs.
[[nodiscard]] bool isLocalFileSystem(std::uint32_t magic);
#endif

} // namespace dbase
