// A journal of any bytes.

#include "dbase/Journal.h"
#include "dbase/Bytes.h"
#include "tests/fuzz/Targets.h"

#include <algorithm>

namespace
{

constexpr std::size_t headerSumAt = 68;
constexpr std::size_t commitSumAt = 24;

std::uint32_t sumOf(fuzz::Bytes bytes)
{
    std::uint32_t value = ~0U;
    for (const std::uint8_t byte : bytes) {
        value ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 1U) != 0 ? 0xEDB88320U ^ (value >> 1U) : value >> 1U;
    }
    return ~value;
}

bool same(const dbase::Commit &a, const dbase::Commit &b)
{
    return a.number == b.number && a.recordCount == b.recordCount &&
           std::equal(a.changes.begin(), a.changes.end(), b.changes.begin(), b.changes.end(),
                      [](const dbase::RecordChange &x, const dbase::RecordChange &y) {
                          return x.number == y.number && x.before == y.before && x.after == y.after;
                      });
}

void readCommit(fuzz::Bytes bytes)
{
    if (bytes.size() < 32)
        return;
    const std::uint64_t number = dbase::get64(&bytes[8]);
    const std::size_t recordLength = dbase::get32(&bytes[28]);
    const auto commit = dbase::decodeCommit(bytes, number, recordLength);
    fuzz::expect(!dbase::decodeCommit(bytes, number + 1, recordLength), "a commit of another number is none");
    fuzz::expect(!dbase::decodeCommit(bytes, number, recordLength + 1), "nor one of another table");
    if (!commit || recordLength == 0)
        return;
    fuzz::expect(dbase::mayBeCommit(bytes, number), "the quick look lets every commit pass");
    for (const auto &change : commit->changes)
        fuzz::expect(change.number != 0 && change.after.size() == recordLength &&
                         (change.before.empty() || change.before.size() == recordLength),
                     "a change has whole lines");
    std::vector<std::uint8_t> again;
    dbase::encodeCommit(*commit, recordLength, again);
    const auto read = dbase::decodeCommit(again, number, recordLength);
    fuzz::expect(read && same(*read, *commit), "a commit that is written is read as it was");
}

void readHeader(fuzz::Bytes bytes)
{
    if (const auto header = dbase::decodeJournalHeader(bytes))
        fuzz::expect(dbase::decodeJournalHeader(dbase::encodeJournalHeader(*header)) == header,
                     "a header that is written is read as it was");
}

} // namespace

void fuzz::journal(Bytes input)
{
    readHeader(input);
    for (std::size_t at = 0; at < input.size(); at += dbase::journalSector)
        readCommit(input.subspan(at));

    // Once more with the sums put right: otherwise nothing behind them would ever be reached.
    std::vector<std::uint8_t> mended(input.begin(), input.end());
    if (mended.size() >= dbase::journalSector) {
        dbase::put32(&mended[headerSumAt], sumOf(Bytes(mended).first(headerSumAt)));
        readHeader(mended);
    }
    for (std::size_t at = 0; at + 32 <= mended.size(); at += dbase::journalSector) {
        const std::size_t size = dbase::get32(&mended[at + 4]);
        if (size < 32 || size > mended.size() - at)
            continue;
        dbase::put32(&mended[at + commitSumAt], 0);
        dbase::put32(&mended[at + commitSumAt], sumOf(Bytes(mended).subspan(at, size)));
        readCommit(Bytes(mended).subspan(at));
    }
}
