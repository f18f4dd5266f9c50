// How far a long verb is, on a terminal: seen while it lasts, gone afterwards, and nowhere else.

#include "tests/support/TempFolder.h"
#include "tools/agendatool/ProgressLine.h"
#include "tools/agendatool/Run.h"

#include <gtest/gtest.h>

#include <sstream>

namespace
{

using agendatool::Terminals;
using support::writeFile;

/// What stands on a terminal in the end: a carriage return goes back to the first column, and what comes
/// writes over what was there.
std::string screen(const std::string &written)
{
    std::string lines;
    std::string line;
    std::size_t column = 0;
    const auto finish = [&] { lines += line.substr(0, line.find_last_not_of(' ') + 1); };
    for (const char c : written) {
        if (c == '\r') {
            column = 0;
        } else if (c == '\n') {
            finish();
            lines += '\n';
            line.clear();
            column = 0;
        } else if ((static_cast<unsigned char>(c) & 0xC0U) != 0x80U) { // the tail of a letter takes no column
            line.resize(std::max(line.size(), column + 1), ' ');
            line[column++] = c;
        }
    }
    finish();
    return lines;
}

class ProgressOfVerbs : public testing::Test
{
protected:
    support::TempFolder temp;
    std::filesystem::path folder = temp.path() / "datos";
    std::filesystem::path other = temp.path() / "otra";
    std::string out;
    std::string err;

    int run(const std::string &verb, const std::vector<std::string> &more, Terminals terminals,
            const std::filesystem::path &where)
    {
        std::vector<std::string> words{verb, where.string(), "agenda_n"};
        words.insert(words.end(), more.begin(), more.end());
        std::ostringstream said;
        std::ostringstream complained;
        const int code = agendatool::run(words, said, complained, terminals, std::chrono::milliseconds(30));
        out = said.str();
        err = complained.str();
        return code;
    }
};

TEST_F(ProgressOfVerbs, IsSeenOnATerminalAloneAndGoneAtTheEnd)
{
    std::filesystem::create_directories(folder);
    std::filesystem::create_directories(other);
    const std::string csv = (temp.path() / "lineas.csv").string();
    writeFile(csv, "FECHA,HORA\n2026-03-02,09:00\n");
    ASSERT_EQ(run("create", {}, {}, folder), agendatool::exitDone);
    const std::string table = (other / "AGENDA_N.DBF").string();
    const struct {
        const char *verb;
        std::vector<std::string> more;
        std::vector<std::string> phases;
    } cases[] = {
        {"import", {csv}, {"abriendo la tabla", "leyendo el fichero", "añadiendo las líneas"}},
        {"check", {}, {"abriendo la tabla", "comparando el índice", "leyendo los campos"}},
        {"repair", {}, {"abriendo la tabla", "comparando el índice", "leyendo los campos"}},
        {"reindex", {}, {"rehaciendo el índice"}},
        {"pack", {}, {"quitando las líneas borradas"}},
        {"export", {(temp.path() / "fuera.csv").string()}, {"escribiendo las líneas"}},
        {"dump", {}, {"escribiendo las líneas"}},
        {"backup", {other.string()}, {"copiando la tabla"}},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.verb);
        ASSERT_EQ(run(one.verb, one.more, {false, true}, folder), agendatool::exitDone) << err;
        for (const std::string &phase : one.phases)
            EXPECT_NE(err.find("\rAGENDA_N: " + phase + "..."), std::string::npos) << phase << " in " << err;
        EXPECT_EQ(err.find('\n'), std::string::npos) << err;
        EXPECT_EQ(screen(err), "") << err;
        EXPECT_EQ(out.find('\r'), out.find("\r\n")) << "only in lines of a CSV";

        std::filesystem::remove(table);
        for (const bool quiet : {false, true}) {
            auto more = one.more;
            if (quiet)
                more.emplace_back("--quiet");
            ASSERT_EQ(run(one.verb, more, {true, quiet}, folder), agendatool::exitDone) << err;
            EXPECT_EQ(err, "");
            if (!quiet)
                std::filesystem::remove(table);
        }
    }
    ASSERT_EQ(run("restore", {other.string()}, {false, true}, temp.path()), agendatool::exitDone) << err;
    EXPECT_NE(err.find("\rAGENDA_N: copiando la tabla..."), std::string::npos) << err;
    EXPECT_EQ(screen(err), "") << err;

    ASSERT_EQ(run("dump", {}, {true, true}, folder), agendatool::exitDone);
    EXPECT_EQ(err.find("escribiendo"), std::string::npos) << "the lines go to the same terminal";
    EXPECT_EQ(screen(err), "") << err;
}

TEST_F(ProgressOfVerbs, LeavesComplaintsWhole)
{
    std::filesystem::create_directories(folder);
    ASSERT_EQ(run("create", {}, {}, folder), agendatool::exitDone);
    const std::string csv = (temp.path() / "lineas.csv").string();
    writeFile(csv, "FECHA,HORA\nmañana,09:00\n");
    EXPECT_EQ(run("import", {csv}, {}, folder), agendatool::exitFailed);
    const std::string complaint = screen(err);
    EXPECT_EQ(run("import", {csv}, {true, true}, folder), agendatool::exitFailed);
    EXPECT_NE(err, complaint);
    EXPECT_EQ(screen(err), complaint);
}

TEST(ProgressLine, IsWrittenTenTimesASecondAtMost)
{
    std::chrono::steady_clock::time_point now;
    std::ostringstream err;
    {
        agendatool::ProgressLine line(err, "AGENDA_N", true, [&now] { return now; });
        const auto written = [&err] { return std::exchange(err, std::ostringstream()).str(); };
        const auto step = line.steps("añadiendo las líneas");
        EXPECT_EQ(written(), "\rAGENDA_N: añadiendo las líneas...");
        for (int percent = 0; percent < 100; ++percent) {
            now += std::chrono::milliseconds(1);
            EXPECT_TRUE(step(percent));
        }
        EXPECT_EQ(written(), "\rAGENDA_N: añadiendo las líneas, 99 %");
        line.phase("fin");
        EXPECT_EQ(written(), "\rAGENDA_N: fin..." + std::string(20, ' ')) << "over all of the longer one";
        now += std::chrono::seconds(1);
        line.remove() << "queja\n";
        EXPECT_EQ(written(), "\r" + std::string(16, ' ') + "\rqueja\n");
        EXPECT_TRUE(step(50));
        written();
    }
    EXPECT_EQ(err.str(), "\r" + std::string(19, ' ') + "\r");
}

} // namespace
