#include "tools/agendatool/Csv.h"

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

class Reader
{
public:
    explicit Reader(std::string_view text)
        : m_text(text)
    {
    }

    Result<std::vector<CsvRow>> rows()
    {
        std::vector<CsvRow> out;
        while (m_at < m_text.size()) {
            CsvRow row{m_line, {}};
            do {
                row.cells.emplace_back();
                if (const Status status = cell(row.cells.back()); !status.ok())
                    return status;
            } while (take(','));
            endOfLine();
            out.push_back(std::move(row));
        }
        return out;
    }

private:
    [[nodiscard]] bool atBreak() const
    {
        return m_at >= m_text.size() || m_text[m_at] == '\n' || m_text[m_at] == '\r';
    }
    bool take(char wanted)
    {
        if (m_at >= m_text.size() || m_text[m_at] != wanted)
            return false;
        ++m_at;
        return true;
    }
    void endOfLine()
    {
        const bool carriage = take('\r');
        if (take('\n') || carriage)
            ++m_line;
    }
    [[nodiscard]] Status fault(std::size_t line, const std::string &why) const
    {
        return {ErrorKind::invalidArgument, "línea " + std::to_string(line) + ": " + why};
    }

    Status cell(std::string &out)
    {
        if (take('"'))
            return quoted(out);
        while (!atBreak() && m_text[m_at] != ',') {
            if (m_text[m_at] == '"')
                return fault(m_line, "hay unas comillas dentro de un valor sin comillas");
            out += m_text[m_at++];
        }
        return {};
    }

    Status quoted(std::string &out)
    {
        const std::size_t began = m_line;
        for (;;) {
            if (m_at >= m_text.size())
                return fault(began, "unas comillas no se cierran");
            const char c = m_text[m_at++];
            if (c == '"' && !take('"'))
                break;
            if (c == '\n' || (c == '\r' && (m_at >= m_text.size() || m_text[m_at] != '\n')))
                ++m_line;
            out += c;
        }
        if (!atBreak() && m_text[m_at] != ',')
            return fault(m_line, "hay texto detrás de las comillas que cierran");
        return {};
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    std::size_t m_line = 1;
};

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

Result<std::vector<CsvRow>> parseCsv(std::string_view text)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    return Reader(text).rows();
}

} // namespace agendatool
