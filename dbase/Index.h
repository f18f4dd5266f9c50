#pragma once

#include "dbase/KeyExpression.h"

#include <optional>
#include <span>
#include <vector>

namespace dbase
{

/// Name and expression of an index tag.
struct TagDefinition {
    std::string name;       ///< capitals, at most 10 characters
    std::string expression; ///< see KeyExpression
    bool descending = false;
    bool unique = false;  ///< of the lines with the same key only one: the first live one, or else the first
    std::string filter{}; ///< only the lines that it accepts, see FilterExpression; empty: all
};

/// Whether two tags hold the same lines in the same order, whatever their names.
[[nodiscard]] DBASE_EXPORT bool sameOrder(const TagDefinition &a, const TagDefinition &b);

/// One line of an index. Every record of the table, deleted ones included, stands in it exactly once, unless
/// its tag is unique or has a filter.
struct IndexEntry {
    IndexKey key;
    RecordNumber record = 0;
};

/// Ordered access to the records of one table by one tag. Entries are ordered by key (descending tags: from
/// the largest down), equal keys by record number, so that lines with the same key stay in the order in which
/// they were added.
///
/// Keys to look for may be shorter than those of the index where these are texts; the key of a lone date or
/// number is given whole. Bytes beyond the length of the keys count for nothing, except that find() then
/// finds nothing.
///
/// A position is an IndexEntry held by the caller; it stays usable when the entry itself has gone (next and
/// prior then give its neighbours). Owned by the Table, which keeps it right on every write; valid as long as
/// the Table lives.
class DBASE_EXPORT Index
{
public:
    virtual ~Index() = default;

    [[nodiscard]] virtual const TagDefinition &definition() const = 0;
    [[nodiscard]] virtual const KeyExpression &expression() const = 0;

    /// First entry whose key, cut to the length of `prefix`, is `prefix` (exact) - nothing when there is
    /// none.
    virtual Result<std::optional<IndexEntry>> find(std::span<const std::uint8_t> prefix) = 0;
    /// First entry whose key is at or after `key` (nearest) - nothing past the end.
    virtual Result<std::optional<IndexEntry>> atOrAfter(std::span<const std::uint8_t> key) = 0;

    virtual Result<std::optional<IndexEntry>> first() = 0;
    virtual Result<std::optional<IndexEntry>> last() = 0;
    /// The entry behind / in front of a position, whether or not an entry stands on the position itself.
    virtual Result<std::optional<IndexEntry>> next(const IndexEntry &position) = 0;
    virtual Result<std::optional<IndexEntry>> prior(const IndexEntry &position) = 0;

    /// Adds to `out`, in order, the records whose keys lie between two bounds, both included. A bound shorter
    /// than the key stands for all keys that begin so; an empty bound is no bound.
    /// @param low, high  as the index meets them: in a descending one `low` is the larger key.
    virtual Status collect(std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                           std::vector<RecordNumber> &out) = 0;
};

} // namespace dbase
