#pragma once

#include "report/Run.h"

#include <QtCore/QFileDevice>

#include <optional>

namespace report
{

/// Runs a report into a PDF file. The file is replaced as a whole, at the end; until then, and when the run
/// is stopped or fails, what stood there stays.
/// @param most  rights that a new file may have, from before its first byte on; when missing, as new files
/// have them.
/// @return false when it was stopped.
/// @throws EReportError when the file cannot be written or is a link, or a field is missing; what the data
/// set or a hook throws passes on.
REPORT_EXPORT bool writePdf(Report &report, const QString &file, const Progress &progress = {},
                            std::optional<QFileDevice::Permissions> most = {});

} // namespace report
