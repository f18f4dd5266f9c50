#pragma once

// What emptied journals held. A workstation that was cut off may write late, when its connection is back,
// over what others have written since; it notices, and needs to know what belongs there. So on a share the
// commits of a journal that is emptied are kept behind the journal proper, in two halves that are filled in
// turn: when one is full, the other one is written over. Numbers only ever grow, so what is left there of
// earlier rounds is told apart.

#include "dbase/Record.h"
#include "dbase/Status.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace dbase
{

class File;
struct Commit;

/// Part of the journal's header: what is kept, and where the next ones go.
struct JournalPast {
    /// Bytes of a half: some thousand changes, the work of a large office's day.
    static constexpr std::uint32_t half = std::uint32_t{2} * 1024 * 1024;

    std::uint32_t end = 0;       ///< where the next ones go, from where the halves begin
    std::uint64_t halfFrom = 0;  ///< number of the first commit in the half that is being filled
    std::uint64_t knownFrom = 0; ///< the commits from this number on are all kept, here or in the journal
    friend bool operator==(const JournalPast &, const JournalPast &) = default;

    /// Makes room for the commits of a journal that is to be emptied.
    /// @param size   their bytes, whole sectors.
    /// @param first  number of the first one.
    /// @return where in the file they go; nothing when they are too many for a half.
    [[nodiscard]] std::optional<std::uint64_t> take(std::uint64_t size, std::uint64_t first);
    /// @param next  the number before which not all commits are kept.
    void forget(std::uint64_t next);

    /// The commits in the halves of that number and later, by number; what of them stands in the journal
    /// proper is not among them.
    [[nodiscard]] static Result<std::vector<Commit>>
    commitsSince(const File &journal, std::size_t recordLength, std::uint64_t since);
};

} // namespace dbase
