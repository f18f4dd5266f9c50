// Tables whose file gives way to another one: packed, or with other lines put into it.

#include "dbase/Table.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{

using namespace dbase;

class Rewritten : public testing::Test
{
protected:
    void SetUp() override
    {
        TableDefinition made;
        made.fields = {{"NOMBRE", FieldType::character, 10}};
        made.tags = {{"NOMBRE", "NOMBRE"}};
        ASSERT_TRUE(Table::create(file, made).ok());
    }
    [[nodiscard]] std::unique_ptr<Table> open() const
    {
        OpenOptions options;
        options.durable = false;
        options.lockTimeout = std::chrono::minutes(1); // a slow disk is no failure here
        auto opened = Table::open(file, options);
        EXPECT_TRUE(opened.ok()) << opened.status().message();
        return std::move(opened).value();
    }
    static std::vector<std::uint8_t> row(const Table &table, const std::string &name)
    {
        std::vector<std::uint8_t> bytes(table.recordLength(), ' ');
        std::copy(name.begin(), name.end(), bytes.begin() + 1);
        return bytes;
    }
    static std::vector<std::uint8_t> live(const Table &table, Index *order)
    {
        std::vector<RecordNumber> numbers;
        std::vector<std::uint8_t> rows;
        EXPECT_TRUE(table.liveRows(order, {}, {}, numbers, rows).ok());
        return rows;
    }
    static std::vector<std::uint8_t> both(std::vector<std::uint8_t> one,
                                          const std::vector<std::uint8_t> &other)
    {
        one.insert(one.end(), other.begin(), other.end());
        return one;
    }

    support::TempFolder temp;
    std::filesystem::path file = temp.path() / "T.DBF";
    std::filesystem::path aside = temp.path() / "T.ANTES";
};

TEST_F(Rewritten, OtherLinesComeInOneStepAndTheOldFileStaysAside)
{
    auto table = open();
    ASSERT_TRUE(table->append(row(*table, "viejo")).ok());
    const auto rows = both(row(*table, "z"), row(*table, "a"));
    {
        const auto theirs = open();
        EXPECT_EQ(table->replaceLines(rows, aside).kind(), ErrorKind::locked);
        EXPECT_FALSE(std::filesystem::exists(aside));
    }
    EXPECT_EQ(table->replaceLines(std::span(rows).first(5), aside).kind(), ErrorKind::invalidArgument);
    EXPECT_EQ(live(*table, nullptr), row(*table, "viejo"));
    ASSERT_TRUE(table->replaceLines(rows, aside).ok());
    EXPECT_EQ(live(*table, nullptr), rows);
    EXPECT_EQ(live(*table, table->index("NOMBRE")), both(row(*table, "a"), row(*table, "z")));
    EXPECT_TRUE(table->check().ok());
    EXPECT_NE(support::readFile(aside).find("viejo"), std::string::npos);
    EXPECT_FALSE(table->replaceLines(row(*table, "x"), aside).ok())
        << "what lies aside is never written over";
    EXPECT_EQ(live(*table, nullptr), rows);
    table.reset();
    EXPECT_EQ(live(*open(), nullptr), rows);
}

TEST_F(Rewritten, ReadersKeepTheirFileOrAreToldThatItHasGone)
{
    OpenOptions reading;
    reading.readOnly = true;
    ASSERT_TRUE(open()->append(row(*open(), "a")).ok()); // closed in order
    {
        const auto reader = Table::open(file, reading);
        ASSERT_TRUE(reader.ok());
        EXPECT_EQ(open()->pack().kind(), ErrorKind::locked);
        EXPECT_TRUE(reader.value()->refresh().ok());
    }
    EXPECT_TRUE(open()->pack().ok());
    {
        const auto writer = open(); // somebody has put everything in order
        const auto reader = Table::open(file, reading);
        ASSERT_TRUE(reader.ok());
        EXPECT_EQ(writer->pack().kind(), ErrorKind::locked);
    }
    // A journal of somebody who died: a reader that joined would pass for one who has mended the table.
    const auto jnl = temp.path() / "T.JNL";
    auto writer = open();
    ASSERT_TRUE(writer->append(row(*writer, "b")).ok());
    const std::string journal = support::readFile(jnl);
    writer.reset();
    support::writeFile(jnl, journal);
    const auto reader = Table::open(file, reading);
    ASSERT_TRUE(reader.ok());
    writer = open();
    EXPECT_TRUE(reader.value()->refresh().ok());
#if defined(_WIN32)
    // A file that somebody has open keeps its name there: the table stays as it is, for both.
    EXPECT_FALSE(writer->replaceLines(row(*writer, "c"), aside).ok());
    EXPECT_TRUE(reader.value()->refresh().ok());
#else
    EXPECT_TRUE(writer->replaceLines(row(*writer, "c"), aside).ok());
    EXPECT_EQ(reader.value()->refresh().status().kind(), ErrorKind::inputOutput);
#endif
}

#if !defined(_WIN32)
TEST_F(Rewritten, TheNewFileHasTheRightsOfTheOldOne)
{
    using std::filesystem::perms;
    for (const perms rights : {perms(0600), perms(0660), perms(0664)}) {
        std::filesystem::permissions(file, rights);
        const auto table = open();
        ASSERT_TRUE(table->replaceLines(row(*table, "a"), aside).ok());
        EXPECT_EQ(std::filesystem::status(file).permissions(), rights);
        EXPECT_EQ(std::filesystem::status(aside).permissions(), rights);
        ASSERT_TRUE(table->pack().ok());
        EXPECT_EQ(std::filesystem::status(file).permissions(), rights);
        std::filesystem::remove(aside);
    }
}
#endif

TEST_F(Rewritten, WhoOpensATableWhileItIsPackedWritesIntoTheNewFile)
{
    constexpr int lines = 150;
    std::atomic<bool> stop = false;
    std::atomic<int> packed = 0;
    std::thread packer([&] {
        while (!stop) {
            if (open()->pack().ok())
                ++packed;
        }
    });
    for (int i = 0; i < lines; ++i) {
        const auto table = open();
        EXPECT_TRUE(table->append(row(*table, std::to_string(i))).ok());
    }
    stop = true;
    packer.join();
    EXPECT_GT(packed, 0);
    EXPECT_EQ(open()->recordCount(), static_cast<RecordNumber>(lines));
    EXPECT_TRUE(open()->check().ok());
}

} // namespace
