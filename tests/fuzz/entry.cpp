// What a fuzzer calls; the build says for which target.

#include "tests/fuzz/Targets.h"

// NOLINTNEXTLINE(readability-identifier-naming): the name is given
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::AGENDA_FUZZ_TARGET({data, size});
    return 0;
}
