#pragma once

#include "upkeep/TableCare.h"

#include <filesystem>
#include <string>
#include <vector>

namespace upkeep
{

/// A file and its name inside an archive: UTF-8, folders separated by "/".
struct ArchiveFile {
    std::string name;
    std::filesystem::path file;
};

/// Makes a .zip of files, reads it back and compares check sums and sizes. An archive of that name is
/// replaced, with all of the new one on the disk; on failure, or when it was stopped, it stays as it was.
/// @return inputOutput, full; invalidArgument when `progress` said no.
dbase::Status writeArchive(const std::filesystem::path &archive, const std::vector<ArchiveFile> &files,
                           const Progress &progress);

/// Names of the files in a .zip, every one of which has been read and its check sum compared.
/// @return damaged, notFound, inputOutput; invalidArgument when `progress` said no.
dbase::Result<std::vector<std::string>> checkArchive(const std::filesystem::path &archive,
                                                     const Progress &progress);

/// Unpacks one file of an archive. @param to  must not exist; removed again on failure.
/// @return notFound (not in the archive), damaged, invalidArgument (`to` exists), full, inputOutput.
dbase::Status extractFile(const std::filesystem::path &archive, const std::string &name,
                          const std::filesystem::path &to);

} // namespace upkeep
