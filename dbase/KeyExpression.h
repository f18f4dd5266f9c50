#pragma once

#include "dbase/Record.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace dbase
{

struct ExpressionNode;

/// Longest key of an index, in bytes.
inline constexpr std::size_t maxKeyLength = 100;

/// The key of a lone date field is its digits; without a date all its bytes are this one, behind all others.
inline constexpr std::uint8_t blankDateByte = 0xFF;

/// A key as the index compares it: bytes, ordered by memcmp, then by length.
class IndexKey
{
public:
    IndexKey() = default;
    /// @param bytes at most maxKeyLength; more are cut off.
    explicit IndexKey(std::span<const std::uint8_t> bytes)
        : m_length(static_cast<std::uint8_t>(std::min(bytes.size(), maxKeyLength)))
    {
        std::memcpy(m_bytes.data(), bytes.data(), m_length);
    }
    [[nodiscard]] std::span<const std::uint8_t> bytes() const { return {m_bytes.data(), m_length}; }
    [[nodiscard]] std::size_t length() const { return m_length; }

private:
    std::array<std::uint8_t, maxKeyLength> m_bytes{};
    std::uint8_t m_length = 0;
};

/// The expression of an index tag, such as DTOS(FECHA)+HORA, compiled for one table.
///
/// Understood: fields of type C, D, N, F by name; DTOS, UPPER, STR(n[,width[,decimals]]), SUBSTR, LEFT, TRIM,
/// RTRIM, and "+" between texts. Names and functions in any case. The key of a lone D or N field is made
/// order-preserving here; how a file stores it is the file's business.
class DBASE_EXPORT KeyExpression
{
public:
    /// @param fields  of the table, with their offsets.
    /// @return unsupported, with the offending word, for anything else than the above; invalidArgument for an
    /// unknown field or a key longer than maxKeyLength.
    static Result<KeyExpression> parse(std::string_view text, std::span<const FieldDefinition> fields,
                                       CodePage page);

    [[nodiscard]] const std::string &text() const { return m_text; }
    /// Bytes of every key.
    [[nodiscard]] std::size_t keyLength() const { return m_keyLength; }
    /// Key of a record, always keyLength() bytes.
    [[nodiscard]] IndexKey keyOf(std::span<const std::uint8_t> record) const;

    /// How many leading bytes of the key say the given fields whole and nothing else, reading the expression
    /// from the left: for DTOS(FECHA)+HORA, {FECHA} gives 8, {FECHA, HORA} 13, {HORA} 0. A part such as
    /// SUBSTR says only a piece of its field and ends the count.
    /// @param fieldIndexes  positions in the table's field list, in any order.
    [[nodiscard]] std::size_t leadingLength(std::span<const int> fieldIndexes) const;
    /// The table's fields in the order in which the expression uses them; positions in the field list.
    [[nodiscard]] const std::vector<int> &fieldsUsed() const { return m_fieldsUsed; }

private:
    KeyExpression() = default;
    std::string m_text;
    std::size_t m_keyLength = 0;
    std::vector<int> m_fieldsUsed;
    std::shared_ptr<const ExpressionNode> m_root; // immutable after parse, hence shareable between copies
};

} // namespace dbase
