// Verbs that carry lines in and out.

#include "tools/agendatool/Csv.h"
#include "tools/agendatool/FileStream.h"
#include "tools/agendatool/Text.h"
#include "tools/agendatool/Values.h"
#include "tools/agendatool/Verbs.h"

#include <algorithm>
#include <fstream>
#include <functional>

namespace agendatool
{

namespace
{

using dbase::ErrorKind;
using dbase::Result;
using dbase::Status;
using dbase::Table;
using Bytes = std::vector<std::uint8_t>;

/// Others wait while a group is written.
constexpr std::size_t linesPerGroup = 500;
constexpr const char *writing = "escribiendo las líneas";

Status ioFailure(const std::filesystem::path &file, const std::string &what)
{
    return {ErrorKind::inputOutput, what, pathText(file)};
}

Status writeExport(const Context &context, const Table &table, const std::filesystem::path &target)
{
    std::filesystem::path unfinished = target;
    unfinished += ".tmp";
    std::error_code error;
    std::filesystem::remove(unfinished,
                            error); // of an export that was cut, or a link that somebody has put there
    FileStream out(unfinished, upkeep::rightsOfCopy(table.file()));
    if (!out.status().ok())
        return out.status();
    Status status = dump(table, context.args.range, DumpFormat::csv, out, context.progress.steps(writing),
                         context.args.sheet);
    if (const Status written = out.finish(); !written.ok())
        status = written; // it says more than that the stream has failed
    if (status.ok()) {
        std::filesystem::rename(unfinished, target, error);
        if (error)
            status = ioFailure(target, "no se puede poner el fichero en su sitio");
    }
    if (!status.ok())
        std::filesystem::remove(unfinished, error);
    return status;
}

Status atLine(std::size_t line, const std::string &why)
{
    return {ErrorKind::invalidArgument, "línea " + std::to_string(line) + ": " + why};
}

/// Which field each column of the header row is.
Result<std::vector<int>> columnsOf(const Table &table, const CsvRow &header)
{
    std::vector<int> columns;
    for (const std::string &name : header.cells) {
        const int field = table.fieldIndex(name);
        if (field < 0)
            return atLine(header.line, "la tabla no tiene el campo «" + name + "»");
        if (std::find(columns.begin(), columns.end(), field) != columns.end())
            return atLine(header.line, "el campo " + name + " está dos veces");
        columns.push_back(field);
    }
    return columns;
}

Result<Bytes> recordOf(const Table &table, const std::vector<int> &columns, const CsvRow &row)
{
    if (row.cells.size() != columns.size())
        return atLine(row.line, "tiene " + std::to_string(row.cells.size()) + " valores y la cabecera " +
                                    std::to_string(columns.size()));
    Bytes record = dbase::blankRecord(table.recordLength());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const auto &field = table.fields()[static_cast<std::size_t>(columns[i])];
        if (const Status status = setValue(record, field, table.codePage(), row.cells[i]); !status.ok())
            return atLine(row.line, status.text());
    }
    return record;
}

/// What is done with each line of a CSV file: its number there, and the record that it makes.
using TakeLine = std::function<Status(std::size_t line, Bytes record)>;

/// Goes through the file from its beginning; it is never in memory as a whole.
Status readLines(const Table &table, std::istream &csv, const TakeLine &take)
{
    csv.clear();
    csv.seekg(0);
    CsvReader reader(csv, table.fields().size());
    const auto header = reader.next();
    if (!header.ok())
        return header.status();
    if (!header.value())
        return atLine(1, "falta la cabecera con los nombres de los campos");
    const auto columns = columnsOf(table, *header.value());
    if (!columns.ok())
        return columns.status();
    for (;;) {
        const auto row = reader.next();
        if (!row.ok() || !row.value())
            return row.status();
        // An empty line at the end of a file typed by hand; with one column it is a blank value.
        if (columns.value().size() > 1 && row.value()->cells.size() == 1 && row.value()->cells[0].empty())
            continue;
        auto record = recordOf(table, columns.value(), *row.value());
        const Status status =
            record.ok() ? take(row.value()->line, std::move(record).value()) : record.status();
        if (!status.ok())
            return status;
    }
}

struct NewLine {
    std::size_t line = 0; ///< of the CSV file
    Bytes record;
};

Status appendGroup(Table &table, std::span<const NewLine> lines)
{
    Status status = table.beginGroup();
    for (std::size_t i = 0; status.ok() && i < lines.size(); ++i)
        status = table.append(lines[i].record).status();
    if (status.ok())
        return table.commitGroup();
    table.dropGroup();
    return status;
}

/// @param total  lines that the file had when it was read for the first time.
Status appendAll(const Context &context, Table &table, std::istream &csv, std::size_t total)
{
    const upkeep::Progress progress = context.progress.steps("añadiendo las líneas");
    std::vector<NewLine> group;
    std::size_t done = 0;
    const auto write = [&]() -> Status {
        static_cast<void>(progress(static_cast<int>(done * 100 / std::max<std::size_t>(total, 1))));
        const Status status = appendGroup(table, group);
        if (status.ok())
            done += group.size();
        return status;
    };
    Status status = readLines(table, csv, [&](std::size_t line, Bytes record) {
        if (group.size() == linesPerGroup) {
            if (const Status written = write(); !written.ok())
                return written;
            group.clear();
        }
        group.push_back({line, std::move(record)});
        return Status();
    });
    if (status.ok() && !group.empty())
        status = write();
    if (!status.ok() && done > 0)
        return {status.kind(),
                status.text() + "; las líneas del fichero anteriores a la " +
                    std::to_string(group.front().line) + " ya están en la tabla",
                status.file()};
    return status;
}

/// All lines are looked at before the first is added. @return how many there are.
Result<std::size_t> importFrom(const Context &context, Table &table, std::istream &csv)
{
    std::size_t total = 0;
    const std::string name = pathText(context.args.target.filename());
    Status status = readLines(table, csv, [&](std::size_t, const Bytes &) {
        ++total;
        return Status();
    });
    if (!status.ok())
        return Status(status.kind(), status.text(), name);
    status = appendAll(context, table, csv, total);
    return status.ok() ? Result<std::size_t>(total) : status;
}

} // namespace

int refuseTableFile(const Context &context)
{
    const std::string extension = upperAscii(pathText(context.args.target.extension()));
    if (extension != ".DBF" && extension != ".MDX" && extension != ".JNL")
        return exitDone;
    context.err() << "agendatool: «" << pathText(context.args.target)
                  << "» tiene el nombre de un fichero de tabla\n";
    return exitUsage;
}

int dumpLines(const Context &context)
{
    const auto opened = openTable(context);
    if (!opened.ok())
        return context.fail(opened.status());
    // On a terminal the lines themselves show how far it is.
    const upkeep::Progress progress =
        context.outIsTerminal ? upkeep::Progress() : context.progress.steps(writing);
    const Status status = dump(*opened.value(), context.args.range, context.args.format, context.out(),
                               progress, context.args.sheet);
    return status.ok() ? exitDone : context.fail(status);
}

int exportLines(const Context &context)
{
    const std::filesystem::path &target = context.args.target;
    if (const int refused = refuseTableFile(context); refused != exitDone)
        return refused;
    const auto opened = openTable(context);
    const Status status = opened.ok() ? writeExport(context, *opened.value(), target) : opened.status();
    if (!status.ok())
        return context.fail(status);
    context.note("Escrito " + pathText(target));
    return exitDone;
}

int importLines(const Context &context)
{
    const auto opened = openTable(context);
    if (!opened.ok())
        return context.fail(opened.status());
    Table &table = *opened.value();
    context.progress.phase("leyendo el fichero");
    std::error_code error;
    if (!std::filesystem::is_regular_file(context.args.target, error))
        return context.fail(ioFailure(context.args.target, "no existe el fichero"));
    std::ifstream csv(context.args.target, std::ios::binary);
    if (!csv)
        return context.fail(ioFailure(context.args.target, "no se puede leer el fichero"));
    try {
        const auto added = importFrom(context, table, csv);
        if (!added.ok())
            return context.fail(added.status());
        context.note("Añadidas " + std::to_string(added.value()) + " líneas.");
        return exitDone;
    } catch (const std::ios_base::failure &) { // the way of its buffer to say so
        return context.fail(ioFailure(context.args.target, "no se puede leer el fichero entero"));
    }
}

} // namespace agendatool
