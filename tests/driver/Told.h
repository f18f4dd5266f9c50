#pragma once

#include "tests/driver/AgendaTable.h"

#include <cstdint>
#include <limits>

namespace driver
{

/// What writers were told, and so what may stand in the table: of every key the last value that was
/// acknowledged, or one whose outcome nobody knows.
class Told
{
public:
    /// Takes one line of a writer; what a kill has cut off counts for nothing.
    void line(int writer, std::string_view text);
    /// Takes all the lines of a writer.
    void lines(int writer, std::string_view text);
    /// The writer is dead by now: what it had under way has happened or never will.
    void died(int writer);

    /// @return what contradicts the lines, one text for each key; nothing when all agrees.
    [[nodiscard]] std::vector<std::string> compare(const Contents &found) const;
    [[nodiscard]] int acknowledged() const { return m_acknowledged; }
    [[nodiscard]] int refused() const { return m_refused; } ///< answers other than yes

private:
    static constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();
    struct Change {
        std::string value; ///< empty: the line is gone
        std::int64_t begun = 0;
        std::int64_t ended = never;
        bool sure = false;
    };
    struct UnderWay {
        std::string key;
        std::size_t change = 0;
    };
    void answer(int writer, std::string_view verb, std::int64_t at);
    [[nodiscard]] static bool mayStand(const std::vector<Change> &changes, const std::string &first,
                                       const std::string &value);

    std::map<std::string, std::vector<Change>> m_changes;
    std::map<int, UnderWay> m_underWay;
    int m_acknowledged = 0;
    int m_refused = 0;
};

} // namespace driver
