// A table that was copied back from a backup beside the journal of a program that died: the journal is not
// applied to lines of another time. And the other way round: whatever the dead program's own table looks
// like, nothing of the journal is lost.

#include "dbase/Table.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace
{

using namespace dbase;
using support::readFile;
using support::TempFolder;
using support::writeFile;

class Restored : public testing::Test
{
protected:
    TempFolder folder;
    TempFolder after; ///< the files as the dead program left them
    std::string notice;

    static std::filesystem::path dbfIn(const TempFolder &where) { return where.path() / "AGENDA_N.DBF"; }
    static std::filesystem::path asideIn(const TempFolder &where)
    {
        return where.path() / "AGENDA_N.JNL.APARTADO-1";
    }

    std::unique_ptr<Table> open(const TempFolder &where)
    {
        auto opened = Table::open(dbfIn(where), {});
        EXPECT_TRUE(opened.ok()) << opened.status().message();
        if (!opened.ok())
            return nullptr;
        notice = opened.value()->notice();
        return std::move(opened).value();
    }

    void create()
    {
        TableDefinition definition;
        definition.fields = {{"FECHA", FieldType::date, 8},
                             {"HORA", FieldType::character, 5},
                             {"CONCEPTO", FieldType::character, 20}};
        definition.tags = {{"FECHA", "DTOS(FECHA)+HORA"}};
        ASSERT_TRUE(Table::create(dbfIn(folder), definition).ok());
    }

    static std::vector<std::uint8_t> line(const Table &table, int number, const std::string &text)
    {
        auto record = blankRecord(table.recordLength());
        EXPECT_TRUE(writeDate(record, table.fields()[0], {2026, 1 + number / 28 % 12, 1 + number % 28}).ok());
        writeText(record, table.fields()[1], table.codePage(), u"09:00");
        writeText(record, table.fields()[2], table.codePage(), std::u16string(text.begin(), text.end()));
        return record;
    }

    /// @param count  lines that the table is to have.
    static void fill(Table &table, int count)
    {
        for (int number = static_cast<int>(table.recordCount()); number < count; ++number)
            ASSERT_TRUE(table.append(line(table, number, "linea " + std::to_string(number))).ok());
    }

    static void edit(Table &table, RecordNumber number, const std::string &text)
    {
        std::vector<std::uint8_t> before(table.recordLength());
        ASSERT_TRUE(table.read(number, before).ok());
        ASSERT_TRUE(table.update(number, before, line(table, static_cast<int>(number) - 1, text)).ok());
    }

    static std::string textOf(const Table &table, RecordNumber number)
    {
        std::vector<std::uint8_t> record(table.recordLength());
        EXPECT_TRUE(table.read(number, record).ok());
        const auto text = readText(record, table.fields()[2], table.codePage());
        return {text.begin(), text.end()};
    }

    /// The files as they are now, in the folder `after`, with another .DBF where one is given.
    void die(const std::string *table = nullptr)
    {
        for (const char *name : {"AGENDA_N.DBF", "AGENDA_N.MDX", "AGENDA_N.JNL"})
            writeFile(after.path() / name, readFile(folder.path() / name));
        if (table)
            writeFile(dbfIn(after), *table);
    }
};

TEST_F(Restored, AnOlderTableDoesNotGetTheJournalOfALaterOne)
{
    create();
    fill(*open(folder), 10);
    const std::string backup = readFile(dbfIn(folder));
    fill(*open(folder), 20);
    auto table = open(folder);
    edit(*table, 3, "despues de la copia");
    fill(*table, 22);
    die(&backup);
    const std::string journal = readFile(after.path() / "AGENDA_N.JNL");
    {
        const auto restored = open(after);
        ASSERT_NE(restored, nullptr);
        EXPECT_NE(notice.find("AGENDA_N.JNL.APARTADO-1"), std::string::npos) << notice;
        EXPECT_EQ(restored->recordCount(), 10U);
        EXPECT_EQ(textOf(*restored, 3), "linea 2");
        EXPECT_TRUE(restored->check().ok());
        EXPECT_EQ(readFile(asideIn(after)), journal) << "nothing of it is thrown away";
        EXPECT_EQ(readFile(dbfIn(after)), backup) << "byte for byte what was copied back";
        fill(*restored, 12);
        EXPECT_TRUE(restored->check().ok());
    }
    const auto again = open(after);
    EXPECT_EQ(notice, "");
    EXPECT_EQ(again->recordCount(), 12U);
    EXPECT_FALSE(std::filesystem::exists(after.path() / "AGENDA_N.JNL.APARTADO-2"));
}

// The table in every state in which a kill or a power cut may leave it: never shorter than what was flushed.
TEST_F(Restored, TheJournalsOwnTableGetsWhatWasAcknowledged)
{
    create();
    fill(*open(folder), 20);
    const std::string flushed = readFile(dbfIn(folder)); // closed in order: all of it is on disk
    auto table = open(folder);
    edit(*table, 3, "uno");
    edit(*table, 3, "dos");
    fill(*table, 24);
    const std::string written = readFile(dbfIn(folder));
    const std::size_t record = table->recordLength();
    const auto mixed = [&](std::size_t bytesOfNew) {
        return written.substr(0, bytesOfNew) +
               (bytesOfNew < flushed.size() ? flushed.substr(bytesOfNew) : std::string());
    };
    const struct {
        const char *name;
        std::string content;
    } cases[] = {
        {"nothing of it written", flushed},
        {"all of it", written},
        {"header alone", mixed(32)},
        {"header and some lines", mixed(512)},
        {"lines, old header", flushed.substr(0, 32) + written.substr(32)},
        {"one new line and half of the next", written.substr(0, flushed.size() - 1 + record * 3 / 2)},
        {"length grown, zeros in it", flushed + std::string(4 * record, '\0')},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        die(&one.content);
        const auto opened = open(after);
        ASSERT_NE(opened, nullptr);
        EXPECT_EQ(notice, "");
        EXPECT_FALSE(std::filesystem::exists(asideIn(after)));
        EXPECT_EQ(opened->recordCount(), 24U);
        EXPECT_EQ(textOf(*opened, 3), "dos");
        EXPECT_EQ(textOf(*opened, 24), "linea 23");
        EXPECT_TRUE(opened->check().ok());
    }
}

// A table that another program has packed is shorter than it was on disk, and the commits after that are
// about it.
TEST_F(Restored, AfterAForeignPackTheJournalIsAboutTheShorterTable)
{
    create();
    const auto packTo = [&](int lines) {
        std::string content = readFile(dbfIn(folder));
        const std::size_t start = 32 + 3 * 32 + 1;
        const std::size_t length = 1 + 8 + 5 + 20;
        content.resize(start + static_cast<std::size_t>(lines) * length);
        content += '\x1A';
        content[4] = static_cast<char>(lines);
        std::filesystem::resize_file(dbfIn(folder), content.size());
        std::fstream(dbfIn(folder), std::ios::in | std::ios::out | std::ios::binary) << content;
    };
    fill(*open(folder), 20);
    packTo(12); // while nobody has it open
    auto table = open(folder);
    ASSERT_NE(table, nullptr);
    const std::string twelve = readFile(dbfIn(folder));
    fill(*table, 13);
    die(&twelve); // a power cut: the new line is in the journal alone
    EXPECT_EQ(open(after)->recordCount(), 13U);
    EXPECT_EQ(notice, "");

    packTo(5); // and under an open table
    const std::string five = readFile(dbfIn(folder));
    ASSERT_TRUE(table->refresh().ok());
    fill(*table, 6);
    die(&five);
    const auto opened = open(after);
    EXPECT_EQ(opened->recordCount(), 6U);
    EXPECT_EQ(notice, "");
    EXPECT_EQ(textOf(*opened, 6), "linea 5");
    EXPECT_TRUE(opened->check().ok());
}

} // namespace
