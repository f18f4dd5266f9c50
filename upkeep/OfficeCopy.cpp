#include "upkeep/OfficeCopy.h"

#include "upkeep/Archive.h"
#include "upkeep/Paths.h"

#include <algorithm>
#include <random>

namespace upkeep
{

namespace
{

namespace fs = std::filesystem;
using dbase::ErrorKind;
using dbase::Result;
using dbase::Status;
using dbase::Table;

/// A folder of its own that goes with its object.
class TemporaryFolder
{
public:
    explicit TemporaryFolder(const fs::path &beside)
    {
        std::random_device random;
        m_path = beside;
        m_path += ".tmp-" + std::to_string(random());
        std::error_code error;
        fs::create_directories(m_path, error);
    }
    ~TemporaryFolder()
    {
        std::error_code error;
        fs::remove_all(m_path, error);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    [[nodiscard]] fs::path file(std::size_t number) const
    {
        return m_path / ("T" + std::to_string(number) + ".DBF");
    }

private:
    fs::path m_path;
};

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

/// One table on its way back.
class Replacement
{
public:
    Replacement(const OfficeTable &table, fs::path unpacked)
        : m_table(table)
        , m_unpacked(std::move(unpacked))
    {
    }
    /// Opens both sides and compares them; nothing is changed.
    Status prepare(std::chrono::milliseconds patience);
    Status replace();
    /// Back to what it was before replace().
    void undo() noexcept;
    void forget() noexcept;
    [[nodiscard]] const std::string &name() const { return m_table.name; }

private:
    enum class Way { lines, file };
    [[nodiscard]] std::vector<fs::path> files() const;
    Status moveAside();
    [[nodiscard]] static fs::path aside(const fs::path &file) { return fs::path(file) += ".ANTERIOR"; }

    const OfficeTable &m_table;
    fs::path m_unpacked;
    OpenTable m_open;
    std::vector<std::uint8_t> m_before;
    std::vector<std::uint8_t> m_rows;
    std::vector<fs::path> m_aside;
    Way m_way = Way::lines;
    bool m_done = false;
};

Status Replacement::prepare(std::chrono::milliseconds patience)
{
    const auto copy = openQuietly(m_unpacked);
    if (!copy.ok())
        return {copy.status().kind(), "la copia de la tabla no sirve: " + copy.status().text(), m_table.name};
    auto rows = linesOf(*copy.value());
    if (!rows.ok())
        return rows.status();
    m_rows = std::move(rows).value();
    dbase::OpenOptions options;
    options.lockTimeout = patience;
    auto opened = Table::open(m_table.file, options);
    const ErrorKind kind = opened.status().kind();
    if (kind == ErrorKind::notFound || kind == ErrorKind::damaged || kind == ErrorKind::unsupported) {
        m_way = Way::file; // nobody can have open what cannot be opened
        return {};
    }
    if (!opened.ok())
        return opened.status();
    if (!sameLayout(*copy.value(), *opened.value()))
        return {ErrorKind::invalidArgument, "la copia es de una tabla con otros campos", m_table.name};
    auto before = linesOf(*opened.value());
    if (!before.ok())
        return before.status();
    m_before = std::move(before).value();
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
    return all;
}

Status Replacement::moveAside()
{
    std::error_code error;
    for (const fs::path &file : files()) {
        if (!fs::exists(file, error))
            continue;
        fs::rename(file, aside(file), error);
        if (error)
            return {ErrorKind::inputOutput, "no se puede apartar la tabla anterior", m_table.name};
        m_aside.push_back(file);
    }
    return {};
}

Status Replacement::replace()
{
    m_done = true;
    if (m_way == Way::lines) {
        std::error_code error;
        fs::remove(aside(m_table.file), error); // of a restoring that was cut
        const Status status = m_open->replaceLines(m_rows, aside(m_table.file));
        m_done = status.ok();
        // When it failed the old file, if it was copied at all, may be the last one that has the old lines.
        if (m_done)
            m_aside = {m_table.file};
        return status;
    }
    if (const Status status = moveAside(); !status.ok())
        return status;
    std::error_code error;
    fs::create_directories(m_table.file.parent_path(), error);
    const Status status = copyTable(m_unpacked, m_table.file, Source::laidAside, {});
    return status.ok() ? openWithTag(m_table.file, std::chrono::seconds(1)).status() : status;
}

void Replacement::undo() noexcept
{
    std::error_code error;
    if (m_done && m_way == Way::lines)
        static_cast<void>(m_open->replaceLines(m_before, {}));
    if (m_done && m_way == Way::file) {
        for (const fs::path &file : files())
            fs::remove(file, error);
        for (const fs::path &file : m_aside)
            fs::rename(aside(file), file, error);
        m_aside.clear();
    }
    forget();
}

void Replacement::forget() noexcept
{
    std::error_code error;
    for (const fs::path &file : m_aside)
        fs::remove(aside(file), error);
}

/// Unpacks what the office has a table for.
Result<std::vector<Replacement>> unpack(const fs::path &archive, const std::vector<OfficeTable> &tables,
                                        const TemporaryFolder &folder, const Progress &progress)
{
    constexpr int share = 50;
    const auto names = checkArchive(archive, [&](int percent) { return progress(percent * share / 100); });
    if (!names.ok())
        return names.status();
    std::vector<Replacement> all;
    for (const OfficeTable &table : tables) {
        const auto inside =
            std::find_if(names.value().begin(), names.value().end(),
                         [&](const std::string &name) { return upperAscii(name) == upperAscii(table.name); });
        if (inside == names.value().end())
            continue;
        const fs::path file = folder.file(all.size());
        if (const Status status = extractFile(archive, *inside, file); !status.ok())
            return status;
        all.emplace_back(table, file);
    }
    if (all.empty())
        return Status(ErrorKind::invalidArgument, "la copia no contiene ninguna tabla de esta oficina",
                      pathText(archive.filename()));
    return all;
}

} // namespace

Status backUp(const fs::path &archive, const std::vector<OfficeTable> &tables,
              const std::vector<OfficeTable> &plain, std::chrono::milliseconds patience,
              const Progress &progress)
{
    constexpr std::size_t share = 50; // copying; compressing and reading back is the rest
    const TemporaryFolder folder(archive);
    std::vector<ArchiveFile> files;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (!progress(static_cast<int>(share * i / tables.size())))
            return stopped();
        const fs::path copy = folder.file(i);
        if (const Status status = copyTable(tables[i].file, copy, Source::inUse, patience); !status.ok())
            return {status.kind(), tables[i].name + ": " + status.text(), status.file(), status.offset()};
        files.push_back({tables[i].name, copy});
    }
    for (const OfficeTable &file : plain)
        files.push_back({file.name, file.file});
    return writeArchive(archive, files, [&](int percent) {
        return progress(static_cast<int>(share) + percent * static_cast<int>(100 - share) / 100);
    });
}

Result<std::vector<std::string>> restore(const fs::path &archive, const std::vector<OfficeTable> &tables,
                                         std::chrono::milliseconds patience, const Progress &progress)
{
    constexpr int unpacked = 60;
    const TemporaryFolder folder(fs::temp_directory_path() / "oficina");
    auto found =
        unpack(archive, tables, folder, [&](int percent) { return progress(percent * unpacked / 100); });
    if (!found.ok())
        return found.status();
    std::vector<Replacement> &all = found.value();
    for (Replacement &one : all) {
        if (const Status status = one.prepare(patience); !status.ok())
            return status;
    }
    if (!progress(unpacked))
        return stopped();
    std::vector<std::string> names;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Status status = all[i].replace();
        if (!status.ok()) {
            for (std::size_t back = i + 1; back-- > 0;)
                all[back].undo();
            return status;
        }
        names.push_back(all[i].name());
        static_cast<void>(progress(unpacked + static_cast<int>((100 - unpacked) * (i + 1) / all.size())));
    }
    for (Replacement &one : all)
        one.forget();
    return names;
}

} // namespace upkeep
