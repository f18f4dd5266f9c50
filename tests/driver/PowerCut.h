#pragma once

// What may be on the disk after a power cut, built from a recording of file calls, and each of it judged.
//
// Safe is what was written to a file before a flush of it that succeeded, of all of it or of those bytes. Of
// the rest any sector of 512 bytes may have arrived or not; names survive as a beginning of their changes,
// and a flush of any file makes the earlier ones safe. A failed flush saves nothing, and a later one does not
// save what it covered: the system has dropped it.

#include "tests/driver/FileCalls.h"
#include "tests/driver/ShareModel.h"

#include <functional>
#include <map>
#include <span>

namespace driver
{

/// The files of a folder: name to content.
using Image = std::map<std::string, std::string>;
[[nodiscard]] Image readImage(const std::filesystem::path &folder);
/// The folder then holds these files and no others.
void writeImage(const std::filesystem::path &folder, const Image &image);

struct CutOptions {
    unsigned seed = 1;
    int statesAtPoint = 10; ///< at most, for every point of the recording
    int repairsCut = 0;     ///< so many of the states are repaired under a recording that is cut as well
    std::size_t mostFailures = 3;                      ///< then it stops
    filecalls::Plant planted = filecalls::Plant::none; ///< what those who repair do wrong
    filecalls::Share share = filecalls::Share::local;  ///< through which they come to the files
};

struct CutReport {
    int points = 0;
    int states = 0; ///< different ones, all judged
    int repairsCut = 0;
    std::vector<std::string> failures; ///< where, which state, what is wrong
};

/// Looks at the table in a folder and repairs it, knowing the marks up to the cut. @return what is wrong with
/// it.
using CutJudge = std::function<std::vector<std::string>(const std::filesystem::path &folder,
                                                        std::span<const std::string> marks)>;

/// Cuts a recording after each of its events.
/// @param start  the files as they were when it began, all of it safe.
[[nodiscard]] CutReport cutEverywhere(const Image &start, std::span<const filecalls::Event> events,
                                      const CutJudge &judge, const CutOptions &options);

} // namespace driver
