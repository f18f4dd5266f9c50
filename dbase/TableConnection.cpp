// A connection that was away: locks that a server may have given to others, files whose calls have failed.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <thread>

namespace dbase
{

namespace
{

constexpr auto pauseBeforeReconnecting = std::chrono::milliseconds(1000);
constexpr auto lastingTrouble = std::chrono::seconds(10);
constexpr auto timeToForget = std::chrono::milliseconds(1200);

} // namespace

/// Whether the change locks are surely still this workstation's: it has not held them for long, and its
/// connection is the one that they were taken over.
bool TableImpl::locksAreTrusted() const
{
    return !m_remote || (timeWithSleep() - m_lockedAt < trustInLocks && m_lockedIn == sessionsRenewed());
}

/// For what is written outside of a commit: repairs, and the journal's own header.
/// @return locked when others have written since the change locks were taken.
Status TableImpl::mayWriteOn()
{
    const std::uint64_t since = firstInDoubt();
    const auto alone = stillAlone();
    if (alone.ok() && alone.value()) {
        m_hasWritten = true; // as it is about to
        m_wroteHeaderLast = false;
        return {};
    }
    if (m_hasWritten)
        owe(since, {});
    if (!alone.ok())
        return alone.status();
    // A mend during which others have written is not begun again on top of itself: they would be kept out for
    // as long as the line is slow. It stays owed.
    const Status status = m_owed && !m_mends ? mendAfterOthers() : Status();
    return status.ok() ? failure(ErrorKind::locked, std::string(writersRefusal)) : status;
}

/// Notes that what was written last may lie over something newer. An older debt stays the one.
/// @param own  the commit under way, which takes its place.
void TableImpl::owe(std::uint64_t since, std::optional<Commit> own)
{
    if (!m_owed || own)
        m_owed = Owed{since, std::move(own), m_wroteHeaderLast};
    else
        m_owed->wroteHeaderLast = m_owed->wroteHeaderLast && m_wroteHeaderLast;
}

/// The first commit that may be under what was written here, late. Where the journal has been emptied under
/// these locks others may have gone on from what it held.
std::uint64_t TableImpl::firstInDoubt() const
{
    return (m_emptied ? m_emptied->base : m_state.base) + 1;
}

/// Whether nobody can have written since the change locks were taken. Who has held them for long, over a
/// connection that may have been away, or has been connected anew meanwhile takes them again and looks.
Result<bool> TableImpl::stillAlone()
{
    if (m_held != Held::changing || locksAreTrusted())
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
    const bool wasSetBack = m_isSetBack;
    const auto unfinished = lookAtJournal();
    if (!unfinished.ok())
        return unfinished.status();
    if (m_stateBytes == known && m_emptied) {
        const auto first = firstInJournal();
        const auto others = first.ok() ? goneOnBehindEmptied(first.value()) : first.status();
        if (!others.ok() || others.value())
            return others.ok() ? Result<bool>(false) : others.status();
    }
    // What a dead one had left when the locks were taken is no news.
    if (m_stateBytes != known || m_isSetBack != wasSetBack || (unfinished.value() && !m_foundUnfinished))
        return false;
    return headerIsAsKnown();
}

/// Whether the table's header is as it was read or written under these locks: another program leaves no
/// trace in the journal.
Result<bool> TableImpl::headerIsAsKnown()
{
    std::vector<std::uint8_t> present(dbfDateAndCount);
    if (m_dateAndCount.empty())
        return true;
    if (const Status status = readDateAndCount(present); !status.ok())
        return status;
    if (present == m_dateAndCount)
        return true;
    m_dateAndCount.clear();
    m_countAsOf.reset();
    return false;
}

/// Whether the lines that a commit changes are as it takes them to be.
Result<bool> TableImpl::linesAreAsBefore(const Commit &commit) const
{
    std::vector<std::uint8_t> present(header.recordLength);
    std::set<RecordNumber> seen;
    for (const RecordChange &change : commit.changes) {
        if (!seen.insert(change.number).second || change.before.empty())
            continue;
        const auto got = m_dbf.readAt(recordOffset(change.number), present);
        if (!got.ok())
            return got.status();
        if (got.value() != present.size() || present != change.before)
            return false;
    }
    return true;
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
    const bool isBehind = got.value() == sector.size() && mayBeCommit(sector, next) && next != m_underWay;
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
    KnownCommits known{std::move(kept).value(), std::move(found).value(), false};
    const std::uint64_t from = std::max(since, m_state.past.knownFrom);
    const std::uint64_t last = m_state.base + known.inJournal.commits.size();
    known.areAll =
        from == since && since <= last + 1 && m_state.tail <= journalSize && last >= m_state.applied;
    std::erase_if(known.all,
                  [&](const Commit &one) { return one.number < from || one.number > m_state.base; });
    for (const Commit &one : known.inJournal.commits) {
        if (one.number >= from)
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
    struct Versions {
        const RecordChange *first = nullptr;
        const RecordChange *last = nullptr;
    };
    std::map<RecordNumber, Versions> lines;
    for (const RecordChange &change : commit.changes) {
        Versions &one = lines[change.number];
        one.first = one.first ? one.first : &change;
        one.last = &change;
    }
    std::size_t done = 0;
    std::size_t untouched = 0;
    std::vector<std::uint8_t> present(header.recordLength);
    for (const auto &[number, line] : lines) {
        if (number > header.recordCount) {
            ++untouched;
            continue;
        }
        if (status.ok())
            status = readRecord(number, present);
        const RecordChange *const next = known.value().firstChangeOf(number, commit.number);
        const auto &before = line.first->before;
        const auto &after = line.last->after;
        const bool isDone = present == after || (next && next->before == after);
        done += isDone ? 1U : 0U;
        untouched +=
            !isDone && (before.empty() || present == before || (next && next->before == before)) ? 1U : 0U;
    }
    m_lastRead = 0;
    m_indexRewritten = true; // the numbers go on behind all that either side has given out
    if (status.ok())
        status = checkpoint(false);
    if (status.ok() && done == lines.size())
        return {};
    if (status.ok() && done == 0 && untouched == lines.size())
        return failure(ErrorKind::locked, std::string(writersRefusal));
    return failure(ErrorKind::inputOutput, "se ha perdido la conexión mientras se escribía");
}

/// The same when something had been written here: they have finished what was begun, and what was written
/// late may lie over something newer. The journal, and what is kept of it, tell what belongs where. What is
/// owed stays so until it is done.
Status TableImpl::mendAfterOthers()
{
    const FlagGuard mending(m_mends);
    const bool isSetBack = m_isSetBack && m_owed->wroteHeaderLast;
    dropStagedIndex();
    Status status = takeIndexLock();
    const auto cut = status.ok() ? isCutBack() : status;
    if (cut.ok() && cut.value())
        return giveUpOwed();
    auto known = cut.ok() ? commitsKnownSince(m_owed->since) : cut.status();
    if (!known.ok())
        return known.status();
    std::vector<Commit> commits = std::move(known.value().all);
    const FoundCommits &found = known.value().inJournal;
    const bool isFinished = !m_owed->own || std::ranges::any_of(commits, [this](const Commit &one) {
        return one.number == m_owed->own->number && one.changes == m_owed->own->changes;
    });
    if (!isFinished && known.value().areAll)
        commits.insert(commits.begin(), *m_owed->own);
    status = found.commits.empty() ? Status() : bringToDisk(found);
    if (status.ok() && !commits.empty())
        status = replay(commits);
    if (status.ok() && m_state.base + found.commits.size() > m_state.applied) {
        m_state.applied = m_state.base + found.commits.size();
        m_state.lastLink = found.lastLink;
    }
    m_dateAndCount.clear();
    if (status.ok())
        status = settleCount(true);
    if (status.ok())
        status = repairIndex();
    m_indexRewritten = true;
    if (status.ok())
        status = checkpoint(false);
    if (status.kind() == ErrorKind::locked || status.kind() == ErrorKind::full)
        return status; // to be tried again
    if (!status.ok())
        return failure(ErrorKind::inputOutput, status.text());
    // A header that was set back is written last: nothing of the table was written late.
    if (!isSetBack && !known.value().areAll)
        return giveUpOwed();
    m_owed.reset();
    return isFinished ? Status()
                      : failure(ErrorKind::inputOutput, "se ha perdido la conexión mientras se escribía");
}

/// Nobody knows any more what was written late over what.
Status TableImpl::giveUpOwed()
{
    addNotice("un cambio ha llegado al servidor con mucho retraso, después de un corte de la conexión, y "
              "ya no se sabe qué se ha escrito entretanto: revise las últimas citas que haya cambiado");
    const bool isOwn = m_owed->own.has_value();
    m_owed.reset();
    return isOwn ? failure(ErrorKind::inputOutput, "se ha perdido la conexión mientras se escribía")
                 : Status();
}

/// Under fresh change locks: what could not be put right when it was found out.
Status TableImpl::mendWhatIsOwed()
{
    if (!m_owed)
        return {};
    // Who only looks does not wait for the table, but has it now.
    constexpr auto leastPatience = std::chrono::milliseconds(500);
    const auto patience = std::exchange(options.lockTimeout, std::max(options.lockTimeout, leastPatience));
    const Status status = mendAfterOthers();
    options.lockTimeout = patience;
    return m_owed ? status : Status(); // how it ended was told when it failed
}

/// At a look, with nobody waiting for it; what cannot be done is tried more and more seldom.
void TableImpl::payInPassing()
{
    constexpr auto shortestPause = std::chrono::seconds(1);
    constexpr auto longestPause = std::chrono::seconds(30);
    takeOverOwed();
    const auto now = std::chrono::steady_clock::now();
    if (!m_owed || m_held != Held::nothing || now < m_payNext)
        return;
    const auto patience = std::exchange(options.lockTimeout, std::chrono::milliseconds(0));
    if (beginChange().ok())
        endChange();
    options.lockTimeout = patience;
    m_payPause = m_owed ? std::clamp<std::chrono::milliseconds>(2 * m_payPause, shortestPause, longestPause)
                        : std::chrono::milliseconds(0);
    m_payNext = now + m_payPause;
}

/// What objects of this program that are gone still owe, by the table's path.
TableImpl::OwedTables &TableImpl::owedTables()
{
    static OwedTables all;
    return all;
}

/// Who closes a table pays first. What cannot be paid is for the next one of this program that opens it.
void TableImpl::payBeforeLeaving()
{
    if (m_owed && m_opened && m_held == Held::nothing && beginChange().ok())
        endChange();
    if (!m_owed)
        return;
    OwedTables &all = owedTables();
    const std::lock_guard guard(all.mutex);
    all.owed.emplace(std::filesystem::absolute(path), *std::exchange(m_owed, {}));
}

void TableImpl::takeOverOwed()
{
    if (m_owed || readOnly || !m_remote)
        return;
    OwedTables &all = owedTables();
    const std::lock_guard guard(all.mutex);
    if (auto left = all.owed.extract(std::filesystem::absolute(path)))
        m_owed = std::move(left.mapped());
}

// ---------------------------------------------------------------------------------------------------------------------
// Files whose calls have failed

bool TableImpl::hasFailed() const
{
    return !m_poison.ok() || m_dbf.isInDoubt() || m_journal.isInDoubt() ||
           (m_mdx && m_mdx->file().isInDoubt());
}

/// After a session has been renewed as well: what the system has locked twice keeps others out until the
/// files are closed.
bool TableImpl::isInDoubt() const
{
    return hasFailed() || (m_remote && m_openedIn != sessionsRenewed());
}

/// Whether the files are to be opened anew now. Renewals are counted for the whole machine: where another
/// server's come again and again, these files are opened anew more and more seldom.
bool TableImpl::wantsReconnecting() const
{
    return !m_holdsLine && mayReconnect();
}

/// The same where a line's lock is held for a change, which would go with its file: the change begins once
/// more then.
bool TableImpl::mayReconnect() const
{
    if (!m_remote || !m_opened || m_isAlone || m_opensAnew || m_held != Held::nothing || !isInDoubt())
        return false;
    const auto pause = hasFailed() || m_isInTheWay ? pauseBeforeReconnecting
                                                   : std::max(m_renewalPause, pauseBeforeReconnecting);
    return !m_reconnected || std::chrono::steady_clock::now() - *m_reconnected >= pause;
}

/// A renewal that may have been this share's while its locks were held or asked for: what the system has
/// locked twice keeps others out, so it is not put off. Under a lock; or before what needs the table alone.
void TableImpl::noteRenewal(std::uint64_t since) noexcept
{
    m_isInTheWay = m_isInTheWay || (m_remote && sessionsRenewed() != since);
}

/// On a share, after calls that failed: the files are opened anew, as if the table had been closed and
/// opened. That frees what locks the server still holds for this object, and finds out what has become of a
/// commit.
/// @return why the table cannot be used for now.
Status TableImpl::reconnect()
{
    constexpr auto longestPause = std::chrono::milliseconds(60'000);
    if (!wantsReconnecting())
        return m_poison;
    const auto now = std::chrono::steady_clock::now();
    const auto since = m_reconnected ? now - *m_reconnected : std::chrono::steady_clock::duration::max();
    m_reconnected = now;
    const bool isAgain = since < lastingTrouble || since < 2 * m_renewalPause;
    if (hasFailed() || !isAgain)
        m_renewalPause = std::chrono::milliseconds(0);
    else if (!m_isInTheWay)
        m_renewalPause = std::min(2 * std::max(m_renewalPause, pauseBeforeReconnecting), longestPause);
    m_isInTheWay = false;
    // Once is mostly enough. A system that has the files still open for a moment after they were closed would
    // hand out what was to be got rid of.
    const Status status =
        openAnew(hasFailed() && since < lastingTrouble ? timeToForget : std::chrono::milliseconds(0));
    m_poison = status.ok() ? status
                           : failure(ErrorKind::inputOutput,
                                     "no se llega a la tabla (" + status.text() + "); se volverá a intentar");
    return m_poison;
}

/// @param pause  between closing and opening.
Status TableImpl::openAnew(std::chrono::milliseconds pause)
{
    const FlagGuard opening(m_opensAnew);          // not within itself, where it takes long
    const std::set<RecordNumber> lines = m_locked; // also while the files cannot be opened
    if (!m_structure)
        m_structure = header;
    const bool wasPresent = m_presence.held();
    for (RangeLock *lock : {&m_presence, &m_dbfLock, &m_mdxLock})
        lock->disown(); // they go with their files
    retireIndexes();
    m_mdx.reset();
    // Presence passes from the old file to the new one: after a server's return all come at once, and who
    // found nobody there would put the whole table in order while the others wait.
    File old = std::exchange(m_journal, File());
    if (!wasPresent || old.isInDoubt()) // it may hold more than presence
        old.close();
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
    if (status.ok() && (header.recordLength != m_structure->recordLength ||
                        header.headerLength != m_structure->headerLength ||
                        header.fields.size() != m_structure->fields.size()))
        status = failure(ErrorKind::damaged, "en su lugar hay otra");
    if (status.ok())
        status = needTags();
    if (!status.ok()) {
        m_presence.release(); // whoever is alone with the files puts them in order
        return status;
    }
    m_structure.reset();
    for (const RecordNumber number : lines) {
        // One that somebody else has by now is lost; what he writes is found when the line is to be written.
        const auto taken = m_dbf.tryLock(recordLockOffset(number), 1, File::LockKind::exclusive);
        if (!taken.ok() || !taken.value())
            m_locked.erase(number);
    }
    m_stampDoubtful = true;
    ++version;
    return {};
}

} // namespace dbase
