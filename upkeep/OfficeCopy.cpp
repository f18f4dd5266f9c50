#include "upkeep/OfficeCopy.h"

#include "upkeep/Archive.h"
#include "upkeep/Paths.h"
#include "upkeep/Replacement.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <functional>
#include <random>
#include <system_error>

namespace upkeep
{

namespace
{

namespace fs = std::filesystem;
using dbase::ErrorKind;
using dbase::Result;
using dbase::Status;

bool isFolder(const fs::path &path)
{
    std::error_code error;
    return fs::is_directory(path, error);
}

Status outOfMemory()
{
    return {ErrorKind::inputOutput, "no hay memoria suficiente"};
}

/// A folder of its own, for its owner alone, that goes with its object.
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
        if (!error)
            fs::permissions(m_path, fs::perms::owner_all, error);
        if (error == std::errc::no_space_on_device)
            m_status = {ErrorKind::full, "no queda sitio en el disco", pathText(m_path)};
        else if (error && !isFolder(m_path)) // a share may have no rights to give
            m_status = {ErrorKind::inputOutput, "no se puede crear la carpeta de trabajo", pathText(m_path)};
    }
    ~TemporaryFolder()
    {
        std::error_code error;
        fs::remove_all(m_path, error);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    [[nodiscard]] const Status &status() const { return m_status; }
    [[nodiscard]] fs::path file(std::size_t number) const
    {
        return m_path / ("T" + std::to_string(number) + ".DBF");
    }

private:
    fs::path m_path;
    Status m_status;
};

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

/// All of them or none.
Status replaceAll(std::vector<Replacement> &all, const std::function<void(std::size_t)> &replaced)
{
    Status status;
    try {
        for (std::size_t i = 0; i < all.size() && status.ok(); ++i) {
            status = all[i].replace();
            if (status.ok())
                replaced(i + 1);
        }
    } catch (const std::exception &) {
        status = outOfMemory();
    }
    if (status.ok()) {
        for (Replacement &one : all)
            one.forget();
        return {};
    }
    for (std::size_t back = all.size(); back-- > 0;) {
        if (const Status undone = all[back].undo(); !undone.ok())
            status = {undone.kind(), status.text() + "; " + undone.text(), status.file()};
    }
    return status;
}

Status copyAndPack(const fs::path &archive, const std::vector<OfficeTable> &tables,
                   const std::vector<OfficeTable> &plain, std::chrono::milliseconds patience,
                   const Progress &progress)
{
    constexpr std::size_t share = 50; // copying; compressing and reading back is the rest
    const TemporaryFolder folder(archive);
    if (!folder.status().ok())
        return folder.status();
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

Result<std::vector<std::string>> putBack(const fs::path &archive, const std::vector<OfficeTable> &tables,
                                         std::chrono::milliseconds patience, const Progress &progress)
{
    constexpr int unpacked = 60;
    std::error_code error;
    const fs::path temporary = fs::temp_directory_path(error);
    if (error)
        return Status(ErrorKind::inputOutput, "no hay carpeta para ficheros temporales");
    const TemporaryFolder folder(temporary / "oficina");
    if (!folder.status().ok())
        return folder.status();
    auto found =
        unpack(archive, tables, folder, [&](int percent) { return progress(percent * unpacked / 100); });
    if (!found.ok())
        return found.status();
    std::vector<Replacement> &all = found.value();
    std::vector<std::string> names;
    for (Replacement &one : all) {
        if (const Status status = one.prepare(patience); !status.ok())
            return status;
        names.push_back(one.name());
    }
    if (!progress(unpacked))
        return stopped();
    const Status status = replaceAll(all, [&](std::size_t done) {
        static_cast<void>(progress(unpacked + static_cast<int>((100 - unpacked) * done / all.size())));
    });
    return status.ok() ? Result<std::vector<std::string>>(std::move(names)) : status;
}

} // namespace

Status backUp(const fs::path &archive, const std::vector<OfficeTable> &tables,
              const std::vector<OfficeTable> &plain, std::chrono::milliseconds patience,
              const Progress &progress)
{
    try {
        return copyAndPack(archive, tables, plain, patience, progress);
    } catch (const std::exception &) {
        return outOfMemory();
    }
}

Result<std::vector<std::string>> restore(const fs::path &archive, const std::vector<OfficeTable> &tables,
                                         std::chrono::milliseconds patience, const Progress &progress)
{
    try {
        return putBack(archive, tables, patience, progress);
    } catch (const std::exception &) {
        return outOfMemory();
    }
}

} // namespace upkeep
