#pragma once

// What a program asks of the system for itself. The calls are in ThisProcessPosix.cpp and
// ThisProcessWindows.cpp.

#include "dbase/Export.h"
#include "dbase/Status.h"

#include <filesystem>

namespace dbase
{

/// To be called first by every program that handles tables. When it dies no image of its memory is written,
/// which would have clients' names in it. A limit on the size of files (ulimit -f) is told as a full disk,
/// and whoever reads its output and goes away as a failure to write, instead of ending the program in the
/// middle of a change.
DBASE_EXPORT void prepareProcess() noexcept;

/// Makes a folder that was not there, for this user alone from the first moment on.
/// @param beside  its path, to which an ending is added that nobody can foresee.
/// @return the folder; full, readOnly, notFound (the folder that it is to lie in), inputOutput.
DBASE_EXPORT Result<std::filesystem::path> makePrivateFolder(const std::filesystem::path &beside);

/// Whether a folder, and no link to one, belongs to this user. Where the system knows no owners, whether it
/// is no link.
[[nodiscard]] DBASE_EXPORT bool isOwnFolder(const std::filesystem::path &folder) noexcept;
/// The same for a plain file.
[[nodiscard]] DBASE_EXPORT bool isOwnFile(const std::filesystem::path &file) noexcept;

} // namespace dbase
