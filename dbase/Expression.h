#pragma once

#include "dbase/KeyExpression.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dbase
{

/// Tree of an expression over one table's fields, unchangeable once it is compiled. Texts keep their width:
/// blanks at their end count, and go only where TRIM takes them.
struct ExpressionNode {
    enum class Kind {
        field,
        dtos,
        upper,
        str,
        substr,
        trim,
        sum,
        constant, ///< text, number, date or truth value, by its type
        deleted,
        comparison,
        negation,
        conjunction,
        disjunction
    };
    enum class Type { text, number, date, truth };
    enum class Operator { equal, unequal, less, lessOrEqual, greater, greaterOrEqual };

    Kind kind = Kind::field;
    Type type = Type::text;
    Operator comparing = Operator::equal;
    FieldDefinition field{};
    int fieldIndex = -1;
    CodePage page = CodePage::windows1252;
    std::size_t width = 0;
    std::size_t start = 0; // SUBSTR, from 0
    std::uint8_t decimals = 0;
    std::string textValue;
    double numberValue =
        0; ///< of a number; of a date year * 10000 + month * 100 + day; of a truth value 0, 1
    std::vector<ExpressionNode> parts;

    /// The key of any node that is no truth value; a lone number as eight bytes that memcmp orders.
    [[nodiscard]] std::string text(std::span<const std::uint8_t> record) const;
    /// A blank number is 0, a blank date larger than any other.
    [[nodiscard]] double number(std::span<const std::uint8_t> record) const;
    [[nodiscard]] bool truth(std::span<const std::uint8_t> record) const;

private:
    [[nodiscard]] std::string digits(std::span<const std::uint8_t> record) const;
    [[nodiscard]] bool compared(std::span<const std::uint8_t> record) const;
};

/// A blank date beside others.
inline constexpr double blankDateNumber = 99999999;

/// What is asked of an expression: a key, or the truth about a line.
enum class ExpressionUse { key, filter };

/// @return unsupported, with the offending word; invalidArgument for an unknown field.
Result<ExpressionNode> compileExpression(std::string_view text, std::span<const FieldDefinition> fields,
                                         CodePage page, ExpressionUse use);

} // namespace dbase
