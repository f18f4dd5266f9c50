// Verbs that look after a whole table.

#include "tools/agendatool/Text.h"
#include "tools/agendatool/Values.h"
#include "tools/agendatool/Verbs.h"
#include "upkeep/TableCare.h"

#include <ostream>

namespace agendatool
{

namespace
{

using dbase::ErrorKind;
using dbase::Result;
using dbase::Status;
using dbase::Table;

constexpr int mostFaultsShown = 20;
/// Opening may have to put a table in order, or to make its index anew.
constexpr const char *opening = "abriendo la tabla";

Result<OpenTable> told(const Context &context, Result<OpenTable> opened)
{
    if (opened.ok() && !opened.value()->notice().empty())
        context.err() << pathText(opened.value()->file().filename()) << ": " << opened.value()->notice()
                      << '\n';
    return opened;
}

/// @return how many fields of live lines hold no value of their type; the first ones are named.
Result<int> countUnreadable(const Context &context, const Table &table)
{
    int shown = 0;
    return upkeep::findUnreadable(
        table,
        [&](dbase::RecordNumber number, std::span<const std::uint8_t> row,
            const dbase::FieldDefinition &field) {
            if (++shown <= mostFaultsShown)
                context.err() << "línea " << number << ": el campo " << field.name << " no se entiende: «"
                              << valueText(row, field, table.codePage()) << "»\n";
        },
        context.progress.steps("leyendo los campos"));
}

Status compareTags(const Context &context, Table &table)
{
    context.progress.phase("comparando el índice");
    return upkeep::compareTags(table);
}

Status reindex(const Context &context, Table &table)
{
    context.progress.phase("rehaciendo el índice");
    return table.reindex();
}

Result<OpenTable> openForRepair(const Context &context)
{
    const auto file = dbase::findTable(context.args.folder, context.args.table);
    if (!file.ok())
        return file.status();
    auto opened = openWithTag(context, file.value());
    if (opened.ok() && opened.value()->isReadOnly())
        return Status(ErrorKind::readOnly, opened.value()->readOnlyReason(),
                      pathText(file.value().filename()));
    return opened;
}

std::string fieldText(const dbase::FieldDefinition &field)
{
    std::string text = field.name + ' ' + static_cast<char>(field.type) + std::to_string(field.width);
    return field.decimals == 0 ? text : text + '.' + std::to_string(field.decimals);
}

} // namespace

void Context::note(const std::string &text) const
{
    if (!args.quiet)
        out() << text << '\n';
}

int Context::fail(const Status &status) const
{
    err() << "agendatool: " << status.message() << '\n';
    return status.kind() == ErrorKind::locked ? exitBusy : exitFailed;
}

Result<OpenTable> openTable(const Context &context)
{
    const auto file = dbase::findTable(context.args.folder, context.args.table);
    if (!file.ok())
        return file.status();
    context.progress.phase(opening);
    dbase::OpenOptions options;
    options.lockTimeout = context.patience;
    return told(context, Table::open(file.value(), options));
}

Result<OpenTable> openWithTag(const Context &context, const std::filesystem::path &file)
{
    context.progress.phase(opening);
    return told(context, upkeep::openWithTag(file, context.patience));
}

int verify(const Context &context, Table &table)
{
    const Status tags = compareTags(context, table);
    const int tagsCode = tags.ok() ? exitDone : context.fail(tags);
    const auto faults = countUnreadable(context, table);
    if (!faults.ok())
        return context.fail(faults.status());
    if (faults.value() > 0)
        context.err() << "agendatool: hay " << faults.value() << " campos que no se entienden\n";
    if (faults.value() > 0 || tagsCode != exitDone)
        return tagsCode == exitBusy ? exitBusy : exitFailed;
    context.note("La tabla está bien: " + std::to_string(table.recordCount()) + " líneas, " +
                 std::to_string(table.tags().size()) + " órdenes.");
    return exitDone;
}

Status refuseOldJournal(const std::filesystem::path &table)
{
    const auto journal = siblingOf(table, ".JNL");
    if (journal.empty())
        return {};
    return {ErrorKind::invalidArgument,
            "queda el diario de una tabla anterior de ese nombre; apártelo antes de seguir",
            pathText(journal.filename())};
}

int createTable(const Context &context)
{
    const auto file = dbase::newTablePath(context.args.folder, context.args.table);
    Status status = file.status();
    if (status.ok() && dbase::findTable(context.args.folder, context.args.table).ok())
        status = {ErrorKind::invalidArgument, "la tabla ya existe", pathText(file.value().filename())};
    if (status.ok())
        status = refuseOldJournal(file.value());
    if (status.ok())
        status = Table::create(file.value(), upkeep::agendaDefinition());
    if (!status.ok())
        return context.fail(status);
    context.note("Creada " + pathText(file.value()));
    return exitDone;
}

int showInfo(const Context &context)
{
    const auto opened = openTable(context);
    if (!opened.ok())
        return context.fail(opened.status());
    const Table &table = *opened.value();
    std::vector<dbase::RecordNumber> live;
    if (const Status status = table.liveRecords(nullptr, {}, {}, live); !status.ok())
        return context.fail(status);
    std::ostream &out = context.out();
    out << "Tabla: " << pathText(table.file()) << "\nLíneas: " << table.recordCount() << " (" << live.size()
        << " vivas, " << table.recordCount() - live.size()
        << " borradas)\nPágina de códigos: " << static_cast<int>(table.codePage()) << "\nCampos:\n";
    for (const auto &field : table.fields())
        out << "  " << fieldText(field) << '\n';
    out << "Órdenes:\n";
    for (const auto &tag : table.tags())
        out << "  " << tag.name << " = " << tag.expression << '\n';
    if (table.isReadOnly())
        out << "Solo lectura: " << table.readOnlyReason() << '\n';
    return exitDone;
}

int checkTable(const Context &context)
{
    const auto opened = openTable(context);
    return opened.ok() ? verify(context, *opened.value()) : context.fail(opened.status());
}

int repairTable(const Context &context)
{
    const auto opened = openForRepair(context);
    if (!opened.ok())
        return context.fail(opened.status());
    Table &table = *opened.value();
    if (compareTags(context, table).kind() == ErrorKind::damaged) {
        if (const Status status = reindex(context, table); !status.ok())
            return context.fail(status);
        context.note("El índice no coincidía con las líneas; se ha rehecho.");
    }
    return verify(context, table);
}

int reindexTable(const Context &context)
{
    const auto opened = openForRepair(context);
    const Status status = opened.ok() ? reindex(context, *opened.value()) : opened.status();
    if (!status.ok())
        return context.fail(status);
    context.note("Índice rehecho.");
    return exitDone;
}

int packTable(const Context &context)
{
    const auto opened = openTable(context);
    if (!opened.ok())
        return context.fail(opened.status());
    context.progress.phase("quitando las líneas borradas");
    if (const Status status = opened.value()->pack(); !status.ok())
        return context.fail(status);
    context.note("Quedan " + std::to_string(opened.value()->recordCount()) + " líneas.");
    return exitDone;
}

} // namespace agendatool
