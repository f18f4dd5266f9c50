#include "dbase/Expression.h"

#include "dbase/Bytes.h"

#include <algorithm>
#include <array>

namespace dbase
{

namespace
{

std::string rawBytes(std::span<const std::uint8_t> record, const FieldDefinition &field)
{
    const auto bytes = record.subspan(field.offset, field.width);
    return {bytes.begin(), bytes.end()};
}

std::string withoutTrailingBlanks(std::string text)
{
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string comparableNumber(double value)
{
    std::array<std::uint8_t, 8> bytes{};
    putComparable(value, bytes.data());
    return {bytes.begin(), bytes.end()};
}

/// The texts are compared as far as the right one goes, as the programs of the family do unless told
/// otherwise: "ABC" = "AB", but not the other way round.
int compareTexts(std::string_view left, std::string_view right)
{
    return left.substr(0, right.size()).compare(right);
}

} // namespace

std::string ExpressionNode::digits(std::span<const std::uint8_t> record) const
{
    std::vector<std::uint8_t> out(width, 0x20);
    const FieldDefinition target{"STR", FieldType::numeric, static_cast<std::uint8_t>(width), decimals, 0};
    if (!writeNumber(out, target, parts.front().number(record)).ok())
        std::fill(out.begin(), out.end(), static_cast<std::uint8_t>('*'));
    return {out.begin(), out.end()};
}

std::string ExpressionNode::text(std::span<const std::uint8_t> record) const
{
    switch (kind) {
    case Kind::field:
        break;
    case Kind::dtos:
        return rawBytes(record, parts.front().field);
    case Kind::str:
        return digits(record);
    case Kind::upper: {
        std::string out = parts.front().text(record);
        for (char &c : out)
            c = static_cast<char>(toUpper(page, static_cast<std::uint8_t>(c)));
        return out;
    }
    case Kind::trim:
        return withoutTrailingBlanks(parts.front().text(record));
    case Kind::substr: {
        std::string out = parts.front().text(record);
        out = start < out.size() ? out.substr(start, width) : std::string();
        out.resize(width, ' ');
        return out;
    }
    case Kind::sum: {
        std::string out;
        for (const ExpressionNode &part : parts)
            out += part.text(record);
        return out;
    }
    default:
        return textValue;
    }
    if (type == Type::number)
        return comparableNumber(readNumber(record, field).value_or(0));
    if (type == Type::date && !readDate(record, field))
        return std::string(field.width, static_cast<char>(blankDateByte));
    return rawBytes(record, field);
}

double ExpressionNode::number(std::span<const std::uint8_t> record) const
{
    if (kind != Kind::field)
        return numberValue;
    if (type == Type::number)
        return readNumber(record, field).value_or(0);
    const auto date = readDate(record, field);
    return date ? date->year * 10000 + date->month * 100 + date->day : blankDateNumber;
}

bool ExpressionNode::truth(std::span<const std::uint8_t> record) const
{
    const auto holds = [record](const ExpressionNode &part) { return part.truth(record); };
    switch (kind) {
    case Kind::field:
        return readLogical(record, field).value_or(false);
    case Kind::deleted:
        return isDeleted(record);
    case Kind::comparison:
        return compared(record);
    case Kind::negation:
        return !holds(parts.front());
    case Kind::conjunction:
        return std::all_of(parts.begin(), parts.end(), holds);
    case Kind::disjunction:
        return std::any_of(parts.begin(), parts.end(), holds);
    default:
        return numberValue != 0;
    }
}

bool ExpressionNode::compared(std::span<const std::uint8_t> record) const
{
    const ExpressionNode &left = parts.front();
    const ExpressionNode &right = parts.back();
    int order = 0;
    if (left.type == Type::text) {
        order = compareTexts(left.text(record), right.text(record));
    } else {
        const double a = left.number(record);
        const double b = right.number(record);
        order = a < b ? -1 : a > b ? 1 : 0;
    }
    switch (comparing) {
    case Operator::equal:
        return order == 0;
    case Operator::unequal:
        return order != 0;
    case Operator::less:
        return order < 0;
    case Operator::lessOrEqual:
        return order <= 0;
    case Operator::greater:
        return order > 0;
    case Operator::greaterOrEqual:
        return order >= 0;
    }
    return false;
}

} // namespace dbase
