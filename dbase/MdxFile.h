#pragma once

#include "dbase/File.h"
#include "dbase/MdxTree.h"

#include <map>
#include <memory>

namespace dbase
{

/// Every record's key for one tag, in the file's form, and the records in the order of the tag.
struct TagKeys {
    std::vector<std::uint8_t> keys; ///< of record r from (r - 1) * key length on
    std::vector<RecordNumber> order;
    std::vector<bool> leftOut; ///< of record r at r - 1: whether the tag does without it; empty: it has all

    void leaveOut(RecordNumber record, RecordNumber count)
    {
        leftOut.resize(count, false);
        leftOut[record - 1] = true;
    }
};

/// Which blocks of an index file have been met, and as whose: each belongs to one thing only.
class BlockUse
{
public:
    static constexpr int once = -1; ///< whoever takes it, nobody may take it again
    [[nodiscard]] int nextOwner() { return ++m_lastOwner; }
    /// @return false when the block belongs to something else already.
    bool take(PageNumber page, int owner);

private:
    std::vector<int> m_owners;
    int m_lastOwner = 0;
};

/// One open index file. What it shows is only right under the index lock, which is its caller's business;
/// each time the lock has been taken, look() comes first, or the caller knows that nobody has changed the
/// file since the last one.
class MdxFile final : public BlockStore
{
public:
    /// @return notFound, readOnly, inputOutput. Nothing is read yet: load() or rewrite() comes first.
    static Result<std::unique_ptr<MdxFile>> open(const std::filesystem::path &path, File::Mode mode);
    /// Makes the file of a table's index, as File::createBeside() does.
    static Result<std::unique_ptr<MdxFile>> createBeside(const File &table,
                                                         const std::filesystem::path &path);
    /// Reads header and tags, under the index lock. @return damaged or unsupported with the reason.
    Status load();

    /// The orders that a file tells which load() has refused.
    struct Told {
        std::vector<MdxTag> tags; ///< name, expression, kind and filter are known, nothing else
        bool all = false;         ///< whether these are all that it has
    };
    /// Reads them, under the index lock. @return inputOutput.
    Result<Told> told() const;

    [[nodiscard]] File &file() { return m_file; }
    [[nodiscard]] const std::vector<MdxTag> &tags() const { return m_tags; }
    [[nodiscard]] MdxTag &tag(std::size_t number) { return m_tags[number]; }
    /// More entries than the file has room for.
    [[nodiscard]] std::size_t mostEntries() const { return std::size_t{m_pagesInFile} * mdxPageSize; }
    [[nodiscard]] std::uint8_t languageDriver() const { return m_header.languageDriver; }

    /// Takes in where roots and blocks are now. @return whether the tags are still the same ones.
    Result<bool> look();
    /// Whether the file itself is seen, so that a look() costs nothing; else blocks are read and kept.
    [[nodiscard]] bool isMapped() const { return m_mapped; }
    /// From now on only blocks that are kept are handed out, none is read; or again all of them.
    void useOnlyKept(bool only);
    /// Whether a block was asked for meanwhile that is not kept.
    [[nodiscard]] bool missedOne() const { return m_missedOne; }
    /// Whether another program has made the file shorter since the last look(), and blocks that are gone were
    /// read as empty ones.
    [[nodiscard]] bool shortened() const { return m_mapping.lost(); }

    // BlockStore
    [[nodiscard]] const std::uint8_t *block(PageNumber page) const override;
    [[nodiscard]] std::uint8_t *change(PageNumber page) override;
    [[nodiscard]] PageNumber allocate() override;
    void release(PageNumber page) override;

    /// Whether the blocks of the free list are nothing else as well.
    [[nodiscard]] bool freeListIsApart(BlockUse &use) const;
    /// Writes out everything changed since the last write() or drop(), with roots, counters and header.
    Status write(Date today);
    /// Forgets it.
    void drop();
    [[nodiscard]] bool changed() const { return !m_staged.empty(); }
    /// Makes sure that the disk has room for what write() will make the file longer by. @return full.
    Status reserveGrowth();

    /// Puts a whole new index in place of the old one, without a moment at which another program would find
    /// no file.
    Status rewrite(const MdxHeader &header, std::span<const MdxTag> tags, std::span<const TagKeys> keys,
                   std::span<const std::uint8_t> singleField);

private:
    static Result<std::unique_ptr<MdxFile>> of(Result<File> file, const std::filesystem::path &path);
    using Block = std::array<std::uint8_t, mdxBlockSize>;
    MdxFile(File file, std::string name);
    Status readTag(std::span<const std::uint8_t> header, int number, PageNumber pageCount, MdxTag &tag,
                   Block &head) const;
    bool cover(PageNumber pages);
    void forgetLost();
    [[nodiscard]] bool inFile(PageNumber page) const;
    [[nodiscard]] Block &stage(PageNumber page);
    void unstage();
    Status writeStaged();
    [[nodiscard]] bool keepsAllBetween(PageNumber first, PageNumber last) const;
    [[nodiscard]] std::size_t readAround(PageNumber page) const;

    File m_file;
    std::string m_name; ///< for messages
    bool m_mapped = false;
    Mapping m_mapping;
    PageNumber m_coveredPages = 0; ///< known to be in the file and, where it is mapped, in the mapping
    mutable std::map<PageNumber, Block>
        m_read; ///< where nothing is mapped: blocks read or written since the last look()
    bool m_onlyKept = false;
    mutable bool m_missedOne = false;
    std::uint64_t m_reservedUpTo = 0; ///< byte up to which the disk has room for the file
    std::map<PageNumber, Block> m_staged;
    std::vector<std::map<PageNumber, Block>::node_type> m_spare; ///< of staged blocks, to be used again
    MdxHeader m_header;
    /// Number of pages, first free one, four bytes that are nobody's, date of the last change.
    using Counts = std::array<std::uint8_t, 15>;
    Counts m_countsSeen{};        ///< as they stand in the file
    PageNumber m_pagesInFile = 0; ///< before staged blocks
    std::vector<MdxTag> m_tags;
};

/// For as long as it lives an index file hands out only what is kept of it.
class OnlyKeptBlocks
{
public:
    explicit OnlyKeptBlocks(MdxFile &file)
        : m_file(file)
    {
        m_file.useOnlyKept(true);
    }
    ~OnlyKeptBlocks() { m_file.useOnlyKept(false); }
    OnlyKeptBlocks(const OnlyKeptBlocks &) = delete;
    OnlyKeptBlocks &operator=(const OnlyKeptBlocks &) = delete;

private:
    MdxFile &m_file;
};

/// Whether a tag holds exactly the given keys: every record that is not left out once, in order, nothing
/// else, in blocks of its own.
[[nodiscard]] bool holdsExactly(const BlockSource &source, const MdxTag &tag, const TagKeys &keys,
                                BlockUse &use);

/// Puts the records that are not left out into the order of the tag, equal keys by number.
/// @param count  records of the table.
void orderKeys(const MdxTag &tag, RecordNumber count, TagKeys &keys);

} // namespace dbase
