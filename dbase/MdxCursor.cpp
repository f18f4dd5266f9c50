// Finding entries in a tree and walking through them.

#include "dbase/MdxTree.h"

#include "dbase/MdxOffsets.h"

namespace dbase
{

namespace
{

/// Other programs may leave an empty leaf behind; a file made to have millions of them is refused.
constexpr int mostEmptyLeaves = 64;

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
    return step.block + mdxBlock::items +
           static_cast<std::size_t>(index) * static_cast<std::size_t>(m_tag.itemLength);
}

PageNumber MdxCursor::childOf(const Step &step) const
{
    return get32(item(step, step.position));
}

bool MdxCursor::isLeaf(const Step &step) const
{
    const std::uint8_t *const behind = item(step, step.count);
    return behind + mdxBlock::childSize > step.block + mdxBlockSize ||
           get32(behind) == 0; // no room for a child
}

MdxCursor::Step MdxCursor::look(PageNumber page) const
{
    const std::uint8_t *const block = m_source.block(page);
    const std::uint32_t count = block ? get32(block) : 0;
    if (!block || count > static_cast<std::uint32_t>(m_tag.maxItems))
        return {page};
    return {page, block, 0, static_cast<int>(count)};
}

bool MdxCursor::enter(PageNumber page)
{
    const Step step = m_depth < maxDepth ? look(page) : Step{page};
    if (!step.block) {
        fail(page);
        return false;
    }
    m_steps[static_cast<std::size_t>(m_depth++)] = step;
    return true;
}

bool MdxCursor::descendToEdge(bool left)
{
    while (!isLeaf(top())) {
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
            const int order =
                m_tag.compare(item(step, middle) + mdxBlock::childSize, prefix.data(), prefix.size());
            if (order < 0 || (after && order == 0))
                low = middle + 1;
            else
                high = middle;
        }
        step.position = low;
        if (isLeaf(step))
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
           compareMdxKeys(m_tag.keyType, before + mdxBlock::childSize, key.data(), key.size()) != 0;
}

void MdxCursor::seek(std::span<const std::uint8_t> prefix)
{
    descend(prefix, false);
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
        if (here.position > here.count || isLeaf(here) != last)
            return false;
        if (last)
            return m_valid = here.position < here.count;
        if (!enter(childOf(here)))
            return false;
    }
}

const std::uint8_t *MdxCursor::key() const
{
    return item(top(), top().position) + mdxBlock::childSize;
}

RecordNumber MdxCursor::record() const
{
    return get32(item(top(), top().position));
}

} // namespace dbase
