#pragma once

#include "tools/agendatool/Dump.h"

#include <filesystem>

namespace agendatool
{

/// A command line, taken apart.
struct Arguments {
    std::string verb;
    std::filesystem::path folder;
    std::string table;            ///< empty for verbs that have none, and for every table below the folder
    std::filesystem::path target; ///< file or folder behind the table; empty for verbs that have none
    DateRange range;
    std::optional<dbase::Date> day;   ///< of a printed sheet
    std::optional<std::string> clerk; ///< whose lines are printed, UTF-8; all when missing
    bool waits = false;               ///< for another workstation, to try a share together
    std::string meeting; ///< folder of a trial that another workstation has begun; empty to begin one
    DumpFormat format = DumpFormat::csv;
    bool sheet = false; ///< CSV for a spreadsheet
    bool quiet = false;
    bool help = false;
    bool version = false;
};

/// @return invalidArgument with the reason, in Spanish, for a line that makes no sense.
dbase::Result<Arguments> parseArguments(const std::vector<std::string> &words);

} // namespace agendatool
