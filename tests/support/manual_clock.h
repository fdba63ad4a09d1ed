// A clock that stands still until a test moves it.
#pragma once

#include "platform/pellmar/work/clock.h"

#include <chrono>
#include <vector>

namespace Test {

class ManualClock : public Pellmar::System::Clock {
  public:
    TimePoint Now() const override EXCLUDES(lock);
    void WaitUntil(Sys::Condition& condition, Sys::Mutex& mutex, TimePoint deadline) override
        REQUIRES(mutex) EXCLUDES(lock);

    // Moves the time on and wakes all who wait on this clock. Not while what waits is being
    // destroyed, and not by a thread that holds a mutex of a waiter.
    void Advance(std::chrono::nanoseconds duration) EXCLUDES(lock);

    // Blocks until some thread waits for a time that has not come, as it does again after each
    // Advance. False when none did before the test's deadline.
    bool AwaitWaiter() EXCLUDES(lock);

  private:
    struct Waiter {
        Sys::Condition* condition;
        Sys::Mutex* mutex;
    };

    mutable Sys::Mutex lock;
    Sys::Condition waiterCame;
    TimePoint now GUARDED_BY(lock){std::chrono::hours(1)};
    std::vector<Waiter> waiters GUARDED_BY(lock);
};

}  // namespace Test
