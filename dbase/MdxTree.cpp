// Changing a tree, and building one.

#include "dbase/MdxTree.h"

#include "dbase/KeyExpression.h"
#include "dbase/MdxOffsets.h"

#include <algorithm>
#include <cstring>

namespace dbase
{

std::size_t MdxTree::itemAt(int index) const
{
    return mdxBlock::items + static_cast<std::size_t>(index) * static_cast<std::size_t>(m_tag.itemLength);
}

Status MdxTree::outside(PageNumber page) const
{
    return {ErrorKind::damaged,
            "el índice nombra un bloque que no existe",
            {},
            static_cast<std::uint64_t>(page) * mdxPageSize};
}

int MdxTree::mostItems(bool leaf) const
{
    return leaf ? std::min(m_tag.maxItems, mdxItemsPerBlock(m_tag.itemLength))
                : m_tag.maxItems - mdxInnerReserve;
}

Status MdxTree::insert(std::span<const std::uint8_t> key, RecordNumber record)
{
    MdxCursor path(m_store, m_tag);
    const auto isEqual = [&] {
        return path.valid() && m_tag.compare(path.key(), key.data(), key.size()) == 0;
    };
    // The usual case first: no equal key, or only those of earlier lines, in the leaf where searches arrive.
    path.descend(key, true);
    if (path.followsSmaller(key, record))
        return insertItem(path, path.depth() - 1, key.data(), record);
    path.seek(key);
    while (isEqual() && path.record() < record)
        path.next();
    // Behind all equal ones, into the leaf in which other programs would look for the key first.
    if (!isEqual())
        path.descend(key, true);
    if (path.damaged())
        return path.status();
    return insertItem(path, path.depth() - 1, key.data(), record);
}

Status MdxTree::remove(std::span<const std::uint8_t> key, RecordNumber record)
{
    MdxCursor path(m_store, m_tag);
    for (path.seek(key); path.valid(); path.next()) {
        if (m_tag.compare(path.key(), key.data(), key.size()) != 0)
            break;
        if (path.record() == record)
            return takeOut(path, path.depth() - 1, path.step(path.depth() - 1).position);
    }
    if (path.damaged())
        return path.status();
    return {ErrorKind::notFound, "la línea no está en el índice"};
}

Status MdxTree::insertItem(const MdxCursor &path, int level, const std::uint8_t *key, std::uint32_t number)
{
    const MdxCursor::Step &step = path.step(level);
    if (step.count >= mostItems(isLeaf(path, level)))
        return split(path, level, key, number);

    std::uint8_t *block = m_store.change(step.page);
    if (!block)
        return outside(step.page);
    const std::size_t at = itemAt(step.position);
    const std::size_t end = itemAt(step.count) + mdxBlock::childSize;
    std::memmove(block + at + static_cast<std::size_t>(m_tag.itemLength), block + at, end - at);
    std::memset(block + at, 0, static_cast<std::size_t>(m_tag.itemLength));
    put32(block + at, number);
    std::memcpy(block + at + mdxBlock::childSize, key, static_cast<std::size_t>(m_tag.keyLength));
    put32(block, static_cast<std::uint32_t>(step.count + 1));
    return {};
}

/// The new block becomes the right half and takes over the old block's item in the level above; an item for
/// the left half goes in front of it.
Status MdxTree::split(const MdxCursor &path, int level, const std::uint8_t *key, std::uint32_t number)
{
    const MdxCursor::Step &step = path.step(level);
    const bool leaf = isLeaf(path, level);
    const auto itemLength = static_cast<std::size_t>(m_tag.itemLength);

    // The block as it is by now: a split below has just put its right half's page into it.
    std::uint8_t *const leftBlock = m_store.change(step.page);
    if (!leftBlock)
        return outside(step.page);

    // All items with the new one in its place, and behind them the last child.
    std::vector<std::uint8_t> items(
        static_cast<std::size_t>(step.count + 1) * itemLength + mdxBlock::childSize, 0);
    const std::size_t at = static_cast<std::size_t>(step.position) * itemLength;
    std::memcpy(items.data(), leftBlock + mdxBlock::items, at);
    put32(items.data() + at, number);
    std::memcpy(items.data() + at + mdxBlock::childSize, key, static_cast<std::size_t>(m_tag.keyLength));
    const std::size_t rest =
        static_cast<std::size_t>(step.count) * itemLength + (leaf ? 0 : mdxBlock::childSize) - at;
    std::memcpy(items.data() + at + itemLength, leftBlock + mdxBlock::items + at, rest);

    bool atRightEdge = step.position == step.count;
    for (int above = level - 1; above >= 0; --above)
        atRightEdge = atRightEdge && path.step(above).position == path.step(above).count;

    // Lines mostly come in the order of their dates: at the right edge the left block stays full.
    const int total = step.count + 1;
    const int left = atRightEdge ? total - (leaf ? 1 : 2) : total / 2;
    const int rightFrom = leaf ? left : left + 1; // of an inner block the middle item goes up

    const PageNumber rightPage = m_store.allocate();
    std::uint8_t *rightBlock = rightPage ? m_store.change(rightPage) : nullptr;
    if (!rightBlock)
        return {ErrorKind::full, "el índice no puede crecer más"};
    std::memcpy(rightBlock + mdxBlock::items, items.data() + static_cast<std::size_t>(rightFrom) * itemLength,
                static_cast<std::size_t>(total - rightFrom) * itemLength + (leaf ? 0 : mdxBlock::childSize));
    put32(rightBlock, static_cast<std::uint32_t>(total - rightFrom));

    std::array<std::uint8_t, maxKeyLength> bound{};
    const int boundItem = leaf ? left - 1 : left;
    std::memcpy(bound.data(),
                items.data() + static_cast<std::size_t>(boundItem) * itemLength + mdxBlock::childSize,
                static_cast<std::size_t>(m_tag.keyLength));

    std::memset(leftBlock, 0, mdxBlockSize);
    std::memcpy(leftBlock + mdxBlock::items, items.data(),
                static_cast<std::size_t>(left) * itemLength + (leaf ? 0 : mdxBlock::childSize));
    put32(leftBlock, static_cast<std::uint32_t>(left));

    if (level == 0)
        return newRoot(step.page, rightPage, bound.data());
    const MdxCursor::Step &above = path.step(level - 1);
    std::uint8_t *parent = m_store.change(above.page);
    if (!parent)
        return outside(above.page);
    put32(parent + itemAt(above.position), rightPage);
    return insertItem(path, level - 1, bound.data(), step.page);
}

Status MdxTree::newRoot(PageNumber left, PageNumber right, const std::uint8_t *bound)
{
    const PageNumber page = m_store.allocate();
    std::uint8_t *block = page ? m_store.change(page) : nullptr;
    if (!block)
        return {ErrorKind::full, "el índice no puede crecer más"};
    put32(block, 1);
    put32(block + itemAt(0), left);
    std::memcpy(block + itemAt(0) + mdxBlock::childSize, bound, static_cast<std::size_t>(m_tag.keyLength));
    put32(block + itemAt(1), right);
    m_tag.rootPage = page;
    return {};
}

/// Takes an item out of a block, of an inner one with its child; an emptied block goes the same way.
Status MdxTree::takeOut(const MdxCursor &path, int level, int position)
{
    const MdxCursor::Step &step = path.step(level);
    const bool leaf = isLeaf(path, level);
    const auto itemLength = static_cast<std::size_t>(m_tag.itemLength);
    std::uint8_t *const block = m_store.change(step.page);
    if (!block)
        return outside(step.page);
    const int lastPosition = leaf ? step.count - 1 : step.count;
    if (lastPosition == 0) {
        if (level == 0) {
            std::memset(block, 0, mdxBlockSize); // an emptied root stays where it is, as an empty leaf
            return {};
        }
        m_store.release(step.page);
        return takeOut(path, level - 1, path.step(level - 1).position);
    }
    const std::size_t at = itemAt(position);
    const std::size_t end = itemAt(step.count) + (leaf ? 0 : mdxBlock::childSize);
    std::array<std::uint8_t, maxKeyLength> bound{};
    if (position < lastPosition)
        std::memmove(block + at, block + at + itemLength, end - at - itemLength);
    else // of an inner block the child in front becomes the last one, which has no key
        std::memcpy(bound.data(), block + at - itemLength + mdxBlock::childSize,
                    static_cast<std::size_t>(m_tag.keyLength));
    std::memset(block + end - itemLength, 0, itemLength);
    put32(block, static_cast<std::uint32_t>(step.count - 1));
    if (position == lastPosition) {
        if (Status status = setBound(path, level, bound); !status.ok())
            return status;
    }
    return mergeIfSmall(path, level, step.count - 1);
}

/// Puts a block of so few items together with a neighbour under the same parent, if that leaves room: neither
/// the next insertion is to split it again nor the next removal to look for another neighbour. A root stays
/// with its one child: other programs that have the file open cannot follow a tree that becomes lower.
Status MdxTree::mergeIfSmall(const MdxCursor &path, int level, int count)
{
    const bool leaf = isLeaf(path, level);
    const int limit = mostItems(leaf);
    if (level == 0 || count * 3 >= limit)
        return {};
    const MdxCursor::Step &above = path.step(level - 1);
    const std::uint8_t *const parent = m_store.block(above.page);
    if (!parent)
        return outside(above.page);
    for (const int position : {above.position - 1, above.position + 1}) {
        if (position < 0 || position > above.count)
            continue;
        const MdxCursor::Step neighbour = path.look(get32(parent + itemAt(position)));
        bool sound = neighbour.block && path.isLeaf(neighbour) == leaf;
        for (int onPath = 0; onPath <= level; ++onPath)
            sound = sound && path.step(onPath).page != neighbour.page;
        if (!sound)
            return outside(neighbour.page);
        const int together = count + neighbour.count + (leaf ? 0 : 1);
        if (together * 4 > limit * 3)
            continue;
        const Half own{path.step(level).page, count};
        const Half other{neighbour.page, neighbour.count};
        return position < above.position ? merge(path, level, position, other, own)
                                         : merge(path, level, above.position, own, other);
    }
    return {};
}

/// The right block takes in the items of the left one, whose item then leaves the level above: so no bound
/// changes.
Status MdxTree::merge(const MdxCursor &path, int level, int leftPosition, Half left, Half right)
{
    const bool leaf = isLeaf(path, level);
    const auto itemLength = static_cast<std::size_t>(m_tag.itemLength);
    const std::size_t lastChild = leaf ? 0 : mdxBlock::childSize;
    const PageNumber above = path.step(level - 1).page;
    std::uint8_t *const rightBlock = m_store.change(right.page);
    const std::uint8_t *const leftBlock = m_store.block(left.page);
    const std::uint8_t *const parent = m_store.block(above);
    if (!rightBlock || !leftBlock || !parent)
        return outside(!rightBlock ? right.page : !leftBlock ? left.page : above);

    std::array<std::uint8_t, mdxBlockSize> merged{};
    const std::size_t leftEnd = itemAt(left.count);
    std::memcpy(merged.data() + mdxBlock::items, leftBlock + mdxBlock::items,
                leftEnd - mdxBlock::items + lastChild);
    if (!leaf) // the left block's last child has its key in the level above
        std::memcpy(merged.data() + leftEnd + mdxBlock::childSize,
                    parent + itemAt(leftPosition) + mdxBlock::childSize,
                    static_cast<std::size_t>(m_tag.keyLength));
    std::memcpy(merged.data() + leftEnd + (leaf ? 0 : itemLength), rightBlock + mdxBlock::items,
                itemAt(right.count) - mdxBlock::items + lastChild);
    put32(merged.data(), static_cast<std::uint32_t>(left.count + right.count + (leaf ? 0 : 1)));
    std::memcpy(rightBlock, merged.data(), merged.size());
    m_store.release(left.page);
    return takeOut(path, level - 1, leftPosition);
}

/// Other programs look into one leaf only, so the bounds above a block are kept at its last key.
Status MdxTree::setBound(const MdxCursor &path, int level, std::span<const std::uint8_t> key)
{
    for (int above = level - 1; above >= 0; --above) {
        const MdxCursor::Step &step = path.step(above);
        if (step.position >= step.count)
            continue;
        std::uint8_t *block = m_store.change(step.page);
        if (!block)
            return outside(step.page);
        std::memcpy(block + itemAt(step.position) + mdxBlock::childSize, key.data(),
                    static_cast<std::size_t>(m_tag.keyLength));
        break;
    }
    return {};
}

// ---------------------------------------------------------------------------------------------------------------------

namespace
{

/// Leaves of a rebuilt tree keep a little room, so that the first insertion does not split them at once.
constexpr int spareItemsInLeaf = 2;

/// A finished block on its way into the level above.
struct BuiltBlock {
    PageNumber page = 0;
    RecordNumber lastRecord = 0; ///< the one with its largest key
};

PageNumber appendBlock(std::vector<std::uint8_t> &blocks, PageNumber firstPage)
{
    const PageNumber page = firstPage + static_cast<PageNumber>(blocks.size() / mdxPageSize);
    blocks.resize(blocks.size() + mdxBlockSize, 0);
    return page;
}

} // namespace

PageNumber buildMdxTree(const MdxTag &tag, std::span<const std::uint8_t> keys,
                        std::span<const RecordNumber> order, PageNumber firstPage,
                        std::vector<std::uint8_t> &blocks)
{
    const auto itemLength = static_cast<std::size_t>(tag.itemLength);
    const auto keyLength = static_cast<std::size_t>(tag.keyLength);
    const PageNumber origin = firstPage - static_cast<PageNumber>(blocks.size() / mdxPageSize);
    const auto perLeaf = static_cast<std::size_t>(std::max(1, tag.maxItems - spareItemsInLeaf));
    const auto childrenPerInner = std::size_t(tag.maxItems) - mdxInnerReserve + 1;
    const auto putKey = [&](std::uint8_t *item, RecordNumber record) {
        std::memcpy(item + mdxBlock::childSize, keys.data() + (record - 1) * keyLength, keyLength);
    };

    std::vector<BuiltBlock> level;
    for (std::size_t from = 0; from < order.size() || level.empty(); from += perLeaf) {
        const std::size_t count = std::min(perLeaf, order.size() - from);
        const PageNumber page = appendBlock(blocks, origin);
        std::uint8_t *block = blocks.data() + blocks.size() - mdxBlockSize;
        put32(block, static_cast<std::uint32_t>(count));
        for (std::size_t i = 0; i < count; ++i) {
            std::uint8_t *item = block + mdxBlock::items + i * itemLength;
            put32(item, order[from + i]);
            putKey(item, order[from + i]);
        }
        level.push_back({page, count > 0 ? order[from + count - 1] : 0});
    }
    while (level.size() > 1) {
        std::vector<BuiltBlock> above;
        for (std::size_t from = 0; from < level.size(); from += childrenPerInner) {
            const std::size_t children = std::min(childrenPerInner, level.size() - from);
            const PageNumber page = appendBlock(blocks, origin);
            std::uint8_t *block = blocks.data() + blocks.size() - mdxBlockSize;
            put32(block, static_cast<std::uint32_t>(children - 1));
            for (std::size_t i = 0; i < children; ++i) {
                std::uint8_t *item = block + mdxBlock::items + i * itemLength;
                put32(item, level[from + i].page);
                if (i + 1 < children)
                    putKey(item, level[from + i].lastRecord);
            }
            above.push_back({page, level[from + children - 1].lastRecord});
        }
        level = std::move(above);
    }
    return level.front().page;
}

} // namespace dbase
