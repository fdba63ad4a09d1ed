#include "support/manual_clock.h"

#include "support/deadline.h"

#include <algorithm>
#include <utility>

namespace Test {

ManualClock::TimePoint ManualClock::Now() const {
    Sys::MutexLock guard(lock);
    return now;
}

void ManualClock::WaitUntil(Sys::Condition& condition, Sys::Mutex& mutex, TimePoint deadline) {
    {
        Sys::MutexLock guard(lock);
        if (deadline <= now) {
            return;
        }
        waiters.push_back({&condition, &mutex});
        waiterCame.NotifyAll();
    }
    condition.Wait(mutex);
    Sys::MutexLock guard(lock);
    const auto self = std::find_if(waiters.begin(), waiters.end(), [&](const Waiter& waiter) {
        return waiter.condition == &condition;
    });
    if (self != waiters.end()) {  // woken by somebody else than Advance
        waiters.erase(self);
    }
}

void ManualClock::Advance(std::chrono::nanoseconds duration) {
    std::vector<Waiter> woken;
    {
        Sys::MutexLock guard(lock);
        now += duration;
        woken = std::exchange(waiters, {});
    }
    for (const Waiter& waiter : woken) {
        // Once its mutex could be taken, the waiter is in its wait and cannot miss the call.
        waiter.mutex->Lock();
        waiter.mutex->Unlock();
        waiter.condition->NotifyAll();
    }
}

bool ManualClock::AwaitWaiter() {
    const auto deadline = std::chrono::steady_clock::now() + Deadline::kPatience;
    Sys::MutexLock guard(lock);
    while (waiters.empty()) {
        if (!waiterCame.WaitUntil(lock, deadline)) {
            return false;
        }
    }
    return true;
}

}  // namespace Test
