#include "tools/agendatool/ProgressLine.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace agendatool
{

namespace
{

constexpr std::chrono::milliseconds interval{100};

/// Characters of a text in UTF-8.
std::size_t widthOf(const std::string &text)
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

} // namespace

ProgressLine::ProgressLine(std::ostream &err, std::string table, bool shown, Clock clock)
    : m_err(err)
    , m_table(std::move(table))
    , m_shown(shown)
    , m_clock(std::move(clock))
{
}

void ProgressLine::phase(const std::string &what)
{
    m_phase = m_table + ": " + what;
    write(m_phase + "...");
}

upkeep::Progress ProgressLine::steps(const std::string &what)
{
    phase(what);
    return [this](int percent) {
        if (m_shown && m_clock() - m_written >= interval)
            write(m_phase + ", " + std::to_string(percent) + " %");
        return true;
    };
}

std::ostream &ProgressLine::remove()
{
    // Blanks, since not every console knows a sequence that clears a line.
    if (m_columns > 0)
        m_err << '\r' + std::string(std::exchange(m_columns, 0), ' ') + '\r' << std::flush;
    return m_err;
}

void ProgressLine::write(const std::string &text)
{
    if (!m_shown)
        return;
    const std::size_t columns = widthOf(text);
    const std::size_t rest = m_columns > columns ? m_columns - columns : 0;
    m_err << '\r' + text + std::string(rest, ' ') << std::flush;
    m_columns = columns;
    m_written = m_clock();
}

} // namespace agendatool
