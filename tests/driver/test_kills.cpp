// Writers that are killed while they write: what was acknowledged is there, once and whole, and the survivors
// go on.

#include "tests/driver/Judge.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <QtCore/QProcess>
#include <QtCore/QThread>

#include <iostream>
#include <random>

#if defined(AGENDA_DRIVER_FAULTS)
#include "tests/driver/FileCalls.h"
#include "tests/driver/OnShares.h"
#endif

namespace
{

using namespace driver;

/// A table and the programs that write it.
class Storm
{
public:
    /// @param share  which the writers find the table on: "smb" or "nfs"; empty: on their own machine.
    explicit Storm(QString share = {})
        : m_share(std::move(share))
    {
        EXPECT_TRUE(AgendaTable::create(m_folder.path()).ok());
    }

    [[nodiscard]] QString place() const { return QString::fromStdString(m_folder.path().string()); }
    [[nodiscard]] const Told &told() const { return m_told; }
    [[nodiscard]] std::vector<std::string> wrong() const { return judge(m_folder.path(), m_told); }
    void expectSound() const
    {
        for (const std::string &one : wrong())
            ADD_FAILURE() << one;
    }

    /// Starts a writer that goes on until it is killed, or for some changes.
    std::unique_ptr<QProcess> writer(std::mt19937::result_type seed, int changes = 0)
    {
#if defined(AGENDA_DRIVER_FAULTS)
        if (!m_share.isEmpty())
            return dyingWriter(seed, 0, changes);
#endif
        auto made = std::make_unique<QProcess>();
        ++m_writers;
        QStringList words{"write", place(), QString::number(m_writers), QString::number(seed)};
        if (changes > 0)
            words << QString::number(changes);
        made->setObjectName(QString::number(m_writers));
        made->start(QStringLiteral(AGENDA_DRIVER), words);
        return made;
    }
    /// Waits for a writer's end. @return whether it was killed.
    bool end(QProcess &writer)
    {
        EXPECT_TRUE(writer.waitForFinished(60000));
        const int id = writer.objectName().toInt();
        m_told.lines(id, writer.readAllStandardOutput().toStdString());
        m_told.died(id);
        if (writer.exitStatus() == QProcess::CrashExit)
            return true;
        EXPECT_EQ(writer.exitCode(), 0) << writer.readAllStandardError().toStdString();
        return false;
    }

#if defined(AGENDA_DRIVER_FAULTS)
    /// Starts a writer that dies by itself.
    /// @param change  it dies at this change of a file, in mid-write; 0: it lives.
    /// @param changes  lines that it changes at most.
    std::unique_ptr<QProcess> dyingWriter(std::mt19937::result_type seed, int change, int changes,
                                          filecalls::Plant planted = filecalls::Plant::none)
    {
        auto made = std::make_unique<QProcess>();
        ++m_writers;
        made->setObjectName(QString::number(m_writers));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("AGENDA_FOLDER", place());
        environment.insert("AGENDA_DIE", QString::number(change));
        environment.insert("AGENDA_PLANT", QString::number(static_cast<int>(planted)));
        if (!m_share.isEmpty())
            environment.insert("AGENDA_SHARE", m_share);
        environment.insert("AGENDA_TRIP", QString::number(TripMs));
        made->setProcessEnvironment(environment);
        made->start(QStringLiteral(AGENDA_DRIVER_FAULTS),
                    {"write", place(), made->objectName(), QString::number(seed), QString::number(changes)});
        return made;
    }
#endif

    int TripMs = 0; ///< real time of each call to a share's server

private:
    QString m_share;
    support::TempFolder m_folder;
    Told m_told;
    int m_writers = 0;
};

/// @param longest  milliseconds that a writer lives on after its first word.
void killByTheClock(Storm &storm, int rounds, unsigned longest)
{
    constexpr unsigned seed = 20261121;
    std::mt19937 random(seed);
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        std::vector<std::unique_ptr<QProcess>> writers;
        for (int i = 0; i < 4; ++i)
            writers.push_back(storm.writer(random()));
        for (const auto &one : writers) {
            one->waitForReadyRead(5000);
            QThread::msleep(random() % longest);
            one->kill();
        }
        for (const auto &one : writers)
            EXPECT_TRUE(storm.end(*one));
        storm.expectSound();
    }
    EXPECT_GT(storm.told().acknowledged(), 2 * rounds) << "the writers must have come to write";
}

TEST(Kills, LoseNothingThatWasAcknowledged)
{
    Storm storm;
    killByTheClock(storm, 12, 25);
}

TEST(Kills, AHeldLineIsFreeWhenItsHolderDies)
{
    const Storm storm;
    const auto hold = [&](const char *seconds) {
        auto made = std::make_unique<QProcess>();
        made->start(QStringLiteral(AGENDA_DRIVER), {"hold", storm.place(), "shared-a", seconds});
        return made;
    };
    const auto outcome = [&] {
        const auto one = hold("0");
        EXPECT_TRUE(one->waitForFinished(60000));
        return one->exitCode();
    };
    const auto holder = hold("30");
    ASSERT_TRUE(holder->waitForStarted());
    QThread::msleep(200);
    EXPECT_EQ(outcome(), 1) << "refused, and says so";
    holder->kill();
    holder->waitForFinished(5000);
    EXPECT_EQ(outcome(), 0);
}

#if defined(AGENDA_DRIVER_FAULTS)
using filecalls::Plant;

void killAtEveryChange(Storm &storm, int changes)
{
    constexpr unsigned seed = 20261122;
    for (int change = 1; change <= changes; ++change) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", change " + std::to_string(change));
        EXPECT_TRUE(storm.end(*storm.dyingWriter(seed + static_cast<unsigned>(change), change, 60)));
        storm.expectSound();
    }
}

TEST(Kills, AtEveryChangeOfAFileInTurn)
{
    Storm storm;
    killAtEveryChange(storm, 60);
}

void killAtChanges(Storm &storm, int rounds)
{
    constexpr unsigned seed = 20261123;
    std::mt19937 random(seed);
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        std::vector<std::unique_ptr<QProcess>> dying;
        for (int i = 0; i < 3; ++i)
            dying.push_back(storm.dyingWriter(random(), 1 + static_cast<int>(random() % 90), 90));
        const auto survivor = storm.writer(random(), 20);
        for (const auto &one : dying)
            EXPECT_TRUE(storm.end(*one));
        const int before = storm.told().acknowledged();
        EXPECT_FALSE(storm.end(*survivor));
        EXPECT_GT(storm.told().acknowledged(), before + 15) << "the survivor was kept from writing";
        storm.expectSound();
    }
}

TEST(Kills, AtChangesOfFilesWhileOthersGoOn)
{
    Storm storm;
    killAtChanges(storm, 10);
}

/// Each writer is a workstation of its own: what it has kept for itself dies with it.
class KillsOn : public testing::TestWithParam<filecalls::Share>
{
protected:
    void SetUp() override
    {
        if (!onShares::kills.on(GetParam()))
            GTEST_SKIP() << "the table files do not do that right yet";
    }
    Storm storm{onShares::nameOf(GetParam())};
};
INSTANTIATE_TEST_SUITE_P(Shares, KillsOn, testing::Values(filecalls::Share::smb, filecalls::Share::nfs));

TEST_P(KillsOn, LoseNothingThatWasAcknowledged)
{
    killByTheClock(storm, 6, 150);
}
/// Beside one that never leaves.
TEST_P(KillsOn, AllComeToWrite)
{
    constexpr int others = 3;
    constexpr int changes = 20;
    const auto first = storm.writer(1);
    EXPECT_TRUE(first->waitForReadyRead(5000));
    std::vector<std::unique_ptr<QProcess>> all;
    for (unsigned seed = 2; seed < 2 + others; ++seed)
        all.push_back(storm.writer(seed, changes));
    for (const auto &one : all)
        EXPECT_FALSE(storm.end(*one));
    EXPECT_GT(storm.told().acknowledged(), others * changes * 8 / 10);
    first->kill();
    EXPECT_TRUE(storm.end(*first));
    storm.expectSound();
}
/// Far away, as over a VPN, a change takes a quarter of a second, and six want to write: all come to it.
TEST_P(KillsOn, NobodyIsRefusedForImpatience)
{
    constexpr int writers = 6;
    constexpr int changes = 5;
    storm.TripMs = 20;
    std::vector<std::unique_ptr<QProcess>> all;
    for (unsigned seed = 1; seed <= writers; ++seed)
        all.push_back(storm.writer(seed, changes));
    for (const auto &one : all) {
        EXPECT_FALSE(storm.end(*one));
        const QByteArray told = one->readAllStandardError();
        EXPECT_FALSE(told.contains("otro puesto está escribiendo")) << told.toStdString();
    }
    EXPECT_GT(storm.told().acknowledged(), writers * changes / 2);
    storm.expectSound();
}
TEST_P(KillsOn, LoseNothingAtEveryChangeOfAFile)
{
    killAtEveryChange(storm, 40);
}
TEST_P(KillsOn, LoseNothingWhileOthersGoOn)
{
    killAtChanges(storm, 4);
}

/// What a mistake in the table files would do is done to them from outside; the tests above must see it.
TEST(Kills, FindPlantedFaults)
{
    const auto firstSeen = [](Plant planted) {
        for (int change = 1; change <= 60; ++change) {
            Storm storm;
            EXPECT_TRUE(storm.end(*storm.dyingWriter(7, change, 60, planted)));
            // Whoever comes next has the fault as well: a sound program would make good what was left. A
            // header that counts too much it would mend as well, and only say so.
            if (planted != Plant::headerFirst)
                storm.end(*storm.dyingWriter(8, 0, 2, planted));
            if (const auto wrong = storm.wrong(); !wrong.empty())
                return std::to_string(change) + ": " + wrong.front();
        }
        return std::string();
    };
    EXPECT_EQ(firstSeen(Plant::none), "");
    for (const Plant planted : {Plant::headerFirst, Plant::journalNotRead}) {
        const std::string seen = firstSeen(planted);
        EXPECT_NE(seen, "") << "plant " << static_cast<int>(planted) << " went unseen";
        std::cout << "plant " << static_cast<int>(planted) << ", change " << seen << "\n";
    }
}

TEST(Kills, FindWritersThatDoNotLock)
{
    const auto firstSeen = [](Plant planted, int rounds) {
        for (int round = 1; round <= rounds; ++round) {
            Storm storm;
            std::vector<std::unique_ptr<QProcess>> writers;
            for (unsigned seed = 1; seed <= 4; ++seed)
                writers.push_back(storm.dyingWriter(seed, 0, 60, planted));
            for (const auto &one : writers)
                storm.end(*one);
            if (const auto wrong = storm.wrong(); !wrong.empty())
                return wrong.front();
        }
        return std::string();
    };
    EXPECT_EQ(firstSeen(Plant::none, 2), "");
    const std::string seen = firstSeen(Plant::nothingLocked, 20);
    EXPECT_NE(seen, "") << "writers that take no lock went unseen";
    std::cout << seen << "\n";
}
#else
TEST(Kills, AtChosenCalls)
{
    GTEST_SKIP() << "file calls are put in front of only on Linux";
}
#endif

} // namespace
