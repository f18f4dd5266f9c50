#include "dbase/MdxFile.h"

#include "dbase/MdxOffsets.h"

#include <algorithm>
#include <cstring>

namespace dbase
{

namespace
{

constexpr std::size_t mostSpare = 16;           ///< blocks
constexpr std::uint64_t mostBytes = 0x7FFFFFFF; ///< other programs count them in 31 bits
constexpr std::uint64_t mappingSlack = std::uint64_t{4} * 1024 * 1024;
/// What is read at a time where each reading is a way to another machine and back: a multiple of a block.
constexpr PageNumber pagesAtOnce = 128;
constexpr std::size_t mostKept = 8192; ///< blocks
/// Blocks that have not changed go along when that makes one write of two.
constexpr PageNumber widestGap = 32; ///< pages

std::uint64_t offsetOf(PageNumber page)
{
    return std::uint64_t{page} * mdxPageSize;
}

} // namespace

MdxFile::MdxFile(File file, std::string name)
    : m_file(std::move(file))
    , m_name(std::move(name))
    , m_mapped(!m_file.isRemote())
{
}

Result<std::unique_ptr<MdxFile>> MdxFile::open(const std::filesystem::path &path, File::Mode mode)
{
    return of(File::open(path, mode), path);
}

Result<std::unique_ptr<MdxFile>> MdxFile::createBeside(const File &table, const std::filesystem::path &path)
{
    return of(File::createBeside(table, path), path);
}

Result<std::unique_ptr<MdxFile>> MdxFile::of(Result<File> file, const std::filesystem::path &path)
{
    if (!file.ok())
        return file.status();
    // The constructor is private.
    return std::unique_ptr<MdxFile>(new MdxFile(std::move(file).value(), displayName(path)));
}

/// A tag as its slot in the file's header and its own header tell it. On a failure as much of it as is known.
Status MdxFile::readTag(std::span<const std::uint8_t> header, int number, PageNumber pageCount, MdxTag &tag,
                        Block &head) const
{
    auto slot = decodeMdxSlot(header, number, pageCount);
    if (!slot.ok())
        return slot.status();
    tag = std::move(slot).value();
    const auto read = m_file.readAt(offsetOf(tag.headerPage), head);
    if (!read.ok())
        return read.status();
    if (read.value() != head.size())
        return {ErrorKind::damaged, "la cabecera de un orden no se puede leer"};
    return decodeMdxTagHeader(head, tag, pageCount);
}

Status MdxFile::load()
{
    const auto size = m_file.size();
    if (!size.ok())
        return size.status();
    std::vector<std::uint8_t> bytes(mdxHeaderSize);
    const auto got = m_file.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    const auto named = [this](const Status &status) {
        return Status(status.kind(), status.text(), m_name, status.offset());
    };
    auto header = decodeMdxHeader(bytes, size.value());
    if (!header.ok())
        return named(header.status());
    m_header = std::move(header).value();
    std::copy_n(bytes.begin() + mdxHeader::pageCount, m_countsSeen.size(), m_countsSeen.begin());
    m_pagesInFile = m_header.pageCount;
    forgetLost();
    m_coveredPages = 0;
    m_reservedUpTo = 0;
    if (!cover(m_pagesInFile))
        return {ErrorKind::damaged, "el índice dice tener más bloques que el fichero", m_name};
    m_read.clear();
    std::vector<MdxTag> tags; // those known so far stay when these cannot be read
    for (int number = 1; number <= m_header.tagCount; ++number) {
        Block head{};
        const Status status = readTag(bytes, number, m_header.pageCount, tags.emplace_back(), head);
        if (!status.ok())
            return named(status);
    }
    m_tags = std::move(tags);
    return {};
}

namespace
{

/// Whether a tag's header describes an order that can be kept, whatever its tree looks like.
bool describesAnOrder(std::span<const std::uint8_t> head, const MdxTag &tag)
{
    const std::uint8_t flags = head[mdxTagHeader::flags];
    return (flags & ~(mdxFlagAlways | mdxAllKinds)) == 0 && !tag.distinct && !tag.expression.empty() &&
           tag.expression.size() <= mdxMaxExpression && tag.filtered == !tag.filter.empty() &&
           tag.filter.size() <= mdxMaxExpression;
}

} // namespace

Result<MdxFile::Told> MdxFile::told() const
{
    const auto size = m_file.size();
    if (!size.ok())
        return size.status();
    std::vector<std::uint8_t> bytes(mdxHeaderSize);
    const auto got = m_file.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    Told told;
    const auto pages = static_cast<PageNumber>(std::min(size.value(), mostBytes) / mdxPageSize);
    const int count = get16(&bytes[mdxHeader::tagCount]);
    const bool known = decodeMdxHeader(bytes, size.value()).status().kind() != ErrorKind::unsupported;
    if (got.value() != bytes.size() || !known || pages < mdxFirstBlock + 2 || count < 1 || count > mdxMaxTags)
        return told;
    told.all = true;
    for (int number = 1; number <= count; ++number) {
        MdxTag tag;
        Block head{};
        // Root and shape may be impossible: the tree is not believed anyway.
        const Status status = readTag(bytes, number, pages, tag, head);
        if (status.kind() == ErrorKind::inputOutput)
            return status;
        if (!tag.name.empty() && describesAnOrder(head, tag))
            told.tags.push_back(std::move(tag));
        else
            told.all = false;
    }
    return told;
}

bool MdxFile::freeListIsApart(BlockUse &use) const
{
    for (PageNumber page = m_header.freePage; page != 0;) {
        const std::uint8_t *const bytes = block(page);
        if (!bytes || !use.take(page, BlockUse::once))
            return false; // also ends a list that goes in circles
        page = get32(bytes + mdxBlock::freeLink);
    }
    return true;
}

/// Makes sure that the blocks up to a page are there and can be seen. Only here is the file mapped anew, so
/// that what block() has returned stays valid between two looks.
bool MdxFile::cover(PageNumber pages)
{
    if (pages <= m_coveredPages)
        return true;
    const auto size = m_file.size();
    if (!size.ok() || size.value() < offsetOf(pages))
        return false;
    if (m_mapped && m_mapping.size() < offsetOf(pages)) {
        // Longer than the file is now: what it grows by shows up by itself.
        auto mapping = Mapping::of(m_file, size.value() + mappingSlack);
        m_mapped = mapping.ok();
        m_mapping = mapping.ok() ? std::move(mapping).value() : Mapping();
    }
    m_coveredPages = pages;
    return true;
}

/// After another program has made the file shorter: it is mapped anew.
void MdxFile::forgetLost()
{
    if (!m_mapping.lost())
        return;
    m_mapping = Mapping();
    m_coveredPages = 0;
}

bool MdxFile::inFile(PageNumber page) const
{
    return page >= mdxFirstBlock && page <= m_pagesInFile - 2;
}

const std::uint8_t *MdxFile::block(PageNumber page) const
{
    if (const auto staged = m_staged.find(page); staged != m_staged.end())
        return staged->second.data();
    if (!inFile(page))
        return nullptr;
    if (m_mapped && page + 2 <= m_coveredPages) {
        const std::uint8_t *const mapped = m_mapping.data() + offsetOf(page);
        if (get32(mapped) != 0)
            return mapped;
        // A block of no entries is rare; where the file has become shorter every block looks like one.
        const auto size = m_file.size();
        return size.ok() && size.value() >= offsetOf(page + 2) ? mapped : nullptr;
    }
    auto found = m_read.find(page);
    if (found == m_read.end() && !m_onlyKept && readAround(page) > 0)
        found = m_read.find(page);
    m_missedOne = m_missedOne || (m_onlyKept && found == m_read.end());
    return found == m_read.end() ? nullptr : found->second.data();
}

/// Reads a block with its neighbours, which are mostly asked for next. @return blocks read; those that are
/// kept already stay, since callers hold on to them.
std::size_t MdxFile::readAround(PageNumber page) const
{
    const PageNumber first = page - page % pagesAtOnce;
    const PageNumber end = std::min(first + pagesAtOnce, m_pagesInFile);
    std::vector<std::uint8_t> bytes(offsetOf(end - first));
    const auto got = m_file.readAt(offsetOf(first), bytes);
    const std::size_t blocks = got.ok() ? got.value() / mdxBlockSize : 0;
    for (std::size_t i = 0; i < blocks; ++i) {
        const auto [place, isNew] = m_read.try_emplace(first + static_cast<PageNumber>(2 * i));
        if (isNew)
            std::memcpy(place->second.data(), &bytes[i * mdxBlockSize], mdxBlockSize);
    }
    return blocks;
}

void MdxFile::useOnlyKept(bool only)
{
    if (only && m_read.size() > mostKept)
        m_read.clear(); // after a walk through a large index
    m_onlyKept = only;
    m_missedOne = false;
}

Result<bool> MdxFile::look()
{
    m_read.clear();
    forgetLost();
    std::array<std::uint8_t, mdxHeader::updated + 3> head{};
    if (m_mapped && m_coveredPages >= mdxFirstBlock) {
        std::memcpy(head.data(), m_mapping.data(), head.size());
    } else if (m_mapped || m_pagesInFile < mdxFirstBlock) {
        const auto got = m_file.readAt(0, head);
        if (!got.ok())
            return got.status();
    } else if (readAround(0) > 0) { // the tags' own headers are mostly among the first blocks
        std::copy_n(m_read.begin()->second.begin(), head.size(), head.begin());
    } else {
        const auto got = m_file.readAt(0, head); // says why
        return got.ok() ? Result<bool>(false) : got.status();
    }
    const PageNumber pages = get32(&head[mdxHeader::pageCount]);
    if (get16(&head[mdxHeader::tagCount]) != m_tags.size() || pages < mdxFirstBlock || pages % 2 != 0)
        return false;
    if (m_mapped && !cover(pages))
        return false;
    if (pages < m_pagesInFile)
        m_reservedUpTo = 0; // another one has made the index anew, and given back the room
    m_header.pageCount = pages;
    m_pagesInFile = pages;
    m_header.freePage = get32(&head[mdxHeader::freePage]);
    std::copy_n(head.begin() + mdxHeader::pageCount, m_countsSeen.size(), m_countsSeen.begin());
    if (m_header.freePage != 0 && !inFile(m_header.freePage))
        return false;
    for (MdxTag &tag : m_tags) {
        const std::uint8_t *const bytes = block(tag.headerPage);
        std::array<std::uint8_t, mdxTagHeader::shapeSize> shape{};
        put16(&shape[0], static_cast<std::uint16_t>(tag.keyLength));
        put16(&shape[2], static_cast<std::uint16_t>(tag.maxItems));
        put16(&shape[4], tag.keyType == KeyType::date ? 1 : 0);
        put16(&shape[6], static_cast<std::uint16_t>(tag.itemLength));
        if (!bytes || std::memcmp(bytes + mdxTagHeader::keyLength, shape.data(), shape.size()) != 0 ||
            (bytes[mdxTagHeader::flags] & mdxAllKinds) != mdxKindFlags(tag) ||
            (bytes[mdxTagHeader::hasFilter] != 0) != tag.filtered ||
            !block(get32(bytes + mdxTagHeader::rootPage)))
            return false;
        tag.rootPage = get32(bytes + mdxTagHeader::rootPage);
        tag.changeCounter = bytes[mdxTagHeader::counter];
    }
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------

MdxFile::Block &MdxFile::stage(PageNumber page)
{
    if (m_spare.empty())
        return m_staged[page];
    auto node = std::move(m_spare.back());
    m_spare.pop_back();
    node.key() = page;
    return m_staged.insert(std::move(node)).position->second;
}

void MdxFile::unstage()
{
    while (!m_staged.empty() && m_spare.size() < mostSpare)
        m_spare.push_back(m_staged.extract(m_staged.begin()));
    m_staged.clear();
}

std::uint8_t *MdxFile::change(PageNumber page)
{
    if (const auto staged = m_staged.find(page); staged != m_staged.end())
        return staged->second.data();
    const std::uint8_t *const now = block(page);
    if (!now)
        return nullptr;
    Block &copy = stage(page);
    std::memcpy(copy.data(), now, copy.size());
    return copy.data();
}

PageNumber MdxFile::allocate()
{
    constexpr PageNumber mostPages = mostBytes / mdxPageSize;
    if (const PageNumber freed = m_header.freePage; freed != 0) {
        if (std::uint8_t *const bytes = change(freed)) {
            const PageNumber link = get32(bytes + mdxBlock::freeLink);
            m_header.freePage = link != freed && link % 2 == 0 && block(link) ? link : 0;
            std::memset(bytes, 0, mdxBlockSize);
            return freed;
        }
        m_header.freePage = 0;
    }
    if (m_header.pageCount >= mostPages)
        return 0;
    const PageNumber page = m_header.pageCount;
    m_header.pageCount += 2;
    stage(page).fill(0);
    return page;
}

void MdxFile::release(PageNumber page)
{
    std::uint8_t *const bytes = change(page);
    if (!bytes)
        return;
    std::memset(bytes, 0, mdxBlockSize);
    put32(bytes + mdxBlock::freeLink, m_header.freePage);
    m_header.freePage = page;
}

Status MdxFile::reserveGrowth()
{
    const std::uint64_t end = offsetOf(m_header.pageCount);
    if (m_header.pageCount == m_pagesInFile || end <= m_reservedUpTo)
        return {};
    const std::uint64_t from = offsetOf(m_pagesInFile);
    const Status status = m_file.reserve(from, end + reserveAhead - from);
    if (status.ok())
        m_reservedUpTo = end + reserveAhead;
    return status;
}

void MdxFile::drop()
{
    unstage();
    m_header.pageCount = m_pagesInFile;
}

/// Whether all blocks between two staged ones are at hand, so that they can be written in one go.
bool MdxFile::keepsAllBetween(PageNumber first, PageNumber last) const
{
    if (first + 2 == last)
        return true;
    if (m_mapped || last - first > widestGap)
        return false;
    for (PageNumber page = first + 2; page < last; page += 2) {
        if (!m_read.contains(page))
            return false;
    }
    return true;
}

Status MdxFile::writeStaged()
{
    // Blocks that lie side by side go in one call; the last ones, which nobody knows yet, first.
    std::vector<std::uint8_t> run;
    for (auto at = m_staged.rbegin(); at != m_staged.rend();) {
        const PageNumber last = at->first;
        PageNumber first = last;
        auto end = std::next(at);
        while (end != m_staged.rend() && keepsAllBetween(end->first, first))
            first = (end++)->first;
        std::span<const std::uint8_t> bytes = at->second;
        if (std::next(at) != end) {
            run.clear();
            for (PageNumber page = first; page <= last; page += 2) {
                const std::uint8_t *const one = block(page);
                run.insert(run.end(), one, one + mdxBlockSize);
            }
            bytes = run;
        }
        if (const Status status = m_file.writeAt(offsetOf(first), bytes); !status.ok())
            return status;
        at = end;
    }
    return {};
}

Status MdxFile::write(Date today)
{
    for (MdxTag &tag : m_tags) {
        std::uint8_t *const head = change(tag.headerPage);
        if (!head)
            return {ErrorKind::damaged, "la cabecera de un orden no se puede leer"};
        put32(head + mdxTagHeader::rootPage, tag.rootPage);
        head[mdxTagHeader::counter] = ++tag.changeCounter;
    }
    Status status = writeStaged();
    if (!status.ok())
        return status;
    Counts head = m_countsSeen;
    put32(&head[0], m_header.pageCount);
    put32(&head[4], m_header.freePage);
    head[12] = static_cast<std::uint8_t>(today.year - 1900);
    head[13] = static_cast<std::uint8_t>(today.month);
    head[14] = static_cast<std::uint8_t>(today.day);
    if (head != m_countsSeen)
        status = m_file.writeAt(mdxHeader::pageCount, head);
    if (status.ok())
        m_countsSeen = head;
    m_pagesInFile = m_header.pageCount;
    if (!m_mapped && status.ok() && m_read.size() < mostKept) {
        for (const auto &[page, bytes] : m_staged)
            m_read.insert_or_assign(page, bytes);
    } else {
        m_read.clear();
    }
    unstage();
    return status;
}

Status MdxFile::rewrite(const MdxHeader &given, std::span<const MdxTag> tags, std::span<const TagKeys> keys,
                        std::span<const std::uint8_t> singleField)
{
    MdxHeader header = given;
    header.tagCount = static_cast<int>(tags.size());
    header.freePage = 0;
    std::vector<MdxTag> made(tags.begin(), tags.end());
    std::vector<std::uint8_t> blocks;
    const auto nextPage = [&blocks] {
        return mdxFirstBlock + static_cast<PageNumber>(blocks.size() / mdxPageSize);
    };
    for (std::size_t number = 0; number < made.size(); ++number) {
        MdxTag &tag = made[number];
        tag.headerPage = nextPage();
        const std::size_t headAt = blocks.size();
        blocks.resize(blocks.size() + mdxBlockSize, 0);
        tag.rootPage = buildMdxTree(tag, keys[number].keys, keys[number].order, nextPage(), blocks);
        ++tag.changeCounter;
        const auto head = encodeMdxTagHeader(tag, header.languageDriver, singleField[number] != 0);
        std::memcpy(blocks.data() + headAt, head.data(), head.size());
    }
    header.pageCount = nextPage();
    std::vector<std::uint8_t> image = encodeMdxHeader(header, made);
    image.insert(image.end(), blocks.begin(), blocks.end());
    if (const Status status = m_file.reserve(0, image.size()); !status.ok())
        return status;
    Status status = m_file.writeAt(0, image);
    if (status.ok())
        status = m_file.truncate(image.size());
    unstage();
    return status.ok() ? load() : status;
}

} // namespace dbase
