#pragma once

#include "dbase/FilterExpression.h"
#include "dbase/Index.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace dbase
{

/// What a tag holds, compiled for one table: of which lines, and under which keys.
struct TagRule {
    KeyExpression expression;
    std::optional<FilterExpression> filter{};
    bool unique = false;

    /// @return why the tag cannot be evaluated, as KeyExpression and FilterExpression say it.
    static Result<TagRule> of(const TagDefinition &tag, std::span<const FieldDefinition> fields,
                              CodePage page);
    [[nodiscard]] bool accepts(std::span<const std::uint8_t> record) const
    {
        return !filter || filter->accepts(record);
    }
};

/// The line that stands for all those with its key.
struct KeyHolder {
    RecordNumber record = 0; ///< 0: none
    bool live = false;
    /// A live line before a deleted one, then the one that came first.
    [[nodiscard]] bool goesBefore(const KeyHolder &other) const
    {
        if (record == 0 || other.record == 0)
            return record != 0;
        return live != other.live ? live : record < other.record;
    }
};

/// The holder of every key of a unique tag, found by showing it all lines.
class KeyHolders
{
public:
    void offer(std::string_view key, const KeyHolder &line)
    {
        KeyHolder &holder = m_holders[std::string(key)];
        if (line.goesBefore(holder))
            holder = line;
    }
    [[nodiscard]] bool holds(std::string_view key, RecordNumber record) const
    {
        const auto found = m_holders.find(std::string(key));
        return found != m_holders.end() && found->second.record == record;
    }
    [[nodiscard]] const std::unordered_map<std::string, KeyHolder> &all() const { return m_holders; }

private:
    std::unordered_map<std::string, KeyHolder> m_holders;
};

} // namespace dbase
