// Whether an index says what the lines say.

#include "dbase/MdxFile.h"
#include "dbase/MdxOffsets.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace dbase
{

bool BlockUse::take(PageNumber page, int owner)
{
    const std::size_t block = page / 2;
    if (page % 2 != 0)
        return false;
    if (m_owners.size() <= block)
        m_owners.resize(block + 1, 0);
    int &present = m_owners[block];
    const bool free = present == 0 || (owner != once && present == owner);
    present = owner;
    return free;
}

void orderKeys(const MdxTag &tag, RecordNumber count, TagKeys &keys)
{
    const auto length = static_cast<std::size_t>(tag.keyLength);
    keys.order.resize(count);
    std::iota(keys.order.begin(), keys.order.end(), RecordNumber{1});
    if (!keys.leftOut.empty())
        std::erase_if(keys.order, [&](RecordNumber record) { return keys.leftOut[record - 1]; });
    const std::uint8_t *const bytes = keys.keys.data();
    const auto before = [&](RecordNumber a, RecordNumber b) {
        const int order = tag.compare(bytes + (a - 1) * length, bytes + (b - 1) * length, length);
        return order != 0 ? order < 0 : a < b;
    };
    if (!std::is_sorted(keys.order.begin(), keys.order.end(), before))
        std::sort(keys.order.begin(), keys.order.end(), before);
}

namespace
{

/// Whether every block above an entry bounds it rightly: searches go by the bounds, a walk does not.
bool boundsHold(const MdxCursor &cursor, const MdxTag &tag)
{
    const auto length = static_cast<std::size_t>(tag.keyLength);
    const auto keyAt = [&](const MdxCursor::Step &step, int item) {
        return step.block + mdxBlock::items +
               static_cast<std::size_t>(item) * static_cast<std::size_t>(tag.itemLength) +
               mdxBlock::childSize;
    };
    for (int level = 0; level < cursor.depth() - 1; ++level) {
        const MdxCursor::Step &step = cursor.step(level);
        if (step.position < step.count && tag.compare(cursor.key(), keyAt(step, step.position), length) > 0)
            return false;
        if (step.position > 0 && tag.compare(cursor.key(), keyAt(step, step.position - 1), length) < 0)
            return false;
    }
    return true;
}

/// Other programs count the digits of a number differently: one number has several keys.
bool sameKey(const MdxTag &tag, const std::uint8_t *a, const std::uint8_t *b)
{
    const auto length = static_cast<std::size_t>(tag.keyLength);
    return tag.keyType == KeyType::numeric ? compareMdxKeys(tag.keyType, a, b, length) == 0
                                           : std::memcmp(a, b, length) == 0;
}

} // namespace

bool holdsExactly(const BlockSource &source, const MdxTag &tag, const TagKeys &keys, BlockUse &use)
{
    if (!use.take(tag.headerPage, BlockUse::once))
        return false;
    const int owner = use.nextOwner();
    const auto length = static_cast<std::size_t>(tag.keyLength);
    const std::size_t count = length == 0 ? 0 : keys.keys.size() / length;
    std::vector<bool> seen = keys.leftOut; // a line that does not belong into the tag is one too many
    seen.resize(count, false);
    auto entries = static_cast<std::size_t>(std::count(seen.begin(), seen.end(), true));
    std::vector<std::uint8_t> previous;
    MdxCursor cursor(source, tag);
    for (cursor.first(); cursor.valid(); cursor.next()) {
        const RecordNumber record = cursor.record();
        if (record < 1 || record > count || seen[record - 1])
            return false; // also ends a walk that goes in circles
        seen[record - 1] = true;
        ++entries;
        if (!sameKey(tag, cursor.key(), keys.keys.data() + (record - 1) * length))
            return false;
        if (!previous.empty() && tag.compare(previous.data(), cursor.key(), length) > 0)
            return false;
        const MdxCursor::Step &leaf = cursor.step(cursor.depth() - 1);
        if (leaf.position == 0) {
            for (int level = 0; level < cursor.depth() - 1; ++level) {
                if (!use.take(cursor.step(level).page, owner))
                    return false;
            }
            if (!use.take(leaf.page, BlockUse::once))
                return false;
        }
        if ((leaf.position == 0 || leaf.position == leaf.count - 1) && !boundsHold(cursor, tag))
            return false;
        previous.assign(cursor.key(), cursor.key() + length);
    }
    return !cursor.damaged() && entries == count;
}

} // namespace dbase
