// Tables that other programs wrote (tests/data/README.md): they are read as those programs read them, changed
// through our code, and everything that was not changed stays as it was.

#include "dbase/Table.h"
#include "tests/support/EraseLine.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

namespace
{

using namespace dbase;
using support::readFile;
using support::TempFolder;

struct ForeignTable {
    const char *file;
    const char *index; ///< empty: the program writes none
    CodePage page;
    /// The index is taken as it is; else the other program's keys of blank dates or zeros are not ours, and
    /// it is rewritten.
    bool indexTakenAsItIs;
};

void PrintTo(const ForeignTable &table, std::ostream *out)
{
    *out << table.file;
}

const ForeignTable foreignTables[] = {
    {"TDBF437.DBF", "TDBF437.mdx", CodePage::dos437, false},
    {"TDBF850.DBF", "TDBF850.mdx", CodePage::dos850, false},
    {"TDBF1252.DBF", "TDBF1252.mdx", CodePage::windows1252, false},
    {"TDBFNUM.DBF", "TDBFNUM.mdx", CodePage::windows1252, true},
    {"TDBFWE.DBF", "TDBFWE.mdx", CodePage::windows1252, true},
    {"MANO.DBF", "MANO.MDX", CodePage::windows1252, true},
    {"PYDBF.DBF", "", CodePage::dos850, true},
    {"XBASE.dbf", "", CodePage::windows1252, true},
    {"LIBRE.dbf", "", CodePage::windows1252, true},
};

struct Line {
    bool deleted = false;
    std::string date;
    std::string hour;
    std::u16string concept_;
    std::string client; ///< with four decimals; empty for none
    std::string out;
    friend bool operator==(const Line &, const Line &) = default;
};

void PrintTo(const Line &line, std::ostream *out)
{
    *out << line.deleted << ';' << line.date << ';' << line.hour << ';'
         << std::string(line.concept_.begin(), line.concept_.end()) << ';' << line.client << ';' << line.out;
}

/// The dump beside a table: its lines, and for each tag the numbers of all lines in order.
struct Dump {
    std::vector<Line> lines;
    std::map<std::string, std::vector<RecordNumber>> orders;
};

std::u16string fromUtf8(const std::string &text)
{
    const std::u8string bytes(text.begin(), text.end());
    return std::filesystem::path(bytes).u16string();
}

Dump readDump(const std::filesystem::path &file)
{
    Dump dump;
    std::istringstream in(readFile(file));
    for (std::string text; std::getline(in, text);) {
        std::istringstream parts(text);
        std::string part;
        if (text.starts_with("orden ")) {
            std::string tag;
            parts >> part >> tag;
            for (RecordNumber number = 0; parts >> number;)
                dump.orders[tag].push_back(number);
            continue;
        }
        std::vector<std::string> fields;
        while (std::getline(parts, part, ';'))
            fields.push_back(part);
        fields.resize(7);
        EXPECT_EQ(fields[0], std::to_string(dump.lines.size() + 1));
        dump.lines.push_back(
            {fields[1] == "*", fields[2], fields[3], fromUtf8(fields[4]), fields[5], fields[6]});
    }
    return dump;
}

class ForeignTables : public testing::TestWithParam<ForeignTable>
{
protected:
    TempFolder folder;
    std::filesystem::path file = folder.path() / GetParam().file;
    Dump dump;

    void SetUp() override
    {
        const std::filesystem::path data = AGENDA_TEST_DATA;
        for (const char *name : {GetParam().file, GetParam().index}) {
            if (*name != '\0')
                std::filesystem::copy_file(data / name, folder.path() / name);
        }
        dump = readDump((data / GetParam().file).replace_extension(".txt"));
        ASSERT_GE(dump.lines.size(), 4U);
    }

    [[nodiscard]] std::unique_ptr<Table> open() const
    {
        OpenOptions options;
        options.durable = false;
        options.tags = {{"FECHA", "DTOS(FECHA)+HORA"}};
        auto opened = Table::open(file, options);
        EXPECT_TRUE(opened.ok()) << opened.status().message();
        return opened.ok() ? std::move(opened).value() : nullptr;
    }

    static std::string text(const Table &table, std::span<const std::uint8_t> record, const char *name)
    {
        const int field = table.fieldIndex(name);
        if (field < 0)
            return {};
        const auto wide = readText(record, table.fields()[static_cast<std::size_t>(field)], table.codePage());
        return {wide.begin(), wide.end()};
    }

    static Line lineAt(const Table &table, RecordNumber number)
    {
        std::vector<std::uint8_t> record(table.recordLength());
        EXPECT_TRUE(table.read(number, record).ok());
        Line line;
        line.deleted = isDeleted(record);
        if (const auto date = readDate(record, table.fields()[0])) {
            line.date = std::to_string(date->year * 10000 + date->month * 100 + date->day);
        }
        line.hour = text(table, record, "HORA");
        line.concept_ = readText(record, table.fields()[2], table.codePage());
        if (const int client = table.fieldIndex("CODCLIENTE"); client >= 0) {
            if (const auto number_ = readNumber(record, table.fields()[static_cast<std::size_t>(client)])) {
                std::array<char, 40> digits{};
                std::snprintf(digits.data(), digits.size(), "%.4f", *number_);
                line.client = digits.data();
            }
        }
        line.out = text(table, record, "SALIDA");
        return line;
    }

    void expectLines(const Table &table) const
    {
        ASSERT_EQ(table.recordCount(), dump.lines.size());
        for (RecordNumber number = 1; number <= table.recordCount(); ++number)
            EXPECT_EQ(lineAt(table, number), dump.lines[number - 1]) << "line " << number;
    }

    /// What a tag sorts by, as it can be read in the dump.
    [[nodiscard]] std::string keyOf(const Table &table, const std::string &tag, RecordNumber number) const
    {
        const Line &line = dump.lines[number - 1];
        if (tag == "FECHA")
            return (line.date.empty() ? std::string(8, ' ') : line.date) + line.hour;
        if (tag == "SOLO")
            return line.date;
        if (tag == "CONCEPTO")
            return encode(table.codePage(), line.concept_);
        return line.client.empty() ? "0.0000" : line.client; // a tag has no key for "no number"
    }

    void expectOrders(const Table &table) const
    {
        const Status status = const_cast<Table &>(table).check();
        EXPECT_TRUE(status.ok()) << status.message();
        for (const auto &[name, order] : dump.orders) {
            const std::string tag = name; // clang 14 takes no binding into a lambda
            SCOPED_TRACE(tag);
            Index *const index = table.index(tag);
            ASSERT_NE(index, nullptr);
            std::vector<RecordNumber> found;
            ASSERT_TRUE(index->collect({}, {}, found).ok());
            auto wanted = order;
            // The other program puts small numbers in front of 0; lines with equal keys it keeps as they
            // came.
            if (tag == "CODCLIENTE") {
                std::stable_sort(wanted.begin(), wanted.end(), [&](RecordNumber a, RecordNumber b) {
                    return std::stod(keyOf(table, tag, a)) < std::stod(keyOf(table, tag, b));
                });
            }
            ASSERT_EQ(found.size(), wanted.size());
            for (std::size_t i = 0; i < found.size(); ++i)
                EXPECT_EQ(keyOf(table, tag, found[i]), keyOf(table, tag, wanted[i])) << "place " << i;
            std::sort(found.begin(), found.end());
            std::sort(wanted.begin(), wanted.end());
            EXPECT_EQ(found, wanted);
        }
    }

    /// Puts what stands in `line` into a record and the dump's orders where the key now belongs.
    void take(const Table &table, RecordNumber number, const Line &line)
    {
        if (number > dump.lines.size())
            dump.lines.resize(number);
        dump.lines[number - 1] = line;
        for (auto &[tag, order] : dump.orders) {
            std::erase(order, number);
            const auto key = keyOf(table, tag, number);
            const auto before = [&, name = tag](RecordNumber a, const std::string &b) {
                const auto own = keyOf(table, name, a);
                return name == "CODCLIENTE" ? std::stod(own) <= std::stod(b) : own <= b;
            };
            order.insert(std::lower_bound(order.begin(), order.end(), key, before), number);
        }
    }

    static std::vector<std::uint8_t> recordOf(const Table &table, const Line &line,
                                              std::vector<std::uint8_t> record)
    {
        const auto field = [&](const char *name) {
            return table.fields()[static_cast<std::size_t>(table.fieldIndex(name))];
        };
        const int date = std::stoi(line.date);
        EXPECT_TRUE(writeDate(record, field("FECHA"), {date / 10000, date / 100 % 100, date % 100}).ok());
        writeText(record, field("HORA"), table.codePage(), fromUtf8(line.hour));
        writeText(record, field("CONCEPTO"), table.codePage(), line.concept_);
        if (!line.client.empty()) {
            EXPECT_TRUE(writeNumber(record, field("CODCLIENTE"), std::stod(line.client)).ok());
        }
        return record;
    }
};

TEST_P(ForeignTables, AreReadAsTheirProgramReadsThem)
{
    const std::string index = GetParam().index;
    const std::string indexBefore = index.empty() ? "" : readFile(folder.path() / index);
    const std::string before = readFile(file);
    {
        const auto table = open();
        ASSERT_NE(table, nullptr);
        EXPECT_FALSE(table->isReadOnly()) << table->readOnlyReason();
        EXPECT_EQ(table->codePage(), GetParam().page);
        expectLines(*table);
        expectOrders(*table);
    }
    const std::string after = readFile(file);
    ASSERT_EQ(after.size(), before.size()) << "reading adds nothing";
    EXPECT_EQ(after.substr(29), before.substr(29)) << "reading changes no line and no field";
    if (!index.empty()) {
        EXPECT_EQ(readFile(folder.path() / index) == indexBefore, GetParam().indexTakenAsItIs);
    }
}

TEST_P(ForeignTables, TakeOurChangesAndKeepTheRest)
{
    const std::string before = readFile(file);
    std::size_t recordLength = 0;
    constexpr RecordNumber edited = 2;
    constexpr RecordNumber erased = 4;
    {
        const auto table = open();
        ASSERT_NE(table, nullptr);
        recordLength = table->recordLength();
        const bool hasClient = table->fieldIndex("CODCLIENTE") >= 0;
        std::vector<std::uint8_t> record(recordLength);

        // A line that moves in every order, one more behind the last, one that is deleted.
        ASSERT_TRUE(table->read(edited, record).ok());
        Line changed = dump.lines[edited - 1];
        changed.date = "20251231";
        changed.hour = "14:30";
        changed.concept_ = u"ñandú";
        changed.client = hasClient ? "-3.5000" : "";
        ASSERT_TRUE(table->update(edited, record, recordOf(*table, changed, record)).ok());
        take(*table, edited, changed);

        Line added{false, "20260301", "09:00", u"Peña", hasClient ? "77.2500" : "", ""};
        const auto number = table->append(recordOf(*table, added, blankRecord(recordLength)));
        ASSERT_TRUE(number.ok()) << number.status().message();
        ASSERT_EQ(number.value(), dump.lines.size() + 1);
        take(*table, number.value(), added);

        ASSERT_TRUE(support::eraseLine(*table, erased).ok());
        dump.lines[erased - 1].deleted = true;
        expectLines(*table);
        expectOrders(*table);
    }
    {
        const auto again = open();
        ASSERT_NE(again, nullptr);
        expectLines(*again);
        expectOrders(*again);
    }
    // Byte for byte: the fields' descriptors, the language and the other lines are the other program's own.
    const std::string after = readFile(file);
    const std::size_t start =
        static_cast<unsigned char>(before[8]) + 256U * static_cast<unsigned char>(before[9]);
    EXPECT_EQ(after.substr(29, start - 29), before.substr(29, start - 29));
    EXPECT_EQ(after.size(), start + dump.lines.size() * recordLength + 1);
    EXPECT_EQ(after.back(), '\x1A');
    for (RecordNumber number = 1; number < dump.lines.size(); ++number) {
        const std::size_t at = start + (number - 1) * recordLength;
        if (number == edited || number == erased)
            continue;
        EXPECT_EQ(after.substr(at, recordLength), before.substr(at, recordLength)) << "line " << number;
    }
}

INSTANTIATE_TEST_SUITE_P(Written, ForeignTables, testing::ValuesIn(foreignTables), [](const auto &one) {
    const std::string name = one.param.file;
    return name.substr(0, name.find('.'));
});

} // namespace
