#include "dbase/TagRule.h"

#include <algorithm>
#include <cctype>

namespace dbase
{

namespace
{

bool sameInAnyCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::toupper(x) == std::toupper(y); });
}

} // namespace

bool sameOrder(const TagDefinition &a, const TagDefinition &b)
{
    // The case of a filter's letters may matter: it can hold texts.
    return sameInAnyCase(a.expression, b.expression) && a.descending == b.descending &&
           a.unique == b.unique && a.filter == b.filter;
}

Result<TagRule> TagRule::of(const TagDefinition &tag, std::span<const FieldDefinition> fields, CodePage page)
{
    auto expression = KeyExpression::parse(tag.expression, fields, page);
    if (!expression.ok())
        return expression.status();
    TagRule rule{std::move(expression).value(), {}, tag.unique};
    if (!tag.filter.empty()) {
        auto filter = FilterExpression::parse(tag.filter, fields, page);
        if (!filter.ok())
            return filter.status();
        rule.filter = std::move(filter).value();
    }
    return rule;
}

} // namespace dbase
