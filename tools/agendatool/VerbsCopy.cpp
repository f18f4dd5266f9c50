// Backup and its opposite. Only the lines are copied: the index is made from them.

#include "tools/agendatool/Text.h"
#include "tools/agendatool/Verbs.h"

#include <fstream>

namespace agendatool
{

namespace
{

namespace fs = std::filesystem;
using dbase::ErrorKind;
using dbase::Result;
using dbase::Status;

/// Where the copy goes; refused when a table of that name is there, whatever the case of its letters.
Result<fs::path> freePlace(const fs::path &folder, const std::string &name)
{
    auto place = dbase::newTablePath(folder, name);
    if (!place.ok())
        return place;
    const Status present = dbase::findTable(folder, name).status();
    if (present.ok())
        return Status(ErrorKind::invalidArgument, "la tabla ya existe y no se sobrescribe",
                      pathText(place.value()));
    return present.kind() == ErrorKind::notFound ? place : present;
}

Status copyBytes(const fs::path &from, const fs::path &to)
{
    std::ifstream in(from, std::ios::binary);
    std::ofstream out(to, std::ios::binary | std::ios::trunc);
    std::vector<char> buffer(std::size_t{1} << 16U);
    while (in && out) {
        in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        out.write(buffer.data(), in.gcount());
    }
    out.close();
    if (in.bad() || !in.eof() || !out)
        return {ErrorKind::inputOutput, "no se ha podido copiar la tabla entera", pathText(to)};
    return {};
}

/// The name of the copy appears only when all of it is there.
Status copyFile(const fs::path &from, const fs::path &to)
{
    fs::path unfinished = to;
    unfinished += ".tmp";
    Status status = copyBytes(from, unfinished);
    std::error_code error;
    if (status.ok()) {
        fs::rename(unfinished, to, error);
        if (error)
            status = {ErrorKind::inputOutput, "no se puede poner la copia en su sitio", pathText(to)};
    }
    if (!status.ok())
        fs::remove(unfinished, error);
    return status;
}

enum class Source { inUse, laidAside };

/// Copies a table that can be opened; one that others may be writing to is held still meanwhile.
Status copyTable(const Context &context, const fs::path &from, const fs::path &to, Source source)
{
    dbase::OpenOptions options;
    options.lockTimeout = context.patience;
    options.readOnly = source == Source::laidAside;
    const auto opened = dbase::Table::open(from, options);
    if (!opened.ok())
        return opened.status();
    if (source == Source::laidAside)
        return copyFile(from, to);
    dbase::Table &table = *opened.value();
    if (const Status status = table.beginGroup(); !status.ok())
        return status;
    const Status status = copyFile(from, to);
    table.dropGroup();
    return status;
}

} // namespace

int backupTable(const Context &context)
{
    const auto from = dbase::findTable(context.args.folder, context.args.table);
    if (!from.ok())
        return context.fail(from.status());
    const auto to = freePlace(context.args.target, context.args.table);
    const Status status = to.ok() ? copyTable(context, from.value(), to.value(), Source::inUse) : to.status();
    if (!status.ok())
        return context.fail(status);
    context.note("Copiada a " + pathText(to.value()));
    return exitDone;
}

int restoreTable(const Context &context)
{
    const auto from = dbase::findTable(context.args.target, context.args.table);
    if (!from.ok())
        return context.fail(from.status());
    const auto to = freePlace(context.args.folder, context.args.table);
    Status status = to.ok() ? refuseOldJournal(to.value()) : to.status();
    if (status.ok()) {
        // A journal beside the copy means that somebody has opened it, and may have it open now.
        const bool used = !siblingOf(from.value(), ".JNL").empty();
        status = copyTable(context, from.value(), to.value(), used ? Source::inUse : Source::laidAside);
    }
    if (!status.ok())
        return context.fail(status);
    const auto opened = openWithTag(context, to.value());
    return opened.ok() ? verify(context, *opened.value()) : context.fail(opened.status());
}

} // namespace agendatool
