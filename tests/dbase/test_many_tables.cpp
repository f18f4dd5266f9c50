// A folder with very many tables: how much of it is read for each. Counted, not timed.

#include "dbase/Table.h"
#include "tests/support/TempFolder.h"

#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>

namespace
{

std::size_t entriesRead = 0;

} // namespace

// In place of the system's call for every library of this program.
extern "C" [[gnu::visibility("default")]] struct dirent *readdir(DIR *folder)
{
    using Call = struct dirent *(DIR *);
    static auto *const real = reinterpret_cast<Call *>(dlsym(RTLD_NEXT, "readdir"));
    ++entriesRead;
    return real(folder);
}

namespace
{

namespace fs = std::filesystem;
using dbase::Table;

fs::path tableOf(const fs::path &folder, int number)
{
    return folder / ("T" + std::to_string(number) + ".DBF");
}

/// Entries of the folder that are read while so many tables are opened, none of which has an index or a
/// journal.
std::size_t readForOpening(int tables, bool readOnly)
{
    const support::TempFolder temp;
    dbase::TableDefinition made;
    made.fields = {{"NOMBRE", dbase::FieldType::character, 10}};
    EXPECT_TRUE(Table::create(tableOf(temp.path(), 0), made).ok());
    const std::string bytes = support::readFile(tableOf(temp.path(), 0));
    for (const auto &entry : fs::directory_iterator(temp.path()))
        fs::remove(entry.path());
    for (int i = 0; i < tables; ++i)
        support::writeFile(tableOf(temp.path(), i), bytes);
    fs::last_write_time(temp.path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
    dbase::OpenOptions options;
    options.readOnly = readOnly;
    entriesRead = 0;
    for (int i = 0; i < tables; ++i)
        EXPECT_TRUE(Table::open(tableOf(temp.path(), i), options).ok());
    return entriesRead;
}

TEST(ManyTables, WhatIsReadOfTheFolderGrowsWithThem)
{
    const int tables = std::getenv("AGENDA_HOSTIL") ? 1000 : 25; // "make hostil"
    for (const bool readOnly : {true, false}) {
        const std::size_t few = readForOpening(tables, readOnly);
        const std::size_t many = readForOpening(4 * tables, readOnly);
        EXPECT_GE(few, static_cast<std::size_t>(tables))
            << "the folder is looked at, or what is counted here is something else";
        EXPECT_LT(many, 6 * few) << (readOnly ? "reading" : "writing");
    }
}

// What is remembered of a folder is not believed for longer than it is so.
TEST(ManyTables, ANameThatComesOrGoesIsSeen)
{
    const support::TempFolder temp;
    dbase::TableDefinition made;
    made.fields = {{"NOMBRE", dbase::FieldType::character, 10}};
    made.tags = {{"NOMBRE", "NOMBRE"}};
    ASSERT_TRUE(Table::create(tableOf(temp.path(), 1), made).ok());
    fs::rename(temp.path() / "T1.MDX", temp.path() / "t1.Mdx");
    const auto tagsSeen = [&] {
        dbase::OpenOptions options;
        options.readOnly = true;
        const auto opened = Table::open(tableOf(temp.path(), 1), options);
        EXPECT_TRUE(opened.ok()) << opened.status().message();
        return opened.ok() ? opened.value()->tags().size() : 0;
    };
    for (int turn = 0; turn < 3; ++turn) {
        EXPECT_EQ(tagsSeen(), 1U) << turn;
        fs::rename(temp.path() / "t1.Mdx", temp.path() / "aparte");
        EXPECT_EQ(tagsSeen(), 0U) << turn;
        fs::rename(temp.path() / "aparte", temp.path() / "t1.Mdx");
    }
}

} // namespace
