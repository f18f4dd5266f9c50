// Backup and its opposite. Only the lines are copied: the index is made from them.

#include "tools/agendatool/Text.h"
#include "tools/agendatool/Verbs.h"
#include "upkeep/TableCare.h"

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

} // namespace

int backupTable(const Context &context)
{
    const auto from = dbase::findTable(context.args.folder, context.args.table);
    if (!from.ok())
        return context.fail(from.status());
    const auto to = freePlace(context.args.target, context.args.table);
    const Status status =
        to.ok() ? upkeep::copyTable(from.value(), to.value(), upkeep::Source::inUse, context.patience,
                                    context.progress.steps("copiando la tabla"),
                                    upkeep::rightsOfCopy(from.value()))
                : to.status();
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
        status = upkeep::copyTable(from.value(), to.value(),
                                   used ? upkeep::Source::inUse : upkeep::Source::laidAside, context.patience,
                                   context.progress.steps("copiando la tabla"));
    }
    if (!status.ok())
        return context.fail(status);
    const auto opened = openWithTag(context, to.value());
    return opened.ok() ? verify(context, *opened.value()) : context.fail(opened.status());
}

} // namespace agendatool
