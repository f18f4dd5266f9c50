#pragma once

#include "dbase/Record.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace dbase
{

struct ExpressionNode;

/// The condition of a tag that holds only some of the lines, compiled for one table.
///
/// Understood: what KeyExpression understands, logical fields, constants ("text", 'text', [text], 12.5, .T.,
/// {2026-01-31}, {}), the comparisons = <> # < <= > >= between two texts, numbers or dates, DELETED(), and
/// .NOT. .AND. .OR. with parentheses. Texts are compared by their bytes, as far as the right one goes. A
/// blank number counts as 0, a blank truth value as false, a blank date as later than any other. A date whose
/// day and month could be the other way round is refused.
class DBASE_EXPORT FilterExpression
{
public:
    /// @param fields  of the table, with their offsets.
    /// @return unsupported, with the offending word, for anything else than the above; invalidArgument for an
    ///         unknown field.
    static Result<FilterExpression> parse(std::string_view text, std::span<const FieldDefinition> fields,
                                          CodePage page);

    [[nodiscard]] const std::string &text() const { return m_text; }
    /// Whether a record, deletion mark included, belongs into the tag.
    [[nodiscard]] bool accepts(std::span<const std::uint8_t> record) const;

private:
    FilterExpression() = default;
    std::string m_text;
    std::shared_ptr<const ExpressionNode> m_root; // immutable after parse, hence shareable between copies
};

} // namespace dbase
