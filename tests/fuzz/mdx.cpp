// An index file of any bytes: its headers, walks through its trees, and changes of them.

#include "dbase/MdxFormat.h"
#include "tests/fuzz/MemoryBlocks.h"
#include "tests/fuzz/Targets.h"

#include <algorithm>

namespace
{

constexpr int mostBlocks = 2000;
constexpr int mostSteps = 2000;

/// Reads every byte of an entry, so that a sanitizer sees one outside of its block.
void readEntry(const dbase::MdxCursor &cursor, const dbase::MdxTag &tag)
{
    const fuzz::Bytes key(cursor.key(), static_cast<std::size_t>(tag.keyLength));
    fuzz::expect(!dbase::indexKeyFromMdxKey(tag.keyType, key).empty(), "an entry has a key");
    fuzz::expect(dbase::compareMdxKeys(tag.keyType, key.data(), key.data(), key.size()) == 0,
                 "a key is equal to itself");
    static_cast<void>(cursor.record());
}

void walk(const dbase::BlockSource &source, const dbase::MdxTag &tag)
{
    dbase::MdxCursor cursor(source, tag);
    int steps = 0;
    for (cursor.first(); cursor.valid() && steps < mostSteps; cursor.next(), ++steps)
        readEntry(cursor, tag);
    fuzz::expect(cursor.damaged() != cursor.status().ok(), "what is damaged says so");
    for (cursor.last(), steps = 0; cursor.valid() && steps < mostSteps; cursor.prior(), ++steps)
        readEntry(cursor, tag);
    fuzz::expect(!cursor.damaged() || !cursor.valid(), "nobody stands on a damaged place");
}

void changeTree(fuzz::Bytes input, dbase::MdxTag tag)
{
    fuzz::MemoryBlocks store(input, mostBlocks);
    const auto keyLength = static_cast<std::size_t>(tag.keyLength);
    for (std::size_t at = 0; at + keyLength <= input.size() && at < 3904; at += 61) {
        // The last bytes of a file are mostly keys, so some of these are there to be taken out.
        const fuzz::Bytes key = input.subspan(input.size() - keyLength - at, keyLength);
        dbase::MdxTree tree(store, tag);
        const auto record = static_cast<dbase::RecordNumber>(at + 1);
        const auto status = at % 3 == 0 ? tree.remove(key, record) : tree.insert(key, record);
        fuzz::expect(status.ok() || !status.text().empty(), "a failure says why");
        if (at + 61 + keyLength > input.size())
            break;
    }
    walk(store, tag);
}

} // namespace

void fuzz::mdx(Bytes input)
{
    const auto header = dbase::decodeMdxHeader(input, input.size());
    if (!header.ok())
        return;
    const MemoryBlocks source(input, mostBlocks);
    std::vector<dbase::MdxTag> tags;
    for (int number = 1; number <= header.value().tagCount; ++number) {
        auto tag = dbase::decodeMdxSlot(input, number, header.value().pageCount);
        if (!tag.ok())
            return;
        const std::uint8_t *const head = source.block(tag.value().headerPage);
        expect(head != nullptr, "a header page that was accepted lies inside the file");
        if (!dbase::decodeMdxTagHeader({head, dbase::mdxBlockSize}, tag.value(), header.value().pageCount)
                 .ok())
            return;
        tags.push_back(std::move(tag).value());
    }
    // More of them show nothing more.
    for (std::size_t number = 0; number < std::min<std::size_t>(tags.size(), 3); ++number) {
        walk(MemoryBlocks(input, mostBlocks), tags[number]);
        changeTree(input, tags[number]);
    }
    const auto bytes = dbase::encodeMdxHeader(header.value(), tags);
    const auto again = dbase::decodeMdxHeader(bytes, input.size());
    expect(again.ok() && again.value().tagCount == static_cast<int>(tags.size()),
           "a header that is written can be read");
}
