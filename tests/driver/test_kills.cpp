// Writers that are killed while they write: what was acknowledged is there, once and whole, and the survivors
// go on.

#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <QtCore/QMap>
#include <QtCore/QProcess>
#include <QtCore/QSet>
#include <QtCore/QThread>

#include <random>

namespace
{

const QString driver = QStringLiteral(AGENDA_DRIVER);

/// What one writer's lines say of the keys that only it touches.
struct Told {
    QMap<QString, QString> sure;     ///< key to value; empty: deleted
    QMap<QString, QString> underWay; ///< announced, not answered
    int increments = 0;
    int incrementsUnderWay = 0;

    void read(const QByteArray &output)
    {
        for (const QByteArray &line : output.split('\n')) {
            const QList<QByteArray> words = line.split(' ');
            if (words.size() < 4 || !words.back().startsWith('@'))
                continue; // cut by the kill
            const QString verb = words[0];
            const QString key = words[2];
            const QString value = words[1] == "del" ? QString() : QString(words[3]);
            if (key == QLatin1String("counter")) {
                increments += verb == QLatin1String("ACK") ? 1 : 0;
                incrementsUnderWay += verb == QLatin1String("TRY")   ? 1
                                      : verb == QLatin1String("ACK") ? -1
                                                                     : 0;
            } else if (key.startsWith(u'w')) {
                if (verb == QLatin1String("TRY"))
                    underWay[key] = value;
                else
                    underWay.remove(key);
                if (verb == QLatin1String("ACK"))
                    sure[key] = value;
            }
        }
    }
};

QByteArray run(const QStringList &words, int expected = 0)
{
    QProcess process;
    process.start(driver, words);
    EXPECT_TRUE(process.waitForFinished(60000)) << words.join(u' ').toStdString();
    EXPECT_EQ(process.exitCode(), expected) << words.join(u' ').toStdString() << "\n"
                                            << process.readAllStandardError().toStdString();
    return process.readAllStandardOutput();
}

void compare(const QList<Told> &all, const QByteArray &dump)
{
    QMap<QString, QString> found;
    for (const QByteArray &line : dump.split('\n')) {
        if (const qsizetype blank = line.indexOf(' '); blank > 0)
            found.insert(line.left(blank), line.mid(blank + 1));
    }
    int sure = 0;
    int perhaps = 0;
    QSet<QString> explained;
    for (const Told &told : all) {
        sure += told.increments;
        perhaps += told.increments + told.incrementsUnderWay;
        for (auto one = told.sure.cbegin(); one != told.sure.cend(); ++one) {
            explained.insert(one.key());
            const QString value = found.value(one.key());
            const bool asTold = value == one.value();
            const bool asAnnounced =
                told.underWay.contains(one.key()) && value == told.underWay.value(one.key());
            EXPECT_TRUE(asTold || asAnnounced) << one.key().toStdString() << " is " << value.toStdString()
                                               << ", told " << one.value().toStdString();
        }
        for (auto one = told.underWay.cbegin(); one != told.underWay.cend(); ++one)
            explained.insert(one.key());
    }
    for (auto one = found.cbegin(); one != found.cend(); ++one)
        EXPECT_TRUE(!one.key().startsWith(u'w') || explained.contains(one.key())) << one.key().toStdString();
    EXPECT_GE(found.value("counter").toInt(), sure) << "an increment was lost";
    EXPECT_LE(found.value("counter").toInt(), perhaps);
}

TEST(Kills, LoseNothingThatWasAcknowledged)
{
    const support::TempFolder folder;
    const QString place = QString::fromStdString(folder.path().string());
    run({"init", place});
    std::mt19937 random(20261121);
    QList<Told> told;
    int writer = 0;
    for (int round = 0; round < 12; ++round) {
        std::vector<std::unique_ptr<QProcess>> writers;
        for (int i = 0; i < 4; ++i) {
            writers.push_back(std::make_unique<QProcess>());
            writers.back()->start(driver,
                                  {"write", place, QString::number(++writer), QString::number(random())});
        }
        for (const auto &one : writers) {
            one->waitForReadyRead(5000);
            QThread::msleep(random() % 25);
            one->kill();
        }
        for (const auto &one : writers) {
            EXPECT_TRUE(one->waitForFinished(10000));
            told.append(Told());
            told.back().read(one->readAllStandardOutput());
        }
        run({"check", place});
    }
    int acknowledged = 0;
    for (const Told &one : std::as_const(told))
        acknowledged += static_cast<int>(one.sure.size()) + one.increments;
    EXPECT_GT(acknowledged, 100) << "the writers must have come to write";
    compare(told, run({"dump", place}));
}

TEST(Kills, AHeldLineIsFreeWhenItsHolderDies)
{
    const support::TempFolder folder;
    const QString place = QString::fromStdString(folder.path().string());
    run({"init", place});
    QProcess holder;
    holder.start(driver, {"hold", place, "shared-a", "30"});
    ASSERT_TRUE(holder.waitForStarted());
    QThread::msleep(200);
    run({"hold", place, "shared-a", "0"}, 1); // refused, and says so
    holder.kill();
    holder.waitForFinished(5000);
    run({"hold", place, "shared-a", "0"});
}

} // namespace
