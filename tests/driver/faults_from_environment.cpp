// Linked into a driver, this makes it die at a chosen change or do wrong what a test wants to see found:
//   AGENDA_FOLDER=folder  AGENDA_DIE=number of the change  AGENDA_PLANT=number of the plant
//   AGENDA_SHARE=smb or nfs: it is a workstation of its own
//   AGENDA_TRIP=milliseconds that each call to the share's server takes

#include "tests/driver/FileCalls.h"
#include "tests/driver/ShareModel.h"

#include <cstdlib>
#include <string_view>

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
        if (const char *const share = std::getenv("AGENDA_SHARE")) {
            calls::behaveAs(share == std::string_view("smb") ? calls::Share::smb : calls::Share::nfs);
            calls::sleepVirtually(false); // others need their time
            if (const char *const trip = std::getenv("AGENDA_TRIP"))
                calls::eachRoundTripTakes(std::chrono::milliseconds(std::atoi(trip)));
        }
    }
};

const FromEnvironment fromEnvironment;

} // namespace
