// Verbs that carry lines in and out.

#include "tools/agendatool/Csv.h"
#include "tools/agendatool/Text.h"
#include "tools/agendatool/Values.h"
#include "tools/agendatool/Verbs.h"

#include <algorithm>
#include <fstream>
#include <iterator>

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
    Status status;
    {
        std::ofstream out(unfinished, std::ios::binary | std::ios::trunc);
        if (!out)
            return ioFailure(unfinished, "no se puede crear el fichero");
        status = dump(table, context.args.range, DumpFormat::csv, out, context.progress.steps(writing));
        out.close();
        if (status.ok() && !out)
            status = ioFailure(unfinished, "no se ha podido escribir entero");
    }
    std::error_code error;
    if (status.ok()) {
        std::filesystem::rename(unfinished, target, error);
        if (error)
            status = ioFailure(target, "no se puede poner el fichero en su sitio");
    }
    if (!status.ok())
        std::filesystem::remove(unfinished, error);
    return status;
}

Result<std::string> readWhole(const std::filesystem::path &file)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error))
        return ioFailure(file, "no existe el fichero");
    std::ifstream in(file, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(in), {}};
    if (!in && !in.eof())
        return ioFailure(file, "no se puede leer el fichero");
    return content;
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

struct NewLine {
    std::size_t line = 0; ///< of the CSV file
    Bytes record;
};

Result<NewLine> lineOf(const Table &table, const std::vector<int> &columns, const CsvRow &row)
{
    if (row.cells.size() != columns.size())
        return atLine(row.line, "tiene " + std::to_string(row.cells.size()) + " valores y la cabecera " +
                                    std::to_string(columns.size()));
    NewLine made{row.line, dbase::blankRecord(table.recordLength())};
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const auto &field = table.fields()[static_cast<std::size_t>(columns[i])];
        if (const Status status = setValue(made.record, field, table.codePage(), row.cells[i]); !status.ok())
            return atLine(row.line, status.text());
    }
    return made;
}

Result<std::vector<NewLine>> linesOf(const Table &table, std::string_view csv)
{
    const auto rows = parseCsv(csv);
    if (!rows.ok())
        return rows.status();
    if (rows.value().empty())
        return atLine(1, "falta la cabecera con los nombres de los campos");
    const auto columns = columnsOf(table, rows.value().front());
    if (!columns.ok())
        return columns.status();
    std::vector<NewLine> lines;
    for (std::size_t i = 1; i < rows.value().size(); ++i) {
        const CsvRow &row = rows.value()[i];
        // An empty line at the end of a file typed by hand; with one column it is a blank value.
        if (columns.value().size() > 1 && row.cells.size() == 1 && row.cells[0].empty())
            continue;
        auto one = lineOf(table, columns.value(), row);
        if (!one.ok())
            return one.status();
        lines.push_back(std::move(one).value());
    }
    return lines;
}

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

Status appendAll(const Context &context, Table &table, std::span<const NewLine> lines)
{
    const upkeep::Progress progress = context.progress.steps("añadiendo las líneas");
    for (std::size_t at = 0; at < lines.size(); at += linesPerGroup) {
        static_cast<void>(progress(static_cast<int>(at * 100 / lines.size())));
        const Status status =
            appendGroup(table, lines.subspan(at, std::min(linesPerGroup, lines.size() - at)));
        if (!status.ok() && at > 0)
            return {status.kind(),
                    status.text() + "; las líneas del fichero anteriores a la " +
                        std::to_string(lines[at].line) + " ya están en la tabla",
                    status.file()};
        if (!status.ok())
            return status;
    }
    return {};
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
    const Status status =
        dump(*opened.value(), context.args.range, context.args.format, context.out(), progress);
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
    const auto csv = readWhole(context.args.target);
    if (!csv.ok())
        return context.fail(csv.status());
    const auto lines = linesOf(table, csv.value());
    if (!lines.ok())
        return context.fail(
            {lines.status().kind(), lines.status().text(), pathText(context.args.target.filename())});
    if (const Status status = appendAll(context, table, lines.value()); !status.ok())
        return context.fail(status);
    context.note("Añadidas " + std::to_string(lines.value().size()) + " líneas.");
    return exitDone;
}

} // namespace agendatool
