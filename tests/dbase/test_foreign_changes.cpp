// Programs that know nothing of the journal change a table, or its files, while ours have it open or have
// died over it.

#include "tests/dbase/DyingPrograms.h"

#include <algorithm>
#include <functional>

namespace
{

using ForeignChanges = DyingPrograms;

constexpr std::size_t headerLength = 32 + 3 * 32 + 1;
constexpr std::size_t lineLength = 1 + 8 + 5 + 20;

std::size_t offsetOf(RecordNumber number)
{
    return headerLength + (number - 1) * lineLength;
}

/// Writes into a file as it lies there, as a program does that has it open.
void poke(const std::filesystem::path &file, std::size_t at, const std::string &bytes)
{
    std::fstream out(file, std::ios::binary | std::ios::in | std::ios::out);
    out.seekp(static_cast<std::streamoff>(at));
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(out.good());
}

void pokeCount(std::string &table, std::uint32_t count)
{
    for (std::size_t i = 0; i < 4; ++i)
        table[4 + i] = static_cast<char>(count >> (8 * i) & 0xFFU);
}

/// What others have written into a line since our commit stays, although the commit is done again after we
/// died.
TEST_F(ForeignChanges, OutliveACommitThatIsDoneAgain)
{
    create();
    fill(*open(folder), 5);
    const std::string before = readFile(dbfIn(folder)).substr(offsetOf(3), lineLength);
    std::string strange = before;
    strange.replace(20, 5, "\r\n\t-x");
    const struct {
        const char *name;
        std::string bytes;
        bool seen; ///< by a refresh of ours, before we died
    } cases[] = {{"set back to what it was", before, true},
                 {"with bytes that no text of ours has", strange, false}};
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        auto table = open(folder);
        edit(*table, 3, "cambiada por nosotros");
        ASSERT_TRUE(table->refresh().ok());
        poke(dbfIn(folder), offsetOf(3), one.bytes);
        if (one.seen) {
            ASSERT_TRUE(table->refresh().ok());
        }
        die();
        ASSERT_NE(open(after), nullptr);
        EXPECT_EQ(readFile(dbfIn(after)).substr(offsetOf(3), lineLength), one.bytes);
        poke(dbfIn(folder), offsetOf(3), before);
    }
}

TEST_F(ForeignChanges, AnotherFileInTheTablesPlaceIsTold)
{
    create();
    fill(*open(folder), 5);
    for (const char *name : {"AGENDA_N.DBF", "AGENDA_N.JNL"}) {
        SCOPED_TRACE(name);
        auto table = open(folder);
        const auto file = folder.path() / name;
        std::filesystem::copy_file(file, folder.path() / "otro");
        std::error_code error;
        std::filesystem::rename(folder.path() / "otro", file, error);
        if (error)
            GTEST_SKIP() << "an open file keeps its place here";
        EXPECT_EQ(table->refresh().status().kind(), ErrorKind::inputOutput);
        EXPECT_EQ(table->append(line(*table, 5, "para nadie")).status().kind(), ErrorKind::inputOutput);
    }
}

TEST_F(ForeignChanges, ACountThatWasBrokenForAWhileIsForgottenWithIt)
{
    create();
    const auto table = open(folder);
    fill(*table, 5);
    ASSERT_TRUE(table->refresh().ok());
    const std::string sound = readFile(dbfIn(folder)).substr(0, 12);
    std::string broken = sound;
    pokeCount(broken, 5000);
    poke(dbfIn(folder), 0, broken);
    for (int look = 0; look < 2; ++look) // the first one only suspects
        static_cast<void>(table->refresh());
    EXPECT_EQ(table->refresh().status().kind(), ErrorKind::damaged);
    poke(dbfIn(folder), 0, sound);
    EXPECT_TRUE(table->refresh().ok());
    EXPECT_EQ(table->recordCount(), 5U);
    EXPECT_TRUE(table->append(line(*table, 6, "otra")).ok());
}

/// A count that goes beyond the lines: what a power cut leaves when the header came and the lines did not.
/// Where nothing tells what was there before, or more is gone than that, the file is left as it is.
TEST_F(ForeignChanges, LinesThatNeverCameAreGivenUpWhereTheJournalKnowsTheOthers)
{
    create();
    fill(*open(folder), 5);
    die();
    const std::string journal = readFile(after.path() / "AGENDA_N.JNL");
    std::string counted = readFile(dbfIn(after));
    pokeCount(counted, 6);
    std::string zeros = counted;
    zeros.insert(zeros.size() - 1, std::string(lineLength, '\0'));
    std::string shorter = counted.substr(0, offsetOf(5)) + '\x1A';
    std::string nothing = counted;
    nothing.replace(offsetOf(5), lineLength, lineLength, '\x01');
    const struct {
        const char *name;
        std::string table;
        bool withJournal;
        bool opens;
    } cases[] = {{"one line more in the header", counted, true, true},
                 {"the same, and zeros where it should be", zeros, true, true},
                 {"one line fewer than were safe", shorter, true, false},
                 {"no journal", nothing, false, false}};
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        for (const char *name : {"AGENDA_N.MDX", "AGENDA_N.JNL"})
            std::filesystem::remove(after.path() / name);
        writeFile(dbfIn(after), one.table);
        if (one.withJournal)
            writeFile(after.path() / "AGENDA_N.JNL", journal);
        const auto opened = Table::open(dbfIn(after), {});
        ASSERT_EQ(opened.ok(), one.opens) << opened.status().message();
        if (!one.opens) {
            EXPECT_EQ(opened.status().kind(), ErrorKind::damaged);
            EXPECT_EQ(readFile(dbfIn(after)), one.table);
            continue;
        }
        EXPECT_EQ(opened.value()->recordCount(), 5U);
        EXPECT_NE(opened.value()->notice().find("faltan"), std::string::npos);
        EXPECT_TRUE(opened.value()->check().ok());
    }
}

/// What a power cut has left behind a gap in the journal does not follow on the next commit.
TEST_F(ForeignChanges, ACommitBehindAGapStaysDead)
{
    create();
    fill(*open(folder), 5);
    die();
    const std::string start = readFile(dbfIn(after));
    const std::string index = readFile(after.path() / "AGENDA_N.MDX");
    std::string header;
    OpenOptions hasty;
    hasty.durable = false;
    {
        auto table = open(folder, hasty);
        ASSERT_TRUE(table->reindex().ok()); // leaves an empty journal that is in use
        header = readFile(folder.path() / "AGENDA_N.JNL").substr(0, 512);
        fill(*table, 6);
        edit(*table, 2, "no llego a nada");
        die(&start);
    }
    writeFile(after.path() / "AGENDA_N.MDX", index);
    // Neither the first of both nor a header that tells of them has arrived.
    poke(after.path() / "AGENDA_N.JNL", 0, header + std::string(512, '\0'));
    auto table = open(after);
    ASSERT_NE(table, nullptr);
    fill(*table, 6);
    ASSERT_TRUE(open(after)->refresh().ok());
    EXPECT_EQ(textOf(*table, 2), "linea 1");
    EXPECT_EQ(table->recordCount(), 6U);
}

/// The last sector of a journal that has grown is as good as the others.
TEST_F(ForeignChanges, ACommitAtTheEndOfAJournalIsFound)
{
    create();
    OpenOptions hasty;
    hasty.durable = false;
    auto table = open(folder, hasty);
    ASSERT_TRUE(table->beginGroup().ok());
    fill(*table, 13000);
    ASSERT_TRUE(table->commitGroup().ok());
    const auto journal = folder.path() / "AGENDA_N.JNL";
    const auto size = std::filesystem::file_size(journal);
    ASSERT_GT(size, 512U * 1024);
    const auto commits = (size + 511) / 512 - 1; // one sector each
    std::string before;
    for (std::uintmax_t n = 0; n < commits; ++n) {
        if (n + 1 == commits)
            before = readFile(dbfIn(folder));
        edit(*table, 7, "cambio " + std::to_string(n));
    }
    die(&before);
    EXPECT_EQ(textOf(*open(after), 7), "cambio " + std::to_string(commits - 1));
}

TEST_F(ForeignChanges, ALineBehindTheCountGetsItsKeyWithTheGroupThatFindsIt)
{
    create();
    auto table = open(folder);
    fill(*table, 3);
    ASSERT_TRUE(table->beginGroup().ok());
    const auto foreign = line(*table, 3, "ajena");
    poke(dbfIn(folder), offsetOf(4), std::string(foreign.begin(), foreign.end()) + '\x1A');
    ASSERT_TRUE(table->append(line(*table, 4, "nuestra")).ok());
    ASSERT_TRUE(table->commitGroup().ok());
    EXPECT_EQ(table->recordCount(), 5U);
    EXPECT_EQ(textOf(*table, 4), "ajena");
    EXPECT_TRUE(table->check().ok());
}

TEST_F(ForeignChanges, ReadersFollowAnIndexThatIsMadeAnew)
{
    create();
    OpenOptions two;
    two.tags = {{"OTRO", "CONCEPTO"}};
    auto writer = open(folder, two);
    fill(*writer, 3);
    OpenOptions reading;
    reading.readOnly = true;
    const auto reader = open(folder, reading);
    ASSERT_TRUE(reader->addTag({"MEMORIA", "HORA"}).ok());
    const auto linesOf = [&](const char *tag) {
        std::vector<RecordNumber> numbers;
        EXPECT_TRUE(reader->liveRecords(reader->index(tag), {}, {}, numbers).ok()) << tag;
        std::sort(numbers.begin(), numbers.end());
        return numbers;
    };
    Index *const inMemory = reader->index("MEMORIA");
    EXPECT_EQ(linesOf("OTRO").size(), 3U);
    fill(*writer, 200); // the first tag's blocks grow, the second one's move when it is written anew
    ASSERT_TRUE(writer->reindex().ok());
    ASSERT_TRUE(reader->refresh().ok());
    for (const char *tag : {"FECHA", "OTRO"})
        EXPECT_EQ(linesOf(tag).size(), 200U) << tag;
    std::vector<RecordNumber> numbers;
    ASSERT_TRUE(reader->liveRecords(inMemory, {}, {}, numbers).ok());
    EXPECT_EQ(numbers.size(), 200U) << "an order in memory, asked through the pointer of before";
    // Cut off by another program: an answer or a refusal, and no crash.
    std::filesystem::resize_file(folder.path() / "AGENDA_N.MDX", 0);
    std::ignore = reader->index("FECHA")->first();
    std::ignore = reader->refresh();
    numbers.clear();
    std::ignore = reader->liveRecords(nullptr, {}, {}, numbers);
    std::ignore = reader->index("OTRO")->first();
}

TEST_F(ForeignChanges, ALinkToATableIsTheTable)
{
    create();
    fill(*open(folder), 2);
    std::error_code error;
    std::filesystem::create_symlink("AGENDA_N.DBF", folder.path() / "OTRO.DBF", error);
    if (error)
        GTEST_SKIP() << "no links here";
    auto linked = Table::open(folder.path() / "OTRO.DBF", {});
    ASSERT_TRUE(linked.ok());
    fill(*linked.value(), 3);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "OTRO.JNL"));
    EXPECT_EQ(linked.value()->pack().kind(), ErrorKind::none);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "OTRO.DBF"));
    ASSERT_TRUE(linked.value()->beginGroup().ok());
    EXPECT_EQ(linked.value()->pack().kind(), ErrorKind::invalidArgument) << "not in a group";
}

} // namespace
