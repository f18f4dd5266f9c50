// The journal's life: what was left unfinished is finished here, by whoever is alone with the files.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <array>

namespace dbase
{

/// Joins the programs that have the table open; when there are none, first puts everything in order.
Status TableImpl::joinOthers()
{
    constexpr std::string_view refusal = "otro puesto está arreglando la tabla";
    const auto timeout = options.lockTimeout + repairPatience;
    const auto gate = waitForLock(m_journal, gateOffset, 1, File::LockKind::exclusive, timeout, refusal);
    if (!gate.ok())
        return gate.status();
    const auto alone = m_journal.tryLock(presenceOffset, 1, File::LockKind::exclusive);
    if (!alone.ok())
        return alone.status();
    if (alone.value()) {
        const RangeLock whole(m_journal, presenceOffset, 1);
        // Nobody puts another file in the table's place now; while this one waited somebody may have. Journal
        // and index are about that other file then, and nothing is written to them.
        Status status = refuseDisplaced();
        if (status.ok())
            status = recover();
        if (!status.ok())
            return status;
    }
    auto joined = waitForLock(m_journal, presenceOffset, 1, File::LockKind::shared, timeout, refusal);
    if (!joined.ok())
        return joined.status();
    m_presence = std::move(joined).value();
    if (!alone.value()) {
        if (const Status status = refuseDisplaced(); !status.ok())
            return status;
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
    const auto table = m_dbf.look();
    if (!table.ok() || table.value().stamp != FileStamp{m_state.tableSize, m_state.tableTime})
        return false;
    if (!m_mdx)
        return m_state.indexSize == 0 && !header.hasProductionIndex;
    const auto index = m_mdx->file().look();
    return index.ok() && index.value().stamp == FileStamp{m_state.indexSize, m_state.indexTime} &&
           !m_indexSuspect && m_mdx->languageDriver() == header.languageDriver;
}

/// Programs that know nothing of the journal may be at work: the locks that they know keep them out.
Status TableImpl::lockOutOthers()
{
    auto table = waitForLock(m_dbf, headerLockOffset, changeLockLength, File::LockKind::exclusive,
                             options.lockTimeout, "otro programa está escribiendo en la tabla");
    if (!table.ok())
        return table.status();
    noteLockTime();
    m_emptied.reset();
    m_underWay = 0;
    m_hasWritten = false;
    m_foundUnfinished = true; // as it may be
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

namespace
{

/// Whether a journal's first bytes are those of another kind of file. One that was only just made is empty,
/// or has zeros where a power cut has kept the rest from it.
bool isForeign(std::span<const std::uint8_t> front)
{
    return !isJournalsFront(front) &&
           std::any_of(front.begin(), front.end(), [](std::uint8_t byte) { return byte != 0; });
}

} // namespace

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
    } else {
        const auto foreign = isForeign(bytes);
        const Status status =
            foreign ? setJournalAside(
                          "en el lugar del diario de la tabla había otro fichero: sus datos no se han tocado")
                    : startJournal();
        if (!status.ok())
            return status;
    }
    if (const Status locked = lockOutOthers(); !locked.ok())
        return locked;
    if (m_remote && state) {
        const auto first = firstInJournal();
        if (!first.ok()) {
            endChange();
            return first.status();
        }
        noteFirst(first.value());
    }
    const auto last = replayJournal(state.has_value());
    Status status = last.status();
    if (status.ok())
        status = settleCount(true);
    if (status.ok())
        status = repairIndex();
    if (status.ok() && (last.value() != m_state.base || !m_state.closedInOrder)) {
        // What a power cut has left behind the last whole commit must not follow on the next one. Only now,
        // with the table on its way to the disk, does the journal say that the commits are done.
        if (last.value() > m_state.applied) {
            m_state.applied = last.value();
            m_state.lastLink = 0; // of a commit that is done now
        }
        m_indexRewritten = true; // the numbers leap
        status = checkpoint(false);
    }
    m_foundUnfinished = false;
    endChange();
    return status;
}

/// Does again what the journal holds, whether it is done or not.
/// @param isKnown  the journal's header tells what the table has had.
/// @return the number of the last commit.
Result<std::uint64_t> TableImpl::replayJournal(bool isKnown)
{
    auto found = commitsFrom(journalSector, m_state.base);
    const auto before = announcedCount();
    // On a share each commit was on the server's disk before the next: where the header knows of more of
    // them, something was written late over the rest, and the table has what the rest says.
    std::uint64_t first = m_state.base;
    if (m_remote && isKnown && found.ok() && first + found.value().commits.size() < m_state.applied) {
        first = m_state.applied;
        found = commitsFrom(m_state.tail, first);
    }
    if (!found.ok() || !before.ok())
        return found.ok() ? before.status() : found.status();
    const std::vector<Commit> &commits = found.value().commits;
    if (!commits.empty()) {
        const auto cut = isCutBack();
        const auto own = areOfThisTable(commits);
        if (!cut.ok() || !own.ok())
            return cut.ok() ? own.status() : cut.status();
        if (cut.value() || !own.value()) {
            const Status status = setJournalAside(
                cut.value()
                    ? "la tabla tiene menos líneas que las que ya estaban guardadas: se ha puesto en su "
                      "lugar una copia anterior. Los últimos cambios, que eran de la otra, no se le han "
                      "aplicado"
                    : "junto a la tabla estaba el diario de otra. Los cambios que contiene no se le han "
                      "aplicado");
            return status.ok() ? Result<std::uint64_t>(m_state.base) : status;
        }
    }
    Status status = isKnown ? cutLinesThatNeverCame() : Status();
    if (status.ok() && !commits.empty()) {
        status = bringToDisk(found.value());
        if (status.ok())
            status = replay(commits);
    }
    if (!status.ok())
        return status;
    if (isKnown)
        sayWhatIsMissing(before.value());
    return first + commits.size();
}

/// A power cut may leave a header that counts lines which had not reached the disk: of a workstation that
/// does not flush, or of another program. They go; what was promised stands in the journal, and what was on
/// disk at the last flush is not touched.
Status TableImpl::cutLinesThatNeverCame()
{
    const auto announced = announcedCount();
    const auto size = m_dbf.size();
    if (!announced.ok() || !size.ok())
        return announced.ok() ? size.status() : announced.status();
    std::uint64_t lines = linesThatFit(size.value());
    constexpr RecordNumber mostAtOnce = 10'000; // a count beyond that was never one
    if (lines > announced.value() || lines + mostAtOnce < announced.value() || lines < m_state.tableRecords)
        return {};
    std::vector<std::uint8_t> record(header.recordLength);
    // A length may be old news on a share: what it leaves out must not be readable either.
    if (lines < announced.value()) {
        const auto beyond = m_dbf.readAt(recordOffset(static_cast<RecordNumber>(lines) + 1), record);
        if (!beyond.ok() || beyond.value() == record.size())
            return beyond.status();
    }
    for (; lines > m_state.tableRecords; --lines) {
        const auto read = m_dbf.readAt(recordOffset(static_cast<RecordNumber>(lines)), record);
        if (!read.ok())
            return read.status();
        if (std::any_of(record.begin(), record.end(), [](std::uint8_t byte) { return byte != 0; }))
            break;
    }
    if (lines == announced.value())
        return {};
    const auto kept = static_cast<RecordNumber>(lines);
    Status status = m_dbf.writeAt(recordOffset(kept + 1), std::array{dbfEndMark});
    if (status.ok())
        status = m_dbf.truncate(recordOffset(kept + 1) + 1);
    m_dateAndCount.clear();
    return status.ok() ? writeDateAndCount(kept) : status;
}

void TableImpl::sayWhatIsMissing(RecordNumber before)
{
    const auto now = announcedCount();
    if (!now.ok() || now.value() >= before)
        return;
    addNotice("después de un corte de corriente faltan al final de la tabla " +
              std::to_string(before - now.value()) +
              " líneas que se anotaron en su cabecera y no llegaron al disco; revise las últimas citas");
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
    return announced.value() < m_state.tableRecords && linesThatFit(size.value()) < m_state.tableRecords;
}

/// The last one to leave says so, and spares the next one the search.
/// On a failure the next opener finds the journal open and looks for itself.
Status TableImpl::closeInOrder()
{
    constexpr auto patienceOfClosing = std::chrono::milliseconds(100); // closing keeps nobody waiting
    const std::uint64_t renewed = m_remote ? sessionsRenewed() : 0;
    const auto gate = waitForLock(m_journal, gateOffset, 1, File::LockKind::exclusive, patienceOfClosing, "");
    if (!gate.ok()) // somebody comes or goes, and finds this one still there
        return gate.status().kind() == ErrorKind::locked ? Status() : gate.status();
    m_presence.release();
    if (m_remote && (hasFailed() ||
                     sessionsRenewed() !=
                         renewed)) // what the server still holds goes with the files; the next opener looks
        return {};
    const auto last = m_journal.tryLock(presenceOffset, 1, File::LockKind::exclusive);
    if (!last.ok() || !last.value())
        return last.status();
    const RangeLock whole(m_journal, presenceOffset, 1);
    // Another program may have put another file there: journal and index are that one's from then on.
    if (const auto displaced = isDisplaced(); !displaced.ok() || displaced.value()) {
        const bool isGone = displaced.status().kind() == ErrorKind::notFound;
        if (m_hasChanged && (displaced.ok() || isGone))
            return failure(
                ErrorKind::inputOutput,
                "otro programa ha cambiado la tabla por otra mientras estaba abierta; lo que se ha "
                "escrito en ella entretanto se ha perdido");
        return isGone ? Status() : displaced.status();
    }
    if (const auto unfinished = lookAtJournal(); !unfinished.ok() || unfinished.value())
        return unfinished.status();
    if (m_state.closedInOrder && closedAsSeen())
        return {};
    options.lockTimeout = patienceOfClosing;
    if (const Status status = beginChange(); !status.ok())
        return status.kind() == ErrorKind::locked ? Status() : status;
    const Status status = checkpoint(true);
    endChange();
    return status;
}

} // namespace dbase
