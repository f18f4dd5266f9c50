// Reading lines, and taking in what others have written.

#include "dbase/TableImpl.h"

#include <algorithm>

namespace dbase
{

namespace
{

constexpr std::size_t scanChunk = 1U << 20U;
/// Clocks of file systems tick in steps; a file that changed within this time may change again under the same
/// stamp.
constexpr auto stampTick = std::chrono::milliseconds(50);
/// Of those that keep whole seconds, or only even ones.
constexpr auto coarseStampTick = std::chrono::seconds(2);
/// On a share: how old the news of a file's time may be.
constexpr auto longestLag = std::chrono::seconds(5);
/// On a share the lines are compared so often, whatever the file's time says.
constexpr auto longestTrustInStamp = std::chrono::seconds(60);
/// Longest run of records that is read in one call when only some of it is wanted.
constexpr RecordNumber rowsPerRead = 512;

} // namespace

Status TableImpl::readRecord(RecordNumber number, std::span<std::uint8_t> record) const
{
    if (m_group && number <= m_group->recordCount && record.size() == header.recordLength) {
        const auto last =
            std::find_if(m_group->changes.rbegin(), m_group->changes.rend(),
                         [number](const RecordChange &change) { return change.number == number; });
        if (last != m_group->changes.rend()) {
            std::copy(last->after.begin(), last->after.end(), record.begin());
            return {};
        }
    }
    if (number < 1 || number > header.recordCount || record.size() != header.recordLength)
        return failure(ErrorKind::invalidArgument, "la tabla no tiene la línea").ofRecord(number);
    const auto got = m_dbf.readAt(recordOffset(number), record);
    if (!got.ok())
        return got.status();
    if (got.value() != record.size())
        return failure(ErrorKind::damaged, "el fichero acaba dentro de la línea").ofRecord(number);
    if (m_held == Held::changing || (m_remote && m_locked.contains(number))) {
        m_lastRead = number;
        m_lastReadAsOf = m_state.applied;
        m_lastBytes.assign(record.begin(), record.end());
    }
    return {};
}

Status TableImpl::scan(RecordNumber from,
                       const std::function<void(RecordNumber, std::span<const std::uint8_t>)> &visit,
                       RecordNumber upTo) const
{
    const RecordNumber last = upTo == 0 ? header.recordCount : std::min(upTo, header.recordCount);
    const std::size_t perChunk = std::max<std::size_t>(1, scanChunk / header.recordLength);
    std::vector<std::uint8_t> buffer(std::min<std::size_t>(perChunk, last) * header.recordLength);
    for (RecordNumber first = from; first <= last;) {
        const auto count = static_cast<RecordNumber>(std::min<std::size_t>(perChunk, last - first + 1));
        const auto chunk = std::span(buffer).first(count * header.recordLength);
        const auto got = m_dbf.readAt(recordOffset(first), chunk);
        if (!got.ok())
            return got.status();
        if (got.value() != chunk.size())
            return failure(ErrorKind::damaged, "el fichero se ha acortado mientras se leía");
        for (RecordNumber i = 0; i < count; ++i)
            visit(first + i, chunk.subspan(i * header.recordLength, header.recordLength));
        first += count;
    }
    return {};
}

/// Takes in that the table has grown, when an index names a line beyond the last one known.
Status TableImpl::knowOf(RecordNumber number)
{
    if (number >= 1 && number <= header.recordCount)
        return {};
    const auto count = announcedCount();
    if (!count.ok())
        return count.status();
    const RecordNumber announced = count.value();
    if (number >= 1 && number <= announced) {
        header.recordCount = announced;
        return linesInFile().status();
    }
    m_indexSuspect = true; // the next look puts it in order
    return failure(ErrorKind::damaged, "el índice nombra una línea que no existe");
}

/// The live lines between two bounds, in order; the bytes of the first ones too when `rows` is given. All
/// under one index lock, or with nobody writing meanwhile.
Status TableImpl::liveRows(Index *wanted, std::span<const std::uint8_t> low,
                           std::span<const std::uint8_t> high, std::vector<RecordNumber> &numbers,
                           std::vector<std::uint8_t> *rows, std::size_t mostRows)
{
    const auto *const filed = dynamic_cast<const MdxIndex *>(wanted);
    if (filed && rowsAsKept(*filed, low, high, numbers, rows, mostRows))
        return {};
    const ReadLook look(*this);
    if (!look.status().ok())
        return look.status();
    std::vector<RecordNumber> found;
    if (filed) {
        if (const Status status = filed->collectLocked(low, high, found); !status.ok())
            return status;
    } else if (wanted) {
        if (const Status status = wanted->collect(low, high, found); !status.ok())
            return status;
    } else {
        found.resize(header.recordCount);
        for (RecordNumber number = 1; number <= header.recordCount; ++number)
            found[number - 1] = number;
    }
    return readRows(found, numbers, rows, mostRows);
}

/// The same by what is kept of the index, on a share. @return false, with nothing added, when that does not
/// do.
bool TableImpl::rowsAsKept(const MdxIndex &index, std::span<const std::uint8_t> low,
                           std::span<const std::uint8_t> high, std::vector<RecordNumber> &numbers,
                           std::vector<std::uint8_t> *rows, std::size_t mostRows)
{
    if (!keepsIndex())
        return false;
    std::vector<RecordNumber> found;
    {
        const OnlyKeptBlocks only(*m_mdx);
        if (!index.collectLocked(low, high, found).ok())
            return false;
    }
    const std::size_t numbersBefore = numbers.size();
    const std::size_t bytesBefore = rows ? rows->size() : 0;
    // Behind the rows: nobody has written by now, and nobody is at it.
    if (readRows(found, numbers, rows, mostRows).ok() && !m_indexSuspect) {
        const auto unfinished = lookAtJournal();
        if (unfinished.ok() && !unfinished.value() && keepsIndex())
            return true;
    }
    numbers.resize(numbersBefore);
    if (rows)
        rows->resize(bytesBefore);
    return false;
}

/// Adds those of the lines found that are live.
Status TableImpl::readRows(std::span<const RecordNumber> found, std::vector<RecordNumber> &numbers,
                           std::vector<std::uint8_t> *rows, std::size_t mostRows)
{
    const std::size_t already = numbers.size();
    const std::size_t length = header.recordLength;
    std::vector<std::uint8_t> buffer;
    for (std::size_t at = 0; at < found.size();) {
        // Lines of one sheet mostly stand side by side in the file: a run of numbers is one read.
        std::size_t end = at + 1;
        while (end < found.size() && end - at < rowsPerRead && found[end] == found[end - 1] + 1)
            ++end;
        buffer.resize((end - at) * length);
        std::size_t read = 0;
        if (knowOf(found[at]).ok() && knowOf(found[end - 1]).ok()) {
            const auto got = m_dbf.readAt(recordOffset(found[at]), buffer);
            if (!got.ok())
                return got.status();
            read = got.value() / length;
        }
        if (read < end - at) {
            m_indexSuspect = true; // keys of lines that are not there
            if (found[end - 1] <= header.recordCount)
                return failure(ErrorKind::damaged, "el fichero se ha acortado mientras se leía");
        }
        for (std::size_t i = 0; i < read; ++i) {
            const auto row = std::span(buffer).subspan(i * length, length);
            if (isDeleted(row) || row[0] == dbfEndMark)
                continue;
            numbers.push_back(found[at + i]);
            if (rows && numbers.size() - already <= mostRows)
                rows->insert(rows->end(), row.begin(), row.end());
        }
        at = end;
    }
    return {};
}

// ---------------------------------------------------------------------------------------------------------------------
// What others have written

/// What is asked of the table's file to find out whether it has moved. On a share by its name, which tells as
/// well whether it is still there.
Result<FileLook> TableImpl::lookAtFile()
{
    return m_remote ? File::look(path) : m_dbf.look();
}

void TableImpl::noteStamp(const FileStamp &stamp)
{
    const bool isOther = stamp != m_stamp;
    m_stamp = stamp;
    if (m_remote) { // whose clock is another one
        const auto seen = std::chrono::steady_clock::now();
        if (isOther)
            m_stampSince = seen;
        m_stampDoubtful = seen - m_stampSince < coarseStampTick;
        return;
    }
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const std::chrono::nanoseconds age = now - std::chrono::nanoseconds(m_stamp.modified);
    const bool isCoarse = m_stamp.modified % std::chrono::nanoseconds(std::chrono::seconds(1)).count() == 0;
    m_stampDoubtful = age < (isCoarse ? std::chrono::nanoseconds(coarseStampTick) : stampTick);
}

/// Programs that know nothing of presence may put another file in the table's place, or the journal's: what
/// is written from then on nobody would find.
Status TableImpl::checkPlace()
{
    const auto pause = m_remote ? std::chrono::seconds(10) : std::chrono::seconds(1);
    const auto now = timeWithSleep();
    if (m_presence.held() && m_placeSeen.count() >= 0 && now - m_placeSeen < pause)
        return {};
    if (m_remote) {
        const auto there = File::look(path);
        if (there.ok() && there.value().identity == m_identity) {
            m_placeSeen = now;
            return {};
        }
    }
    auto displaced = isDisplaced();
    if (displaced.ok() && !displaced.value() && m_presence.held()) {
        const auto journal = File::open(sibling(".JNL"), File::Mode::readOnly);
        const auto same = journal.ok() ? m_journal.isSameAs(journal.value()) : journal.status();
        const bool gone = same.status().kind() == ErrorKind::notFound ||
                          same.status().kind() == ErrorKind::unsupported; // another kind of thing
        displaced = (same.ok() && !same.value() && !m_remote) || gone;
    }
    if (displaced.ok() && displaced.value()) // not noted: every further look finds it as well
        return failure(ErrorKind::inputOutput,
                       "la tabla se ha cambiado por otra; ciérrela y vuelva a abrirla");
    m_placeSeen = now;
    return {};
}

/// A line that another program has changed since our last commit could be taken for one that the commit had
/// not reached yet, if this machine dies: the journal lets go of what is in the file by now. Where that
/// cannot be done just now a later look tries again.
void TableImpl::settleWithOthers()
{
    constexpr auto pause = std::chrono::seconds(4); // it waits for the disk
    const auto now = std::chrono::steady_clock::now();
    if (readOnly || m_held != Held::nothing || !m_journal.isOpen() || now - m_settled < pause)
        return;
    m_settled = now;
    const auto patience = std::exchange(options.lockTimeout, std::chrono::milliseconds(0));
    const Status begun = beginChange();
    options.lockTimeout = patience;
    if (!begun.ok())
        return;
    m_foreignChange = m_state.tail > journalSector && !emptyJournal().ok();
    endChange();
}

/// Orders kept in memory, of which callers hold pointers, follow the table.
/// @param sameAs  version whose lines are still those of now; 0 when there is none.
Status TableImpl::refreshMemoryTags(std::uint64_t sameAs)
{
    for (MemoryTag &tag : m_memoryTags) {
        if (tag.version == 0 || tag.version == version)
            continue; // never asked, or of now
        if (tag.version == sameAs) {
            tag.version = version;
            continue;
        }
        if (const Status status = buildMemoryTag(tag); !status.ok())
            return status;
    }
    return {};
}

Result<bool> TableImpl::refresh()
{
    const auto news = takeInNews();
    if (news.ok() && m_foreignChange)
        settleWithOthers();
    return m_poison.ok() ? news : m_poison;
}

Result<bool> TableImpl::takeInNews()
{
    if (const Status status = reconnect(); !status.ok())
        return status;
    payInPassing();
    // A group that has changed nothing yet may still look; one that has goes by what it knows.
    if (m_held == Held::changing && !(m_group && m_group->changes.empty()))
        return false;
    // On a share a commit that was not finished is looked for when something else has moved.
    const bool stateIsEnough = m_remote && m_journal.isOpen();
    const auto unfinished = stateIsEnough ? Result<bool>(false) : lookAtJournal();
    if (const Status status = stateIsEnough ? lookAtState() : unfinished.status(); !status.ok())
        return status;
    // Behind the journal: a file that has moved has a commit by now, or it was another program.
    const auto file = lookAtFile();
    const auto now = m_remote ? std::chrono::steady_clock::now() : std::chrono::steady_clock::time_point();
    if (m_remote && file.ok() && file.value().identity == m_identity)
        m_placeSeen = timeWithSleep();
    if (const Status status = checkPlace(); !status.ok())
        return status;
    if (!file.ok())
        return file.status();
    const FileStamp &stamp = file.value().stamp;
    const bool isDue = m_remote && now - m_lookedClosely > longestTrustInStamp;
    if (!unfinished.value() && m_state.applied == m_seenCommit && stamp == m_stamp && !m_stampDoubtful &&
        !m_indexSuspect && !isDue)
        return false;
    const bool hasMoved = stamp != m_stamp || m_indexSuspect || unfinished.value();
    // The stamp first: what is written while we look must be looked at again.
    noteStamp(stamp);
    m_lookedClosely = now;
    const ReadLook look(*this);
    if (!look.status().ok())
        return look.status();
    // The file has moved on and the journal has not, which nobody of ours holds just now.
    const bool isNoCommit = m_state.applied == m_seenCommit;
    const bool isForeign = hasMoved && isNoCommit && !m_ownChange;
    // The time of a file may be old news on a share: soon after a commit it may be that commit's.
    m_foreignChange = m_foreignChange || (isForeign && (!m_remote || now - m_commitMet > longestLag));
    // Behind an own change another program's may hide, which no number tells of.
    if (isForeign || isDue || (hasMoved && m_ownChange))
        m_indexAsOf.reset();
    if (!isNoCommit)
        m_commitMet = now;
    m_ownChange = false;
    m_seenCommit = m_state.applied;
    const auto count = announcedCount();
    if (!count.ok())
        return count.status();
    header.recordCount = count.value();
    // Lines of a program that keeps no index, or keeps it without telling: to be looked into at the next
    // look.
    if (m_mdx && !readOnly && m_state.indexedRecords != header.recordCount)
        m_indexSuspect = true;
    const std::uint64_t before = version++;
    const Status status = refreshMemoryTags(hasMoved || !isNoCommit ? 0 : before);
    m_stampDoubtful = m_stampDoubtful || !status.ok(); // to be looked at again
    return status.ok() ? Result<bool>(true) : status;
}

} // namespace dbase
