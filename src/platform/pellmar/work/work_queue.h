// Named queues of jobs. The jobs of one queue run one at a time, in the order in which they were
// submitted; those of different queues run side by side on the pool's threads.
#pragma once

#include "platform/pellmar/object.h"
#include "platform/sys/mutex.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Pellmar::System {

class ThreadPool;

class WorkQueue : public ObjectImpl {
  public:
    using Job = std::function<void()>;

    // By ThreadPool::CreateWorkQueue only. The pool outlives the queue.
    WorkQueue(std::string_view name, ThreadPool& pool);

    // Appends a job. Any thread, a job included. An exception that leaves the job is logged, and
    // the queue goes on with its next job. The job is destroyed before the next one begins.
    void Submit(Job job) EXCLUDES(lock);

    const std::string& GetName() const { return name; }
    std::string ToString() const override { return name; }

  private:
    friend class ThreadPool;
    friend class DeferredQueue;

    // Runs jobs until none is left.
    void RunAll() EXCLUDES(lock);
    // Runs the oldest job; true when more are left.
    bool RunOne() EXCLUDES(lock);

    const std::string name;
    ThreadPool& pool;
    Sys::Mutex lock;
    std::vector<Job> jobs GUARDED_BY(lock);
    bool running GUARDED_BY(lock) = false;
};

// While one lives on a thread, the first queue that this thread wakes is not handed to another
// thread: RunDeferred runs it here. For code that calls a handler and has nothing else to do
// afterwards.
class DeferredQueue {
  public:
    DeferredQueue();
    ~DeferredQueue();
    DeferredQueue(const DeferredQueue&) = delete;
    DeferredQueue& operator=(const DeferredQueue&) = delete;

    // Runs the queue that was woken, if any, until it is empty. Queues woken from now on go to the
    // pool.
    void RunDeferred();

  private:
    friend class WorkQueue;

    bool Take(WorkQueue* woken);
    void StopTaking();

    Ref<WorkQueue> queue;
    DeferredQueue* const outer;
};

}  // namespace Pellmar::System
