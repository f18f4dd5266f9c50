// Changing a table: every change is one commit, in the journal first.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <cstring>

namespace dbase
{

Status TableImpl::checkWritable(std::size_t recordSize) const
{
    if (readOnly)
        return failure(ErrorKind::readOnly, readOnlyReason);
    if (recordSize != header.recordLength)
        return failure(ErrorKind::invalidArgument, "la línea no tiene la longitud de las de la tabla");
    return {};
}

/// After a failure in the middle of a commit nothing of this object can be relied on any more; whoever opens
/// the table next finds the commit in the journal and finishes it. So the caller is told that the change may
/// or may not be there.
Status TableImpl::poison(const Status &cause)
{
    m_poison = failure(ErrorKind::inputOutput, "un fallo del disco ha dejado la tabla a medias (" +
                                                   cause.text() + "); ciérrela y vuelva a abrirla");
    return m_poison;
}

// ---------------------------------------------------------------------------------------------------------------------
// Single changes and groups

Result<RecordNumber> TableImpl::append(std::span<const std::uint8_t> record)
{
    Status status = checkWritable(record.size());
    if (!status.ok())
        return status;
    if (m_group) {
        if (m_group->recordCount == header.recordCount) {
            status = settleCount(true); // the first new line of the group
            if (status.ok() && m_mdx && m_state.indexedRecords != header.recordCount)
                status = settleIndex(); // another program's line stood behind the count
            if (!status.ok())
                return status;
            m_group->recordCount = header.recordCount;
        }
        m_group->changes.push_back({++m_group->recordCount, {}, {record.begin(), record.end()}});
        return m_group->recordCount;
    }
    status = beginChange(true);
    if (!status.ok())
        return status;
    Commit one{0, header.recordCount + 1, {}};
    one.changes.push_back({one.recordCount, {}, {record.begin(), record.end()}});
    status = commit(one);
    endChange();
    if (!status.ok())
        return status;
    return one.recordCount;
}

Status TableImpl::update(RecordNumber number, std::span<const std::uint8_t> before,
                         std::span<const std::uint8_t> after)
{
    Status status = reconnect(); // before a line of a file is locked that is about to be closed
    if (status.ok())
        status = updateNow(number, before, after);
    if (status.kind() != ErrorKind::locked || !wantsReconnecting())
        return status;
    status = reconnect();
    return status.ok() ? updateNow(number, before, after) : status;
}

Status TableImpl::updateNow(RecordNumber number, std::span<const std::uint8_t> before,
                            std::span<const std::uint8_t> after)
{
    Status status = checkWritable(after.size());
    RangeLock record;
    if (status.ok() && number <= header.recordCount)
        status = checkNotLockedElsewhere(number, record);
    if (status.ok()) {
        const FlagGuard holding(m_holdsLine);
        status = beginChange();
    }
    if (!status.ok())
        return status;
    std::vector<std::uint8_t> present(header.recordLength);
    // Read a moment ago under these same locks, or under its own one with nobody writing since.
    if (m_lastRead == number && m_lastReadAsOf == m_state.applied)
        present = m_lastBytes;
    else
        status = readRecord(number, present);
    m_lastRead = 0;
    if (status.ok() && !std::equal(present.begin(), present.end(), before.begin(), before.end()))
        status = failure(ErrorKind::conflict, isDeleted(present)
                                                  ? "otro puesto ha borrado la línea mientras tanto"
                                                  : "otro puesto ha cambiado la línea mientras tanto");
    if (status.ok()) {
        RecordChange change{number, std::move(present), {after.begin(), after.end()}};
        if (m_group) {
            m_group->changes.push_back(std::move(change));
        } else {
            Commit one{0, header.recordCount, {}};
            one.changes.push_back(std::move(change));
            status = commit(one);
        }
    }
    endChange();
    return status;
}

Status TableImpl::erase(RecordNumber number, std::span<const std::uint8_t> before)
{
    if (const Status status = checkWritable(before.size()); !status.ok())
        return status;
    if (isDeleted(before))
        return failure(ErrorKind::conflict, "otro puesto ha borrado la línea mientras tanto");
    std::vector<std::uint8_t> after(before.begin(), before.end());
    after[0] = deletedMark;
    return update(number, before, after);
}

Status TableImpl::beginGroup()
{
    if (m_group)
        return failure(ErrorKind::invalidArgument, "ya hay un grupo de cambios empezado");
    if (const Status status = beginChange(); !status.ok())
        return status;
    m_group = Commit{0, header.recordCount, {}};
    return {};
}

Status TableImpl::commitGroup()
{
    if (!m_group)
        return failure(ErrorKind::invalidArgument, "no hay ningún grupo de cambios empezado");
    Commit group = std::move(*m_group);
    m_group.reset();
    const Status status = group.changes.empty() ? Status() : commit(group);
    endChange();
    return status;
}

void TableImpl::dropGroup()
{
    if (!m_group)
        return;
    m_group.reset();
    endChange();
}

// ---------------------------------------------------------------------------------------------------------------------
// A commit, under the change locks

Status TableImpl::commit(Commit &commit)
{
    const std::uint64_t tableEnd = recordOffset(commit.recordCount) + header.recordLength + 1;
    if (commit.recordCount > mostRecords || tableEnd > headerLockOffset - mostRecords)
        return failure(ErrorKind::full, "la tabla no admite más líneas"); // the locks of lines begin there
    if (commitSize(commit) > largestJournal / 2)
        return failure(ErrorKind::invalidArgument, "son demasiados cambios de una vez");
    Status status = stageKeys(commit);
    if (!status.ok() && m_indexHeld && status.kind() != ErrorKind::full) {
        // The index is not what it should be: it is made anew from the lines, and the keys are tried once
        // more.
        m_mdx->drop();
        m_indexSuspect = true;
        status = repairIndex();
        if (status.ok())
            status = stageKeys(commit);
        if (status.kind() == ErrorKind::damaged) {
            // It holds the right keys and still is no tree that can be changed.
            m_mdx->drop();
            status = rewriteIndex(m_mdx->tags(), rules());
            if (status.ok())
                status = stageKeys(commit);
        }
    }
    if (!status.ok()) {
        dropStagedIndex();
        return status;
    }
    if (commit.recordCount > header.recordCount && tableEnd > m_reservedUpTo) {
        status = m_dbf.reserve(recordOffset(header.recordCount + 1),
                               tableEnd + reserveAhead - recordOffset(header.recordCount + 1));
        if (status.ok())
            m_reservedUpTo = tableEnd + reserveAhead;
    }
    if (status.ok() && m_mdx)
        status = m_mdx->reserveGrowth();
    if (status.ok()) {
        const auto lockedAt = m_lockedAt;
        auto alone = stillAlone();
        if (alone.ok() && alone.value() && m_lockedAt != lockedAt)
            alone = linesAreAsBefore(commit); // another program may have written meanwhile
        status = alone.status();
        if (status.ok() && !alone.value())
            status = failure(ErrorKind::locked, std::string(writersRefusal)); // as if it had had to wait
    }
    if (status.ok())
        status = writeJournal(commit);
    if (!status.ok()) {
        dropStagedIndex();
        return status;
    }
    status = apply(commit);
    if (status.kind() == ErrorKind::locked)
        return status; // nothing of it is there
    if (!status.ok())
        return poison(status); // the commit stands in the journal; the next opener finishes it
    noteCommit(commit);
    return {};
}

void TableImpl::dropStagedIndex()
{
    if (m_mdx)
        m_mdx->drop();
    m_indexAsOf.reset(); // roots may have moved with what was staged
}

/// Whether a commit has something to do with the index. One of several lines keeps readers out all the same:
/// they are to see it whole.
bool TableImpl::touchesIndex(const Commit &commit) const
{
    const auto touches = [](const TagRule &rule, const RecordChange &change) {
        if (change.before.empty())
            return true;
        const bool stays = rule.accepts(change.after);
        if (stays != rule.accepts(change.before))
            return true;
        if (!stays)
            return false;
        return (rule.unique && isDeleted(change.before) != isDeleted(change.after)) ||
               !std::ranges::equal(rule.expression.keyOf(change.before).bytes(),
                                   rule.expression.keyOf(change.after).bytes());
    };
    return commit.changes.size() > 1 ||
           std::any_of(m_indexes.begin(), m_indexes.end(),
                       [&](const auto &index) { return touches(index->rule(), commit.changes.front()); });
}

/// Prepares the index for a commit; nothing is written yet.
Status TableImpl::stageKeys(const Commit &commit)
{
    if (!m_mdx || !touchesIndex(commit))
        return {};
    if (const Status status = holdIndex(); !status.ok())
        return status;
    for (std::size_t number = 0; number < m_indexes.size(); ++number) {
        const TagRule &rule = m_indexes[number]->rule();
        if (rule.unique) {
            if (const Status status = stageUnique(number, commit); !status.ok())
                return status;
            continue;
        }
        MdxTree tree(*m_mdx, m_mdx->tag(number));
        for (const RecordChange &change : commit.changes) {
            const bool stays = rule.accepts(change.after);
            const auto now = stays ? fileKeyOf(number, change.after) : std::vector<std::uint8_t>();
            if (!change.before.empty() && rule.accepts(change.before)) {
                const auto old = fileKeyOf(number, change.before);
                if (old == now)
                    continue;
                if (const Status status = tree.remove(old, change.number); !status.ok())
                    return status;
            }
            if (!stays)
                continue;
            if (const Status status = tree.insert(now, change.number); !status.ok())
                return status;
        }
    }
    return m_mdx->shortened() ? failure(ErrorKind::damaged, "otro programa ha acortado el índice") : Status();
}

Status TableImpl::apply(const Commit &commit)
{
    m_hasChanged = true;
    m_ownChange = true;
    const bool keepsIndex = indexIsKnown();
    const std::function<Status()> steps[] = {
        [&] { return writeRecords(commit); },
        [&] { return writeDateAndCount(commit.recordCount); },
        [&] { return m_mdx && m_mdx->changed() ? m_mdx->write(today()) : Status(); },
        [&] {
            header.recordCount = commit.recordCount;
            JournalHeader state = m_state;
            state.applied = commit.number;
            state.lastLink = m_linkUnderWay;
            state.indexedRecords = indexedRecords();
            return writeState(state);
        },
        [] { return Status(); }, // the last one may have taken long, too
    };
    for (const auto &step : steps) {
        const auto alone = stillAlone();
        if (alone.ok() && !alone.value() && &step == std::begin(steps))
            return verdictOfOthers(commit);
        if (m_remote && !(alone.ok() && alone.value()))
            owe(commit.number, commit);
        if (alone.ok() && !alone.value()) {
            const Status mended = mendAfterOthers();
            return mended.ok() ? mended : Status(ErrorKind::inputOutput, mended.text(), name);
        }
        m_wroteHeaderLast = m_wroteHeaderLast && &step == std::end(steps) - 1;
        const Status status = alone.ok() ? step() : alone.status();
        if (m_remote && !status.ok())
            owe(commit.number, commit);
        if (!status.ok())
            return {ErrorKind::inputOutput, status.text(), name}; // whatever it was, the commit is half done
    }
    m_emptied.reset();
    if (keepsIndex)
        m_indexAsOf = m_state.applied;
    m_countAsOf = m_state.applied;
    return {};
}

Status TableImpl::writeRecords(const Commit &commit)
{
    // New records stand side by side behind the old ones, and the end mark behind them: one call.
    std::vector<std::uint8_t> added;
    RecordNumber firstAdded = 0;
    for (const RecordChange &change : commit.changes) {
        if (change.before.empty()) {
            firstAdded = firstAdded == 0 ? change.number : firstAdded;
            added.insert(added.end(), change.after.begin(), change.after.end());
            continue;
        }
        if (firstAdded != 0 && change.number >= firstAdded) { // a new line of the same group, changed again
            std::memcpy(added.data() + (change.number - firstAdded) * header.recordLength,
                        change.after.data(), header.recordLength);
            continue;
        }
        if (const Status status = m_dbf.writeAt(recordOffset(change.number), change.after); !status.ok())
            return status;
    }
    if (firstAdded == 0)
        return {};
    added.push_back(dbfEndMark);
    return m_dbf.writeAt(recordOffset(firstAdded), added);
}

Status TableImpl::writeDateAndCount(RecordNumber count)
{
    const auto bytes = encodeDateAndCount(today(), count);
    if (bytes == m_dateAndCount)
        return {};
    if (const Status status = m_dbf.writeAt(dbfDateOffset, bytes); !status.ok())
        return status;
    m_dateAndCount = bytes;
    header.recordCount = count;
    return {};
}

void TableImpl::noteCommit(const Commit &commit)
{
    const bool onlyOwn = m_seenCommit + 1 == m_state.applied;
    if (onlyOwn)
        m_seenCommit = m_state.applied;
    ++version;
    for (MemoryTag &tag : m_memoryTags) {
        if (tag.version + 1 != version)
            continue; // out of date anyway; built anew when it is next asked
        const TagRule &rule = tag.index->rule();
        if (rule.unique) {
            // Who takes over a key stands in the lines; a failure to read them shows when the tag is asked.
            static_cast<void>(buildMemoryTag(tag).ok());
            continue;
        }
        for (const RecordChange &change : commit.changes) {
            if (!change.before.empty() && rule.accepts(change.before))
                tag.index->erase(rule.expression.keyOf(change.before), change.number);
            if (rule.accepts(change.after))
                tag.index->insert(rule.expression.keyOf(change.after), change.number);
        }
        tag.version = version;
    }
    // The stamp stays as it was: the next refresh then looks, also for what others wrote before this.
}

} // namespace dbase
