// The journal's life: what was left unfinished is finished here, by whoever is alone with the files.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <array>

namespace dbase
{

namespace
{

constexpr std::uint64_t largestJournal =
    std::uint64_t{256} * 1024 * 1024; ///< no commit of ours is half as long

} // namespace

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
        const auto joined = alone.ok() && !alone.value()
                                ? m_journal.tryLock(presenceOffset, 1, File::LockKind::shared)
                                : alone;
        if (!joined.ok())
            return joined.status();
        if (joined.value()) {
            m_presence = RangeLock(m_journal, presenceOffset, 1);
            // From here on nobody puts another file in the table's place; while this one waited somebody may
            // have. Journal and index are about that other file then, and nothing is written to them.
            if (const Status status = refuseDisplaced(); !status.ok())
                return status;
            if (!alone.value())
                break;
            if (const Status status = recover(); !status.ok())
                return status;
            const auto shared = m_journal.convertLock(presenceOffset, 1, File::LockKind::shared);
            if (!shared.ok())
                return shared.status();
            if (shared.value())
                break;
            m_presence.disown(); // lost to somebody who came in between
        }
        if (std::chrono::steady_clock::now() > deadline)
            return failure(ErrorKind::locked, "otro puesto está arreglando la tabla");
        if (const auto pause = waitForLock(m_journal, presenceOffset, 1, File::LockKind::shared,
                                           std::chrono::milliseconds(200), "");
            !pause.ok() && pause.status().kind() != ErrorKind::locked)
            return pause.status();
    }
    const auto size = m_journal.size();
    if (!size.ok())
        return size.status();
    m_journalSize = std::max<std::uint64_t>(size.value(), journalSize);
    if (!m_remote && size.value() >= journalSector) {
        if (auto mapping = Mapping::of(m_journal, size.value()); mapping.ok())
            m_journalMap = std::move(mapping).value();
    }
    mapHeader();
    const Status status = lookAtJournal().status();
    // Somebody who has the table open keeps no index: it is looked over at the first look.
    if (status.ok() && m_mdx && m_state.indexedRecords == 0 && header.recordCount > 0)
        m_indexSuspect = true;
    return status;
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

/// Programs that know nothing of the journal may be at work: the locks that they know keep them out.
Status TableImpl::lockOutOthers()
{
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
    return {};
}

/// The journal's bytes, and its whole commits one after the other. @return where they end.
Result<std::size_t> TableImpl::readCommits(std::vector<std::uint8_t> &bytes, std::vector<Commit> &commits)
{
    const auto size = m_journal.size();
    if (!size.ok())
        return size.status();
    bytes.resize(std::min<std::uint64_t>(size.value(), largestJournal));
    const auto got = m_journal.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    std::size_t at = journalSector;
    while (at + journalSector <= bytes.size()) {
        auto one = decodeCommit(std::span(bytes).subspan(at), m_state.base + commits.size() + 1,
                                header.recordLength);
        if (!one)
            break;
        encodeCommit(*one, header.recordLength, m_commitBytes);
        at += commitRoom(m_commitBytes.size());
        commits.push_back(std::move(*one));
    }
    return at;
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
        takeState(*state, bytes);
        if (closedAsSeen())
            return {};
    } else if (const Status status = startJournal(); !status.ok()) {
        return status;
    }
    std::vector<Commit> commits;
    if (const Status locked = lockOutOthers(); !locked.ok())
        return locked;
    const auto end = readCommits(bytes, commits);
    Status status = end.status();
    if (status.ok() && !commits.empty()) {
        const auto cut = isCutBack();
        status = cut.status();
        if (cut.ok() && cut.value()) {
            status = setJournalAside(bytes);
            commits.clear();
        }
    }
    if (status.ok() && !commits.empty()) {
        // That they can be read does not mean that they are on disk: a cut during the repair must find them
        // there.
        status = m_journal.writeAt(0, std::span(bytes).first(end.value()));
        if (status.ok())
            status = m_journal.sync();
        if (status.ok())
            status = replay(commits);
    }
    if (status.ok() && !m_state.closedInOrder)
        status = forgetLinesThatNeverCame();
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

/// A power cut may leave a header that counts lines which had not reached the disk: of a workstation that
/// does not flush, or of another program. What was promised is in the file by now; the table goes on with
/// that.
Status TableImpl::forgetLinesThatNeverCame()
{
    const auto announced = announcedCount();
    const auto size = m_dbf.size();
    if (!announced.ok() || !size.ok())
        return announced.ok() ? size.status() : announced.status();
    auto lines = static_cast<RecordNumber>(
        size.value() < header.headerLength ? 0 : (size.value() - header.headerLength) / header.recordLength);
    if (lines >= announced.value() || lines < m_state.tableRecords)
        return {}; // fewer than were on disk for sure is damage
    std::vector<std::uint8_t> record(header.recordLength);
    for (; lines > m_state.tableRecords; --lines) {
        const auto read = m_dbf.readAt(recordOffset(lines), record);
        if (!read.ok())
            return read.status();
        if (looksLikeRecord(record, header))
            break;
    }
    notice = "después de un corte de corriente faltan al final de la tabla " +
             std::to_string(announced.value() - lines) +
             " líneas que se anotaron en su cabecera y no llegaron al disco; revise las últimas citas";
    Status status = m_dbf.writeAt(recordOffset(lines + 1), std::array{dbfEndMark});
    if (status.ok())
        status = m_dbf.truncate(recordOffset(lines + 1) + 1);
    m_dateAndCount.clear();
    return status.ok() ? writeDateAndCount(lines) : status;
}

/// Whether the table has lost lines that were on disk for sure: then it is not the one that the journal goes
/// on from, but an older one that was copied over it, or one that another program has packed, and the
/// journal's numbers are those of other lines. Header and length must both say so: a length may be old news
/// on a share, a count may be one that another program had in memory.
Result<bool> TableImpl::isCutBack() const
{
    const auto announced = announcedCount();
    const auto size = m_dbf.size();
    if (!announced.ok() || !size.ok())
        return announced.ok() ? size.status() : announced.status();
    return announced.value() < m_state.tableRecords &&
           size.value() < recordOffset(m_state.tableRecords) + header.recordLength;
}

/// Keeps a journal that is not about this table under a name of its own, and begins anew. A copy, since
/// others may have the journal open already and wait for its lock.
Status TableImpl::setJournalAside(std::span<const std::uint8_t> journal)
{
    constexpr int mostKept = 999;
    std::filesystem::path kept;
    Result<File> made = failure(ErrorKind::full, "hay demasiados diarios apartados");
    for (int number = 1; number <= mostKept; ++number) {
        kept = sibling(".JNL");
        kept += ".APARTADO-" + std::to_string(number);
        made = File::open(kept, File::Mode::createNew);
        if (made.ok() || made.status().kind() != ErrorKind::invalidArgument)
            break;
    }
    Status status = made.status();
    if (status.ok())
        status = made.value().writeAt(0, journal);
    if (status.ok())
        status = made.value().sync();
    if (status.ok())
        status = syncFolder(path.parent_path());
    if (!status.ok())
        return status;
    notice =
        "la tabla tiene menos líneas que las que ya estaban guardadas: se ha puesto en su lugar una copia "
        "anterior. Los últimos cambios, que eran de la otra, no se le han aplicado; quedan en " +
        displayName(kept.filename());
    return startJournal();
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
    state.indexedRecords = indexedRecords();
    state.closedInOrder = closing;
    state.holdsDurable = false;
    state.onDisk = false;
    state.tableRecords = header.recordCount;
    if (closing) {
        const auto table = m_dbf.stamp();
        const auto index = m_mdx ? m_mdx->file().stamp() : Result<FileStamp>(FileStamp{});
        if (!table.ok() || !index.ok())
            return table.ok() ? index.status() : table.status();
        state.tableSize = table.value().size;
        state.tableTime = table.value().modified;
        state.indexSize = index.value().size;
        state.indexTime = index.value().modified;
    }
    m_state = state;
    status = writeState();
    // The old commits are about to be written over; the new base must not get lost behind them.
    return status.ok() ? m_journal.sync() : status;
}

/// The last one to leave says so, and spares the next one the search.
/// On a failure the next opener finds the journal open and looks for itself.
Status TableImpl::closeInOrder()
{
    const auto last = m_journal.convertLock(presenceOffset, 1, File::LockKind::exclusive);
    if (!last.ok() || !last.value())
        return last.status();
    // Another program may have put another file there: journal and index are that one's from then on.
    if (const auto displaced = isDisplaced(); !displaced.ok() || displaced.value())
        return displaced.status().kind() == ErrorKind::notFound ? Status() : displaced.status();
    if (const auto unfinished = lookAtJournal(); !unfinished.ok() || unfinished.value())
        return unfinished.status();
    if (m_state.closedInOrder && closedAsSeen())
        return {};
    options.lockTimeout = std::chrono::milliseconds(100); // closing keeps nobody waiting
    if (const Status status = beginChange(); !status.ok())
        return status.kind() == ErrorKind::locked ? Status() : status;
    const Status status = checkpoint(true);
    endChange();
    return status;
}

} // namespace dbase
