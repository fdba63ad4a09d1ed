// The interface of the monotonic clock, so that tests can control time.
#pragma once

#include "platform/sys/mutex.h"

#include <chrono>

namespace Pellmar::System {

// Any thread. A clock outlives the objects that wait on it.
class Clock {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~Clock() = default;
    virtual TimePoint Now() const = 0;
    // Waits on `condition`, whose `mutex` the caller holds, until it is notified or `deadline` has
    // passed on this clock. May return early.
    virtual void WaitUntil(Sys::Condition& condition, Sys::Mutex& mutex, TimePoint deadline)
        REQUIRES(mutex) = 0;
};

// CLOCK_MONOTONIC, which changes of the system time don't affect.
Clock& MonotonicClock();

}  // namespace Pellmar::System
