#pragma once

#include "dbase/Index.h"
#include "dbase/LockWait.h"
#include "dbase/Record.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace dbase
{

/// What Table::create needs to know.
struct TableDefinition {
    std::vector<FieldDefinition> fields;
    std::uint8_t languageDriver = defaultLanguageDriver;
    std::vector<TagDefinition> tags;
};

/// How to open a table.
struct OpenOptions {
    bool readOnly = false;
    /// A write that has returned survives a power cut. Without it a cut may leave some of the last commits,
    /// or parts of them; after a kill each is whole either way.
    bool durable = true;
    std::chrono::milliseconds lockTimeout{2000}; ///< for each lock that an operation needs, at most three
    std::vector<TagDefinition> tags; ///< tags the caller counts on; made when the table has none of that name
    LockWaitFactory onWait; ///< how the time passes while a lock is held by others; empty: the thread sleeps
};

class TableImpl;

/// A lock on one record, held from edit to post or cancel; given back when the object dies or the table
/// closes.
class DBASE_EXPORT RecordLock
{
public:
    RecordLock() = default;
    RecordLock(RecordLock &&other) noexcept;
    RecordLock &operator=(RecordLock &&other) noexcept;
    RecordLock(const RecordLock &) = delete;
    RecordLock &operator=(const RecordLock &) = delete;
    ~RecordLock();

    [[nodiscard]] bool held() const { return static_cast<bool>(m_release); }
    void release() noexcept;

private:
    friend class Table;
    explicit RecordLock(std::function<void()> release)
        : m_release(std::move(release))
    {
    }
    std::function<void()> m_release;
};

/// One open dBase table with its indexes. Not for use by several threads at once; several objects, in one
/// process or in many, may have the same file open and change it at the same time.
///
/// Nothing here throws but for lack of memory; every failure is a Status with the reason. A file that cannot
/// be right is refused at opening and left as it was. What changes a table answers, besides what each says:
/// readOnly, locked (the text says what is in the way), full (nothing has changed), damaged, inputOutput.
/// After inputOutput in the middle of a commit the change may be there or not; the object then refuses
/// everything, and the next opening finds out.
class DBASE_EXPORT Table
{
public:
    /// Makes a new, empty table; an existing file is refused (invalidArgument), never overwritten.
    static Status create(const std::filesystem::path &file, const TableDefinition &definition);
    /// @return notFound, damaged, unsupported, inputOutput, locked (somebody puts it in order). A file
    /// without write permission opens read-only.
    static Result<std::unique_ptr<Table>> open(const std::filesystem::path &file,
                                               const OpenOptions &options = {});

    /// Whether anybody has the table open, as far as the journal beside it tells; also where the table itself
    /// is missing or cannot be opened. @return inputOutput.
    static Result<bool> isInUse(const std::filesystem::path &file);

    /// Leaves a table and says how it went; the destructor leaves it as well, and keeps a failure to itself.
    /// What was acknowledged is safe either way: after a failure the next opener looks the table over.
    static Status close(std::unique_ptr<Table> table);

    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;
    ~Table();

    [[nodiscard]] const std::filesystem::path &file() const;
    [[nodiscard]] const std::vector<FieldDefinition> &fields() const;
    /// Position of a field in fields(), case ignored; -1 when there is none.
    [[nodiscard]] int fieldIndex(std::string_view name) const;
    [[nodiscard]] CodePage codePage() const;
    [[nodiscard]] std::size_t recordLength() const;
    /// Records in the file as far as this object has looked, deleted ones and those of an open group
    /// included.
    [[nodiscard]] RecordNumber recordCount() const;
    [[nodiscard]] bool isReadOnly() const;

    /// Copies record `number` as it now stands in the file into `record` (recordLength() bytes).
    /// @return invalidArgument for a number outside 1..recordCount(), damaged when the file ends before it,
    /// inputOutput.
    Status read(RecordNumber number, std::span<std::uint8_t> record) const;

    /// Adds a record behind the last one and to every index. @return its number.
    Result<RecordNumber> append(std::span<const std::uint8_t> record);
    /// Replaces a record and its keys. @param before  what the caller read; when the file holds something
    /// else by now nothing is written and the answer is conflict.
    Status update(RecordNumber number, std::span<const std::uint8_t> before,
                  std::span<const std::uint8_t> after);
    /// Marks a record deleted. @param before  what the caller read; conflict as for update(), and for a
    /// record that was deleted already.
    Status erase(RecordNumber number, std::span<const std::uint8_t> before);

    /// Takes the record's lock, waiting up to `timeout`; locked when somebody else keeps it, the text naming
    /// the record.
    Result<RecordLock> lockRecord(RecordNumber number, std::chrono::milliseconds timeout);
    Result<RecordLock> lockRecord(RecordNumber number); ///< with the time-out of the opening

    /// Looks whether other objects or processes have written, and takes their changes into count and indexes.
    /// @return whether anything may have changed since the last look. Costs a few system calls when nothing
    /// has.
    Result<bool> refresh();
    /// Grows with every change made through this object or met by refresh(); equal numbers mean equal
    /// contents.
    [[nodiscard]] std::uint64_t version() const;

    [[nodiscard]] std::vector<TagDefinition> tags() const;
    /// The index of a tag, case ignored; null when the table has no such tag.
    [[nodiscard]] Index *index(std::string_view tag) const;
    /// Adds a tag to the open table (built at once). Does nothing when a tag of that name is there.
    Status addTag(const TagDefinition &tag);

    /// Starts a group of changes that will be one commit: all of them or none. Others wait until it ends, so
    /// it lasts milliseconds, never a dialog. New lines can be read at once; the indexes know them after
    /// commitGroup().
    Status beginGroup();
    /// Writes the group: all of it or, on failure, nothing; but see inputOutput above. @return locked when
    /// somebody reads by the index for longer than the patience,
    /// invalidArgument when no group was begun or it is too large (128 MB).
    Status commitGroup();
    /// Forgets it; does nothing when there is none.
    void dropGroup();

    /// Compares every line with every tag of the index file. @return damaged, naming the tag.
    Status check();
    /// Writes the index file anew, in its place.
    Status reindex();
    /// Drops the deleted lines for good; the others get new numbers, so everybody else must have the table
    /// closed.
    /// @return locked when somebody has not.
    Status pack();
    /// Drops every line and takes others in their place, in one step; everybody else must have the table
    /// closed. On failure the lines are those of before and nothing lies aside, but for one case: the disk
    /// may fail to confirm the step itself. Then the answer is inputOutput, the copy stays aside, and a power
    /// cut may leave the old lines or the new ones. Lines that are in place are a success: an index that
    /// could not be written goes with them, and this object then refuses further work; the next one to open
    /// the table puts it in order.
    /// @param rows   records of this table's layout, one behind the other.
    /// @param aside  where a copy of the old file is left, on the disk before the old file goes; must not
    /// exist. Empty for none.
    /// @return locked when somebody has the table open, full, inputOutput.
    Status replaceLines(std::span<const std::uint8_t> rows, const std::filesystem::path &aside);
    /// Why the table takes no changes; empty when it does.
    [[nodiscard]] std::string readOnlyReason() const;
    /// What opening, and the work since, has found and done that the user should be told; mostly empty.
    [[nodiscard]] std::string notice() const;
    /// What of it is new since the last call; mostly empty.
    [[nodiscard]] std::string takeNotice();

    /// The live records between two bounds of an index (see Index::collect), or of the whole table in the
    /// order of the file when `index` is null, appended to `out`.
    Status liveRecords(Index *index, std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                       std::vector<RecordNumber> &out) const;
    /// The same with the records themselves, one behind the other in `rows`; all as at one moment.
    /// @param mostRows  records for which there is to be room in memory: the first of them come in `rows`,
    /// the numbers of all in `out`.
    Status liveRows(Index *index, std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                    std::vector<RecordNumber> &out, std::vector<std::uint8_t> &rows,
                    std::size_t mostRows = std::numeric_limits<std::size_t>::max()) const;

private:
    explicit Table(std::unique_ptr<TableImpl> impl);
    std::unique_ptr<TableImpl> m_impl;
};

/// The file of table `name` in a folder, found whatever the case of its letters ("AGENDA_N" finds
/// agenda_n.dbf). The one door for every name that comes from outside: separators, "..", drive letters,
/// device names, blanks at the ends and links that lead out of the folder are refused (invalidArgument).
/// Answers notFound when there is no file.
DBASE_EXPORT Result<std::filesystem::path> findTable(const std::filesystem::path &folder,
                                                     std::string_view name);
/// Where a new table of that name goes: NAME.DBF in the folder, after the same checks.
DBASE_EXPORT Result<std::filesystem::path> newTablePath(const std::filesystem::path &folder,
                                                        std::string_view name);

} // namespace dbase
