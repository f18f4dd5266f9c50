// A connection that was away: locks that a server may have given to others, files whose calls have failed.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <map>
#include <thread>

namespace dbase
{

namespace
{

constexpr auto pauseBeforeReconnecting = std::chrono::seconds(1);
constexpr auto lastingTrouble = std::chrono::seconds(10);
constexpr auto timeToForget = std::chrono::milliseconds(1200);

} // namespace

/// For what is written outside of a commit: repairs, and the journal's own header.
/// @return locked when others have written since the change locks were taken.
Status TableImpl::mayWriteOn()
{
    const std::uint64_t since = m_state.base + 1;
    const auto alone = stillAlone();
    if (alone.ok() && alone.value())
        return {};
    if (!m_owed)
        m_owed = Owed{since, {}};
    if (!alone.ok())
        return alone.status();
    const Status status = mendAfterOthers();
    return status.ok() ? failure(ErrorKind::locked, std::string(writersRefusal)) : status;
}

/// Whether nobody can have written since the change locks were taken. Who has held them for long, over a
/// connection that may have been away, or has been connected anew meanwhile takes them again and looks.
Result<bool> TableImpl::stillAlone()
{
    const bool areTrusted = m_remote && timeWithSleep() - m_lockedAt < trustInLocks;
    if (!m_remote || m_held != Held::changing || (areTrusted && m_lockedIn == sessionsRenewed()))
        return true;
    const bool withIndex = m_mdxLock.held();
    m_mdxLock.release();
    m_dbfLock.release();
    auto table = waitForLock(m_dbf, headerLockOffset, changeLockLength, File::LockKind::exclusive,
                             options.lockTimeout, writersRefusal);
    if (!table.ok())
        return table.status();
    m_dbfLock = std::move(table).value();
    noteLockTime();
    if (withIndex) {
        if (const Status status = takeIndexLock(); !status.ok())
            return status;
    }
    m_placeSeen = std::chrono::nanoseconds(-1); // they may have put another file there
    if (const Status status = checkPlace(); !status.ok())
        return status;
    const JournalHeaderBytes known = m_stateBytes;
    const auto unfinished = lookAtJournal();
    const auto first = firstInJournal();
    if (!unfinished.ok() || !first.ok())
        return unfinished.ok() ? first.status() : unfinished.status();
    if (m_stateBytes == known && m_emptied) {
        const auto others = goneOnBehindEmptied(first.value());
        if (!others.ok() || others.value())
            return others.ok() ? Result<bool>(false) : others.status();
    }
    // A header that was written late from here may lie over that of those who had gone on.
    const bool isOld = first.value() > std::max(m_state.applied, m_underWay);
    return m_stateBytes == known && !unfinished.value() && !isOld;
}

/// Whether others have written behind the journal as it was before it was emptied here, late: what is
/// believed of it is then as they have it.
/// @param first  number of the commit that stands first in the file.
Result<bool> TableImpl::goneOnBehindEmptied(std::uint64_t first)
{
    std::vector<std::uint8_t> sector(journalSector);
    const auto got = m_journal.readAt(m_emptied->tail, sector);
    if (!got.ok())
        return got.status();
    const std::uint64_t next = m_emptied->applied + 1;
    const bool isBehind = got.value() == sector.size() && mayBeCommit(sector, next);
    const bool isInFront = first > m_emptied->applied && first != m_underWay;
    if (!isBehind && !isInFront)
        return false;
    const JournalPast past = m_state.past;
    m_state = *std::exchange(m_emptied, {});
    m_state.past = past;
    return true;
}

/// What is known of the commits from a number on.
struct TableImpl::KnownCommits {
    std::vector<Commit> all; ///< by number
    FoundCommits inJournal;  ///< those of them, and older ones, that stand in the journal proper
    bool areAll = true;

    /// What a record was before the first of them that changes it; null when none does.
    [[nodiscard]] const RecordChange *firstChangeOf(RecordNumber number, std::uint64_t behind) const
    {
        for (const Commit &one : all) {
            if (one.number <= behind)
                continue;
            for (const RecordChange &change : one.changes) {
                if (change.number == number)
                    return &change;
            }
        }
        return nullptr;
    }
};

Result<TableImpl::KnownCommits> TableImpl::commitsKnownSince(std::uint64_t since)
{
    auto found = commitsFrom(journalSector, m_state.base);
    auto kept = JournalPast::commitsSince(m_journal, header.recordLength, since);
    if (!found.ok() || !kept.ok())
        return found.ok() ? kept.status() : found.status();
    KnownCommits known{std::move(kept).value(), std::move(found).value(),
                       m_state.past.knownFrom <= since && m_state.tail <= journalSize};
    std::erase_if(known.all, [&](const Commit &one) { return one.number > m_state.base; });
    for (const Commit &one : known.inJournal.commits) {
        if (one.number >= since)
            known.all.push_back(one);
    }
    return known;
}

/// Others have written since the change locks were taken, which a server had given them: this workstation was
/// not heard of for long. A commit of which nothing but the journal has been written may have come in time,
/// and they have finished it; or it lies where they had gone on, and must not stay there.
/// @return ok when the commit is in the table, or others have changed its lines since; locked when nothing of
/// it is.
Status TableImpl::verdictOfOthers(const Commit &commit)
{
    dropStagedIndex();
    m_dateAndCount.clear();
    Status status = settleCount(true);
    const auto known = commitsKnownSince(commit.number);
    if (status.ok())
        status = known.status();
    if (!status.ok())
        return failure(ErrorKind::inputOutput, status.text());
    std::map<RecordNumber, const RecordChange *> last;
    for (const RecordChange &change : commit.changes)
        last[change.number] = &change;
    std::size_t done = 0;
    std::size_t untouched = 0;
    std::vector<std::uint8_t> present(header.recordLength);
    for (const auto &[number, change] : last) {
        if (number > header.recordCount) {
            ++untouched;
            continue;
        }
        if (status.ok())
            status = readRecord(number, present);
        const RecordChange *const next = known.value().firstChangeOf(number, commit.number);
        const bool isDone = present == change->after || (next && next->before == change->after);
        done += isDone ? 1U : 0U;
        untouched += !isDone && (change->before.empty() || present == change->before ||
                                 (next && next->before == change->before))
                         ? 1U
                         : 0U;
    }
    m_lastRead = 0;
    m_indexRewritten = true; // the numbers go on behind all that either side has given out
    m_holdsRefused = done != last.size();
    if (status.ok())
        status = checkpoint(false);
    if (status.ok() && done == last.size())
        return {};
    if (status.ok() && done == 0 && untouched == last.size())
        return failure(ErrorKind::locked, std::string(writersRefusal));
    return failure(ErrorKind::inputOutput, "se ha perdido la conexión mientras se escribía");
}

/// The same when something had been written here: they have finished what was begun, and what was written
/// late may lie over something newer. The journal, and what is kept of it, tell what belongs where. What is
/// owed stays so until it is done.
Status TableImpl::mendAfterOthers()
{
    dropStagedIndex();
    const auto first = firstInJournal();
    if (!first.ok())
        return first.status();
    // Where they have emptied the journal and gone on, and its header was then set back from here, their
    // first commit tells where they began. The header comes last: nothing of the table was written late.
    const bool isSetBack = first.value() > std::max(m_state.applied, m_underWay);
    if (isSetBack) {
        m_state.base = first.value() - 1;
        m_state.past.forget(first.value());
    }
    auto known = commitsKnownSince(m_owed->since);
    if (!known.ok())
        return known.status();
    std::vector<Commit> commits = std::move(known.value().all);
    const FoundCommits &found = known.value().inJournal;
    const bool isFinished = !m_owed->own || std::ranges::find(commits, *m_owed->own) != commits.end();
    if (!isFinished)
        commits.insert(commits.begin(), *m_owed->own);
    Status status = found.commits.empty() ? Status() : bringToDisk(found);
    if (status.ok() && !commits.empty())
        status = replay(commits);
    m_state.applied = std::max(m_state.applied, m_state.base + found.commits.size());
    m_dateAndCount.clear();
    if (status.ok())
        status = settleCount(true);
    if (status.ok())
        status = repairIndex();
    m_indexRewritten = true;
    if (status.ok())
        status = checkpoint(false);
    if (!status.ok())
        return failure(ErrorKind::inputOutput, status.text());
    if (!isSetBack && !known.value().areAll)
        addNotice("un cambio ha llegado al servidor con mucho retraso, después de un corte de la conexión, y "
                  "ya no se sabe qué se ha escrito entretanto: revise las últimas citas que haya cambiado");
    m_owed.reset();
    return isFinished ? Status()
                      : failure(ErrorKind::inputOutput, "se ha perdido la conexión mientras se escribía");
}

/// Under fresh change locks: what could not be put right when it was found out.
Status TableImpl::mendWhatIsOwed()
{
    if (!m_owed)
        return {};
    const Status status = mendAfterOthers();
    return m_owed ? status : Status(); // how it ended was told when it failed
}

// ---------------------------------------------------------------------------------------------------------------------
// Files whose calls have failed

/// After a session has been renewed as well: what the system has locked twice keeps others out until the
/// files are closed.
bool TableImpl::isInDoubt() const
{
    return m_dbf.isInDoubt() || m_journal.isInDoubt() || (m_mdx && m_mdx->file().isInDoubt()) ||
           (m_remote && m_openedIn != sessionsRenewed());
}

/// On a share, after calls that failed: the files are opened anew, as if the table had been closed and
/// opened. That frees what locks the server still holds for this object, and finds out what has become of a
/// commit.
/// @return why the table cannot be used for now.
Status TableImpl::reconnect()
{
    if (!m_remote || !m_opened || m_isAlone || m_held != Held::nothing || (m_poison.ok() && !isInDoubt()))
        return m_poison;
    const auto now = std::chrono::steady_clock::now();
    const auto since = m_reconnected ? now - *m_reconnected : std::chrono::steady_clock::duration::max();
    if (since < pauseBeforeReconnecting)
        return m_poison;
    m_reconnected = now;
    // Once is mostly enough. A system that has the files still open for a moment after they were closed would
    // hand out what was to be got rid of.
    const Status status = openAnew(since < lastingTrouble ? timeToForget : std::chrono::milliseconds(0));
    m_poison = status.ok() ? status
                           : failure(ErrorKind::inputOutput,
                                     "no se llega a la tabla (" + status.text() + "); se volverá a intentar");
    return m_poison;
}

/// @param pause  between closing and opening.
Status TableImpl::openAnew(std::chrono::milliseconds pause)
{
    const std::set<RecordNumber> lines = std::exchange(m_locked, {});
    const TableHeader known = header;
    for (RangeLock *lock : {&m_presence, &m_dbfLock, &m_mdxLock})
        lock->disown(); // they go with their files
    retireIndexes();
    m_mdx.reset();
    m_journal.close();
    m_dbf.close();
    if (pause.count() > 0)
        std::this_thread::sleep_for(pause);
    m_poison = {};
    // What was believed of the journal may be half of what was to be: it is read anew, whatever stands there.
    m_state = {};
    m_stateBytes = {};
    m_underWay = 0;
    m_indexAsOf.reset();
    m_countAsOf.reset();
    m_lastRead = 0;
    Status status = openFiles();
    if (status.ok() &&
        (header.recordLength != known.recordLength || header.headerLength != known.headerLength ||
         header.fields.size() != known.fields.size()))
        status = failure(ErrorKind::damaged, "en su lugar hay otra");
    if (status.ok())
        status = needTags();
    if (!status.ok())
        return status;
    for (const RecordNumber number : lines) {
        // One that somebody else has by now is lost; what he writes is found when the line is to be written.
        const auto taken = m_dbf.tryLock(recordLockOffset(number), 1, File::LockKind::exclusive);
        if (taken.ok() && taken.value())
            m_locked.insert(number);
    }
    m_stampDoubtful = true;
    ++version;
    return {};
}

} // namespace dbase
