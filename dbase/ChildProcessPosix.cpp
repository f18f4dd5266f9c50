// Starting programs under POSIX; beside ChildProcessWindows.cpp.

#include "dbase/ChildProcess.h"

#include "dbase/FileNative.h"

#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#if !defined(__linux__)
extern char **environ; // POSIX leaves it to the program to declare it
#endif

namespace dbase
{

struct ChildProcess::Native {
    pid_t process = 0; ///< 0 when it has ended and been asked about

    Native() = default;
    Native(const Native &) = delete;
    Native &operator=(const Native &) = delete;
    ~Native()
    {
        if (process == 0)
            return;
        ::kill(process, SIGKILL);
        static_cast<void>(ended(0));
    }

    /// @param how  WNOHANG to ask only.
    [[nodiscard]] bool ended(int how)
    {
        pid_t answer = 0;
        while (process != 0 && (answer = ::waitpid(process, nullptr, how)) < 0 && errno == EINTR) {
        }
        if (answer != 0)
            process = 0;
        return process == 0;
    }
};

ChildProcess::ChildProcess(std::unique_ptr<Native> native)
    : m_native(std::move(native))
{
}
ChildProcess::ChildProcess(ChildProcess &&other) noexcept = default;
ChildProcess &ChildProcess::operator=(ChildProcess &&other) noexcept = default;
ChildProcess::~ChildProcess() = default;

Result<ChildProcess> ChildProcess::start(const std::filesystem::path &program,
                                         const std::vector<std::filesystem::path> &words)
{
    std::vector<std::string> texts{program.native()};
    for (const auto &word : words)
        texts.push_back(word.native());
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    auto native = std::make_unique<Native>();
    errno = ::posix_spawn(&native->process, program.c_str(), nullptr, nullptr, pointers.data(), environ);
    if (errno != 0) {
        native->process = 0;
        return failureOfCall("no se puede poner en marcha el programa", displayName(program));
    }
    return ChildProcess(std::move(native));
}

bool ChildProcess::hasEnded(std::chrono::milliseconds patience)
{
    constexpr std::chrono::milliseconds pause(5);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!m_native->ended(WNOHANG)) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(pause);
    }
    return true;
}

std::filesystem::path runningProgram()
{
    std::error_code none;
    return std::filesystem::read_symlink("/proc/self/exe", none);
}

} // namespace dbase
