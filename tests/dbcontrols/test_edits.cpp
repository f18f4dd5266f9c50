// Edits and combo boxes over a field: what is typed, what the record says, and what a table cannot keep.

#include "dataset/DbfTable.h"
#include "dbcontrols/DbComboBox.h"
#include "dbcontrols/DbEdit.h"
#include "dbcontrols/DbMemo.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <QtGui/QWheelEvent>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

namespace
{

using namespace dbcontrols;
using dataset::FieldKind;

class EditsTest : public testing::Test
{
protected:
    EditsTest()
        : table(aliases)
    {
        aliases.add("DB", QString::fromStdString(folder.path().string()));
        table.setDatabaseName("DB");
        table.setTableName("CITAS");
        table.createFile(
            {{"NOMBRE", FieldKind::text, 10}, {"FECHA", FieldKind::date}, {"CODIGO", FieldKind::number}});
        table.open();
        for (const char *name : {"Ana", "Íñigo"}) {
            table.append();
            table.field(u"NOMBRE").setText(name);
            table.post();
        }
        table.first();
        source.setDataSet(&table);
    }
    template <class T> std::unique_ptr<T> control(const char *field)
    {
        auto made = std::make_unique<T>();
        made->setDataSource(&source);
        made->setField(field);
        QObject::connect(made.get(), &T::failed, made.get(),
                         [this](const QString &text) { failures << text; });
        return made;
    }
    support::TempFolder folder;
    dataset::Aliases aliases;
    dataset::DbfTable table;
    DataSource source;
    QStringList failures;
};

TEST_F(EditsTest, ATextGoesIntoItsFieldWhileItIsTyped)
{
    const auto edit = control<DbEdit>("NOMBRE");
    EXPECT_EQ(edit->text(), "Ana");
    table.next();
    EXPECT_EQ(edit->text(), "Íñigo");
    edit->setCursorPosition(5);
    for (const QChar one : QStringLiteral(" Sáinz"))
        QTest::sendKeyEvent(QTest::Click, edit.get(), Qt::Key_A, QString(one), {});
    EXPECT_EQ(table.state(), dataset::DataSet::State::edit);
    EXPECT_EQ(table.field(u"NOMBRE").asText(), "Íñigo Sáin") << "as much as the field holds";
    table.cancel();
    EXPECT_EQ(edit->text(), "Íñigo");
    source.setAutoEdit(false);
    QTest::keyClick(edit.get(), 'x');
    EXPECT_EQ(failures, QStringList{"La línea no se está modificando"});
    EXPECT_EQ(edit->text(), "Íñigo");
}

TEST_F(EditsTest, OtherKindsGoInWhenTheControlIsLeft)
{
    const auto edit = control<DbEdit>("FECHA");
    QTest::keyClicks(edit.get(), "17/11/2026");
    EXPECT_FALSE(table.isEditing());
    QTest::keyClick(edit.get(), Qt::Key_Return);
    EXPECT_EQ(table.field(u"FECHA").asDate(), QDate(2026, 11, 17));
    EXPECT_TRUE(edit->putText("18/11/2026"));
    EXPECT_FALSE(edit->putText("31/02/2026"));
    EXPECT_EQ(failures.size(), 1);
    EXPECT_EQ(edit->text(), "18/11/2026");
}

TEST_F(EditsTest, ANeighbourThatChangesDisturbsNothing)
{
    const auto edit = control<DbEdit>("FECHA");
    const auto name = control<DbEdit>("NOMBRE");
    QTest::keyClicks(edit.get(), "17/11");
    QTest::keyClick(name.get(), 'x');
    table.field(u"CODIGO").setInteger(7);
    EXPECT_EQ(name->text(), "Anax");
    table.cancel();
    EXPECT_EQ(name->text(), "Ana");
}

TEST_F(EditsTest, WhatTheTableCannotKeepIsNotTaken)
{
    const struct {
        QString typed;
        QString kept;
    } cases[] = {{"a☃b", "ab"}, {"e\u0301", "é"}, {"a\tb", "a b"}, {"€ñ", "€ñ"}};
    for (const auto &c : cases) {
        const auto edit = control<DbEdit>("NOMBRE");
        edit->selectAll();
        edit->insert(c.typed);
        emit edit->textEdited(edit->text());
        EXPECT_EQ(table.field(u"NOMBRE").asText(), c.kept);
        EXPECT_EQ(edit->text(), c.kept);
        table.cancel();
        const auto memo = control<DbMemo>("NOMBRE");
        memo->selectAll();
        memo->insertPlainText(c.typed);
        EXPECT_EQ(table.field(u"NOMBRE").asText(), c.kept);
        EXPECT_EQ(memo->toPlainText(), c.kept);
        EXPECT_EQ(memo->textCursor().position(), c.kept.size());
        table.cancel();
    }
}

TEST_F(EditsTest, AComboBoxWritesCapitalsAndLeavesTheRecordsTextAlone)
{
    const auto combo = control<DbComboBox>("NOMBRE");
    combo->addItems({"Berta Güell Roca", "Carlos"});
    combo->setUpperCase(true);
    EXPECT_EQ(combo->currentText(), "Ana") << "not in the list, and not rewritten";
    EXPECT_FALSE(table.isEditing());
    combo->setCurrentIndex(0);
    EXPECT_EQ(table.field(u"NOMBRE").asText(), "BERTA GÜEL");
    EXPECT_EQ(combo->currentText(), "BERTA GÜEL");
    combo->setEditText("");
    QTest::keyClicks(combo.get(), "c");
    EXPECT_EQ(table.field(u"NOMBRE").asText(), "C");
    table.cancel();
    EXPECT_EQ(combo->currentText(), "Ana");
    EXPECT_TRUE(failures.isEmpty());
}

TEST_F(EditsTest, AListOffersOnlyItsItems)
{
    const auto list = control<DbComboBox>("NOMBRE");
    list->setListOnly(true);
    list->addItems({"N", "S"});
    EXPECT_EQ(list->currentIndex(), -1);
    QTest::keyClick(list.get(), 's');
    EXPECT_EQ(table.field(u"NOMBRE").asText(), "S");
    QWheelEvent wheel({5, 5}, list->mapToGlobal(QPointF(5, 5)), {}, {0, 120}, Qt::NoButton, {},
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(list.get(), &wheel);
    EXPECT_EQ(table.field(u"NOMBRE").asText(), "S") << "scrolling past it changes nothing";
    table.cancel();
    EXPECT_EQ(list->currentIndex(), -1);
}

} // namespace
