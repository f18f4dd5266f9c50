#pragma once

#include "dbase/TagRule.h"

namespace dbase
{

/// An index kept in memory: one sorted array of fixed-width entries. Built when the table opens, kept by its
/// Table.
class MemoryIndex final : public Index
{
public:
    MemoryIndex(TagDefinition definition, TagRule rule);

    [[nodiscard]] const TagDefinition &definition() const override { return m_definition; }
    [[nodiscard]] const KeyExpression &expression() const override { return m_rule.expression; }
    [[nodiscard]] const TagRule &rule() const { return m_rule; }

    Result<std::optional<IndexEntry>> find(std::span<const std::uint8_t> prefix) override;
    Result<std::optional<IndexEntry>> atOrAfter(std::span<const std::uint8_t> key) override;
    Result<std::optional<IndexEntry>> first() override;
    Result<std::optional<IndexEntry>> last() override;
    Result<std::optional<IndexEntry>> next(const IndexEntry &position) override;
    Result<std::optional<IndexEntry>> prior(const IndexEntry &position) override;
    Status collect(std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                   std::vector<RecordNumber> &out) override;

    /// For building: adds without looking at the order; finish() then sorts.
    void addUnsorted(const IndexKey &key, RecordNumber record);
    void finish();

    void insert(const IndexKey &key, RecordNumber record);
    void erase(const IndexKey &key, RecordNumber record);

private:
    [[nodiscard]] const std::uint8_t *entry(std::size_t i) const
    {
        return m_entries.data() + i * m_entryLength;
    }
    [[nodiscard]] std::size_t size() const { return m_entries.size() / m_entryLength; }
    [[nodiscard]] IndexEntry at(std::size_t i) const;
    [[nodiscard]] std::optional<IndexEntry> atIfThere(std::size_t i) const;
    /// How a stored key stands to wanted bytes in the order of this index, over the wanted bytes' length.
    [[nodiscard]] int compare(const std::uint8_t *stored, std::span<const std::uint8_t> wanted) const;
    /// First entry not before (key bytes, record).
    [[nodiscard]] std::size_t lowerBound(std::span<const std::uint8_t> key, RecordNumber record) const;
    [[nodiscard]] std::size_t upperBound(std::span<const std::uint8_t> prefix) const;

    TagDefinition m_definition;
    TagRule m_rule;
    std::size_t m_keyLength;
    std::size_t m_entryLength; ///< key, then the record number from its highest byte down: memcmp orders
                               ///< whole entries
    std::vector<std::uint8_t> m_entries;
};

} // namespace dbase
