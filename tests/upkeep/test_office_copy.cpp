// An office copied and restored while something goes wrong: what it had before is there, or is named.

#include "dbase/ThisProcess.h"
#include "tests/support/TempFolder.h"
#include "upkeep/Archive.h"
#include "upkeep/OfficeCopy.h"
#include "upkeep/Paths.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#if !defined(_WIN32)
#include <sys/stat.h>
#endif

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
        const auto made = upkeep::backUp(zip, both(second), {}, patience, goesOn);
        ASSERT_TRUE(made.ok()) << made.message();
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

// A file may say that it is as long as it likes: what is no line of the table is not read.
TEST_F(OfficeCopy, WhatLiesBehindTheLinesIsNotCopied)
{
    const std::string whole = support::readFile(first);
    fs::resize_file(first, std::uintmax_t{1} << 40U); // all of it a hole
    const fs::path copy = temp.path() / "copia.DBF";
    for (const auto source : {upkeep::Source::inUse, upkeep::Source::laidAside}) {
        const auto status = upkeep::copyTable(first, copy, source, patience);
        ASSERT_TRUE(status.ok()) << status.message();
        EXPECT_EQ(support::readFile(copy).substr(0, whole.size() - 1), whole.substr(0, whole.size() - 1));
        EXPECT_EQ(fs::file_size(copy), whole.size());
    }
}

TEST_F(OfficeCopy, ATableOfACopyThatIsTooLargeIsRefusedWithItsSize)
{
    const fs::path bomb = temp.path() / "bomba.zip";
    const fs::path large = temp.path() / "grande";
    support::writeFile(large, support::readFile(first));
    fs::resize_file(large, 3 * 1024 * 1024);
    ASSERT_TRUE(upkeep::writeArchive(bomb, {{"A/UNA.DBF", large}}, goesOn).ok());
    EXPECT_LT(fs::file_size(bomb), 8192U);
    const auto refused = upkeep::restore(bomb, both(second), patience, goesOn, 1024 * 1024);
    EXPECT_EQ(refused.status().kind(), ErrorKind::unsupported);
    EXPECT_NE(refused.status().text().find("«A/UNA.DBF» ocuparía 3 MiB"), std::string::npos)
        << refused.status().text();
    EXPECT_EQ(linesOf(first), 2);
    const fs::path to = temp.path() / "sale";
    EXPECT_EQ(upkeep::extractFile(bomb, "A/UNA.DBF", to, 1024).kind(), ErrorKind::unsupported);
    EXPECT_FALSE(fs::exists(to));
    EXPECT_TRUE(upkeep::extractFile(bomb, "A/UNA.DBF", to, 3 * 1024 * 1024).ok());
    const auto listed = upkeep::listArchive(bomb);
    ASSERT_TRUE(listed.ok());
    ASSERT_EQ(listed.value().size(), 1U);
    EXPECT_EQ(listed.value()[0].size, 3U * 1024 * 1024);
}

// What nobody asked for is not unpacked, so it cannot be in the way either.
TEST_F(OfficeCopy, OnlyTheTablesOfTheOfficeAreRead)
{
    const fs::path unknown = temp.path() / "desconocida";
    std::mt19937 random(7);
    std::string body;
    for (int i = 0; i < 10000; ++i)
        body += static_cast<char>(random());
    support::writeFile(unknown, body);
    const fs::path mixed = temp.path() / "mezcla.zip";
    const fs::path old = temp.path() / "vieja.DBF";
    create(old, "copied");
    ASSERT_TRUE(upkeep::writeArchive(mixed, {{"A/UNA.DBF", old}, {"B/NADIE.DBF", unknown}}, goesOn).ok());
    std::string bytes = support::readFile(mixed);
    const auto at = bytes.find(body.substr(100, 20)); // what cannot be packed stands there as it is
    ASSERT_NE(at, std::string::npos);
    bytes[at] = static_cast<char>(bytes[at] ^ 0x55);
    support::writeFile(mixed, bytes);
    EXPECT_FALSE(upkeep::checkArchive(mixed, goesOn).ok());
    const auto names = upkeep::restore(mixed, {{"A/UNA.DBF", first}}, patience, goesOn);
    ASSERT_TRUE(names.ok()) << names.status().message();
    EXPECT_EQ(linesOf(first), 1);
}

#if !defined(_WIN32)
TEST_F(OfficeCopy, ACopyIsItsOwnersAloneWhateverTheMaskOfRights)
{
    for (const mode_t mask : {mode_t{0}, mode_t{077}}) {
        const mode_t before = ::umask(mask);
        bool seen = false;
        const auto done = upkeep::backUp(zip, both(second), {}, patience, [&](int) {
            for (const auto &entry : fs::directory_iterator(temp.path())) {
                const std::string name = entry.path().filename().string();
                if (name.find(".tmp") == std::string::npos)
                    continue;
                seen = true;
                EXPECT_TRUE(entry.is_directory()) << name << " stands outside the private folder";
                EXPECT_EQ(entry.status().permissions(), fs::perms::owner_all) << name;
            }
            return true;
        });
        ::umask(before);
        ASSERT_TRUE(done.ok()) << done.message();
        EXPECT_TRUE(seen);
        EXPECT_EQ(fs::status(zip).permissions(), fs::perms(0600));
    }
}
#endif

// What a program that was killed has left is taken away, and nothing that it has not left.
TEST_F(OfficeCopy, LeftoversGoAndWhatIsSomebodysStays)
{
    const fs::path folder = temp.path() / "restos";
    const fs::path away = temp.path() / "ajena";
    fs::create_directories(away);
    support::writeFile(away / "T0.DBF", "de otro");
    const struct {
        std::string name;
        std::vector<std::string> inside; ///< none: a file
        bool old;
        bool goes;
    } cases[] = {
        {"oficina.tmp-Ab12Cd", {"T0.DBF", "T1.DBF", "T0.JNL", "T12.DBF.tmp"}, true, true},
        {"oficina.tmp-0123456789", {"T0.DBF"}, true, true},
        {"copia.zip.tmp-Ab12Cd", {"T0.DBF", "copia.zip", "copia.zip.aB3dE6"}, true, true},
        {"copia.zip.tmp", {}, true, true},
        {"copia.zip.tmp.Ab12Cd", {}, true, true},
        {"oficina.tmp-Nueva1", {"T0.DBF"}, false, false},
        {"nueva.zip.tmp", {}, false, false},
        {"oficina.tmp-conalg", {"carta.txt"}, true, false},
        {"oficina.tmp-a.b", {"T0.DBF"}, true, false},
        {"oficina2.tmp-Ab12Cd", {"T0.DBF"}, true, false},
        {"otro.tmp-Ab12Cd", {"T0.DBF"}, true, false},
        {"copia.zip", {}, true, false},
        {"copia.zip.tmp.a-b", {}, true, false},
        {".zip.tmp", {}, true, false},
    };
    const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(25);
    for (const auto &c : cases) {
        const fs::path path = folder / c.name;
        fs::create_directories(c.inside.empty() ? path.parent_path() : path);
        for (const std::string &name : c.inside)
            support::writeFile(path / name, "x");
        if (c.inside.empty())
            support::writeFile(path, "x");
        if (c.old)
            fs::last_write_time(path, longAgo);
    }
    fs::create_directory_symlink(away, folder / "oficina.tmp-enlace");
    fs::create_directories(folder / "oficina.tmp-dentro");
    fs::create_symlink(away / "T0.DBF", folder / "oficina.tmp-dentro" / "T0.DBF");
    fs::last_write_time(folder / "oficina.tmp-dentro", longAgo);
    fs::last_write_time(away, longAgo);
    upkeep::clearLeftovers(folder);
    for (const auto &c : cases)
        EXPECT_EQ(fs::exists(folder / c.name), !c.goes) << c.name;
    EXPECT_TRUE(fs::exists(folder / "oficina.tmp-conalg" / "carta.txt"));
    EXPECT_EQ(support::readFile(away / "T0.DBF"), "de otro");
    EXPECT_TRUE(fs::is_symlink(folder / "oficina.tmp-enlace"));
    EXPECT_TRUE(fs::is_symlink(folder / "oficina.tmp-dentro" / "T0.DBF"));
    upkeep::clearLeftovers(folder / "no hay");
}

// Others may write in the folder for temporary files: nothing there can be foreseen, or taken for ours.
TEST_F(OfficeCopy, AWorkFolderIsNewAndPrivate)
{
    std::set<fs::path> made;
    for (int i = 0; i < 20; ++i) {
        const auto folder = dbase::makePrivateFolder(temp.path() / "obra-");
        ASSERT_TRUE(folder.ok()) << folder.status().message();
        EXPECT_TRUE(made.insert(folder.value()).second);
        EXPECT_TRUE(dbase::isOwnFolder(folder.value()));
#if !defined(_WIN32)
        EXPECT_EQ(fs::status(folder.value()).permissions(), fs::perms::owner_all);
#endif
    }
    EXPECT_EQ(dbase::makePrivateFolder(temp.path() / "no" / "obra-").status().kind(), ErrorKind::notFound);
    EXPECT_FALSE(dbase::isOwnFolder(first));
    EXPECT_TRUE(dbase::isOwnFile(first));
}

} // namespace
