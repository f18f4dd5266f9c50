// Table files that cannot be right are refused with the reason and stay as they are, byte for byte; odd ones
// that can be right work in full.

#include "dbase/Table.h"
#include "tests/support/Bounds.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace
{

using namespace dbase;
using support::readFile;
using support::WithinBounds;
using support::writeFile;

class MalformedTable : public testing::Test
{
protected:
    static constexpr std::size_t countAt = 4;
    static constexpr std::size_t headerLengthAt = 8;
    static constexpr std::size_t recordLengthAt = 10;
    static constexpr std::size_t fieldAt = 32; // FECHA, HORA, IMPORTE
    static constexpr std::size_t fieldSize = 32;
    static constexpr std::size_t typeAt = 11;
    static constexpr std::size_t widthAt = 16;
    static constexpr std::size_t decimalsAt = 17;
    static constexpr std::size_t hour = fieldAt + fieldSize;
    static constexpr std::size_t amount = hour + fieldSize;
    static constexpr std::size_t endOfFields = amount + fieldSize;
    static constexpr std::size_t firstLine = endOfFields + 1;
    static constexpr std::size_t lineLength = 1 + 8 + 5 + 10;
    static constexpr RecordNumber linesInTable = 3;

    support::TempFolder folder;
    std::filesystem::path file = folder.path() / "AGENDA_N.DBF";
    std::filesystem::path journal = folder.path() / "AGENDA_N.JNL";
    std::string good;
    std::string goodJournal;

    void SetUp() override
    {
        TableDefinition definition;
        definition.fields = {{"FECHA", FieldType::date, 8},
                             {"HORA", FieldType::character, 5},
                             {"IMPORTE", FieldType::numeric, 10, 2}};
        ASSERT_TRUE(Table::create(file, definition).ok());
        auto opened = Table::open(file);
        ASSERT_TRUE(opened.ok());
        for (RecordNumber number = 1; number <= linesInTable; ++number) {
            auto record = blankRecord(lineLength);
            const auto &fields = opened.value()->fields();
            ASSERT_TRUE(writeDate(record, fields[0], {2026, 3, static_cast<int>(number)}).ok());
            writeText(record, fields[1], CodePage::windows1252, u"09:00");
            ASSERT_TRUE(writeNumber(record, fields[2], 12.5).ok());
            ASSERT_TRUE(opened.value()->append(record).ok());
        }
        ASSERT_TRUE(Table::close(std::move(opened).value()).ok());
        good = readFile(file);
        goodJournal = readFile(journal);
        ASSERT_EQ(good.size(), firstLine + linesInTable * lineLength + 1);
    }
    static std::string le16(std::size_t value)
    {
        return {static_cast<char>(value), static_cast<char>(value >> 8U)};
    }
    [[nodiscard]] std::string with(std::size_t at, const std::string &part) const
    {
        return std::string(good).replace(at, part.size(), part);
    }
    /// A table of blank lines with so many text fields of one character.
    [[nodiscard]] static std::string ofManyFields(std::size_t fields, RecordNumber lines)
    {
        std::string bytes =
            std::string("\x03\x7E\x03\x01", 4) + static_cast<char>(lines) + std::string(3, '\0');
        bytes += le16(32 + fields * 32 + 1) + le16(1 + fields) + std::string(17, '\0') + "\x03" +
                 std::string(2, '\0');
        for (std::size_t field = 0; field < fields; ++field) {
            std::string name = "F" + std::to_string(field);
            name.resize(typeAt, '\0');
            bytes += name + "C" + std::string(4, '\0') + "\x01" + std::string(15, '\0');
        }
        return bytes + "\r" + std::string(lines * (1 + fields), ' ') + "\x1A";
    }
    void expectRefused(const std::string &content, ErrorKind kind) const
    {
        const WithinBounds bounds;
        const auto opened = Table::open(file, {});
        EXPECT_EQ(opened.status().kind(), kind) << opened.status().message();
        EXPECT_NE(opened.status().message().find("AGENDA_N.DBF"), std::string::npos);
        EXPECT_FALSE(opened.status().text().empty());
        EXPECT_EQ(readFile(file), content);
    }
    void put(const std::string &content, bool withJournal) const
    {
        for (const auto &beside : {journal, folder.path() / "AGENDA_N.MDX"})
            std::filesystem::remove(beside);
        writeFile(file, content);
        if (withJournal)
            writeFile(journal, goodJournal);
    }
};

TEST_F(MalformedTable, IsRefusedAndLeftAsItWas)
{
    const std::string zero(1, '\0');
    const struct {
        const char *name;
        std::string content;
        ErrorKind kind = ErrorKind::damaged;
    } cases[] = {
        {"empty", ""},
        {"one byte", good.substr(0, 1)},
        {"cut in the header", good.substr(0, fieldAt + 8)},
        {"cut in the list of fields", good.substr(0, hour + 5)},
        {"cut before the end of the list", good.substr(0, endOfFields)},
        {"zeros", std::string(good.size(), '\0')},
        {"garbage", std::string(good.size(), '\xA5')},
        {"not a table", with(0, "PK")},
        {"memo table", with(0, "\x8B"), ErrorKind::unsupported},
        {"level 7", with(0, "\x04"), ErrorKind::unsupported},
        {"encrypted", with(15, "\1"), ErrorKind::unsupported},
        {"language of a code page that is not carried", with(29, "\x64"), ErrorKind::unsupported},
        {"header of no length", with(headerLengthAt, le16(0))},
        {"header that ends in the fixed part", with(headerLengthAt, le16(31))},
        {"header that ends in a field", with(headerLengthAt, le16(hour + 8))},
        {"header that ends before the end of the list", with(headerLengthAt, le16(endOfFields))},
        {"header beyond the file", with(headerLengthAt, le16(good.size() + 1))},
        {"header of 65535 bytes", with(headerLengthAt, le16(65535))},
        {"lines of no length", with(recordLengthAt, le16(0))},
        {"lines of one byte", with(recordLengthAt, le16(1))},
        {"lines shorter than their fields", with(recordLengthAt, le16(lineLength - 1))},
        {"lines longer than their fields", with(recordLengthAt, le16(lineLength + 1))},
        {"lines of 65535 bytes", with(recordLengthAt, le16(65535))},
        {"2147483647 lines", with(countAt, "\xFF\xFF\xFF\x7F")},
        {"4294967295 lines", with(countAt, "\xFF\xFF\xFF\xFF")},
        {"no end of the list of fields", with(endOfFields, " ")},
        {"no field", with(fieldAt, "\r")},
        {"a field less than the lines have", with(amount, "\r")},
        {"256 fields", ofManyFields(256, 1)},
        {"2046 fields, as many as a header holds", ofManyFields(2046, 1)},
        {"field without a name", with(hour, std::string(typeAt, '\0'))},
        {"field whose name is blank", with(hour, std::string(4, ' '))},
        {"field whose name has no end", with(hour, std::string(typeAt, 'A'))},
        {"field with an unprintable name", with(hour, "\x01\x02")},
        {"two fields of one name", with(amount, std::string("HORA\0\0\0", 7))},
        {"two fields of one name in other letters", with(amount, std::string("hora\0\0\0", 7))},
        {"field of no known type", with(hour + typeAt, "@")},
        {"field that is a memo", with(hour + typeAt, "M"), ErrorKind::unsupported},
        {"text of no width", with(hour + widthAt, zero)},
        {"text over the end of the line", with(hour + widthAt, "\xFF")},
        {"number of no width", with(amount + widthAt, zero)},
        {"number of 33 digits", with(amount + widthAt, "\x21")},
        {"number of 255 digits", with(amount + widthAt, "\xFF")},
        {"number of nothing but decimals", with(amount + decimalsAt, "\x0A")},
        {"number of 255 decimals", with(amount + decimalsAt, "\xFF")},
        {"date of 7 bytes", with(fieldAt + widthAt, "\x07")},
        {"logical of 5 bytes", with(hour + typeAt, "L")},
    };
    for (const auto &one : cases) {
        for (const bool withJournal : {true, false}) {
            SCOPED_TRACE(std::string(one.name) + (withJournal ? "" : ", no journal"));
            put(one.content, withJournal);
            expectRefused(one.content, one.kind);
        }
    }
    // Only where there is a journal can a power cut have left such a count, see below.
    const std::string content = with(countAt, "\x04");
    put(content, false);
    expectRefused(content, ErrorKind::damaged);
}

TEST_F(MalformedTable, WorksWhereItCanBeRight)
{
    std::string deleted = good;
    for (RecordNumber number = 0; number < linesInTable; ++number)
        deleted[firstLine + number * lineLength] = '*';
    const struct {
        const char *name;
        std::string content;
        RecordNumber lines = linesInTable;
        std::size_t live = linesInTable;
        bool withJournal = false;
        const char *notice = "";
    } cases[] = {
        {"one line more than the file holds", with(countAt, "\x04"), linesInTable, linesInTable, true,
         "faltan al final de la tabla 1 líneas"},
        {"fewer lines than the file holds", with(countAt, "\x01")},
        {"end mark in a line", with(firstLine + lineLength + 9, "\x1A\x1A")},
        {"no end mark", good.substr(0, good.size() - 1)},
        {"something else than the end mark", with(good.size() - 1, "\xA5")},
        {"garbage in a date and in a number", with(firstLine + 1, "2026XX02*****-1-2-3----")},
        {"all lines deleted", deleted, linesInTable, 0},
        {"no lines", ofManyFields(1, 0), 0, 0},
        {"129 fields", ofManyFields(129, 2), 2, 2},
        {"255 fields", ofManyFields(255, 2), 2, 2},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        put(one.content, one.withJournal);
        const WithinBounds bounds;
        const auto lives = [](const Table &table) {
            std::vector<RecordNumber> numbers;
            EXPECT_TRUE(table.liveRecords(nullptr, {}, {}, numbers).ok());
            return numbers.size();
        };
        {
            auto opened = Table::open(file);
            ASSERT_TRUE(opened.ok()) << opened.status().message();
            Table &table = *opened.value();
            EXPECT_NE(table.notice().find(one.notice), std::string::npos) << table.notice();
            EXPECT_EQ(table.notice().empty(), std::string(one.notice).empty()) << table.notice();
            EXPECT_EQ(table.recordCount(), one.lines);
            EXPECT_EQ(lives(table), one.live);
            EXPECT_EQ(table.append(blankRecord(table.recordLength())).value(), one.lines + 1);
            EXPECT_TRUE(table.check().ok()) << table.check().message();
            EXPECT_TRUE(Table::close(std::move(opened).value()).ok());
        }
        const std::string after = readFile(file);
        const std::size_t before = std::min(one.content.size(), after.size()) - 1;
        EXPECT_EQ(after.substr(headerLengthAt, before - headerLengthAt),
                  one.content.substr(headerLengthAt, before - headerLengthAt))
            << "the lines are as they were";
        const auto again = Table::open(file);
        ASSERT_TRUE(again.ok()) << again.status().message();
        EXPECT_EQ(lives(*again.value()), one.live + 1);
        EXPECT_TRUE(again.value()->pack().ok());
        EXPECT_EQ(again.value()->recordCount(), one.live + 1);
    }
}

TEST(Bounds, AreMissedByWhoTakesTooMuchMemory)
{
    if (!support::peakMemory())
        GTEST_SKIP() << "not known here";
    EXPECT_NONFATAL_FAILURE(
        {
            const WithinBounds bounds;
            const std::string much(WithinBounds::mostMemory + std::size_t{1024} * 1024, 'x');
            EXPECT_EQ(much.back(), 'x');
        },
        "mostMemory");
    const WithinBounds bounds; // what was before does not count
    const std::string little(std::size_t{1024} * 1024, 'x');
    EXPECT_EQ(little.back(), 'x');
}

} // namespace
