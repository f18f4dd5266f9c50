// Tags that are descending, unique or filtered: right in every order of changes, for every way of opening.

#include "dbase/FilterExpression.h"
#include "dbase/Table.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace
{

using namespace dbase;
using support::readFile;
using support::TempFolder;
using support::writeFile;

/// A line as the test knows it; what the tags make of it is said once more below, without the library.
struct TagLine {
    std::string group; // two letters
    int day = 1;       // of January 2026; 0: blank
    int amount = 0;
    bool valid = false;
    bool deleted = false;
};

struct TagCase {
    TagDefinition tag;
    bool (*accepts)(const TagLine &);
    /// Larger means later in an ascending tag.
    std::string (*key)(const TagLine &);
};

std::string two(int number)
{
    return std::string(number < 10 ? "0" : "") + std::to_string(number);
}
bool all(const TagLine & /*line*/)
{
    return true;
}
std::string groupOf(const TagLine &line)
{
    return line.group;
}
std::string dayOf(const TagLine &line)
{
    return line.day == 0 ? "99" : two(line.day); // a blank date is the last one
}

const std::vector<TagCase> &cases()
{
    static const std::vector<TagCase> known{
        {{"LLANO", "GRUPO+DTOS(FECHA)"},
         all,
         [](const TagLine &line) { return line.group + (line.day == 0 ? "  " : two(line.day)); }},
        {{"FECHABAJA", "FECHA", true}, all, dayOf},
        {{"IMPBAJA", "IMPORTE", true}, all, [](const TagLine &line) { return two(line.amount + 50); }},
        {{"UNO", "GRUPO", false, true}, all, groupOf},
        {{"UNODIA", "FECHA", true, true}, all, dayOf},
        {{"VIVAS", "GRUPO", false, false, ".NOT. DELETED()"},
         [](const TagLine &line) { return !line.deleted; },
         groupOf},
        {{"PARTE", "FECHA", true, false, "VALE .AND. IMPORTE >= 10 .OR. GRUPO='BB'"},
         [](const TagLine &line) { return (line.valid && line.amount >= 10) || line.group == "BB"; },
         dayOf},
        {{"UNOPARTE", "UPPER(GRUPO)", true, true, "IMPORTE > 0 .AND. FECHA <> {}"},
         [](const TagLine &line) { return line.amount > 0 && line.day != 0; },
         groupOf},
    };
    return known;
}

std::vector<TagDefinition> definitions()
{
    std::vector<TagDefinition> out;
    for (const TagCase &one : cases())
        out.push_back(one.tag);
    return out;
}

/// The lines that a tag is to show, in order.
std::vector<RecordNumber> expected(const TagCase &one, const std::vector<TagLine> &lines)
{
    std::vector<RecordNumber> out;
    const auto at = [&](RecordNumber number) -> const TagLine & { return lines[number - 1]; };
    for (RecordNumber number = 1; number <= lines.size(); ++number) {
        if (one.accepts(at(number)))
            out.push_back(number);
    }
    if (one.tag.unique) {
        std::stable_partition(out.begin(), out.end(), [&](RecordNumber n) { return !at(n).deleted; });
        std::vector<RecordNumber> first;
        for (const RecordNumber n : out) {
            if (std::none_of(first.begin(), first.end(),
                             [&](RecordNumber m) { return one.key(at(m)) == one.key(at(n)); }))
                first.push_back(n);
        }
        out = first;
    }
    std::sort(out.begin(), out.end(), [&](RecordNumber a, RecordNumber b) {
        const std::string keyA = one.key(at(a));
        const std::string keyB = one.key(at(b));
        return keyA != keyB ? (keyA < keyB) != one.tag.descending : a < b;
    });
    return out;
}

class Tags : public testing::Test
{
protected:
    TempFolder folder;
    std::filesystem::path dbf = folder.path() / "TABLA.DBF";
    std::filesystem::path mdx = folder.path() / "TABLA.MDX";
    std::filesystem::path jnl = folder.path() / "TABLA.JNL";
    std::vector<TagLine> lines;
    std::minstd_rand random{20260131};

    void SetUp() override
    {
        TableDefinition made;
        made.fields = {{"GRUPO", FieldType::character, 2},
                       {"FECHA", FieldType::date, 8},
                       {"IMPORTE", FieldType::numeric, 8, 2},
                       {"VALE", FieldType::logical, 1}};
        made.tags = definitions();
        ASSERT_TRUE(Table::create(dbf, made).ok());
    }

    static std::unique_ptr<Table> open(const std::filesystem::path &file, bool readOnly = false,
                                       std::vector<TagDefinition> tags = {})
    {
        OpenOptions options;
        options.durable = false;
        options.readOnly = readOnly;
        options.tags = std::move(tags);
        auto opened = Table::open(file, options);
        EXPECT_TRUE(opened.ok()) << opened.status().message();
        return opened.ok() ? std::move(opened).value() : nullptr;
    }

    static std::vector<std::uint8_t> bytesOf(const Table &table, const TagLine &line)
    {
        auto record = blankRecord(table.recordLength());
        const auto &fields = table.fields();
        writeText(record, fields[0], table.codePage(), std::u16string(line.group.begin(), line.group.end()));
        if (line.day != 0) {
            EXPECT_TRUE(writeDate(record, fields[1], {2026, 1, line.day}).ok());
        }
        EXPECT_TRUE(writeNumber(record, fields[2], line.amount).ok());
        writeLogical(record, fields[3], line.valid);
        record[0] = line.deleted ? deletedMark : liveMark;
        return record;
    }

    int upTo(int most) { return static_cast<int>(random() % static_cast<unsigned>(most + 1)); }
    TagLine anyLine()
    {
        return {std::string(2, static_cast<char>('A' + upTo(5))), upTo(9), upTo(40) - 20, upTo(1) == 0};
    }

    void append(Table &table, const TagLine &line)
    {
        ASSERT_TRUE(table.append(bytesOf(table, line)).ok());
        lines.push_back(line);
    }
    void change(Table &table, RecordNumber number, const TagLine &line)
    {
        const Status status = table.update(number, bytesOf(table, lines[number - 1]), bytesOf(table, line));
        ASSERT_TRUE(status.ok()) << status.message();
        lines[number - 1] = line;
    }
    /// Any change of any line: appended, changed, deleted, recalled.
    void anyChange(Table &table)
    {
        const auto number = static_cast<RecordNumber>(upTo(static_cast<int>(lines.size())));
        if (number == 0 || upTo(3) == 0)
            return append(table, anyLine());
        TagLine line = lines[number - 1];
        switch (upTo(4)) {
        case 0:
            line.deleted = !line.deleted;
            break;
        case 1:
            line.group = anyLine().group;
            break;
        case 2:
            line.amount = anyLine().amount;
            break;
        default:
            line = anyLine();
        }
        change(table, number, line);
    }

    static std::vector<RecordNumber> walk(Index &index, bool forward)
    {
        std::vector<RecordNumber> out;
        auto at = forward ? index.first() : index.last();
        for (; at.ok() && at.value() && out.size() < 100000;
             at = forward ? index.next(*at.value()) : index.prior(*at.value()))
            out.push_back(at.value()->record);
        EXPECT_TRUE(at.ok()) << at.status().message();
        return out;
    }

    void expectOrders(Table &table) const
    {
        for (const TagCase &one : cases()) {
            SCOPED_TRACE(one.tag.name);
            Index *const index = table.index(one.tag.name);
            ASSERT_NE(index, nullptr);
            auto wanted = expected(one, lines);
            EXPECT_EQ(walk(*index, true), wanted);
            std::vector<RecordNumber> collected;
            EXPECT_TRUE(index->collect({}, {}, collected).ok());
            EXPECT_EQ(collected, wanted);
            std::reverse(wanted.begin(), wanted.end());
            EXPECT_EQ(walk(*index, false), wanted);
        }
    }
    /// The same, and the file is what the lines say.
    void expectRight(Table &table) const
    {
        expectOrders(table);
        const Status status = table.check();
        EXPECT_TRUE(status.ok()) << status.message();
        EXPECT_FALSE(table.isReadOnly()) << table.readOnlyReason();
    }
};

TEST_F(Tags, AreKeptThroughAnyChanges)
{
    auto table = open(dbf);
    for (int round = 0; round < 1200; ++round) {
        anyChange(*table);
        if (round % 100 == 99)
            expectRight(*table);
        if (round % 400 == 399)
            table = open(dbf);
        if (HasFatalFailure() || HasNonfatalFailure())
            FAIL() << "in round " << round;
    }
    const std::string kept = readFile(mdx);
    ASSERT_TRUE(table->reindex().ok());
    expectRight(*table);
    ASSERT_TRUE(table->pack().ok());
    std::erase_if(lines, [](const TagLine &line) { return line.deleted; });
    expectRight(*table);
    EXPECT_EQ(table->tags().size(), cases().size());
}

// Many changes of the same keys in one commit, each record once, as the engines do it.
TEST_F(Tags, AreKeptByGroups)
{
    const auto table = open(dbf);
    for (int i = 0; i < 200; ++i)
        append(*table, anyLine());
    for (int round = 0; round < 60; ++round) {
        ASSERT_TRUE(table->beginGroup().ok());
        const std::vector<TagLine> before = lines;
        std::vector<RecordNumber> numbers(200);
        for (RecordNumber &number : numbers)
            number = static_cast<RecordNumber>(&number - numbers.data() + 1);
        std::shuffle(numbers.begin(), numbers.end(), random);
        for (int i = 0; i < 12; ++i) {
            TagLine line = anyLine();
            line.deleted = upTo(1) == 0;
            if (i % 4 == 3)
                append(*table, line);
            else
                change(*table, numbers[static_cast<std::size_t>(i)], line);
        }
        if (round % 5 == 4) {
            table->dropGroup();
            lines = before;
        } else {
            ASSERT_TRUE(table->commitGroup().ok());
        }
        EXPECT_TRUE(table->check().ok());
        if (round % 10 == 9)
            expectRight(*table);
        if (HasFailure())
            FAIL() << "in round " << round;
    }
}

// Who takes over: near or far, in front of or behind the holder, found by another tag or by reading.
TEST_F(Tags, TheNextLineTakesOverAKey)
{
    const auto table = open(dbf);
    constexpr RecordNumber farApart = 4500;
    const auto filler = [](RecordNumber number) {
        return TagLine{"ZZ", static_cast<int>(number % 5) + 20, 0};
    };
    ASSERT_TRUE(table->beginGroup().ok());
    append(*table, {"AA", 3, 5});
    append(*table, {"AA", 3, 7});
    while (lines.size() < farApart)
        append(*table, filler(static_cast<RecordNumber>(lines.size())));
    append(*table, {"AA", 3, 9});
    ASSERT_TRUE(table->commitGroup().ok());

    const auto holderOf = [&](const char *tag, const char *group) {
        Index *const index = table->index(tag);
        const std::string key(group);
        const auto found = index->find({reinterpret_cast<const std::uint8_t *>(key.data()), key.size()});
        EXPECT_TRUE(found.ok());
        return found.ok() && found.value() ? found.value()->record : 0;
    };
    const RecordNumber last = farApart + 1;
    const struct {
        const char *what;
        RecordNumber number;
        TagLine now;
        RecordNumber uno;      ///< holder of AA
        RecordNumber unoparte; ///< the same among those with an amount and a date
    } steps[] = {
        {"the holder is deleted", 1, {"AA", 3, 5, false, true}, 2, 2},
        {"the next one leaves by its key: the last one is far", 2, {"BB", 3, 7}, last, last},
        {"the last one dies too: a dead line keeps the key, the first of them",
         last,
         {"AA", 3, 9, false, true},
         1,
         1},
        {"the dead holder drops out of the filter", 1, {"AA", 3, 0, false, true}, 1, last},
        {"the last one is recalled", last, {"AA", 3, 9}, last, last},
        {"a line comes back in front", 2, {"AA", 3, 7}, 2, 2},
        {"the first one is recalled", 1, {"AA", 3, 5}, 1, 1},
        {"and leaves the filter alone", 1, {"AA", 0, 5}, 1, 2},
    };
    for (const auto &step : steps) {
        SCOPED_TRACE(step.what);
        change(*table, step.number, step.now);
        EXPECT_EQ(holderOf("UNO", "AA"), step.uno);
        EXPECT_EQ(holderOf("UNOPARTE", "AA"), step.unoparte);
    }
    EXPECT_TRUE(table->check().ok());

    // In one commit the holder leaves, a line behind the next one comes, and the next one is no part of it.
    ASSERT_TRUE(table->beginGroup().ok());
    change(*table, 1, {"CC", 3, 5});
    change(*table, 100, {"AA", 3, 5});
    ASSERT_TRUE(table->commitGroup().ok());
    EXPECT_EQ(holderOf("UNO", "AA"), 2U);
    EXPECT_TRUE(table->check().ok());
}

TEST_F(Tags, RangesAndSearchesGoByTheTagsOwnOrder)
{
    auto table = open(dbf);
    for (int day = 1; day <= 28; ++day) {
        for (int i = 0; i < 9; ++i)
            append(*table, {"AA", day, day - 10, true});
    }
    std::filesystem::copy_file(dbf, folder.path() / "OTRA.DBF");
    const auto inMemory = open(folder.path() / "OTRA.DBF", true, definitions());
    for (Table *const one : {table.get(), inMemory.get()}) {
        Index *const index = one->index("FECHABAJA");
        const auto keyOf = [&](int day) { return index->expression().keyOf(bytesOf(*one, {"AA", day})); };
        const auto days = [&](const IndexKey &low, const IndexKey &high) {
            std::vector<RecordNumber> found;
            EXPECT_TRUE(index->collect(low.bytes(), high.bytes(), found).ok());
            std::vector<int> out;
            for (const RecordNumber number : found) {
                if (out.empty() || out.back() != lines[number - 1].day)
                    out.push_back(lines[number - 1].day);
            }
            EXPECT_EQ(found.size(), out.size() * 9);
            return out;
        };
        EXPECT_EQ(days(keyOf(12), keyOf(9)), (std::vector{12, 11, 10, 9}));
        EXPECT_EQ(days(keyOf(28), keyOf(28)), (std::vector{28}));
        EXPECT_EQ(days(keyOf(9), keyOf(12)), std::vector<int>());
        const auto nearest = index->atOrAfter(keyOf(31).bytes());
        ASSERT_TRUE(nearest.ok() && nearest.value());
        EXPECT_EQ(nearest.value()->record, 27U * 9 + 1) << "the largest day that is no larger";
        const auto found = index->find(keyOf(5).bytes());
        ASSERT_TRUE(found.ok() && found.value());
        EXPECT_EQ(found.value()->record, 4U * 9 + 1);
        EXPECT_FALSE(index->find(keyOf(30).bytes()).value());
        Index *const text = one->index("LLANO");
        const IndexKey whole = text->expression().keyOf(bytesOf(*one, {"AA", 5}));
        std::vector<std::uint8_t> longer(whole.bytes().begin(), whole.bytes().end());
        longer.resize(2000, 'x');
        const auto cut = text->atOrAfter(longer);
        ASSERT_TRUE(cut.ok() && cut.value());
        EXPECT_EQ(cut.value()->record, 4U * 9 + 1);
        EXPECT_FALSE(text->find(longer).value());
        std::vector<RecordNumber> between;
        EXPECT_TRUE(text->collect(longer, longer, between).ok());
        EXPECT_EQ(between.size(), 9U);
        const auto amount = one->index("IMPBAJA")->first();
        ASSERT_TRUE(amount.ok() && amount.value());
        EXPECT_EQ(amount.value()->record, 27U * 9 + 1);
    }
}

// The same orders whoever keeps them: the file, memory, an old file with the journal of a dead writer.
TEST_F(Tags, AreTheSameForEveryWayOfOpening)
{
    auto table = open(dbf);
    for (int i = 0; i < 150; ++i)
        anyChange(*table);
    const std::string older = readFile(mdx);
    for (int i = 0; i < 150; ++i)
        anyChange(*table);
    const std::string journal = readFile(jnl);
    const std::string content = readFile(dbf);
    const auto own = folder.path() / "COPIA.DBF";
    const auto put = [&](const std::string *index, const std::string *log) {
        std::error_code ignored;
        for (const char *const name : {"COPIA.MDX", "COPIA.JNL"})
            std::filesystem::remove(folder.path() / name, ignored);
        writeFile(own, content);
        if (index)
            writeFile(folder.path() / "COPIA.MDX", *index);
        if (log)
            writeFile(folder.path() / "COPIA.JNL", *log);
    };
    {
        SCOPED_TRACE("a writer died between lines and index");
        put(&older, &journal);
        expectRight(*open(own));
    }
    {
        SCOPED_TRACE("read only, with the index");
        table.reset();
        const std::string closed = readFile(mdx);
        put(&closed, nullptr);
        const auto reader = open(own, true);
        expectOrders(*reader);
        EXPECT_TRUE(reader->check().ok());
    }
    {
        SCOPED_TRACE("read only, with an index that is out of date");
        put(&older, nullptr);
        const auto reader = open(own, true);
        expectOrders(*reader);
        EXPECT_FALSE(reader->check().ok()) << "nothing has been compared";
        EXPECT_EQ(readFile(folder.path() / "COPIA.MDX"), older);
    }
    {
        SCOPED_TRACE("read only, without index");
        put(nullptr, nullptr);
        expectOrders(*open(own, true, definitions()));
    }
    {
        SCOPED_TRACE("orders in memory beside a writer");
        put(nullptr, nullptr);
        const auto writer = open(own);
        for (const TagDefinition &tag : definitions())
            ASSERT_TRUE(writer->addTag(tag).ok());
        for (int i = 0; i < 100; ++i)
            anyChange(*writer);
        expectOrders(*writer);
    }
}

// Other programs fill a leaf of short keys to the last byte of its block.
TEST_F(Tags, AFullLeafOfAnotherProgramIsKept)
{
    constexpr int fullLeaf = 127;
    constexpr std::size_t tagHeadAt = 2048;
    const auto own = folder.path() / "LLENA.DBF";
    TableDefinition made;
    made.fields = {{"GRUPO", FieldType::character, 2}};
    made.tags = {{"GRUPO", "GRUPO"}};
    ASSERT_TRUE(Table::create(own, made).ok());
    const std::string empty = readFile(folder.path() / "LLENA.MDX");
    const auto lineOf = [](const Table &table, int number) {
        auto record = blankRecord(table.recordLength());
        record[1] = static_cast<std::uint8_t>('A' + number / 12);
        record[2] = static_cast<std::uint8_t>('A' + number % 12);
        return record;
    };
    {
        const auto table = open(own);
        for (int number = 0; number < fullLeaf; ++number)
            ASSERT_TRUE(table->append(lineOf(*table, number)).ok());
    }
    std::string index = empty.substr(0, tagHeadAt + 1024);
    index[tagHeadAt] = 6; // the root behind its tag's header
    index[tagHeadAt + 14] = static_cast<char>(fullLeaf);
    index[32] = 8;
    index += static_cast<char>(fullLeaf) + std::string(7, '\0');
    for (int number = 0; number < fullLeaf; ++number)
        index += static_cast<char>(number + 1) + std::string(3, '\0') + static_cast<char>('A' + number / 12) +
                 static_cast<char>('A' + number % 12) + std::string(2, '\0');
    ASSERT_EQ(index.size(), 4096U);
    writeFile(folder.path() / "LLENA.MDX", index);
    std::filesystem::remove(folder.path() / "LLENA.JNL");
    const auto table = open(own);
    EXPECT_TRUE(table->check().ok());
    EXPECT_EQ(readFile(folder.path() / "LLENA.MDX"), index) << "a sound index stays as it is";
    ASSERT_TRUE(table->append(lineOf(*table, 5)).ok());
    EXPECT_TRUE(table->check().ok());
    EXPECT_EQ(walk(*table->index("GRUPO"), true).size(), fullLeaf + 1U);
}

TEST_F(Tags, ACallerThatCountsOnAllLinesGetsThem)
{
    const TagDefinition plain{"VIVAS", "GRUPO"};
    const auto writer = open(dbf);
    append(*writer, {"BB", 1, 1});
    append(*writer, {"AA", 1, 1, false, true});
    const auto table = open(dbf, false, {plain});
    EXPECT_EQ(walk(*table->index("VIVAS"), true), (std::vector<RecordNumber>{2, 1}));
    EXPECT_TRUE(table->check().ok());
}

TEST(Filters, SayYesOrNo)
{
    const std::vector<FieldDefinition> fields{{"HORA", FieldType::character, 5, 0, 1},
                                              {"FECHA", FieldType::date, 8, 0, 6},
                                              {"N", FieldType::numeric, 6, 2, 14},
                                              {"SI", FieldType::logical, 1, 0, 20},
                                              {"NOMBRE", FieldType::character, 8, 0, 21}};
    const std::string text = " 09:3020260131 12.50TAna     ";
    const std::vector<std::uint8_t> record(text.begin(), text.end());
    std::vector<std::uint8_t> blank(record.size(), ' ');
    blank[0] = deletedMark;
    const struct {
        const char *filter;
        bool line;  ///< for the line above
        bool blank; ///< for a deleted line of blanks
    } conditions[] = {
        {"HORA='09:30'", true, false},
        {"hora = [09]", true, false},
        {"\"09\" = HORA", false, false},
        {"HORA # '09:30'", false, true},
        {"HORA <> '1'", true, true},
        {"HORA < '10:00' .AND. HORA >= '09:00'", true, false},
        {"UPPER(NOMBRE) = 'ANA'", true, false},
        {"TRIM(NOMBRE) + '.' = 'Ana.'", true, false},
        {"SUBSTR(HORA, 4, 2) > '29'", true, false},
        {"LEFT(HORA,2)+SUBSTR(HORA,4,2) = '0930'", true, false},
        {"STR(N,6,1) = '  12.5'", true, false},
        {"N = 12.5", true, false},
        {"N>12.49.and.N<=12.5", true, false},
        {"N < 1", false, true},
        {"N > -1", true, true},
        {"DTOS(FECHA) >= '2026'", true, false},
        {"FECHA = {2026-01-31}", true, false},
        {"FECHA < {^2026/02/01}", true, false},
        {"FECHA > {30/01/2026} .AND. FECHA <> {}", true, false},
        {"FECHA = {  /  /  }", false, true},
        {"SI", true, false},
        {".NOT. SI", false, true},
        {".NOT. .NOT. SI .AND. .T.", true, false},
        {"DELETED()", false, true},
        {".NOT. (DELETED() .OR. HORA='10')", true, false},
        {".F. .OR. SI .AND. .F. .OR. N=12.5", true, false},
        {"(SI .OR. .T.) .AND. .F.", false, false},
    };
    for (const auto &one : conditions) {
        const auto filter = FilterExpression::parse(one.filter, fields, CodePage::windows1252);
        ASSERT_TRUE(filter.ok()) << one.filter << ": " << filter.status().text();
        EXPECT_EQ(filter.value().accepts(record), one.line) << one.filter;
        EXPECT_EQ(filter.value().accepts(blank), one.blank) << one.filter << ", blank";
    }
    for (const char *const refused : {"",
                                      "HORA",
                                      "HORA = 9",
                                      "SI = .T.",
                                      "FECHA > {01/02/2026}",
                                      "FECHA > {31/02/2026}",
                                      "FECHA > DATE()",
                                      "HORA == '09:30'",
                                      "'0' $ HORA",
                                      "HORA = '09",
                                      "NOT SI",
                                      "SI .AND.",
                                      "SI .AND. HORA",
                                      "SI) .OR. (SI",
                                      "N + 1 > 2",
                                      "NADA = 1",
                                      "SI SI",
                                      "{2026-01-31} = {",
                                      "N = 1.",
                                      ".NOT. HORA",
                                      "DELETED"}) {
        const auto filter = FilterExpression::parse(refused, fields, CodePage::windows1252);
        EXPECT_FALSE(filter.ok()) << refused;
        EXPECT_FALSE(filter.status().text().empty()) << refused;
    }
    const std::string deep = std::string(5000, '(') + "SI" + std::string(5000, ')');
    EXPECT_FALSE(FilterExpression::parse(deep, fields, CodePage::windows1252).ok());
}

} // namespace
