#pragma once

#include "dbase/DbfFormat.h"
#include "dbase/File.h"
#include "dbase/MemoryIndex.h"
#include "dbase/Table.h"

#include <functional>
#include <random>
#include <set>

namespace dbase
{

// Byte ranges far behind the data, the same for every program of the family: nothing is ever written there.
inline constexpr std::uint64_t headerLockOffset = 0xEFFFFFFE;
inline constexpr std::uint64_t changeLockLength = 2; ///< header and append byte together
/// A record's byte lies below the header's.
[[nodiscard]] inline std::uint64_t recordLockOffset(RecordNumber number)
{
    return headerLockOffset - number;
}

/// An index with what it needs to notice that somebody else has changed a record: every record's key by
/// number.
struct OwnedIndex {
    std::unique_ptr<MemoryIndex> index;
    std::vector<std::uint8_t> keys;
    [[nodiscard]] std::span<const std::uint8_t> keyOf(RecordNumber number) const
    {
        const std::size_t length = index->expression().keyLength();
        return std::span(keys).subspan((number - 1) * length, length);
    }
};

class TableImpl
{
public:
    TableImpl(std::filesystem::path path, OpenOptions options);

    Status open();
    Status readRecord(RecordNumber number, std::span<std::uint8_t> record) const;
    Result<RecordNumber> append(std::span<const std::uint8_t> record);
    Status update(RecordNumber number, std::span<const std::uint8_t> before,
                  std::span<const std::uint8_t> after);
    Status erase(RecordNumber number);
    Status takeRecordLock(RecordNumber number, std::chrono::milliseconds timeout);
    void dropRecordLock(RecordNumber number);
    Result<bool> refresh();
    Status addTag(const TagDefinition &tag);
    [[nodiscard]] Index *index(std::string_view tag) const;
    Status liveRecords(Index *index, std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                       std::vector<RecordNumber> &out) const;

    std::filesystem::path path;
    std::string name; ///< for messages
    OpenOptions options;
    TableHeader header;
    bool readOnly = false;
    std::uint64_t version = 1;
    std::vector<OwnedIndex> indexes;
    std::shared_ptr<const bool> alive = std::make_shared<const bool>(true); ///< expires with this object

private:
    [[nodiscard]] Status failure(ErrorKind kind, std::string text) const
    {
        return {kind, std::move(text), name};
    }
    [[nodiscard]] std::uint64_t recordOffset(RecordNumber number) const
    {
        return header.headerLength + std::uint64_t{number - 1} * header.recordLength;
    }
    Result<RangeLock> waitForLock(std::uint64_t offset, std::uint64_t length,
                                  std::chrono::milliseconds timeout, const std::string &refusal);
    /// The change lock, with everything others have written taken in.
    Result<RangeLock> beginChange();
    Status catchUpForChange();
    Status finishChange();
    Status readHeader();
    Status settleCount(bool mayAdopt);
    Status adoptLinesBehindTheCount(RecordNumber inFile);
    /// Calls `visit` with every record from `from` to the last one.
    Status scan(RecordNumber from,
                const std::function<void(RecordNumber, std::span<const std::uint8_t>)> &visit) const;
    /// Compares every record with what is known of it. @return whether anything differs.
    Result<bool> takeInForeignChanges();
    void noteRecord(RecordNumber number, std::span<const std::uint8_t> record);
    void noteStamp();
    Status checkNotLockedElsewhere(RecordNumber number);
    Status writeDateAndCount(RecordNumber count);
    Status checkWritable(std::size_t recordSize) const;

    File m_file;
    std::vector<bool> m_deleted; ///< by record number - 1
    std::set<RecordNumber> m_locked;
    FileStamp m_stamp;
    bool m_stampDoubtful = true; ///< the file changed so lately that an equal stamp proves nothing
    bool m_scanOwed = false;     ///< a doubt was put off; only reading the file settles it
    std::vector<std::uint8_t> m_dateAndCount;
    std::minstd_rand m_random;
};

} // namespace dbase
