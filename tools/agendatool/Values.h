#pragma once

#include "dbase/Record.h"

namespace agendatool
{

/// A field as text, UTF-8: dates as YYYY-MM-DD, numbers as they stand, truth values as T and F, blank as
/// nothing. What cannot be read is shown as it stands, so that nothing goes unseen.
[[nodiscard]] std::string valueText(std::span<const std::uint8_t> record, const dbase::FieldDefinition &field,
                                    dbase::CodePage page);
/// The same as a JSON value; blank numbers, dates and truth values are null.
[[nodiscard]] std::string valueJson(std::span<const std::uint8_t> record, const dbase::FieldDefinition &field,
                                    dbase::CodePage page);
/// A JSON string with its quotes.
[[nodiscard]] std::string jsonString(std::string_view utf8);

/// Writes the value that valueText() would show as `text`.
/// @return invalidArgument, the field as it was, when the field cannot hold exactly that.
dbase::Status setValue(std::span<std::uint8_t> record, const dbase::FieldDefinition &field,
                       dbase::CodePage page, std::string_view text);

[[nodiscard]] std::string isoDate(const dbase::Date &date);
/// @return nothing for anything but a date that exists, written YYYY-MM-DD.
[[nodiscard]] std::optional<dbase::Date> parseIsoDate(std::string_view text);

} // namespace agendatool
