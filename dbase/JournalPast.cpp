#include "dbase/JournalPast.h"

#include "dbase/File.h"
#include "dbase/Journal.h"

#include <algorithm>

namespace dbase
{

std::optional<std::uint64_t> JournalPast::take(std::uint64_t size, std::uint64_t first)
{
    if (size >= half)
        return {};
    const std::uint32_t filling = end < half ? 0 : half;
    if (end + size >= filling + half) {
        end = filling == 0 ? half : 0;
        knownFrom = std::max(knownFrom, halfFrom); // the other half is about to be written over
        halfFrom = first;
    }
    const std::uint64_t place = journalSize + end;
    end += static_cast<std::uint32_t>(size);
    return place;
}

void JournalPast::forget(std::uint64_t next)
{
    knownFrom = next;
    halfFrom = next;
}

Result<std::vector<Commit>> JournalPast::commitsSince(const File &journal, std::size_t recordLength,
                                                      std::uint64_t since)
{
    std::vector<std::uint8_t> bytes(std::size_t{2} * half);
    const auto got = journal.readAt(journalSize, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    std::vector<Commit> commits;
    for (std::span<const std::uint8_t> rest = bytes; rest.size() >= journalSector;) {
        const std::uint64_t number = numberOfCommit(rest);
        auto one = number >= since ? decodeCommit(rest, number, recordLength) : std::nullopt;
        std::size_t sectors = 1;
        if (one) {
            sectors = (commitSize(*one) + journalSector - 1) / journalSector;
            commits.push_back(std::move(*one));
        }
        rest = rest.subspan(std::min(rest.size(), sectors * journalSector));
    }
    std::ranges::sort(commits, {}, &Commit::number);
    const auto isAgain = [](const Commit &one, const Commit &next) { return one.number == next.number; };
    commits.erase(std::unique(commits.begin(), commits.end(), isAgain), commits.end());
    return commits;
}

} // namespace dbase
