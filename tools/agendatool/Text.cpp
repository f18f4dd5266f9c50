#include "tools/agendatool/Text.h"

#include <algorithm>

namespace agendatool
{

namespace
{

constexpr char32_t notUtf8 = 0xFFFFFFFF;

/// Takes one character off the front; overlong forms, surrogates and what lies beyond Unicode are refused.
char32_t takeCharacter(std::string_view &bytes)
{
    const auto lead = static_cast<unsigned char>(bytes.front());
    const std::size_t length = lead < 0x80                   ? 1
                               : lead >= 0xC2 && lead < 0xE0 ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    if (length == 0 || bytes.size() < length)
        return notUtf8;
    char32_t value = length == 1 ? lead : lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if ((byte & 0xC0U) != 0x80)
            return notUtf8;
        value = (value << 6U) | (byte & 0x3FU);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    if (overlong || (value >= 0xD800 && value < 0xE000) || value > 0x10FFFF)
        return notUtf8;
    bytes.remove_prefix(length);
    return value;
}

} // namespace

std::string toUtf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (const char16_t unit : text) {
        if (unit < 0x80) {
            out += static_cast<char>(unit);
        } else if (unit < 0x800) {
            out += static_cast<char>(0xC0U | (unit >> 6U));
            out += static_cast<char>(0x80U | (unit & 0x3FU));
        } else {
            out += static_cast<char>(0xE0U | (unit >> 12U));
            out += static_cast<char>(0x80U | ((unit >> 6U) & 0x3FU));
            out += static_cast<char>(0x80U | (unit & 0x3FU));
        }
    }
    return out;
}

std::optional<std::u16string> fromUtf8(std::string_view bytes)
{
    std::u16string out;
    out.reserve(bytes.size());
    while (!bytes.empty()) {
        const char32_t one = takeCharacter(bytes);
        if (one == notUtf8)
            return std::nullopt;
        if (one < 0x10000) {
            out += static_cast<char16_t>(one);
        } else {
            out += static_cast<char16_t>(0xD800U + ((one - 0x10000U) >> 10U));
            out += static_cast<char16_t>(0xDC00U + ((one - 0x10000U) & 0x3FFU));
        }
    }
    return out;
}

} // namespace agendatool
