#include "dbase/FilterExpression.h"

#include "dbase/Expression.h"

namespace dbase
{

Result<FilterExpression> FilterExpression::parse(std::string_view text,
                                                 std::span<const FieldDefinition> fields, CodePage page)
{
    auto root = compileExpression(text, fields, page, ExpressionUse::filter);
    if (!root.ok())
        return root.status();
    FilterExpression out;
    out.m_text = text;
    out.m_root = std::make_shared<const ExpressionNode>(std::move(root).value());
    return out;
}

bool FilterExpression::accepts(std::span<const std::uint8_t> record) const
{
    return m_root->truth(record);
}

} // namespace dbase
