#pragma once

#include <chrono>
#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

namespace agendatool
{

// What the program tells its caller.
inline constexpr int exitDone = 0;
inline constexpr int exitFailed = 1; ///< damaged, or it could not be done
inline constexpr int exitUsage = 2;
inline constexpr int exitBusy = 3; ///< others have the table

/// Which of the streams somebody looks at as they grow.
struct Terminals {
    bool out = false;
    bool err = false; ///< long works then show there how far they are
};

/// Does what a command line says.
/// @param words     the arguments without the program's name; paths in the system's own encoding.
/// @param patience  how long to wait for others who are writing.
/// @param program   the file of agendatool, for the work that takes two of them; empty: what is running.
/// @return one of the exit codes above; the reason of a failure stands in `err`, Spanish, UTF-8.
int run(const std::vector<std::string> &words, std::ostream &out, std::ostream &err, Terminals terminals = {},
        std::chrono::milliseconds patience = std::chrono::milliseconds(2000),
        const std::filesystem::path &program = {});

} // namespace agendatool
