#pragma once

#include "upkeep/Paths.h"

#include <optional>
#include <string>
#include <string_view>

namespace agendatool
{

/// UTF-8 of a text as the tables give it, one unit a character.
[[nodiscard]] std::string toUtf8(std::u16string_view text);
/// @return nothing for bytes that are not UTF-8.
[[nodiscard]] std::optional<std::u16string> fromUtf8(std::string_view bytes);
using upkeep::pathText;
using upkeep::siblingOf;
using upkeep::upperAscii;

} // namespace agendatool
