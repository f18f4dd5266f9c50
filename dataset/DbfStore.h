#pragma once

#include "dataset/Aliases.h"
#include "dataset/RecordStore.h"
#include "dbase/Table.h"

#include <span>

namespace dataset
{

/// Records of a shared dBase table.
class DbfStore : public RecordStore
{
public:
    explicit DbfStore(const Aliases &aliases)
        : m_aliases(aliases)
    {
    }

    ~DbfStore() override;
    DbfStore(const DbfStore &) = delete;
    DbfStore &operator=(const DbfStore &) = delete;

    // Settings for the next open()
    QString databaseName;
    QString tableName;
    bool openReadOnly = false;
    bool durable = true;
    std::optional<std::chrono::milliseconds> lockPatience; ///< none: that of the aliases
    std::vector<dbase::TagDefinition> tags;
    [[nodiscard]] const Aliases &aliases() const { return m_aliases; }

    void open() override;
    void close() override;
    [[nodiscard]] bool isReadOnly() const override;
    [[nodiscard]] QString takeNotice() override;
    [[nodiscard]] const QList<FieldInfo> &fields() const override { return m_fields; }
    [[nodiscard]] Record blank() const override;
    [[nodiscard]] QVariant value(const Record &record, int field) const override;
    void setValue(Record &record, int field, const QVariant &value) const override;
    [[nodiscard]] bool canKeep(QChar character) const override;
    [[nodiscard]] bool read(Bookmark number, Record &record) const override;
    [[nodiscard]] bool readRow(Bookmark number, Record &record) const override;
    void lock(Bookmark number) override;
    void unlock() noexcept override;
    Bookmark append(const Record &record) override;
    void update(Bookmark number, const Record &before, const Record &after) override;
    void erase(Bookmark number, const Record &before) override;
    void beginGroup() override;
    void commitGroup() override;
    void dropGroup() noexcept override;
    bool refresh() override;
    bool setOrder(const QString &names) override;
    [[nodiscard]] bool descends() const override;
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
    /// The first rows collected, as they came: a day sheet is walked without asking the file again. Good for
    /// as long as nobody is known to have written since.
    struct RowsAhead {
        std::uint64_t version = 0; ///< of the table
        std::vector<Bookmark> numbers;
        std::vector<std::uint8_t> bytes; ///< one record behind the other
        std::size_t last = 0;            ///< the place asked for last
    };
    /// The bytes of a row that was collected ahead; none when it was not, or when they may be out of date.
    [[nodiscard]] std::span<std::uint8_t> ahead(Bookmark number) const;

    dbase::Index *indexFor(const QString &names);
    /// The index of a tag that the table has. @throws EDatabaseError when it cannot be had; never null.
    [[nodiscard]] dbase::Index *requireIndex(const std::string &tag) const;
    [[nodiscard]] dbase::Index *indexLeadingWith(const std::vector<int> &fieldIndexes) const;
    /// The first live record from an entry on, forward or backward.
    [[nodiscard]] std::optional<Place> liveFrom(dbase::Result<std::optional<dbase::IndexEntry>> entry,
                                                bool forward) const;
    [[nodiscard]] std::optional<Place> liveFromNumber(Bookmark number, bool forward) const;
    [[nodiscard]] bool isLive(Bookmark number) const;
    [[nodiscard]] const dbase::FieldDefinition &definition(int field) const;
    /// Does a change of our own and keeps it from looking like somebody else's.
    template <class Change> auto change(Change &&work);

    const Aliases &m_aliases;
    std::unique_ptr<dbase::Table> m_table;
    QList<FieldInfo> m_fields;
    dbase::Index *m_index = nullptr; ///< of m_table; null: order of the file
    dbase::RecordLock m_lock;
    std::uint64_t m_seenVersion = 0;
    mutable std::vector<std::uint8_t> m_buffer;
    mutable RowsAhead m_ahead;
};

} // namespace dataset
