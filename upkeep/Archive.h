#pragma once

#include "upkeep/TableCare.h"

#include <cstdint>
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
/// Only its owner may read it: it says as much as all the files together.
/// @param unfinished  where it is written until it is complete; on the same disk, must not exist. Empty:
/// beside it.
/// @return inputOutput, full; invalidArgument when `progress` said no.
dbase::Status writeArchive(const std::filesystem::path &archive, const std::vector<ArchiveFile> &files,
                           const Progress &progress, std::filesystem::path unfinished = {});

/// A file in an archive, as the archive's directory tells of it.
struct ArchivedFile {
    std::string name;
    std::uint64_t size = 0; ///< unpacked
};

/// What a .zip says that it holds; nothing is unpacked.
/// @return damaged, notFound, inputOutput.
dbase::Result<std::vector<ArchivedFile>> listArchive(const std::filesystem::path &archive);

/// Names of the files in a .zip, every one of which has been read and its check sum compared.
/// @return damaged, notFound, inputOutput; invalidArgument when `progress` said no.
dbase::Result<std::vector<std::string>> checkArchive(const std::filesystem::path &archive,
                                                     const Progress &progress);

/// Unpacks one file of an archive and compares its check sum.
/// @param to    must not exist; removed again on failure.
/// @param most  bytes that it may have: a small archive may hold whatever much.
/// @return notFound (not in the archive), damaged, unsupported (larger than that; the text says how large),
/// invalidArgument (`to` exists, or `progress` said no), full (also when there is no room for it yet),
/// inputOutput.
dbase::Status extractFile(const std::filesystem::path &archive, const std::string &name,
                          const std::filesystem::path &to, std::uint64_t most, const Progress &progress = {});

} // namespace upkeep
