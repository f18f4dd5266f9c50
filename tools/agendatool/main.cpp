#include "tools/agendatool/Run.h"

#include <iostream>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

int main(int argc, char *argv[])
{
#if defined(_WIN32)
    _setmode(1, _O_BINARY); // CSV ends its lines itself
#endif
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    const int code = agendatool::run(words, std::cout, std::cerr);
    std::cout.flush();
    // A dump into a full disk must not look complete.
    return std::cout.good() ? code : agendatool::exitFailed;
}
