// The process's thread pool: grows on demand up to a bound and shrinks when idle. Runs tasks in the
// order of submission; work queues serialize the tasks of one subject.
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

// Any thread. The destructor waits for running tasks and drops those that have not started.
class ThreadPool {
  public:
    using Task = std::function<void()>;

    ThreadPool() = default;
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    // Runs `task` on a pool thread as soon as one is free. Logs an exception that leaves it. Throws
    // a std::exception, without running the task, if no thread is free and the system refuses
    // another one.
    void Run(Task task) EXCLUDES(lock);

    // Creates a queue that runs its jobs on this pool, one at a time and in order.
    Ref<WorkQueue> CreateWorkQueue(std::string_view name);

  private:
    friend class WorkQueue;
    friend class DeferredQueue;

    // Runs the jobs of `queue` on a pool thread.
    void Schedule(const Ref<WorkQueue>& queue) EXCLUDES(lock);

    // Starts a thread. Returns the exception that prevented it, or null.
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

// The process's pool, created on first use and never destroyed.
ThreadPool& GetThreadPool();

}  // namespace Pellmar::System
