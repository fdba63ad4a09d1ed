// The clock of the running system; tests use their own.
#include "platform/pellmar/work/clock.h"

namespace Pellmar::System {

namespace {

// std::chrono::steady_clock reads CLOCK_MONOTONIC, and conditions wait on the same clock.
class SteadyClock final : public Clock {
  public:
    TimePoint Now() const override { return std::chrono::steady_clock::now(); }
    void WaitUntil(Sys::Condition& condition, Sys::Mutex& mutex, TimePoint deadline) override
        REQUIRES(mutex) {
        (void)condition.WaitUntil(mutex, deadline);  // callers read the clock again
    }
};

}  // namespace

Clock& MonotonicClock() {
    static auto& clock = *new SteadyClock;  // never destroyed: threads wait on it until exit
    return clock;
}

}  // namespace Pellmar::System
