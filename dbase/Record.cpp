#include "dbase/Record.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

namespace dbase
{

namespace
{

constexpr std::uint8_t blank = 0x20;

/// The field's bytes; none when the definition belongs to another table and lies outside the record.
template <class Byte> std::span<Byte> bytesOf(std::span<Byte> record, const FieldDefinition &field)
{
    if (std::size_t{field.offset} + field.width > record.size())
        return {};
    return record.subspan(field.offset, field.width);
}

std::string_view trimmed(std::span<const std::uint8_t> bytes)
{
    const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    const auto from = text.find_first_not_of(' ');
    if (from == std::string_view::npos)
        return {};
    return text.substr(from, text.find_last_not_of(' ') - from + 1);
}

std::optional<int> digits(std::span<const std::uint8_t> bytes)
{
    int value = 0;
    for (const std::uint8_t byte : bytes) {
        if (byte < '0' || byte > '9')
            return std::nullopt;
        value = value * 10 + (byte - '0');
    }
    return value;
}

bool isRealDate(const Date &date)
{
    if (date.year < 1 || date.year > 9999 || date.month < 1 || date.month > 12 || date.day < 1)
        return false;
    constexpr std::array<int, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (date.year % 4 == 0 && date.year % 100 != 0) || date.year % 400 == 0;
    const int last = date.month == 2 && leap ? 29 : days[static_cast<std::size_t>(date.month - 1)];
    return date.day <= last;
}

} // namespace

std::u16string readText(std::span<const std::uint8_t> record, const FieldDefinition &field, CodePage page)
{
    auto bytes = bytesOf(record, field);
    while (!bytes.empty() && bytes.back() == blank)
        bytes = bytes.first(bytes.size() - 1);
    return decode(page, bytes);
}

std::optional<Date> readDate(std::span<const std::uint8_t> record, const FieldDefinition &field)
{
    const auto bytes = bytesOf(record, field);
    if (bytes.size() != 8)
        return std::nullopt;
    const auto year = digits(bytes.first(4));
    const auto month = digits(bytes.subspan(4, 2));
    const auto day = digits(bytes.subspan(6, 2));
    if (!year || !month || !day)
        return std::nullopt;
    const Date date{*year, *month, *day};
    return isRealDate(date) ? std::optional(date) : std::nullopt;
}

std::optional<double> readNumber(std::span<const std::uint8_t> record, const FieldDefinition &field)
{
    std::string_view text = trimmed(bytesOf(record, field));
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<bool> readLogical(std::span<const std::uint8_t> record, const FieldDefinition &field)
{
    const auto bytes = bytesOf(record, field);
    if (bytes.empty())
        return std::nullopt;
    switch (bytes[0]) {
    case 'T':
    case 't':
    case 'Y':
    case 'y':
    case 'S':
    case 's':
        return true;
    case 'F':
    case 'f':
    case 'N':
    case 'n':
        return false;
    default:
        return std::nullopt;
    }
}

void writeText(std::span<std::uint8_t> record, const FieldDefinition &field, CodePage page,
               std::u16string_view text)
{
    const auto bytes = bytesOf(record, field);
    // A character is one byte in all pages, so what lies behind the width cannot reach the field.
    const std::string encoded = encode(page, text.substr(0, bytes.size() * 2));
    const std::size_t used = std::min(encoded.size(), bytes.size());
    std::copy_n(encoded.begin(), used, bytes.begin());
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(used), bytes.end(), blank);
}

Status writeDate(std::span<std::uint8_t> record, const FieldDefinition &field, Date date)
{
    const auto bytes = bytesOf(record, field);
    if (!isRealDate(date) || bytes.size() != 8)
        return {ErrorKind::invalidArgument, "la fecha del campo " + field.name + " no existe"};
    int value = date.year * 10000 + date.month * 100 + date.day;
    for (std::size_t i = 8; i-- > 0; value /= 10)
        bytes[i] = static_cast<std::uint8_t>('0' + value % 10);
    return {};
}

Status writeNumber(std::span<std::uint8_t> record, const FieldDefinition &field, double number)
{
    const auto bytes = bytesOf(record, field);
    if (!std::isfinite(number))
        return {ErrorKind::invalidArgument, "el valor del campo " + field.name + " no es un número"};
    std::array<char, 400> text{}; // the longest double without exponent has 309 digits before the point
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number,
                                            std::chars_format::fixed, field.decimals);
    std::string_view shown(text.data(),
                           error == std::errc() ? static_cast<std::size_t>(end - text.data()) : 0);
    if (shown.find_first_not_of("-0.") == std::string_view::npos && !shown.empty() && shown.front() == '-')
        shown.remove_prefix(1); // a rounded "-0.00" is a zero
    if (shown.empty() || shown.size() > bytes.size())
        return {ErrorKind::full, "el número no cabe en el campo " + field.name};
    std::fill(bytes.begin(), bytes.end(), blank);
    std::copy(shown.begin(), shown.end(), bytes.end() - static_cast<std::ptrdiff_t>(shown.size()));
    return {};
}

void writeLogical(std::span<std::uint8_t> record, const FieldDefinition &field, bool value)
{
    const auto bytes = bytesOf(record, field);
    if (!bytes.empty())
        bytes[0] = value ? 'T' : 'F';
}

void writeBlank(std::span<std::uint8_t> record, const FieldDefinition &field)
{
    const auto bytes = bytesOf(record, field);
    std::fill(bytes.begin(), bytes.end(), blank);
}

std::vector<std::uint8_t> blankRecord(std::size_t length)
{
    return std::vector<std::uint8_t>(length, blank);
}

} // namespace dbase
