#include "upkeep/OfficeCopy.h"

#include "dbase/ThisProcess.h"
#include "upkeep/Archive.h"
#include "upkeep/Paths.h"
#include "upkeep/Replacement.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <functional>
#include <string_view>
#include <system_error>

namespace upkeep
{

namespace
{

namespace fs = std::filesystem;
using dbase::ErrorKind;
using dbase::Result;
using dbase::Status;

Status outOfMemory()
{
    return {ErrorKind::inputOutput, "no hay memoria suficiente"};
}

const std::string folderMark = ".tmp-";      // behind the name of what the work is for
const std::string workName = "oficina";      // of a restoring
const std::string archiveName = "copia.zip"; // until it is complete

/// A folder of its own, for its owner alone, that goes with its object.
class TemporaryFolder
{
public:
    explicit TemporaryFolder(const fs::path &beside)
    {
        auto made = dbase::makePrivateFolder(fs::path(beside) += folderMark);
        m_status = made.status();
        if (made.ok())
            m_path = std::move(made).value();
    }
    ~TemporaryFolder()
    {
        std::error_code error;
        if (!m_path.empty())
            fs::remove_all(m_path, error);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    [[nodiscard]] const Status &status() const { return m_status; }
    [[nodiscard]] fs::path file(std::size_t number) const
    {
        return m_path / ("T" + std::to_string(number) + ".DBF");
    }

    [[nodiscard]] fs::path archive() const { return m_path / archiveName; }

private:
    fs::path m_path;
    Status m_status;
};

bool isWord(const std::string &text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    });
}

/// Whether a folder has the name of a TemporaryFolder.
bool isWorkFolderName(const std::string &name)
{
    const std::size_t mark = name.rfind(folderMark);
    return mark != std::string::npos && mark > 0 && isWord(name.substr(mark + folderMark.size())) &&
           (name.substr(0, mark) == workName || upperAscii(name.substr(0, mark)).ends_with(".ZIP"));
}

/// Whether a file has the name of an archive that was being written, or of what the library writes it to
/// first.
bool isUnfinishedName(const std::string &name)
{
    constexpr std::string_view ending = ".zip.tmp";
    const std::size_t mark = name.rfind(ending);
    const std::string rest = mark == std::string::npos ? "?" : name.substr(mark + ending.size());
    return mark != 0 && (rest.empty() || (rest.front() == '.' && isWord(rest.substr(1))));
}

/// Whether a TemporaryFolder makes files of that name: copies of tables, and what comes to lie beside one
/// when it is opened.
bool isWorkFileName(const std::string &name)
{
    if (name.starts_with(archiveName)) // the library writes it under a longer name first
        return name.size() == archiveName.size() ||
               (name[archiveName.size()] == '.' && isWord(name.substr(archiveName.size() + 1)));
    const std::size_t dot = name.find('.');
    const std::string number = dot == std::string::npos ? "" : name.substr(1, dot - 1);
    const std::string ending = dot == std::string::npos ? "" : name.substr(dot);
    return name.starts_with('T') && !number.empty() &&
           number.find_first_not_of("0123456789") == std::string::npos &&
           (ending == ".DBF" || ending == ".DBF.tmp" || ending == ".MDX" || ending == ".JNL");
}

bool isOld(const fs::path &path)
{
    constexpr std::chrono::hours day{24};
    std::error_code error;
    const auto written = fs::last_write_time(path, error);
    return !error && fs::file_time_type::clock::now() - written > day;
}

/// A folder in which nothing else lies goes with them.
void clearWorkFolder(const fs::path &folder)
{
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code stays;
        if (isWorkFileName(pathText(entry->path().filename())) && dbase::isOwnFile(entry->path()))
            fs::remove(entry->path(), stays);
    }
    fs::remove(folder, error);
}

/// Unpacks what the office has a table for.
Result<std::vector<Replacement>> unpack(const fs::path &archive, const std::vector<OfficeTable> &tables,
                                        const TemporaryFolder &folder, std::uint64_t mostBytes,
                                        const Progress &progress)
{
    const auto inside = listArchive(archive);
    if (!inside.ok())
        return inside.status();
    std::vector<Replacement> all;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        const auto found =
            std::find_if(inside.value().begin(), inside.value().end(), [&](const ArchivedFile &one) {
                return upperAscii(one.name) == upperAscii(tables[i].name);
            });
        if (found == inside.value().end())
            continue;
        const fs::path file = folder.file(all.size());
        const Status status = extractFile(archive, found->name, file, mostBytes, [&](int percent) {
            return progress(static_cast<int>((100 * i + static_cast<std::size_t>(percent)) / tables.size()));
        });
        if (!status.ok())
            return status;
        all.emplace_back(tables[i], file);
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
    const auto packing = [&](int percent) {
        return progress(static_cast<int>(share) + percent * static_cast<int>(100 - share) / 100);
    };
    return writeArchive(archive, files, packing, folder.archive());
}

Result<std::vector<std::string>> putBack(const fs::path &archive, const std::vector<OfficeTable> &tables,
                                         std::chrono::milliseconds patience, const Progress &progress,
                                         std::uint64_t mostBytes)
{
    constexpr int unpacked = 60;
    const fs::path temporary = workFolder();
    if (temporary.empty())
        return Status(ErrorKind::inputOutput, "no hay carpeta para ficheros temporales");
    const TemporaryFolder folder(temporary / workName);
    if (!folder.status().ok())
        return folder.status();
    auto found = unpack(archive, tables, folder, mostBytes,
                        [&](int percent) { return progress(percent * unpacked / 100); });
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
                                         std::chrono::milliseconds patience, const Progress &progress,
                                         std::uint64_t mostBytes)
{
    try {
        return putBack(archive, tables, patience, progress, mostBytes);
    } catch (const std::exception &) {
        return outOfMemory();
    }
}

fs::path workFolder()
{
    std::error_code error;
    const fs::path folder = fs::temp_directory_path(error);
    return error ? fs::path() : folder;
}

void clearLeftovers(const fs::path &folder) noexcept
{
    try {
        std::error_code error;
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error)) {
            const fs::path &path = entry->path();
            const std::string name = pathText(path.filename());
            std::error_code stays;
            if (isWorkFolderName(name) && dbase::isOwnFolder(path) && isOld(path))
                clearWorkFolder(path);
            else if (isUnfinishedName(name) && dbase::isOwnFile(path) && isOld(path))
                fs::remove(path, stays);
        }
    } catch (const std::exception &) { // no memory for a name: another time
    }
}

} // namespace upkeep
