// The process's pool of threads: grows on demand to a bound, shrinks when idle. Runs tasks as they
// come; the order within one subject is the business of work queues.
#pragma once

#include "platform/pellmar/object.h"
#include "platform/pellmar/work/work_queue.h"
#include "platform/sys/mutex.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <list>
#include <string_view>
#include <thread>

namespace Pellmar::System {

inline constexpr std::size_t kMaxPoolThreads = 512;
inline constexpr std::chrono::seconds kPoolIdleTime{10};

// Any thread may call. Destruction waits for the tasks that run and drops those that did not begin.
class ThreadPool {
  public:
    using Task = std::function<void()>;

    ThreadPool() = default;
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    // Runs `task` on a pool thread as soon as one is free. An exception that leaves it is logged.
    // Throws a std::exception, and does not run it, when none is free and the system refuses
    // another thread.
    void Run(Task task) EXCLUDES(lock);

    // A queue named `name` that runs its jobs on this pool one at a time, in order.
    Ref<WorkQueue> CreateWorkQueue(std::string_view name);

  private:
    friend class WorkQueue;
    friend class DeferredQueue;

    // Runs the jobs of `queue` on a thread of the pool.
    void Schedule(const Ref<WorkQueue>& queue) EXCLUDES(lock);

    // Starts a thread. Returns what kept it from that, or nothing.
    std::exception_ptr Grow() REQUIRES(lock);
    void WorkerMain(std::list<std::thread>::iterator self) EXCLUDES(lock);
    bool TakeTask(Task& task) EXCLUDES(lock);

    Sys::Mutex lock;
    Sys::Condition wake;
    std::deque<Task> tasks GUARDED_BY(lock);
    std::list<std::thread> threads GUARDED_BY(lock);
    std::list<std::thread> finished GUARDED_BY(lock);
    std::size_t idleThreads GUARDED_BY(lock) = 0;
    bool stopping GUARDED_BY(lock) = false;
};

// The pool of the process, made at first use and never destroyed.
ThreadPool& GetThreadPool();

}  // namespace Pellmar::System
