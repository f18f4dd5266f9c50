// A table and its index as whole files: four bytes say how long the table is, the rest is the index.

#include "dbase/Table.h"
#include "dbase/Bytes.h"
#include "tests/fuzz/Targets.h"

#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace
{

using dbase::RecordNumber;
using dbase::Table;

/// One folder for all inputs of a process.
class Folder
{
public:
    Folder()
        : m_path(std::filesystem::temp_directory_path() /
                 ("agenda-fuzz-" + std::to_string(std::random_device{}())))
    {
        std::filesystem::create_directories(m_path);
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    [[nodiscard]] std::filesystem::path file(const char *name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

void write(const std::filesystem::path &file, fuzz::Bytes bytes)
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    fuzz::expect(out.good(), "the folder can be written");
}

bool holds(const std::filesystem::path &file, fuzz::Bytes bytes)
{
    std::ifstream in(file, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(in), {}};
    return std::equal(content.begin(), content.end(), bytes.begin(), bytes.end(),
                      [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

std::vector<std::uint8_t> allRecords(const Table &table, RecordNumber count)
{
    const std::size_t length = table.recordLength();
    std::vector<std::uint8_t> all(count * length);
    for (RecordNumber number = 1; number <= count; ++number)
        fuzz::expect(table.read(number, std::span(all).subspan((number - 1) * length, length)).ok(),
                     "every line of a table can be read");
    return all;
}

/// Every index has every line once, forward and backward; one that leaves lines out, as many as it has.
void walk(const Table &table)
{
    for (const auto &tag : table.tags()) {
        dbase::Index *const index = table.index(tag.name);
        fuzz::expect(index != nullptr, "a tag that is told can be asked");
        std::vector<bool> seen(table.recordCount() + std::size_t{1}, false);
        RecordNumber entries = 0;
        auto at = index->first();
        for (; at.ok() && at.value() && entries <= table.recordCount(); at = index->next(*at.value())) {
            const RecordNumber record = at.value()->record;
            fuzz::expect(record >= 1 && record < seen.size() && !seen[record], "every line is met once");
            seen[record] = true;
            ++entries;
            const auto found = index->find(at.value()->key.bytes());
            fuzz::expect(found.ok(), "a key that was met can be looked for");
        }
        const bool whole = !tag.unique && tag.filter.empty();
        fuzz::expect(at.ok() && (!whole || entries == table.recordCount()), "no line is missing");
        for (at = index->last(); at.ok() && at.value() && entries > 0; at = index->prior(*at.value()))
            --entries;
        fuzz::expect(at.ok() && !at.value() && entries == 0, "as many backward as forward");
    }
}

void appendOne(Table &table)
{
    const RecordNumber count = table.recordCount();
    const auto before = allRecords(table, count);
    const auto appended = table.append(dbase::blankRecord(table.recordLength()));
    if (table.isReadOnly()) {
        fuzz::expect(appended.status().kind() == dbase::ErrorKind::readOnly &&
                         !table.readOnlyReason().empty(),
                     "a table that takes no lines says why");
        return;
    }
    fuzz::expect(appended.ok() && appended.value() == count + 1, "a line can be appended");
    fuzz::expect(allRecords(table, count) == before, "the other lines are as they were");
    fuzz::expect(table.check().ok(), "the index knows the new line");
    walk(table);
}

} // namespace

void fuzz::table(Bytes input)
{
    if (input.size() < 4)
        return;
    const std::size_t length = std::min<std::size_t>(dbase::get32(input.data()), input.size() - 4);
    const Bytes dbf = input.subspan(4, length);
    const Bytes index = input.subspan(4 + length);
    static const Folder folder;
    write(folder.file("T.DBF"), dbf);
    write(folder.file("T.MDX"), index);
    std::error_code ignored;
    std::filesystem::remove(folder.file("T.JNL"), ignored);

    dbase::OpenOptions options;
    options.durable = false;
    options.readOnly = true;
    if (const auto opened = Table::open(folder.file("T.DBF"), options); opened.ok()) {
        walk(*opened.value());
        static_cast<void>(allRecords(*opened.value(), opened.value()->recordCount()));
    }
    expect(holds(folder.file("T.DBF"), dbf) && holds(folder.file("T.MDX"), index), "reading changes nothing");

    options.readOnly = false;
    const auto opened = Table::open(folder.file("T.DBF"), options);
    if (!opened.ok()) {
        expect(!opened.status().text().empty(), "a refusal says why");
        return;
    }
    const dbase::Status checked = opened.value()->check();
    // An index with an order that is not kept is left alone, and so is the table.
    const bool leftAlone = opened.value()->isReadOnly() && checked.kind() == dbase::ErrorKind::unsupported;
    expect(checked.ok() || leftAlone, "an open table has a right index");
    walk(*opened.value());
    appendOne(*opened.value());
}
