// The locks of a table, in their one order: records, then the table, then the index; presence apart from them
// all.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <thread>

namespace dbase
{

namespace
{

constexpr int shortestPauseMs = 1;
constexpr int longestPauseMs = 12;
constexpr int mostSettlings = 5;

} // namespace

Result<RangeLock> TableImpl::waitForLock(File &file, std::uint64_t offset, std::uint64_t length,
                                         File::LockKind kind, std::chrono::milliseconds timeout,
                                         std::string_view refusal)
{
    std::optional<std::chrono::steady_clock::time_point> deadline;
    std::uniform_int_distribution<int> pause(shortestPauseMs, longestPauseMs);
    for (;;) {
        const auto got = file.tryLock(offset, length, kind);
        if (!got.ok())
            return got.status();
        if (got.value())
            return RangeLock(file, offset, length);
        const auto now = std::chrono::steady_clock::now();
        if (!deadline)
            deadline = now + timeout;
        if (now >= *deadline)
            return failure(ErrorKind::locked, std::string(refusal));
        // Random, so that two workstations that wait for each other's line do not meet again and again.
        std::this_thread::sleep_for(std::chrono::milliseconds(pause(m_random)));
    }
}

File &TableImpl::readLockFile()
{
    return m_mdx ? m_mdx->file() : m_dbf;
}

void TableImpl::takeState(const JournalHeader &state, std::span<const std::uint8_t> bytes)
{
    m_state = state;
    std::copy_n(bytes.begin(), m_stateBytes.size(), m_stateBytes.begin());
}

/// The journal's header as it is now; read again when a writer was at it, since not everybody who looks holds
/// a lock. @param map  the journal in memory; empty where it is not mapped.
Status TableImpl::lookAtState(std::span<const std::uint8_t> map)
{
    constexpr int mostLooks = 3;
    JournalHeaderBytes bytes{};
    for (int look = 0; look < mostLooks; ++look) {
        if (map.size() >= journalSector) {
            if (std::equal(m_stateBytes.begin(), m_stateBytes.end(), map.begin()))
                return {};
            std::copy_n(map.begin(), bytes.size(), bytes.begin());
        } else {
            const auto got = m_journal.readAt(0, bytes);
            if (!got.ok())
                return got.status();
            if (got.value() != bytes.size())
                return failure(ErrorKind::damaged, "el diario de la tabla se ha perdido");
            if (bytes == m_stateBytes)
                return {};
        }
        if (const auto state = decodeJournalHeader(bytes)) {
            takeState(*state, bytes);
            return {};
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(look + 1));
    }
    return failure(ErrorKind::damaged, "el diario de la tabla está dañado");
}

Result<bool> TableImpl::lookAtJournal()
{
    if (!m_journal.isOpen())
        return false;
    if (m_journalMap.lost())
        m_journalMap = Mapping(); // another program has cut the journal off
    const std::span<const std::uint8_t> map{m_journalMap.data(), m_journalMap.size()};
    if (const Status status = lookAtState(map); !status.ok())
        return status;
    if (m_state.tail + journalSector <= map.size())
        return mayBeCommit(map.subspan(m_state.tail, journalSector), m_state.applied + 1);
    std::vector<std::uint8_t> next(journalSector);
    const auto got = m_journal.readAt(m_state.tail, next);
    if (!got.ok())
        return got.status();
    return got.value() == next.size() && mayBeCommit(next, m_state.applied + 1);
}

Status TableImpl::beginRead()
{
    if (!m_poison.ok())
        return m_poison;
    if (m_held != Held::nothing) {
        ++m_holders;
        return {};
    }
    for (int attempt = 0;; ++attempt) {
        const std::uint64_t at = m_mdx ? headerLockOffset : headerLockOffset + 1;
        auto lock = waitForLock(readLockFile(), at, 1, File::LockKind::shared, options.lockTimeout,
                                "otro puesto está escribiendo en la tabla");
        if (!lock.ok())
            return lock.status();
        const auto unfinished = lookAtJournal();
        if (!unfinished.ok())
            return unfinished.status();
        // A writer that keeps no index, or one that died while it made the index anew, says so.
        const bool isKept = !m_journal.isOpen() || m_state.indexedRecords > 0 || header.recordCount == 0;
        bool sound = !unfinished.value() && !m_indexSuspect && (isKept || !m_mdx);
        bool isSame = true;
        if (m_mdx && (sound || readOnly)) {
            const auto same = m_mdx->look();
            if (!same.ok())
                return same.status();
            isSame = same.value();
            sound = sound && isSame;
        }
        if (readOnly && m_mdx && (m_indexSuspect || !isSame) && attempt == 0) {
            lock.value().release();
            reloadIndexForReading();
            continue;
        }
        // What cannot be put in order is read as it is: better an old index than no agenda.
        if (sound || readOnly) {
            m_mdxLock = std::move(lock).value();
            m_held = Held::reading;
            m_holders = 1;
            return {};
        }
        if (attempt == mostSettlings)
            return failure(ErrorKind::damaged, "el índice no se deja arreglar");
        lock.value().release();
        if (const Status status = beginChange(); !status.ok()) // puts everything in order
            return status;
        endChange();
    }
}

void TableImpl::endRead() noexcept
{
    if (--m_holders > 0)
        return;
    if (m_held == Held::reading) {
        m_mdxLock.release();
        m_held = Held::nothing;
    }
}

Status TableImpl::beginChange(bool adding)
{
    if (!m_poison.ok())
        return m_poison;
    if (readOnly)
        return failure(ErrorKind::readOnly, readOnlyReason);
    if (m_held == Held::changing) {
        ++m_holders;
        return {};
    }
    if (const Status status = m_opened ? checkPlace() : Status(); !status.ok())
        return status;
    constexpr std::string_view refusal = "otro puesto está escribiendo en la tabla";
    auto table = waitForLock(m_dbf, headerLockOffset, changeLockLength, File::LockKind::exclusive,
                             options.lockTimeout, refusal);
    if (!table.ok())
        return table.status();
    if (m_mdx) {
        auto index = waitForLock(m_mdx->file(), headerLockOffset, 1, File::LockKind::exclusive,
                                 options.lockTimeout, refusal);
        if (!index.ok())
            return index.status();
        m_mdxLock = std::move(index).value();
    }
    m_dbfLock = std::move(table).value();
    m_held = Held::changing;
    m_holders = 1;

    // Nothing read before the locks counts.
    Status status;
    const auto unfinished = lookAtJournal();
    status = unfinished.status();
    if (status.ok() && unfinished.value())
        status = finishDeadCommits();
    if (status.ok())
        status = settleCount(adding);
    if (status.ok() && !m_mdx && m_indexSuspect)
        status = repairIndex();
    if (status.ok() && m_mdx) {
        const auto same = m_mdx->look();
        status = same.status();
        const bool counted = m_state.indexedRecords == header.recordCount;
        if (status.ok() && (!same.value() || !counted || m_indexSuspect))
            status = repairIndex();
    }
    if (!status.ok())
        endChange();
    return status;
}

void TableImpl::endChange() noexcept
{
    if (--m_holders > 0)
        return;
    m_mdxLock.release();
    m_dbfLock.release();
    m_held = Held::nothing;
    m_lastRead = 0;
}

Status TableImpl::takeRecordLock(RecordNumber number, std::chrono::milliseconds timeout)
{
    if (readOnly)
        return failure(ErrorKind::readOnly, readOnlyReason);
    if (number < 1 || number > header.recordCount || m_locked.contains(number))
        return failure(ErrorKind::invalidArgument, "no se puede bloquear la línea " + std::to_string(number));
    auto lock = waitForLock(m_dbf, recordLockOffset(number), 1, File::LockKind::exclusive, timeout,
                            "otro puesto está usando la línea " + std::to_string(number));
    if (!lock.ok())
        return lock.status();
    m_locked.insert(number);
    // From here on the lock belongs to the set; dropRecordLock() gives it back.
    RangeLock kept = std::move(lock).value();
    kept.disown();
    return {};
}

void TableImpl::dropRecordLock(RecordNumber number)
{
    if (m_locked.erase(number) > 0)
        m_dbf.unlock(recordLockOffset(number), 1);
}

/// Taken before the table's lock, as everybody does, and held until the record is written.
Status TableImpl::checkNotLockedElsewhere(RecordNumber number, RangeLock &held)
{
    if (m_locked.contains(number))
        return {};
    const std::string refusal = "otro puesto está usando la línea " + std::to_string(number);
    if (m_group) {
        // The table is held already, and whoever holds the line may be waiting for the table: no waiting. Nor
        // is the line kept: what is read of it from here on is compared again before it is changed.
        const auto taken = m_dbf.isLockedElsewhere(recordLockOffset(number), 1);
        if (!taken.ok())
            return taken.status();
        return taken.value() ? failure(ErrorKind::locked, refusal) : Status();
    }
    auto lock = waitForLock(m_dbf, recordLockOffset(number), 1, File::LockKind::exclusive,
                            options.lockTimeout, refusal);
    const Status status = lock.status();
    if (status.ok())
        held = std::move(lock).value();
    return status;
}

} // namespace dbase
