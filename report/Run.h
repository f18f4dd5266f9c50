#pragma once

#include "report/Report.h"

namespace report
{

/// Told how many records of how many are done. @return false to stop.
using Progress = std::function<bool(int done, int total)>;
/// Takes each page as soon as it is complete, so that a long report need not be held. @return false to stop.
using PageSink = std::function<bool(Page &&page)>;

/// Lays a report out: reads the data set from its first record to its last, calls the hooks, hands out pages.
/// The data set's controls are told nothing meanwhile, and its cursor stands where it stood afterwards.
/// @return false when it was stopped.
/// @throws EReportError for a missing field; what the data set or a hook throws passes on.
REPORT_EXPORT bool run(Report &report, const PageSink &sink, const Progress &progress = {});

/// All pages of a run in a list; of a run that was stopped, those that were complete.
[[nodiscard]] REPORT_EXPORT std::vector<Page> layOut(Report &report, const Progress &progress = {});

} // namespace report
