// The journal of an open table: its header, the commits in it, and emptying it. Its layout stands in
// Journal.h.

#include "dbase/FolderNames.h"
#include "dbase/TableImpl.h"

#include <algorithm>
#include <utility>

namespace dbase
{

namespace
{

constexpr std::size_t wipedAtOnce = std::size_t{64} * 1024;

} // namespace

Status TableImpl::openJournal()
{
    const std::filesystem::path file = sibling(".JNL");
    auto opened = File::open(file, readOnly ? File::Mode::readOnly : File::Mode::readWrite);
    const bool isMissing = opened.status().kind() == ErrorKind::notFound;
    if (isMissing && !readOnly) {
        opened = File::createBeside(m_dbf, file);
        if (opened.ok())
            FolderNames::ofProgram().made(file);
    }
    if (!opened.ok() && opened.status().kind() == ErrorKind::invalidArgument) // made by another one just now
        opened = File::open(file, File::Mode::readWrite);
    if (!opened.ok()) {
        if (opened.status().kind() == ErrorKind::inputOutput)
            return opened.status();
        if (!readOnly)
            readOnlyReason = isMissing && opened.status().kind() == ErrorKind::readOnly
                                 ? "no se puede escribir en la carpeta de la tabla"
                                 : "no se puede usar su diario, " + displayName(file.filename()) + ": " +
                                       opened.status().text();
        // Without a journal nothing is written; one that can be read still tells who has the table open.
        if (!std::exchange(readOnly, true))
            opened = File::open(file, File::Mode::readOnly);
        if (!opened.ok())
            return {};
    }
    m_journal = std::move(opened).value();
    if (!options.durable || readOnly)
        return {};
    // Where there is none, or another file has come in between, commits are written and then flushed.
    auto through = File::open(file, File::Mode::writeThrough);
    const auto same = through.ok() ? through.value().isSameAs(m_journal) : through.status();
    if (same.ok() && same.value())
        m_journalThrough = std::move(through).value();
    return {};
}

/// A journal with nothing in it. Its numbers begin at the clock, beyond any that an old journal of the place
/// may hold.
Status TableImpl::startJournal()
{
    JournalHeader state;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    state.base = static_cast<std::uint64_t>(std::chrono::nanoseconds(now).count());
    state.applied = state.base;
    state.past.forget(state.base + 1);
    const std::vector<std::uint8_t> empty(journalSize,
                                          0); // written out, so that later flushes have no lengths to save
    Status status = m_journal.writeAt(0, empty);
    if (status.ok())
        status = m_journal.truncate(journalSize);
    if (status.ok())
        status = writeState(state);
    if (status.ok())
        status = syncJournal();
    return status.ok() ? syncFolder(path.parent_path()) : status;
}

/// The header as it is to be from now on. After a failure it is the old one still; where that cannot be made
/// sure, the failure is final: what others and this object believe of the journal would part.
Status TableImpl::writeState(const JournalHeader &state)
{
    const auto bytes = encodeJournalHeader(state);
    const std::uint64_t since = firstInDoubt();
    m_hasWritten = true;
    m_wroteHeaderLast = true;
    if (const Status status = m_journal.writeAt(0, bytes); !status.ok()) {
        // Late it may have come over that of others, and the old one must not.
        if (locksAreTrusted())
            return m_journal.writeAt(0, m_stateBytes).ok() ? status : poison(status);
        owe(since, {});
        return poison(status);
    }
    m_state = state;
    m_isSetBack = false;
    m_stateBytes = bytes;
    return {};
}

Status TableImpl::syncJournal()
{
    const Status status = m_journal.sync();
    return status.ok() ? status : poison(status); // what has reached the disk is not known
}

// ---------------------------------------------------------------------------------------------------------------------
// Commits

Status TableImpl::writeJournal(Commit &commit)
{
    leaveRoomForLink(commit);
    Status status = makeRoom((commitSize(commit) + journalSector - 1) / journalSector * journalSector);
    commit.number = m_state.applied + 1; // which an emptied journal may have moved on
    commit.follows = m_state.lastLink;
    m_underWay = commit.number;
    encodeCommit(commit, header.recordLength, m_commitBytes);
    const std::span<const std::uint8_t> bytes = m_commitBytes;
    m_linkUnderWay = linkOf(bytes);
    if (status.ok() && m_state.closedInOrder)
        status = sayInUse();
    if (status.ok())
        status = mayWriteOn(); // what has been done until here may have taken long
    if (status.ok())
        status = options.durable ? writeDurably(bytes) : writeCommit(m_journal, bytes);
    if (!status.ok())
        return status;
    m_state.holdsDurable = m_state.holdsDurable || options.durable;
    m_state.onDisk = options.durable;
    m_state.tail += static_cast<std::uint32_t>(bytes.size());
    return {};
}

/// Room for a commit behind the others, on the disk as well, or in an emptied journal.
Status TableImpl::makeRoom(std::size_t size)
{
    // Fewer lines than were on disk for sure: another program has packed the table, and what the journal says
    // is about lines that have other numbers now.
    const bool isAboutOthers = header.recordCount < m_state.tableRecords;
    const bool isLong = m_remote && m_state.tail > journalSector && m_state.tail + size > shareJournalRoom;
    if (isAboutOthers || isLong || m_state.tail + size > m_journalSize) {
        if (const Status status = isAboutOthers ? checkpoint(false) : emptyJournal(); !status.ok())
            return status;
    }
    const std::uint64_t end = m_state.tail + size;
    if (end <= m_journalSize)
        return {};
    if (const Status status = m_journal.reserve(m_journalSize, end - m_journalSize); !status.ok())
        return status;
    m_journalSize = end;
    return {};
}

/// Before the first change, also by a table that flushes nothing else: after a power cut the next opener must
/// not believe in an index that was only half written.
Status TableImpl::sayInUse()
{
    JournalHeader state = m_state;
    state.closedInOrder = false;
    state.onDisk = false;
    const Status status = writeState(state);
    return status.ok() ? syncJournal() : status;
}

/// Writes a commit and brings it to the disk, with everything that it goes on from. As a rule that is there
/// already, and the commit's own bytes are all that the disk has to be given.
Status TableImpl::writeDurably(std::span<const std::uint8_t> bytes)
{
    const bool isAlone = m_state.onDisk && m_journalThrough.isOpen();
    const Status status = writeCommit(isAlone ? m_journalThrough : m_journal, bytes);
    return status.ok() && !isAlone ? syncJournal() : status;
}

/// @return full, and any failure on a disk of this machine's memory, with nothing of it there.
Status TableImpl::writeCommit(File &journal, std::span<const std::uint8_t> bytes)
{
    const Status status = journal.writeAt(m_state.tail, bytes);
    const bool goesThrough = m_remote || &journal == &m_journalThrough;
    if (status.ok() || !goesThrough)
        return status;
    // The commit may stand there whole, on disk or not: others would finish it. On a full disk it can still
    // be taken back, if nobody else has written there since.
    const std::vector<std::uint8_t> nothing(journalSector, 0);
    const bool undone =
        status.kind() == ErrorKind::full && locksAreTrusted() && journal.writeAt(m_state.tail, nothing).ok();
    if (!undone && m_remote)
        owe(firstInDoubt(), {});
    return undone ? status : poison(status);
}

/// Begins the journal anew. Where nothing in it was promised to outlive a power cut, nobody waits for the
/// disk.
Status TableImpl::emptyJournal()
{
    if (m_state.holdsDurable || options.durable)
        return checkpoint(false);
    JournalHeader state = m_state;
    Status status = keepPastIfThereIsRoom(state);
    if (status.ok())
        status = mayWriteOn();
    if (!status.ok())
        return status;
    state.base = state.applied;
    state.tail = journalSector;
    state.onDisk = false;
    state.mark.lastLine = 0; // what has been made of it is not told any more
    m_emptied = m_state;
    status = writeState(state);
    return status.ok() ? mayWriteOn() : status; // it may have taken long
}

/// Keeps what the journal holds behind it, before it is emptied; elsewhere than on a share nobody writes
/// late.
/// @param state  the header to be; learns what is kept.
/// @return full, with nothing kept, where work can go on without.
Status TableImpl::keepPast(JournalHeader &state)
{
    JournalPast past = m_state.past;
    state.past.forget(state.applied + 1);
    if (!m_remote)
        return {};
    const auto found = commitsFrom(journalSector, m_state.base);
    if (!found.ok())
        return found.status();
    const auto &bytes = found.value().bytes;
    if (bytes.empty() && m_state.applied == m_state.base) {
        state.past = past; // there was nothing
        return {};
    }
    if (m_state.base + found.value().commits.size() < m_state.applied ||
        journalSector + bytes.size() > journalSize)
        return {}; // something was written over it, or it reaches into what is kept
    const auto place = past.take(bytes.size(), m_state.base + 1);
    Status status = place ? m_journal.writeAt(*place, bytes) : Status();
    if (place && status.ok())
        state.past = past;
    return status;
}

/// Work goes on without what could not be kept on a full disk, but it is said: once for as long as it stays
/// full, since it is tried again every few seconds.
Status TableImpl::keepPastIfThereIsRoom(JournalHeader &state)
{
    const Status status = keepPast(state);
    const bool isFull = status.kind() == ErrorKind::full;
    if (isFull && !std::exchange(m_toldOfFullDisk, true))
        addNotice(status.text());
    if (status.ok())
        m_toldOfFullDisk = false;
    return isFull ? Status() : status;
}

/// The number of the commit that stands first in the file, whatever the header says; 0 when there is none.
Result<std::uint64_t> TableImpl::firstInJournal() const
{
    std::vector<std::uint8_t> sector(journalSector);
    const auto got = m_journal.readAt(journalSector, sector);
    if (!got.ok())
        return got.status();
    return got.value() == sector.size() ? numberOfCommit(sector) : 0;
}

/// The whole commits that stand one behind the other in the file.
/// @param from   where the first one stands, if there is any.
/// @param after  the number before its own.
Result<TableImpl::FoundCommits> TableImpl::commitsFrom(std::uint64_t from, std::uint64_t after)
{
    FoundCommits found{from, {}, {}, after == m_state.applied ? m_state.lastLink : 0U};
    std::size_t lastAt = 0; // where the last one found begins
    std::uint32_t linkBefore = 0;
    bool isAll = false;
    const auto readOn = [&](std::size_t size) {
        const std::size_t had = found.bytes.size();
        found.bytes.resize(had + size);
        const auto got = m_journal.readAt(from + had, std::span(found.bytes).subspan(had));
        found.bytes.resize(had + (got.ok() ? got.value() : 0));
        isAll = found.bytes.size() < had + size || from + found.bytes.size() >= largestJournal;
        return got.status();
    };
    constexpr std::size_t leastAtOnce = std::size_t{64} * 1024;
    Status status = readOn(
        std::max(leastAtOnce, m_state.tail - std::min<std::uint64_t>(from, m_state.tail) + journalSector));
    std::size_t at = 0;
    while (status.ok()) {
        const auto rest = std::span(found.bytes).subspan(at);
        const std::uint64_t number = after + found.commits.size() + 1;
        auto one = decodeCommit(rest, number, header.recordLength);
        if (one && one->follows != 0 && found.lastLink != 0 && one->follows != found.lastLink) {
            if (!found.commits.empty()) { // the one in front lies over that which was followed
                found.commits.pop_back();
                found.lastLink = linkBefore;
                at = lastAt;
            }
            break;
        }
        if (one) {
            const std::uint32_t link = linkOf(rest);
            if (number == m_state.applied && m_state.lastLink != 0 && link != m_state.lastLink)
                break; // it lies over the one that is done
            linkBefore = std::exchange(found.lastLink, link);
            lastAt = at;
            at += (commitSize(*one) + journalSector - 1) / journalSector * journalSector;
            found.commits.push_back(std::move(*one));
        } else if (isAll || (rest.size() >= journalSector && !mayBeCommit(rest, number))) {
            break;
        } else { // it goes on behind what has been read
            status = readOn(found.bytes.size());
        }
    }
    if (!status.ok())
        return status;
    found.bytes.resize(at); // the last one's sector to its end
    return found;
}

/// That commits can be read does not mean that they are on disk: a cut while they are done again must find
/// them there, and the header in front of them. Where they can they are brought there as they are: what was
/// written anew, late, would lie over what others have written since.
Status TableImpl::bringToDisk(const FoundCommits &found)
{
    Status status = mayWriteOn();
    if (status.ok() && !m_journal.flushesForOthers())
        status = m_journal.writeAt(0, m_stateBytes);
    if (status.ok() && !m_journal.flushesForOthers())
        status = m_journal.writeAt(found.from, found.bytes);
    return status.ok() ? m_journal.flush() : status;
}

// ---------------------------------------------------------------------------------------------------------------------
// Emptying it

/// Keeps a journal that is not about this table under a name of its own, and begins anew. A copy, since
/// others may have the journal open already and wait for its lock.
/// @param why  for the notice.
Status TableImpl::setJournalAside(std::string_view why)
{
    const auto size = m_journal.size();
    if (!size.ok())
        return size.status();
    if (size.value() > largestJournal)
        return failure(ErrorKind::damaged,
                       "en el lugar del diario de la tabla hay un fichero demasiado grande");
    constexpr int mostKept = 999;
    std::filesystem::path kept;
    Status status = failure(ErrorKind::full, "hay demasiados diarios apartados");
    for (int number = 1; number <= mostKept; ++number) {
        kept = sibling(".JNL");
        kept += ".APARTADO-" + std::to_string(number);
        status = copyBeside(m_journal, kept);
        if (status.kind() != ErrorKind::invalidArgument)
            break;
    }
    if (!status.ok())
        return status;
    addNotice(std::string(why) + "; quedan en " + displayName(kept.filename()));
    return startJournal();
}

/// Overwrites what changes have left in the journal. Under the change locks, when none of them is wanted any
/// more.
Status TableImpl::wipeJournal()
{
    const auto size = m_journal.size();
    if (!size.ok())
        return size.status();
    const std::vector<std::uint8_t> nothing(wipedAtOnce, 0);
    Status status = mayWriteOn();
    for (std::uint64_t at = journalSector; status.ok() && at < size.value(); at += nothing.size())
        status = m_journal.writeAt(
            at, std::span(nothing).first(std::min<std::uint64_t>(nothing.size(), size.value() - at)));
    return status.ok() ? syncJournal() : status;
}

/// What tells this table's journal from another one's, as the file is now.
Result<TableMark> TableImpl::markOfTable() const
{
    TableMark mark;
    mark.shape = shapeOf(header.fields);
    mark.file = m_dbf.identity().number;
    if (header.recordCount == 0)
        return mark;
    std::vector<std::uint8_t> line(header.recordLength);
    const auto got = m_dbf.readAt(recordOffset(header.recordCount), line);
    if (!got.ok())
        return got.status();
    mark.lastLine = sumOfLine(std::span(line).first(got.value()));
    return mark;
}

/// Under the change locks: table and index safely on disk, the journal empty.
Status TableImpl::checkpoint(bool closing)
{
    Status status = m_dbf.sync();
    if (status.ok() && m_mdx)
        status = m_mdx->file().sync();
    if (!status.ok())
        return poison(status);
    status = mayWriteOn();
    if (!status.ok())
        return status;
    JournalHeader state = m_state;
    if (m_indexRewritten)
        state.applied += numbersLeap; // who keeps blocks of the index does so by the number
    status = closing ? keepPast(state) : keepPastIfThereIsRoom(state);
    if (status.ok())
        status = mayWriteOn();
    if (!status.ok())
        return status;
    state.base = state.applied;
    state.tail = journalSector;
    state.indexedRecords = indexedRecords();
    state.closedInOrder = closing;
    state.holdsDurable = false;
    state.onDisk = false;
    state.tableRecords = header.recordCount;
    const auto mark = markOfTable();
    if (!mark.ok())
        return mark.status();
    state.mark = mark.value();
    if (closing) {
        const auto table = m_dbf.look();
        const auto index = m_mdx ? m_mdx->file().look() : Result<FileLook>(FileLook{});
        if (!table.ok() || !index.ok())
            return table.ok() ? index.status() : table.status();
        state.tableSize = table.value().stamp.size;
        state.tableTime = table.value().stamp.modified;
        state.indexSize = index.value().stamp.size;
        state.indexTime = index.value().stamp.modified;
    }
    m_emptied = m_state;
    status = writeState(state);
    if (!status.ok())
        return status;
    m_indexRewritten = false;
    // The old commits are about to be written over; the new base must not get lost behind them.
    status = syncJournal();
    return status.ok() ? mayWriteOn() : status; // it may have taken long
}

} // namespace dbase
