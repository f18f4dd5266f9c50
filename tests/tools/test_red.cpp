// The trial of a share: what it says of a good folder, and that it finds what makes one useless. The second
// program is a real one.

#include "tests/support/TempFolder.h"
#include "tools/agendatool/Run.h"
#include "tools/agendatool/Sides.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <sstream>
#include <thread>

#if defined(AGENDA_TOOL_FAULTS)
#include "tests/driver/FileCalls.h"
#endif

namespace
{

using namespace agendatool;

class Red : public testing::Test
{
protected:
    support::TempFolder temp;
    std::filesystem::path folder = temp.path() / "en la red";
    std::string out;
    std::string err;

    void SetUp() override { std::filesystem::create_directories(folder); }

    int red(const std::filesystem::path &where, const std::vector<std::string> &more = {},
            const std::filesystem::path &program = AGENDA_TOOL)
    {
        std::ostringstream said;
        std::ostringstream complained;
        std::vector<std::string> words{"red", where.string()};
        words.insert(words.end(), more.begin(), more.end());
        const int code = run(words, said, complained, {}, std::chrono::milliseconds(30), program);
        out = said.str();
        err = complained.str();
        return code;
    }
    /// The names of the trials with a mark, one a line.
    [[nodiscard]] std::string marked(const std::string &mark) const
    {
        std::istringstream lines(out);
        std::string names;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with(mark))
                names += line.substr(mark.size(), line.find(':') - mark.size()) + '\n';
        }
        return names;
    }
};

const std::string lockTrials = "Bloqueo exclusivo contra exclusivo\n"
                               "Bloqueo exclusivo contra compartido\n"
                               "Bloqueo compartido contra exclusivo\n"
                               "Bloqueo compartido contra compartido\n"
                               "Bloqueo y otra apertura del fichero\n"
                               "Bloqueo y cierre del fichero\n"
                               "Bloqueo y el otro que abre y cierra\n";
const std::string viewTrials = "Escribir encima\n"
                               "Escribir más allá del final\n"
                               "Escribir uno al lado del otro\n";

TEST_F(Red, PraisesADiskOfThisMachine)
{
    ASSERT_EQ(red(folder), exitDone) << out << err;
    EXPECT_EQ(marked("mal  "), "");
    EXPECT_EQ(marked("ok   "), "Escribir en la carpeta\nMontaje\nSegundo programa\nCrear un fichero\n" +
                                   lockTrials + viewTrials +
                                   "Cambiar un fichero por otro\nVaciar al disco\nIda y vuelta\n"
                                   "Quitar lo que ha hecho la prueba\n");
    EXPECT_EQ(marked("dato "), "Sistema de ficheros\nDos bloqueos por la misma apertura\n");
    EXPECT_NE(out.find("\nResultado: la carpeta sirve"), std::string::npos) << out;
    EXPECT_EQ(err, "");
    EXPECT_TRUE(std::filesystem::is_empty(folder));

    EXPECT_EQ(red(folder, {"--quiet"}), exitDone);
    EXPECT_EQ(out + err, "");
}

TEST_F(Red, SaysWhatIsInTheWay)
{
    support::writeFile(folder / "fichero", "");
    for (const char *const missing : {"no hay", "fichero"}) {
        EXPECT_EQ(red(folder / missing), exitFailed);
        EXPECT_NE(err.find("la carpeta no existe"), std::string::npos) << err;
    }
    EXPECT_EQ(red(folder, {"--desde-otro-puesto", "prueba-red-abcdef"}), exitFailed);
    EXPECT_NE(err.find("esa prueba no está en la carpeta"), std::string::npos) << err;

    std::vector<std::filesystem::path> programs{folder / "fichero"};
#if defined(__linux__)
    // A folder that is there, and that not even root can write in.
    EXPECT_EQ(red("/proc/self", {"--quiet"}), exitFailed);
    EXPECT_EQ(marked("mal  "), "Escribir en la carpeta\n") << out;
    EXPECT_NE(out.find("\nResultado: MAL"), std::string::npos) << out;
    programs.emplace_back("/bin/false");
#endif
    for (const auto &program : programs) {
        EXPECT_EQ(red(folder, {}, program), exitFailed);
        EXPECT_EQ(marked("mal  "), "Segundo programa\n") << out;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1)
            << "nothing of the trial";
    }
}

TEST_F(Red, MeetsAnotherWorkstation)
{
    std::atomic<int> code = -1;
    std::thread judge([&] { code = red(folder, {"--espera"}, "not to be started"); });
    std::filesystem::path meeting;
    while (meeting.empty() && code == -1) {
        for (const auto &one : std::filesystem::directory_iterator(folder))
            meeting = std::filesystem::exists(one.path() / "respuestas") ? one.path() : meeting;
    }
    std::ostringstream said;
    std::ostringstream complained;
    EXPECT_EQ(
        run({"red", folder.string(), "--desde-otro-puesto", meeting.filename().string()}, said, complained),
        exitDone)
        << complained.str();
    judge.join();
    EXPECT_EQ(code, exitDone) << out << err;
    EXPECT_NE(out.find("agendatool red " + folder.string() + " --desde-otro-puesto " +
                       meeting.filename().string() + '\n'),
              std::string::npos)
        << out;
    EXPECT_NE(marked("ok   ").find("Montaje en el otro puesto\n"), std::string::npos) << out;
    EXPECT_NE(said.str().find("La prueba ha terminado."), std::string::npos) << said.str();
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

#if defined(AGENDA_TOOL_FAULTS)
TEST_F(Red, FindsAShareThatIsNoneForTables)
{
    using driver::filecalls::Plant;
    const struct {
        Plant fault;
        const char *share; ///< as which the other side sees the folder; null: as it is
        std::string found;
    } cases[] = {
        {Plant::none, nullptr, ""},
        {Plant::nothingLocked, nullptr,
         "Bloqueo exclusivo contra exclusivo\n"
         "Bloqueo exclusivo contra compartido\n"
         "Bloqueo compartido contra exclusivo\n"
         "Bloqueo y otra apertura del fichero\n"
         "Bloqueo y el otro que abre y cierra\n"},
        {Plant::none, "nfs", ""},
        {Plant::directIgnored, "nfs", viewTrials},
    };
    setenv("AGENDA_FOLDER", folder.c_str(), 1);
    for (const auto &one : cases) {
        setenv("AGENDA_PLANT", std::to_string(static_cast<int>(one.fault)).c_str(), 1);
        if (one.share)
            setenv("AGENDA_SHARE", one.share, 1);
        else
            unsetenv("AGENDA_SHARE");
        EXPECT_EQ(red(folder, {}, AGENDA_TOOL_FAULTS), one.found.empty() ? exitDone : exitFailed);
        EXPECT_EQ(marked("mal  "), one.found) << out << err;
        EXPECT_TRUE(std::filesystem::is_empty(folder));
    }
    unsetenv("AGENDA_FOLDER");
    unsetenv("AGENDA_PLANT");
    unsetenv("AGENDA_SHARE");
}
#endif

TEST_F(Red, OrdersDoNotLeadOutOfTheFolder)
{
    support::writeFile(temp.path() / "secreto", "secreto");
    support::writeFile(folder / "datos", "datos");
    NearSide side(folder);
    side.open(0, "datos");
    for (const char *const order :
         {"open 0 ../secreto", "open 0 /etc/passwd", "create ../otro 5 x", "rename ../secreto datos",
          "rename datos ../secreto", "open 2 datos", "open -1 datos", "read 1 0 5", "write 1 0 5 x",
          "lock 1 shared", "unlock 1", "open", "read 0 0", "remove datos", ""})
        EXPECT_THROW(side.carryOut(order), Refused) << order;
    EXPECT_EQ(support::readFile(temp.path() / "secreto"), "secreto");
    EXPECT_EQ(side.read(0, 0, 100), "5 ?") << "still open, as it was";
}

TEST_F(Red, HalfAMessageIsNotHeard)
{
    const Channel judge(folder, Channel::End::judge);
    const Channel helper(folder, Channel::End::helper);
    const std::chrono::milliseconds now(0);
    ASSERT_TRUE(judge.create().ok());
    EXPECT_EQ(helper.hear(1, now).status().kind(), dbase::ErrorKind::locked);
    const std::string longText(5000, 'x');
    for (int number = 1; number <= 2; ++number) {
        const std::string before = support::readFile(folder / "ordenes");
        ASSERT_TRUE(judge.say(number, number == 1 ? "una" : longText).ok());
        const std::string whole = support::readFile(folder / "ordenes");
        for (const std::size_t half : {std::size_t{8}, whole.size() / 2, whole.size() - 1}) {
            support::writeFile(folder / "ordenes", whole.substr(0, half) + before.substr(half));
            EXPECT_FALSE(helper.hear(number, now).ok()) << half;
            support::writeFile(folder / "ordenes", whole.substr(0, half));
            EXPECT_FALSE(helper.hear(number, now).ok()) << half;
        }
        support::writeFile(folder / "ordenes", whole);
        const auto heard = helper.hear(number, now);
        ASSERT_TRUE(heard.ok());
        EXPECT_EQ(heard.value(), number == 1 ? "una" : longText.substr(0, heard.value().size()));
        EXPECT_EQ(heard.value().size(), number == 1 ? 3U : 4080U);
    }
    EXPECT_FALSE(judge.hear(1, now).ok()) << "one's own words are no answer";
}

} // namespace
