#pragma once

// Files found in a folder whatever the case of their names.

#include "dbase/Export.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <string>

namespace dbase
{

/// Remembers the names of one folder, so that whoever opens all the tables of a large one does not read the
/// whole folder for each. What is remembered counts for as long as the folder's time stays the same.
class DBASE_EXPORT FolderNames
{
public:
    /// That of this program; for several threads.
    static FolderNames &ofProgram();

    /// @param wanted    a path.
    /// @param mayTrust  whether the folder's time is news; on a share it may be old.
    /// @return the first entry of its folder with that name in any case; empty when there is none.
    [[nodiscard]] std::filesystem::path find(const std::filesystem::path &wanted, bool mayTrust);
    /// A file has just been made by this program: the folder's time has changed by that, and nothing else
    /// need be read.
    void made(const std::filesystem::path &file);

private:
    using Time = std::filesystem::file_time_type;
    void read();
    void keep(const std::filesystem::path &name);

    std::mutex m_mutex;
    std::filesystem::path m_folder;
    Time m_time{};
    bool m_isKept = false;
    std::map<std::string, std::filesystem::path> m_names; ///< by their capitals
};

} // namespace dbase
