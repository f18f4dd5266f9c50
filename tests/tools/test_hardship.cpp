// The program itself where the system gives it little: it says so and ends by itself, and the table is sound.

#include "dbase/Table.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using support::readFile;
using support::writeFile;

constexpr rlim_t mebi = rlim_t{1024} * 1024;

class Hardship : public testing::Test
{
protected:
    support::TempFolder temp;
    fs::path folder = temp.path() / "datos";
    fs::path table = folder / "AGENDA_N.DBF";
    fs::path said = temp.path() / "dicho";

    void SetUp() override
    {
        fs::create_directories(folder);
        ASSERT_EQ(tool({"create"}), 0) << readFile(said);
    }
    /// Runs the program on the table. @param prepare  in the new process, before the program begins.
    /// @return its exit code; minus the signal that ended it.
    [[nodiscard]] int tool(const std::vector<std::string> &order,
                           const std::function<void()> &prepare = {}) const
    {
        std::vector<std::string> words{AGENDA_TOOL, order[0], folder.string(), "AGENDA_N"};
        words.insert(words.end(), order.begin() + 1, order.end());
        std::vector<char *> pointers;
        for (std::string &word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
        const pid_t child = ::fork();
        if (child == 0) {
            const int out = ::open(said.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            ::dup2(out, STDOUT_FILENO);
            ::dup2(out, STDERR_FILENO);
            if (prepare)
                prepare();
            ::execv(pointers[0], pointers.data());
            ::_exit(126);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    static void limit(int what, rlim_t most)
    {
        const struct rlimit both = {most, most};
        ::setrlimit(static_cast<__rlimit_resource_t>(what), &both);
    }
    /// Lines without a byte on the disk, as many as the header can count or as are wanted.
    void makeLines(std::uint32_t count) const
    {
        std::string bytes = readFile(table);
        for (unsigned i = 0; i < 4; ++i)
            bytes[4 + i] = static_cast<char>(count >> 8 * i);
        const auto length = [&](std::size_t at) {
            return static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1]) << 8U;
        };
        writeFile(table, bytes);
        fs::resize_file(table, length(8) + std::uintmax_t{count} * length(10));
        for (const char *const other : {"AGENDA_N.MDX", "AGENDA_N.JNL"})
            fs::remove(folder / other);
    }
};

// Whatever it does, in whatever moment there is no more.
TEST_F(Hardship, WithoutMemoryItSaysSo)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer needs all addresses";
#endif
    const auto within = [](rlim_t bytes) { return [bytes] { limit(RLIMIT_AS, bytes); }; };
    rlim_t base = 16 * mebi; // what it takes to be loaded at all
    while (tool({"--version"}, within(base)) != 0) {
        base += 8 * mebi;
        ASSERT_LT(base, 4096 * mebi);
    }
    makeLines(60'000); // of 407 bytes
    std::vector<rlim_t> steps{0, mebi, 8 * mebi, 24 * mebi, 48 * mebi};
    if (std::getenv("AGENDA_HOSTIL")) { // "make hostil"
        steps.clear();
        for (rlim_t more = 0; more < 80 * mebi; more += mebi / 2)
            steps.push_back(more);
    }
    int refused = 0;
    for (const auto &order : {std::vector<std::string>{"dump"},
                              {"check"},
                              {"info"},
                              {"backup", temp.path().string()},
                              {"export", (temp.path() / "x.csv").string()}}) {
        for (const rlim_t more : steps) {
            const int code = tool(order, within(base + more));
            EXPECT_GE(code, 0) << order[0] << " with " << more / mebi
                               << " MiB ended by a signal: " << readFile(said);
            EXPECT_LE(code, 3) << order[0] << " with " << more / 1024 << " KiB: " << readFile(said);
            refused += readFile(said).find("no hay memoria suficiente") != std::string::npos ? 1 : 0;
        }
    }
    EXPECT_GT(refused, 4) << "so little was too much";
    // A file that only says that it is large costs what its lines do.
    makeLines(1);
    fs::resize_file(table, std::uintmax_t{1} << 40U);
    for (const auto &order :
         {std::vector<std::string>{"check"}, {"backup", (temp.path() / "copias").string()}}) {
        fs::create_directories(temp.path() / "copias");
        EXPECT_LE(tool(order, within(base + 64 * mebi)), 1);
        EXPECT_EQ(readFile(said).find("memoria"), std::string::npos) << order[0] << readFile(said);
    }
}

TEST_F(Hardship, ALimitOnFilesIsAFullDisk)
{
    std::string csv = "CONCEPTO\n";
    for (int i = 0; i < 3000; ++i)
        csv += "línea " + std::to_string(i) + '\n';
    writeFile(temp.path() / "lineas.csv", csv);
    int refused = 0;
    for (const rlim_t most : {rlim_t{0}, rlim_t{512}, 20 * mebi / 1024, mebi / 2, mebi, 2 * mebi}) {
        const int code =
            tool({"import", (temp.path() / "lineas.csv").string()}, [most] { limit(RLIMIT_FSIZE, most); });
        EXPECT_GE(code, 0) << "ended by a signal at " << most;
        EXPECT_LE(code, 3) << most;
        refused += code == 1 ? 1 : 0;
        ASSERT_EQ(tool({"check"}), 0) << "after " << most << ": " << readFile(said);
    }
    EXPECT_GT(refused, 2);
}

TEST_F(Hardship, NobodyListensAndNowhereToWork)
{
    const struct {
        const char *what;
        std::function<void()> prepare;
        bool fails;
    } cases[] = {
        {"no output at all",
         [] {
             for (const int one : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                 ::close(one);
         },
         true},
        {"a full disk", [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); }, true},
        {"a reader who has gone",
         [] {
             std::array<int, 2> ends{};
             if (::pipe(ends.data()) == 0) {
                 ::dup2(ends[1], STDOUT_FILENO);
                 ::close(ends[0]);
                 ::close(ends[1]);
             }
         },
         true},
        {"no folder for temporary files", [] { ::setenv("TMPDIR", "/no/hay", 1); }, false},
        {"no environment", [] { ::clearenv(); }, false},
    };
    for (const auto &c : cases) {
        for (const char *const verb : {"info", "dump", "check"})
            EXPECT_EQ(tool({verb}, c.prepare), c.fails ? 1 : 0) << verb << ", " << c.what;
    }
    ASSERT_EQ(tool({"check"}), 0) << "none of it was written into the table: " << readFile(said);
}

// An image of its memory would have clients' names in it.
TEST_F(Hardship, ItLeavesNoImageOfItsMemory)
{
    struct rlimit allowed = {};
    ASSERT_EQ(::getrlimit(RLIMIT_CORE, &allowed), 0);
    if (allowed.rlim_max == 0)
        GTEST_SKIP() << "nobody leaves one here";
    const fs::path fifo = temp.path() / "espera";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        struct rlimit most = {};
        ::getrlimit(RLIMIT_CORE, &most);
        most.rlim_cur = most.rlim_max;
        ::setrlimit(RLIMIT_CORE, &most);
        const std::string where = folder.string();
        const int out = ::open(fifo.c_str(), O_WRONLY); // somebody listens who does not read on
        ::dup2(out, STDOUT_FILENO);
        ::execl(AGENDA_TOOL, "agendatool", "red", where.c_str(), "--espera", nullptr);
        ::_exit(126);
    }
    const int in = ::open(fifo.c_str(), O_RDONLY);
    std::array<char, 64> begin{};
    EXPECT_GT(::read(in, begin.data(), begin.size()), 0) << "it has begun to work";
    const std::string limits = readFile("/proc/" + std::to_string(child) + "/limits");
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(in);
    const auto at = limits.find("Max core file size");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(limits.substr(at, 40).find_first_of("123456789u"), std::string::npos) << limits.substr(at, 60);
}

} // namespace
