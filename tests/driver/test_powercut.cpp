// Power cuts: what several writers do is recorded, every state that a cut may leave of it is opened, and
// holds what was acknowledged, every commit whole or not at all.

#include "tests/driver/Judge.h"
#include "tests/driver/OnShares.h"
#include "tests/driver/PowerCut.h"
#include "tests/driver/Writer.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>

namespace
{

using namespace driver;
using filecalls::Call;
using filecalls::Fault;
using filecalls::Plant;
using filecalls::Share;

/// What happens while the changes are recorded.
struct Scene {
    unsigned seed = 1;
    int writers = 3;
    int changes = 30;
    std::optional<Fault> fault = {}; ///< of the first writer's calls; it goes away then, and the others go on
    Plant planted = Plant::none;
    bool packs = false;         ///< the table is packed in the end
    Share share = Share::local; ///< each writer is a workstation then
};

struct Recording {
    Image start;
    std::vector<filecalls::Event> events;
    bool faultMet = false;
    int acknowledged = 0;
};

/// Changes of several writers in turn: the same seed gives the same calls.
void work(const Scene &scene, const std::filesystem::path &folder, Recording &made)
{
    std::mt19937 random(scene.seed);
    std::vector<std::unique_ptr<Writer>> writers;
    int gone = 0; ///< of those that were first
    for (int id = 1; id <= scene.writers; ++id) {
        writers.push_back(std::make_unique<Writer>(folder, id, scene.seed + static_cast<unsigned>(id),
                                                   [id, &made](const std::string &line) {
                                                       made.acknowledged += line.starts_with("ACK") ? 1 : 0;
                                                       filecalls::mark(std::to_string(id) + " " + line);
                                                   }));
    }
    std::optional<Fault> fault = scene.fault;
    for (int n = 0; n < scene.changes; ++n) {
        const bool waits = fault && n >= scene.writers; // for the first writer to come to its fault
        const std::size_t who = waits ? 0 : random() % writers.size();
        const bool broken = fault && who == 0;
        if (broken && !made.faultMet)
            filecalls::fail(fault);
        filecalls::asWorkstation(static_cast<int>(who) + 1 + gone);
        writers[who]->step();
        if (!broken || !filecalls::faultMet()) {
            if (broken) { // the next change goes on counting
                fault->number -= std::min(fault->number - 1, filecalls::counted());
                filecalls::fail({});
            }
            continue;
        }
        made.faultMet = true;
        if (fault->staysBroken)
            writers[0] = nullptr; // with all its calls failing: nothing more comes from it, as from the dead
        filecalls::fail({});
        fault.reset();
        if (!writers[0]) {
            writers.erase(writers.begin());
            ++gone;
        }
    }
}

constexpr const char *packedAway = "CLIENTE BORRADO";

/// A client is taken down, crossed out, and packed away.
void packAway(const std::filesystem::path &folder, unsigned start)
{
    std::mt19937 random(start);
    AgendaTable agenda;
    ASSERT_TRUE(agenda.open(folder).ok());
    const auto line = agenda.line(packedAway, "v1", random);
    ASSERT_TRUE(agenda.table().beginGroup().ok()); // nobody is to see it live
    const auto added = agenda.table().append(line);
    ASSERT_TRUE(added.ok());
    ASSERT_TRUE(agenda.table().erase(added.value(), line).ok());
    ASSERT_TRUE(agenda.table().commitGroup().ok());
    ASSERT_TRUE(agenda.table().pack().ok());
}

Recording record(const Scene &scene)
{
    const support::TempFolder folder;
    Recording made;
    EXPECT_TRUE(AgendaTable::create(folder.path()).ok());
    made.start = readImage(folder.path());
    filecalls::watch(folder.path());
    filecalls::plant(scene.planted);
    filecalls::behaveAs(scene.share);
    work(scene, folder.path(), made);
    if (scene.packs)
        packAway(folder.path(), scene.seed);
    made.events = filecalls::recorded();
    filecalls::behaveAs(Share::local);
    filecalls::unwatch();
    return made;
}

std::vector<std::string> judgeMarks(const std::filesystem::path &folder, std::span<const std::string> marks)
{
    Told told;
    for (const std::string &mark : marks) {
        const std::size_t blank = mark.find(' ');
        told.line(std::stoi(mark.substr(0, blank)), std::string_view(mark).substr(blank + 1));
    }
    return judge(folder, told);
}

/// Whatever a cut has left, the next packing leaves nothing in any file of a line that is not there.
std::vector<std::string> judgePacked(const std::filesystem::path &folder, std::span<const std::string> marks)
{
    auto found = judgeMarks(folder, marks);
    const auto table = dbase::Table::open(folder / "AGENDA_N.DBF");
    if (!table.ok() || !table.value()->pack().ok())
        found.emplace_back("it cannot be packed");
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        if (support::readFile(entry.path()).find(packedAway) != std::string::npos)
            found.push_back("left in " + entry.path().filename().string());
    }
    return found;
}

CutReport cut(const Scene &scene, const Recording &recording, int statesAtPoint, int repairsCut)
{
    CutOptions options;
    options.seed = scene.seed;
    options.statesAtPoint = statesAtPoint;
    options.repairsCut = repairsCut;
    options.planted = scene.planted;
    options.share = scene.share;
    return cutEverywhere(recording.start, recording.events, scene.packs ? judgePacked : judgeMarks, options);
}

void expectNoFailure(const CutReport &report)
{
    for (const std::string &one : report.failures)
        ADD_FAILURE() << one;
    std::cout << report.points << " points, " << report.states << " states, " << report.repairsCut
              << " repairs cut\n";
}

TEST(PowerCut, LosesNothingThatWasAcknowledged)
{
    const Scene scene{.seed = 20261121, .changes = 40};
    const Recording recording = record(scene);
    EXPECT_GT(recording.acknowledged, 35);
    const CutReport report = cut(scene, recording, 9, 8);
    expectNoFailure(report);
    EXPECT_GT(report.states, 1000) << "the recording must have something to cut";
    EXPECT_EQ(report.repairsCut, 8);
}

TEST(PowerCut, AfterAWriterDiedInTheMiddleAndOthersWentOn)
{
    // Of opening the table, and of some three changes.
    for (int call = 12; call <= 64; call += 4) {
        const Scene scene{.seed = 100U + static_cast<unsigned>(call),
                          .writers = 2,
                          .changes = 9,
                          .fault = Fault{{}, call, EIO, true, true}};
        const Recording recording = record(scene);
        EXPECT_TRUE(recording.faultMet) << call;
        expectNoFailure(cut(scene, recording, 5, 1));
    }
}

/// The dead one left half a line, cut in mid-sector; a cut may bring that half back after others have mended
/// it.
TEST(PowerCut, AfterOthersFinishedHalfALine)
{
    // In its third change, of a line that lies across the edge of a sector.
    for (int write = 8; write <= 11; ++write) {
        const Scene scene{
            .seed = 148, .writers = 2, .changes = 6, .fault = Fault{Call::write, write, EIO, true, true}};
        expectNoFailure(cut(scene, record(scene), 14, 0));
    }
}

TEST(PowerCut, AfterAFlushThatFailed)
{
    constexpr int flushes = 6;
    for (int number = 1; number <= flushes + flushes / 2; ++number) {
        const int flush = (number - 1) % flushes + 1;
        const Scene scene{.seed = 200U + static_cast<unsigned>(number),
                          .writers = 2,
                          .changes = 14,
                          .fault = Fault{Call::flush, flush, number > flushes ? EINTR : EIO, false, false}};
        const Recording recording = record(scene);
        EXPECT_TRUE(recording.faultMet) << flush;
        expectNoFailure(cut(scene, recording, 5, 1));
    }
}

/// Two workstations at one table, and the keys of lines that were promised to outlive a cut.
class TwoWorkstations
{
public:
    explicit TwoWorkstations(bool secondIsDurable)
    {
        constexpr auto enoughPatience = std::chrono::seconds(1);
        EXPECT_TRUE(AgendaTable::create(m_folder.path()).ok());
        m_start = readImage(m_folder.path());
        filecalls::watch(m_folder.path());
        EXPECT_TRUE(promised.open(m_folder.path(), enoughPatience, true).ok());
        EXPECT_TRUE(second.open(m_folder.path(), enoughPatience, secondIsDurable).ok());
    }
    ~TwoWorkstations() { filecalls::unwatch(); }
    TwoWorkstations(const TwoWorkstations &) = delete;
    TwoWorkstations &operator=(const TwoWorkstations &) = delete;

    dbase::Status add(AgendaTable &agenda, const std::string &key)
    {
        const dbase::Status status = agenda.table().append(agenda.line(key, "v0", m_random)).status();
        if (&agenda == &promised && status.ok())
            filecalls::mark(key);
        return status;
    }
    /// So many lines that two of them fit into the journal and three do not.
    dbase::Status addGroup(AgendaTable &agenda)
    {
        dbase::Status status = agenda.table().beginGroup();
        for (int n = 0; status.ok() && n < 520; ++n)
            status =
                agenda.table().append(agenda.line("g" + std::to_string(m_others++), "v0", m_random)).status();
        return status.ok() ? agenda.table().commitGroup() : status;
    }
    CutReport cutAll()
    {
        const std::vector<filecalls::Event> events = filecalls::recorded();
        filecalls::unwatch();
        CutOptions options;
        options.statesAtPoint = 6;
        return cutEverywhere(m_start, events, holdsKeys, options);
    }

    AgendaTable promised;
    AgendaTable second;

private:
    static std::vector<std::string> holdsKeys(const std::filesystem::path &place,
                                              std::span<const std::string> keys)
    {
        AgendaTable agenda;
        dbase::Status status = agenda.open(place, std::chrono::milliseconds(200));
        std::vector<std::string> wrong;
        if (!status.ok())
            return std::vector{status.message()};
        for (const std::string &key : keys) {
            if (const auto found = agenda.find(key); !found.ok() || found.value() == 0)
                wrong.push_back(key + " is gone");
        }
        if (status = agenda.table().check(); !status.ok())
            wrong.push_back(status.message());
        return wrong;
    }
    support::TempFolder m_folder;
    Image m_start;
    std::mt19937 m_random{7};
    int m_others = 0;
};

/// What a workstation that does not flush has put into the journal lies in the way of what another one was
/// promised: before it, and under it when the journal has begun anew.
TEST(PowerCut, BesideAWriterThatDoesNotFlush)
{
    TwoWorkstations both(false);
    for (int group = 0; group < 3; ++group)
        ASSERT_TRUE(both.addGroup(both.second).ok());
    for (const char *key : {"p1", "p2"})
        EXPECT_TRUE(both.add(both.promised, key).ok());
    EXPECT_TRUE(both.add(both.second, "hx").ok());
    for (const char *key : {"p3", "p4"})
        EXPECT_TRUE(both.add(both.promised, key).ok());
    expectNoFailure(both.cutAll());
}

/// The journal is full and a call fails while it is emptied: whoever goes on does so from what is on the
/// disk.
TEST(PowerCut, WhenTheJournalCannotBeEmptied)
{
    // Of table, index and journal; and of the journal's header, and the commit behind it.
    for (const auto &[call, calls] : {std::pair(Call::flush, 3), std::pair(Call::write, 2)}) {
        for (int number = 1; number <= calls; ++number) {
            SCOPED_TRACE((call == Call::write ? "write " : "flush ") + std::to_string(number));
            TwoWorkstations both(true);
            EXPECT_TRUE(both.add(both.promised, "p0").ok());
            for (int group = 0; group < 2; ++group)
                ASSERT_TRUE(both.addGroup(both.promised).ok());
            filecalls::fail(Fault{call, number, EIO, false, false});
            std::ignore = both.addGroup(both.promised);
            EXPECT_TRUE(filecalls::faultMet());
            filecalls::fail({});
            for (const char *key : {"p1", "p2", "p3"})
                std::ignore = both.add(both.promised, key);
            EXPECT_TRUE(both.add(both.second, "s1").ok());
            expectNoFailure(both.cutAll());
        }
    }
}

TEST(PowerCut, WhilePacking)
{
    const Scene scene{.seed = 300, .changes = 12, .packs = true};
    expectNoFailure(cut(scene, record(scene), 10, 4));
}

class PowerCutOn : public testing::TestWithParam<Share>
{
};
INSTANTIATE_TEST_SUITE_P(Shares, PowerCutOn, testing::Values(Share::smb, Share::nfs));

/// The server's power and everybody's; and a workstation that is gone in the middle while others go on.
TEST_P(PowerCutOn, LosesNothingThatWasAcknowledged)
{
    std::vector<Scene> scenes{{.seed = 500, .changes = 20}};
    for (int call = 14; call <= 94; call += 16)
        scenes.push_back({.seed = 500U + static_cast<unsigned>(call),
                          .writers = 2,
                          .changes = 8,
                          .fault = Fault{{}, call, EHOSTDOWN, true, true}});
    for (int flush = 1; flush <= 4; ++flush)
        scenes.push_back({.seed = 600U + static_cast<unsigned>(flush),
                          .writers = 2,
                          .changes = 12,
                          .fault = Fault{Call::flush, flush, EIO, false, false}});
    std::vector<std::string> wrong;
    int states = 0;
    for (Scene &scene : scenes) {
        scene.share = GetParam();
        const Recording recording = record(scene);
        EXPECT_TRUE(!scene.fault || recording.faultMet) << scene.seed;
        const CutReport report = cut(scene, recording, 4, 1);
        wrong.insert(wrong.end(), report.failures.begin(), report.failures.end());
        states += report.states;
    }
    std::cout << states << " states\n";
    EXPECT_EQ(wrong.empty(), onShares::powerCuts.on(GetParam()));
    for (const std::string &one : wrong)
        std::cout << one << "\n";
}

/// What a mistake in the table files would do is done to them from outside; the tests above must see it.
TEST(PowerCut, FindsPlantedFaults)
{
    const struct {
        Plant planted;
        const char *name;
        std::optional<Fault> fault;
        Share share = Share::local;
    } cases[] = {
        {Plant::journalNotFlushed, "journal not flushed", {}},
        {Plant::journalNotFlushed, "journal not flushed, smb", {}, Share::smb},
        {Plant::journalNotFlushed, "journal not flushed, nfs", {}, Share::nfs},
        {Plant::tableNotFlushed, "table not flushed", {}},
        {Plant::headerFirst, "header before the journal", {}},
        {Plant::journalNotRead, "journal not read", {}},
        {Plant::failureHidden, "failed flush taken for done", Fault{Call::flush, 2, EIO, false, false}}};
    for (const auto &one : cases) {
        Scene scene{.seed = 400, .writers = 2, .changes = 12, .fault = one.fault, .share = one.share};
        EXPECT_TRUE(cut(scene, record(scene), 3, 0).failures.empty()) << "without " << one.name;
        scene.planted = one.planted;
        const CutReport report = cut(scene, record(scene), 9, 0);
        EXPECT_FALSE(report.failures.empty()) << one.name << " went unseen in " << report.states << " states";
        if (!report.failures.empty())
            std::cout << one.name << ": " << report.failures.front() << "\n";
    }
}

} // namespace
