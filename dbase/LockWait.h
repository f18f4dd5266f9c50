#pragma once

#include "dbase/Export.h"

#include <chrono>
#include <functional>
#include <memory>

namespace dbase
{

/// Passes the time of an operation that waits for a lock: one object for each wait, gone when the wait ends.
class DBASE_EXPORT LockWait
{
public:
    LockWait() = default;
    LockWait(const LockWait &) = delete;
    LockWait &operator=(const LockWait &) = delete;
    virtual ~LockWait();
    /// Returns when about `time` has passed, 1 to some 100 ms. The table is in the middle of an operation: it
    /// must not be used from here.
    virtual void pause(std::chrono::milliseconds time) = 0;
};

/// Makes the object for one wait. It is asked only when a lock has been refused at first.
using LockWaitFactory = std::function<std::unique_ptr<LockWait>()>;

} // namespace dbase
