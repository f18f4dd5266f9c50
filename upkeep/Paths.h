#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace upkeep
{

/// A path for messages, UTF-8.
[[nodiscard]] std::string pathText(const std::filesystem::path &path);
/// The file with the table's name and another extension (".JNL"), whatever its case; empty when there is
/// none.
[[nodiscard]] std::filesystem::path siblingOf(const std::filesystem::path &table, std::string_view extension);
/// ASCII letters in capitals.
[[nodiscard]] std::string upperAscii(std::string text);

} // namespace upkeep
