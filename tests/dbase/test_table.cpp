// Whole tables: what is refused, what is kept right under any sequence of writes, and what two openers see.

#include "dbase/Table.h"
#include "tests/support/EraseLine.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace
{

using namespace dbase;
using std::chrono::milliseconds;
using support::readFile;
using support::TempFolder;
using support::writeFile;

const TagDefinition byDateAndHour{"FECHA", "DTOS(FECHA)+HORA"};

TableDefinition agendaDefinition()
{
    TableDefinition definition;
    definition.fields = {{"FECHA", FieldType::date, 8},
                         {"HORA", FieldType::character, 5},
                         {"CONCEPTO", FieldType::character, 30},
                         {"CODCLIENTE", FieldType::floating, 20, 4}};
    definition.tags = {byDateAndHour};
    return definition;
}

class TableTest : public testing::Test
{
protected:
    TempFolder folder;
    std::filesystem::path file = folder.path() / "AGENDA_N.DBF";

    void create() { ASSERT_TRUE(Table::create(file, agendaDefinition()).ok()); }
    std::unique_ptr<Table> open(milliseconds timeout = milliseconds(30))
    {
        OpenOptions options;
        options.durable = false;
        options.lockTimeout = timeout;
        options.tags = {byDateAndHour};
        auto opened = Table::open(file, options);
        EXPECT_TRUE(opened.ok()) << opened.status().message();
        return std::move(opened).value();
    }
};

std::vector<std::uint8_t> line(const Table &table, int day, const char *hour, std::u16string_view text = u"")
{
    auto record = blankRecord(table.recordLength());
    EXPECT_TRUE(writeDate(record, table.fields()[0], {2026, 1, day}).ok());
    writeText(record, table.fields()[1], table.codePage(), std::u16string(hour, hour + 5));
    writeText(record, table.fields()[2], table.codePage(), text);
    return record;
}

std::vector<RecordNumber> inOrder(const Table &table)
{
    std::vector<RecordNumber> numbers;
    EXPECT_TRUE(table.liveRecords(table.index("fecha"), {}, {}, numbers).ok());
    return numbers;
}

std::u16string conceptOf(const Table &table, RecordNumber number)
{
    std::vector<std::uint8_t> record(table.recordLength());
    EXPECT_TRUE(table.read(number, record).ok());
    return readText(record, table.fields()[2], table.codePage());
}

TEST_F(TableTest, RefusesWhatIsNotThereAndWhatIsThere)
{
    create();
    EXPECT_EQ(Table::open(folder.path() / "NO.DBF", {}).status().kind(), ErrorKind::notFound);
    EXPECT_EQ(Table::create(file, agendaDefinition()).kind(), ErrorKind::invalidArgument);
}

// No single wrong byte of a header may lead outside of the file or to a crash; what opens must be readable to
// the end.
TEST_F(TableTest, SurvivesAnyByteOfTheHeader)
{
    create();
    {
        const auto table = open();
        for (int day = 1; day <= 5; ++day)
            ASSERT_TRUE(table->append(line(*table, day, "09:00")).ok());
    }
    const std::string good = readFile(file);
    int opens = 0;
    for (std::size_t at = 0; at < 32 + 4 * 32 + 1; ++at) {
        for (const int byte : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
            std::string bad = good;
            bad[at] = static_cast<char>(byte);
            writeFile(file, bad);
            OpenOptions options;
            options.readOnly = true;
            const auto opened = Table::open(file, options);
            if (!opened.ok())
                continue;
            ++opens;
            const Table &table = *opened.value();
            std::vector<std::uint8_t> record(table.recordLength());
            for (RecordNumber number = 1; number <= table.recordCount(); ++number)
                EXPECT_TRUE(table.read(number, record).ok()) << "byte " << at << " = " << byte;
        }
    }
    EXPECT_GT(opens, 100) << "harmless bytes (dates, reserved places) must not make a table unreadable";
}

// The index against a model, under a long random row of writes through two handles that take turns.
TEST_F(TableTest, KeepsTheOrderUnderRandomWrites)
{
    create();
    std::mt19937 random(20261121);
    std::unique_ptr<Table> tables[] = {open(), open()};
    std::map<std::pair<std::string, RecordNumber>, bool> model;
    std::map<RecordNumber, std::string> keys;
    const auto keyOf = [](const Table &table, std::span<const std::uint8_t> record) {
        const auto key = table.index("FECHA")->expression().keyOf(record);
        return std::string(key.bytes().begin(), key.bytes().end());
    };
    const auto randomLine = [&](const Table &table) {
        const std::string hour = std::to_string(10 + random() % 10) + ":" + (random() % 2 ? "00" : "30");
        return line(table, 1 + static_cast<int>(random() % 28), hour.c_str());
    };
    for (int step = 0; step < 600; ++step) {
        Table &table = *tables[random() % 2];
        ASSERT_TRUE(table.refresh().ok());
        const auto victim = keys.empty() ? keys.end() : std::next(keys.begin(), long(random() % keys.size()));
        const auto action = keys.size() < 5 ? 0 : random() % 4;
        if (action < 2) {
            const auto record = randomLine(table);
            const auto number = table.append(record);
            ASSERT_TRUE(number.ok()) << number.status().message();
            keys[number.value()] = keyOf(table, record);
            model[{keys[number.value()], number.value()}] = true;
            continue;
        }
        const RecordNumber number = victim->first;
        model.erase({victim->second, number});
        if (action == 2) {
            ASSERT_TRUE(support::eraseLine(table, number).ok());
            keys.erase(victim);
            continue;
        }
        std::vector<std::uint8_t> before(table.recordLength());
        ASSERT_TRUE(table.read(number, before).ok());
        const auto after = randomLine(table);
        ASSERT_TRUE(table.update(number, before, after).ok());
        victim->second = keyOf(table, after);
        model[{victim->second, number}] = true;
    }
    std::vector<RecordNumber> expected;
    for (const auto &entry : model)
        expected.push_back(entry.first.second);
    for (const auto &table : tables) {
        ASSERT_TRUE(table->refresh().ok());
        EXPECT_EQ(inOrder(*table), expected);
    }
    EXPECT_EQ(inOrder(*open()), expected) << "as a new opener sees it";

    // Ranges by prefix, both bounds included, against the model.
    const std::string low = "20260107";
    const std::string high = "20260112";
    const auto bytes = [](const std::string &text) {
        return std::span(reinterpret_cast<const std::uint8_t *>(text.data()), text.size());
    };
    std::vector<RecordNumber> ranged;
    ASSERT_TRUE(tables[0]->liveRecords(tables[0]->index("FECHA"), bytes(low), bytes(high), ranged).ok());
    std::erase_if(expected,
                  [&](RecordNumber n) { return keys[n].substr(0, 8) < low || keys[n].substr(0, 8) > high; });
    EXPECT_EQ(ranged, expected);
}

// Sheets of past days, put into a tree whose blocks are full: splits that reach up through several levels.
TEST_F(TableTest, KeepsTheIndexWhenFullBlocksSplit)
{
    create();
    const auto table = open();
    const auto sheet = [&](int year, int month, int day) {
        ASSERT_TRUE(table->beginGroup().ok());
        for (int slot = 0; slot < 24; ++slot) {
            auto record = blankRecord(table->recordLength());
            ASSERT_TRUE(writeDate(record, table->fields()[0], {year, month, day}).ok());
            const std::string hour = std::to_string(10 + slot / 2) + (slot % 2 != 0 ? ":30" : ":00");
            writeText(record, table->fields()[1], table->codePage(),
                      std::u16string(hour.begin(), hour.end()));
            ASSERT_TRUE(table->append(record).ok());
        }
        ASSERT_TRUE(table->commitGroup().ok());
    };
    for (int year = 2010; year < 2026; ++year) {
        for (int month = 1; month <= 12; ++month) {
            for (int day = 1; day <= 28; day += 2)
                sheet(year, month, day);
        }
    }
    ASSERT_TRUE(table->reindex().ok()); // as full as blocks get
    std::mt19937 random(5);
    for (int n = 0; n < 600; ++n)
        sheet(2010 + static_cast<int>(random() % 16), 1 + static_cast<int>(random() % 12),
              2 + 2 * static_cast<int>(random() % 13));
    const Status status = table->check();
    EXPECT_TRUE(status.ok()) << status.message();
    EXPECT_EQ(inOrder(*table).size(), table->recordCount());
}

TEST_F(TableTest, EqualKeysStayInTheOrderOfAdding)
{
    create();
    const auto table = open();
    for (const auto *text : {u"una", u"dos", u"tres"})
        ASSERT_TRUE(table->append(line(*table, 3, "10:00", text)).ok());
    EXPECT_EQ(inOrder(*table), (std::vector<RecordNumber>{1, 2, 3}));
    const auto key = table->index("FECHA")->expression().keyOf(line(*table, 3, "10:00"));
    const auto found = table->index("FECHA")->find(key.bytes());
    ASSERT_TRUE(found.ok());
    EXPECT_EQ(found.value()->record, 1U);
}

TEST_F(TableTest, TwoOpenersDoNotOverwriteEachOther)
{
    create();
    const auto mine = open();
    const auto theirs = open();
    ASSERT_TRUE(mine->append(line(*mine, 1, "09:00", u"Firma")).ok());
    ASSERT_TRUE(theirs->refresh().ok());
    std::vector<std::uint8_t> read(mine->recordLength());
    ASSERT_TRUE(mine->read(1, read).ok());

    // A line that the other one is editing cannot be taken, changed or deleted.
    auto lock = theirs->lockRecord(1);
    ASSERT_TRUE(lock.ok());
    const auto refused = mine->lockRecord(1);
    EXPECT_EQ(refused.status().kind(), ErrorKind::locked);
    EXPECT_EQ(refused.status().text(), "otro puesto está usando la línea 1");
    EXPECT_EQ(refused.status().plainText(), "otro puesto está usando la línea") << "for who knows no numbers";
    EXPECT_EQ(mine->update(1, read, line(*mine, 2, "10:00")).kind(), ErrorKind::locked);
    EXPECT_EQ(mine->erase(1, read).kind(), ErrorKind::locked);
    // Its own holder changes it; afterwards what I read no longer holds.
    ASSERT_TRUE(theirs->update(1, read, line(*theirs, 1, "09:30", u"Poder")).ok());
    lock.value().release();
    EXPECT_EQ(mine->update(1, read, line(*mine, 2, "10:00")).kind(), ErrorKind::conflict);
    EXPECT_EQ(mine->erase(1, read).kind(), ErrorKind::conflict) << "nobody here has seen what it holds now";
    EXPECT_EQ(conceptOf(*mine, 1), u"Poder");

    ASSERT_TRUE(support::eraseLine(*theirs, 1).ok());
    EXPECT_EQ(support::eraseLine(*mine, 1).kind(), ErrorKind::conflict);
    EXPECT_TRUE(mine->refresh().ok());
    EXPECT_TRUE(inOrder(*mine).empty());
}

TEST_F(TableTest, ALockThatIsHeldDiesWithItsTable)
{
    create();
    auto mine = open();
    ASSERT_TRUE(mine->append(line(*mine, 1, "09:00")).ok());
    auto lock = mine->lockRecord(1);
    ASSERT_TRUE(lock.ok());
    mine.reset();
    EXPECT_TRUE(open()->lockRecord(1).ok());
    lock.value().release(); // after its table: must touch nothing
}

// A writer that died between its record and the count leaves a whole line behind the count: the next one
// keeps it.
TEST_F(TableTest, AdoptsALineBehindTheCountAndDropsHalfOne)
{
    create();
    {
        const auto table = open();
        ASSERT_TRUE(table->append(line(*table, 1, "09:00", u"primera")).ok());
        ASSERT_TRUE(table->append(line(*table, 2, "09:00", u"segunda")).ok());
    }
    std::string content = readFile(file);
    content[4] = 1;
    writeFile(file, content);
    {
        const auto table = open();
        EXPECT_EQ(table->recordCount(), 2U) << "the first to open adopts it";
        ASSERT_EQ(table->append(line(*table, 3, "09:00", u"tercera")).value(), 3U);
        EXPECT_EQ(conceptOf(*table, 2), u"segunda");
    }
    content = readFile(file);
    content.resize(content.size() - 20); // the end mark and part of the third line
    content[4] = 2;
    writeFile(file, content);
    const auto table = open();
    ASSERT_EQ(table->append(line(*table, 4, "09:00", u"cuarta")).value(), 3U);
    EXPECT_EQ(conceptOf(*table, 3), u"cuarta");
    EXPECT_EQ(readFile(file).back(), '\x1A');
}

TEST_F(TableTest, PackDropsDeletedLinesWhenAlone)
{
    create();
    auto mine = open();
    for (int d = 1; d <= 9; ++d)
        ASSERT_TRUE(mine->append(line(*mine, 10 - d, "09:00", u"x")).ok());
    for (const RecordNumber number : {1U, 4U, 9U})
        ASSERT_TRUE(support::eraseLine(*mine, number).ok());
    auto theirs = open();
    EXPECT_EQ(mine->pack().kind(), ErrorKind::locked);
    EXPECT_EQ(mine->recordCount(), 9U);
    theirs.reset();
    const Status packed = mine->pack();
    ASSERT_TRUE(packed.ok()) << packed.message();
    EXPECT_EQ(mine->recordCount(), 6U);
    EXPECT_EQ(inOrder(*mine), (std::vector<RecordNumber>{6, 5, 4, 3, 2, 1}));
    EXPECT_TRUE(mine->check().ok());
    ASSERT_TRUE(mine->append(line(*mine, 20, "09:00", u"y")).ok());
    EXPECT_EQ(inOrder(*open()).size(), 7U);
}

TEST_F(TableTest, AnOldJournalSaysNothingAboutANewTable)
{
    create();
    std::string journal;
    {
        const auto table = open();
        ASSERT_TRUE(table->append(line(*table, 1, "09:00", u"de otra tabla")).ok());
        journal = readFile(folder.path() / "AGENDA_N.JNL"); // as a killed program leaves it
    }
    std::filesystem::remove(file);
    writeFile(folder.path() / "AGENDA_N.JNL", journal);
    create();
    const auto table = open();
    EXPECT_EQ(table->recordCount(), 0U);
    EXPECT_TRUE(table->check().ok());
}

TEST_F(TableTest, NamesFromOutsideStayInTheFolder)
{
    create();
    std::filesystem::create_directories(folder.path() / "sub");
    for (const char *name : {"AGENDA_N", "agenda_n", "Agenda_N.dbf", "AGENDA_N.DBF"})
        EXPECT_TRUE(findTable(folder.path(), name).ok()) << name;
    for (const char *name : {"", ".", "..", "../AGENDA_N", "sub/AGENDA_N", "..\\AGENDA_N", "C:AGENDA_N",
                             "AGENDA_N ", " AGENDA_N", "CON", "nul.dbf", "LPT1", "/etc/passwd"})
        EXPECT_EQ(findTable(folder.path(), name).status().kind(), ErrorKind::invalidArgument) << name;
    EXPECT_EQ(findTable(folder.path(), "OTRA").status().kind(), ErrorKind::notFound);
    EXPECT_EQ(newTablePath(folder.path(), "nueva").value(), folder.path() / "NUEVA.DBF");
}

} // namespace
