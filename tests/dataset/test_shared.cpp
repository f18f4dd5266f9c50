// Two workstations on one table.

#include "dataset/DatabaseError.h"
#include "dbase/Table.h"
#include "tests/dataset/Tables.h"

#include <QtTest/QSignalSpy>

#include <functional>

namespace
{

using namespace dataset;
using namespace support;

class SharedTest : public testing::Test
{
protected:
    SharedTest()
    {
        mine = shared.opened();
        for (const char *hour : {"09:00", "09:30", "10:00", "10:30"})
            addLine(*mine, day(1), hour, hour);
        theirs = shared.opened();
        rangeOfDay(*mine, day(1));
        EXPECT_EQ(mine->rowCount(), 4);
    }
    SharedTable shared;
    std::unique_ptr<DbfTable> mine;
    std::unique_ptr<DbfTable> theirs;
};

TEST_F(SharedTest, RefreshTellsOnlyWhatChanged)
{
    for (int row = 0; row < mine->rowCount(); ++row)
        EXPECT_EQ(mine->textAt(row, 2), mine->textAt(row, 1));
    mine->setCurrentRow(2);
    QSignalSpy reset(mine.get(), &DataSet::rowsReset);
    QSignalSpy removed(mine.get(), &DataSet::rowsRemoved);
    QSignalSpy inserted(mine.get(), &DataSet::rowsInserted);
    QSignalSpy changed(mine.get(), &DataSet::rowsChanged);
    QSignalSpy current(mine.get(), &DataSet::currentChanged);
    const auto total = [&] {
        return reset.count() + removed.count() + inserted.count() + changed.count() + current.count();
    };
    mine->refresh();
    EXPECT_EQ(total(), 0) << "nobody has written";

    theirs->locate({{"FECHA", day(1)}, {"HORA", "09:30"}}, SearchMode::exact);
    theirs->edit();
    theirs->field(u"CONCEPTO").setText("cambiada");
    theirs->post();
    addLine(*theirs, day(1), "09:15", "nueva");
    addLine(*theirs, day(2), "09:15", "otro día");
    mine->refresh();
    EXPECT_EQ(inserted.count(), 1);
    EXPECT_EQ(inserted.value(0), (QVariantList{1, 1}));
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.at(0), (QVariantList{2, 1}));
    EXPECT_EQ(total(), 2);
    EXPECT_EQ(mine->currentRow(), 3);
    EXPECT_EQ(concept_(*mine), "10:00") << "the current line is kept";

    // The line on which I stand is deleted by the others.
    theirs->locate({{"FECHA", day(1)}, {"HORA", "10:00"}}, SearchMode::exact);
    theirs->remove();
    mine->refresh();
    EXPECT_EQ(concept_(*mine), "10:30");
    EXPECT_EQ(removed.value(0), (QVariantList{3, 1}));
    EXPECT_EQ(current.count(), 1);
}

// More lines than are kept whole once they have been shown, or read ahead with their range.
TEST_F(SharedTest, RefreshTellsOnlyWhatChangedOfManyRows)
{
    constexpr int lines = 1400;
    for (int i = 0; i < lines; ++i)
        addLine(*theirs, day(2), "12:00", QString::number(i));
    rangeOfDay(*mine, day(2));
    ASSERT_EQ(mine->rowCount(), lines);
    int walked = 0;
    for (; !mine->eof(); mine->next())
        EXPECT_EQ(concept_(*mine), QString::number(walked++));
    EXPECT_EQ(walked, lines);
    for (int row = 0; row < lines; ++row)
        EXPECT_EQ(mine->textAt(row, 2), QString::number(row));
    QSignalSpy changed(mine.get(), &DataSet::rowsChanged);
    QSignalSpy removed(mine.get(), &DataSet::rowsRemoved);
    for (const int row : {3, 700, lines - 2}) {
        theirs->goToBookmark(mine->bookmarkAt(row));
        theirs->edit();
        theirs->field(u"CONCEPTO").setText("cambiada");
        theirs->post();
    }
    theirs->goToBookmark(mine->bookmarkAt(5));
    theirs->remove();
    mine->refresh();
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(removed.at(0), (QVariantList{5, 1}));
    ASSERT_EQ(changed.count(), 3);
    EXPECT_EQ(changed.at(0), (QVariantList{3, 1}));
    EXPECT_EQ(changed.at(1), (QVariantList{699, 1}));
    EXPECT_EQ(changed.at(2), (QVariantList{lines - 3, 1}));
}

TEST_F(SharedTest, ARangeReadAheadHidesNothingThatHasBeenSeen)
{
    const auto texts = [this] {
        QStringList seen;
        for (mine->first(); !mine->eof(); mine->next())
            seen << concept_(*mine);
        return seen;
    };
    const auto change = [](DbfTable &table, Bookmark line, const QString &text) {
        table.goToBookmark(line);
        table.edit();
        table.field(u"CONCEPTO").setText(text);
        table.post();
    };
    change(*theirs, mine->bookmarkAt(1), "suya");
    EXPECT_TRUE(mine->goToBookmark(mine->bookmarkAt(1)));
    EXPECT_EQ(concept_(*mine), "suya") << "going to a line reads it";
    EXPECT_EQ(texts(), (QStringList{"09:00", "suya", "10:00", "10:30"}))
        << "and it does not become old again";
    change(*mine, mine->bookmarkAt(0), "mía");
    EXPECT_EQ(texts(), (QStringList{"mía", "suya", "10:00", "10:30"}));
    change(*theirs, mine->bookmarkAt(2), "otra");
    mine->refresh();
    EXPECT_EQ(texts(), (QStringList{"mía", "suya", "otra", "10:30"}));
    theirs->goToBookmark(mine->bookmarkAt(3));
    theirs->remove();
    EXPECT_FALSE(mine->goToBookmark(mine->bookmarkAt(3))) << "gone, though it is still among the rows";
    EXPECT_EQ(texts(), (QStringList{"mía", "suya", "otra"}));
}

TEST_F(SharedTest, AnEditIsNeverDisturbedAndNeverStale)
{
    theirs->first();
    theirs->edit();
    theirs->field(u"CONCEPTO").setText("suya");
    mine->first();
    EXPECT_THROW(
        {
            try {
                mine->edit();
            } catch (const EDatabaseError &error) {
                EXPECT_EQ(error.kind(), dbase::ErrorKind::locked);
                EXPECT_TRUE(error.text().contains("línea 1"));
                throw;
            }
        },
        EDatabaseError);
    EXPECT_EQ(mine->state(), DataSet::State::browse);
    theirs->post();
    EXPECT_THROW(mine->edit(), EDatabaseError) << "not what has been shown until now";
    EXPECT_EQ(mine->state(), DataSet::State::browse);
    EXPECT_EQ(concept_(*mine), "suya") << "edit() reads the record afresh";
    mine->edit();
    mine->field(u"HORA").setText("09:05");
    addLine(*theirs, day(1), "08:00", "antes");
    mine->refresh();
    EXPECT_EQ(mine->state(), DataSet::State::edit);
    EXPECT_EQ(mine->field(u"HORA").asText(), "09:05");
    mine->post();
    EXPECT_EQ(concept_(*mine), "suya");
    EXPECT_EQ(mine->currentRow(), 1);

    theirs->first();
    const Bookmark last = mine->bookmarkAt(4);
    mine->goToBookmark(last);
    theirs->goToBookmark(last);
    theirs->remove();
    EXPECT_THROW(mine->edit(), EDatabaseError) << "deleted by the other workstation";
    EXPECT_EQ(mine->state(), DataSet::State::browse);
}

TEST_F(SharedTest, UntouchedBytesSurviveAnEdit)
{
    // Bytes that say nothing to us (here an impossible date) are not ours to tidy up.
    mine.reset();
    theirs.reset();
    std::string content = readFile(shared.file());
    const std::size_t at = content.find("2026030109:00");
    ASSERT_NE(at, std::string::npos);
    content.replace(at, 8, "2026??01");
    writeFile(shared.file(), content);
    const auto table = shared.cursor();
    table->setIndexFieldNames("");
    table->open();
    EXPECT_TRUE(table->field(u"FECHA").isNull());
    table->edit();
    table->field(u"CONCEPTO").setText("x");
    table->post();
    EXPECT_NE(readFile(shared.file()).find("2026??0109:00x"), std::string::npos);
}

TEST_F(SharedTest, AGroupIsThereWholeOrNotAtAll)
{
    {
        CommitGroup group(*mine);
        addLine(*mine, day(1), "11:00", "a");
        addLine(*mine, day(1), "11:30", "b");
        EXPECT_EQ(concept_(*mine), "b") << "its own lines can be read";
        EXPECT_THROW(mine->beginGroup(), EDatabaseError);
    }
    EXPECT_EQ(mine->rowCount(), 4) << "dropped";
    EXPECT_TRUE(mine->currentRow() >= 0);
    theirs->refresh();
    EXPECT_EQ(theirs->rowCount(), 4);
    CommitGroup group(*mine);
    addLine(*mine, day(1), "11:00", "a");
    addLine(*mine, day(1), "11:30", "b");
    group.commit();
    EXPECT_EQ(mine->rowCount(), 6);
    EXPECT_EQ(concept_(*mine), "b");
    theirs->refresh();
    EXPECT_EQ(theirs->rowCount(), 6);
    EXPECT_THROW(group.commit(), EDatabaseError) << "there is nothing left to write";
}

TEST_F(SharedTest, ClosingDropsTheGroup)
{
    {
        CommitGroup group(*mine);
        addLine(*mine, day(1), "11:00", "a");
        mine->append();
        mine->field(u"HORA").setText("11:30");
        mine->close();
        EXPECT_EQ(mine->state(), DataSet::State::inactive);
        EXPECT_THROW(group.commit(), EDatabaseError) << "what was dropped must not look written";
    }
    addLine(*theirs, day(1), "12:00", "nobody is kept waiting");
    mine->open();
    EXPECT_EQ(mine->rowCount(), 5);
    CommitGroup group(*mine);
    addLine(*mine, day(1), "11:00", "a");
    group.commit();
    EXPECT_EQ(mine->rowCount(), 6);
}

TEST_F(SharedTest, OnlyTheLineThatWasSeenIsDeleted)
{
    const auto theyChange = [&](const char *hour, const QString &text) {
        theirs->locate({{"FECHA", day(1)}, {"HORA", hour}}, SearchMode::exact);
        theirs->edit();
        theirs->field(u"CONCEPTO").setText(text);
        theirs->post();
    };
    const auto refusal = [&] {
        try {
            mine->remove();
        } catch (const EDatabaseError &error) {
            EXPECT_EQ(error.kind(), dbase::ErrorKind::conflict);
            return error.text();
        }
        return QString();
    };
    mine->setCurrentRow(1);
    EXPECT_EQ(mine->textAt(1, 2), "09:30");
    QSignalSpy changed(mine.get(), &DataSet::rowsChanged);
    QSignalSpy fields(mine.get(), &DataSet::fieldChanged);
    theyChange("09:30", "firma urgente");
    EXPECT_TRUE(refusal().contains("otro puesto ha cambiado la línea mientras tanto"));
    EXPECT_EQ(mine->rowCount(), 4);
    EXPECT_EQ(concept_(*mine), "firma urgente") << "shown as it now is";
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.at(0), (QVariantList{1, 1}));
    EXPECT_EQ(fields.count(), 1);
    mine->remove();
    EXPECT_EQ(concept_(*mine), "10:00");
    EXPECT_EQ(mine->rowCount(), 3);

    // Several at once: each as it was seen when the command was given.
    QList<SeenRecord> lines;
    for (const Bookmark line : mine->rows().mid(1))
        lines << mine->seen(line);
    ASSERT_EQ(lines.size(), 2);
    theyChange("10:30", "otra");
    int refused = 0;
    {
        CommitGroup group(*mine);
        for (const SeenRecord &line : lines) {
            try {
                mine->remove(line);
            } catch (const EDatabaseError &error) {
                EXPECT_EQ(error.kind(), dbase::ErrorKind::conflict);
                EXPECT_EQ(concept_(*mine), "otra");
                ++refused;
            }
        }
        group.commit();
    }
    EXPECT_EQ(refused, 1);
    EXPECT_EQ(mine->rowCount(), 2);
    mine->last();
    mine->remove(); // by now it has been shown
    EXPECT_EQ(mine->rowCount(), 1);

    theirs->refresh();
    theirs->first();
    theirs->remove();
    EXPECT_TRUE(refusal().contains("otro puesto ha borrado la línea mientras tanto"));
    EXPECT_TRUE(mine->isEmpty()) << "and it is gone from what is shown";
}

/// What an operation is refused with; empty when it is not.
template <class Work> std::string conflictOf(Work &&work)
{
    try {
        work();
    } catch (const EDatabaseError &error) {
        EXPECT_EQ(error.kind(), dbase::ErrorKind::conflict) << error.what();
        return error.what();
    }
    return {};
}

TEST_F(SharedTest, ALineThatHasLeftTheRangeIsNotCurrentAnyMore)
{
    const auto theyMove = [&](const QString &hour, QDate to) {
        theirs->locate({{"FECHA", day(1)}, {"HORA", hour}}, SearchMode::exact);
        theirs->edit();
        theirs->field(u"FECHA").setDate(to);
        theirs->post();
    };
    // How the news come in: by itself, at an edit, at a deletion, and for a line that was gone to unawares.
    const struct {
        QString moved;
        std::function<void()> meets;
        std::string refusal;
        QString stands;
    } cases[] = {
        {"09:30", [&] { mine->refresh(); }, "", "10:00"},
        {"10:00", [&] { mine->edit(); }, "ha cambiado de sitio", "10:30"},
        {"10:30", [&] { mine->remove(); }, "ha cambiado de sitio", "09:00"},
    };
    for (const auto &c : cases) {
        mine->locate({{"FECHA", day(1)}, {"HORA", c.moved}}, SearchMode::exact);
        ASSERT_EQ(concept_(*mine), c.moved);
        QSignalSpy current(mine.get(), &DataSet::currentChanged);
        theyMove(c.moved, day(2));
        const std::string refusal = conflictOf(c.meets);
        EXPECT_EQ(refusal.empty(), c.refusal.empty()) << refusal;
        EXPECT_NE(refusal.find(c.refusal), std::string::npos) << refusal;
        EXPECT_EQ(concept_(*mine), c.stands);
        EXPECT_EQ(mine->currentRow(), mine->rowOf(mine->bookmark()));
        EXPECT_GE(mine->currentRow(), 0);
        EXPECT_EQ(mine->state(), DataSet::State::browse);
        EXPECT_EQ(current.count(), 1);
    }
    const Bookmark last = mine->bookmarkAt(0);
    theyMove("09:00", day(2));
    EXPECT_FALSE(mine->goToBookmark(last)) << "it is still among the rows, and elsewhere by now";
    mine->refresh();
    EXPECT_TRUE(mine->isEmpty() && mine->bof() && mine->eof());
    EXPECT_EQ(mine->bookmark(), 0U);
    // What one goes to outside the range, or moves out of it oneself, stays current.
    mine->locate({{"FECHA", day(2)}, {"HORA", "09:30"}}, SearchMode::exact);
    addLine(*theirs, day(4), "09:30", "news");
    mine->refresh();
    EXPECT_EQ(concept_(*mine), "09:30");
    rangeOfDay(*mine, day(2));
    mine->edit();
    mine->field(u"FECHA").setDate(day(5));
    mine->post();
    addLine(*theirs, day(4), "10:00", "more");
    mine->refresh();
    EXPECT_EQ(mine->field(u"FECHA").asDate(), day(5));
    theirs->cancelRange();
    theirs->first();
    EXPECT_EQ(theirs->rowCount(), 6) << "nothing was deleted";
}

TEST_F(SharedTest, WhatWasNotSeenIsNeitherChangedNorDeleted)
{
    const auto theyWrite = [&](Bookmark line, const char *field, const QVariant &value) {
        theirs->goToBookmark(line);
        theirs->edit(EditOf::fresh);
        if (value.isValid())
            theirs->field(QString(field)).setValue(value);
        else
            theirs->remove();
        theirs->post();
    };
    const QString changed = "Otro puesto ha cambiado la línea mientras tanto";
    const QString moved = "Otro puesto ha cambiado de sitio la línea mientras tanto";
    const QString deleted = "Otro puesto ha borrado la línea mientras tanto";
    const struct {
        const char *field; ///< what they write between the look and the command
        QVariant value;
        bool refreshed;   ///< the news have come in before the command is run
        bool cursorThere; ///< the line is the current one when it is seen
        QString refusal;
    } cases[] = {
        {"VEZ", {}, false, false, ""},
        {"VEZ", {}, true, true, ""},
        {"CONCEPTO", "suya", false, false, changed},
        {"CONCEPTO", "suya", true, false, changed},
        {"CONCEPTO", "suya", false, true, changed},
        {"CONCEPTO", "suya", true, true, changed},
        {"FECHA", day(2), false, false, moved},
        {"FECHA", day(2), true, true, moved},
        {"HORA", "", false, true, deleted},
        {"HORA", "", true, false, deleted},
    };
    int hour = 0;
    for (const auto &c : cases) {
        for (const bool deletes : {false, true}) {
            const QString own = QString("2%1:%2").arg(hour / 10).arg(hour % 10, 2, 10, QChar('0'));
            ++hour;
            addLine(*theirs, day(1), own, "vista");
            theirs->locate({{"FECHA", day(1)}, {"HORA", own}}, SearchMode::exact);
            const Bookmark line = theirs->bookmark();
            mine->refresh();
            mine->setCurrentRow(c.cursorThere ? mine->rowOf(line) : 0);
            EXPECT_EQ(mine->textAt(mine->rowOf(line), 2), "vista");
            const SeenRecord seen = mine->seen(line);
            EXPECT_EQ(seen.bookmark(), line);
            if (!c.refusal.isEmpty())
                theyWrite(line, c.field, c.refusal == deleted ? QVariant() : c.value);
            if (c.refreshed)
                mine->refresh();
            EXPECT_EQ(mine->textOf(seen, 2), "vista") << "an image stays what it is";
            const std::string refusal = conflictOf([&] { deletes ? mine->remove(seen) : mine->edit(seen); });
            EXPECT_EQ(QString::fromStdString(refusal), c.refusal) << own.toStdString();
            if (c.refusal == changed) {
                EXPECT_EQ(mine->bookmark(), line);
                EXPECT_EQ(concept_(*mine), "suya") << "shown as it now is";
            }
            if (c.refusal.isEmpty()) {
                EXPECT_EQ(mine->rowOf(line) < 0, deletes);
            }
            if (c.refusal.isEmpty() && !deletes) {
                EXPECT_EQ(mine->state(), DataSet::State::edit);
                mine->field(u"CONCEPTO").setText("mía");
                mine->post();
                EXPECT_EQ(concept_(*mine), "mía");
            }
            EXPECT_EQ(mine->state(), DataSet::State::browse);
        }
    }
    // In a group, too, and without an end of it for the others.
    const SeenRecord first = mine->seen(mine->bookmarkAt(0));
    const SeenRecord second = mine->seen(mine->bookmarkAt(1));
    const int rows = mine->rowCount();
    theyWrite(first.bookmark(), "CONCEPTO", "suya");
    CommitGroup group(*mine);
    EXPECT_EQ(QString::fromStdString(conflictOf([&] { mine->remove(first); })), changed);
    mine->remove(second);
    group.commit();
    EXPECT_EQ(mine->rowCount(), rows - 1);
    EXPECT_EQ(mine->textAt(0, 2), "suya");
    EXPECT_THROW(mine->remove(SeenRecord()), EDatabaseError);
    EXPECT_EQ(mine->seen(0).bookmark(), 0U);
}

// Of lines shown long ago only a digest is kept.
TEST_F(SharedTest, WhatWasSeenLongAgoIsStillKnownFromWhatIsThereNow)
{
    for (int i = 0; i < 1200; ++i)
        addLine(*theirs, day(2), "12:00", QString::number(i));
    rangeOfDay(*mine, day(2));
    for (int row = 0; row < mine->rowCount(); ++row)
        static_cast<void>(mine->textAt(row, 2));
    const Bookmark same = mine->bookmarkAt(600);
    const Bookmark other = mine->bookmarkAt(601);
    theirs->goToBookmark(other);
    theirs->edit();
    theirs->field(u"CONCEPTO").setText("suya");
    theirs->post();
    const SeenRecord seenSame = mine->seen(same);
    const SeenRecord seenOther = mine->seen(other);
    EXPECT_NE(conflictOf([&] { mine->remove(seenOther); }), "");
    EXPECT_EQ(concept_(*mine), "suya");
    EXPECT_EQ(conflictOf([&] { mine->remove(seenSame); }), "");
    EXPECT_EQ(mine->rowCount(), 1199);
}

TEST_F(SharedTest, AnEditOfTheFreshLineTakesInWhatOthersHaveWritten)
{
    const Bookmark line = mine->bookmark();
    theirs->goToBookmark(line);
    theirs->edit();
    theirs->field(u"CONCEPTO").setText("suya");
    theirs->post();
    mine->edit(EditOf::fresh);
    EXPECT_EQ(concept_(*mine), "suya");
    mine->field(u"VEZ").setInteger(3);
    mine->post();
    EXPECT_EQ(concept_(*mine), "suya");
    theirs->refresh();
    EXPECT_EQ(theirs->field(u"VEZ").asInteger(), 3);
}

TEST_F(SharedTest, ARangeMayRunDownwards)
{
    mine->close();
    theirs->close();
    dbase::TagDefinition downwards{"ABAJO", "DTOS(FECHA)+HORA"};
    downwards.descending = true;
    dbase::OpenOptions options;
    options.tags = {downwards};
    ASSERT_TRUE(dbase::Table::open(shared.file(), options).ok()); // gets the index, and is closed
    mine->setIndexFieldNames("ABAJO");
    mine->open();
    theirs->open();
    EXPECT_TRUE(
        mine->setRange({{"FECHA", day(1)}, {"HORA", "10:00"}}, {{"FECHA", day(1)}, {"HORA", "09:30"}}));
    EXPECT_EQ(mine->rowCount(), 2);
    EXPECT_EQ(concept_(*mine), "10:00");
    mine->next();
    EXPECT_EQ(concept_(*mine), "09:30");
    theirs->goToBookmark(mine->bookmark());
    theirs->edit();
    theirs->field(u"HORA").setText("09:15");
    theirs->post();
    mine->refresh();
    EXPECT_EQ(concept_(*mine), "10:00");
}

} // namespace
