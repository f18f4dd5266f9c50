#pragma once

// What the table files do right on shares by now, for the tests that hold them to it: a test whose verdict
// here is not what it finds fails, in either direction. Storms of writers, which need not meet a fault each
// time, are run only where they are to hold.

#include "tests/driver/ShareModel.h"

namespace driver::onShares
{

struct Holds {
    bool smb = false;
    bool nfs = false;
    [[nodiscard]] bool on(filecalls::Share share) const
    {
        return share == filecalls::Share::local || (share == filecalls::Share::smb ? smb : nfs);
    }
};

inline constexpr Holds twoWriters{true, true};
inline constexpr Holds lastWordStays{true, true};
inline constexpr Holds newsAreSeen{true, true};
inline constexpr Holds locksLost{true, true};
inline constexpr Holds unlockFails{true, true};
inline constexpr Holds connectionDead{true, true};
inline constexpr Holds kills{true, true};
inline constexpr Holds powerCuts{true, true};
inline constexpr Holds failingCalls{true, true};
inline constexpr Holds costs{true, true};

inline const char *nameOf(filecalls::Share share)
{
    return share == filecalls::Share::smb ? "smb" : share == filecalls::Share::nfs ? "nfs" : "local";
}

} // namespace driver::onShares
