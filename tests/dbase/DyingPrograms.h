#pragma once

// A table that programs die over: its files as a dead program leaves them, in a folder of their own.

#include "dbase/Table.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

using namespace dbase;
using support::readFile;
using support::TempFolder;
using support::writeFile;

class DyingPrograms : public testing::Test
{
protected:
    TempFolder folder;
    TempFolder after; ///< the files as the dead program left them
    std::string notice;

    static std::filesystem::path dbfIn(const TempFolder &where) { return where.path() / "AGENDA_N.DBF"; }
    static std::filesystem::path asideIn(const TempFolder &where)
    {
        return where.path() / "AGENDA_N.JNL.APARTADO-1";
    }

    std::unique_ptr<Table> open(const TempFolder &where, const OpenOptions &options = {})
    {
        auto opened = Table::open(dbfIn(where), options);
        EXPECT_TRUE(opened.ok()) << opened.status().message();
        if (!opened.ok())
            return nullptr;
        notice = opened.value()->notice();
        return std::move(opened).value();
    }

    void create()
    {
        TableDefinition definition;
        definition.fields = {{"FECHA", FieldType::date, 8},
                             {"HORA", FieldType::character, 5},
                             {"CONCEPTO", FieldType::character, 20}};
        definition.tags = {{"FECHA", "DTOS(FECHA)+HORA"}};
        ASSERT_TRUE(Table::create(dbfIn(folder), definition).ok());
    }

    static std::vector<std::uint8_t> line(const Table &table, int number, const std::string &text)
    {
        auto record = blankRecord(table.recordLength());
        EXPECT_TRUE(writeDate(record, table.fields()[0], {2026, 1 + number / 28 % 12, 1 + number % 28}).ok());
        writeText(record, table.fields()[1], table.codePage(), u"09:00");
        writeText(record, table.fields()[2], table.codePage(), std::u16string(text.begin(), text.end()));
        return record;
    }

    /// @param count  lines that the table is to have.
    static void fill(Table &table, int count)
    {
        for (int number = static_cast<int>(table.recordCount()); number < count; ++number)
            ASSERT_TRUE(table.append(line(table, number, "linea " + std::to_string(number))).ok());
    }

    static void edit(Table &table, RecordNumber number, const std::string &text)
    {
        std::vector<std::uint8_t> before(table.recordLength());
        ASSERT_TRUE(table.read(number, before).ok());
        ASSERT_TRUE(table.update(number, before, line(table, static_cast<int>(number) - 1, text)).ok());
    }

    static std::string textOf(const Table &table, RecordNumber number)
    {
        std::vector<std::uint8_t> record(table.recordLength());
        EXPECT_TRUE(table.read(number, record).ok());
        const auto text = readText(record, table.fields()[2], table.codePage());
        return {text.begin(), text.end()};
    }

    /// The files as they are now, in the folder `after`, with another .DBF where one is given.
    void die(const std::string *table = nullptr)
    {
        for (const char *name : {"AGENDA_N.DBF", "AGENDA_N.MDX", "AGENDA_N.JNL"})
            writeFile(after.path() / name, readFile(folder.path() / name));
        if (table)
            writeFile(dbfIn(after), *table);
    }
};
