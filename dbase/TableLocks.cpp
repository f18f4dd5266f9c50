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

Result<bool> TableImpl::lookAtJournal()
{
    if (!m_journal.isOpen())
        return false;
    std::vector<std::uint8_t> own;
    std::span<const std::uint8_t> bytes;
    if (m_journalMap.lost())
        m_journalMap = Mapping(); // another program has cut the journal off
    if (m_journalMap.size() >= journalSector) {
        bytes = {m_journalMap.data(), m_journalMap.size()};
    } else {
        own.resize(journalSector);
        const auto got = m_journal.readAt(0, own);
        if (!got.ok())
            return got.status();
        own.resize(got.value());
        bytes = own;
    }
    if (bytes.size() < journalSector)
        return failure(ErrorKind::damaged, "el diario de la tabla se ha perdido");
    const auto head = bytes.first(journalSector);
    if (!std::equal(head.begin(), head.end(), m_stateBytes.begin(), m_stateBytes.end())) {
        const auto state = decodeJournalHeader(head);
        if (!state)
            return failure(ErrorKind::damaged, "el diario de la tabla está dañado");
        takeState(*state, head);
    }
    if (m_state.tail + journalSector <= bytes.size())
        return mayBeCommit(bytes.subspan(m_state.tail, journalSector), m_state.applied + 1);
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
        bool sound = !unfinished.value() && !m_indexSuspect;
        if (sound && m_mdx) {
            const auto same = m_mdx->look();
            if (!same.ok())
                return same.status();
            sound = same.value();
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
        status = finishDeadCommit();
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
