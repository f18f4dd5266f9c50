#include "dbase/Journal.h"

#include "dbase/Bytes.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace dbase
{

namespace
{

constexpr std::array<std::uint8_t, 4> headerMagic{'A', 'G', 'J', '1'};
constexpr std::array<std::uint8_t, 4> commitMagic{'A', 'G', 'C', '1'};
constexpr std::size_t headerSumAt = 68;
constexpr std::size_t pastAt = 72;
constexpr std::size_t linkAt = 92;
constexpr std::size_t pastSumAt = 96;
constexpr std::size_t markAt = 100;
constexpr std::size_t markSumAt = 116;
constexpr std::uint32_t markSumStart = 1; ///< so that zeros are no mark
constexpr std::uint32_t closedBit = 1;
constexpr std::uint32_t durableBit = 2;
constexpr std::uint32_t onDiskBit = 4;
constexpr std::size_t commitFixed = 32;
constexpr std::size_t commitSumAt = 24;
constexpr std::size_t changeFixed = 8;
constexpr std::size_t linkLength = 8;

constexpr std::size_t sumStep = 8;
using SumTables = std::array<std::array<std::uint32_t, 256>, sumStep>;

constexpr SumTables makeSums()
{
    SumTables tables{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 1U) != 0 ? 0xEDB88320U ^ (value >> 1U) : value >> 1U;
        tables[0][i] = value;
    }
    for (std::size_t ahead = 1; ahead < sumStep; ++ahead) {
        for (std::size_t i = 0; i < 256; ++i)
            tables[ahead][i] = tables[0][tables[ahead - 1][i] & 0xFFU] ^ (tables[ahead - 1][i] >> 8U);
    }
    return tables;
}

/// CRC-32, eight bytes a step: every line that is written passes through here twice over.
std::uint32_t checkSum(std::span<const std::uint8_t> bytes, std::uint32_t start = 0)
{
    static constexpr SumTables tables = makeSums();
    std::uint32_t value = ~start;
    for (; bytes.size() >= sumStep; bytes = bytes.subspan(sumStep)) {
        const std::uint32_t low = get32(bytes.data()) ^ value;
        const std::uint32_t high = get32(bytes.data() + 4);
        value = tables[7][low & 0xFFU] ^ tables[6][(low >> 8U) & 0xFFU] ^ tables[5][(low >> 16U) & 0xFFU] ^
                tables[4][low >> 24U] ^ tables[3][high & 0xFFU] ^ tables[2][(high >> 8U) & 0xFFU] ^
                tables[1][(high >> 16U) & 0xFFU] ^ tables[0][high >> 24U];
    }
    for (const std::uint8_t byte : bytes)
        value = tables[0][(value ^ byte) & 0xFFU] ^ (value >> 8U);
    return ~value;
}

/// The sum with its own field taken for 0.
std::uint32_t commitSum(std::span<const std::uint8_t> bytes)
{
    constexpr std::array<std::uint8_t, 4> zero{};
    const std::uint32_t front = checkSum(bytes.first(commitSumAt));
    return checkSum(bytes.subspan(commitSumAt + zero.size()), checkSum(zero, front));
}

/// The link that stands behind a commit in its last sector; 0 when none does.
std::uint32_t linkBehind(std::span<const std::uint8_t> bytes, std::size_t size)
{
    const std::size_t end =
        std::min(bytes.size(), (size + journalSector - 1) / journalSector * journalSector);
    if (end < size + linkLength || get32(&bytes[size]) != ~get32(&bytes[size + 4]))
        return 0;
    return get32(&bytes[size]);
}

bool begins(std::span<const std::uint8_t> bytes, const std::array<std::uint8_t, 4> &magic)
{
    return bytes.size() >= magic.size() && std::memcmp(bytes.data(), magic.data(), magic.size()) == 0;
}

} // namespace

std::uint32_t shapeOf(std::span<const FieldDefinition> fields)
{
    std::vector<std::uint8_t> told;
    for (const FieldDefinition &field : fields) {
        told.insert(told.end(), field.name.begin(), field.name.end());
        told.insert(told.end(), {0, static_cast<std::uint8_t>(field.type), field.width, field.decimals});
    }
    return checkSum(told);
}

std::uint32_t sumOfLine(std::span<const std::uint8_t> line)
{
    return checkSum(line);
}

bool isJournalsFront(std::span<const std::uint8_t> bytes)
{
    return begins(bytes, headerMagic);
}

JournalHeaderBytes encodeJournalHeader(const JournalHeader &header)
{
    JournalHeaderBytes out{};
    std::memcpy(out.data(), headerMagic.data(), headerMagic.size());
    put64(&out[4], header.base);
    put64(&out[12], header.applied);
    put32(&out[20], header.tail);
    put32(&out[24], header.indexedRecords);
    put32(&out[28], (header.closedInOrder ? closedBit : 0U) | (header.holdsDurable ? durableBit : 0U) |
                        (header.onDisk ? onDiskBit : 0U));
    put64(&out[32], header.tableSize);
    put64(&out[40], static_cast<std::uint64_t>(header.tableTime));
    put64(&out[48], header.indexSize);
    put64(&out[56], static_cast<std::uint64_t>(header.indexTime));
    put32(&out[64], header.tableRecords);
    put32(&out[headerSumAt], checkSum(std::span(out).first(headerSumAt)));
    put32(&out[pastAt], header.past.end);
    put64(&out[pastAt + 4], header.past.halfFrom);
    put64(&out[pastAt + 12], header.past.knownFrom);
    put32(&out[linkAt], header.lastLink);
    put32(&out[pastSumAt], checkSum(std::span(out).subspan(pastAt, pastSumAt - pastAt)));
    put32(&out[markAt], header.mark.shape);
    put64(&out[markAt + 4], header.mark.file);
    put32(&out[markAt + 12], header.mark.lastLine);
    put32(&out[markSumAt], checkSum(std::span(out).subspan(markAt, markSumAt - markAt), markSumStart));
    return out;
}

std::optional<JournalHeader> decodeJournalHeader(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < journalSector || !begins(bytes, headerMagic) ||
        get32(&bytes[headerSumAt]) != checkSum(bytes.first(headerSumAt)))
        return {};
    JournalHeader header;
    header.base = get64(&bytes[4]);
    header.applied = get64(&bytes[12]);
    header.tail = get32(&bytes[20]);
    header.indexedRecords = get32(&bytes[24]);
    header.closedInOrder = (get32(&bytes[28]) & closedBit) != 0;
    header.holdsDurable = (get32(&bytes[28]) & durableBit) != 0;
    header.onDisk = (get32(&bytes[28]) & onDiskBit) != 0;
    header.tableSize = get64(&bytes[32]);
    header.tableTime = static_cast<std::int64_t>(get64(&bytes[40]));
    header.indexSize = get64(&bytes[48]);
    header.indexTime = static_cast<std::int64_t>(get64(&bytes[56]));
    header.tableRecords = get32(&bytes[64]);
    if (header.applied < header.base || header.tail < journalSector || header.tail % journalSector != 0)
        return {};
    // A journal of a program that keeps nothing says nothing of it.
    header.past.forget(header.base + 1);
    if (get32(&bytes[pastSumAt]) == checkSum(bytes.subspan(pastAt, pastSumAt - pastAt))) {
        header.past = {get32(&bytes[pastAt]), get64(&bytes[pastAt + 4]), get64(&bytes[pastAt + 12])};
        header.lastLink = get32(&bytes[linkAt]);
    }
    if (get32(&bytes[markSumAt]) == checkSum(bytes.subspan(markAt, markSumAt - markAt), markSumStart))
        header.mark = {get32(&bytes[markAt]), get64(&bytes[markAt + 4]), get32(&bytes[markAt + 12])};
    if (header.past.end >= 2 * JournalPast::half || header.past.end % journalSector != 0)
        return {};
    return header;
}

std::uint64_t commitSize(const Commit &commit)
{
    std::uint64_t size = commitFixed;
    for (const RecordChange &change : commit.changes)
        size += changeFixed + change.before.size() + change.after.size();
    return size;
}

void leaveRoomForLink(Commit &commit)
{
    // Lengths of lines that come near a multiple of a sector need some of them; where one of them is a
    // multiple none helps.
    constexpr int mostRepeated = 4;
    const auto isFull = [&commit] {
        return journalSector - (commitSize(commit) - 1) % journalSector - 1 < linkLength;
    };
    std::vector<RecordChange> repeated;
    const std::size_t had = commit.changes.size();
    while (had > 0 && isFull() && commit.changes.size() < had + mostRepeated) {
        const RecordChange last = commit.changes.back();
        commit.changes.push_back({last.number, last.after, last.after});
    }
    if (isFull())
        commit.changes.resize(had);
}

void encodeCommit(const Commit &commit, std::size_t recordLength, std::vector<std::uint8_t> &out)
{
    const auto size = static_cast<std::size_t>(commitSize(commit));
    out.resize((size + journalSector - 1) / journalSector * journalSector);
    std::memset(out.data() + size, 0, out.size() - size);
    std::memcpy(out.data(), commitMagic.data(), commitMagic.size());
    put32(&out[4], static_cast<std::uint32_t>(size));
    put64(&out[8], commit.number);
    put32(&out[16], commit.recordCount);
    put32(&out[20], static_cast<std::uint32_t>(commit.changes.size()));
    put32(&out[28], static_cast<std::uint32_t>(recordLength));
    if (commit.follows != 0 && out.size() - size >= linkLength) {
        put32(&out[size], commit.follows);
        put32(&out[size + 4], ~commit.follows);
    }
    std::size_t at = commitFixed;
    for (const RecordChange &change : commit.changes) {
        put32(&out[at], change.number);
        put32(&out[at + 4], change.before.empty() ? 0 : 1);
        at += changeFixed;
        for (const auto *image : {&change.before, &change.after}) {
            if (!image->empty())
                std::memcpy(&out[at], image->data(), image->size());
            at += image->size();
        }
    }
    put32(&out[commitSumAt], commitSum(std::span(out).first(size)));
}

std::uint64_t numberOfCommit(std::span<const std::uint8_t> bytes)
{
    return bytes.size() >= commitFixed && begins(bytes, commitMagic) ? get64(&bytes[8]) : 0;
}

std::uint32_t linkOf(std::span<const std::uint8_t> bytes)
{
    return std::max<std::uint32_t>(get32(&bytes[commitSumAt]), 1);
}

bool mayBeCommit(std::span<const std::uint8_t> bytes, std::uint64_t number)
{
    return number != 0 && numberOfCommit(bytes) == number;
}

std::optional<Commit> decodeCommit(std::span<const std::uint8_t> bytes, std::uint64_t number,
                                   std::size_t recordLength)
{
    if (!mayBeCommit(bytes, number))
        return {};
    const std::size_t size = get32(&bytes[4]);
    if (size < commitFixed || size > bytes.size() || get32(&bytes[28]) != recordLength)
        return {};
    const std::uint32_t follows = linkBehind(bytes, size);
    bytes = bytes.first(size);
    if (get32(&bytes[commitSumAt]) != commitSum(bytes))
        return {};
    Commit commit{number, get32(&bytes[16]), {}, follows};
    const std::uint32_t changes = get32(&bytes[20]);
    std::size_t at = commitFixed;
    for (std::uint32_t i = 0; i < changes; ++i) {
        if (size - at < changeFixed)
            return {};
        RecordChange change;
        change.number = get32(&bytes[at]);
        const bool changed = get32(&bytes[at + 4]) == 1;
        at += changeFixed;
        if (size - at < recordLength * (changed ? 2 : 1) || change.number == 0)
            return {};
        const auto image = [&] {
            const auto part = bytes.subspan(at, recordLength);
            at += recordLength;
            return std::vector<std::uint8_t>(part.begin(), part.end());
        };
        if (changed)
            change.before = image();
        change.after = image();
        commit.changes.push_back(std::move(change));
    }
    return at == size ? std::optional(std::move(commit)) : std::nullopt;
}

} // namespace dbase
