#pragma once

// The journal, NAME.JNL, beside a table: what makes every change whole or absent. Everything is
// little-endian.
//
// Header, one sector of 512 bytes, written in one piece
//   offset size  meaning
//        0    4  "AGJ1"
//        4    8  base: number of the last commit that table and index have safely on disk
//       12    8  applied: number of the last commit that table and index hold
//       20    4  where the next commit goes
//       24    4  records that the index knows, 0 when the last writer has kept none
//       28    4  bit 0: closed in order, table and index are whole and on disk, as the stamps say
//                bit 1: since the base there are commits that must outlive a power cut
//                bit 2: base and all commits are on disk
//       32    8  size of the table then
//       40    8  time of the table then
//       48    8  size of the index then
//       56    8  time of the index then
//       64    4  records that the table has had on disk for sure, since the last flush
//       68    4  check sum of the bytes before
//       72    4  what emptied journals held (JournalPast.h): where the next goes, from 524,288 on
//       76    8  number of the first commit in the half that is being filled
//       84    8  number from which on all commits are kept
//       92    4  link of the applied commit, 0 when it is not known
//       96    4  check sum of these
//      100    4  table that the journal belongs to: sum of its fields' definitions
//      104    8  number of its file
//      112    4  sum of the last line that it had on disk for sure
//      116    4  check sum of these, beginning with a one
//
// Commits, from 512 on, each on a sector boundary
//        0    4  "AGC1"
//        4    4  bytes in all
//        8    8  number
//       16    4  records of the table afterwards
//       20    4  number of changes
//       24    4  check sum of the whole with this field 0
//       28    4  bytes of a record
//       32   ..  changes: record number (4), 0 = new, 1 = changed (4), the record before (changed only),
//       after
//
// Behind them, where the last sector has room, for which a change may stand there twice: link of the commit
// in front (4), and the same with all bits turned (4).
//
// A commit's link is its check sum. It tells a commit that was written late, over another of the same
// number, from the one that the others have gone on from.
//
// A commit counts when its check sum is right and its number follows the one in front. It is written and
// flushed before table and index are touched; the header is written when they have been. So a commit behind
// the applied one is one whose writer died: whoever finds it does it again, which does no harm.

#include "dbase/JournalPast.h"
#include "dbase/Record.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace dbase
{

inline constexpr std::size_t journalSector = 512;
/// Size of a new journal; a commit that is longer makes it grow.
inline constexpr std::size_t journalSize = std::size_t{512} * 1024;

/// What tells a table from others: with all 0, nothing.
struct TableMark {
    std::uint32_t shape = 0;    ///< sum of the definitions of its fields
    std::uint64_t file = 0;     ///< number of its file, which a copy has not
    std::uint32_t lastLine = 0; ///< sum of the last line that was on disk for sure; 0: not known
    friend bool operator==(const TableMark &, const TableMark &) = default;
};
[[nodiscard]] std::uint32_t shapeOf(std::span<const FieldDefinition> fields);
[[nodiscard]] std::uint32_t sumOfLine(std::span<const std::uint8_t> line);

struct JournalHeader {
    std::uint64_t base = 0;
    std::uint64_t applied = 0;
    std::uint32_t tail = journalSector;
    std::uint32_t indexedRecords = 0;
    bool closedInOrder = false;
    bool holdsDurable = false;
    bool onDisk = false; ///< what the next commit goes on from; then it alone needs to be brought there
    std::uint64_t tableSize = 0;
    std::int64_t tableTime = 0;
    std::uint64_t indexSize = 0;
    std::int64_t indexTime = 0;
    std::uint32_t tableRecords = 0; ///< on disk for sure; only another program makes the table shorter
    JournalPast past;
    std::uint32_t lastLink = 0; ///< of the applied commit; 0 when it is not known
    TableMark mark;
    friend bool operator==(const JournalHeader &, const JournalHeader &) = default;
};

/// No commit of ours is longer; what a damaged journal says beyond is not read.
inline constexpr std::uint64_t largestJournal = std::uint64_t{256} * 1024 * 1024;

/// One record's part in a commit.
struct RecordChange {
    RecordNumber number = 0;
    std::vector<std::uint8_t> before; ///< empty for a new record
    std::vector<std::uint8_t> after;
    friend bool operator==(const RecordChange &, const RecordChange &) = default;
};

struct Commit {
    std::uint64_t number = 0;
    RecordNumber recordCount = 0; ///< afterwards
    std::vector<RecordChange> changes;
    std::uint32_t follows = 0; ///< link of the commit in front; 0 when it is not known
    friend bool operator==(const Commit &, const Commit &) = default;
};

using JournalHeaderBytes = std::array<std::uint8_t, journalSector>;
[[nodiscard]] JournalHeaderBytes encodeJournalHeader(const JournalHeader &header);
/// @return nothing for bytes that no journal can hold.
[[nodiscard]] std::optional<JournalHeader> decodeJournalHeader(std::span<const std::uint8_t> bytes);

/// Whether bytes begin as a journal does, however they go on.
[[nodiscard]] bool isJournalsFront(std::span<const std::uint8_t> bytes);

/// Bytes of a commit, without what fills its last sector.
[[nodiscard]] std::uint64_t commitSize(const Commit &commit);
/// Makes sure that a commit of table lines can bear a link, as far as a line's length allows: it may say
/// twice what its last change makes of a line.
void leaveRoomForLink(Commit &commit);
/// @param out  receives the bytes, to the end of the last sector: a commit that stood in a shorter file's end
/// would be missed. Given, so that one buffer serves commit after commit.
void encodeCommit(const Commit &commit, std::size_t recordLength, std::vector<std::uint8_t> &out);
/// The commit that begins at the start of `bytes`. @return nothing when there is none of that number and
/// record length.
[[nodiscard]] std::optional<Commit> decodeCommit(std::span<const std::uint8_t> bytes, std::uint64_t number,
                                                 std::size_t recordLength);
/// The number of what begins there, if it is a commit; 0 when it is none. Not to be believed without
/// decoding.
[[nodiscard]] std::uint64_t numberOfCommit(std::span<const std::uint8_t> bytes);
/// What tells a commit from others of the same number; never 0.
/// @param bytes  as encodeCommit() has made them.
[[nodiscard]] std::uint32_t linkOf(std::span<const std::uint8_t> bytes);
/// Whether something of that number begins there; cheap, and to be looked at closer when true.
[[nodiscard]] bool mayBeCommit(std::span<const std::uint8_t> bytes, std::uint64_t number);

} // namespace dbase
