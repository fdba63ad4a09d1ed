// Named queues of jobs. The jobs of one queue run one at a time, in the order of submission; those
// of different queues run in parallel on the pool's threads.
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

    // Use ThreadPool::CreateWorkQueue. The pool outlives the queue.
    WorkQueue(std::string_view name, ThreadPool& pool);

    // Appends a job. Any thread, including one that runs a job. If an exception leaves the job, it
    // is logged and the queue continues. The job is destroyed before the next one starts.
    void Submit(Job job) EXCLUDES(lock);

    const std::string& GetName() const { return name; }
    std::string ToString() const override { return name; }

  private:
    friend class ThreadPool;
    friend class DeferredQueue;

    // Runs jobs until the queue is empty.
    void RunAll() EXCLUDES(lock);
    // Runs the oldest job; returns true if more are left.
    bool RunOne() EXCLUDES(lock);

    const std::string name;
    ThreadPool& pool;
    Sys::Mutex lock;
    std::vector<Job> jobs GUARDED_BY(lock);
    bool running GUARDED_BY(lock) = false;
};

// While it exists on a thread, the first queue that the thread wakes is not passed to another
// thread; RunDeferred runs it here. For code that calls a handler and is idle afterwards.
class DeferredQueue {
  public:
    DeferredQueue();
    ~DeferredQueue();
    DeferredQueue(const DeferredQueue&) = delete;
    DeferredQueue& operator=(const DeferredQueue&) = delete;

    // Runs the queue that was woken, if any, until it is empty. Queues woken afterwards go to the
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
