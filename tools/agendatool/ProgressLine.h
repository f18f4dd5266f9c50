#pragma once

#include "upkeep/TableCare.h"

#include <chrono>
#include <functional>
#include <iosfwd>
#include <string>

namespace agendatool
{

/// How far a long work is: one line of a terminal, "AGENDA_N: comparando el índice...", "AGENDA_N:
/// añadiendo líneas, 45 %", written over again and again and gone at the end.
class ProgressLine
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// @param err    where complaints go, and the line when `shown`; outlives this object.
    /// @param table  the name that stands before everything.
    /// @param shown  whether `err` is a terminal, and the user has not asked for quiet.
    ProgressLine(std::ostream &err, std::string table, bool shown,
                 Clock clock = std::chrono::steady_clock::now);
    ~ProgressLine() { remove(); }
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;

    /// Says what is being done from here on.
    void phase(const std::string &what);
    /// The same for a work that tells its steps, shown at most ten times a second.
    /// @return what the work calls; it never stops it. Not to be called after the end of this object.
    [[nodiscard]] upkeep::Progress steps(const std::string &what);
    /// Takes the line away, until there is more to say. @return the stream, for something that stays.
    std::ostream &remove();

private:
    void write(const std::string &text);

    std::ostream &m_err;
    std::string m_table;
    bool m_shown;
    Clock m_clock;
    std::string m_phase;
    std::size_t m_columns = 0; ///< that the line takes now
    std::chrono::steady_clock::time_point m_written;
};

} // namespace agendatool
