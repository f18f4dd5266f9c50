#pragma once

#include "report/Run.h"

class QPrinter;

namespace report
{

/// Pages to be printed, from 1, both included; 0 leaves an end open.
struct PageRange {
    int from = 0;
    int to = 0;
    [[nodiscard]] bool holds(int page) const { return page >= from && (to <= 0 || page <= to); }
};

/// Gives a printer the report's paper and name.
void preparePrinter(const Report &report, QPrinter &printer);

/// Runs a report on a printer. A run that is stopped, or fails, is taken back from the printer where it can.
/// @return false when it was stopped.
/// @throws EReportError when the printer refuses or a field is missing; what the data set or a hook throws
/// passes on.
bool printReport(Report &report, QPrinter &printer, const PageRange &range = {},
                 const Progress &progress = {});

} // namespace report
