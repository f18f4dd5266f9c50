#include "dbase/ThisProcess.h"
#include "tools/agendatool/Run.h"

#include <iostream>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace
{

constexpr int outDescriptor = 1;
constexpr int errDescriptor = 2;

bool isTerminal(int descriptor)
{
#if defined(_WIN32)
    return _isatty(descriptor) != 0;
#else
    return isatty(descriptor) != 0;
#endif
}

} // namespace

int main(int argc, char *argv[])
{
    dbase::prepareProcess();
#if defined(_WIN32)
    _setmode(outDescriptor, _O_BINARY); // CSV ends its lines itself
#endif
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    const agendatool::Terminals terminals{isTerminal(outDescriptor), isTerminal(errDescriptor)};
    const int code = agendatool::run(words, std::cout, std::cerr, terminals);
    std::cout.flush();
    // A dump into a full disk must not look complete.
    return std::cout.good() ? code : agendatool::exitFailed;
}
