#pragma once

#include "upkeep/TableCare.h"

#include <iosfwd>

namespace agendatool
{

/// Days from one to another, both included; an open end is no bound.
struct DateRange {
    std::optional<dbase::Date> from;
    std::optional<dbase::Date> to;
};

enum class DumpFormat { csv, json };

/// Writes the live lines of a table, UTF-8, in the order of its tag FECHA, or of the file when it has none.
/// With a bound, lines without a date are left out.
/// @param forSheet  CSV whose texts a spreadsheet takes for nothing but texts; import would not know them
/// again.
/// @return invalidArgument for a range over a table without a date FECHA, or when `progress` said no.
dbase::Status dump(const dbase::Table &table, const DateRange &range, DumpFormat format, std::ostream &out,
                   const upkeep::Progress &progress = {}, bool forSheet = false);

} // namespace agendatool
