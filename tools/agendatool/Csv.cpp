#include "tools/agendatool/Csv.h"

#include <string_view>
#include <utility>

namespace agendatool
{

namespace
{

using dbase::ErrorKind;
using dbase::Result;
using dbase::Status;

/// Blanks at the ends are quoted too: some programs drop them otherwise.
bool needsQuotes(const std::string &cell)
{
    return cell.find_first_of(",\"\r\n") != std::string::npos ||
           (!cell.empty() && (cell.front() == ' ' || cell.back() == ' '));
}

constexpr std::size_t longestRow = std::size_t{1024} * 1024;

Status fault(std::size_t line, const std::string &why)
{
    return {ErrorKind::invalidArgument, "línea " + std::to_string(line) + ": " + why};
}

} // namespace

std::string csvLine(const std::vector<std::string> &cells)
{
    std::string out;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (i > 0)
            out += ',';
        if (!needsQuotes(cells[i])) {
            out += cells[i];
            continue;
        }
        out += '"';
        for (const char c : cells[i])
            out.append(c == '"' ? 2 : 1, c);
        out += '"';
    }
    return out + "\r\n";
}

std::string sheetCell(const std::string &cell)
{
    const bool formula =
        !cell.empty() && std::string_view("=+-@\t\r").find(cell.front()) != std::string_view::npos;
    return formula ? "'" + cell : cell;
}

CsvReader::CsvReader(std::istream &from, std::size_t mostCells)
    : m_from(from)
    , m_mostCells(mostCells)
{
}

Result<std::optional<CsvRow>> CsvReader::next()
{
    if (!std::exchange(m_begun, true) &&
        take('\xEF')) // of a byte order mark, and of nothing that a header has
        static_cast<void>(take('\xBB') && take('\xBF'));
    if (atEnd())
        return std::optional<CsvRow>();
    m_rowBytes = 0;
    CsvRow row{m_line, {}};
    do {
        if (row.cells.size() == m_mostCells)
            return fault(m_line, "tiene más de " + std::to_string(m_mostCells) + " valores");
        row.cells.emplace_back();
        if (const Status status = cell(row.cells.back()); !status.ok())
            return status;
    } while (take(','));
    endOfLine();
    return std::optional(std::move(row));
}

bool CsvReader::take(char wanted)
{
    if (!Traits::eq_int_type(peek(), Traits::to_int_type(wanted)))
        return false;
    m_from.rdbuf()->sbumpc();
    return true;
}

void CsvReader::endOfLine()
{
    const bool carriage = take('\r');
    if (take('\n') || carriage)
        ++m_line;
}

/// Takes one byte over.
Status CsvReader::add(std::string &out)
{
    if (++m_rowBytes > longestRow)
        return fault(m_line, "es demasiado larga");
    out += Traits::to_char_type(m_from.rdbuf()->sbumpc());
    return {};
}

Status CsvReader::cell(std::string &out)
{
    if (take('"'))
        return quoted(out);
    while (!atBreak() && peek() != ',') {
        if (peek() == '"')
            return fault(m_line, "hay unas comillas dentro de un valor sin comillas");
        if (const Status status = add(out); !status.ok())
            return status;
    }
    return {};
}

Status CsvReader::quoted(std::string &out)
{
    const std::size_t began = m_line;
    for (;;) {
        if (atEnd())
            return fault(began, "unas comillas no se cierran");
        if (take('"') && peek() != '"')
            break;
        if (const Status status = add(out); !status.ok())
            return status;
        const char c = out.back();
        if (c == '\n' || (c == '\r' && peek() != '\n'))
            ++m_line;
    }
    if (!atBreak() && peek() != ',')
        return fault(m_line, "hay texto detrás de las comillas que cierran");
    return {};
}

} // namespace agendatool
