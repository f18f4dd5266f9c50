// Unique tags: one line stands for all with its key, and another one takes its place when it leaves.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <cctype>
#include <map>

namespace dbase
{

namespace
{

/// Lines that are looked at before asking whether all heirs have been found.
constexpr RecordNumber linesPerLook = 4096;
/// With more lines of one key than these, reading the table from end to end is quicker.
constexpr int mostLinesByTag = 256;

using Key = std::vector<std::uint8_t>;

/// The order of bytes. Through texts, because g++ 12 warns of lengths that no vector has when it compares two.
struct KeyLess {
    bool operator()(const Key &a, const Key &b) const { return text(a) < text(b); }
    static std::string_view text(const Key &key)
    {
        return {reinterpret_cast<const char *>(key.data()), key.size()};
    }
};

Status indexIsWrong()
{
    return {ErrorKind::notFound, "el índice no tiene la línea que responde por una clave"};
}

bool beginsWith(std::string_view whole, std::string_view part)
{
    return whole.size() >= part.size() && sameText(whole.substr(0, part.size()), part);
}

/// Whether all lines with one key of a unique tag stand side by side in the other tag, behind the same bytes.
bool leadsTo(const TagRule &unique, const TagRule &other)
{
    const std::string &wanted = unique.expression.text();
    const std::string &whole = other.expression.text();
    if (other.unique || other.filter || !beginsWith(whole, wanted))
        return false;
    if (whole.size() == wanted.size())
        return true;
    // A part that is trimmed has no fixed width when something follows.
    std::string capitals = wanted;
    std::transform(capitals.begin(), capitals.end(), capitals.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return whole[wanted.size()] == '+' && capitals.find("TRIM") == std::string::npos;
}

} // namespace

/// What one commit does to a unique tag.
struct TableImpl::UniqueChange {
    struct Line {
        std::span<const std::uint8_t> before; ///< of the first change; empty: a new line
        std::span<const std::uint8_t> after;  ///< of the last one
        std::optional<Key> keyBefore{};
        std::optional<Key> keyAfter{};
    };
    struct Holding {
        RecordNumber inTree = 0; ///< the line that stands for the key so far
        KeyHolder now;           ///< the one that is to
        bool wanted = false;     ///< a line that is not part of the commit may be the better one
    };
    std::map<RecordNumber, Line> lines;
    std::map<Key, Holding, KeyLess> keys;
};

/// Prepares a unique tag for a commit. Only keys whose holder leaves them, dies or loses its place are looked
/// up elsewhere.
Status TableImpl::stageUnique(std::size_t number, const Commit &commit)
{
    const TagRule &rule = m_indexes[number]->rule();
    const auto keyOf = [&](std::span<const std::uint8_t> record) {
        return !record.empty() && rule.accepts(record) ? std::optional(fileKeyOf(number, record))
                                                       : std::nullopt;
    };
    UniqueChange change;
    for (const RecordChange &one : commit.changes) {
        const auto [line, first] = change.lines.try_emplace(one.number);
        if (first)
            line->second.before = one.before;
        line->second.after = one.after;
    }
    std::map<Key, KeyHolder, KeyLess> candidates;
    for (auto at = change.lines.begin(); at != change.lines.end();) {
        auto &[record, line] = *at;
        line.keyBefore = keyOf(line.before);
        line.keyAfter = keyOf(line.after);
        const bool sameLife = !line.before.empty() && isDeleted(line.before) == isDeleted(line.after);
        if (line.keyBefore == line.keyAfter && (sameLife || !line.keyAfter)) {
            at = change.lines.erase(at); // the tag has nothing to do with it
            continue;
        }
        if (line.keyBefore)
            candidates.try_emplace(*line.keyBefore);
        if (line.keyAfter) {
            KeyHolder &best = candidates[*line.keyAfter];
            const KeyHolder offered{record, !isDeleted(line.after)};
            best = offered.goesBefore(best) ? offered : best;
        }
        ++at;
    }
    for (const auto &[key, candidate] : candidates) {
        if (const Status status = settleHolder(number, candidate, change, key); !status.ok())
            return status;
    }
    if (const Status status = findHeirs(number, change); !status.ok())
        return status;
    MdxTree tree(*m_mdx, m_mdx->tag(number));
    for (const auto &[key, holding] : change.keys) {
        if (holding.inTree == holding.now.record)
            continue;
        Status status = holding.inTree == 0 ? Status() : tree.remove(key, holding.inTree);
        if (status.ok() && holding.now.record != 0)
            status = tree.insert(key, holding.now.record);
        if (!status.ok())
            return status;
    }
    return {};
}

/// Weighs the line that stands for a key against those of the commit.
Status TableImpl::settleHolder(std::size_t number, const KeyHolder &candidate, UniqueChange &change,
                               std::span<const std::uint8_t> key)
{
    const TagRule &rule = m_indexes[number]->rule();
    const MdxTag &tag = m_mdx->tags()[number];
    UniqueChange::Holding holding{0, candidate, false};
    MdxCursor cursor(*m_mdx, tag);
    const auto here = [&] {
        return cursor.valid() && tag.compare(cursor.key(), key.data(), key.size()) == 0;
    };
    cursor.seek(key);
    if (here()) {
        holding.inTree = cursor.record();
        cursor.next();
        if (here())
            return indexIsWrong(); // two lines for one key
    }
    if (cursor.damaged())
        return cursor.status();
    const bool known = std::any_of(change.lines.begin(), change.lines.end(), [&](const auto &one) {
        return one.second.keyBefore && std::ranges::equal(*one.second.keyBefore, key);
    });
    if (holding.inTree == 0) {
        if (known)
            return indexIsWrong();
    } else if (const auto own = change.lines.find(holding.inTree); own != change.lines.end()) {
        if (!own->second.keyBefore || !std::ranges::equal(*own->second.keyBefore, key))
            return indexIsWrong();
        // All other lines with the key come behind what the holder was.
        const KeyHolder was{holding.inTree, !isDeleted(own->second.before)};
        holding.wanted = candidate.record == 0 || was.goesBefore(candidate);
    } else {
        std::vector<std::uint8_t> record(header.recordLength);
        if (!readRecord(holding.inTree, record).ok() || !rule.accepts(record) ||
            !std::ranges::equal(fileKeyOf(number, record), key))
            return indexIsWrong();
        const KeyHolder stands{holding.inTree, !isDeleted(record)};
        if (stands.goesBefore(candidate))
            holding.now = stands;
    }
    change.keys.emplace(Key(key.begin(), key.end()), holding);
    return {};
}

/// Looks among the lines that the commit leaves alone for those that take over a key.
Status TableImpl::findHeirs(std::size_t number, UniqueChange &change)
{
    /// Whether a line from there on could still be the better one for some key.
    const auto isOpen = [&](RecordNumber at) {
        return std::any_of(change.keys.begin(), change.keys.end(), [at](const auto &one) {
            const KeyHolder &now = one.second.now;
            return one.second.wanted && !(now.live && now.record < at);
        });
    };
    RecordNumber from = 0;
    for (const auto &[key, holding] : change.keys) {
        if (holding.wanted)
            from = from == 0 ? holding.inTree : std::min(from, holding.inTree);
    }
    if (from == 0 || findHeirsByTag(number, change))
        return {};
    const TagRule &rule = m_indexes[number]->rule();
    const auto offer = [&](RecordNumber record, std::span<const std::uint8_t> bytes) {
        if (change.lines.contains(record) || !rule.accepts(bytes))
            return;
        const auto found = change.keys.find(fileKeyOf(number, bytes));
        const KeyHolder offered{record, !isDeleted(bytes)};
        if (found != change.keys.end() && found->second.wanted && offered.goesBefore(found->second.now))
            found->second.now = offered;
    };
    // Whoever comes next mostly stands near. In front of the holder there are only deleted lines.
    for (RecordNumber at = from; at <= header.recordCount && isOpen(at); at += linesPerLook) {
        if (const Status status = scan(at, offer, at + linesPerLook - 1); !status.ok())
            return status;
    }
    const bool someDead = std::any_of(change.keys.begin(), change.keys.end(), [](const auto &one) {
        return one.second.wanted && !one.second.now.live;
    });
    return from > 1 && someDead ? scan(1, offer, from - 1) : Status();
}

/// The same by way of another tag. @return false when there is none that helps.
bool TableImpl::findHeirsByTag(std::size_t number, UniqueChange &change)
{
    const TagRule &rule = m_indexes[number]->rule();
    const auto other = std::find_if(m_indexes.begin(), m_indexes.end(),
                                    [&](const auto &one) { return leadsTo(rule, one->rule()); });
    if (other == m_indexes.end())
        return false;
    const MdxTag &tag = m_mdx->tags()[(*other)->number()];
    if (tag.keyType != m_mdx->tags()[number].keyType)
        return false;
    std::vector<std::uint8_t> record(header.recordLength);
    for (auto &[key, holding] : change.keys) {
        if (!holding.wanted)
            continue;
        int left = mostLinesByTag;
        MdxCursor cursor(*m_mdx, tag);
        for (cursor.seek(key); cursor.valid() && tag.compare(cursor.key(), key.data(), key.size()) == 0;
             cursor.next()) {
            if (change.lines.contains(cursor.record()))
                continue;
            if (--left < 0 || !readRecord(cursor.record(), record).ok())
                return false;
            const KeyHolder offered{cursor.record(), !isDeleted(record)};
            if (rule.accepts(record) && fileKeyOf(number, record) == key && offered.goesBefore(holding.now))
                holding.now = offered;
        }
        if (cursor.damaged())
            return false;
    }
    return true;
}

} // namespace dbase
