// One timer thread waits for the earliest time and hands what is due to the pool. Whether and when
// a pool thread is free is the pool's business.
#include "platform/pellmar/scheduler.h"

#include "platform/pellmar/logger.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace Pellmar::System {

namespace {

// `delayMicroseconds` after `now`, or the end of time when that would lie behind it.
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
        // Whoever keeps the item may be what its function holds: they would keep each other.
        pending.top().item->function = nullptr;
        pending.pop();
    }
}

void Scheduler::RunNow(std::function<void()> function) { pool.Run(std::move(function)); }

void Scheduler::Schedule(ScheduledItem::Function function, std::int64_t delayMicroseconds,
                         Ref<ScheduledItem>& item) {
    const auto scheduled = MakeRef<ScheduledItem>(std::move(function));
    item = scheduled;  // before the function can run and look at it
    Sys::MutexLock guard(lock);
    if (!timer.joinable()) {
        timer = std::thread([this] { TimerMain(); });
    }
    const std::uint64_t order = nextOrder++;
    entries.push({DueTime(clock.Now(), delayMicroseconds), order, scheduled});
    if (entries.top().order == order) {
        wake.NotifyOne();  // the thread waits for a later time, or for none
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
        Ref<ScheduledItem> item = entries.top().item;
        entries.pop();
        guard.Unlock();
        Dispatch(std::move(item));
        guard.Lock();
    }
}

void Scheduler::Dispatch(Ref<ScheduledItem> item) {
    try {
        pool.Run([item = std::move(item)] {
            // Taken out, so that a kept item does not keep what its function captured.
            const ScheduledItem::Function function = std::exchange(item->function, nullptr);
            function(item.Get());
        });
    } catch (const std::exception& exception) {
        Service::LogInternal(Service::Logger::sDefaultLogger, 3,
                             "A scheduled function that is due could not be handed to a thread: %1",
                             exception.what());
    }
}

}  // namespace Pellmar::System
