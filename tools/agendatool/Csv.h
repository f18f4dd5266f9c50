#pragma once

#include "dbase/Status.h"

#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace agendatool
{

/// One row of a CSV file.
struct CsvRow {
    std::size_t line = 0; ///< of the file, from 1, where the row begins
    std::vector<std::string> cells;
};

/// A row with its CR LF, quoted where RFC 4180 asks for it.
[[nodiscard]] std::string csvLine(const std::vector<std::string> &cells);

/// The same for a spreadsheet, which takes a text that begins as a formula for one: an apostrophe goes in
/// front.
[[nodiscard]] std::string sheetCell(const std::string &cell);

/// Reads a file row by row, header row included; a leading byte order mark is passed over.
class CsvReader
{
public:
    /// @param from       binary; outlives this object.
    /// @param mostCells  that a row may have.
    CsvReader(std::istream &from, std::size_t mostCells);
    /// @return nothing at the end; invalidArgument, naming the line, for quotes that do not match, for more
    /// cells and for a row of more than 1 MiB; inputOutput when the file cannot be read.
    dbase::Result<std::optional<CsvRow>> next();

private:
    using Traits = std::char_traits<char>;
    [[nodiscard]] int peek() { return m_from.rdbuf()->sgetc(); }
    [[nodiscard]] bool atEnd() { return Traits::eq_int_type(peek(), Traits::eof()); }
    [[nodiscard]] bool atBreak() { return atEnd() || peek() == '\n' || peek() == '\r'; }
    bool take(char wanted);
    void endOfLine();
    dbase::Status cell(std::string &out);
    dbase::Status quoted(std::string &out);
    dbase::Status add(std::string &out);

    std::istream &m_from;
    std::size_t m_mostCells;
    std::size_t m_line = 1;
    std::size_t m_rowBytes = 0;
    bool m_begun = false;
};

} // namespace agendatool
