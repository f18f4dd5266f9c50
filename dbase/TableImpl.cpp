#include "dbase/TableImpl.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace dbase
{

namespace
{

constexpr std::size_t scanChunk = 1U << 20U;
/// Clocks of file systems tick in steps; a file that changed within this time may change again under the same
/// stamp.
constexpr auto stampTick = std::chrono::milliseconds(50);
constexpr int shortestPauseMs = 5;
constexpr int longestPauseMs = 30;

/// The date for "last update" in the header: the machine's own clock, as every program of the family writes
/// it.
Date today()
{
    const auto now = std::chrono::system_clock::now();
    const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(now)};
    return {static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day()))};
}

bool sameText(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::toupper(x) == std::toupper(y); });
}

} // namespace

TableImpl::TableImpl(std::filesystem::path tablePath, OpenOptions openOptions)
    : path(std::move(tablePath))
    , name(displayName(path))
    , options(std::move(openOptions))
    , m_random(std::random_device{}())
{
}

Status TableImpl::open()
{
    readOnly = options.readOnly;
    auto file = File::open(path, readOnly ? File::Mode::readOnly : File::Mode::readWrite);
    if (!file.ok() && file.status().kind() == ErrorKind::readOnly && !readOnly) {
        readOnly = true;
        file = File::open(path, File::Mode::readOnly);
    }
    if (!file.ok())
        return file.status();
    m_file = std::move(file).value();
    if (const Status status = readHeader(); !status.ok())
        return status;
    if (const Status status = settleCount(false); !status.ok())
        return status;
    for (const TagDefinition &tag : options.tags) {
        if (const Status status = addTag(tag); !status.ok())
            return status;
    }
    m_deleted.assign(header.recordCount, false);
    const Status status = scan(1, [this](RecordNumber number, std::span<const std::uint8_t> record) {
        m_deleted[number - 1] = isDeleted(record);
    });
    noteStamp();
    return status;
}

Status TableImpl::readHeader()
{
    const auto named = [this](const Status &status) {
        return Status(status.kind(), status.text(), name, status.offset());
    };
    std::vector<std::uint8_t> bytes(dbfFixedHeader + 1);
    auto got = m_file.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    const auto length = dbfHeaderLength(bytes);
    if (!length.ok())
        return named(length.status());
    bytes.resize(length.value());
    got = m_file.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    auto decoded = decodeDbfHeader(bytes);
    if (!decoded.ok())
        return named(decoded.status());
    header = std::move(decoded).value();
    m_dateAndCount.assign(bytes.begin() + dbfDateOffset, bytes.begin() + dbfDateOffset + dbfDateAndCount);
    return {};
}

/// Holds the header's count against the file's length. Only under the change lock may lines that stand behind
/// the count be adopted: without it they may be somebody's line on its way.
Status TableImpl::settleCount(bool mayAdopt)
{
    const auto stamp = m_file.stamp();
    if (!stamp.ok())
        return stamp.status();
    const std::uint64_t size = stamp.value().size;
    const std::uint64_t inFile =
        size < header.headerLength ? 0 : (size - header.headerLength) / header.recordLength;
    if (inFile < header.recordCount)
        return failure(ErrorKind::damaged, "la tabla dice tener " + std::to_string(header.recordCount) +
                                               " líneas y el fichero solo contiene " +
                                               std::to_string(inFile));
    if (mayAdopt && inFile > header.recordCount)
        return adoptLinesBehindTheCount(static_cast<RecordNumber>(inFile));
    return {};
}

Status TableImpl::adoptLinesBehindTheCount(RecordNumber inFile)
{
    std::vector<std::uint8_t> record(header.recordLength);
    RecordNumber count = header.recordCount;
    while (count < inFile) {
        const auto got = m_file.readAt(recordOffset(count + 1), record);
        if (!got.ok())
            return got.status();
        if (got.value() != record.size() || !looksLikeRecord(record, header))
            break;
        ++count;
    }
    return count == header.recordCount ? Status() : writeDateAndCount(count);
}

Status TableImpl::scan(RecordNumber from,
                       const std::function<void(RecordNumber, std::span<const std::uint8_t>)> &visit) const
{
    const std::size_t perChunk = std::max<std::size_t>(1, scanChunk / header.recordLength);
    std::vector<std::uint8_t> buffer(std::min<std::size_t>(perChunk, header.recordCount) *
                                     header.recordLength);
    for (RecordNumber first = from; first <= header.recordCount;) {
        const auto count =
            static_cast<RecordNumber>(std::min<std::size_t>(perChunk, header.recordCount - first + 1));
        const auto chunk = std::span(buffer).first(count * header.recordLength);
        const auto got = m_file.readAt(recordOffset(first), chunk);
        if (!got.ok())
            return got.status();
        if (got.value() != chunk.size())
            return failure(ErrorKind::damaged, "el fichero se ha acortado mientras se leía");
        for (RecordNumber i = 0; i < count; ++i)
            visit(first + i, chunk.subspan(i * header.recordLength, header.recordLength));
        first += count;
    }
    return {};
}

Status TableImpl::readRecord(RecordNumber number, std::span<std::uint8_t> record) const
{
    if (number < 1 || number > header.recordCount || record.size() != header.recordLength)
        return failure(ErrorKind::invalidArgument, "la tabla no tiene la línea " + std::to_string(number));
    const auto got = m_file.readAt(recordOffset(number), record);
    if (!got.ok())
        return got.status();
    if (got.value() != record.size())
        return failure(ErrorKind::damaged, "el fichero acaba dentro de la línea " + std::to_string(number));
    return {};
}

// ---------------------------------------------------------------------------------------------------------------------
// Locks

Result<RangeLock> TableImpl::waitForLock(std::uint64_t offset, std::uint64_t length,
                                         std::chrono::milliseconds timeout, const std::string &refusal)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::uniform_int_distribution<int> pause(shortestPauseMs, longestPauseMs);
    for (;;) {
        const auto got = m_file.tryLock(offset, length, File::LockKind::exclusive);
        if (!got.ok())
            return got.status();
        if (got.value())
            return RangeLock(m_file, offset, length);
        if (std::chrono::steady_clock::now() >= deadline)
            return failure(ErrorKind::locked, refusal);
        // Random, so that two workstations that wait for each other's line do not meet again and again.
        std::this_thread::sleep_for(std::chrono::milliseconds(pause(m_random)));
    }
}

Status TableImpl::takeRecordLock(RecordNumber number, std::chrono::milliseconds timeout)
{
    if (readOnly)
        return failure(ErrorKind::readOnly, "la tabla está abierta solo para lectura");
    if (number < 1 || number > header.recordCount || m_locked.contains(number))
        return failure(ErrorKind::invalidArgument, "no se puede bloquear la línea " + std::to_string(number));
    auto lock = waitForLock(recordLockOffset(number), 1, timeout,
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
        m_file.unlock(recordLockOffset(number), 1);
}

Status TableImpl::checkNotLockedElsewhere(RecordNumber number)
{
    if (m_locked.contains(number))
        return {};
    return waitForLock(recordLockOffset(number), 1, options.lockTimeout,
                       "otro puesto está usando la línea " + std::to_string(number))
        .status();
}

// ---------------------------------------------------------------------------------------------------------------------
// Changes

Status TableImpl::checkWritable(std::size_t recordSize) const
{
    if (readOnly)
        return failure(ErrorKind::readOnly, "la tabla está abierta solo para lectura");
    if (recordSize != header.recordLength)
        return failure(ErrorKind::invalidArgument, "la línea no tiene la longitud de las de la tabla");
    return {};
}

Result<RangeLock> TableImpl::beginChange()
{
    auto lock = waitForLock(headerLockOffset, changeLockLength, options.lockTimeout,
                            "otro puesto está escribiendo en la tabla");
    if (!lock.ok())
        return lock;
    // Nothing read before the lock counts, and the count least of all.
    if (const Status status = catchUpForChange(); !status.ok())
        return status;
    if (const Status status = settleCount(true); !status.ok())
        return status;
    return lock;
}

/// Takes in what others have written, but puts off the reading of the whole file when only the clock of the
/// file system leaves a doubt: a row of own writes would read it again and again.
Status TableImpl::catchUpForChange()
{
    const auto stamp = m_file.stamp();
    if (!stamp.ok())
        return stamp.status();
    std::vector<std::uint8_t> dateAndCount(dbfDateAndCount);
    const auto got = m_file.readAt(dbfDateOffset, dateAndCount);
    if (!got.ok())
        return got.status();
    if (stamp.value() == m_stamp && dateAndCount == m_dateAndCount) {
        m_scanOwed = m_scanOwed || m_stampDoubtful;
        return {};
    }
    return takeInForeignChanges().status();
}

Status TableImpl::finishChange()
{
    ++version;
    const Status status = options.durable ? m_file.sync() : Status();
    noteStamp();
    return status;
}

Status TableImpl::writeDateAndCount(RecordNumber count)
{
    const auto bytes = encodeDateAndCount(today(), count);
    if (const Status status = m_file.writeAt(dbfDateOffset, bytes); !status.ok())
        return status;
    m_dateAndCount = bytes;
    const RecordNumber known = header.recordCount;
    header.recordCount = count;
    if (count == known)
        return {};
    return scan(known + 1, [this](RecordNumber number, std::span<const std::uint8_t> record) {
        noteRecord(number, record);
    });
}

Result<RecordNumber> TableImpl::append(std::span<const std::uint8_t> record)
{
    if (const Status status = checkWritable(record.size()); !status.ok())
        return status;
    auto lock = beginChange();
    if (!lock.ok())
        return lock.status();
    // The record and the end mark before the count: a line that is half there is behind the end for
    // everybody.
    std::vector<std::uint8_t> bytes(record.begin(), record.end());
    bytes.push_back(dbfEndMark);
    const RecordNumber number = header.recordCount + 1;
    if (const Status status = m_file.writeAt(recordOffset(number), bytes); !status.ok())
        return status;
    if (const Status status = writeDateAndCount(number); !status.ok())
        return status;
    if (const Status status = finishChange(); !status.ok())
        return status;
    return number;
}

Status TableImpl::update(RecordNumber number, std::span<const std::uint8_t> before,
                         std::span<const std::uint8_t> after)
{
    Status status = checkWritable(after.size());
    if (!status.ok())
        return status;
    status = checkNotLockedElsewhere(number);
    if (!status.ok())
        return status;
    auto lock = beginChange();
    if (!lock.ok())
        return lock.status();
    std::vector<std::uint8_t> present(header.recordLength);
    status = readRecord(number, present);
    if (!status.ok())
        return status;
    if (!std::equal(present.begin(), present.end(), before.begin(), before.end()))
        return failure(ErrorKind::conflict, isDeleted(present)
                                                ? "otro puesto ha borrado la línea mientras tanto"
                                                : "otro puesto ha cambiado la línea mientras tanto");
    status = m_file.writeAt(recordOffset(number), after);
    if (!status.ok())
        return status;
    noteRecord(number, after);
    status = writeDateAndCount(header.recordCount);
    return status.ok() ? finishChange() : status;
}

Status TableImpl::erase(RecordNumber number)
{
    Status status = checkWritable(header.recordLength);
    if (!status.ok())
        return status;
    status = checkNotLockedElsewhere(number);
    if (!status.ok())
        return status;
    auto lock = beginChange();
    if (!lock.ok())
        return lock.status();
    std::vector<std::uint8_t> present(header.recordLength);
    status = readRecord(number, present);
    if (!status.ok())
        return status;
    if (isDeleted(present))
        return failure(ErrorKind::conflict, "otro puesto ha borrado la línea mientras tanto");
    present[0] = deletedMark;
    status = m_file.writeAt(recordOffset(number), std::span(present).first(1));
    if (!status.ok())
        return status;
    noteRecord(number, present);
    status = writeDateAndCount(header.recordCount);
    return status.ok() ? finishChange() : status;
}

// ---------------------------------------------------------------------------------------------------------------------
// What is known of the file

void TableImpl::noteRecord(RecordNumber number, std::span<const std::uint8_t> record)
{
    if (m_deleted.size() < number)
        m_deleted.resize(number, false);
    m_deleted[number - 1] = isDeleted(record);
    for (OwnedIndex &owned : indexes) {
        const std::size_t length = owned.index->expression().keyLength();
        const IndexKey key = owned.index->expression().keyOf(record);
        const bool known = owned.keys.size() >= number * length;
        if (known && std::ranges::equal(owned.keyOf(number), key.bytes()))
            continue;
        if (known)
            owned.index->erase(IndexKey(owned.keyOf(number)), number);
        else
            owned.keys.resize(number * length);
        std::memcpy(owned.keys.data() + (number - 1) * length, key.bytes().data(), length);
        owned.index->insert(key, number);
    }
}

void TableImpl::noteStamp()
{
    const auto stamp = m_file.stamp();
    m_stampDoubtful = true;
    if (!stamp.ok())
        return;
    m_stamp = stamp.value();
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const std::chrono::nanoseconds age = now - std::chrono::nanoseconds(m_stamp.modified);
    m_stampDoubtful = m_scanOwed || age < stampTick;
}

Result<bool> TableImpl::refresh()
{
    const auto stamp = m_file.stamp();
    if (!stamp.ok())
        return stamp.status();
    if (stamp.value() == m_stamp && !m_stampDoubtful)
        return false;
    return takeInForeignChanges();
}

Result<bool> TableImpl::takeInForeignChanges()
{
    // The stamp first: what is written while we look must be looked at again.
    m_scanOwed = false;
    noteStamp();
    std::vector<std::uint8_t> dateAndCount(dbfDateAndCount);
    const auto got = m_file.readAt(dbfDateOffset, dateAndCount);
    if (!got.ok())
        return got.status();
    if (got.value() != dateAndCount.size())
        return failure(ErrorKind::damaged, "el fichero se ha quedado sin cabecera");
    const RecordNumber known = header.recordCount;
    header.recordCount = decodeCount(std::span(dateAndCount).subspan(dbfCountOffset - dbfDateOffset, 4));
    m_dateAndCount = std::move(dateAndCount);
    if (header.recordCount < known)
        return failure(ErrorKind::damaged,
                       "otro programa ha quitado líneas de la tabla; cierre y vuelva a abrir");
    if (const Status status = settleCount(false); !status.ok()) {
        header.recordCount = known;
        return status;
    }
    if (const Status status =
            scan(1, [this](RecordNumber number,
                           std::span<const std::uint8_t> record) { noteRecord(number, record); });
        !status.ok())
        return status;
    ++version;
    return true;
}

Status TableImpl::addTag(const TagDefinition &tag)
{
    if (index(tag.name))
        return {};
    auto expression = KeyExpression::parse(tag.expression, header.fields, header.codePage);
    if (!expression.ok())
        return failure(expression.status().kind(), expression.status().text());
    OwnedIndex owned;
    owned.index = std::make_unique<MemoryIndex>(tag, std::move(expression).value());
    const std::size_t length = owned.index->expression().keyLength();
    owned.keys.resize(header.recordCount * length);
    const Status status = scan(1, [&](RecordNumber number, std::span<const std::uint8_t> record) {
        const IndexKey key = owned.index->expression().keyOf(record);
        std::memcpy(owned.keys.data() + (number - 1) * length, key.bytes().data(), length);
        owned.index->addUnsorted(key, number);
    });
    if (!status.ok())
        return status;
    owned.index->finish();
    indexes.push_back(std::move(owned));
    return {};
}

Index *TableImpl::index(std::string_view tag) const
{
    for (const OwnedIndex &owned : indexes) {
        if (sameText(owned.index->definition().name, tag))
            return owned.index.get();
    }
    return nullptr;
}

Status TableImpl::liveRecords(Index *index, std::span<const std::uint8_t> low,
                              std::span<const std::uint8_t> high, std::vector<RecordNumber> &out) const
{
    const std::size_t start = out.size();
    if (index) {
        if (const Status status = index->collect(low, high, out); !status.ok())
            return status;
        out.erase(std::remove_if(out.begin() + static_cast<std::ptrdiff_t>(start), out.end(),
                                 [this](RecordNumber number) { return m_deleted[number - 1]; }),
                  out.end());
        return {};
    }
    for (RecordNumber number = 1; number <= header.recordCount; ++number) {
        if (!m_deleted[number - 1])
            out.push_back(number);
    }
    return {};
}

} // namespace dbase
