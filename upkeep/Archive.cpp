#include "upkeep/Archive.h"

#include "dbase/File.h"
#include "upkeep/Paths.h"

#include <cerrno>
#include <functional>
#include <memory>
#include <span>
#include <system_error>
#include <utility>

#include <zip.h>

namespace upkeep
{

namespace
{

namespace fs = std::filesystem;
using dbase::ErrorKind;
using dbase::File;
using dbase::Result;
using dbase::Status;

struct Discard {
    void operator()(zip_t *archive) const { zip_discard(archive); }
};
struct CloseFile {
    void operator()(zip_file_t *file) const { zip_fclose(file); }
};
using OpenArchive = std::unique_ptr<zip_t, Discard>;
using OpenFile = std::unique_ptr<zip_file_t, CloseFile>;

Status refuse(const fs::path &archive, ErrorKind kind, const std::string &why)
{
    return {kind, why, pathText(archive.filename())};
}

Result<OpenArchive> openArchive(const fs::path &archive, int flags)
{
    int code = 0;
    OpenArchive opened(zip_open(pathText(archive).c_str(), flags, &code));
    if (opened)
        return opened;
    switch (code) {
    case ZIP_ER_NOENT:
        return refuse(archive, ErrorKind::notFound, "no existe el fichero");
    case ZIP_ER_NOZIP:
    case ZIP_ER_INCONS:
        return refuse(archive, ErrorKind::damaged, "no es una copia de seguridad, o está dañada");
    default:
        return refuse(archive, ErrorKind::inputOutput, "no se puede abrir la copia");
    }
}

/// Reads a file of an archive to its end, where the library compares its check sum.
Status readThrough(zip_t &archive, zip_uint64_t index, const fs::path &shown,
                   const std::function<Status(std::span<const char>)> &take)
{
    const OpenFile file(zip_fopen_index(&archive, index, 0));
    if (!file)
        return refuse(shown, ErrorKind::damaged, "la copia está dañada");
    std::vector<char> buffer(std::size_t{1} << 16U);
    for (;;) {
        const zip_int64_t got = zip_fread(file.get(), buffer.data(), buffer.size());
        if (got < 0)
            return refuse(shown, ErrorKind::damaged, "la copia está dañada");
        if (got == 0)
            return {};
        if (const Status status = take(std::span(buffer).first(static_cast<std::size_t>(got))); !status.ok())
            return status;
    }
}

Status fill(zip_t &archive, const fs::path &shown, const std::vector<ArchiveFile> &files)
{
    for (const ArchiveFile &one : files) {
        zip_source_t *const source = zip_source_file(&archive, pathText(one.file).c_str(), 0, -1);
        if (!source)
            return refuse(shown, ErrorKind::inputOutput, "no se puede leer «" + pathText(one.file) + "»");
        if (zip_file_add(&archive, one.name.c_str(), source, ZIP_FL_ENC_UTF_8) < 0) {
            zip_source_free(source); // taken over only on success
            return refuse(shown, ErrorKind::inputOutput, "no se puede añadir «" + one.name + "»");
        }
    }
    return {};
}

/// What the library calls back with while it compresses.
struct Following {
    const Progress &progress;
    bool stop = false;
};

Status compress(OpenArchive opened, const fs::path &shown, const Progress &progress)
{
    constexpr double step = 0.01;
    constexpr int half = 50; // the other half is reading it back
    Following following{progress};
    zip_register_progress_callback_with_state(
        opened.get(), step,
        [](zip_t *, double done, void *state) {
            auto &told = *static_cast<Following *>(state);
            told.stop = told.stop || !told.progress(static_cast<int>(done * half));
        },
        nullptr, &following);
    zip_register_cancel_callback_with_state(
        opened.get(), [](zip_t *, void *state) { return static_cast<Following *>(state)->stop ? 1 : 0; },
        nullptr, &following);
    if (zip_close(opened.get()) == 0) {
        static_cast<void>(opened.release()); // closing has freed it
        return {};
    }
    if (following.stop)
        return stopped();
    const bool full = zip_error_code_system(zip_get_error(opened.get())) == ENOSPC;
    return refuse(shown, full ? ErrorKind::full : ErrorKind::inputOutput,
                  full ? "no queda sitio en el disco" : "no se puede escribir la copia");
}

std::string sizeText(std::uint64_t bytes)
{
    constexpr std::uint64_t mebi = std::uint64_t{1024} * 1024;
    return std::to_string((bytes + mebi - 1) / mebi) + " MiB";
}

/// Whether a file of that size may be unpacked, and has room in its folder.
Status mayTake(const fs::path &archive, const std::string &name, std::uint64_t size, std::uint64_t most,
               const fs::path &folder)
{
    if (size > most)
        return refuse(archive, ErrorKind::unsupported,
                      "«" + name + "» ocuparía " + sizeText(size) + ", más de los " + sizeText(most) +
                          " que se admiten");
    std::error_code unknown; // then the first write that fails tells
    const fs::space_info room = fs::space(folder, unknown);
    if (!unknown && room.available < size)
        return refuse(archive, ErrorKind::full,
                      "no queda sitio en el disco para «" + name + "», que ocupa " + sizeText(size));
    return {};
}

Status flush(const fs::path &file)
{
    auto opened = File::open(file, File::Mode::readWrite);
    return opened.ok() ? opened.value().sync() : opened.status();
}

Status sameNames(const fs::path &shown, const std::vector<std::string> &names,
                 const std::vector<ArchiveFile> &files)
{
    bool same = names.size() == files.size();
    for (std::size_t i = 0; same && i < names.size(); ++i)
        same = names[i] == files[i].name;
    return same ? Status() : refuse(shown, ErrorKind::inputOutput, "la copia no se ha podido leer de nuevo");
}

} // namespace

Status writeArchive(const fs::path &archive, const std::vector<ArchiveFile> &files, const Progress &progress,
                    fs::path unfinished)
{
    std::error_code error;
    if (unfinished.empty()) {
        (unfinished = archive) += ".tmp";
        fs::remove(unfinished, error);
    }
    auto opened = openArchive(unfinished, ZIP_CREATE | ZIP_EXCL);
    if (!opened.ok())
        return opened.status();
    Status status = fill(*opened.value(), archive, files);
    if (status.ok())
        status = compress(std::move(opened).value(), archive, progress);
    if (status.ok())
        status = flush(unfinished); // before it is read back, and before it takes the old one's place
    if (status.ok())                // a share may have no rights to give
        fs::permissions(unfinished, fs::perms::owner_read | fs::perms::owner_write, error);
    if (status.ok()) {
        constexpr int half = 50;
        const auto names =
            checkArchive(unfinished, [&](int percent) { return progress(half + percent * half / 100); });
        status = names.ok() ? sameNames(archive, names.value(), files) : names.status();
    }
    if (status.ok()) {
        fs::rename(unfinished, archive, error);
        if (error)
            status = refuse(archive, ErrorKind::inputOutput, "no se puede poner la copia en su sitio");
    }
    if (!status.ok()) {
        fs::remove(unfinished, error);
        return status;
    }
    return dbase::syncFolder(archive.parent_path());
}

Result<std::vector<std::string>> checkArchive(const fs::path &archive, const Progress &progress)
{
    const auto opened = openArchive(archive, ZIP_RDONLY | ZIP_CHECKCONS);
    if (!opened.ok())
        return opened.status();
    zip_t &zip = *opened.value();
    const zip_int64_t count = zip_get_num_entries(&zip, 0);
    std::vector<std::string> names;
    for (zip_int64_t i = 0; i < count; ++i) {
        const auto index = static_cast<zip_uint64_t>(i);
        const char *const name = zip_get_name(&zip, index, ZIP_FL_ENC_GUESS);
        if (!name)
            return refuse(archive, ErrorKind::damaged, "la copia está dañada");
        names.emplace_back(name);
        const int percent = static_cast<int>(100 * i / count);
        const Status status = readThrough(zip, index, archive, [&](std::span<const char>) {
            return progress(percent) ? Status() : stopped();
        });
        if (!status.ok())
            return status;
    }
    return names;
}

Result<std::vector<ArchivedFile>> listArchive(const fs::path &archive)
{
    const auto opened = openArchive(archive, ZIP_RDONLY | ZIP_CHECKCONS);
    if (!opened.ok())
        return opened.status();
    const zip_int64_t count = zip_get_num_entries(opened.value().get(), 0);
    std::vector<ArchivedFile> files;
    for (zip_int64_t i = 0; i < count; ++i) {
        zip_stat_t told;
        constexpr zip_uint64_t wanted = ZIP_STAT_NAME | ZIP_STAT_SIZE;
        if (zip_stat_index(opened.value().get(), static_cast<zip_uint64_t>(i), ZIP_FL_ENC_GUESS, &told) !=
                0 ||
            (told.valid & wanted) != wanted)
            return refuse(archive, ErrorKind::damaged, "la copia está dañada");
        files.push_back({told.name, told.size});
    }
    return files;
}

Status extractFile(const fs::path &archive, const std::string &name, const fs::path &to, std::uint64_t most,
                   const Progress &progress)
{
    const auto opened = openArchive(archive, ZIP_RDONLY);
    if (!opened.ok())
        return opened.status();
    zip_t &zip = *opened.value();
    const zip_int64_t index = zip_name_locate(&zip, name.c_str(), ZIP_FL_ENC_GUESS);
    if (index < 0)
        return refuse(archive, ErrorKind::notFound, "la copia no contiene «" + name + "»");
    zip_stat_t told;
    if (zip_stat_index(&zip, static_cast<zip_uint64_t>(index), 0, &told) != 0 ||
        (told.valid & ZIP_STAT_SIZE) == 0)
        return refuse(archive, ErrorKind::damaged, "la copia está dañada");
    if (const Status status = mayTake(archive, name, told.size, most, to.parent_path()); !status.ok())
        return status;
    auto made = File::create(to);
    if (!made.ok())
        return made.status();
    std::uint64_t at = 0;
    const Status status = readThrough(
        zip, static_cast<zip_uint64_t>(index), archive, [&](std::span<const char> bytes) -> Status {
            if (bytes.size() > told.size - at) // more than its directory says
                return refuse(archive, ErrorKind::damaged, "la copia está dañada");
            if (progress && !progress(static_cast<int>(100 * at / told.size)))
                return stopped();
            const auto *const first = reinterpret_cast<const std::uint8_t *>(bytes.data());
            return made.value().writeAt(std::exchange(at, at + bytes.size()), std::span(first, bytes.size()));
        });
    made.value().close();
    std::error_code error;
    if (!status.ok())
        fs::remove(to, error);
    return status;
}

} // namespace upkeep
