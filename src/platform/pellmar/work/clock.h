// The monotonic clock behind a seam, so that tests drive the time of what waits.
#pragma once

#include "platform/sys/mutex.h"

#include <chrono>

namespace Pellmar::System {

// Any thread may use a clock. It outlives what waits on it.
class Clock {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~Clock() = default;
    virtual TimePoint Now() const = 0;
    // Waits on `condition`, of `mutex` that the caller holds, until it is notified or `deadline`
    // has passed on this clock; may return early.
    virtual void WaitUntil(Sys::Condition& condition, Sys::Mutex& mutex, TimePoint deadline)
        REQUIRES(mutex) = 0;
};

// CLOCK_MONOTONIC: changes of the system clock change nothing.
Clock& MonotonicClock();

}  // namespace Pellmar::System
