#pragma once

#include "upkeep/OfficeCopy.h"

#include <chrono>
#include <filesystem>
#include <vector>

namespace upkeep
{

/// One table on its way back from a copy: prepared, replaced, and then either forgotten (its old lines) or
/// undone.
class Replacement
{
public:
    /// @param table     of the office; outlives this object. @param unpacked  its copy, in a folder of ours.
    Replacement(const OfficeTable &table, std::filesystem::path unpacked);

    /// Opens both sides and compares them; nothing is changed. A table that is missing or damaged is taken as
    /// a whole file, unless somebody has it open.
    /// @param patience  how long to wait for others who are writing.
    /// @return locked, invalidArgument (other fields), unsupported, damaged (the copy), inputOutput.
    dbase::Status prepare(std::chrono::milliseconds patience);
    /// Puts the copy in place; what was there stays aside. After a failure undo() is to be called as well.
    dbase::Status replace();
    /// Back to what it was before replace(); nothing when that has changed nothing. What lies aside goes only
    /// when this has succeeded.
    /// @return inputOutput, saying where the old lines are.
    dbase::Status undo() noexcept;
    /// The old lines are not needed any more.
    void forget() noexcept;
    [[nodiscard]] const std::string &name() const { return m_table.name; }

private:
    enum class Way { lines, file };
    struct Aside {
        std::filesystem::path file;
        std::filesystem::path kept;
    };
    [[nodiscard]] std::vector<std::filesystem::path> files() const;
    [[nodiscard]] std::string freeEnding() const;
    dbase::Status replaceLines();
    dbase::Status replaceFile();
    dbase::Status moveAside();
    dbase::Status putLinesBack();
    dbase::Status putFilesBack();

    const OfficeTable &m_table;
    std::filesystem::path m_unpacked;
    OpenTable m_open;
    std::vector<Aside> m_aside;
    std::chrono::milliseconds m_patience{};
    Way m_way = Way::lines;
    bool m_cleared = false; ///< all files of before are aside: what lies in their place is ours
};

} // namespace upkeep
