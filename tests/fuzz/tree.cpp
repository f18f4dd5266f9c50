// A sound tree against a plain set of its entries, under any row of changes.

#include "tests/fuzz/MemoryBlocks.h"
#include "tests/fuzz/Targets.h"

#include <limits>
#include <set>
#include <string>
#include <vector>

namespace
{

using Entry = std::pair<std::string, dbase::RecordNumber>;

dbase::MdxTag tagFor(std::uint8_t shape)
{
    dbase::MdxTag tag;
    // Long keys: few to a block, so that a short input already makes a high tree.
    tag.keyLength = shape % 2 == 0 ? 100 : 13;
    tag.itemLength = dbase::mdxItemLength(tag.keyLength);
    tag.maxItems = shape % 3 == 0 ? 3 : dbase::mdxItemsPerBlock(tag.itemLength);
    return tag;
}

std::string keyOf(std::uint8_t number, int length)
{
    return std::string(static_cast<std::size_t>(length) - 1, 'k') + static_cast<char>(number);
}

void compare(const dbase::BlockSource &source, const dbase::MdxTag &tag, const std::set<Entry> &model)
{
    dbase::MdxCursor cursor(source, tag);
    const auto entry = [&] {
        return Entry(std::string(reinterpret_cast<const char *>(cursor.key()),
                                 static_cast<std::size_t>(tag.keyLength)),
                     cursor.record());
    };
    cursor.first();
    for (const Entry &wanted : model) {
        fuzz::expect(cursor.valid() && entry() == wanted, "the tree has every entry in its place, forward");
        cursor.next();
    }
    fuzz::expect(!cursor.valid() && !cursor.damaged(), "and no other behind them");
    cursor.last();
    for (const Entry &wanted : std::vector<Entry>(model.rbegin(), model.rend())) {
        fuzz::expect(cursor.valid() && entry() == wanted, "the tree has every entry in its place, backward");
        cursor.prior();
    }
    fuzz::expect(!cursor.valid() && !cursor.damaged(), "and no other in front of them");
}

/// The tree that a rebuild makes of so many records with keys that rise.
dbase::PageNumber build(const dbase::MdxTag &tag, std::uint8_t count, std::vector<std::uint8_t> &file,
                        std::set<Entry> &model)
{
    std::vector<std::uint8_t> keys;
    std::vector<dbase::RecordNumber> order;
    for (dbase::RecordNumber record = 1; record <= count; ++record) {
        const std::string key = keyOf(static_cast<std::uint8_t>(record), tag.keyLength);
        keys.insert(keys.end(), key.begin(), key.end());
        order.push_back(record);
        model.emplace(key, record);
    }
    std::vector<std::uint8_t> blocks;
    const auto root = dbase::buildMdxTree(tag, keys, order, dbase::mdxFirstBlock, blocks);
    file.resize(dbase::mdxHeaderSize, 0);
    file.insert(file.end(), blocks.begin(), blocks.end());
    return root;
}

} // namespace

void fuzz::tree(Bytes input)
{
    if (input.size() < 2)
        return;
    dbase::MdxTag tag = tagFor(input[0]);
    std::set<Entry> model;
    std::vector<std::uint8_t> file;
    tag.rootPage = build(tag, input[1], file, model);
    MemoryBlocks store(file, std::numeric_limits<int>::max());
    compare(store, tag, model);
    for (std::size_t at = 2; at + 2 <= input.size() && at < 2002; at += 2) {
        const std::string key = keyOf(input[at], tag.keyLength);
        const Bytes bytes(reinterpret_cast<const std::uint8_t *>(key.data()), key.size());
        const dbase::RecordNumber record = 1 + input[at + 1] / 2U;
        dbase::MdxTree changed(store, tag);
        if (model.erase({key, record}) != 0) {
            expect(changed.remove(bytes, record).ok(), "an entry that is there can be taken out");
        } else {
            expect(changed.remove(bytes, record).kind() == dbase::ErrorKind::notFound,
                   "an entry that is not there cannot");
            expect(changed.insert(bytes, record).ok(), "a new one can be put in");
            model.emplace(key, record);
        }
        // Some changes are written one by one and some together, as single changes and groups are.
        if (input[at + 1] % 2 == 0)
            store.write();
    }
    compare(store, tag, model);
}
