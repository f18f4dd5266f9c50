// Verbs that look after a whole table.

#include "tools/agendatool/Text.h"
#include "tools/agendatool/Values.h"
#include "tools/agendatool/Verbs.h"

#include <ostream>

namespace agendatool
{

namespace
{

using dbase::ErrorKind;
using dbase::FieldType;
using dbase::Result;
using dbase::Status;
using dbase::Table;

constexpr int mostFaultsShown = 20;

const dbase::TagDefinition &agendaTag()
{
    static const dbase::TagDefinition tag{"FECHA", "DTOS(FECHA)+HORA"};
    return tag;
}

dbase::TableDefinition agendaDefinition()
{
    dbase::TableDefinition made;
    made.fields = {{"FECHA", FieldType::date, 8},
                   {"HORA", FieldType::character, 5},
                   {"CONCEPTO", FieldType::character, 254},
                   {"CODCLIENTE", FieldType::floating, 20, 4},
                   {"INTERESADO", FieldType::character, 100},
                   {"OFICIAL", FieldType::character, 16},
                   {"SALIDA", FieldType::character, 1},
                   {"AVISO", FieldType::character, 1}};
    made.tags = {agendaTag()};
    return made;
}

bool hasField(const Table &table, std::string_view name, FieldType type)
{
    const int at = table.fieldIndex(name);
    return at >= 0 && table.fields()[static_cast<std::size_t>(at)].type == type;
}

Result<OpenTable> openFile(const Context &context, const std::filesystem::path &file,
                           std::vector<dbase::TagDefinition> tags)
{
    dbase::OpenOptions options;
    options.lockTimeout = context.patience;
    options.tags = std::move(tags);
    auto opened = Table::open(file, options);
    if (opened.ok() && !opened.value()->notice().empty())
        context.err << pathText(file.filename()) << ": " << opened.value()->notice() << '\n';
    return opened;
}

/// The tags against the lines. An index file of which no tag could be taken has not been compared.
Status compareTags(Table &table)
{
    if (const Status status = table.check(); !status.ok())
        return status;
    if (!table.tags().empty() || siblingOf(table.file(), ".MDX").empty())
        return {};
    const std::string reason = table.readOnlyReason();
    return {ErrorKind::damaged, "el índice no se ha podido comprobar" + (reason.empty() ? "" : ": " + reason),
            pathText(table.file().filename())};
}

/// @return how many fields of live lines hold no value of their type; the first ones are named.
Result<int> countUnreadable(const Context &context, const Table &table)
{
    std::vector<dbase::RecordNumber> numbers;
    std::vector<std::uint8_t> rows;
    if (const Status status = table.liveRows(nullptr, {}, {}, numbers, rows); !status.ok())
        return status;
    int faults = 0;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto row = std::span(rows).subspan(i * table.recordLength(), table.recordLength());
        for (const auto &field : table.fields()) {
            if (isReadable(row, field) || ++faults > mostFaultsShown)
                continue;
            context.err << "línea " << numbers[i] << ": el campo " << field.name << " no se entiende: «"
                        << valueText(row, field, table.codePage()) << "»\n";
        }
    }
    return faults;
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
        out << text << '\n';
}

int Context::fail(const Status &status) const
{
    err << "agendatool: " << status.message() << '\n';
    return status.kind() == ErrorKind::locked ? exitBusy : exitFailed;
}

Result<OpenTable> openTable(const Context &context)
{
    const auto file = dbase::findTable(context.args.folder, context.args.table);
    return file.ok() ? openFile(context, file.value(), {}) : file.status();
}

Result<OpenTable> openWithTag(const Context &context, const std::filesystem::path &file)
{
    auto opened = openFile(context, file, {});
    if (!opened.ok())
        return opened;
    const Table &table = *opened.value();
    const bool agenda =
        hasField(table, "FECHA", FieldType::date) && hasField(table, "HORA", FieldType::character);
    // An index that tells no order any more makes the table read-only, unless somebody names the order.
    const bool lostOrders = table.isReadOnly() && table.tags().empty();
    if (!agenda || (table.isReadOnly() && !lostOrders) || table.index(agendaTag().name))
        return opened;
    opened.value().reset();
    return openFile(context, file, {agendaTag()});
}

int verify(const Context &context, Table &table)
{
    const Status tags = compareTags(table);
    const int tagsCode = tags.ok() ? exitDone : context.fail(tags);
    const auto faults = countUnreadable(context, table);
    if (!faults.ok())
        return context.fail(faults.status());
    if (faults.value() > 0)
        context.err << "agendatool: hay " << faults.value() << " campos que no se entienden\n";
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
        status = Table::create(file.value(), agendaDefinition());
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
    std::ostream &out = context.out;
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
    if (compareTags(table).kind() == ErrorKind::damaged) {
        if (const Status status = table.reindex(); !status.ok())
            return context.fail(status);
        context.note("El índice no coincidía con las líneas; se ha rehecho.");
    }
    return verify(context, table);
}

int reindexTable(const Context &context)
{
    const auto opened = openForRepair(context);
    const Status status = opened.ok() ? opened.value()->reindex() : opened.status();
    if (!status.ok())
        return context.fail(status);
    context.note("Índice rehecho.");
    return exitDone;
}

int packTable(const Context &context)
{
    const auto opened = openTable(context);
    const Status status = opened.ok() ? opened.value()->pack() : opened.status();
    if (!status.ok())
        return context.fail(status);
    context.note("Quedan " + std::to_string(opened.value()->recordCount()) + " líneas.");
    return exitDone;
}

} // namespace agendatool
