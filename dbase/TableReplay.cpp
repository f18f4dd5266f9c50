// Finishing what others have begun: lines that are not counted yet, commits whose writer died.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

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
    if (dateAndCount == m_dateAndCount && (!withLength || endMarkFollows(announced)))
        return {};
    header.recordCount = announced;
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

Status TableImpl::finishDeadCommit()
{
    const auto size = m_journal.size();
    if (!size.ok())
        return size.status();
    std::vector<std::uint8_t> bytes(size.value() > m_state.tail ? size.value() - m_state.tail : 0);
    const auto got = m_journal.readAt(m_state.tail, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    const auto dead = decodeCommit(bytes, m_state.applied + 1, header.recordLength);
    if (!dead) {
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
    // That it can be read does not mean that it is on disk: a cut from here on must find it there.
    std::vector<std::uint8_t> again;
    encodeCommit(*dead, header.recordLength, again);
    Status status = m_journal.writeAt(m_state.tail, again);
    if (status.ok())
        status = m_journal.sync();
    if (status.ok())
        status = replay(std::span(&*dead, 1));
    // It may have died inside a line. What is left of that must not come back after a power cut, behind a
    // header that says that the commit is done: only then is it told from another program's change by the
    // byte.
    if (status.ok())
        status = m_dbf.sync();
    if (status.ok())
        status = repairIndex();
    if (!status.ok())
        return poison(status);
    m_state.applied = dead->number;
    m_state.tail += static_cast<std::uint32_t>(commitRoom(again.size()));
    m_state.indexedRecords = indexedRecords();
    ++version;
    return writeState();
}

namespace
{

/// Whether a record is made of pieces of the given versions alone: then it is ours, perhaps torn. What is not
/// was written by another program later and stays. A power cut tears at sectors of the file, a killed writer
/// at any byte.
bool madeOf(std::span<const std::uint8_t> present, std::uint64_t offset,
            std::span<const std::vector<std::uint8_t>> versions, bool tornAnywhere)
{
    for (std::size_t from = 0; from < present.size();) {
        const std::size_t room = tornAnywhere ? 1 : journalSector - (offset + from) % journalSector;
        const auto piece = present.subspan(from, std::min(room, present.size() - from));
        const bool known = std::any_of(versions.begin(), versions.end(), [&](const auto &one) {
            return std::memcmp(one.data() + from, piece.data(), piece.size()) == 0;
        });
        if (!known)
            return false;
        from += piece.size();
    }
    return true;
}

} // namespace

/// Does commits again, oldest first: afterwards every record they name holds the last of its versions.
Status TableImpl::replay(std::span<const Commit> commits)
{
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
    for (const auto &[number, history] : histories) {
        std::vector<std::uint8_t> present(header.recordLength, 0);
        const auto got = m_dbf.readAt(recordOffset(number), present);
        if (!got.ok())
            return got.status();
        const bool whole = number <= announced && got.value() == present.size();
        if (whole && !madeOf(present, recordOffset(number), history.versions, history.unfinished) &&
            looksLikeRecord(present, header)) {
            // Another program has changed the line since, or has taken the number for a line of its own.
            if (history.unfinished && history.isNew)
                homeless.push_back(history.versions.back());
            continue;
        }
        if (const Status status = m_dbf.writeAt(recordOffset(number), history.versions.back()); !status.ok())
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
