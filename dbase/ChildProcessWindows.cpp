// Starting programs under Windows; beside ChildProcessPosix.cpp.

#include "dbase/ChildProcess.h"

#include "dbase/FileNative.h"

#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

namespace dbase
{

struct ChildProcess::Native {
    HANDLE process = nullptr;

    Native() = default;
    Native(const Native &) = delete;
    Native &operator=(const Native &) = delete;
    ~Native()
    {
        if (!process)
            return;
        TerminateProcess(process, 1); // refused when it has ended
        WaitForSingleObject(process, INFINITE);
        CloseHandle(process);
    }
};

namespace
{

/// A word of a command line as programs take it apart again: backslashes count double in front of a quote
/// alone.
std::wstring quoted(const std::wstring &word)
{
    std::wstring out(1, L'"');
    std::size_t backslashes = 0;
    for (const wchar_t c : word) {
        if (c == L'"')
            out.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        out += c;
    }
    return out.append(backslashes, L'\\') + L'"';
}

} // namespace

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
    std::wstring line = quoted(program.native());
    for (const auto &word : words)
        line += L' ' + quoted(word.native());
    STARTUPINFOW how{};
    how.cb = sizeof how;
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &how,
                        &started))
        return failureOfCall("no se puede poner en marcha el programa", displayName(program));
    CloseHandle(started.hThread);
    auto native = std::make_unique<Native>();
    native->process = started.hProcess;
    return ChildProcess(std::move(native));
}

bool ChildProcess::hasEnded(std::chrono::milliseconds patience)
{
    return WaitForSingleObject(m_native->process, static_cast<DWORD>(patience.count())) == WAIT_OBJECT_0;
}

std::filesystem::path runningProgram()
{
    constexpr std::size_t longestPath = 32768;
    std::wstring file(longestPath, L'\0');
    file.resize(GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
    return file;
}

} // namespace dbase
