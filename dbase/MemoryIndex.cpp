#include "dbase/MemoryIndex.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace dbase
{

namespace
{

constexpr std::size_t numberSize = 4;

void putNumber(std::uint8_t *at, RecordNumber number)
{
    for (std::size_t i = numberSize; i-- > 0; number >>= 8U)
        at[i] = static_cast<std::uint8_t>(number);
}

RecordNumber getNumber(const std::uint8_t *at)
{
    return static_cast<RecordNumber>(at[0]) << 24U | static_cast<RecordNumber>(at[1]) << 16U |
           static_cast<RecordNumber>(at[2]) << 8U | static_cast<RecordNumber>(at[3]);
}

} // namespace

MemoryIndex::MemoryIndex(TagDefinition definition, TagRule rule)
    : m_definition(std::move(definition))
    , m_rule(std::move(rule))
    , m_keyLength(m_rule.expression.keyLength())
    , m_entryLength(m_keyLength + numberSize)
{
}

int MemoryIndex::compare(const std::uint8_t *stored, std::span<const std::uint8_t> wanted) const
{
    const int order = std::memcmp(stored, wanted.data(), std::min(wanted.size(), m_keyLength));
    return m_definition.descending ? -order : order;
}

IndexEntry MemoryIndex::at(std::size_t i) const
{
    return {IndexKey(std::span(entry(i), m_keyLength)), getNumber(entry(i) + m_keyLength)};
}

std::optional<IndexEntry> MemoryIndex::atIfThere(std::size_t i) const
{
    return i < size() ? std::optional(at(i)) : std::nullopt;
}

std::size_t MemoryIndex::lowerBound(std::span<const std::uint8_t> key, RecordNumber record) const
{
    std::size_t low = 0;
    std::size_t high = size();
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        const int order = compare(entry(middle), key);
        if (order < 0 || (order == 0 && getNumber(entry(middle) + m_keyLength) < record))
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

std::size_t MemoryIndex::upperBound(std::span<const std::uint8_t> prefix) const
{
    std::size_t low = 0;
    std::size_t high = size();
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (compare(entry(middle), prefix) <= 0)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

Result<std::optional<IndexEntry>> MemoryIndex::find(std::span<const std::uint8_t> prefix)
{
    if (prefix.size() > m_keyLength)
        return std::optional<IndexEntry>();
    const std::size_t i = lowerBound(prefix, 0);
    return i < size() && compare(entry(i), prefix) == 0 ? std::optional(at(i)) : std::nullopt;
}

Result<std::optional<IndexEntry>> MemoryIndex::atOrAfter(std::span<const std::uint8_t> key)
{
    return atIfThere(lowerBound(key, 0));
}

Result<std::optional<IndexEntry>> MemoryIndex::first()
{
    return atIfThere(0);
}

Result<std::optional<IndexEntry>> MemoryIndex::last()
{
    return size() == 0 ? std::nullopt : std::optional(at(size() - 1));
}

Result<std::optional<IndexEntry>> MemoryIndex::next(const IndexEntry &position)
{
    return atIfThere(lowerBound(position.key.bytes(), position.record + 1));
}

Result<std::optional<IndexEntry>> MemoryIndex::prior(const IndexEntry &position)
{
    const std::size_t i = lowerBound(position.key.bytes(), position.record);
    return i == 0 ? std::nullopt : std::optional(at(i - 1));
}

Status MemoryIndex::collect(std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                            std::vector<RecordNumber> &out)
{
    const std::size_t from = low.empty() ? 0 : lowerBound(low, 0);
    const std::size_t to = high.empty() ? size() : upperBound(high);
    if (from >= to)
        return {};
    out.reserve(out.size() + to - from);
    for (std::size_t i = from; i < to; ++i)
        out.push_back(getNumber(entry(i) + m_keyLength));
    return {};
}

void MemoryIndex::addUnsorted(const IndexKey &key, RecordNumber record)
{
    const std::size_t at = m_entries.size();
    m_entries.resize(at + m_entryLength);
    std::memcpy(m_entries.data() + at, key.bytes().data(), m_keyLength);
    putNumber(m_entries.data() + at + m_keyLength, record);
}

void MemoryIndex::finish()
{
    std::vector<std::uint32_t> order(size());
    std::iota(order.begin(), order.end(), 0U);
    const auto before = [this](std::uint32_t a, std::uint32_t b) {
        const int keys = compare(entry(a), std::span(entry(b), m_keyLength));
        return keys != 0 ? keys < 0 : getNumber(entry(a) + m_keyLength) < getNumber(entry(b) + m_keyLength);
    };
    // Lines mostly come in the order of their dates.
    if (std::is_sorted(order.begin(), order.end(), before))
        return;
    std::sort(order.begin(), order.end(), before);
    std::vector<std::uint8_t> sorted(m_entries.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        std::memcpy(sorted.data() + i * m_entryLength, entry(order[i]), m_entryLength);
    m_entries = std::move(sorted);
}

void MemoryIndex::insert(const IndexKey &key, RecordNumber record)
{
    const auto at = static_cast<std::ptrdiff_t>(lowerBound(key.bytes(), record) * m_entryLength);
    std::vector<std::uint8_t> entry(m_entryLength);
    std::memcpy(entry.data(), key.bytes().data(), m_keyLength);
    putNumber(entry.data() + m_keyLength, record);
    m_entries.insert(m_entries.begin() + at, entry.begin(), entry.end());
}

void MemoryIndex::erase(const IndexKey &key, RecordNumber record)
{
    const std::size_t i = lowerBound(key.bytes(), record);
    if (i >= size() || compare(entry(i), key.bytes()) != 0 || getNumber(entry(i) + m_keyLength) != record)
        return;
    const auto at = m_entries.begin() + static_cast<std::ptrdiff_t>(i * m_entryLength);
    m_entries.erase(at, at + static_cast<std::ptrdiff_t>(m_entryLength));
}

} // namespace dbase
