#pragma once

// Programs that are started by this one. The system's calls are in ChildProcessPosix.cpp and
// ChildProcessWindows.cpp.

#include "dbase/Export.h"
#include "dbase/Status.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <vector>

namespace dbase
{

/// A program that was started, without a shell in between; it has none of the files that are open here. When
/// this object ends before it, it is killed.
class DBASE_EXPORT ChildProcess
{
public:
    ChildProcess(ChildProcess &&other) noexcept;
    ChildProcess &operator=(ChildProcess &&other) noexcept;
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;
    ~ChildProcess();

    /// @param program  its file; no folders are searched for it.
    /// @param words    what it gets as arguments, in the system's own encoding.
    /// @return inputOutput when it cannot be started.
    static Result<ChildProcess> start(const std::filesystem::path &program,
                                      const std::vector<std::filesystem::path> &words);

    /// Whether it has ended, waiting that long for it.
    [[nodiscard]] bool hasEnded(std::chrono::milliseconds patience = std::chrono::milliseconds(0));

private:
    struct Native;
    explicit ChildProcess(std::unique_ptr<Native> native);
    std::unique_ptr<Native> m_native;
};

/// The file of the program that is running; empty where the system does not tell.
[[nodiscard]] DBASE_EXPORT std::filesystem::path runningProgram();

} // namespace dbase
