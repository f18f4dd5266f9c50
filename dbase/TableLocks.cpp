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
constexpr int mostWaits = 4; ///< for a commit that is under way
/// Another file may have come into the table's place between a look and the lock.
constexpr auto longAfterLooking = std::chrono::seconds(1);
constexpr auto slowestRoundTrip = std::chrono::milliseconds(50);
/// A way there and back that makes all waiting twice as long.
constexpr auto slowRoundTrip = std::chrono::milliseconds(5);
constexpr std::string_view lineInUse = "otro puesto está usando la línea";

/// How a wait for a line's lock has ended: a refusal names the line, other failures are the file's.
Status ofLine(const Status &ended, RecordNumber number)
{
    return ended.kind() == ErrorKind::locked ? ended.ofRecord(number) : ended;
}

} // namespace

std::chrono::milliseconds TableImpl::patience(std::chrono::milliseconds timeout) const
{
    const auto more = timeout * std::min<std::chrono::nanoseconds>(m_roundTrip, slowestRoundTrip).count() /
                      std::chrono::nanoseconds(slowRoundTrip).count();
    return timeout + more;
}

/// Random, so that two workstations that wait for each other's line do not meet again and again.
/// @param wait  passes the time; null: the thread sleeps.
void TableImpl::pauseBetweenTries(LockWait *wait)
{
    const auto roundTrip = std::chrono::duration_cast<std::chrono::milliseconds>(m_roundTrip);
    std::uniform_int_distribution<int> pause(
        shortestPauseMs,
        longestPauseMs + 2 * static_cast<int>(std::min(roundTrip, slowestRoundTrip).count()));
    const std::chrono::milliseconds time(pause(m_random));
    if (wait)
        wait->pause(time);
    else
        std::this_thread::sleep_for(time);
}

Result<RangeLock> TableImpl::waitForLock(File &file, std::uint64_t offset, std::uint64_t length,
                                         File::LockKind kind, std::chrono::milliseconds timeout,
                                         std::string_view refusal)
{
    using Clock = std::chrono::steady_clock;
    constexpr int weightOfOld = 7; // of eight
    std::optional<Clock::time_point> deadline;
    std::unique_ptr<LockWait> wait;
    for (;;) {
        const auto asked = m_remote ? Clock::now() : Clock::time_point();
        if (m_remote) {
            m_askedAt = timeWithSleep();
            m_askedIn = sessionsRenewed();
        }
        const auto got = file.tryLock(offset, length, kind);
        if (!got.ok())
            return got.status();
        if (m_remote) {
            // A call that hung while the server was away says nothing of the next ones.
            const std::chrono::nanoseconds took =
                std::min<std::chrono::nanoseconds>(Clock::now() - asked, 2 * slowestRoundTrip);
            m_roundTrip = (m_roundTrip * weightOfOld + took) / (weightOfOld + 1);
        }
        if (got.value())
            return RangeLock(file, offset, length);
        m_isInTheWay = m_isInTheWay || (m_remote && &file != &m_journal && m_askedIn != m_openedIn);
        const auto now = Clock::now();
        if (!deadline)
            deadline = now + patience(timeout);
        // Files of a session that has ended, or whose calls have failed, may hold on the server what they ask
        // for: they are opened anew first.
        const bool isOfOldSession = offset >= headerLockOffset && m_askedIn != m_openedIn;
        const bool mayBeOwn =
            m_remote && &file != &m_journal && (isOfOldSession || hasFailed()) && mayReconnect();
        if (now >= *deadline || mayBeOwn)
            return failure(ErrorKind::locked, std::string(refusal));
        if (!wait && options.onWait)
            wait = options.onWait();
        pauseBetweenTries(wait.get());
    }
}

LockWait::~LockWait() = default;

File &TableImpl::readLockFile()
{
    return m_mdx ? m_mdx->file() : m_dbf;
}

void TableImpl::takeState(const JournalHeader &state, std::span<const std::uint8_t> bytes)
{
    m_state = state;
    m_isSetBack = false;
    std::copy_n(bytes.begin(), m_stateBytes.size(), m_stateBytes.begin());
}

/// The journal's first bytes.
Status TableImpl::readState(std::span<std::uint8_t> bytes, std::size_t &got) const
{
    const auto read = m_journal.readAt(0, bytes);
    if (!read.ok())
        return read.status();
    got = read.value();
    return got >= journalSector ? Status()
                                : failure(ErrorKind::damaged, "el diario de la tabla se ha perdido");
}

/// The journal's header as it is now; read again when a writer was at it, since not everybody who looks holds
/// a lock.
Status TableImpl::lookAtState()
{
    constexpr int mostLooks = 3;
    if (m_journalMap.lost())
        m_journalMap = Mapping(); // another program has cut the journal off
    JournalHeaderBytes bytes{};
    for (int look = 0; look < mostLooks; ++look) {
        if (m_journalMap.size() >= journalSector) {
            if (std::equal(m_stateBytes.begin(), m_stateBytes.end(), m_journalMap.data()))
                return {};
            std::copy_n(m_journalMap.data(), bytes.size(), bytes.begin());
        } else {
            std::size_t got = 0;
            if (const Status status = readState(bytes, got); !status.ok())
                return status;
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
    std::vector<std::uint8_t> next(journalSector);
    if (m_remote && m_state.tail <= shareJournalRoom) {
        // Header and next commit with one question, where the header is as it was or nearly so.
        std::vector<std::uint8_t> front(m_state.tail + 2 * journalSector);
        std::size_t got = 0;
        if (const Status status = readState(front, got); !status.ok())
            return status;
        if (!std::equal(m_stateBytes.begin(), m_stateBytes.end(), front.begin())) {
            if (const auto state = decodeJournalHeader(front))
                takeState(*state, front);
            else if (const Status status = lookAtState(); !status.ok()) // a writer was at it
                return status;
        }
        if (got >= 2 * journalSector)
            noteFirst(numberOfCommit(std::span(front).subspan(journalSector)));
        if (m_state.tail + journalSector <= got)
            return mayBeCommit(std::span(front).subspan(m_state.tail, journalSector), m_state.applied + 1);
    } else {
        if (const Status status = lookAtState(); !status.ok())
            return status;
        if (m_remote) {
            const auto first = firstInJournal();
            if (!first.ok())
                return first.status();
            noteFirst(first.value());
        }
        const std::span<const std::uint8_t> map{m_journalMap.data(), m_journalMap.size()};
        if (m_state.tail + journalSector <= map.size())
            return mayBeCommit(map.subspan(m_state.tail, journalSector), m_state.applied + 1);
    }
    const auto got = m_journal.readAt(m_state.tail, next);
    if (!got.ok())
        return got.status();
    return got.value() == next.size() && mayBeCommit(next, m_state.applied + 1);
}

/// On a share a header may have been written late over that of those who had emptied the journal and gone on.
/// Their first commit tells where they began; all of them are then as good as unfinished.
/// @param first  number of the commit that stands first in the file.
void TableImpl::noteFirst(std::uint64_t first)
{
    const bool isNext = m_state.tail == journalSector && first == m_state.applied + 1;
    if (isNext || first <= std::max(m_state.applied, m_underWay))
        return;
    m_isSetBack = true;
    m_state.base = first - 1;
    m_state.applied = first - 1;
    m_state.tail = journalSector;
    m_state.lastLink = 0;
    m_state.past.forget(first);
}

Status TableImpl::beginRead()
{
    if (const Status status = reconnect(); !status.ok())
        return status;
    if (m_held != Held::nothing) {
        if (m_held == Held::changing && !indexIsKnown()) {
            if (const Status status = holdIndex(); !status.ok())
                return status;
        }
        ++m_holders;
        return {};
    }
    int waits = 0;
    for (int attempt = 0;;) {
        const std::uint64_t at = m_mdx ? headerLockOffset : headerLockOffset + 1;
        auto lock =
            waitForLock(readLockFile(), at, 1, File::LockKind::shared, options.lockTimeout, writersRefusal);
        if (!lock.ok() && wantsReconnecting()) {
            if (const Status status = reconnect(); !status.ok())
                return status;
            lock = waitForLock(readLockFile(), at, 1, File::LockKind::shared, options.lockTimeout,
                               writersRefusal);
        }
        if (!lock.ok())
            return lock.status();
        const auto unfinished = lookAtJournal();
        if (!unfinished.ok())
            return unfinished.status();
        if (unfinished.value() && waits++ < mostWaits) {
            // Mostly somebody is at it, who changes no key and so leaves readers in.
            lock.value().release();
            pauseBetweenTries();
            continue;
        }
        // A writer that keeps no index, or one that died while it made the index anew, says so.
        const bool isKept = !m_journal.isOpen() || m_state.indexedRecords > 0 || header.recordCount == 0;
        bool sound = !unfinished.value() && !m_indexSuspect && (isKept || !m_mdx);
        bool isSame = true;
        if (m_mdx && (sound || readOnly) && !indexIsKnown()) {
            const auto same = m_mdx->look();
            if (!same.ok())
                return same.status();
            isSame = same.value();
            sound = sound && isSame;
            if (isSame)
                m_indexAsOf = m_state.applied;
            else
                m_indexSuspect = true;
        }
        if (readOnly && m_mdx && (m_indexSuspect || !isSame) && attempt == 0) {
            ++attempt;
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
        if (attempt++ == mostSettlings)
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
        noteRenewal(m_askedIn);
        m_mdxLock.release();
        m_held = Held::nothing;
    }
}

Status TableImpl::beginChange(bool adding)
{
    if (const Status status = reconnect(); !status.ok())
        return status;
    if (readOnly)
        return failure(ErrorKind::readOnly, readOnlyReason);
    if (m_held == Held::changing) {
        ++m_holders;
        return {};
    }
    if (const Status status = m_opened ? checkPlace() : Status(); !status.ok())
        return status;
    const auto begun = m_remote ? timeWithSleep() : std::chrono::nanoseconds(0);
    const auto lock = [&] {
        return waitForLock(m_dbf, headerLockOffset, changeLockLength, File::LockKind::exclusive,
                           options.lockTimeout, writersRefusal);
    };
    auto table = lock();
    if (!table.ok() && wantsReconnecting()) {
        if (const Status status = reconnect(); !status.ok())
            return status;
        table = lock();
    }
    if (!table.ok())
        return refusedLock(table.status());
    m_dbfLock = std::move(table).value();
    noteLockTime();
    m_held = Held::changing;
    m_holders = 1;

    // Nothing read before the locks counts.
    Status status;
    m_emptied.reset();
    m_underWay = 0;
    m_hasWritten = false;
    if (m_remote && m_opened && timeWithSleep() - begun > longAfterLooking) {
        m_placeSeen = std::chrono::nanoseconds(-1);
        status = checkPlace();
    }
    const auto unfinished = lookAtJournal();
    m_foundUnfinished = unfinished.ok() && unfinished.value();
    if (status.ok())
        status = unfinished.status();
    bool isUnfinished = m_foundUnfinished;
    if (status.ok() && m_owed) {
        status = mendWhatIsOwed();
        const auto left = status.ok() ? lookAtJournal() : status; // which is not what it was
        status = left.status();
        isUnfinished = left.ok() && left.value();
    }
    if (status.ok() && isUnfinished)
        status = finishDeadCommits();
    m_foundUnfinished = false;
    if (status.ok() && needsCount(adding))
        status = settleCount(adding);
    const bool counted = !m_mdx || m_state.indexedRecords == header.recordCount;
    if (status.ok() && (!counted || m_indexSuspect))
        status = settleIndex();
    if (!status.ok())
        endChange();
    return status;
}

/// On a share a lock may be stuck for good on the server: when nobody has come to write for long, the refusal
/// names the settings that are known to be behind that.
Status TableImpl::refusedLock(const Status &status)
{
    constexpr auto suspicious = std::chrono::seconds(20);
    if (!m_remote || status.kind() != ErrorKind::locked || !lookAtState().ok())
        return status;
    const auto now = std::chrono::steady_clock::now();
    if (m_refusedAsOf != m_state.applied) {
        m_refusedAsOf = m_state.applied;
        m_refusedSince = now;
    }
    if (now - m_refusedSince < suspicious)
        return status;
    return failure(ErrorKind::locked,
                   status.text() +
                       ", y desde hace rato nadie escribe en ella: puede que el servidor conserve un "
                       "bloqueo. Compruebe «oplocks = no», «level2 oplocks = no» y «smb2 leases = "
                       "no» en Samba, y «cache=none» en los puestos");
}

/// On a share the header's count is read where somebody has written since, or it is going to change.
bool TableImpl::needsCount(bool adding) const
{
    return adding || !m_remote || m_countAsOf != m_state.applied ||
           m_dateAndCount != encodeDateAndCount(today(), header.recordCount);
}

/// The index for a change that moves keys, and for questions in the middle of one. Other changes leave
/// readers in.
Status TableImpl::holdIndex()
{
    if (!m_mdx || m_indexHeld)
        return {};
    if (const Status status = takeIndexLock(); !status.ok())
        return status;
    const auto same = m_mdx->look();
    if (!same.ok())
        return same.status();
    if (!same.value()) {
        if (const Status status = settleIndex(); !status.ok())
            return status;
    }
    m_indexAsOf = m_state.applied;
    m_indexHeld = true;
    return {};
}

/// Makes the index right; others are told when its blocks have moved.
Status TableImpl::settleIndex()
{
    const Status status = repairIndex();
    return status.ok() && m_indexRewritten ? checkpoint(false) : status;
}

Status TableImpl::takeIndexLock()
{
    if (!m_mdx || m_mdxLock.held())
        return {};
    auto index = waitForLock(m_mdx->file(), headerLockOffset, 1, File::LockKind::exclusive,
                             options.lockTimeout, writersRefusal);
    const Status status = index.status();
    if (status.ok())
        m_mdxLock = std::move(index).value();
    return status;
}

void TableImpl::endChange() noexcept
{
    if (--m_holders > 0)
        return;
    noteRenewal(m_lockedIn);
    m_mdxLock.release();
    m_dbfLock.release();
    m_held = Held::nothing;
    m_indexHeld = false;
    m_lastRead = 0;
}

/// Whether a question can be tried by what is kept of the index. For shares: elsewhere the index is seen as
/// it is.
bool TableImpl::keepsIndex() const
{
    return m_mdx && m_held == Held::nothing && m_poison.ok() && !m_indexSuspect && indexIsKnown() &&
           !isInDoubt();
}

/// Whether what is kept is still so, which one reading of the journal's header tells. Numbers only grow: one
/// that is as it was says the same of all the time before.
bool TableImpl::isAsKept()
{
    return keepsIndex() && lookAtState().ok() && indexIsKnown();
}

Status TableImpl::takeRecordLock(RecordNumber number, std::chrono::milliseconds timeout)
{
    if (const Status status = reconnect(); !status.ok())
        return status;
    if (readOnly)
        return failure(ErrorKind::readOnly, readOnlyReason);
    if (number < 1 || number > header.recordCount || m_locked.contains(number))
        return failure(ErrorKind::invalidArgument, "no se puede bloquear la línea").ofRecord(number);
    const auto take = [&] {
        return waitForLock(m_dbf, recordLockOffset(number), 1, File::LockKind::exclusive, timeout, lineInUse);
    };
    auto lock = take();
    if (!lock.ok() && wantsReconnecting()) {
        if (const Status status = reconnect(); !status.ok())
            return status;
        lock = take();
    }
    if (!lock.ok())
        return ofLine(lock.status(), number);
    m_locked.insert(number);
    // From here on the lock belongs to the set; dropRecordLock() gives it back.
    RangeLock kept = std::move(lock).value();
    kept.disown();
    return {};
}

void TableImpl::dropRecordLock(RecordNumber number)
{
    if (m_locked.erase(number) == 0)
        return;
    noteRenewal(m_openedIn);
    m_dbf.unlock(recordLockOffset(number), 1);
    if (m_lastRead == number && m_held == Held::nothing)
        m_lastRead = 0;
}

/// Taken before the table's lock, as everybody does, and held until the record is written.
Status TableImpl::checkNotLockedElsewhere(RecordNumber number, RangeLock &held)
{
    if (m_locked.contains(number))
        return {};
    if (m_group) {
        // The table is held already, and whoever holds the line may be waiting for the table: no waiting. Nor
        // is the line kept: what is read of it from here on is compared again before it is changed.
        const auto taken = m_dbf.isLockedElsewhere(recordLockOffset(number), 1);
        if (!taken.ok())
            return taken.status();
        return taken.value() ? ofLine(failure(ErrorKind::locked, std::string(lineInUse)), number) : Status();
    }
    auto lock = waitForLock(m_dbf, recordLockOffset(number), 1, File::LockKind::exclusive,
                            options.lockTimeout, lineInUse);
    const Status status = ofLine(lock.status(), number);
    if (status.ok())
        held = std::move(lock).value();
    return status;
}

} // namespace dbase
