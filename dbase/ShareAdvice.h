#pragma once

// What the system tells of the file system under a table, and what is wrong with it when several workstations
// write there. The system is asked in ShareAdvicePosix.cpp and ShareAdviceWindows.cpp.

#include "dbase/Export.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dbase
{

/// A file system in its place among the folders of this machine.
struct Mount {
    std::string point;                ///< the folder where it begins
    std::string type;                 ///< as the system calls it, "ext4", "cifs"; empty when it does not tell
    std::string source;               ///< what is seen there, "//servidor/notaria"
    std::vector<std::string> options; ///< of the mount and of the file system itself, "vers=3.1.1"
};

/// The mount that a file lies on: the one whose folder is nearest to it, and of several on one folder the
/// last.
/// @param mountInfo  the text of /proc/self/mountinfo; lines that make no sense are passed over.
/// @param realPath   absolute, without links.
/// @return nothing when no line fits.
[[nodiscard]] DBASE_EXPORT std::optional<Mount> mountOf(std::string_view mountInfo,
                                                        std::string_view realPath);

/// What the options of a mount do to tables that others write too.
/// @param mount  of a file system that is not known to be of this machine alone.
/// @return a Spanish sentence for each fault, UTF-8, with its remedy and without a full stop. None for a
/// mount as it should be, nor for one whose type is empty.
[[nodiscard]] DBASE_EXPORT std::vector<std::string> mountWarnings(const Mount &mount);

/// Where a file or a folder lies.
struct Share {
    bool local = false;                ///< surely on a disk of this machine
    Mount mount;                       ///< empty texts where the system does not tell
    std::vector<std::string> warnings; ///< of mountWarnings(); none for what is local
};

/// Asks the system. What does not exist is taken to lie where it would be made.
[[nodiscard]] DBASE_EXPORT Share shareOf(const std::filesystem::path &path);

/// The warnings of shareOf() alone: one system call for what lies on a disk of this machine.
[[nodiscard]] DBASE_EXPORT std::vector<std::string> shareAdvice(const std::filesystem::path &path);

} // namespace dbase
