// A table that was copied back from a backup beside the journal of a program that died: the journal is not
// applied to lines of another time. And the other way round: whatever the dead program's own table looks
// like, nothing of the journal is lost.

#include "tests/dbase/DyingPrograms.h"

namespace
{

using Restored = DyingPrograms;

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
