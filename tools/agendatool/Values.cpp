#include "tools/agendatool/Values.h"

#include "tools/agendatool/Text.h"
#include "upkeep/TableCare.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace agendatool
{

namespace
{

using dbase::CodePage;
using dbase::ErrorKind;
using dbase::FieldDefinition;
using dbase::FieldType;
using dbase::Status;
using Record = std::span<const std::uint8_t>;
using upkeep::isBlank;

Status refuse(const FieldDefinition &field, const std::string &why)
{
    return {ErrorKind::invalidArgument, "el campo " + field.name + " " + why};
}

bool isNumber(const FieldDefinition &field)
{
    return field.type == FieldType::numeric || field.type == FieldType::floating;
}

/// The field's characters without the blanks around them.
std::string bareText(Record record, const FieldDefinition &field, CodePage page)
{
    std::string text = toUtf8(dbase::readText(record, field, page));
    text.erase(0, std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

/// Sign, digits, and digits behind a point: the parts of a number without exponent.
struct Decimal {
    bool negative = false;
    std::string whole;
    std::string fraction;
};

std::optional<Decimal> parseDecimal(std::string_view text)
{
    Decimal made;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        made.negative = text.front() == '-';
        text.remove_prefix(1);
    }
    const auto point = text.find('.');
    made.whole = text.substr(0, point);
    if (point != std::string_view::npos)
        made.fraction = text.substr(point + 1);
    const auto digits = [](const std::string &part) {
        return part.find_first_not_of("0123456789") == std::string::npos;
    };
    if ((made.whole.empty() && made.fraction.empty()) || !digits(made.whole) || !digits(made.fraction))
        return std::nullopt;
    made.whole.erase(0, std::min(made.whole.find_first_not_of('0'), made.whole.size()));
    if (made.whole.empty())
        made.whole = "0";
    return made;
}

std::string decimalText(const Decimal &decimal)
{
    return (decimal.negative ? "-" : "") + decimal.whole +
           (decimal.fraction.empty() ? "" : "." + decimal.fraction);
}

/// Digit by digit: a field of 20 places holds more than a double does.
Status setNumber(std::span<std::uint8_t> record, const FieldDefinition &field, std::string_view text)
{
    auto decimal = parseDecimal(text);
    if (!decimal)
        return refuse(field, "no admite «" + std::string(text) + "» como número");
    std::string &fraction = decimal->fraction;
    if (fraction.find_first_not_of('0', std::min<std::size_t>(field.decimals, fraction.size())) !=
        std::string::npos)
        return refuse(field, "solo tiene " + std::to_string(field.decimals) + " decimales");
    fraction.resize(field.decimals, '0');
    const std::string shown = decimalText(*decimal);
    if (shown.size() > field.width)
        return refuse(field, "no tiene sitio para el número " + std::string(text));
    dbase::writeBlank(record, field);
    std::copy(shown.begin(), shown.end(),
              record.begin() +
                  static_cast<std::ptrdiff_t>(std::size_t{field.offset} + field.width - shown.size()));
    return {};
}

Status setText(std::span<std::uint8_t> record, const FieldDefinition &field, CodePage page,
               std::string_view text)
{
    const auto wide = fromUtf8(text);
    if (!wide)
        return refuse(field, "no está en UTF-8");
    if (!std::all_of(wide->begin(), wide->end(), [&](char16_t c) { return dbase::canEncode(page, c); }))
        return refuse(field, "tiene un carácter que la tabla no puede guardar");
    if (wide->size() > field.width)
        return refuse(field, "solo tiene sitio para " + std::to_string(field.width) + " caracteres");
    dbase::writeText(record, field, page, *wide);
    return {};
}

Status setLogical(std::span<std::uint8_t> record, const FieldDefinition &field, std::string_view text)
{
    if (text != "T" && text != "F")
        return refuse(field, "solo admite T, F o nada");
    dbase::writeLogical(record, field, text == "T");
    return {};
}

} // namespace

std::string valueText(Record record, const FieldDefinition &field, CodePage page)
{
    if (field.type == FieldType::character)
        return toUtf8(dbase::readText(record, field, page));
    if (isBlank(record, field))
        return {};
    if (field.type == FieldType::date) {
        if (const auto date = dbase::readDate(record, field))
            return isoDate(*date);
    } else if (field.type == FieldType::logical) {
        if (const auto value = dbase::readLogical(record, field))
            return *value ? "T" : "F";
    }
    return bareText(record, field, page);
}

std::string valueJson(Record record, const FieldDefinition &field, CodePage page)
{
    const std::string text = valueText(record, field, page);
    if (field.type != FieldType::character && text.empty())
        return "null";
    if (field.type == FieldType::logical && (text == "T" || text == "F"))
        return text == "T" ? "true" : "false";
    if (isNumber(field)) {
        if (const auto decimal = parseDecimal(text))
            return decimalText(*decimal);
        if (const auto number = dbase::readNumber(record, field)) { // one with an exponent
            std::array<char, 40> shown{};
            const auto end = std::to_chars(shown.data(), shown.data() + shown.size(), *number).ptr;
            return {shown.data(), end};
        }
    }
    return jsonString(text);
}

std::string jsonString(std::string_view utf8)
{
    constexpr std::string_view hex = "0123456789abcdef";
    std::string out = "\"";
    for (const char c : utf8) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (static_cast<unsigned char>(c) < 0x20) {
            out += "\\u00";
            out += hex[static_cast<unsigned char>(c) >> 4U];
            out += hex[static_cast<unsigned char>(c) & 0xFU];
        } else {
            out += c;
        }
    }
    return out + '"';
}

Status setValue(std::span<std::uint8_t> record, const FieldDefinition &field, CodePage page,
                std::string_view text)
{
    if (text.empty()) {
        dbase::writeBlank(record, field);
        return {};
    }
    if (field.type == FieldType::character)
        return setText(record, field, page, text);
    if (field.type == FieldType::logical)
        return setLogical(record, field, text);
    if (isNumber(field))
        return setNumber(record, field, text);
    const auto date = parseIsoDate(text);
    if (!date)
        return refuse(field, "no admite «" + std::string(text) + "» como fecha AAAA-MM-DD");
    return dbase::writeDate(record, field, *date);
}

std::string isoDate(const dbase::Date &date)
{
    const auto padded = [](int value, std::size_t width) {
        const std::string digits = std::to_string(value);
        return std::string(width - std::min(width, digits.size()), '0') + digits;
    };
    return padded(date.year, 4) + '-' + padded(date.month, 2) + '-' + padded(date.day, 2);
}

std::optional<dbase::Date> parseIsoDate(std::string_view text)
{
    if (text.size() != 10 || text[4] != '-' || text[7] != '-')
        return std::nullopt;
    std::string digits(text);
    digits.erase(7, 1);
    digits.erase(4, 1);
    // The one judge of what date exists is the reader of the tables.
    const std::vector<std::uint8_t> record(digits.begin(), digits.end());
    return dbase::readDate(record, {"FECHA", FieldType::date, 8, 0, 0});
}

} // namespace agendatool
