// Linked into a driver, this makes it die at a chosen change or do wrong what a test wants to see found:
//   AGENDA_FOLDER=folder  AGENDA_DIE=number of the change  AGENDA_PLANT=number of the plant

#include "tests/driver/FileCalls.h"

#include <cstdlib>

namespace
{

namespace calls = driver::filecalls;

struct FromEnvironment {
    FromEnvironment()
    {
        const char *const folder = std::getenv("AGENDA_FOLDER");
        if (!folder)
            return;
        calls::watch(folder, false);
        if (const char *const change = std::getenv("AGENDA_DIE"))
            calls::dieAt(std::atoi(change));
        if (const char *const plant = std::getenv("AGENDA_PLANT"))
            calls::plant(static_cast<calls::Plant>(std::atoi(plant)));
    }
};

const FromEnvironment fromEnvironment;

} // namespace
