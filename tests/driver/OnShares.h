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

inline constexpr Holds twoWriters{false, true};
inline constexpr Holds lastWordStays{false, false};
inline constexpr Holds newsAreSeen{false, false};
inline constexpr Holds locksLost{false, true};
inline constexpr Holds unlockFails{false, false};
inline constexpr Holds connectionDead{false, false};
inline constexpr Holds kills{false, false};
inline constexpr Holds powerCuts{false, false};
inline constexpr Holds failingCalls{false, false};
inline constexpr Holds costs{false, false};

inline const char *nameOf(filecalls::Share share)
{
    return share == filecalls::Share::smb ? "smb" : share == filecalls::Share::nfs ? "nfs" : "local";
}

} // namespace driver::onShares
