// An office copied and restored while something goes wrong: what it had before is there, or is named.

#include "tests/support/TempFolder.h"
#include "upkeep/Archive.h"
#include "upkeep/OfficeCopy.h"
#include "upkeep/Paths.h"

#include <gtest/gtest.h>

namespace
{

namespace fs = std::filesystem;
using dbase::ErrorKind;
using dbase::Table;
using upkeep::OfficeTable;

constexpr auto patience = std::chrono::milliseconds(100);
const auto goesOn = [](int) { return true; };

class OfficeCopy : public testing::Test
{
protected:
    void SetUp() override
    {
        for (const fs::path &file : {first, second})
            create(file, "copied");
        ASSERT_TRUE(upkeep::backUp(zip, both(second), {}, patience, goesOn).ok());
        for (const fs::path &file : {first, second}) {
            const auto table = open(file);
            const auto row = rowOf(*table, "later");
            ASSERT_TRUE(table->append(row).ok());
        }
    }
    [[nodiscard]] std::vector<OfficeTable> both(const fs::path &other) const
    {
        return {{"A/UNA.DBF", first}, {"A/OTRA.DBF", other}};
    }
    static void create(const fs::path &file, const std::string &text)
    {
        dbase::TableDefinition made;
        made.fields = {{"NOMBRE", dbase::FieldType::character, 10}};
        ASSERT_TRUE(Table::create(file, made).ok());
        const auto table = open(file);
        ASSERT_TRUE(table->append(rowOf(*table, text)).ok());
    }
    static std::unique_ptr<Table> open(const fs::path &file)
    {
        auto opened = Table::open(file);
        EXPECT_TRUE(opened.ok()) << opened.status().message();
        return std::move(opened).value();
    }
    static std::vector<std::uint8_t> rowOf(const Table &table, const std::string &text)
    {
        std::vector<std::uint8_t> bytes(table.recordLength(), ' ');
        std::copy(text.begin(), text.end(), bytes.begin() + 1);
        return bytes;
    }
    static int linesOf(const fs::path &file)
    {
        dbase::OpenOptions reading;
        reading.readOnly = true;
        const auto table = Table::open(file, reading);
        return table.ok() ? static_cast<int>(table.value()->recordCount()) : -1;
    }

    support::TempFolder temp;
    fs::path zip = temp.path() / "copia.zip";
    fs::path first = temp.path() / "UNA.DBF";
    fs::path second = temp.path() / "OTRA.DBF";
    /// No table, and nothing can be put beside it under a longer name.
    fs::path stuck = temp.path() / (std::string(245, 'X') + ".DBF");
};

TEST_F(OfficeCopy, ComesBackWithItsRightsAndLeavesNothing)
{
    support::writeFile(second, "no table");
    fs::permissions(second, fs::perms(0660));
    ASSERT_TRUE(upkeep::restore(zip, both(second), patience, goesOn).ok());
    EXPECT_EQ(linesOf(first), 1);
    EXPECT_EQ(linesOf(second), 1);
    EXPECT_EQ(fs::status(second).permissions(), fs::perms(0660));
    for (const auto &entry : fs::directory_iterator(temp.path()))
        EXPECT_EQ(entry.path().string().find("ANTERIOR"), std::string::npos) << entry.path();
}

TEST_F(OfficeCopy, ACopyOfATableThatIsStoppedLeavesNothing)
{
    const fs::path folder = temp.path() / "copias";
    fs::create_directories(folder);
    const auto asked = [](int percent) {
        EXPECT_EQ(percent, 0);
        return false;
    };
    const auto status = upkeep::copyTable(first, folder / "UNA.DBF", upkeep::Source::inUse, patience, asked);
    EXPECT_EQ(status.kind(), ErrorKind::invalidArgument);
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(OfficeCopy, FilesThatCannotBePutAsideStay)
{
    support::writeFile(stuck, "no table");
    EXPECT_FALSE(upkeep::restore(zip, both(stuck), patience, goesOn).ok());
    EXPECT_EQ(support::readFile(stuck), "no table");
    EXPECT_EQ(linesOf(first), 2) << "the other one got its lines back";
}

TEST_F(OfficeCopy, LinesThatCannotComeBackStayAsideAndAreNamed)
{
    support::writeFile(stuck, "no table");
    const fs::path aside = temp.path() / "UNA.DBF.ANTERIOR-1";
    std::unique_ptr<Table> other;
    for (const int round : {1, 2}) { // the second finds what the first has left
        const auto outcome = upkeep::restore(zip, both(stuck), patience, [&](int percent) {
            if (percent > 60) // the first table has been replaced
                other = open(first);
            return true;
        });
        other.reset();
        EXPECT_EQ(outcome.status().kind(), ErrorKind::inputOutput);
        EXPECT_NE(outcome.status().text().find("UNA.DBF.ANTERIOR-" + std::to_string(round)),
                  std::string::npos)
            << outcome.status().message();
        EXPECT_EQ(linesOf(aside), 2) << "the lines of before the first round";
        EXPECT_EQ(linesOf(first), 1);
    }
}

TEST_F(OfficeCopy, AFileIsNotPutInThePlaceOfATableInUse)
{
    const auto other = open(second);
    fs::rename(second, temp.path() / "salvada"); // others work on in the file
    EXPECT_EQ(upkeep::restore(zip, both(second), patience, goesOn).status().kind(), ErrorKind::locked);
    EXPECT_FALSE(fs::exists(second));
    EXPECT_EQ(linesOf(first), 2);
}

} // namespace
