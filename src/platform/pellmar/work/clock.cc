// The clock of the running system; tests bring their own.
#include "platform/pellmar/work/clock.h"

namespace Pellmar::System {

namespace {

// std::chrono::steady_clock reads CLOCK_MONOTONIC, and a condition waits on the same clock.
class SteadyClock final : public Clock {
  public:
    TimePoint Now() const override { return std::chrono::steady_clock::now(); }
    void WaitUntil(Sys::Condition& condition, Sys::Mutex& mutex, TimePoint deadline) override
        REQUIRES(mutex) {
        (void)condition.WaitUntil(mutex, deadline);  // whoever waits reads the clock again
    }
};

}  // namespace

Clock& MonotonicClock() {
    static auto& clock = *new SteadyClock;  // never destroyed: threads wait on it until the end
    return clock;
}

}  // namespace Pellmar::System
