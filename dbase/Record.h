#pragma once

#include "dbase/CodePage.h"
#include "dbase/Status.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dbase
{

/// Record numbers start at 1; 0 means "none".
using RecordNumber = std::uint32_t;

/// The letters are those of the file format.
enum class FieldType : char { character = 'C', date = 'D', numeric = 'N', floating = 'F', logical = 'L' };

/// One field of a table. `offset` counts bytes from the start of the record, whose byte 0 is the deletion
/// mark.
struct FieldDefinition {
    std::string name; ///< capitals, at most 10 characters
    FieldType type = FieldType::character;
    std::uint8_t width = 0;    ///< bytes in the record
    std::uint8_t decimals = 0; ///< N and F only
    std::uint16_t offset = 0;  ///< worked out by whoever builds the table; ignored on creation
};

/// A calendar date as the files hold it. Only real dates of the years 1 to 9999 are ever built by the
/// functions below.
struct Date {
    int year = 0;
    int month = 0;
    int day = 0;
    friend bool operator==(const Date &, const Date &) = default;
};

/// Deletion mark: byte 0 of every record.
inline constexpr std::uint8_t liveMark = 0x20;
inline constexpr std::uint8_t deletedMark = 0x2A;

/// Only the asterisk deletes; any other byte there is the trace of an accident in a live record.
[[nodiscard]] inline bool isDeleted(std::span<const std::uint8_t> record)
{
    return record[0] == deletedMark;
}

// Readers: `record` is a whole record with its deletion mark; the field must lie inside it.

/// Text of a field, without its trailing blanks.
[[nodiscard]] DBASE_EXPORT std::u16string readText(std::span<const std::uint8_t> record,
                                                   const FieldDefinition &field, CodePage page);
/// Date of a D field; nothing when blank, zero or not a date.
[[nodiscard]] DBASE_EXPORT std::optional<Date> readDate(std::span<const std::uint8_t> record,
                                                        const FieldDefinition &field);
/// Number of an N or F field; nothing when blank or not a number.
[[nodiscard]] DBASE_EXPORT std::optional<double> readNumber(std::span<const std::uint8_t> record,
                                                            const FieldDefinition &field);
/// Truth value of an L field; nothing for blank or '?'.
[[nodiscard]] DBASE_EXPORT std::optional<bool> readLogical(std::span<const std::uint8_t> record,
                                                           const FieldDefinition &field);

// Writers: each fills exactly the bytes of its field.

/// Writes the first characters that fit and pads with blanks.
DBASE_EXPORT void writeText(std::span<std::uint8_t> record, const FieldDefinition &field, CodePage page,
                            std::u16string_view text);
/// @return invalidArgument, and the field as it was, for a date that does not exist.
DBASE_EXPORT Status writeDate(std::span<std::uint8_t> record, const FieldDefinition &field, Date date);
/// Right-aligned with exactly the declared decimals.
/// @return full, and the field as it was, when the number does not fit; invalidArgument when it is not
/// finite.
DBASE_EXPORT Status writeNumber(std::span<std::uint8_t> record, const FieldDefinition &field, double number);
DBASE_EXPORT void writeLogical(std::span<std::uint8_t> record, const FieldDefinition &field, bool value);
/// Blank is null for every type.
DBASE_EXPORT void writeBlank(std::span<std::uint8_t> record, const FieldDefinition &field);

/// A record of blanks with the live mark, `length` bytes in all.
[[nodiscard]] DBASE_EXPORT std::vector<std::uint8_t> blankRecord(std::size_t length);

} // namespace dbase
