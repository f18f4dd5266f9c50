#pragma once

#include "dataset/RecordStore.h"

#include <functional>
#include <map>
#include <set>
#include <utility>

namespace dataset
{

/// Records in memory. Keys are built so that their bytes compare as the values do.
class MemStore : public RecordStore
{
public:
    void create(const QList<FieldInfo> &fields);
    void clear();
    /// @param canKeep  null: every character.
    void setCanKeep(std::function<bool(QChar)> canKeep) { m_canKeep = std::move(canKeep); }

    void open() override;
    void close() override {}
    [[nodiscard]] bool isReadOnly() const override { return false; }
    [[nodiscard]] const QList<FieldInfo> &fields() const override { return m_fields; }
    [[nodiscard]] Record blank() const override;
    [[nodiscard]] QVariant value(const Record &record, int field) const override
    {
        return record.values[field];
    }
    void setValue(Record &record, int field, const QVariant &value) const override;
    [[nodiscard]] bool canKeep(QChar character) const override { return !m_canKeep || m_canKeep(character); }
    [[nodiscard]] bool read(Bookmark number, Record &record) const override;
    void lock(Bookmark) override {}
    void unlock() noexcept override {}
    Bookmark append(const Record &record) override;
    void update(Bookmark number, const Record &before, const Record &after) override;
    void erase(Bookmark number, const Record &before) override;
    bool refresh() override { return false; }
    bool setOrder(const QString &names) override;
    [[nodiscard]] Place placeOf(Bookmark number, const Record &record) const override;
    [[nodiscard]] KeyBounds boundsOf(const Key &key) const override;
    [[nodiscard]] std::optional<Place> first() const override;
    [[nodiscard]] std::optional<Place> last() const override;
    [[nodiscard]] std::optional<Place> next(const Place &place) const override;
    [[nodiscard]] std::optional<Place> prior(const Place &place) const override;
    [[nodiscard]] std::optional<Place> atOrAfter(const std::string &prefix) const override;
    [[nodiscard]] std::vector<Bookmark> collect(const std::string &low,
                                                const std::string &high) const override;

private:
    using Entry = std::pair<std::string, Bookmark>;
    [[nodiscard]] int fieldIndex(const QString &name) const;

    QList<FieldInfo> m_fields;
    std::vector<int> m_order; ///< fields
    std::map<Bookmark, Record> m_records;
    std::set<Entry> m_entries; ///< in the order in force
    Bookmark m_lastNumber = 0;
    std::function<bool(QChar)> m_canKeep;
};

} // namespace dataset
