// Index and journal files that cannot be right: the table either works in full or says why it takes no
// changes, without losing a byte of its lines.

#include "dbase/Bytes.h"
#include "dbase/Table.h"
#include "tests/support/Bounds.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>

namespace
{

using namespace dbase;
using support::readFile;
using support::TempFolder;
using support::writeFile;

const TagDefinition wantedTag{"FECHA", "DTOS(FECHA)+HORA"};
constexpr int linesInTable = 120; // three leaves under a root
constexpr std::size_t headAt = 2048;
constexpr std::size_t slotAt = 544;
constexpr std::size_t itemsAt = 8;
constexpr std::size_t itemLength = 20;
constexpr std::size_t dateAndCountEnd = 8;

std::string le16(unsigned value)
{
    return {static_cast<char>(value), static_cast<char>(value >> 8U)};
}
std::string le32(std::uint32_t value)
{
    return le16(value & 0xFFFFU) + le16(value >> 16U);
}
std::uint32_t at32(const std::string &bytes, std::size_t at)
{
    return get32(reinterpret_cast<const std::uint8_t *>(bytes.data()) + at);
}
std::string with(std::string bytes, std::size_t at, const std::string &part)
{
    return bytes.replace(at, part.size(), part);
}

/// Where in the file the root of the tag stands, and the first of its leaves.
std::size_t rootAt(const std::string &mdx)
{
    return at32(mdx, headAt) * std::size_t{512};
}
std::size_t leafAt(const std::string &mdx)
{
    return at32(mdx, rootAt(mdx) + itemsAt) * std::size_t{512};
}

struct Files {
    std::string dbf;
    std::string mdx;
    std::optional<std::string> jnl;
};

class Malformed : public testing::Test
{
protected:
    TempFolder folder;
    std::filesystem::path dbf = folder.path() / "AGENDA_N.DBF";
    std::filesystem::path mdx = folder.path() / "AGENDA_N.MDX";
    std::filesystem::path jnl = folder.path() / "AGENDA_N.JNL";

    [[nodiscard]] Files read() const { return {readFile(dbf), readFile(mdx), readFile(jnl)}; }

    /// @param index  none: no such file.
    void put(const Files &files, const std::optional<std::string> &index)
    {
        std::error_code ignored;
        for (const auto &file : {dbf, mdx, jnl})
            std::filesystem::remove(file, ignored);
        writeFile(dbf, files.dbf);
        if (index) {
            writeFile(mdx, *index);
            // Clocks of file systems tick in steps: the file must not look untouched.
            std::filesystem::last_write_time(mdx,
                                             std::filesystem::last_write_time(dbf) - std::chrono::hours(1));
        }
        if (files.jnl)
            writeFile(jnl, *files.jnl);
    }

    [[nodiscard]] std::unique_ptr<Table> open(std::vector<TagDefinition> tags = {wantedTag}) const
    {
        OpenOptions options;
        options.durable = false;
        options.tags = std::move(tags);
        auto opened = Table::open(dbf, options);
        EXPECT_TRUE(opened.ok()) << opened.status().message();
        return opened.ok() ? std::move(opened).value() : nullptr;
    }

    static std::vector<std::uint8_t> line(const Table &table, int number)
    {
        auto record = blankRecord(table.recordLength());
        EXPECT_TRUE(writeDate(record, table.fields()[0], {2026, 1 + number % 12, 1 + number * 7 % 28}).ok());
        writeText(record, table.fields()[1], table.codePage(), number % 2 == 0 ? u"09:00" : u"16:30");
        return record;
    }

    void create()
    {
        TableDefinition definition;
        definition.fields = {{"FECHA", FieldType::date, 8}, {"HORA", FieldType::character, 5}};
        definition.tags = {wantedTag};
        ASSERT_TRUE(Table::create(dbf, definition).ok());
        const auto table = open();
        for (int number = 0; number < linesInTable; ++number)
            ASSERT_TRUE(table->append(line(*table, number)).ok());
        ASSERT_TRUE(table->check().ok());
    }

    /// All lines in the order of the tag, once forward and once backward; each is found by its key.
    static void expectWalks(Table &table, RecordNumber lines)
    {
        Index *const index = table.index("FECHA");
        ASSERT_NE(index, nullptr);
        std::vector<RecordNumber> forward;
        auto at = index->first();
        for (; at.ok() && at.value() && forward.size() <= lines; at = index->next(*at.value()))
            forward.push_back(at.value()->record);
        ASSERT_TRUE(at.ok()) << at.status().message();
        EXPECT_EQ(forward.size(), lines);
        for (at = index->last(); at.ok() && at.value() && !forward.empty(); at = index->prior(*at.value())) {
            EXPECT_EQ(at.value()->record, forward.back());
            forward.pop_back();
        }
        EXPECT_TRUE(at.ok() && forward.empty());
        std::vector<std::uint8_t> record(table.recordLength());
        for (RecordNumber number = 1; number <= lines; ++number) {
            ASSERT_TRUE(table.read(number, record).ok());
            const auto found = index->find(index->expression().keyOf(record).bytes());
            EXPECT_TRUE(found.ok() && found.value()) << number;
        }
    }

    /// The lines are as they were; the date of the last change and the count may be others.
    void expectLines(const std::string &before) const
    {
        const std::string now = readFile(dbf);
        ASSERT_GE(now.size(), before.size());
        EXPECT_EQ(now.substr(dateAndCountEnd, before.size() - 1 - dateAndCountEnd),
                  before.substr(dateAndCountEnd, before.size() - 1 - dateAndCountEnd));
    }

    void expectWorks(const std::string &before, RecordNumber lines)
    {
        {
            const support::WithinBounds bounds;
            const auto table = open();
            ASSERT_TRUE(table);
            EXPECT_FALSE(table->isReadOnly()) << table->readOnlyReason();
            EXPECT_EQ(readFile(dbf), before) << "opening changes no line";
            expectWalks(*table, lines);
            EXPECT_TRUE(table->check().ok()) << table->check().message();
            // More than a leaf has room for, so that blocks are split.
            for (int number = 0; number < 60; ++number)
                ASSERT_EQ(table->append(line(*table, number)).value(), ++lines);
            EXPECT_TRUE(table->check().ok()) << table->check().message();
            expectWalks(*table, lines);
        }
        expectLines(before);
        const auto again = open();
        ASSERT_TRUE(again);
        EXPECT_TRUE(again->check().ok()) << "as the next opener sees it";
    }

    void expectReadOnly(const std::string &before)
    {
        const support::WithinBounds bounds;
        const auto table = open();
        ASSERT_TRUE(table);
        EXPECT_TRUE(table->isReadOnly());
        EXPECT_NE(table->readOnlyReason().find("«FECHA»"), std::string::npos) << table->readOnlyReason();
        EXPECT_EQ(table->append(line(*table, 1)).status().kind(), ErrorKind::readOnly);
        expectWalks(*table, linesInTable);
        EXPECT_EQ(readFile(dbf), before);
    }
};

struct IndexCase {
    const char *name;
    std::optional<std::string> mdx;
};

std::vector<IndexCase> impossibleHeaders(const std::string &good)
{
    const auto page = [](std::size_t at) { return le32(static_cast<std::uint32_t>(at / 512)); };
    const auto last = static_cast<std::uint32_t>(good.size() / 512);
    return {
        {"missing", std::nullopt},
        {"empty", ""},
        {"one byte", good.substr(0, 1)},
        {"cut in the header", good.substr(0, 47)},
        {"cut before the last byte of the header", good.substr(0, 2047)},
        {"the header alone", good.substr(0, 2048)},
        {"cut in the header of the tag", good.substr(0, 2048 + 512)},
        {"cut in a block", good.substr(0, rootAt(good) + 100)},
        {"one byte short", good.substr(0, good.size() - 1)},
        {"one page short", good.substr(0, good.size() - 512)},
        {"zeros", std::string(good.size(), '\0')},
        {"other version", with(good, 0, "\x09")},
        {"four pages in a block", with(good, 20, le16(4))},
        {"block of 512 bytes", with(good, 22, le16(512))},
        {"slots of no length", with(good, 26, le16(0))},
        {"48 tags", with(good, 28, le16(48))},
        {"65535 tags", with(good, 28, le16(65535))},
        {"no tag", with(good, 28, le16(0))},
        {"a second tag without a slot", with(good, 28, le16(2))},
        {"language of another table", with(good, 31, "\x02")},
        {"no pages", with(good, 32, le32(0))},
        {"odd number of pages", with(good, 32, le32(last - 1))},
        {"more pages than the file", with(good, 32, le32(last + 2))},
        {"4294967295 pages", with(good, 32, le32(0xFFFFFFFFU))},
        {"fewer pages than the tree", with(good, 32, le32(8))},
        {"free list beyond the file", with(good, 36, le32(last))},
        {"free list in the header", with(good, 36, le32(2))},
        {"header of the tag at page 0", with(good, slotAt, le32(0))},
        {"header of the tag beyond the file", with(good, slotAt, le32(last))},
        {"header of the tag is the root", with(good, slotAt, page(rootAt(good)))},
        {"tag without a name", with(good, slotAt + 4, std::string(11, '\0'))},
        {"root at page 0", with(good, headAt, le32(0))},
        {"root beyond the file", with(good, headAt, le32(last))},
        {"root far beyond the file", with(good, headAt, le32(0xFFFFFFFEU))},
        {"root at an odd page", with(good, headAt, le32(at32(good, headAt) + 1))},
        {"root is the header of the tag itself", with(good, headAt, page(headAt))},
        {"root is a leaf", with(good, headAt, page(leafAt(good)))},
        {"keys of no known type", with(good, headAt + 9, "X")},
        {"keys of a date with 13 bytes", with(good, headAt + 9, "D")},
        {"keys of no length", with(good, headAt + 12, le16(0))},
        {"keys of 101 bytes", with(good, headAt + 12, le16(101))},
        {"keys of 65535 bytes", with(good, headAt + 12, le16(65535))},
        {"no item in a block", with(good, headAt + 14, le16(0))},
        {"more items than a block holds", with(good, headAt + 14, le16(52))},
        {"items shorter than their keys", with(good, headAt + 18, le16(16))},
        {"items of 65535 bytes", with(good, headAt + 18, le16(65535))},
    };
}

std::vector<IndexCase> impossibleTrees(const std::string &good)
{
    const std::size_t root = rootAt(good);
    const std::size_t leaf = leafAt(good);
    const std::uint32_t rootPage = at32(good, headAt);
    const std::uint32_t leafPage = at32(good, root + itemsAt);
    const std::uint32_t inLeaf = at32(good, leaf);
    const std::string item = good.substr(leaf + itemsAt, itemLength);
    return {
        {"root with 65535 keys", with(good, root, le32(65535))},
        {"root with 4294967295 keys", with(good, root, le32(0xFFFFFFFFU))},
        {"root without keys", with(good, root, le32(0))},
        {"root as full as a leaf may be", with(good, root, le32(50))},
        {"leaf with one key too many", with(good, leaf, le32(inLeaf + 1))},
        {"leaf with one key too few", with(good, leaf, le32(inLeaf - 1))},
        {"leaf without keys", with(good, leaf, le32(0))},
        {"child is the root", with(good, root + itemsAt, le32(rootPage))},
        {"second child is the root", with(good, root + itemsAt + itemLength, le32(rootPage))},
        {"last child is the root",
         with(good, root + itemsAt + itemLength * at32(good, root), le32(rootPage))},
        {"child at page 0", with(good, root + itemsAt, le32(0))},
        {"child in the header", with(good, root + itemsAt, le32(2))},
        {"child beyond the file", with(good, root + itemsAt, le32(0x7FFFFFFEU))},
        {"child at an odd page", with(good, root + itemsAt, le32(leafPage + 1))},
        {"the same child twice", with(good, root + itemsAt + itemLength, le32(leafPage))},
        {"leaf that leads back to the root",
         with(good, leaf + itemsAt + itemLength * inLeaf, le32(rootPage))},
        {"leaf that leads to itself", with(good, leaf + itemsAt + itemLength * inLeaf, le32(leafPage))},
        {"record 0", with(good, leaf + itemsAt, le32(0))},
        {"record behind the last line", with(good, leaf + itemsAt, le32(linesInTable + 1))},
        {"record 4294967295", with(good, leaf + itemsAt, le32(0xFFFFFFFFU))},
        {"record of the next item", with(good, leaf + itemsAt, good.substr(leaf + itemsAt + itemLength, 4))},
        {"the same item twice", with(good, leaf + itemsAt + itemLength, item)},
        {"keys out of order", with(good, leaf + itemsAt + 4, "2026123123:59")},
        {"key of another line", with(good, leaf + itemsAt + itemLength + 4, "2026010109:01")},
        {"garbage in a leaf", with(good, leaf, std::string(1024, '\xA5'))},
    };
}

TEST_F(Malformed, AnImpossibleIndexIsMadeAnew)
{
    create();
    const Files good = read();
    ASSERT_GT(at32(good.mdx, rootAt(good.mdx)), 1U) << "the cases need a root with leaves";
    auto cases = impossibleHeaders(good.mdx);
    for (auto &one : impossibleTrees(good.mdx))
        cases.push_back(std::move(one));
    for (const auto &one : cases) {
        for (const bool withJournal : {true, false}) {
            SCOPED_TRACE(std::string(one.name) + (withJournal ? "" : ", no journal"));
            put({good.dbf, good.mdx, withJournal ? good.jnl : std::nullopt}, one.mdx);
            expectWorks(good.dbf, linesInTable);
        }
    }
}

/// Whoever opens the table without naming an order keeps the index as well, or changes nothing.
TEST_F(Malformed, AnImpossibleIndexIsMadeAnewFromItsOwnOrders)
{
    create();
    const Files good = read();
    const std::set<std::string> untold = {"empty",
                                          "one byte",
                                          "cut in the header",
                                          "cut before the last byte of the header",
                                          "the header alone",
                                          "cut in the header of the tag",
                                          "zeros",
                                          "other version",
                                          "four pages in a block",
                                          "block of 512 bytes",
                                          "48 tags",
                                          "65535 tags",
                                          "a second tag without a slot",
                                          "header of the tag at page 0",
                                          "header of the tag beyond the file",
                                          "header of the tag is the root",
                                          "tag without a name"};
    auto cases = impossibleHeaders(good.mdx);
    for (auto &one : impossibleTrees(good.mdx))
        cases.push_back(std::move(one));
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        put(good, one.mdx);
        RecordNumber lines = linesInTable;
        {
            const support::WithinBounds bounds;
            const auto table = open({});
            ASSERT_TRUE(table);
            EXPECT_EQ(table->isReadOnly(), untold.contains(one.name)) << table->readOnlyReason();
            if (table->isReadOnly()) {
                EXPECT_NE(table->readOnlyReason().find("índice"), std::string::npos);
                EXPECT_EQ(table->append(line(*table, 1)).status().kind(), ErrorKind::readOnly);
                EXPECT_FALSE(table->check().ok());
                EXPECT_EQ(readFile(dbf), good.dbf);
                EXPECT_EQ(readFile(mdx), *one.mdx);
                continue;
            }
            for (int number = 0; number < 60; ++number)
                ASSERT_EQ(table->append(line(*table, number)).value(), ++lines);
            EXPECT_TRUE(table->check().ok()) << table->check().message();
            EXPECT_EQ(table->notice(), "");
            if (!table->tags().empty())
                expectWalks(*table, lines);
            else
                EXPECT_TRUE(!one.mdx || one.name == std::string("no tag")) << "there was an order to keep";
        }
        expectLines(good.dbf);
        const auto again = open();
        ASSERT_TRUE(again);
        EXPECT_TRUE(again->check().ok()) << "as the next opener sees it";
        expectWalks(*again, lines);
    }
}

/// Damaged while somebody has the table open, so that the one who meets it is not alone.
TEST_F(Malformed, AnImpossibleIndexIsMadeAnewBesideOthers)
{
    create();
    const Files good = read();
    for (const char *const name : {"no pages", "root at page 0", "keys of no length", "zeros"}) {
        SCOPED_TRACE(name);
        put(good, good.mdx);
        const auto first = open();
        ASSERT_TRUE(first);
        for (const auto &one : impossibleHeaders(good.mdx)) {
            if (one.name == std::string(name))
                writeFile(mdx, *one.mdx);
        }
        const bool untold = name == std::string("zeros");
        const auto second = open(untold ? std::vector{wantedTag} : std::vector<TagDefinition>());
        ASSERT_TRUE(second);
        EXPECT_EQ(second->notice().find("se ha hecho de nuevo") != std::string::npos, untold);
        RecordNumber lines = linesInTable;
        for (int number = 0; number < 20; ++number) {
            ASSERT_EQ(second->append(line(*second, number)).value(), ++lines);
            ASSERT_EQ(first->append(line(*first, number)).value(), ++lines);
        }
        for (Table *const table : {first.get(), second.get()}) {
            EXPECT_TRUE(table->check().ok()) << table->check().message();
            expectWalks(*table, lines);
        }
    }
}

/// A table that was open before its index was made, and knows of none.
TEST_F(Malformed, AWriterWithoutTheIndexIsSeenByThoseWhoHaveIt)
{
    create();
    const Files good = read();
    put(good, std::nullopt);
    const auto without = open({});
    ASSERT_TRUE(without && without->tags().empty());
    const auto with = open();
    ASSERT_TRUE(with);
    RecordNumber lines = linesInTable;
    for (int number = 0; number < 3; ++number) {
        ASSERT_EQ(without->append(line(*without, number)).value(), ++lines);
        ASSERT_TRUE(with->refresh().ok());
        expectWalks(*with, lines);
        std::vector<std::uint8_t> before(without->recordLength());
        ASSERT_TRUE(without->read(lines, before).ok());
        ASSERT_TRUE(without->update(lines, before, line(*without, number + 40)).ok());
        ASSERT_EQ(with->append(line(*with, number)).value(), ++lines);
        EXPECT_TRUE(with->check().ok()) << with->check().message();
        ASSERT_TRUE(without->append(line(*without, number)).ok());
        ++lines;
        const auto third = open();
        ASSERT_TRUE(third);
        expectWalks(*third, lines);
    }
}

TEST_F(Malformed, ATagThatCannotBeKeptMakesTheTableReadOnly)
{
    create();
    const Files good = read();
    const auto text = [](std::string expression) { return expression.append(20 - expression.size(), '\0'); };
    const std::string filtered = with(good.mdx, headAt + 245, "\x01");
    const IndexCase cases[] = {
        {"unknown function", with(good.mdx, headAt + 24, text("SOUNDEX(HORA)"))},
        {"unknown field", with(good.mdx, headAt + 24, text("DTOS(DIA)+HORA"))},
        {"no expression", with(good.mdx, headAt + 24, text(""))},
        {"parenthesis left open", with(good.mdx, headAt + 24, text("DTOS(FECHA+HORA"))},
        {"keys of another length than the expression's", with(good.mdx, headAt + 24, text("HORA"))},
        {"descending, but kept ascending", with(good.mdx, headAt + 8, "\x18")},
        {"refuses a second line", with(good.mdx, headAt + 8, "\x70")},
        {"filter of an unknown function", with(filtered, headAt + 762, "SOUNDEX(HORA)='09:00'")},
        {"filter of an unknown field", with(filtered, headAt + 762, "TURNO='09:00'")},
        {"filter that is no condition", with(filtered, headAt + 762, "HORA")},
        {"filter that is not there", filtered},
        {"filter without an end", with(filtered, headAt + 762, "HORA='" + std::string(213, '9') + "'")},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        put(good, one.mdx);
        expectReadOnly(good.dbf);
        EXPECT_EQ(readFile(mdx), *one.mdx) << "it belongs to another program and stays";
    }
}

/// The index is damaged although its time says that nobody has touched it, so opening does not look: the
/// damage may be met and told later, but reindex() puts it right.
TEST_F(Malformed, ADamageThatOpeningDoesNotSeeEndsInANamedFailure)
{
    create();
    const Files good = read();
    const auto time = std::filesystem::last_write_time(mdx);
    for (const auto &one : impossibleTrees(good.mdx)) {
        SCOPED_TRACE(one.name);
        writeFile(dbf, good.dbf);
        writeFile(mdx, *one.mdx);
        std::filesystem::last_write_time(mdx, time);
        {
            const support::WithinBounds bounds;
            const auto table = open();
            ASSERT_TRUE(table);
            std::vector<RecordNumber> numbers;
            const Status listed = table->liveRecords(table->index("FECHA"), {}, {}, numbers);
            EXPECT_TRUE(listed.ok() || listed.kind() == ErrorKind::damaged) << listed.message();
            const auto appended = table->append(line(*table, 7));
            EXPECT_TRUE(appended.ok() || !appended.status().text().empty());
            EXPECT_TRUE(table->reindex().ok());
            EXPECT_TRUE(table->check().ok()) << table->check().message();
            expectWalks(*table, table->recordCount());
        }
        expectLines(good.dbf);
    }
}

/// A table whose writer died between the journal and the line, and what it would be with the line.
class MalformedJournal : public Malformed
{
protected:
    Files dead;

    void createDead()
    {
        create();
        const auto table = open();
        ASSERT_TRUE(table->append(line(*table, 1)).ok()); // opens the journal; the next one is only a commit
        dead = read();
        ASSERT_TRUE(table->append(line(*table, 2)).ok());
        // The last commit, put where the journal of before expects the next one.
        const std::string after = readFile(jnl);
        const std::string commit = after.substr(at32(after, 20) - 512, 512);
        dead.jnl = with(*dead.jnl, at32(*dead.jnl, 20), commit);
    }
};

TEST_F(MalformedJournal, OnlyAWholeCommitIsDoneAgain)
{
    createDead();
    const std::string good = *dead.jnl;
    const std::size_t commit = at32(good, 20); // where the next one goes, and the dead one is
    ASSERT_EQ(good.substr(commit, 4), "AGC1");
    const std::uint32_t size = at32(good, commit + 4);
    const RecordNumber lines = linesInTable + 1;
    const struct {
        const char *name;
        std::optional<std::string> jnl;
        RecordNumber lines;
    } cases[] = {
        {"whole", good, lines + 1},
        {"missing", std::nullopt, lines},
        {"empty", "", lines},
        {"cut in the header", good.substr(0, 71), lines},
        {"the header alone", good.substr(0, 512), lines},
        {"cut in the commit", good.substr(0, commit + 40), lines},
        {"cut before the commit's last byte", good.substr(0, commit + size - 1), lines},
        {"zeros", std::string(good.size(), '\0'), lines},
        {"garbage", std::string(3000, '\xA5'), lines},
        {"header of another kind", with(good, 0, "AGJ2"), lines},
        {"header with a wrong sum", with(good, 68, le32(at32(good, 68) ^ 1U)), lines},
        {"header with another base", with(good, 4, le32(at32(good, 4) + 1)), lines},
        {"header with the next place in itself", with(good, 20, le32(0)), lines},
        {"commit of another kind", with(good, commit, "AGC2"), lines},
        {"commit with a wrong sum", with(good, commit + 24, le32(at32(good, commit + 24) ^ 1U)), lines},
        {"commit of no length", with(good, commit + 4, le32(0)), lines},
        {"commit of 4294967295 bytes", with(good, commit + 4, le32(0xFFFFFFFFU)), lines},
        {"commit one byte shorter", with(good, commit + 4, le32(size - 1)), lines},
        {"commit of the number behind the next", with(good, commit + 8, le32(at32(good, commit + 8) + 1)),
         lines},
        {"commit for other lines in all", with(good, commit + 16, le32(at32(good, commit + 16) + 9)), lines},
        {"commit with two changes", with(good, commit + 20, le32(2)), lines},
        {"commit with 4294967295 changes", with(good, commit + 20, le32(0xFFFFFFFFU)), lines},
        {"commit of longer lines", with(good, commit + 28, le32(at32(good, commit + 28) + 1)), lines},
        {"commit for another line", with(good, commit + 32, le32(3)), lines},
        {"commit with a byte of the line changed", with(good, commit + 41, "X"), lines},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        put({dead.dbf, dead.mdx, one.jnl}, dead.mdx);
        if (one.lines > lines) {
            EXPECT_EQ(open()->recordCount(), one.lines);
            expectLines(dead.dbf);
            expectWorks(readFile(dbf), one.lines);
        } else {
            expectWorks(dead.dbf, one.lines);
        }
    }
}

} // namespace
