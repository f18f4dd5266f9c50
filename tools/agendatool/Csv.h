#pragma once

#include "dbase/Status.h"

#include <string_view>
#include <vector>

namespace agendatool
{

/// One row of a CSV file.
struct CsvRow {
    std::size_t line = 0; ///< of the file, from 1, where the row begins
    std::vector<std::string> cells;
};

/// A row with its CR LF, quoted where RFC 4180 asks for it.
[[nodiscard]] std::string csvLine(const std::vector<std::string> &cells);

/// The rows of a file, header row included; a leading byte order mark is passed over.
/// @return invalidArgument, naming the line, for quotes that do not match.
dbase::Result<std::vector<CsvRow>> parseCsv(std::string_view text);

} // namespace agendatool
