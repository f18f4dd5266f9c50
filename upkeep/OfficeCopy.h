#pragma once

#include "upkeep/TableCare.h"

namespace upkeep
{

/// A table of the office: its name in a copy, "ALIAS/NAME.DBF", and its file, which may be missing.
struct OfficeTable {
    std::string name;
    std::filesystem::path file;
};

/// Copies tables, each as at one moment while others go on working, and files beside them into a .zip that is
/// read back. @param plain  other files, as they are.
/// @param patience  how long to wait for others who are writing to a table, or putting it in order.
/// @return locked, full, inputOutput, or what a table cannot be opened for; invalidArgument when stopped.
dbase::Status backUp(const std::filesystem::path &archive, const std::vector<OfficeTable> &tables,
                     const std::vector<OfficeTable> &plain, std::chrono::milliseconds patience,
                     const Progress &progress);

/// What a table of a copy may have unpacked where nobody has said otherwise, in bytes.
inline constexpr std::uint64_t mostTableBytes = std::uint64_t{1} << 30U;

/// Puts the lines of a copy in place of those of the office's tables: of all of them or of none. Each table
/// is unpacked and opened before the first of the office's is touched; nothing else of the copy is read. The
/// old lines are kept aside until the last has succeeded. Tables that the copy lacks stay as they are. It
/// cannot be stopped any more once the first table has been replaced. What cannot be put back after a failure
/// stays aside, in NAME.DBF.ANTERIOR-1 or the next free number, and the answer says so.
/// @param patience  how long to wait for others who are writing.
/// @param mostBytes  that a table of the copy may have unpacked.
/// @return the names of the tables that were replaced. locked when others have one of them open; damaged,
/// unsupported, invalidArgument (other fields, nothing of this office in the copy), full, inputOutput.
dbase::Result<std::vector<std::string>> restore(const std::filesystem::path &archive,
                                                const std::vector<OfficeTable> &tables,
                                                std::chrono::milliseconds patience, const Progress &progress,
                                                std::uint64_t mostBytes = mostTableBytes);

/// Takes away what copies and restores have left in a folder that were killed a day ago or earlier: this
/// user's own folders and files of names that only they give, never anything behind a link, and of such a
/// folder only the files that they make.
void clearLeftovers(const std::filesystem::path &folder) noexcept;
/// The folder in which a restoring does its work.
[[nodiscard]] std::filesystem::path workFolder();

} // namespace upkeep
