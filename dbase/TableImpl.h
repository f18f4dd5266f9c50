#pragma once

#include "dbase/DbfFormat.h"
#include "dbase/File.h"
#include "dbase/Journal.h"
#include "dbase/MdxFile.h"
#include "dbase/MemoryIndex.h"
#include "dbase/Table.h"

#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <set>

namespace dbase
{

// Byte ranges far behind the data, the same for every program of the family: nothing is ever written there.
inline constexpr std::uint64_t headerLockOffset = 0xEFFFFFFE;
inline constexpr std::uint64_t changeLockLength = 2;        ///< header and append byte together
inline constexpr std::uint64_t mostRecords = 1'000'000'000; ///< as many lines as the lock bytes have room for
/// Of the journal: held shared for as long as a table is open, exclusive by whoever is alone with its files.
inline constexpr std::uint64_t presenceOffset = headerLockOffset;
/// Of the journal: the gate. Whoever joins those who have the table open, leaves them or wants to be alone
/// holds it meanwhile, so that presence is given up and taken anew with nobody in between: no lock is ever
/// turned into one of the other kind, which shares do not know.
inline constexpr std::uint64_t gateOffset = presenceOffset + 1;
/// A server gives the locks of a workstation that it hears nothing of to others, after 15 s at the earliest.
/// Who has held them for this long looks again before it writes on.
inline constexpr auto trustInLocks = std::chrono::seconds(10);
inline constexpr std::string_view writersRefusal = "otro puesto está escribiendo en la tabla";
/// On a share the journal is emptied when it is longer, so that its header and what follows the last commit
/// are one reading.
inline constexpr std::uint32_t shareJournalRoom = 64 * 1024;
/// What numbers of commits go on by when those in between may have been given out or must not be taken for
/// the next ones.
inline constexpr std::uint64_t numbersLeap = 1'000'000;
/// Beyond the usual patience: another workstation may be putting a large table in order.
inline constexpr auto repairPatience = std::chrono::seconds(2);
/// A record's byte lies below the header's.
[[nodiscard]] inline std::uint64_t recordLockOffset(RecordNumber number)
{
    return headerLockOffset - number;
}

class TableImpl;

/// A tag kept in memory alone: for orders that the file has no tag for, and where the index file cannot be
/// used.
struct MemoryTag {
    std::unique_ptr<MemoryIndex> index;
    std::uint64_t version = 0; ///< of the table when it was built
};

/// Access to a tag of the index file. A question takes the index lock for as long as it lasts, but on a
/// share, where what is kept of the index answers it as long as nobody has written.
class MdxIndex final : public Index
{
public:
    MdxIndex(TableImpl &table, std::size_t number, TagDefinition definition, TagRule rule);
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
    /// collect() for whoever holds the index lock already.
    Status collectLocked(std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                         std::vector<RecordNumber> &out) const;
    [[nodiscard]] std::size_t number() const { return m_number; }
    /// The tags have been read anew, and another object stands for this one's; callers may still hold it.
    void retire() { m_retired = true; }

private:
    /// Whether the file still has the tag in its place.
    [[nodiscard]] bool isThere() const;
    using Move = std::function<void(MdxCursor &)>;
    Result<std::optional<IndexEntry>> ask(const Move &move);
    [[nodiscard]] const MdxTag &tag() const;
    [[nodiscard]] std::vector<std::uint8_t> fileKey(std::span<const std::uint8_t> key) const;
    [[nodiscard]] IndexEntry entryAt(const MdxCursor &cursor) const;
    /// How the entry under the cursor stands to a position.
    [[nodiscard]] int compareKey(const MdxCursor &cursor, std::span<const std::uint8_t> fileKey) const;
    /// Puts a cursor on the entry of a position, or behind where it would stand when it has gone.
    /// @return whether it is there.
    bool goTo(MdxCursor &cursor, const IndexEntry &position) const;

    TableImpl &m_table;
    std::size_t m_number;
    TagDefinition m_definition;
    TagRule m_rule;
    MdxCursor::Path m_lastPlace; ///< of the entry handed out last, which a walk goes on from
    bool m_retired = false;
};

class TableImpl
{
public:
    TableImpl(std::filesystem::path path, OpenOptions options);
    ~TableImpl();
    TableImpl(const TableImpl &) = delete;
    TableImpl &operator=(const TableImpl &) = delete;

    Status open();
    /// Whether another file lies at the table's path by now: whoever packs a table puts one there, perhaps
    /// after this object has opened the old one and before it has joined those who must not be packed away.
    [[nodiscard]] Result<bool> isDisplaced() const;
    /// Whether others have joined; for a table that is not open here.
    [[nodiscard]] Result<bool> hasOthers() const;
    bool wasDisplaced = false; ///< why open() has failed: the table is to be opened once more
    Status close();
    Status readRecord(RecordNumber number, std::span<std::uint8_t> record) const;
    Result<RecordNumber> append(std::span<const std::uint8_t> record);
    Status update(RecordNumber number, std::span<const std::uint8_t> before,
                  std::span<const std::uint8_t> after);
    Status erase(RecordNumber number, std::span<const std::uint8_t> before);
    Status beginGroup();
    Status commitGroup();
    void dropGroup();
    Status takeRecordLock(RecordNumber number, std::chrono::milliseconds timeout);
    void dropRecordLock(RecordNumber number);
    Result<bool> refresh();
    Status addTag(const TagDefinition &tag);
    [[nodiscard]] std::vector<TagDefinition> tags() const;
    [[nodiscard]] Index *index(std::string_view tag);
    Status liveRows(Index *index, std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                    std::vector<RecordNumber> &numbers, std::vector<std::uint8_t> *rows,
                    std::size_t mostRows);
    Status check();
    Status reindex();
    Status pack();
    Status replaceLines(std::span<const std::uint8_t> rows, const std::filesystem::path &aside);
    [[nodiscard]] RecordNumber recordCount() const
    {
        return m_group ? m_group->recordCount : header.recordCount;
    }

    std::filesystem::path path;
    std::string name; ///< for messages
    OpenOptions options;
    TableHeader header;
    bool readOnly = false;
    std::string readOnlyReason;
    std::string notice;      ///< what somebody should know
    std::string freshNotice; ///< the part of it that has not been taken yet
    void addNotice(const std::string &text)
    {
        for (std::string *const told : {&notice, &freshNotice})
            *told += told->empty() ? text : ". " + text;
    }
    bool isNew = false; ///< just created: what an old journal says is not about this table
    std::uint64_t version = 1;
    std::shared_ptr<const bool> alive = std::make_shared<const bool>(true); ///< expires with this object

private:
    friend class MdxIndex;
    friend class ReadLook;
    enum class Held { nothing, reading, changing };

    [[nodiscard]] Status failure(ErrorKind kind, std::string text) const
    {
        return {kind, std::move(text), name};
    }
    [[nodiscard]] std::uint64_t recordOffset(RecordNumber number) const
    {
        return header.headerLength + std::uint64_t{number - 1} * header.recordLength;
    }

    // TableOpen.cpp, TableRecover.cpp, TableTags.cpp
    Status openFiles();
    Status readHeader();
    [[nodiscard]] Result<std::uint64_t> linesInFile() const;
    [[nodiscard]] std::uint64_t linesThatFit(std::uint64_t fileSize) const
    {
        return fileSize < header.headerLength ? 0 : (fileSize - header.headerLength) / header.recordLength;
    }
    void warnOfMount();
    Status joinOthers();
    /// With presence held, which keeps the file in its place from then on.
    Status refuseDisplaced();
    void mapHeader();
    Status openIndex();
    void reloadIndexForReading();
    Status takeToldTags(const Status &why);
    void dropIndexFile();
    void goOnWithoutIndexFile();
    void retireIndexes();
    [[nodiscard]] bool soundForReading();
    [[nodiscard]] bool wasClosedInOrder();
    Status joinAsReader();
    Status readTags();
    [[nodiscard]] std::string whyNotKept(const MdxTag &tag, const Result<TagRule> &rule) const;
    [[nodiscard]] bool keysFit(const MdxTag &tag, const KeyExpression &expression) const;
    [[nodiscard]] KeyType keyTypeOf(const KeyExpression &expression) const;
    [[nodiscard]] MdxTag newTag(const TagDefinition &wanted, const KeyExpression &expression) const;
    Status needTags();
    Status recover();
    Result<std::uint64_t> replayJournal(bool isKnown);
    Status lockOutOthers();
    [[nodiscard]] Result<bool> isCutBack() const;
    Status cutLinesThatNeverCame();
    /// @param before  lines that the header counted when the table was opened.
    void sayWhatIsMissing(RecordNumber before);
    Status closeInOrder();
    [[nodiscard]] bool closedAsSeen() const;
    /// What the journal's header is to say: a table without its index keeps none for the others either.
    [[nodiscard]] RecordNumber indexedRecords() const { return m_mdx ? header.recordCount : 0; }
    [[nodiscard]] std::filesystem::path sibling(const char *extension) const;

    // TableLocks.cpp
    /// How long to wait for a lock: longer where each try takes long, and where those of others do.
    [[nodiscard]] std::chrono::milliseconds patience(std::chrono::milliseconds timeout) const;
    void pauseBetweenTries(LockWait *wait = nullptr);
    Status takeIndexLock();
    Status holdIndex();
    Status settleIndex();
    [[nodiscard]] bool needsCount(bool adding) const;
    /// Whether the blocks of the index that are kept are those of the last commit known.
    [[nodiscard]] bool indexIsKnown() const
    {
        return m_remote && m_journal.isOpen() && m_indexAsOf == m_state.applied;
    }
    [[nodiscard]] bool keepsIndex() const;
    [[nodiscard]] bool isAsKept();
    /// From when it was asked for: the answer may have lain about while the machine slept.
    void noteLockTime()
    {
        m_lockedAt = m_askedAt;
        m_lockedIn = m_askedIn;
    }
    Result<RangeLock> waitForLock(File &file, std::uint64_t offset, std::uint64_t length, File::LockKind kind,
                                  std::chrono::milliseconds timeout, std::string_view refusal);
    Status beginRead();
    void endRead() noexcept;
    /// @param adding  new lines are to come: what stands behind the last one must be known.
    Status beginChange(bool adding = false);
    void endChange() noexcept;
    Status checkNotLockedElsewhere(RecordNumber number, RangeLock &held);
    /// Reads the journal's header; true when a commit of somebody who died waits to be finished.
    Result<bool> lookAtJournal();
    Status lookAtState();
    void noteFirst(std::uint64_t first);
    Status readState(std::span<std::uint8_t> bytes, std::size_t &got) const;
    void takeState(const JournalHeader &state, std::span<const std::uint8_t> bytes);
    [[nodiscard]] File &readLockFile();

    // TableConnection.cpp
    Status reconnect();
    Status openAnew(std::chrono::milliseconds pause);
    [[nodiscard]] bool hasFailed() const;
    [[nodiscard]] bool isInDoubt() const;
    [[nodiscard]] bool wantsReconnecting() const;
    [[nodiscard]] bool mayReconnect() const;
    void noteRenewal(std::uint64_t since) noexcept;
    [[nodiscard]] bool locksAreTrusted() const;
    Result<bool> stillAlone();
    Result<bool> headerIsAsKnown();
    [[nodiscard]] Result<bool> linesAreAsBefore(const Commit &commit) const;
    Status mayWriteOn();
    [[nodiscard]] std::uint64_t firstInDoubt() const;
    Status verdictOfOthers(const Commit &commit);
    Status mendAfterOthers();
    void owe(std::uint64_t since, std::optional<Commit> own);
    Status giveUpOwed();
    void payInPassing();
    void payBeforeLeaving();
    void takeOverOwed();
    Status mendWhatIsOwed();
    Result<bool> goneOnBehindEmptied(std::uint64_t first);
    struct KnownCommits;
    Result<KnownCommits> commitsKnownSince(std::uint64_t since);
    // TableChange.cpp
    Status checkWritable(std::size_t recordSize) const;
    Status updateNow(RecordNumber number, std::span<const std::uint8_t> before,
                     std::span<const std::uint8_t> after);
    Status commit(Commit &commit);
    void dropStagedIndex();
    Status refusedLock(const Status &status);
    [[nodiscard]] bool touchesIndex(const Commit &commit) const;
    Status stageKeys(const Commit &commit);
    // TableUnique.cpp
    struct UniqueChange;
    Status stageUnique(std::size_t number, const Commit &commit);
    Status settleHolder(std::size_t number, const KeyHolder &candidate, UniqueChange &change,
                        std::span<const std::uint8_t> key);
    Status findHeirs(std::size_t number, UniqueChange &change);
    bool findHeirsByTag(std::size_t number, UniqueChange &change);
    Status apply(const Commit &commit);
    Status writeRecords(const Commit &commit);
    Status writeDateAndCount(RecordNumber count);
    // TableJournal.cpp
    struct FoundCommits {
        std::uint64_t from = 0;          ///< where they stand in the journal
        std::vector<std::uint8_t> bytes; ///< as they stand there, whole sectors
        std::vector<Commit> commits;
        std::uint32_t lastLink = 0; ///< of the last one, or of the one in front of them all; 0 not known
    };
    Status openJournal();
    Status startJournal();
    Status writeState(const JournalHeader &state);
    Status syncJournal();
    Status writeJournal(Commit &commit);
    Status makeRoom(std::size_t size);
    Status sayInUse();
    Status writeDurably(std::span<const std::uint8_t> bytes);
    Status writeCommit(File &journal, std::span<const std::uint8_t> bytes);
    Status emptyJournal();
    Status keepPast(JournalHeader &state);
    Status keepPastIfThereIsRoom(JournalHeader &state);
    [[nodiscard]] Result<std::uint64_t> firstInJournal() const;
    Result<FoundCommits> commitsFrom(std::uint64_t from, std::uint64_t after);
    Status bringToDisk(const FoundCommits &found);
    Status setJournalAside(std::string_view why);
    Status wipeJournal();
    [[nodiscard]] Result<TableMark> markOfTable() const;
    [[nodiscard]] Result<bool> areOfThisTable(std::span<const Commit> commits) const;
    Status checkpoint(bool closing);
    // TableReplay.cpp
    Status finishDeadCommits();
    [[nodiscard]] Result<RecordNumber> standsBehind(RecordNumber number, RecordNumber last,
                                                    std::span<const std::uint8_t> line,
                                                    const std::set<RecordNumber> &others) const;
    Status replay(std::span<const Commit> commits);
    Status settleCount(bool withLength);
    [[nodiscard]] bool endMarkFollows(RecordNumber last) const;
    Status readDateAndCount(std::vector<std::uint8_t> &bytes) const;
    [[nodiscard]] Result<RecordNumber> announcedCount() const;
    Status knowOf(RecordNumber number);
    Status afterReading(const MdxCursor &cursor);
    Status poison(const Status &cause);
    void noteCommit(const Commit &commit);

    // TableRead.cpp, TableIndex.cpp
    Status readRows(std::span<const RecordNumber> found, std::vector<RecordNumber> &numbers,
                    std::vector<std::uint8_t> *rows, std::size_t mostRows);
    bool rowsAsKept(const MdxIndex &index, std::span<const std::uint8_t> low,
                    std::span<const std::uint8_t> high, std::vector<RecordNumber> &numbers,
                    std::vector<std::uint8_t> *rows, std::size_t mostRows);
    Result<FileLook> lookAtFile();
    Status scan(RecordNumber from,
                const std::function<void(RecordNumber, std::span<const std::uint8_t>)> &visit,
                RecordNumber upTo = 0) const;
    Result<std::vector<TagKeys>> keysOf(std::span<const MdxTag> tags, std::span<const TagRule> rules) const;
    Result<std::vector<TagKeys>> keysOfAll() const;
    [[nodiscard]] std::vector<TagRule> rules() const;
    [[nodiscard]] std::vector<std::uint8_t> fileKeyOf(std::size_t tag,
                                                      std::span<const std::uint8_t> record) const;
    /// Makes the index right, by looking first and rewriting it only when it is not.
    Status repairIndex();
    Status sayIndexIsUnderWay();
    /// Whether the index file is exactly what the lines say, its blocks used once each.
    [[nodiscard]] bool indexIsRight(std::span<const TagKeys> keys) const;
    // TableRewrite.cpp
    Status whileAlone(const std::function<Status()> &work);
    Status rewriteLines(std::span<const std::uint8_t> rows, const std::filesystem::path &aside);
    Status writeBeside(const std::filesystem::path &written, std::span<const std::uint8_t> dateAndCount,
                       std::span<const std::uint8_t> rows);
    Status copyBeside(const File &from, const std::filesystem::path &to) const;
    Status takePlace(const std::filesystem::path &written);
    Status rewriteIndex(std::vector<MdxTag> tags, const std::vector<TagRule> &rules);
    Status makeIndex(std::span<const TagDefinition> wanted);
    Status makeIndexAnew();
    Status buildMemoryTag(MemoryTag &tag);
    Status addMemoryTag(const TagDefinition &tag);
    void noteStamp(const FileStamp &stamp);
    [[nodiscard]] Status checkPlace();
    void settleWithOthers();
    Result<bool> takeInNews();
    Status refreshMemoryTags(std::uint64_t sameAs);

    File m_dbf;
    File m_journal;
    File m_journalThrough; ///< the same file, for commits that are on disk when they are written
    std::unique_ptr<MdxFile> m_mdx;
    Mapping m_journalMap;
    Mapping m_headerMap; ///< the table's header, which no program ever makes shorter
    bool m_toldOfFullDisk = false;
    std::uint64_t m_journalSize = 0;
    std::vector<std::unique_ptr<MdxIndex>> m_indexes;
    std::vector<std::unique_ptr<MdxIndex>>
        m_retiredIndexes; ///< of before a repair; callers hold pointers to them
    std::vector<MemoryTag> m_memoryTags;

    JournalHeader m_state;
    JournalHeaderBytes m_stateBytes{};       ///< as m_state was read
    std::vector<std::uint8_t> m_commitBytes; ///< last commit as it was written
    /// The journal's header before it was emptied under the locks that are held: others who have gone on from
    /// there are found by it.
    std::optional<JournalHeader> m_emptied;
    /// What may have been written late over something newer, and is still to be put right.
    struct Owed {
        std::uint64_t since = 0; ///< number of the first commit that it may lie over
        std::optional<Commit> own;
        bool wroteHeaderLast = false; ///< nothing of the table was written late
    };
    std::optional<Owed> m_owed;
    struct OwedTables {
        std::mutex mutex; ///< tables are opened on several threads
        std::multimap<std::filesystem::path, Owed> owed;
    };
    static OwedTables &owedTables();
    std::chrono::steady_clock::time_point m_payNext; ///< before that no look tries to pay
    std::chrono::milliseconds m_payPause{0};
    std::optional<TableHeader> m_structure; ///< as it was opened, while the files cannot be opened anew
    bool m_mends = false;                   ///< what is owed, just now
    bool m_hasWritten = false;              ///< or is about to, under the change locks that are held
    bool m_wroteHeaderLast = false;         ///< of the journal
    bool m_foundUnfinished = false;         ///< a dead one's commit stood in the journal when they were taken
    bool m_isSetBack = false;               ///< the journal's header is older than the commits in it
    std::uint64_t m_underWay = 0;           ///< number of the commit that is written under these locks
    std::uint32_t m_linkUnderWay = 0;       ///< its link
    std::uint64_t m_seenCommit = 0;         ///< last one that refresh() knows of
    FileStamp m_stamp;
    FileIdentity m_identity;                               ///< of the table's file, when it was opened
    std::chrono::steady_clock::time_point m_stampSince;    ///< when m_stamp was first met
    std::chrono::steady_clock::time_point m_lookedClosely; ///< when refresh() last compared the lines
    std::chrono::steady_clock::time_point m_commitMet;     ///< when m_seenCommit last changed
    std::chrono::nanoseconds m_placeSeen{
        -1};                      ///< in time with sleep: when the files were last found at their place
    bool m_foreignChange = false; ///< of a program that does not know the journal, which is to be emptied
    bool m_ownChange = false;     ///< since the stamp was taken
    std::chrono::steady_clock::time_point m_settled; ///< when the journal was last emptied for that
    bool m_stampDoubtful = true; ///< the file changed so lately that an equal stamp proves nothing
    std::vector<std::uint8_t> m_dateAndCount;
    std::uint64_t m_reservedUpTo = 0;
    bool m_remote = false;
    std::chrono::nanoseconds m_roundTrip{}; ///< of a question to the machine with the files, as of late
    std::chrono::nanoseconds m_askedAt{};   ///< when a lock was last asked for, on a share
    std::chrono::nanoseconds m_lockedAt{};  ///< when the change locks were taken, sleep included
    std::uint64_t m_openedIn = 0;           ///< sessionsRenewed() before the files were opened,
    std::uint64_t m_askedIn = 0;            ///< before a lock was last asked for,
    std::uint64_t m_lockedIn = 0;           ///< and before the change locks were taken; on a share
    std::optional<std::chrono::steady_clock::time_point> m_reconnected; ///< when it was last tried
    std::chrono::milliseconds m_renewalPause{0}; ///< between reopenings for renewals alone
    bool m_isInTheWay = false;                   ///< what a renewal has locked twice may keep others out
    bool m_opensAnew = false;
    bool m_holdsLine = false;        ///< a line's lock that would go with the file, and nobody would know
    std::uint64_t m_refusedAsOf = 0; ///< last commit when a lock was first refused
    std::chrono::steady_clock::time_point m_refusedSince;
    std::optional<std::uint64_t> m_indexAsOf; ///< commit whose index the kept blocks are
    std::optional<std::uint64_t> m_countAsOf; ///< commit whose number of lines the header here has
    bool m_indexRewritten = false;            ///< others are to forget the blocks that they keep
    bool m_hasChanged = false;
    bool m_isAlone = false; ///< behind the gate, for as long as nobody else may have the table open
    bool m_opened = false;  ///< a table that was refused is left alone at the end, too

    Held m_held = Held::nothing;
    int m_holders = 0;
    RangeLock m_dbfLock;
    RangeLock m_mdxLock;
    bool m_indexHeld = false; ///< and looked at, for the change under way
    RangeLock m_presence;
    std::set<RecordNumber> m_locked;
    std::optional<Commit> m_group;
    mutable RecordNumber m_lastRead = 0; ///< line last read under its lock or the change locks, 0 for none
    mutable std::uint64_t m_lastReadAsOf = 0; ///< last commit known then
    mutable std::vector<std::uint8_t> m_lastBytes;
    Status m_poison;
    bool m_indexSuspect = false;
    std::vector<TagDefinition> m_toldTags; ///< of an index file that cannot be read as it is
    bool m_indexUnused = false;            ///< there is an index file, but its tags are not believed
    std::minstd_rand m_random;
};

/// Something is so for as long as this lives.
class FlagGuard
{
public:
    explicit FlagGuard(bool &flag)
        : m_flag(flag)
    {
        m_flag = true;
    }
    ~FlagGuard() { m_flag = false; }
    FlagGuard(const FlagGuard &) = delete;
    FlagGuard &operator=(const FlagGuard &) = delete;

private:
    bool &m_flag;
};

/// The index lock for reading, with everything finished that a dead writer has left.
class ReadLook
{
public:
    explicit ReadLook(TableImpl &table)
        : m_table(table)
        , m_status(table.beginRead())
    {
    }
    ~ReadLook()
    {
        if (m_status.ok())
            m_table.endRead();
    }
    ReadLook(const ReadLook &) = delete;
    ReadLook &operator=(const ReadLook &) = delete;
    [[nodiscard]] const Status &status() const { return m_status; }

private:
    TableImpl &m_table;
    Status m_status;
};

/// The date for "last update" in headers: the machine's own clock, as every program of the family writes it.
[[nodiscard]] Date today();
[[nodiscard]] bool sameText(std::string_view a, std::string_view b);

} // namespace dbase
