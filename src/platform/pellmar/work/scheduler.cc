// A timer thread waits for the earliest due time and passes due functions to the pool.
#include "platform/pellmar/work/scheduler.h"

#include "platform/pellmar/log/logger.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace Pellmar::System {

namespace {

constexpr std::chrono::seconds kRetryDelay{1};

// Returns `delayMicroseconds` after `now`, or the latest time point if the sum would exceed it.
Clock::TimePoint DueTime(Clock::TimePoint now, std::int64_t delayMicroseconds) {
    using std::chrono::microseconds;
    const microseconds delay(std::max<std::int64_t>(delayMicroseconds, 0));
    const auto longest = std::chrono::duration_cast<microseconds>(Clock::TimePoint::max() - now);
    return delay < longest ? now + delay : Clock::TimePoint::max();
}

}  // namespace

bool Scheduler::Later::operator()(const Entry& a, const Entry& b) const {
    return a.due != b.due ? a.due > b.due : a.order > b.order;
}

Scheduler::Scheduler(ThreadPool& pool, Clock& clock) : pool(pool), clock(clock) {}

Scheduler::~Scheduler() {
    std::thread started;
    {
        Sys::MutexLock guard(lock);
        stopping = true;
        started = std::move(timer);
        wake.NotifyOne();
    }
    if (started.joinable()) {
        started.join();
    }
    decltype(entries) pending;
    {
        Sys::MutexLock guard(lock);
        pending.swap(entries);
    }
    while (!pending.empty()) {
        // The function may own the object that keeps the item, which would be a cycle of
        // references.
        pending.top().item->function = nullptr;
        pending.pop();
    }
}

void Scheduler::RunNow(std::function<void()> function) { pool.Run(std::move(function)); }

void Scheduler::Schedule(ScheduledItem::Function function, std::int64_t delayMicroseconds,
                         Ref<ScheduledItem>& item) {
    const auto scheduled = MakeRef<ScheduledItem>(std::move(function));
    Sys::MutexLock guard(lock);
    if (!timer.joinable()) {
        timer = std::thread([this] { TimerMain(); });
    }
    Enqueue(scheduled, DueTime(clock.Now(), delayMicroseconds));
    item = scheduled;  // set before the lock is released, since the function may read it
}

void Scheduler::Enqueue(const Ref<ScheduledItem>& item, Clock::TimePoint due) {
    const std::uint64_t order = nextOrder++;
    entries.push({due, order, item});
    if (entries.top().order == order) {
        wake.NotifyOne();  // the thread waits for a later time, or indefinitely
    }
}

void Scheduler::TimerMain() {
    Sys::MutexLock guard(lock);
    while (!stopping) {
        if (entries.empty()) {
            wake.Wait(lock);
            continue;
        }
        const Clock::TimePoint due = entries.top().due;
        if (clock.Now() < due) {
            clock.WaitUntil(wake, lock, due);
            continue;
        }
        const Ref<ScheduledItem> item = entries.top().item;
        entries.pop();
        guard.Unlock();
        Dispatch(item);
        guard.Lock();
    }
}

// If the system refuses a thread, tries again later.
void Scheduler::Dispatch(const Ref<ScheduledItem>& item) {
    try {
        pool.Run([item] {
            // Moved out, so that an item that is kept does not keep the function's captures.
            const ScheduledItem::Function function = std::exchange(item->function, nullptr);
            function(item.Get());
        });
    } catch (const std::exception& exception) {
        Service::LogInternal(Service::Logger::sDefaultLogger, 3,
                             "Cannot start a thread for a scheduled function: %1. It is retried in "
                             "a second; raise the limit of threads",
                             exception.what());
        Sys::MutexLock guard(lock);
        Enqueue(item, clock.Now() + kRetryDelay);
    }
}

}  // namespace Pellmar::System
