// Files that another program makes shorter, or writes anew in their place, while a table has them open: what
// was read is never believed when it was not there, nothing crashes, and the table finds its way back.

#include "dbase/Table.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace
{

using namespace dbase;
using support::readFile;
using support::TempFolder;
using support::writeFile;

constexpr int linesToCut = 3000; // an index of many blocks on two levels

class CutFiles : public testing::Test
{
protected:
    TempFolder folder;
    std::filesystem::path dbf = folder.path() / "AGENDA_N.DBF";
    std::filesystem::path mdx = folder.path() / "AGENDA_N.MDX";
    std::filesystem::path jnl = folder.path() / "AGENDA_N.JNL";
    std::unique_ptr<Table> table;
    std::vector<std::uint8_t> someKey;

    void SetUp() override
    {
        TableDefinition definition;
        definition.fields = {{"FECHA", FieldType::date, 8}, {"HORA", FieldType::character, 5}};
        definition.tags = {{"FECHA", "DTOS(FECHA)+HORA"}};
        ASSERT_TRUE(Table::create(dbf, definition).ok());
        open();
        ASSERT_TRUE(table->beginGroup().ok());
        for (int number = 0; number < linesToCut; ++number)
            ASSERT_TRUE(table->append(line(number)).ok());
        ASSERT_TRUE(table->commitGroup().ok());
        const auto key = table->index("FECHA")->expression().keyOf(line(linesToCut / 2));
        someKey.assign(key.bytes().begin(), key.bytes().end());
    }

    void open()
    {
        table.reset();
        OpenOptions options;
        options.durable = false;
        options.lockTimeout = std::chrono::milliseconds(100);
        auto opened = Table::open(dbf, options);
        ASSERT_TRUE(opened.ok()) << opened.status().message();
        table = std::move(opened).value();
    }

    [[nodiscard]] std::vector<std::uint8_t> line(int number) const
    {
        auto record = blankRecord(table ? table->recordLength() : 14);
        const int day = number / 4;
        EXPECT_TRUE(writeDate(record, {"FECHA", FieldType::date, 8, 0, 1},
                              {2000 + day / 336, 1 + day / 28 % 12, 1 + day % 28})
                        .ok());
        constexpr const char16_t *hours[] = {u"09:00", u"10:30", u"16:00", u"18:30"};
        writeText(record, {"HORA", FieldType::character, 5, 0, 9}, CodePage::windows1252, hours[number % 4]);
        return record;
    }

    void expectWhole(std::size_t lines) const
    {
        std::vector<RecordNumber> found;
        const Status read = table->liveRecords(table->index("FECHA"), {}, {}, found);
        EXPECT_TRUE(read.ok()) << read.message();
        EXPECT_EQ(found.size(), lines);
        const Status status = table->check();
        EXPECT_TRUE(status.ok()) << status.message();
    }
};

enum class Reading { seek, range, everything, change, refresh };

/// One question; when it is answered, the answer must be the right one.
Status ask(Table &table, Reading how, std::span<const std::uint8_t> key, std::span<const std::uint8_t> added,
           std::size_t lines)
{
    std::vector<RecordNumber> found;
    switch (how) {
    case Reading::seek: {
        const auto entry = table.index("FECHA")->find(key);
        if (entry.ok()) {
            EXPECT_TRUE(entry.value().has_value()) << "a line that is there was not found";
        }
        return entry.status();
    }
    case Reading::range: {
        const auto day = key.first(8);
        const Status status = table.liveRecords(table.index("FECHA"), day, day, found);
        if (status.ok()) {
            EXPECT_EQ(found.size(), 4U);
        }
        return status;
    }
    case Reading::everything: {
        const Status status = table.liveRecords(table.index("FECHA"), {}, {}, found);
        if (status.ok()) {
            EXPECT_EQ(found.size(), lines);
        }
        return status;
    }
    case Reading::change:
        return table.append(added).status();
    case Reading::refresh:
        return table.refresh().status();
    }
    return {};
}

TEST_F(CutFiles, AnIndexCutOffIsToldOrMadeAnew)
{
    const auto whole = std::filesystem::file_size(mdx);
    ASSERT_GT(whole, 61440U);
    std::size_t lines = linesToCut;
    for (const std::uintmax_t size :
         {std::uintmax_t{0}, std::uintmax_t{100}, std::uintmax_t{2048}, std::uintmax_t{5120}, whole / 2,
          whole / 2 + 300, whole - 1024, whole - 512}) {
        for (const Reading how : {Reading::seek, Reading::range, Reading::everything, Reading::change}) {
            SCOPED_TRACE(std::to_string(size) + " bytes, reading " + std::to_string(static_cast<int>(how)));
            std::filesystem::resize_file(mdx, size);
            const Status first = ask(*table, how, someKey, line(linesToCut), lines);
            lines = table->recordCount();
            if (!first.ok()) {
                EXPECT_EQ(first.kind(), ErrorKind::damaged) << first.message();
                EXPECT_NE(first.message().find("AGENDA_N"), std::string::npos) << first.message();
            }
            // The next question finds the index in order.
            const Status second = ask(*table, Reading::everything, someKey, {}, lines);
            EXPECT_TRUE(second.ok() || first.ok()) << second.message();
            expectWhole(lines);
        }
    }
}

// A program that writes the index anew in its place makes it short for a moment; later the file is whole
// again.
TEST_F(CutFiles, AnIndexThatWasShortForAMomentIsReadAsItIsNow)
{
    const std::string good = readFile(mdx);
    for (const Reading how : {Reading::seek, Reading::everything}) {
        std::filesystem::resize_file(mdx, 8192);
        std::ignore = ask(*table, how, someKey, {}, linesToCut);
        writeFile(mdx, good);
        std::ignore = ask(*table, how, someKey, {}, linesToCut);
        expectWhole(linesToCut);
    }
}

TEST_F(CutFiles, ATableCutOffIsRefusedAndNotWrittenTo)
{
    const std::string good = readFile(dbf);
    std::vector<std::uint8_t> record(table->recordLength());
    for (const std::size_t size : {std::size_t{0}, std::size_t{3}, std::size_t{40}, std::size_t{2000}}) {
        for (const Reading how : {Reading::change, Reading::refresh, Reading::everything}) {
            SCOPED_TRACE(std::to_string(size) + " bytes, reading " + std::to_string(static_cast<int>(how)));
            std::filesystem::resize_file(dbf, size);
            const Status status = how == Reading::everything ? table->read(linesToCut, record)
                                                             : ask(*table, how, someKey, line(0), linesToCut);
            if (how != Reading::refresh) {
                EXPECT_EQ(status.kind(), ErrorKind::damaged) << status.message();
            }
            EXPECT_EQ(std::filesystem::file_size(dbf), size);
            writeFile(dbf, good);
        }
    }
    open(); // the content is back: so is the table
    expectWhole(linesToCut);
}

TEST_F(CutFiles, AJournalCutOffIsToldUntilTheTableIsOpenedAgain)
{
    for (const std::uintmax_t size : {std::uintmax_t{0}, std::uintmax_t{50}}) {
        std::filesystem::resize_file(jnl, size);
        for (const Reading how : {Reading::seek, Reading::range, Reading::change, Reading::refresh}) {
            const Status status = ask(*table, how, someKey, line(0), linesToCut);
            EXPECT_EQ(status.kind(), ErrorKind::damaged) << status.message();
            EXPECT_NE(status.message().find("diario"), std::string::npos) << status.message();
        }
        open();
        expectWhole(linesToCut);
    }
}

} // namespace
