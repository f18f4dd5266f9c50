// What lies beside a table under the names that belong to it, whose it is, and who may use it afterwards.

#include "dbase/File.h"
#include "tests/dbase/DyingPrograms.h"

#if !defined(_WIN32)

#include <array>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

using Places = DyingPrograms;

/// Ends the program when something waits for ever.
struct Limit {
    explicit Limit(unsigned seconds) { alarm(seconds); }
    ~Limit() { alarm(0); }
    Limit(const Limit &) = delete;
    Limit &operator=(const Limit &) = delete;
};

std::string sumOf(const std::string &bytes, std::size_t sumAt)
{
    std::uint32_t value = ~0U;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        value ^= i >= sumAt && i < sumAt + 4 ? 0U : static_cast<unsigned char>(bytes[i]);
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 1U) != 0 ? 0xEDB88320U ^ (value >> 1U) : value >> 1U;
    }
    value = ~value;
    std::string sum(4, '\0');
    for (std::size_t i = 0; i < 4; ++i)
        sum[i] = static_cast<char>(value >> (8 * i));
    return sum;
}

// Whatever has the name of a table's journal or index: what it leads to stays as it is, nothing waits for it,
// and the table can be read.
TEST_F(Places, NothingIsWrittenThroughWhatHasTheNameOfASibling)
{
    static const char *const names[] = {"AGENDA_N.JNL", "AGENDA_N.MDX", "AGENDA_N.DBF.PCK",
                                        "AGENDA_N.JNL.APARTADO-1"};
    enum class Kind { link, linkToNowhere, linkToFolder, device, pipe, ownFolder };
    for (const char *const name : names) {
        for (const Kind kind : {Kind::link, Kind::linkToNowhere, Kind::linkToFolder, Kind::device, Kind::pipe,
                                Kind::ownFolder}) {
            SCOPED_TRACE(std::string(name) + ", kind " + std::to_string(static_cast<int>(kind)));
            const Limit limit(30);
            const TempFolder office;
            const TempFolder elsewhere;
            const fs::path table = office.path() / "AGENDA_N.DBF";
            TableDefinition definition;
            definition.fields = {{"FECHA", FieldType::date, 8}, {"HORA", FieldType::character, 5}};
            definition.tags = {{"FECHA", "DTOS(FECHA)+HORA"}};
            ASSERT_TRUE(Table::create(table, definition).ok());
            {
                auto made = Table::open(table);
                ASSERT_TRUE(made.ok());
                ASSERT_TRUE(made.value()->append(blankRecord(made.value()->recordLength())).ok());
            }
            const std::string before = readFile(table);
            const std::string mine = "lo que no es de la oficina" + std::string(2000, 'x');
            writeFile(elsewhere.path() / "mio", mine);
            fs::create_directory(elsewhere.path() / "carpeta");
            writeFile(elsewhere.path() / "carpeta" / "mio", mine);
            const fs::path place = office.path() / name;
            fs::remove(place);
            if (kind == Kind::link)
                fs::create_symlink(elsewhere.path() / "mio", place);
            else if (kind == Kind::linkToNowhere)
                fs::create_symlink(elsewhere.path() / "nuevo", place);
            else if (kind == Kind::linkToFolder)
                fs::create_directory_symlink(elsewhere.path() / "carpeta", place);
            else if (kind == Kind::device)
                fs::create_symlink("/dev/zero", place);
            else if (kind == Kind::pipe)
                ASSERT_EQ(mkfifo(place.c_str(), 0666), 0);
            else
                fs::create_directory(place);

            OpenOptions options;
            options.tags = definition.tags;
            for (const bool readOnly : {true, false}) {
                options.readOnly = readOnly;
                auto opened = Table::open(table, options);
                if (!opened.ok())
                    continue; // it says why
                std::vector<std::uint8_t> line(opened.value()->recordLength());
                EXPECT_TRUE(opened.value()->read(1, line).ok());
                if (!readOnly && !opened.value()->isReadOnly()) {
                    static_cast<void>(opened.value()->append(line).ok());
                    static_cast<void>(opened.value()->pack().ok());
                } else if (!readOnly) {
                    EXPECT_NE(opened.value()->readOnlyReason().find(name), std::string::npos)
                        << opened.value()->readOnlyReason();
                }
                static_cast<void>(Table::close(std::move(opened).value()).ok());
            }
            options.readOnly = true;
            EXPECT_TRUE(Table::open(table, options).ok());
            EXPECT_EQ(readFile(table).substr(32, before.size() - 33), before.substr(32, before.size() - 33));
            EXPECT_EQ(readFile(elsewhere.path() / "mio"), mine);
            EXPECT_EQ(readFile(elsewhere.path() / "carpeta" / "mio"), mine);
            EXPECT_FALSE(fs::exists(elsewhere.path() / "nuevo"));
        }
    }
}

TEST_F(Places, ATableThatBecomesAPipeStopsNobody)
{
    create();
    fill(*open(folder), 3);
    const auto table = open(folder);
    const Limit limit(20);
    fs::remove(dbfIn(folder));
    ASSERT_EQ(mkfifo(dbfIn(folder).c_str(), 0666), 0);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (table->append(line(*table, 3, "perdida")).ok() && std::chrono::steady_clock::now() < deadline) {
    }
    EXPECT_FALSE(table->append(line(*table, 3, "perdida")).ok());
    EXPECT_FALSE(Table::open(dbfIn(folder)).ok());
}

// A file of another kind in the journal's place is somebody's.
TEST_F(Places, AFileThatIsNoJournalIsKept)
{
    static const struct {
        const char *name;
        std::string content;
        bool kept;
    } cases[] = {
        {"a text", "apuntes de la notaria\n" + std::string(3000, 'x'), true},
        {"a short one", "x", true},
        {"empty", "", false},
        {"zeros, as a power cut leaves them", std::string(4096, '\0'), false},
        {"a journal that is cut", "AGJ1" + std::string(40, '\0'), false},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        const TempFolder office;
        create();
        fill(*open(folder), 2);
        writeFile(office.path() / "AGENDA_N.DBF", readFile(dbfIn(folder)));
        writeFile(office.path() / "AGENDA_N.JNL", one.content);
        {
            OpenOptions look;
            look.readOnly = true;
            const auto looked = open(office, look);
            ASSERT_NE(looked, nullptr);
            EXPECT_EQ(readFile(office.path() / "AGENDA_N.JNL"), one.content) << "a look writes nothing";
        }
        const auto opened = open(office);
        EXPECT_EQ(opened->recordCount(), 2U);
        EXPECT_EQ(fs::exists(asideIn(office)), one.kept);
        EXPECT_EQ(notice.find("APARTADO-1") != std::string::npos, one.kept) << notice;
        if (one.kept) {
            EXPECT_EQ(readFile(asideIn(office)), one.content);
        }
        fs::remove_all(folder.path() / "AGENDA_N.DBF");
        fs::remove_all(folder.path() / "AGENDA_N.MDX");
        fs::remove_all(folder.path() / "AGENDA_N.JNL");
    }
}

// A journal does something to its own table only, and to lines that this can have.
TEST_F(Places, AForeignJournalChangesNothing)
{
    create();
    fill(*open(folder), 20);
    const TempFolder other;
    for (const char *name : {"AGENDA_N.DBF", "AGENDA_N.MDX", "AGENDA_N.JNL"})
        writeFile(other.path() / name, readFile(folder.path() / name));
    {
        const auto table = open(other);
        edit(*table, 20, "es de otro notario");
        fill(*table, 25);
        edit(*table, 7, "tambien esto");
    }
    const std::string others = readFile(dbfIn(other));

    const auto table = open(folder);
    edit(*table, 20, "ultima");
    fill(*table, 26);
    edit(*table, 3, "de este notario");
    die(&others);
    const auto opened = open(after);
    EXPECT_NE(notice.find("APARTADO-1"), std::string::npos) << notice;
    EXPECT_EQ(readFile(dbfIn(after)), others);
    EXPECT_TRUE(opened->check().ok());
    die(); // while its own table, though a copy, gets all of it
    const auto own = open(after);
    EXPECT_EQ(notice, "");
    EXPECT_EQ(own->recordCount(), 26U);
    EXPECT_EQ(textOf(*own, 20), "ultima");
}

// Sums tell that a commit is whole, not that it is possible.
TEST_F(Places, ACommitOfLinesThatNobodyHasIsNotDone)
{
    create();
    fill(*open(folder), 20);
    const auto table = open(folder);
    edit(*table, 3, "la ultima");
    const std::string journal = readFile(folder.path() / "AGENDA_N.JNL");
    const std::string content = readFile(dbfIn(folder));
    constexpr std::size_t commitAt = 512;
    constexpr std::size_t size = 32 + 8 + 2 * 34;
    ASSERT_EQ(journal.substr(commitAt, 4), "AGC1");
    ASSERT_EQ(static_cast<unsigned char>(journal[commitAt + 4]), size);
    static const struct {
        const char *name;
        std::size_t at;
        std::uint32_t value;
        bool done;
    } cases[] = {
        {"as it is", 32, 3, true},
        {"a line far beyond the table", 32, 0xFFFFFFFF, false},
        {"a changed line that there is not", 32, 500'000, false},
        {"more lines than there are", 16, 4'000'000, false},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        die(&content);
        std::string changed = journal;
        for (std::size_t i = 0; i < 4; ++i)
            changed[commitAt + one.at + i] = static_cast<char>(one.value >> (8 * i));
        const std::string sum = sumOf(changed.substr(commitAt, size), 24);
        changed.replace(commitAt + 24, 4, sum);
        changed.replace(92, 4, 4, '\0'); // that the header does not know which commit it was
        changed.replace(96, 4, sumOf(changed.substr(72, 24), 24));
        writeFile(after.path() / "AGENDA_N.JNL", changed);
        const auto opened = open(after);
        ASSERT_NE(opened, nullptr);
        EXPECT_EQ(opened->recordCount(), 20U);
        EXPECT_EQ(fs::exists(asideIn(after)), !one.done) << notice;
        EXPECT_TRUE(opened->check().ok());
        fs::remove(asideIn(after));
    }
}

// What is compacted away is gone.
TEST_F(Places, NoFileKeepsWhatHasBeenPackedAway)
{
    create();
    const auto table = open(folder);
    fill(*table, 5);
    edit(*table, 2, "MARCADOR");
    std::vector<std::uint8_t> present(table->recordLength());
    ASSERT_TRUE(table->read(2, present).ok());
    ASSERT_TRUE(table->erase(2, present).ok());
    fill(*table, 7);
    ASSERT_TRUE(table->pack().ok());
    for (const auto &entry : fs::directory_iterator(folder.path()))
        EXPECT_EQ(readFile(entry.path()).find("MARCADOR"), std::string::npos) << entry.path();
    EXPECT_EQ(table->recordCount(), 6U);
}

// ---------------------------------------------------------------------------------------------------------------------
// Whose a new file is

struct stat statusOf(const fs::path &file)
{
    struct stat info = {};
    EXPECT_EQ(lstat(file.c_str(), &info), 0) << file;
    return info;
}

/// A group of this user other than his first; an administrator has all of them.
std::optional<gid_t> otherGroup()
{
    if (geteuid() == 0)
        return 23456;
    std::vector<gid_t> groups(64);
    const int count = getgroups(static_cast<int>(groups.size()), groups.data());
    for (int i = 0; i < count; ++i) {
        if (groups[static_cast<std::size_t>(i)] != getegid())
            return groups[static_cast<std::size_t>(i)];
    }
    return {};
}

TEST_F(Places, WhatIsMadeForATableBelongsToThoseWhoHaveTheTable)
{
    const auto group = otherGroup();
    if (!group)
        GTEST_SKIP() << "this user is in one group only";
    const uid_t owner = geteuid() == 0 ? 12345 : geteuid();
    for (const mode_t mask : {mode_t{0}, mode_t{022}, mode_t{077}}) {
        for (const mode_t mode : {mode_t{0660}, mode_t{0600}, mode_t{0664}}) {
            SCOPED_TRACE(testing::Message() << std::oct << "mask " << mask << ", mode " << mode);
            const TempFolder office;
            const fs::path file = office.path() / "AGENDA_N.DBF";
            TableDefinition definition;
            definition.fields = {{"FECHA", FieldType::date, 8}};
            ASSERT_TRUE(Table::create(file, definition).ok());
            fs::remove(office.path() / "AGENDA_N.JNL");
            ASSERT_EQ(chown(file.c_str(), owner, *group), 0);
            ASSERT_EQ(chmod(file.c_str(), mode), 0);
            // One entry more, for a user of his own; not every file system takes it.
            static const unsigned char list[] = {2,   0,   0,   0,   1,   0,   6,  0,   255, 255, 255,
                                                 255, 2,   0,   6,   0,   1,   1,  0,   0,   4,   0,
                                                 6,   0,   255, 255, 255, 255, 16, 0,   6,   0,   255,
                                                 255, 255, 255, 32,  0,   0,   0,  255, 255, 255, 255};
            const bool hasList =
                mode == 0660 && setxattr(file.c_str(), "system.posix_acl_access", list, sizeof list, 0) == 0;
            const fs::path settings = office.path() / "oficina.ini";
            writeFile(settings, "[A]\n");
            ASSERT_EQ(chown(settings.c_str(), owner, *group), 0);
            ASSERT_EQ(chmod(settings.c_str(), mode), 0);
            if (hasList) {
                ASSERT_EQ(setxattr(settings.c_str(), "system.posix_acl_access", list, sizeof list, 0), 0);
            }
            const mode_t old = umask(mask);
            {
                OpenOptions options;
                options.tags = {{"FECHA", "FECHA"}};
                auto opened = Table::open(file, options);
                ASSERT_TRUE(opened.ok()) << opened.status().message();
                ASSERT_TRUE(opened.value()->append(blankRecord(opened.value()->recordLength())).ok());
                ASSERT_TRUE(opened.value()->pack().ok());
                ASSERT_TRUE(opened.value()->replaceLines({}, office.path() / "COPIA.DBF").ok());
                ASSERT_TRUE(replaceContent(settings, std::array<std::uint8_t, 2>{'x', 'y'}).ok());
            }
            umask(old);
            for (const char *const name :
                 {"AGENDA_N.DBF", "AGENDA_N.JNL", "AGENDA_N.MDX", "COPIA.DBF", "oficina.ini"}) {
                SCOPED_TRACE(name);
                const auto made = statusOf(office.path() / name);
                EXPECT_EQ(made.st_uid, owner);
                EXPECT_EQ(made.st_gid, *group);
                EXPECT_EQ(made.st_mode & 0777U, mode);
                unsigned char found[256];
                EXPECT_EQ(getxattr((office.path() / name).c_str(), "system.posix_acl_access", found,
                                   sizeof found) > 0,
                          hasList);
            }
        }
    }
}

} // namespace

#endif
