// The trees of an index file through thousands of insertions and removals: against plain sets of their
// entries, and block by block in the file.

#include "dbase/Bytes.h"
#include "dbase/Table.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <random>
#include <set>

namespace
{

using namespace dbase;
using support::readFile;

using Page = std::uint32_t;
constexpr std::size_t blockSize = 1024;
constexpr std::size_t pageSize = 512;

/// The blocks of an index file and what each of them is, read without the library.
class Blocks
{
public:
    explicit Blocks(const std::filesystem::path &mdx)
        : m_bytes(readFile(mdx))
        , m_uses(get32(at(32)) / 2)
    {
        m_uses[0] = m_uses[1] = 1; // the header of the file
        for (int number = 0; number < get16(at(28)); ++number) {
            const std::size_t slot = 544 + 32 * static_cast<std::size_t>(number);
            const Page head = take(get32(at(slot)));
            Tree &tree = trees[reinterpret_cast<const char *>(at(slot + 4))];
            tree.head = std::size_t{head} * pageSize;
            tree.most = get16(at(tree.head + 14));
            walk(tree, tree.head, 1);
        }
        for (Page page = get32(at(36)); page != 0; ++free)
            page = get32(at(std::size_t{take(page)} * pageSize + 4));
    }

    struct Tree {
        std::size_t head = 0; ///< where its header starts
        int most = 0;         ///< items in a block
        int blocks = 0;
        int height = 0;
        std::vector<std::size_t> leaves; ///< where they start, in order
        std::vector<std::size_t> links;  ///< where the level above names them
    };
    std::map<std::string, Tree> trees;
    int free = 0;

    /// Whether every block of the file is one thing and only one.
    [[nodiscard]] bool eachUsedOnce() const
    {
        return std::all_of(m_uses.begin(), m_uses.end(), [](int uses) { return uses == 1; });
    }

    [[nodiscard]] const std::uint8_t *at(std::size_t offset) const
    {
        return reinterpret_cast<const std::uint8_t *>(m_bytes.data()) + offset;
    }

private:
    Page take(Page page)
    {
        ++m_uses.at(page / 2);
        return page;
    }
    void walk(Tree &tree, std::size_t link, int height)
    {
        const std::size_t start = std::size_t{take(get32(at(link)))} * pageSize;
        const std::size_t item = get16(at(tree.head + 18));
        const std::size_t count = get32(at(start));
        const std::size_t behind = 8 + count * item;
        ASSERT_LE(behind, blockSize);
        ++tree.blocks;
        tree.height = std::max(tree.height, height);
        if (behind + 4 > blockSize || get32(at(start + behind)) == 0) {
            tree.leaves.push_back(start);
            tree.links.push_back(link);
            return;
        }
        for (std::size_t child = 0; child <= count && !testing::Test::HasFatalFailure(); ++child)
            walk(tree, start + 8 + child * item, height + 1);
    }

    std::string m_bytes;
    std::vector<int> m_uses;
};

class Trees : public testing::Test
{
protected:
    static constexpr RecordNumber count = 1500;
    static constexpr std::size_t small = 40; ///< the leaf that becomes so
    support::TempFolder folder;
    std::filesystem::path dbf = folder.path() / "ARBOL.DBF";
    std::filesystem::path mdx = folder.path() / "ARBOL.MDX";
    std::vector<std::vector<std::uint8_t>> lines; ///< of record r at r - 1
    std::unique_ptr<Table> table;
    std::minstd_rand random{20261121};

    static bool isLive(const std::vector<std::uint8_t> &line) { return line[0] == liveMark; }
    unsigned below(unsigned end) { return static_cast<unsigned>(random() % end); }

    /// A deleted line stands in no tag, so deleting and recalling takes keys out and puts them in.
    void SetUp() override
    {
        TableDefinition made;
        made.fields = {{"GRUPO", FieldType::character, 2},
                       {"FECHA", FieldType::date, 8},
                       {"IMPORTE", FieldType::numeric, 8, 2},
                       {"TEXTO", FieldType::character, 100}};
        const char *const live = ".NOT. DELETED()";
        made.tags = {
            {"CORTA", "GRUPO", false, false, live},       {"BAJA", "GRUPO+DTOS(FECHA)", true, false, live},
            {"DIA", "FECHA", false, false, live},         {"IMPORTE", "IMPORTE", true, false, live},
            {"LARGA", "TEXTO", false, false, live},       {"POCAS", "DTOS(FECHA)", false, false, live},
            {"UNICA", "LEFT(TEXTO,3)", false, true, live}};
        ASSERT_TRUE(Table::create(dbf, made).ok());
        // Blocks of few items make a high tree.
        std::string index = readFile(mdx);
        index[Blocks(mdx).trees["POCAS"].head + 14] = 5;
        support::writeFile(mdx, index);
        OpenOptions options;
        options.durable = false;
        auto opened = Table::open(dbf, options);
        ASSERT_TRUE(opened.ok()) << opened.status().message();
        table = std::move(opened).value();
        ASSERT_TRUE(table->beginGroup().ok());
        for (RecordNumber number = 1; number <= count; ++number) {
            lines.push_back(anyLine());
            ASSERT_TRUE(table->append(lines.back()).ok());
        }
        ASSERT_TRUE(table->commitGroup().ok());
        ASSERT_EQ(Blocks(mdx).trees["POCAS"].most, 5);
    }

    std::vector<std::uint8_t> anyLine()
    {
        auto record = blankRecord(table->recordLength());
        const auto &fields = table->fields();
        std::u16string text(12, u' ');
        std::generate(text.begin(), text.end(), [&] { return static_cast<char16_t>(u'A' + below(26)); });
        writeText(record, fields[0], table->codePage(), text.substr(below(2), 2));
        EXPECT_TRUE(writeDate(record, fields[1],
                              {2026, 1 + static_cast<int>(below(12)), 1 + static_cast<int>(below(28))})
                        .ok());
        EXPECT_TRUE(writeNumber(record, fields[2], static_cast<int>(below(400)) - 200).ok());
        writeText(record, fields[3], table->codePage(), text);
        return record;
    }

    /// Deletes or recalls a line.
    Status put(RecordNumber number, bool live)
    {
        auto &line = lines[number - 1];
        auto after = line;
        after[0] = live ? liveMark : deletedMark;
        const Status status = table->update(number, line, after);
        if (status.ok())
            line = after;
        return status;
    }

    /// Brings the number of live lines to what it is to be, with as many changes again to and fro.
    void bringTo(int wanted)
    {
        auto live = static_cast<int>(std::count_if(lines.begin(), lines.end(), isLive));
        while (live != wanted) {
            ASSERT_TRUE(table->beginGroup().ok());
            std::set<RecordNumber> changed;
            for (int i = 0; i < 40 && live != wanted; ++i) {
                const bool now = (below(8) == 0) != (live < wanted);
                RecordNumber number = 1 + below(count);
                for (RecordNumber tries = 0; isLive(lines[number - 1]) == now && tries < count; ++tries)
                    number = number % count + 1;
                if (isLive(lines[number - 1]) == now || !changed.insert(number).second)
                    continue;
                ASSERT_TRUE(put(number, now).ok());
                live += now ? 1 : -1;
            }
            const Status status = table->commitGroup();
            ASSERT_TRUE(status.ok()) << status.message();
        }
    }

    [[nodiscard]] std::vector<RecordNumber> expected(const Index &index) const
    {
        std::map<std::string, std::set<RecordNumber>> model;
        for (RecordNumber number = 1; number <= count; ++number) {
            const IndexKey key = index.expression().keyOf(lines[number - 1]);
            if (isLive(lines[number - 1]))
                model[{key.bytes().begin(), key.bytes().end()}].insert(number);
        }
        std::vector<std::set<RecordNumber>> groups;
        for (const auto &[key, numbers] : model)
            groups.push_back(numbers);
        if (index.definition().descending)
            std::reverse(groups.begin(), groups.end());
        std::vector<RecordNumber> out;
        for (const auto &numbers : groups)
            out.insert(out.end(), numbers.begin(),
                       index.definition().unique ? std::next(numbers.begin()) : numbers.end());
        return out;
    }

    void expectRight()
    {
        for (const TagDefinition &tag : table->tags()) {
            std::vector<RecordNumber> found;
            EXPECT_TRUE(table->index(tag.name)->collect({}, {}, found).ok());
            EXPECT_EQ(found, expected(*table->index(tag.name))) << tag.name;
        }
        const Status status = table->check();
        EXPECT_TRUE(status.ok()) << status.message();
        EXPECT_TRUE(Blocks(mdx).eachUsedOnce());
    }
};

TEST_F(Trees, ShrinkAndGrowWithTheirEntries)
{
    const std::uintmax_t largest = std::filesystem::file_size(mdx);
    for (const int live : {750, 60, 1400, 200, 2, 700, 0, 300}) {
        SCOPED_TRACE(live);
        Blocks before(mdx);
        bringTo(live);
        expectRight();
        Blocks now(mdx);
        for (const auto &[name, tree] : now.trees) {
            SCOPED_TRACE(name);
            const auto entries = static_cast<int>(expected(*table->index(name)).size());
            EXPECT_LE(tree.blocks, tree.height + 4 * entries / tree.most) << entries << " entries";
            // Other programs that have the file open cannot follow a tree that becomes lower.
            EXPECT_TRUE(entries == 0 || tree.height >= before.trees[name].height);
        }
        if (HasFailure())
            return;
    }
    EXPECT_LE(std::filesystem::file_size(mdx), largest + largest / 4);
}

// A leaf becomes small between neighbours that another program has spoilt: nothing of them is taken over.
TEST_F(Trees, TakeNothingFromAnImpossibleNeighbour)
{
    const struct {
        const char *what;
        void (*spoil)(std::string &file, const Blocks::Tree &tree, std::size_t leaf);
    } cases[] = {
        {"more items than fit",
         [](std::string &file, const Blocks::Tree &, std::size_t start) { file[start + 1] = 1; }},
        {"an inner block",
         [](std::string &file, const Blocks::Tree &, std::size_t start) { file[start] = 1; }},
        {"the same block again",
         [](std::string &file, const Blocks::Tree &tree, std::size_t start) {
             const auto at = std::find(tree.leaves.begin(), tree.leaves.end(), start) - tree.leaves.begin();
             file.replace(tree.links[static_cast<std::size_t>(at)], 4, file, tree.links[small], 4);
         }},
        {"a block behind the file",
         [](std::string &file, const Blocks::Tree &tree, std::size_t start) {
             const auto at = std::find(tree.leaves.begin(), tree.leaves.end(), start) - tree.leaves.begin();
             file[tree.links[static_cast<std::size_t>(at)] + 3] = 1;
         }},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.what);
        const Blocks sound(mdx);
        const Blocks::Tree &tree = sound.trees.at("LARGA");
        std::string file = readFile(mdx);
        one.spoil(file, tree, tree.leaves[small - 1]);
        one.spoil(file, tree, tree.leaves[small + 1]);
        std::fstream(mdx, std::ios::in | std::ios::out | std::ios::binary) << file;
        for (std::size_t i = 0; i < get32(sound.at(tree.leaves[small])); ++i) {
            const Status status = put(get32(sound.at(tree.leaves[small] + 8 + i * 104)), false);
            ASSERT_TRUE(status.ok()) << status.message();
        }
        expectRight();
        bringTo(count);
    }
}

} // namespace
