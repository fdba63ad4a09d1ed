// Runs functions later, on threads of the pool. One thread, started on first use, waits for the due
// times.
#pragma once

#include "platform/pellmar/object.h"
#include "platform/pellmar/work/clock.h"
#include "platform/pellmar/work/thread_pool.h"
#include "platform/sys/mutex.h"

#include <cstdint>
#include <functional>
#include <queue>
#include <thread>
#include <vector>

namespace Pellmar::System {

// A pending call. It may be kept or released at any time; releasing it does not cancel the call.
class ScheduledItem : public ObjectImpl {
  public:
    using Function = std::function<void(ScheduledItem*)>;

    explicit ScheduledItem(Function function) : function(std::move(function)) {}

  private:
    friend class Scheduler;

    Function function;
};

// Any thread. The pool and the clock outlive the scheduler; functions still pending at its
// destruction do not run.
class Scheduler {
  public:
    Scheduler(ThreadPool& pool, Clock& clock);
    ~Scheduler();
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    // Runs `function` now on a pool thread, which it may occupy as long as the process runs.
    void RunNow(std::function<void()> function);

    // Runs `function` once on a pool thread, `delayMicroseconds` from now on the monotonic clock
    // (immediately if not positive). Due functions do not wait for each other.
    void Schedule(ScheduledItem::Function function, std::int64_t delayMicroseconds,
                  Ref<ScheduledItem>& item) EXCLUDES(lock);

  private:
    struct Entry {
        Clock::TimePoint due;
        std::uint64_t order;
        Ref<ScheduledItem> item;
    };
    struct Later {
        bool operator()(const Entry& a, const Entry& b) const;
    };

    void TimerMain() EXCLUDES(lock);
    void Enqueue(const Ref<ScheduledItem>& item, Clock::TimePoint due) REQUIRES(lock);
    void Dispatch(const Ref<ScheduledItem>& item) EXCLUDES(lock);

    ThreadPool& pool;
    Clock& clock;
    Sys::Mutex lock;
    Sys::Condition wake;
    std::priority_queue<Entry, std::vector<Entry>, Later> entries GUARDED_BY(lock);
    std::uint64_t nextOrder GUARDED_BY(lock) = 0;
    bool stopping GUARDED_BY(lock) = false;
    std::thread timer GUARDED_BY(lock);
};

}  // namespace Pellmar::System
