#include "dbase/MdxTree.h"

#include "dbase/MdxOffsets.h"

#include <algorithm>
#include <cstring>

namespace dbase
{

namespace
{

constexpr std::size_t itemsOffset = mdxBlock::items;
constexpr std::size_t childSize = mdxBlock::childSize;

/// Other programs may leave an empty leaf behind; a file made to have millions of them is refused.
constexpr int mostEmptyLeaves = 64;

/// Leaves of a rebuilt tree keep a little room, so that the first insertion does not split them at once.
constexpr int spareItemsInLeaf = 2;

} // namespace

void MdxCursor::fail(PageNumber page)
{
    m_damagedPage = page == 0 ? ~PageNumber{0} : page;
    m_valid = false;
    m_depth = 0;
}

Status MdxCursor::status() const
{
    if (m_damagedPage == 0)
        return {};
    return {ErrorKind::damaged,
            "el índice tiene un bloque imposible",
            {},
            static_cast<std::uint64_t>(m_damagedPage) * mdxPageSize};
}

const std::uint8_t *MdxCursor::item(const Step &step, int index) const
{
    return step.block + itemsOffset +
           static_cast<std::size_t>(index) * static_cast<std::size_t>(m_tag.itemLength);
}

PageNumber MdxCursor::childOf(const Step &step) const
{
    return get32(item(step, step.position));
}

bool MdxCursor::atLeaf() const
{
    const std::uint8_t *const behind = item(top(), top().count);
    return behind + childSize > top().block + mdxBlockSize || get32(behind) == 0; // no room for a child
}

bool MdxCursor::enter(PageNumber page)
{
    const std::uint8_t *block = m_depth < maxDepth ? m_source.block(page) : nullptr;
    const std::uint32_t count = block ? get32(block) : 0;
    if (!block || count > static_cast<std::uint32_t>(m_tag.maxItems)) {
        fail(page);
        return false;
    }
    m_steps[static_cast<std::size_t>(m_depth++)] = {page, block, 0, static_cast<int>(count)};
    return true;
}

bool MdxCursor::descendToEdge(bool left)
{
    while (!atLeaf()) {
        top().position = left ? 0 : top().count;
        if (!enter(childOf(top())))
            return false;
    }
    top().position = left ? 0 : top().count - 1;
    return true;
}

void MdxCursor::descend(std::span<const std::uint8_t> prefix, bool after)
{
    m_depth = 0;
    m_valid = false;
    m_damagedPage = 0;
    if (!enter(m_tag.rootPage))
        return;
    for (;;) {
        Step &step = top();
        int low = 0;
        int high = step.count;
        while (low < high) {
            const int middle = (low + high) / 2;
            const int order = m_tag.compare(item(step, middle) + childSize, prefix.data(), prefix.size());
            if (order < 0 || (after && order == 0))
                low = middle + 1;
            else
                high = middle;
        }
        step.position = low;
        if (atLeaf())
            break;
        if (!enter(childOf(step)))
            return;
    }
    m_valid = top().position < top().count;
}

bool MdxCursor::followsSmaller(std::span<const std::uint8_t> key, RecordNumber record) const
{
    if (damaged() || m_depth == 0 || top().position == 0)
        return false;
    const std::uint8_t *const before = item(top(), top().position - 1);
    return get32(before) < record ||
           compareMdxKeys(m_tag.keyType, before + childSize, key.data(), key.size()) != 0;
}

void MdxCursor::seek(std::span<const std::uint8_t> prefix, bool after)
{
    descend(prefix, after);
    // A bound in an inner block may be larger than the last key really there: the entry is then in the next
    // leaf.
    if (m_depth > 0 && !m_valid)
        next();
}

void MdxCursor::first()
{
    m_depth = 0;
    m_damagedPage = 0;
    m_valid = enter(m_tag.rootPage) && descendToEdge(true) && top().count > 0;
    if (!m_valid && m_depth > 1)
        next();
}

void MdxCursor::last()
{
    m_depth = 0;
    m_damagedPage = 0;
    m_valid = enter(m_tag.rootPage) && descendToEdge(false) && top().count > 0;
    if (!m_valid && m_depth > 1)
        prior();
}

void MdxCursor::next()
{
    if (m_depth == 0)
        return;
    m_valid = false;
    if (++top().position < top().count) {
        m_valid = true;
        return;
    }
    int empty = 0;
    while (m_depth > 1) {
        --m_depth;
        if (top().position >= top().count)
            continue;
        ++top().position;
        if (!enter(childOf(top())) || !descendToEdge(true))
            return;
        if (top().count == 0 && ++empty > mostEmptyLeaves) {
            fail(top().page);
            return;
        }
        if (top().count > 0) {
            m_valid = true;
            return;
        }
    }
}

void MdxCursor::prior()
{
    if (m_depth == 0)
        return;
    m_valid = false;
    if (--top().position >= 0) {
        m_valid = true;
        return;
    }
    int empty = 0;
    while (m_depth > 1) {
        --m_depth;
        if (top().position <= 0)
            continue;
        --top().position;
        if (!enter(childOf(top())) || !descendToEdge(false))
            return;
        if (top().count == 0 && ++empty > mostEmptyLeaves) {
            fail(top().page);
            return;
        }
        if (top().count > 0) {
            m_valid = true;
            return;
        }
    }
}

MdxCursor::Path MdxCursor::path() const
{
    Path out;
    out.depth = m_depth;
    for (int level = 0; level < m_depth; ++level)
        out.positions[static_cast<std::size_t>(level)] = step(level).position;
    return out;
}

bool MdxCursor::follow(const Path &path)
{
    m_depth = 0;
    m_valid = false;
    m_damagedPage = 0;
    if (path.depth == 0 || !enter(m_tag.rootPage))
        return false;
    for (int level = 0;; ++level) {
        Step &here = top();
        here.position = path.positions[static_cast<std::size_t>(level)];
        const bool last = level == path.depth - 1;
        if (here.position > here.count || atLeaf() != last)
            return false;
        if (last)
            return m_valid = here.position < here.count;
        if (!enter(childOf(here)))
            return false;
    }
}

const std::uint8_t *MdxCursor::key() const
{
    return item(top(), top().position) + childSize;
}

RecordNumber MdxCursor::record() const
{
    return get32(item(top(), top().position));
}

// ---------------------------------------------------------------------------------------------------------------------

std::size_t MdxTree::itemAt(int index) const
{
    return itemsOffset + static_cast<std::size_t>(index) * static_cast<std::size_t>(m_tag.itemLength);
}

Status MdxTree::outside(PageNumber page) const
{
    return {ErrorKind::damaged,
            "el índice nombra un bloque que no existe",
            {},
            static_cast<std::uint64_t>(page) * mdxPageSize};
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
            return removeAt(path);
    }
    if (path.damaged())
        return path.status();
    return {ErrorKind::notFound, "la línea no está en el índice"};
}

Status MdxTree::insertItem(const MdxCursor &path, int level, const std::uint8_t *key, std::uint32_t number)
{
    const MdxCursor::Step &step = path.step(level);
    const bool leaf = level == path.depth() - 1;
    const int limit = leaf ? std::min(m_tag.maxItems, mdxItemsPerBlock(m_tag.itemLength))
                           : m_tag.maxItems - mdxInnerReserve;
    if (step.count >= limit)
        return split(path, level, key, number);

    std::uint8_t *block = m_store.change(step.page);
    if (!block)
        return outside(step.page);
    const std::size_t at = itemAt(step.position);
    const std::size_t end = itemAt(step.count) + childSize;
    std::memmove(block + at + static_cast<std::size_t>(m_tag.itemLength), block + at, end - at);
    std::memset(block + at, 0, static_cast<std::size_t>(m_tag.itemLength));
    put32(block + at, number);
    std::memcpy(block + at + childSize, key, static_cast<std::size_t>(m_tag.keyLength));
    put32(block, static_cast<std::uint32_t>(step.count + 1));
    return {};
}

/// The new block becomes the right half and takes over the old block's item in the level above; an item for
/// the left half goes in front of it.
Status MdxTree::split(const MdxCursor &path, int level, const std::uint8_t *key, std::uint32_t number)
{
    const MdxCursor::Step &step = path.step(level);
    const bool leaf = level == path.depth() - 1;
    const auto itemLength = static_cast<std::size_t>(m_tag.itemLength);

    // The block as it is by now: a split below has just put its right half's page into it.
    std::uint8_t *const leftBlock = m_store.change(step.page);
    if (!leftBlock)
        return outside(step.page);

    // All items with the new one in its place, and behind them the last child.
    std::vector<std::uint8_t> items(static_cast<std::size_t>(step.count + 1) * itemLength + childSize, 0);
    const std::size_t at = static_cast<std::size_t>(step.position) * itemLength;
    std::memcpy(items.data(), leftBlock + itemsOffset, at);
    put32(items.data() + at, number);
    std::memcpy(items.data() + at + childSize, key, static_cast<std::size_t>(m_tag.keyLength));
    const std::size_t rest = static_cast<std::size_t>(step.count) * itemLength + (leaf ? 0 : childSize) - at;
    std::memcpy(items.data() + at + itemLength, leftBlock + itemsOffset + at, rest);

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
    std::memcpy(rightBlock + itemsOffset, items.data() + static_cast<std::size_t>(rightFrom) * itemLength,
                static_cast<std::size_t>(total - rightFrom) * itemLength + (leaf ? 0 : childSize));
    put32(rightBlock, static_cast<std::uint32_t>(total - rightFrom));

    std::array<std::uint8_t, 100> bound{};
    const int boundItem = leaf ? left - 1 : left;
    std::memcpy(bound.data(), items.data() + static_cast<std::size_t>(boundItem) * itemLength + childSize,
                static_cast<std::size_t>(m_tag.keyLength));

    std::memset(leftBlock, 0, mdxBlockSize);
    std::memcpy(leftBlock + itemsOffset, items.data(),
                static_cast<std::size_t>(left) * itemLength + (leaf ? 0 : childSize));
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
    std::memcpy(block + itemAt(0) + childSize, bound, static_cast<std::size_t>(m_tag.keyLength));
    put32(block + itemAt(1), right);
    m_tag.rootPage = page;
    return {};
}

Status MdxTree::removeAt(const MdxCursor &path)
{
    const int level = path.depth() - 1;
    const MdxCursor::Step &step = path.step(level);
    std::uint8_t *block = m_store.change(step.page);
    if (!block)
        return outside(step.page);
    const std::size_t at = itemAt(step.position);
    const std::size_t end = itemAt(step.count);
    const auto itemLength = static_cast<std::size_t>(m_tag.itemLength);
    std::memmove(block + at, block + at + itemLength, end - at - itemLength);
    std::memset(block + end - itemLength, 0, itemLength);
    put32(block, static_cast<std::uint32_t>(step.count - 1));
    if (step.count > 1) {
        if (step.position == step.count - 1)
            return setBound(path, level, block + itemAt(step.count - 2) + childSize);
        return {};
    }
    if (level == 0)
        return {}; // an emptied root stays where it is, as an empty leaf
    m_store.release(step.page);
    return removeChild(path, level - 1);
}

/// Takes the child on the path out of an inner block; an emptied block goes the same way.
Status MdxTree::removeChild(const MdxCursor &path, int level)
{
    const MdxCursor::Step &step = path.step(level);
    std::uint8_t *block = m_store.change(step.page);
    if (!block)
        return outside(step.page);
    const auto itemLength = static_cast<std::size_t>(m_tag.itemLength);
    if (step.count == 0) {
        if (level == 0) {
            std::memset(block, 0, mdxBlockSize);
            return {};
        }
        m_store.release(step.page);
        return removeChild(path, level - 1);
    }
    put32(block, static_cast<std::uint32_t>(step.count - 1));
    if (step.position < step.count) {
        const std::size_t at = itemAt(step.position);
        const std::size_t end = itemAt(step.count) + childSize;
        std::memmove(block + at, block + at + itemLength, end - at - itemLength);
        std::memset(block + end - itemLength, 0, itemLength);
        return {};
    }
    // The item in front becomes the last child, and its key the bound of this block further up.
    std::array<std::uint8_t, 100> bound{};
    const std::size_t lastItem = itemAt(step.count - 1);
    std::memcpy(bound.data(), block + lastItem + childSize, static_cast<std::size_t>(m_tag.keyLength));
    std::memset(block + lastItem + childSize, 0, itemLength);
    return setBound(path, level, bound.data());
}

/// Other programs look into one leaf only, so the bounds above a block are kept at its last key.
Status MdxTree::setBound(const MdxCursor &path, int level, const std::uint8_t *key)
{
    std::array<std::uint8_t, 100> copy{}; // the key may lie in a block that change() moves
    std::memcpy(copy.data(), key, static_cast<std::size_t>(m_tag.keyLength));
    for (int above = level - 1; above >= 0; --above) {
        const MdxCursor::Step &step = path.step(above);
        if (step.position >= step.count)
            continue;
        std::uint8_t *block = m_store.change(step.page);
        if (!block)
            return outside(step.page);
        std::memcpy(block + itemAt(step.position) + childSize, copy.data(),
                    static_cast<std::size_t>(m_tag.keyLength));
        break;
    }
    return {};
}

// ---------------------------------------------------------------------------------------------------------------------

namespace
{

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
        std::memcpy(item + childSize, keys.data() + (record - 1) * keyLength, keyLength);
    };

    std::vector<BuiltBlock> level;
    for (std::size_t from = 0; from < order.size() || level.empty(); from += perLeaf) {
        const std::size_t count = std::min(perLeaf, order.size() - from);
        const PageNumber page = appendBlock(blocks, origin);
        std::uint8_t *block = blocks.data() + blocks.size() - mdxBlockSize;
        put32(block, static_cast<std::uint32_t>(count));
        for (std::size_t i = 0; i < count; ++i) {
            std::uint8_t *item = block + itemsOffset + i * itemLength;
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
                std::uint8_t *item = block + itemsOffset + i * itemLength;
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
