// Opening and closing a table: what was left unfinished is finished here, by whoever is alone with the files.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <cctype>

namespace dbase
{

namespace
{

constexpr std::uint64_t presenceOffset = headerLockOffset;
/// Beyond the usual patience: another workstation may be putting a large table in order.
constexpr auto repairPatience = std::chrono::seconds(2);
constexpr std::uint64_t indexFlagOffset = 28;
constexpr std::uint64_t largestJournal =
    std::uint64_t{256} * 1024 * 1024;                ///< no commit of ours is half as long
constexpr std::uint64_t mostRecords = 1'000'000'000; ///< as many lines as the lock bytes have room for

bool sameName(const std::filesystem::path &a, const std::filesystem::path &b)
{
    return sameText(displayName(a), displayName(b));
}

} // namespace

Date today()
{
    const auto now = std::chrono::system_clock::now();
    const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(now)};
    return {static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day()))};
}

bool sameText(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::toupper(x) == std::toupper(y); });
}

TableImpl::TableImpl(std::filesystem::path tablePath, OpenOptions openOptions)
    : path(std::move(tablePath))
    , name(displayName(path))
    , options(std::move(openOptions))
    , m_random(std::random_device{}())
{
}

TableImpl::~TableImpl()
{
    try {
        dropGroup();
        while (!m_locked.empty())
            dropRecordLock(*m_locked.begin());
        if (m_opened && m_poison.ok() && !readOnly && m_journal.isOpen() && m_held == Held::nothing)
            closeInOrder();
    } catch (...) {
        // No memory left: the system frees the locks, and the next opener finds the journal open and looks
        // for itself.
        m_opened = false;
    }
}

/// The file of that extension beside the table, found whatever its case; where it would go when there is
/// none.
std::filesystem::path TableImpl::sibling(const char *extension) const
{
    std::filesystem::path wanted = path;
    const std::string own = displayName(path.extension());
    std::string spelled = extension;
    if (own == ".dbf")
        std::transform(spelled.begin(), spelled.end(), spelled.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    wanted.replace_extension(spelled);
    std::error_code error;
    if (std::filesystem::exists(wanted, error))
        return wanted;
    for (std::filesystem::directory_iterator
             entry(path.parent_path().empty() ? "." : path.parent_path(), error),
         end;
         !error && entry != end; entry.increment(error)) {
        if (sameName(entry->path().filename(), wanted.filename()))
            return entry->path();
    }
    return wanted;
}

Status TableImpl::open()
{
    Status status = openFiles();
    if (!status.ok())
        return status;
    noteStamp();
    m_seenCommit = m_state.applied;
    m_stampDoubtful = false; // nothing has been shown yet that could be out of date
    if (readOnly && m_mdx && !soundForReading())
        dropIndexFile();
    status = needTags();
    m_opened = status.ok();
    return status;
}

/// Whether an index that cannot be repaired may be believed.
bool TableImpl::soundForReading()
{
    std::vector<std::uint8_t> bytes(journalSector);
    if (m_journal.isOpen()) {
        const auto got = m_journal.readAt(0, bytes);
        const auto state =
            got.ok() && got.value() == bytes.size() ? decodeJournalHeader(bytes) : std::nullopt;
        if (state) {
            m_state = *state;
            m_stateBytes = bytes;
            if (closedAsSeen())
                return true;
        }
    }
    const auto keys = keysOfAll();
    return keys.ok() && indexIsRight(keys.value());
}

Status TableImpl::openFiles()
{
    readOnly = options.readOnly;
    readOnlyReason = "la tabla está abierta solo para lectura";
    auto file = File::open(path, readOnly ? File::Mode::readOnly : File::Mode::readWrite);
    if (!file.ok() && file.status().kind() == ErrorKind::readOnly && !readOnly) {
        readOnly = true;
        file = File::open(path, File::Mode::readOnly);
    }
    if (!file.ok())
        return file.status();
    m_dbf = std::move(file).value();
    m_remote = m_dbf.isRemote();
    Status status = readHeader();
    if (status.ok())
        status = openJournal();
    if (status.ok())
        status = openIndex();
    if (status.ok() && readOnly && m_journal.isOpen()) {
        // Somebody may have made it just now and not have got further; a reader can do without.
        std::vector<std::uint8_t> bytes(journalSector);
        const auto got = m_journal.readAt(0, bytes);
        if (!got.ok() || got.value() != bytes.size() || !decodeJournalHeader(bytes))
            m_journal = File();
    }
    if (status.ok() && !readOnly)
        status = joinOthers();
    return status.ok() ? checkCount() : status;
}

/// A header that promises more lines than the file holds: nobody knows which of them are missing.
Status TableImpl::checkCount() const
{
    const auto stamp = m_dbf.stamp();
    if (!stamp.ok())
        return stamp.status();
    const std::uint64_t size = stamp.value().size;
    const std::uint64_t inFile =
        size < header.headerLength ? 0 : (size - header.headerLength) / header.recordLength;
    if (inFile >= header.recordCount)
        return {};
    return failure(ErrorKind::damaged, "la tabla dice tener " + std::to_string(header.recordCount) +
                                           " líneas y el fichero solo contiene " + std::to_string(inFile));
}

Status TableImpl::readHeader()
{
    const auto named = [this](const Status &status) {
        return Status(status.kind(), status.text(), name, status.offset());
    };
    std::vector<std::uint8_t> bytes(dbfFixedHeader + 1);
    auto got = m_dbf.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    const auto length = dbfHeaderLength(bytes);
    if (!length.ok())
        return named(length.status());
    bytes.resize(length.value());
    got = m_dbf.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    auto decoded = decodeDbfHeader(bytes);
    if (!decoded.ok())
        return named(decoded.status());
    header = std::move(decoded).value();
    m_dateAndCount.assign(bytes.begin() + dbfDateOffset, bytes.begin() + dbfDateOffset + dbfDateAndCount);
    return {};
}

// ---------------------------------------------------------------------------------------------------------------------
// The journal

Status TableImpl::openJournal()
{
    const std::filesystem::path file = sibling(".JNL");
    auto opened = File::open(file, readOnly ? File::Mode::readOnly : File::Mode::readWrite);
    if (!opened.ok() && opened.status().kind() == ErrorKind::notFound && !readOnly)
        opened = File::open(file, File::Mode::createNew);
    if (!opened.ok() && opened.status().kind() == ErrorKind::invalidArgument) // made by another one just now
        opened = File::open(file, File::Mode::readWrite);
    if (!opened.ok()) {
        if (opened.status().kind() == ErrorKind::inputOutput)
            return opened.status();
        if (!readOnly)
            readOnlyReason = "no se puede escribir en la carpeta de la tabla";
        readOnly = true; // without a journal nothing is written
        return {};
    }
    m_journal = std::move(opened).value();
    return {};
}

/// A journal with nothing in it. Its numbers begin at the clock, beyond any that an old journal of the place
/// may hold.
Status TableImpl::startJournal()
{
    m_state = {};
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    m_state.base = static_cast<std::uint64_t>(std::chrono::nanoseconds(now).count());
    m_state.applied = m_state.base;
    const std::vector<std::uint8_t> empty(journalSize,
                                          0); // written out, so that later flushes have no lengths to save
    Status status = m_journal.writeAt(0, empty);
    if (status.ok())
        status = writeState();
    if (status.ok())
        status = m_journal.sync();
    return status.ok() ? syncFolder(path.parent_path()) : status;
}

/// Joins the programs that have the table open; when there are none, first puts everything in order.
Status TableImpl::joinOthers()
{
    const auto deadline = std::chrono::steady_clock::now() + options.lockTimeout + repairPatience;
    for (;;) {
        const auto alone = m_journal.tryLock(presenceOffset, 1, File::LockKind::exclusive);
        if (!alone.ok())
            return alone.status();
        if (alone.value()) {
            m_presence = RangeLock(m_journal, presenceOffset, 1);
            const Status status = recover();
            if (!status.ok())
                return status;
        }
        const auto joined = m_presence.held()
                                ? m_journal.convertLock(presenceOffset, 1, File::LockKind::shared)
                                : m_journal.tryLock(presenceOffset, 1, File::LockKind::shared);
        if (!joined.ok())
            return joined.status();
        if (joined.value()) {
            if (!m_presence.held())
                m_presence = RangeLock(m_journal, presenceOffset, 1);
            break;
        }
        if (std::chrono::steady_clock::now() > deadline)
            return failure(ErrorKind::locked, "otro puesto está arreglando la tabla");
        if (const auto pause = waitForLock(m_journal, presenceOffset, 1, File::LockKind::shared,
                                           std::chrono::milliseconds(200), "");
            !pause.ok() && pause.status().kind() != ErrorKind::locked)
            return pause.status();
    }
    const auto stamp = m_journal.stamp();
    if (!stamp.ok())
        return stamp.status();
    m_journalSize = std::max<std::uint64_t>(stamp.value().size, journalSize);
    if (!m_remote && stamp.value().size >= journalSector) {
        if (auto mapping = Mapping::of(m_journal, stamp.value().size); mapping.ok())
            m_journalMap = std::move(mapping).value();
    }
    mapHeader();
    return lookAtJournal().status();
}

void TableImpl::mapHeader()
{
    m_headerMap = Mapping();
    if (m_remote)
        return;
    if (auto mapping = Mapping::of(m_dbf, header.headerLength); mapping.ok())
        m_headerMap = std::move(mapping).value();
}

/// Whether the last one to close did so in order and nobody has touched the files since.
bool TableImpl::closedAsSeen() const
{
    if (!m_state.closedInOrder || m_state.tableRecords != header.recordCount)
        return false;
    const auto table = m_dbf.stamp();
    if (!table.ok() || table.value() != FileStamp{m_state.tableSize, m_state.tableTime})
        return false;
    if (!m_mdx)
        return m_state.indexSize == 0 && !header.hasProductionIndex;
    const auto index = m_mdx->file().stamp();
    return index.ok() && index.value() == FileStamp{m_state.indexSize, m_state.indexTime} &&
           !m_indexSuspect && m_mdx->languageDriver() == header.languageDriver;
}

/// Alone with the files: finishes what dead writers have left, and makes the index right.
Status TableImpl::recover()
{
    std::vector<std::uint8_t> bytes(journalSector);
    auto got = m_journal.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    const auto state = isNew ? std::nullopt : decodeJournalHeader(bytes);
    if (state) {
        m_state = *state;
        m_stateBytes = bytes;
        if (closedAsSeen())
            return {};
    } else if (const Status status = startJournal(); !status.ok()) {
        return status;
    }
    // Programs that know nothing of the journal may be at work: the locks that they know keep them out.
    auto table = waitForLock(m_dbf, headerLockOffset, changeLockLength, File::LockKind::exclusive,
                             options.lockTimeout, "otro programa está escribiendo en la tabla");
    if (!table.ok())
        return table.status();
    if (m_mdx) {
        auto index = waitForLock(m_mdx->file(), headerLockOffset, 1, File::LockKind::exclusive,
                                 options.lockTimeout, "otro programa está usando el índice");
        if (!index.ok())
            return index.status();
        m_mdxLock = std::move(index).value();
    }
    m_dbfLock = std::move(table).value();
    m_held = Held::changing;
    m_holders = 1;

    const auto size = m_journal.stamp();
    if (!size.ok()) {
        endChange();
        return size.status();
    }
    bytes.resize(std::min<std::uint64_t>(size.value().size, largestJournal));
    got = m_journal.readAt(0, bytes);
    bytes.resize(got.ok() ? got.value() : 0);
    std::vector<Commit> commits;
    std::size_t at = journalSector;
    while (at + journalSector <= bytes.size()) {
        auto one = decodeCommit(std::span(bytes).subspan(at), m_state.base + commits.size() + 1,
                                header.recordLength);
        if (!one)
            break;
        at += commitRoom(encodeCommit(*one, header.recordLength).size());
        commits.push_back(std::move(*one));
    }
    Status status = got.status();
    if (status.ok() && !commits.empty()) {
        // That they can be read does not mean that they are on disk: a cut during the repair must find them
        // there.
        status = m_journal.writeAt(0, std::span(bytes).first(at));
        if (status.ok())
            status = m_journal.sync();
        if (status.ok())
            status = replay(commits);
    }
    if (status.ok())
        status = settleCount(true);
    if (status.ok())
        status = repairIndex();
    if (status.ok() && (!commits.empty() || !m_state.closedInOrder)) {
        m_state.applied = std::max(m_state.applied, m_state.base + commits.size());
        status = checkpoint(false);
    }
    endChange();
    return status;
}

/// Under the change locks: table and index safely on disk, the journal empty.
Status TableImpl::checkpoint(bool closing)
{
    Status status = m_dbf.sync();
    if (status.ok() && m_mdx)
        status = m_mdx->file().sync();
    if (!status.ok())
        return poison(status);
    JournalHeader state = m_state;
    state.base = m_state.applied;
    state.tail = journalSector;
    state.indexedRecords = header.recordCount;
    state.closedInOrder = closing;
    state.holdsDurable = false;
    if (closing) {
        const auto table = m_dbf.stamp();
        const auto index = m_mdx ? m_mdx->file().stamp() : Result<FileStamp>(FileStamp{});
        if (!table.ok() || !index.ok())
            return table.ok() ? index.status() : table.status();
        state.tableSize = table.value().size;
        state.tableTime = table.value().modified;
        state.indexSize = index.value().size;
        state.indexTime = index.value().modified;
        state.tableRecords = header.recordCount;
    }
    m_state = state;
    status = writeState();
    // The old commits are about to be written over; the new base must not get lost behind them.
    return status.ok() ? m_journal.sync() : status;
}

/// The last one to leave says so, and spares the next one the search.
void TableImpl::closeInOrder()
{
    const auto last = m_journal.convertLock(presenceOffset, 1, File::LockKind::exclusive);
    if (!last.ok() || !last.value())
        return;
    if (const auto unfinished = lookAtJournal(); !unfinished.ok() || unfinished.value())
        return;
    if (m_state.closedInOrder && closedAsSeen())
        return;
    options.lockTimeout = std::chrono::milliseconds(100); // closing keeps nobody waiting
    if (!beginChange().ok())
        return;
    const Status ignored =
        checkpoint(true); // on failure the next opener finds the journal open and looks for itself
    endChange();
    static_cast<void>(ignored);
}

// ---------------------------------------------------------------------------------------------------------------------
// The index file

Status TableImpl::openIndex()
{
    const std::filesystem::path file = sibling(".MDX");
    auto opened = MdxFile::open(file, readOnly ? File::Mode::readOnly : File::Mode::readWrite);
    if (!opened.ok()) {
        const ErrorKind kind = opened.status().kind();
        if (kind == ErrorKind::inputOutput)
            return opened.status();
        m_indexSuspect = kind != ErrorKind::notFound;
        return {};
    }
    m_mdx = std::move(opened).value();
    auto lock = waitForLock(m_mdx->file(), headerLockOffset, 1, File::LockKind::shared, options.lockTimeout,
                            "otro puesto está escribiendo en el índice");
    if (!lock.ok())
        return lock.status();
    m_mdxLock = std::move(lock).value(); // a member, so that it never outlives the file
    Status status = m_mdx->load();
    if (status.kind() == ErrorKind::damaged || status.kind() == ErrorKind::unsupported) {
        m_indexSuspect = true;
        dropIndexFile();
        status = {};
    } else if (status.ok()) {
        status = readTags();
    }
    m_mdxLock.release();
    return status;
}

/// The table goes on without its index file.
void TableImpl::dropIndexFile()
{
    m_mdxLock.release();
    m_indexes.clear();
    m_mdx.reset();
}

/// Whether a tag's keys have the kind and length that its expression gives.
bool TableImpl::keysFit(const MdxTag &tag, const KeyExpression &expression) const
{
    return tag.keyType == keyTypeOf(expression) &&
           (tag.keyType != KeyType::character || static_cast<int>(expression.keyLength()) == tag.keyLength);
}

/// A lone date or number is kept as such; everything else as text.
KeyType TableImpl::keyTypeOf(const KeyExpression &expression) const
{
    const std::vector<int> &used = expression.fieldsUsed();
    if (used.size() != 1)
        return KeyType::character;
    const FieldDefinition &field = header.fields[static_cast<std::size_t>(used[0])];
    if (!sameText(field.name, expression.text()))
        return KeyType::character;
    switch (field.type) {
    case FieldType::date:
        return KeyType::date;
    case FieldType::numeric:
    case FieldType::floating:
        return KeyType::numeric;
    default:
        return KeyType::character;
    }
}

Status TableImpl::readTags()
{
    m_indexes.clear();
    for (std::size_t number = 0; number < m_mdx->tags().size(); ++number) {
        const MdxTag &tag = m_mdx->tags()[number];
        auto expression = KeyExpression::parse(tag.expression, header.fields, header.codePage);
        const char *why = !expression.ok()      ? "su expresión no se sabe calcular"
                          : !tag.filter.empty() ? "solo contiene las líneas de un filtro"
                          : tag.unique          ? "no admite claves repetidas"
                          : tag.descending      ? "es descendente"
                                                : nullptr;
        if (!why && !keysFit(tag, expression.value()))
            why = "sus claves no son las de su expresión";
        if (why) {
            // Writing would leave the tag out of date, and other programs trust it.
            readOnly = true;
            readOnlyReason = "el orden «" + tag.name + "» del índice no se puede mantener: " + why;
            dropIndexFile();
            return {};
        }
        m_indexes.push_back(std::make_unique<MdxIndex>(
            *this, number, TagDefinition{tag.name, tag.expression, false}, std::move(expression).value()));
    }
    return {};
}

/// Makes the tags that the opener counts on, in the index file where it can be written and in memory
/// elsewhere.
Status TableImpl::needTags()
{
    std::vector<TagDefinition> missing;
    for (const TagDefinition &wanted : options.tags) {
        Index *const known = index(wanted.name);
        if (!known) {
            missing.push_back(wanted);
        } else if (!sameText(known->expression().text(), wanted.expression)) {
            // The file's tag of that name orders by something else: the caller gets what it asked for, in
            // memory.
            if (const Status status = addMemoryTag(wanted); !status.ok())
                return status;
        }
    }
    if (missing.empty())
        return {};
    if (!readOnly)
        return makeIndex(missing);
    for (const TagDefinition &wanted : missing) {
        if (const Status status = addMemoryTag(wanted); !status.ok())
            return status;
    }
    return {};
}

Status TableImpl::makeIndex(std::span<const TagDefinition> wanted)
{
    if (const Status status = beginChange(); !status.ok())
        return status;
    Status status;
    if (!m_mdx) {
        const std::filesystem::path file = sibling(".MDX");
        auto made = MdxFile::open(file, File::Mode::createNew);
        if (!made.ok() && made.status().kind() == ErrorKind::invalidArgument) {
            // There is one already: it is written anew in its place, others may have it open.
            made = MdxFile::open(file, File::Mode::readWrite);
        }
        if (made.ok()) {
            m_mdx = std::move(made).value();
            auto lock = waitForLock(m_mdx->file(), headerLockOffset, 1, File::LockKind::exclusive,
                                    options.lockTimeout, "otro programa está usando el índice");
            status = lock.status();
            if (lock.ok())
                m_mdxLock = std::move(lock).value();
        } else {
            status = made.status();
        }
    }
    std::vector<MdxTag> tags;
    std::vector<KeyExpression> expressions;
    if (status.ok()) {
        tags = m_mdx->tags();
        for (const auto &known : m_indexes)
            expressions.push_back(known->expression());
    }
    for (const TagDefinition &one : wanted) {
        auto expression = KeyExpression::parse(one.expression, header.fields, header.codePage);
        if (!expression.ok()) {
            status = failure(expression.status().kind(), expression.status().text());
            break;
        }
        MdxTag tag;
        tag.name = one.name;
        tag.expression = one.expression;
        tag.keyType = keyTypeOf(expression.value());
        tag.keyLength = tag.keyType == KeyType::date      ? 8
                        : tag.keyType == KeyType::numeric ? 12
                                                          : static_cast<int>(expression.value().keyLength());
        tag.itemLength = mdxItemLength(tag.keyLength);
        tag.maxItems = mdxItemsPerBlock(tag.itemLength);
        tags.push_back(std::move(tag));
        expressions.push_back(std::move(expression).value());
    }
    if (status.ok() && tags.size() > static_cast<std::size_t>(mdxMaxTags))
        status = failure(ErrorKind::full, "el índice no admite más órdenes");
    if (status.ok())
        status = rewriteIndex(std::move(tags), std::move(expressions));
    if (status.ok() && !header.hasProductionIndex) {
        const std::vector<std::uint8_t> flag{1};
        status = m_dbf.writeAt(indexFlagOffset, flag);
        header.hasProductionIndex = status.ok();
    }
    if (status.ok())
        status = syncFolder(path.parent_path());
    if (status.ok())
        status = checkpoint(false);
    endChange();
    return status;
}

// ---------------------------------------------------------------------------------------------------------------------
// Packing

Status TableImpl::pack()
{
    if (readOnly)
        return failure(ErrorKind::readOnly, readOnlyReason);
    const std::string refusal = "otro puesto tiene abierta la tabla";
    const auto alone = m_journal.convertLock(presenceOffset, 1, File::LockKind::exclusive);
    if (!alone.ok())
        return alone.status();
    if (!alone.value())
        return failure(ErrorKind::locked, refusal);
    Status status = beginChange();
    if (status.ok()) {
        // Programs that do not know the journal show themselves by the lines that they hold.
        auto lines = waitForLock(m_dbf, headerLockOffset - mostRecords, mostRecords,
                                 File::LockKind::exclusive, options.lockTimeout, refusal);
        status = lines.ok() ? packAlone() : lines.status();
        endChange();
    }
    const auto joined = m_journal.convertLock(presenceOffset, 1, File::LockKind::shared);
    return status.ok() ? joined.status() : status;
}

/// A new file beside the old one, put in its place in one step: a cut leaves the one or the other.
Status TableImpl::packAlone()
{
    Status status = checkpoint(false);
    if (!status.ok())
        return status;
    std::filesystem::path packed = path;
    packed += ".PCK";
    std::error_code error;
    std::filesystem::remove(packed, error); // of a pack that was cut
    auto made = File::open(packed, File::Mode::createNew);
    if (!made.ok())
        return made.status();
    File out = std::move(made).value();
    std::vector<std::uint8_t> bytes(header.headerLength);
    const auto got = m_dbf.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    RecordNumber kept = 0;
    status = scan(1, [&](RecordNumber /*number*/, std::span<const std::uint8_t> record) {
        if (isDeleted(record))
            return;
        bytes.insert(bytes.end(), record.begin(), record.end());
        ++kept;
    });
    if (!status.ok())
        return status;
    bytes.push_back(dbfEndMark);
    const auto dateAndCount = encodeDateAndCount(today(), kept);
    std::copy(dateAndCount.begin(), dateAndCount.end(), bytes.begin() + dbfDateOffset);
    status = out.writeAt(0, bytes);
    if (status.ok())
        status = out.sync();
    if (!status.ok()) {
        std::filesystem::remove(packed, error);
        return status;
    }
    out = File(); // closed: an open file cannot take another one's place everywhere
    m_dbfLock.release();
    m_headerMap = Mapping();
    m_dbf = File();
    std::filesystem::rename(packed, path, error);
    auto reopened = File::open(path, File::Mode::readWrite);
    if (error || !reopened.ok())
        return poison(failure(ErrorKind::inputOutput, "la tabla compactada no ha podido ocupar su sitio"));
    m_dbf = std::move(reopened).value();
    mapHeader();
    m_dateAndCount = dateAndCount;
    header.recordCount = kept;
    m_reservedUpTo = 0;
    ++version;
    status = syncFolder(path.parent_path());
    if (status.ok() && m_mdx)
        status = repairIndex();
    return status.ok() ? checkpoint(false) : status;
}

} // namespace dbase
