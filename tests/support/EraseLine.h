#pragma once

#include "dbase/Table.h"

#include <vector>

namespace support
{

/// Deletes a line as it stands now, for tests in which nobody else changes it.
inline dbase::Status eraseLine(dbase::Table &table, dbase::RecordNumber number)
{
    std::vector<std::uint8_t> before(table.recordLength());
    const dbase::Status status = table.read(number, before);
    return status.ok() ? table.erase(number, before) : status;
}

} // namespace support
