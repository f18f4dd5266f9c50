#include "upkeep/Paths.h"

#include <algorithm>

namespace upkeep
{

std::string pathText(const std::filesystem::path &path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::string upperAscii(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

std::filesystem::path siblingOf(const std::filesystem::path &table, std::string_view extension)
{
    const std::string wanted = upperAscii(pathText(table.stem()) + std::string(extension));
    const auto folder = table.parent_path().empty() ? std::filesystem::path(".") : table.parent_path();
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (upperAscii(pathText(entry->path().filename())) == wanted)
            return entry->path();
    }
    return {};
}

} // namespace upkeep
