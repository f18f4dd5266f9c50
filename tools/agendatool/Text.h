#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace agendatool
{

/// UTF-8 of a text as the tables give it, one unit a character.
[[nodiscard]] std::string toUtf8(std::u16string_view text);
/// @return nothing for bytes that are not UTF-8.
[[nodiscard]] std::optional<std::u16string> fromUtf8(std::string_view bytes);
/// A path for messages.
[[nodiscard]] std::string pathText(const std::filesystem::path &path);
/// The file with the table's name and another extension (".JNL"), whatever its case; empty when there is
/// none.
[[nodiscard]] std::filesystem::path siblingOf(const std::filesystem::path &table, std::string_view extension);
/// ASCII letters in capitals.
[[nodiscard]] std::string upperAscii(std::string text);

} // namespace agendatool
