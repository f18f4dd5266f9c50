#pragma once

#include "dbase/MdxFormat.h"
#include "dbase/Status.h"

#include <array>
#include <span>
#include <vector>

namespace dbase
{

/// Where a tree gets its blocks from.
class BlockSource
{
public:
    virtual ~BlockSource() = default;
    /// The mdxBlockSize bytes of a block; null when the page lies outside the file. Valid until the next
    /// change.
    [[nodiscard]] virtual const std::uint8_t *block(PageNumber page) const = 0;
};

/// Blocks that are being changed; nothing reaches the file before the whole change is ready.
class BlockStore : public BlockSource
{
public:
    /// The block's bytes for changing; null as above.
    [[nodiscard]] virtual std::uint8_t *change(PageNumber page) = 0;
    /// A block of zeros, new or from the free list. 0 when the file may not grow.
    [[nodiscard]] virtual PageNumber allocate() = 0;
    /// Puts a block on the free list.
    virtual void release(PageNumber page) = 0;
};

/// A place in the leaves of a tree: the way down from the root.
///
/// A cursor reads blocks it was given and believes none of them: pages outside the file, counts beyond the
/// block and loops end in damaged().
class MdxCursor
{
public:
    static constexpr int maxDepth = 24;
    MdxCursor(const BlockSource &source, const MdxTag &tag)
        : m_source(source)
        , m_tag(tag)
    {
    }

    /// First entry at or after a key.
    /// @param prefix  at most the tag's key length; a shorter one (type C) is compared over its own length.
    void seek(std::span<const std::uint8_t> prefix);
    /// The same, with `after` the first entry behind all equal keys; but stays in the leaf where the key
    /// would go in, if need be behind its last item (then not valid()).
    void descend(std::span<const std::uint8_t> prefix, bool after);
    /// Behind descend(): whether the entry before the cursor, in the same leaf, comes before (key, record).
    [[nodiscard]] bool followsSmaller(std::span<const std::uint8_t> key, RecordNumber record) const;
    void first();
    void last();
    void next();
    void prior();

    /// The way down to an entry: its place in every block.
    struct Path {
        std::array<int, maxDepth> positions{};
        int depth = 0;
    };
    [[nodiscard]] Path path() const;
    /// Goes down by a path of an earlier cursor. @return whether an entry stands there by now; which one is
    /// for the caller to see.
    bool follow(const Path &path);

    /// Whether the cursor stands on an entry; false at both ends.
    [[nodiscard]] bool valid() const { return m_valid; }
    [[nodiscard]] bool damaged() const { return m_damagedPage != 0; }
    [[nodiscard]] Status status() const;

    [[nodiscard]] const std::uint8_t *key() const;
    [[nodiscard]] RecordNumber record() const;

    struct Step {
        PageNumber page = 0;
        const std::uint8_t *block = nullptr;
        int position = 0; ///< inner: index of the child, `count` for the last one; leaf: index of the item
        int count = 0;
    };
    [[nodiscard]] int depth() const { return m_depth; }
    [[nodiscard]] const Step &step(int level) const { return m_steps[static_cast<std::size_t>(level)]; }
    /// Any block, as a way down would meet it. @return without a block when it is impossible.
    [[nodiscard]] Step look(PageNumber page) const;
    [[nodiscard]] bool isLeaf(const Step &step) const;

private:
    bool enter(PageNumber page);
    [[nodiscard]] const std::uint8_t *item(const Step &step, int index) const;
    [[nodiscard]] PageNumber childOf(const Step &step) const;
    bool descendToEdge(bool left);
    void fail(PageNumber page);
    Step &top() { return m_steps[static_cast<std::size_t>(m_depth - 1)]; }
    [[nodiscard]] const Step &top() const { return m_steps[static_cast<std::size_t>(m_depth - 1)]; }

    const BlockSource &m_source;
    const MdxTag &m_tag;
    std::array<Step, maxDepth> m_steps{};
    int m_depth = 0;
    bool m_valid = false;
    PageNumber m_damagedPage = 0;
};

/// Changes the tree of one tag. A change is made in the store; the caller writes the store out afterwards.
class MdxTree
{
public:
    MdxTree(BlockStore &store, MdxTag &tag)
        : m_store(store)
        , m_tag(tag)
    {
    }

    /// Puts a key among equal ones by record number. @param key  the tag's key length.
    Status insert(std::span<const std::uint8_t> key, RecordNumber record);
    /// Takes (key, record) out. @return notFound when it is not there.
    Status remove(std::span<const std::uint8_t> key, RecordNumber record);

private:
    Status insertItem(const MdxCursor &path, int level, const std::uint8_t *key, std::uint32_t number);
    Status split(const MdxCursor &path, int level, const std::uint8_t *key, std::uint32_t number);
    Status newRoot(PageNumber left, PageNumber right, const std::uint8_t *bound);
    Status takeOut(const MdxCursor &path, int level, int position);
    Status mergeIfSmall(const MdxCursor &path, int level, int count);
    /// One of two neighbours that are to become one block.
    struct Half {
        PageNumber page = 0;
        int count = 0;
    };
    Status merge(const MdxCursor &path, int level, int leftPosition, Half left, Half right);
    Status setBound(const MdxCursor &path, int level, std::span<const std::uint8_t> key);
    [[nodiscard]] Status outside(PageNumber page) const;
    /// Whether the block at a level of the path is a leaf.
    [[nodiscard]] static bool isLeaf(const MdxCursor &path, int level) { return level == path.depth() - 1; }
    [[nodiscard]] int mostItems(bool leaf) const;
    [[nodiscard]] std::size_t itemAt(int index) const;

    BlockStore &m_store;
    MdxTag &m_tag;
};

/// Builds a whole tree.
/// @param keys       of record r from (r - 1) * key length on, in the file's form.
/// @param order      the records in the order of the tree.
/// @param firstPage  where the first of the new blocks will stand.
/// @param blocks     the blocks are added here, one behind the other.
/// @return the page of the root.
PageNumber buildMdxTree(const MdxTag &tag, std::span<const std::uint8_t> keys,
                        std::span<const RecordNumber> order, PageNumber firstPage,
                        std::vector<std::uint8_t> &blocks);

} // namespace dbase
