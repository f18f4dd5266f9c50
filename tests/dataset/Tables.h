#pragma once

#include "dataset/DbfTable.h"
#include "dataset/MemTable.h"
#include "tests/support/TempFolder.h"

#include <memory>

namespace support
{

inline const QList<dataset::FieldInfo> &lineFields()
{
    static const QList<dataset::FieldInfo> fields = {
        {"FECHA", dataset::FieldKind::date},        {"HORA", dataset::FieldKind::text, 5},
        {"CONCEPTO", dataset::FieldKind::text, 20}, {"CODIGO", dataset::FieldKind::number, 20, 4},
        {"VEZ", dataset::FieldKind::integer, 4},    {"HECHO", dataset::FieldKind::logical, 1}};
    return fields;
}

/// A folder with one dBase table of lineFields(), and cursors over it.
class SharedTable
{
public:
    SharedTable()
    {
        m_aliases.add("DB", QString::fromStdString(m_folder.path().string()));
        m_aliases.setLockPatience(std::chrono::milliseconds(100)); // whoever waits here waits for a refusal
        cursor()->createFile(lineFields());
    }
    /// A cursor that is not open yet.
    [[nodiscard]] std::unique_ptr<dataset::DbfTable> cursor() const
    {
        auto table = std::make_unique<dataset::DbfTable>(m_aliases);
        table->setDatabaseName("DB");
        table->setTableName("LINEAS");
        table->setDurable(false);
        table->addIndexDefinition("FECHA", "DTOS(FECHA)+HORA");
        table->setIndexFieldNames("FECHA;HORA");
        return table;
    }
    [[nodiscard]] std::unique_ptr<dataset::DbfTable> opened() const
    {
        auto table = cursor();
        table->open();
        return table;
    }
    /// Of the cursors opened from now on.
    void setLockPatience(std::chrono::milliseconds patience) { m_aliases.setLockPatience(patience); }
    [[nodiscard]] std::filesystem::path file() const { return m_folder.path() / "LINEAS.DBF"; }

private:
    TempFolder m_folder;
    dataset::Aliases m_aliases;
};

inline QDate day(int number)
{
    return {2026, 3, number};
}

/// The date 00:00 to 23:59 bounds that the agenda uses.
inline bool rangeOfDay(dataset::DataSet &table, QDate date)
{
    return table.setRange({{"FECHA", date}, {"HORA", "00:00"}}, {{"FECHA", date}, {"HORA", "23:59"}});
}

inline void addLine(dataset::DataSet &table, QDate date, const QString &hour, const QString &text)
{
    table.append();
    table.field(u"FECHA").setDate(date);
    table.field(u"HORA").setText(hour);
    table.field(u"CONCEPTO").setText(text);
    table.post();
}

inline QString concept_(dataset::DataSet &table)
{
    return table.field(u"CONCEPTO").asText();
}

} // namespace support
