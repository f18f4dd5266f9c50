#pragma once

#include "dbase/Export.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace dbase
{

/// The character sets of the tables, told apart by the language byte of the header.
enum class CodePage : std::uint16_t { dos437 = 437, dos850 = 850, windows1252 = 1252 };

/// Language byte written into new tables: Western Europe, code page 1252.
inline constexpr std::uint8_t defaultLanguageDriver = 0x58;

/// The code page that belongs to a table's language byte.
/// @return nothing for a byte that names a code page we do not carry; byte 0 (none said) gives 1252.
[[nodiscard]] DBASE_EXPORT std::optional<CodePage> codePageOfDriver(std::uint8_t languageDriver);

/// Text of a field: each byte becomes one UTF-16 unit. Never fails: the three pages give every byte a
/// character.
[[nodiscard]] DBASE_EXPORT std::u16string decode(CodePage page, std::span<const std::uint8_t> bytes);

/// Bytes of a text. A character that the page lacks becomes its closest plain letter or sign, or '?'; it
/// never becomes a control byte (0x1A would end the file for other programs). A pair of surrogates gives one
/// '?'.
[[nodiscard]] DBASE_EXPORT std::string encode(CodePage page, std::u16string_view text);

/// Whether the page has this very character.
[[nodiscard]] DBASE_EXPORT bool canEncode(CodePage page, char16_t character);

/// Capital form of one byte in the page (ñ to Ñ, é to É where the page has it); other bytes are returned as
/// they are.
[[nodiscard]] DBASE_EXPORT std::uint8_t toUpper(CodePage page, std::uint8_t byte);

} // namespace dbase
