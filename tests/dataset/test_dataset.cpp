// What holds for every kind of data set: one body over the table in memory and the table over a file.

#include "tests/dataset/Tables.h"
#include "tests/dataset/Watcher.h"

#include <QtCore/QStringList>
#include <QtTest/QSignalSpy>

#include <random>

namespace
{

using namespace dataset;
using namespace support;
using State = DataSet::State;

enum class Kind { memory, file };

class DataSetTest : public testing::TestWithParam<Kind>
{
protected:
    void SetUp() override
    {
        if (GetParam() == Kind::memory) {
            auto memory = std::make_unique<MemTable>();
            memory->create(lineFields());
            memory->setIndexFieldNames("FECHA;HORA");
            table = std::move(memory);
        } else {
            shared = std::make_unique<SharedTable>();
            table = shared->opened();
        }
    }
    /// Three days of lines, added out of order.
    void fill()
    {
        addLine(*table, day(3), "10:00", "3b");
        addLine(*table, day(1), "09:00", "1a");
        addLine(*table, day(3), "09:00", "3a");
        addLine(*table, day(2), "09:30", "2a");
        addLine(*table, day(3), "10:00", "3c");
        table->first();
    }
    QStringList walk(bool forward = true)
    {
        QStringList seen;
        for (forward ? table->first() : table->last(); !(forward ? table->eof() : table->bof());
             forward ? table->next() : table->prior())
            seen << concept_(*table);
        return seen;
    }
    QStringList rows()
    {
        QStringList seen;
        for (int row = 0; row < table->rowCount(); ++row)
            seen << table->textAt(row, 2);
        return seen;
    }

    std::unique_ptr<SharedTable> shared;
    std::unique_ptr<DataSet> table;
};

INSTANTIATE_TEST_SUITE_P(Kinds, DataSetTest, testing::Values(Kind::memory, Kind::file),
                         [](const auto &one) { return one.param == Kind::memory ? "memory" : "file"; });

TEST_P(DataSetTest, WalksInOrderBothWaysAndStopsAtTheEnds)
{
    EXPECT_TRUE(table->isEmpty() && table->bof() && table->eof());
    fill();
    const QStringList all{"1a", "2a", "3a", "3b", "3c"};
    EXPECT_EQ(walk(), all);
    EXPECT_EQ(concept_(*table), "3c") << "next() at the end stays on the last line";
    EXPECT_EQ(walk(false), QStringList(all.rbegin(), all.rend()));
    EXPECT_EQ(rows(), all);
    EXPECT_EQ(table->currentRow(), 0);
    table->setCurrentRow(3);
    EXPECT_EQ(concept_(*table), "3b");
    table->setIndexFieldNames("");
    EXPECT_EQ(walk(), (QStringList{"3b", "1a", "3a", "2a", "3c"})) << "without an order: as added";
}

TEST_P(DataSetTest, RangeHoldsExactlyItsDay)
{
    fill();
    EXPECT_TRUE(rangeOfDay(*table, day(3)));
    EXPECT_EQ(walk(), (QStringList{"3a", "3b", "3c"}));
    EXPECT_EQ(table->rowCount(), 3);
    EXPECT_TRUE(table->setRange({{"FECHA", day(2)}}, {{"FECHA", day(3)}}))
        << "bounds that name the leading field only";
    EXPECT_EQ(rows(), (QStringList{"2a", "3a", "3b", "3c"}));
    table->setCurrentRow(2);
    table->cancelRange();
    EXPECT_EQ(concept_(*table), "3b") << "cancelling keeps the line";
    EXPECT_EQ(table->rowCount(), 5);

    EXPECT_FALSE(rangeOfDay(*table, QDate(2026, 3, 15)));
    EXPECT_TRUE(table->isEmpty() && table->bof() && table->eof());
    table->cancelRange();
    EXPECT_EQ(concept_(*table), "3c") << "nothing behind the empty day: the last line";
    EXPECT_FALSE(
        table->setRange({{"FECHA", day(2)}, {"HORA", "10:00"}}, {{"FECHA", day(2)}, {"HORA", "23:59"}}));
    table->cancelRange();
    EXPECT_EQ(concept_(*table), "3a") << "the line nearest after the empty range";
    EXPECT_THROW(table->setRange({{"CONCEPTO", "x"}}, {{"CONCEPTO", "y"}}), EDatabaseError);
}

TEST_P(DataSetTest, SearchesLookAtTheWholeTable)
{
    fill();
    rangeOfDay(*table, day(1));
    const struct {
        Key key;
        SearchMode mode;
        bool found;
        QString stands;
        bool eof;
    } cases[] = {
        {{{"FECHA", day(3)}, {"HORA", "10:00"}}, SearchMode::exact, true, "3b", false},
        {{{"FECHA", day(2)}}, SearchMode::exact, true, "2a", false},
        {{{"FECHA", day(2)}, {"HORA", "09:00"}}, SearchMode::exact, false, "2a", false}, // stays
        {{{"FECHA", day(2)}, {"HORA", "09:00"}}, SearchMode::nearest, false, "2a", false},
        {{{"FECHA", day(2)}, {"HORA", "09:31"}}, SearchMode::nearest, false, "3a", false},
        {{{"FECHA", day(3)}, {"HORA", ""}}, SearchMode::nearest, false, "3a", false},
        {{{"FECHA", day(9)}}, SearchMode::nearest, false, "3c", true},
        {{{"FECHA", day(3)}, {"CONCEPTO", "3c"}},
         SearchMode::exact,
         true,
         "3c",
         false},                                                      // partly outside the order
        {{{"CONCEPTO", "2a"}}, SearchMode::exact, true, "2a", false}, // wholly outside
    };
    for (const auto &c : cases) {
        EXPECT_EQ(table->locate(c.key, c.mode), c.found) << c.stands.toStdString();
        EXPECT_EQ(concept_(*table), c.stands);
        EXPECT_EQ(table->eof(), c.eof) << c.stands.toStdString();
    }
    EXPECT_EQ(table->currentRow(), -1) << "the line found stands outside the range";
    table->next();
    EXPECT_EQ(concept_(*table), "3a") << "outside the range the table's order counts";
    table->first();
    EXPECT_EQ(concept_(*table), "1a");
    table->next();
    EXPECT_TRUE(table->eof());
}

TEST_P(DataSetTest, StatesFollowTheOperations)
{
    fill();
    EXPECT_THROW(table->field(u"HORA").setText("10:00"), EDatabaseError) << "not being edited";
    table->edit();
    EXPECT_EQ(table->state(), State::edit);
    EXPECT_FALSE(table->isModified());
    table->field(u"CONCEPTO").setText("cambiada");
    EXPECT_TRUE(table->isModified());
    EXPECT_EQ(table->textAt(0, 2), "cambiada") << "the row shows what is being typed";
    table->cancel();
    EXPECT_EQ(table->state(), State::browse);
    EXPECT_EQ(table->textAt(0, 2), "1a");

    // Moving posts what was changed and drops what was not.
    table->edit();
    table->field(u"CONCEPTO").setText("guardada");
    table->next();
    EXPECT_EQ(table->state(), State::browse);
    EXPECT_EQ(rows().first(), "guardada");
    table->insert();
    EXPECT_EQ(table->currentRow(), -1);
    EXPECT_TRUE(table->field(u"FECHA").isNull());
    table->last();
    EXPECT_EQ(table->rowCount(), 5) << "an untouched insert leaves nothing";

    // A new key moves the line to its place, and the cursor with it.
    table->first();
    table->edit();
    table->field(u"FECHA").setDate(day(3));
    table->field(u"HORA").setText("09:30");
    table->post();
    EXPECT_EQ(rows(), (QStringList{"2a", "3a", "guardada", "3b", "3c"}));
    EXPECT_EQ(table->currentRow(), 2);
    table->post(); // in browse state: nothing
    table->close();
    EXPECT_EQ(table->state(), State::inactive);
    EXPECT_THROW(table->first(), EDatabaseError);
    EXPECT_EQ(table->rowCount(), 0);
}

TEST_P(DataSetTest, RemovingStepsToANeighbourInsideTheRange)
{
    fill();
    rangeOfDay(*table, day(3));
    const Bookmark gone = table->bookmark();
    table->remove();
    EXPECT_EQ(concept_(*table), "3b");
    EXPECT_FALSE(table->goToBookmark(gone));
    EXPECT_EQ(concept_(*table), "3b") << "a bookmark of a gone line moves nothing";
    table->last();
    table->remove();
    EXPECT_EQ(concept_(*table), "3b") << "the last one gone: the one before";
    table->remove();
    EXPECT_TRUE(table->isEmpty());
    EXPECT_THROW(table->remove(), EDatabaseError);
    table->cancelRange();
    EXPECT_EQ(rows(), (QStringList{"1a", "2a"}));

    table->last();
    table->append();
    table->field(u"CONCEPTO").setText("no");
    table->remove();
    EXPECT_EQ(rows(), (QStringList{"1a", "2a"})) << "removing a pending insert drops it";
    EXPECT_EQ(concept_(*table), "2a") << "and goes back to the line before it";
}

TEST_P(DataSetTest, GuardsUndoWhatWasNotKept)
{
    fill();
    {
        const PendingEditGuard guard(*table);
        table->append();
        table->field(u"CONCEPTO").setText("perdida");
    }
    EXPECT_EQ(table->state(), State::browse);
    EXPECT_EQ(table->rowCount(), 5);
    QSignalSpy current(table.get(), &DataSet::currentChanged);
    QSignalSpy changed(table.get(), &DataSet::rowsChanged);
    table->first();
    current.clear();
    {
        const ControlsGuard outer(*table);
        const ControlsGuard inner(*table);
        for (table->first(); !table->eof(); table->next()) {
            table->edit();
            table->field(u"VEZ").setInteger(1);
            table->post();
        }
        EXPECT_TRUE(current.isEmpty() && changed.isEmpty());
    }
    EXPECT_EQ(current.count(), 1);
    EXPECT_EQ(changed.count(), 1) << "five neighbouring rows in one notice";
    EXPECT_EQ(changed.at(0), (QVariantList{0, 5}));
}

TEST_P(DataSetTest, RowsStayRightWhileAGroupDeletes)
{
    fill();
    for (const bool commit : {false, true}) {
        if (!commit && GetParam() == Kind::memory)
            continue; // in memory nothing waits for the end of a group
        rangeOfDay(*table, day(3));
        CommitGroup group(*table);
        const struct {
            int row;
            QStringList left;
            QString stands;
        } steps[] = {{1, {"3a", "3c"}, "3c"}, {1, {"3a"}, "3a"}, {0, {}, ""}};
        for (const auto &step : steps) {
            table->setCurrentRow(step.row);
            table->remove();
            EXPECT_EQ(rows(), step.left);
            EXPECT_EQ(table->isEmpty(), step.left.isEmpty());
            EXPECT_EQ(concept_(*table), step.stands);
            EXPECT_EQ(table->currentRow(), table->rowCount() - 1);
        }
        if (commit)
            group.commit();
        else
            table->dropGroup();
        EXPECT_EQ(rows(), commit ? QStringList() : QStringList({"3a", "3b", "3c"}));
    }
    table->cancelRange();
    EXPECT_EQ(rows(), (QStringList{"1a", "2a"}));
}

TEST_P(DataSetTest, NoticesAloneKeepAWatcherRight)
{
    std::mt19937 random(7);
    for (int i = 0; i < 40; ++i)
        addLine(*table, day(1 + i % 3), QString("%1:00").arg(10 + i % 9), QString::number(i));
    rangeOfDay(*table, day(2));
    Watcher watcher(*table);
    const int resets = watcher.resets;
    for (int step = 0; step < 300; ++step) {
        const std::unique_ptr<ControlsGuard> guard =
            step % 7 == 0 ? std::make_unique<ControlsGuard>(*table) : std::unique_ptr<ControlsGuard>();
        for (int n = 0; n < (guard ? 4 : 1); ++n) {
            const int action = table->isEmpty() ? 0 : int(random() % 4);
            if (action == 0) {
                addLine(*table, day(1 + int(random() % 3)), QString("%1:30").arg(10 + random() % 9),
                        QString::number(step));
                continue;
            }
            table->setCurrentRow(int(random() % unsigned(table->rowCount())));
            if (action == 1 && table->rowCount() > 3) {
                table->remove();
                continue;
            }
            table->edit();
            if (action == 2)
                table->field(u"HORA").setText(QString("%1:15").arg(10 + random() % 9));
            table->field(u"CONCEPTO").setText(QString("e%1").arg(step));
            table->post();
        }
    }
    QStringList truth;
    for (int row = 0; row < table->rowCount(); ++row)
        truth << watcher.text(row);
    EXPECT_EQ(watcher.rows, truth);
    EXPECT_EQ(watcher.resets, resets) << "single changes must not make a grid start anew";
}

} // namespace
