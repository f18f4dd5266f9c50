// Values in and out of fields, in memory and through a file.

#include "dataset/DatabaseError.h"
#include "tests/dataset/Tables.h"

namespace
{

using namespace dataset;
using namespace support;

void checkFields(DataSet &table)
{
    table.append();
    const struct {
        const char16_t *field;
        QVariant set;
        QString text; // null: refused
    } cases[] = {
        {u"FECHA", QDate(2024, 2, 29), "29/02/2024"},
        {u"FECHA", "01/12/2026", "01/12/2026"},
        {u"FECHA", "31/02/2026", {}},
        {u"FECHA", "  ", ""},
        {u"HORA", "09:30:15", "09:30"},
        {u"HORA", "  :  ", "  :"},
        {u"CONCEPTO", "ñandú, Ávila y ¿qué?", "ñandú, Ávila y ¿qué?"},
        {u"CONCEPTO", QString(30, u'á'), QString(20, u'á')}, // characters, not bytes
        {u"CONCEPTO", QString("n") + QChar(0x303), "ñ"},     // composed
        {u"CONCEPTO", "fin   ", "fin"},
        {u"CODIGO", 123.5, "123.5"},
        {u"CODIGO", "1234,25", "1234.25"},
        {u"CODIGO", 42, "42"},
        {u"CODIGO", "doce", {}},
        {u"VEZ", "17", "17"},
        {u"VEZ", -3, "-3"},
        {u"VEZ", "3.5", {}},
        {u"HECHO", true, "S"},
        {u"HECHO", "n", "N"},
        {u"HECHO", "quizá", {}},
    };
    for (const auto &c : cases) {
        Field field = table.field(c.field);
        const QString before = field.asText();
        if (c.text.isNull()) {
            EXPECT_THROW(field.setValue(c.set), EConvertError) << c.set.toString().toStdString();
            EXPECT_EQ(field.asText(), before) << "a refused text changes nothing";
            continue;
        }
        field.setValue(c.set);
        EXPECT_EQ(field.asText(), c.text);
        EXPECT_EQ(field.isNull(), c.text.isEmpty());
    }
    table.field(u"CODIGO").clear();
    EXPECT_EQ(table.field(u"CODIGO").asNumber(), 0.0);
    EXPECT_FALSE(table.field(u"FECHA").asDate().isValid());
    EXPECT_EQ(table.field(u"VEZ").asInteger(), -3);
    table.post();
    EXPECT_EQ(table.field(u"HECHO").asBool(), false);
    EXPECT_TRUE(table.field(u"CODIGO").isNull());
    EXPECT_THROW(std::ignore = table.field(u"OTRO"), EDatabaseError);
}

TEST(Fields, InMemory)
{
    MemTable table;
    table.create(lineFields());
    checkFields(table);
    EXPECT_THROW(table.create(lineFields()), EDatabaseError);
    table.emptyTable();
    EXPECT_TRUE(table.isActive() && table.isEmpty());
    EXPECT_EQ(table.rowCount(), 0);
}

TEST(Fields, OverAFile)
{
    const SharedTable shared;
    const auto table = shared.opened();
    checkFields(*table);
    table->edit();
    EXPECT_THROW(table->field(u"VEZ").setInteger(12345), EDatabaseError) << "five digits in four places";
    table->field(u"CONCEPTO").setText(QString::fromUtf8("Łódź 日 €"));
    table->post();
    EXPECT_EQ(concept_(*table), QString::fromUtf8("Lódz ? €"))
        << "what the code page lacks never stops a post";
}

TEST(Fields, NamesOfTablesAndAliasesAreCheckedAtOpening)
{
    const SharedTable shared;
    const auto table = shared.cursor();
    table->setTableName("../LINEAS");
    EXPECT_THROW(table->open(), EDatabaseError);
    table->setTableName("NO_ESTA");
    try {
        table->open();
        ADD_FAILURE();
    } catch (const EDatabaseError &error) {
        EXPECT_EQ(error.kind(), dbase::ErrorKind::notFound);
        EXPECT_TRUE(error.text().contains("NO_ESTA"));
    }
    table->setDatabaseName("OTRA");
    EXPECT_THROW(table->open(), EDatabaseError);
    EXPECT_FALSE(table->isActive());
}

} // namespace
