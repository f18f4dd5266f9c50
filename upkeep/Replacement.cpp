#include "upkeep/Replacement.h"

#include "dbase/File.h"
#include "upkeep/Paths.h"

#include <algorithm>
#include <exception>
#include <system_error>
#include <utility>

namespace upkeep
{

namespace
{

namespace fs = std::filesystem;
using dbase::ErrorKind;
using dbase::Result;
using dbase::Status;
using dbase::Table;

bool sameLayout(const Table &one, const Table &other)
{
    const auto same = [](const dbase::FieldDefinition &a, const dbase::FieldDefinition &b) {
        return upperAscii(a.name) == upperAscii(b.name) && a.type == b.type && a.width == b.width &&
               a.decimals == b.decimals && a.offset == b.offset;
    };
    return one.recordLength() == other.recordLength() && one.codePage() == other.codePage() &&
           std::equal(one.fields().begin(), one.fields().end(), other.fields().begin(), other.fields().end(),
                      same);
}

/// The live lines of a file that nobody else has.
Result<std::vector<std::uint8_t>> linesOf(const Table &table)
{
    std::vector<dbase::RecordNumber> numbers;
    std::vector<std::uint8_t> rows;
    const Status status = table.liveRows(nullptr, {}, {}, numbers, rows);
    return status.ok() ? Result<std::vector<std::uint8_t>>(std::move(rows)) : status;
}

Result<OpenTable> openQuietly(const fs::path &file)
{
    dbase::OpenOptions options;
    options.readOnly = true;
    return Table::open(file, options);
}

Result<OpenTable> openForChange(const fs::path &file, std::chrono::milliseconds patience)
{
    dbase::OpenOptions options;
    options.lockTimeout = patience;
    return Table::open(file, options);
}

} // namespace

Replacement::Replacement(const OfficeTable &table, fs::path unpacked)
    : m_table(table)
    , m_unpacked(std::move(unpacked))
{
}

Status Replacement::prepare(std::chrono::milliseconds patience)
{
    m_patience = patience;
    const auto copy = openQuietly(m_unpacked);
    if (!copy.ok())
        return {copy.status().kind(), "la copia de la tabla no sirve: " + copy.status().text(), m_table.name};
    if (const auto rows = linesOf(*copy.value()); !rows.ok()) // to be sure; they are not kept
        return rows.status();
    auto opened = openForChange(m_table.file, patience);
    const ErrorKind kind = opened.status().kind();
    if (kind == ErrorKind::notFound || kind == ErrorKind::damaged) {
        m_way = Way::file;
        return {};
    }
    if (!opened.ok())
        return opened.status();
    if (!sameLayout(*copy.value(), *opened.value()))
        return {ErrorKind::invalidArgument, "la copia es de una tabla con otros campos", m_table.name};
    m_open = std::move(opened).value();
    return {};
}

std::vector<fs::path> Replacement::files() const
{
    std::vector<fs::path> all{m_table.file};
    for (const char *const extension : {".MDX", ".JNL"}) {
        if (const auto sibling = siblingOf(m_table.file, extension); !sibling.empty())
            all.push_back(sibling);
    }
    std::error_code error;
    std::erase_if(all, [&](const fs::path &file) { return !fs::exists(file, error); });
    return all;
}

/// What a restoring that was cut has left aside may be the last that has its lines: it is never written over.
std::string Replacement::freeEnding() const
{
    const auto taken = [&](const std::string &ending) {
        const auto lies = [&](const fs::path &file) {
            std::error_code error;
            return fs::exists(fs::path(file) += ending, error);
        };
        const std::vector<fs::path> now = files();
        return lies(m_table.file) || std::any_of(now.begin(), now.end(), lies);
    };
    int number = 1;
    while (taken(".ANTERIOR-" + std::to_string(number)))
        ++number;
    return ".ANTERIOR-" + std::to_string(number);
}

Status Replacement::replace()
{
    return m_way == Way::lines ? replaceLines() : replaceFile();
}

Status Replacement::replaceLines()
{
    // Read only now: one table's lines at a time are enough to hold.
    const auto copy = openQuietly(m_unpacked);
    const auto rows = copy.ok() ? linesOf(*copy.value()) : copy.status();
    if (!rows.ok())
        return rows.status();
    const Aside aside{m_table.file, fs::path(m_table.file) += freeEnding()};
    m_aside.push_back(aside);
    const Status status = m_open->replaceLines(rows.value(), aside.kept);
    // A failure that leaves the copy there does not know which lines the table has; any other changed
    // nothing.
    std::error_code error;
    if (!status.ok() && !fs::exists(aside.kept, error))
        m_aside.clear();
    return status;
}

Status Replacement::replaceFile()
{
    // Who has it open does not see that it is missing or damaged, and would go on in the old file.
    const auto inUse = Table::isInUse(m_table.file);
    if (!inUse.ok() || inUse.value())
        return inUse.ok() ? Status(ErrorKind::locked, "otro puesto tiene abierta la tabla", m_table.name)
                          : inUse.status();
    if (const Status status = moveAside(); !status.ok())
        return status;
    m_cleared = true;
    std::error_code error;
    fs::create_directories(m_table.file.parent_path(), error);
    if (error)
        return {ErrorKind::inputOutput, "no se puede crear la carpeta de la tabla", m_table.name};
    if (const Status status = copyTable(m_unpacked, m_table.file, Source::laidAside, {}); !status.ok())
        return status;
    if (const auto made = openWithTag(m_table.file, m_patience); !made.ok())
        return made.status();
    // Whoever could work with the files before can do so afterwards, and nobody else.
    for (const Aside &one : m_aside) {
        if (!fs::exists(one.file, error))
            continue;
        const auto old = dbase::File::open(one.kept, dbase::File::Mode::readOnly);
        auto made = dbase::File::open(one.file, dbase::File::Mode::readWrite);
        if (!old.ok() || !made.ok() || !made.value().takeRightsOf(old.value()).ok())
            return {ErrorKind::inputOutput, "no se pueden dar a la tabla los permisos que tenía",
                    m_table.name};
    }
    return {};
}

Status Replacement::moveAside()
{
    const std::string ending = freeEnding();
    for (const fs::path &file : files()) {
        std::error_code error;
        Aside one{file, fs::path(file) += ending};
        m_aside.reserve(m_aside.size() + 1); // no lack of memory between the step and its note
        fs::rename(one.file, one.kept, error);
        if (error)
            return {ErrorKind::inputOutput, "no se puede apartar la tabla anterior", m_table.name};
        m_aside.push_back(std::move(one));
    }
    return m_aside.empty() ? Status() : dbase::syncFolder(m_table.file.parent_path());
}

Status Replacement::undo() noexcept
{
    try {
        Status status;
        try {
            status = m_way == Way::lines ? putLinesBack() : putFilesBack();
        } catch (const std::exception &failed) {
            status = {ErrorKind::inputOutput, failed.what()};
        }
        if (status.ok()) {
            forget();
            return {};
        }
        std::string where;
        for (const Aside &one : m_aside)
            where += (where.empty() ? "«" : ", «") + pathText(one.kept) + "»";
        return {ErrorKind::inputOutput, "la tabla «" + m_table.name + "» no ha vuelto a como estaba (" +
                                            status.text() + "); lo que tenía antes está en " + where};
    } catch (...) {
        return {}; // not even the memory for a message; what lies aside stays
    }
}

Status Replacement::putLinesBack()
{
    std::error_code error;
    if (m_aside.empty() || !fs::exists(m_aside.front().kept, error)) {
        m_aside.clear(); // the copy comes first: without it nothing was changed
        return {};
    }
    m_open.reset(); // it may have met a failure and refuse further work
    const auto old = openQuietly(m_aside.front().kept);
    if (!old.ok())
        return old.status();
    const auto rows = linesOf(*old.value());
    if (!rows.ok())
        return rows.status();
    const auto table = openForChange(m_table.file, m_patience);
    return table.ok() ? table.value()->replaceLines(rows.value(), {}) : table.status();
}

Status Replacement::putFilesBack()
{
    Status status;
    if (m_cleared) {
        for (const fs::path &file : files()) {
            std::error_code error;
            fs::remove(file, error); // one that stays is written over by the renaming, or does no harm
        }
    }
    std::vector<Aside> left;
    for (Aside &one : m_aside) {
        std::error_code error;
        fs::rename(one.kept, one.file, error);
        if (error) {
            status = {ErrorKind::inputOutput, error.message()};
            left.push_back(std::move(one));
        }
    }
    m_aside = std::move(left);
    return status;
}

void Replacement::forget() noexcept
{
    std::error_code error;
    for (const Aside &one : m_aside)
        fs::remove(one.kept, error);
    m_aside.clear();
}

} // namespace upkeep
