#pragma once

#include "tests/driver/Writer.h"

namespace driver
{

/// Does what a window does, one order after the other, so that another program can decide what happens
/// between two steps and can count what each costs. Changes are told as a Writer tells them.
///
///   set KEY VALUE        edits a line
///   count KEY TIMES MS   gives a line the values 1 to TIMES, with a pause in front of each
///   sheet KEY            adds a day sheet, one commit
///   watch KEY SECONDS MS looks for news every MS milliseconds; says "SEE KEY VALUE @ns" when the line shows
///   another refresh              looks for news once seek KEY             finds a line through the index and
///   reads it day YYYYMMDD         reads the lines of a day close                closes the table; the next
///   order opens it again
///
/// Each ends with "DONE order microseconds result @ns"; the result is what was found, or "failed" with the
/// reason on the standard error output.
class Clerk
{
public:
    Clerk(const std::filesystem::path &folder, int id, Writer::Teller tell);

    /// @return false when nothing of that name can be done.
    bool obey(const std::string &order);

private:
    using Words = std::vector<std::string>;
    dbase::Result<std::string> perform(const Words &words);
    dbase::Result<std::string> watch(const std::string &key, std::chrono::seconds howLong,
                                     std::chrono::milliseconds pause);
    dbase::Result<std::string> seek(const std::string &key);
    dbase::Result<std::string> day(const std::string &date);
    void say(const std::string &text) const;

    Writer m_writer;
    Writer::Teller m_tell;
};

} // namespace driver
