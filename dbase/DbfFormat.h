#pragma once

// The table file, NAME.DBF, of dBase level 3 and 4. Everything is little-endian.
//
// Header
//   offset size  meaning
//        0    1  version: 03h table without memo; others are told apart to say why they are refused
//        1    3  date of the last update: year - 1900, month, day
//        4    4  number of records, deleted ones included
//        8    2  length of the header = offset of record 1
//       10    2  length of a record, with its deletion mark
//       14    1  1 = a transaction of another program was left open
//       15    1  1 = encrypted
//       28    1  bit 0: the production index NAME.MDX exists
//       29    1  language byte: see codePageOfDriver()
//       32   32  for each field, a descriptor
//       ..    1  0Dh behind the last descriptor
//
// Field descriptor
//        0   11  name, capitals, filled with 0
//       11    1  type letter
//       16    1  width
//       17    1  decimals
//       31    1  1 = a tag of the production index is exactly this field
//
// Record r starts at header length + (r - 1) * record length: one byte of deletion mark (20h live, 2Ah
// deleted), then the fields without anything between them. One 1Ah follows the last record.
//
// Example: 03 7E0B15 02000000 2101 9601 ... = level 3/4, 2026-11-21, 2 records, header 289, record 406

#include "dbase/Table.h"

#include <cstdint>
#include <span>
#include <vector>

namespace dbase
{

inline constexpr std::size_t dbfFixedHeader = 32;
inline constexpr std::size_t dbfMaxHeader = 65535;
inline constexpr std::size_t dbfCountOffset = 4;
inline constexpr std::size_t dbfDateOffset = 1;
/// Date and count stand side by side: one write of so many bytes from dbfDateOffset says both.
inline constexpr std::size_t dbfDateAndCount = 7;
inline constexpr std::uint8_t dbfEndMark = 0x1A;

/// What the header of a table says, checked.
struct TableHeader {
    RecordNumber recordCount = 0; ///< as the header says it; the file may hold others
    std::size_t headerLength = 0;
    std::size_t recordLength = 0;
    bool hasProductionIndex = false;
    std::uint8_t languageDriver = 0;
    CodePage codePage = CodePage::windows1252;
    std::vector<FieldDefinition> fields;
};

/// How long a header is, from its first dbfFixedHeader bytes. @return damaged when that cannot be.
DBASE_EXPORT Result<std::size_t> dbfHeaderLength(std::span<const std::uint8_t> bytes);

/// Reads a whole header. Refuses what cannot be with the reason: damaged, or unsupported for sound files of
/// other kinds.
/// @param bytes       the header, as long as dbfHeaderLength() says or as the file holds.
Result<TableHeader> decodeDbfHeader(std::span<const std::uint8_t> bytes);

/// The header of a new table. Offsets of the fields are worked out here. @return invalidArgument for fields
/// that a table cannot have.
Result<std::vector<std::uint8_t>> encodeDbfHeader(const TableDefinition &definition, Date today);

/// The seven bytes of date and record count.
[[nodiscard]] std::vector<std::uint8_t> encodeDateAndCount(Date today, RecordNumber count);
[[nodiscard]] DBASE_EXPORT RecordNumber decodeCount(std::span<const std::uint8_t> fourBytes);

/// Whether bytes behind the announced records look like a line of the table: a mark, real dates, no control
/// bytes.
[[nodiscard]] bool looksLikeRecord(std::span<const std::uint8_t> record, const TableHeader &header);

} // namespace dbase
