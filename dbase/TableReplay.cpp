// Finishing what others have begun: lines that are not counted yet, commits whose writer died.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <tuple>
#include <utility>

namespace dbase
{

namespace
{

RecordNumber countIn(std::span<const std::uint8_t> dateAndCount)
{
    return decodeCount(dateAndCount.subspan(dbfCountOffset - dbfDateOffset, 4));
}

} // namespace

Status TableImpl::readDateAndCount(std::vector<std::uint8_t> &bytes) const
{
    if (m_headerMap.size() >= dbfFixedHeader) {
        std::copy_n(m_headerMap.data() + dbfDateOffset, bytes.size(), bytes.begin());
        // No month: where another program has cut the file off, what was there reads as zeros.
        if (bytes[1] != 0 && !m_headerMap.lost())
            return {};
    }
    const auto got = m_dbf.readAt(dbfDateOffset, bytes);
    if (!got.ok())
        return got.status();
    return got.value() == bytes.size() ? Status()
                                       : failure(ErrorKind::damaged, "el fichero se ha quedado sin cabecera");
}

Result<RecordNumber> TableImpl::announcedCount() const
{
    std::vector<std::uint8_t> dateAndCount(dbfDateAndCount);
    if (const Status status = readDateAndCount(dateAndCount); !status.ok())
        return status;
    return countIn(dateAndCount);
}

/// Whether the end mark stands right behind line `last`. Asking for the file's length instead would make the
/// system date the next write anew, which costs more than that write.
bool TableImpl::endMarkFollows(RecordNumber last) const
{
    std::array<std::uint8_t, 2> bytes{}; // with the last byte in front, so that the file holds the line
    const auto got = m_dbf.readAt(recordOffset(last + 1) - 1, bytes);
    return got.ok() && got.value() == bytes.size() && bytes[1] == dbfEndMark;
}

/// The header's count against the file, under the change locks. Whole lines behind the count are those of a
/// program that died between line and count.
Status TableImpl::settleCount(bool withLength)
{
    std::vector<std::uint8_t> dateAndCount(dbfDateAndCount);
    if (const Status status = readDateAndCount(dateAndCount); !status.ok())
        return status;
    const RecordNumber announced = countIn(dateAndCount);
    // Also where it is known already: a header that was broken for a while has been taken in by a look.
    header.recordCount = announced;
    if (dateAndCount == m_dateAndCount && (!withLength || endMarkFollows(announced)))
        return {};
    const auto inFile = linesInFile();
    if (!inFile.ok())
        return inFile.status();
    m_dateAndCount = std::move(dateAndCount);
    RecordNumber count = announced;
    std::vector<std::uint8_t> record(header.recordLength);
    while (count < inFile.value()) {
        const auto read = m_dbf.readAt(recordOffset(count + 1), record);
        if (!read.ok())
            return read.status();
        if (read.value() != record.size() || !looksLikeRecord(record, header))
            break;
        ++count;
    }
    return count == announced ? Status() : writeDateAndCount(count);
}

/// Under the change locks: does what a writer has left in the journal when it died.
/// @return full without any harm, so that it can be tried again; after any other failure this object is done.
Status TableImpl::finishDeadCommits()
{
    const auto found = commitsFrom(m_state.tail, m_state.applied);
    if (!found.ok())
        return found.status();
    const std::vector<Commit> &dead = found.value().commits;
    if (dead.empty()) {
        // It died while writing it: nothing has been changed. The place must not look like a commit any more.
        const std::vector<std::uint8_t> nothing(journalSector, 0);
        return m_journal.writeAt(m_state.tail, nothing);
    }
    if (const auto cut = isCutBack(); !cut.ok() || cut.value()) {
        return cut.ok() ? failure(ErrorKind::damaged,
                                  "la tabla ha perdido líneas mientras estaba abierta; ciérrela "
                                  "en todos los puestos y vuelva a abrirla")
                        : cut.status();
    }
    const JournalHeaderBytes known = m_stateBytes;
    Status status = takeIndexLock(); // before anything is written: somebody may be reading by it for long
    if (status.ok())
        status = bringToDisk(found.value());
    if (status.ok())
        status = replay(dead);
    if (status.ok())
        status = repairIndex();
    if (!status.ok()) // on a full disk, or where others were let in, it is done once more
        return status.kind() == ErrorKind::full || status.kind() == ErrorKind::locked ? status
                                                                                      : poison(status);
    const std::uint64_t before = std::exchange(m_state.applied, dead.back().number);
    const std::uint32_t linkBefore = std::exchange(m_state.lastLink, found.value().lastLink);
    ++version;
    // It may have died inside a line. What is left of that must not come back after a power cut, behind a
    // header that says that the commit is done: only then is it told from another program's change by the
    // byte. So the table goes to the disk first, and the journal has done its duty.
    status = checkpoint(false);
    if (!status.ok() && m_stateBytes == known)
        std::tie(m_state.applied, m_state.lastLink) = std::pair(before, linkBefore); // as the file has it
    return status;
}

namespace
{

/// Whether a record is made of pieces of the given versions alone, or of places that the disk never got: then
/// it is ours, perhaps torn. What is not was written by another program later and stays. A power cut tears at
/// sectors of the file, a killed writer at any byte.
bool madeOf(std::span<const std::uint8_t> present, std::uint64_t offset,
            std::span<const std::vector<std::uint8_t>> versions, bool tornAnywhere)
{
    // An end mark is what stood there before the line, or what a program wrote that took the line for the
    // end.
    for (std::size_t from = present[0] == dbfEndMark ? 1 : 0; from < present.size();) {
        const std::size_t room = tornAnywhere ? 1 : journalSector - (offset + from) % journalSector;
        const auto piece = present.subspan(from, std::min(room, present.size() - from));
        const bool known =
            std::all_of(piece.begin(), piece.end(), [](std::uint8_t byte) { return byte == 0; }) ||
            std::any_of(versions.begin(), versions.end(), [&](const auto &one) {
                return std::memcmp(one.data() + from, piece.data(), piece.size()) == 0;
            });
        if (!known)
            return false;
        from += piece.size();
    }
    return true;
}

} // namespace

/// Which of the lines behind `number` is this one already, of a replay that was cut; 0 when none is.
/// @param others  lines that have been found so for another one.
Result<RecordNumber> TableImpl::standsBehind(RecordNumber number, RecordNumber last,
                                             std::span<const std::uint8_t> line,
                                             const std::set<RecordNumber> &others) const
{
    std::vector<std::uint8_t> present(header.recordLength);
    while (number < last) {
        const auto got = m_dbf.readAt(recordOffset(++number), present);
        if (!got.ok())
            return got.status();
        if (got.value() == line.size() && std::equal(line.begin(), line.end(), present.begin()) &&
            !others.contains(number))
            return number;
    }
    return RecordNumber{0};
}

/// Whether commits that have not been done are about this table, and about lines that it can have. Their sums
/// only say that somebody has written them so.
Result<bool> TableImpl::areOfThisTable(std::span<const Commit> commits) const
{
    const auto size = m_dbf.size();
    const auto announced = announcedCount();
    if (!size.ok() || !announced.ok())
        return size.ok() ? announced.status() : size.status();
    const TableMark &mark = m_state.mark;
    const bool isMarked = mark != TableMark{}; // else by a program that does not
    // Lines that a power cut has kept from the disk, of somebody who does not wait for it, or that a length
    // which is old news on a share does not tell of.
    constexpr std::uint64_t mostUntold = 100'000;
    std::uint64_t known =
        std::max<std::uint64_t>(linesThatFit(size.value()), announced.value()) + (isMarked ? mostUntold : 0);
    std::vector<std::vector<std::uint8_t>> versions; // of the line that was the last one
    for (const Commit &commit : commits) {
        for (const RecordChange &change : commit.changes) {
            known += change.before.empty();
            if (change.number > known)
                return false;
            if (change.number == m_state.tableRecords) {
                if (!change.before.empty())
                    versions.push_back(change.before);
                versions.push_back(change.after);
            }
        }
        if (commit.recordCount > std::min<std::uint64_t>(known, mostRecords))
            return false;
    }
    if (!isMarked)
        return true;
    if (mark.shape != shapeOf(header.fields))
        return false;
    if (mark.file == m_dbf.identity().number || m_state.tableRecords == 0)
        return true;
    // A file has another number where it has been copied together with its journal: then the line that was
    // the last one is as it was, or as the commits made it.
    std::vector<std::uint8_t> present(header.recordLength);
    const auto got = m_dbf.readAt(recordOffset(m_state.tableRecords), present);
    if (!got.ok())
        return got.status();
    present.resize(got.value());
    return mark.lastLine == 0 || mark.lastLine == sumOfLine(present) ||
           (!versions.empty() && madeOf(present, recordOffset(m_state.tableRecords), versions, true));
}

/// Does commits again, oldest first: afterwards every record they name holds the last of its versions.
Status TableImpl::replay(std::span<const Commit> commits)
{
    if (const Status status = mayWriteOn(); !status.ok())
        return status;
    struct History {
        std::vector<std::vector<std::uint8_t>> versions;
        bool unfinished = false; ///< changed by a commit whose writer died before it was done
        bool isNew = false;
    };
    std::map<RecordNumber, History> histories;
    for (const Commit &one : commits) {
        for (const RecordChange &change : one.changes) {
            History &history = histories[change.number];
            if (history.versions.empty()) {
                history.versions.push_back(change.before.empty()
                                               ? std::vector<std::uint8_t>(header.recordLength, 0)
                                               : change.before);
                history.isNew = change.before.empty();
            }
            history.unfinished = history.unfinished || one.number > m_state.applied;
            history.versions.push_back(change.after);
        }
    }
    const auto inHeader = announcedCount();
    if (!inHeader.ok())
        return inHeader.status();
    const RecordNumber announced = inHeader.value();
    std::vector<std::vector<std::uint8_t>> homeless;
    std::set<RecordNumber> housed;
    for (const auto &[number, history] : histories) {
        std::vector<std::uint8_t> present(header.recordLength, 0);
        const auto got = m_dbf.readAt(recordOffset(number), present);
        if (!got.ok())
            return got.status();
        const bool whole = number <= announced && got.value() == present.size();
        // Where no line of anybody was on disk for sure, what looks like none is what the disk held before.
        const bool isRubbish =
            history.isNew && number > m_state.tableRecords && !looksLikeRecord(present, header);
        if (whole && !isRubbish &&
            !madeOf(present, recordOffset(number), history.versions, history.unfinished)) {
            // Another program has changed the line since, or has taken the number for a line of its own.
            if (!history.unfinished || !history.isNew)
                continue;
            const auto stands = standsBehind(number, announced, history.versions.back(), housed);
            if (!stands.ok())
                return stands.status();
            if (stands.value() == 0)
                homeless.push_back(history.versions.back());
            else
                housed.insert(stands.value());
            continue;
        }
        Status status = mayWriteOn();
        if (status.ok())
            status = m_dbf.writeAt(recordOffset(number), history.versions.back());
        if (!status.ok())
            return status;
    }
    RecordNumber count = std::max(commits.empty() ? 0 : commits.back().recordCount, announced);
    for (const auto &line : homeless) {
        if (const Status status = m_dbf.writeAt(recordOffset(++count), line); !status.ok())
            return status;
    }
    const std::vector<std::uint8_t> end{dbfEndMark};
    if (const Status status = m_dbf.writeAt(recordOffset(count + 1), end); !status.ok())
        return status;
    m_dateAndCount.clear();
    return writeDateAndCount(count);
}

} // namespace dbase
