#include "platform/pellmar/work/thread_pool.h"

#include "platform/pellmar/log/logger.h"

#include <exception>
#include <iterator>
#include <utility>

namespace Pellmar::System {

ThreadPool::~ThreadPool() {
    std::list<std::thread> ended;
    {
        Sys::MutexLock held(lock);
        stopping = true;
        tasks.clear();
        wake.NotifyAll();
        while (!threads.empty()) {
            wake.Wait(lock);
        }
        ended.swap(finished);
    }
    for (std::thread& thread : ended) {
        thread.join();
    }
}

void ThreadPool::Run(Task task) {
    std::list<std::thread> ended;
    std::exception_ptr failure;
    {
        Sys::MutexLock held(lock);
        ended.swap(finished);
        tasks.push_back(std::move(task));
        if (tasks.size() <= idleThreads || threads.size() >= kMaxPoolThreads) {
            wake.NotifyOne();
        } else if ((failure = Grow())) {
            tasks.pop_back();
        }
    }
    for (std::thread& thread : ended) {
        thread.join();  // it has already left the pool and is about to exit
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

Ref<WorkQueue> ThreadPool::CreateWorkQueue(std::string_view name) {
    return MakeRef<WorkQueue>(name, *this);
}

std::exception_ptr ThreadPool::Grow() {
    const auto self = threads.emplace(threads.end());
    try {
        *self = std::thread([this, self] { WorkerMain(self); });
        return nullptr;
    } catch (const std::exception&) {
        threads.erase(self);
        return std::current_exception();
    }
}

void ThreadPool::WorkerMain(std::list<std::thread>::iterator self) {
    Task task;
    while (TakeTask(task)) {
        try {
            task();
        } catch (const std::exception& exception) {
            Service::LogInternal(Service::Logger::sDefaultLogger, 3,
                                 "A task of the pool failed: %1", exception.what());
        } catch (...) {
            Service::LogInternal(Service::Logger::sDefaultLogger, 3,
                                 "A task of the pool failed with an unknown exception");
        }
        task = nullptr;
    }
    Sys::MutexLock held(lock);
    finished.splice(finished.end(), threads, self);
    wake.NotifyAll();
}

// Returns false if the thread should exit: the pool is stopping, or it was idle for kPoolIdleTime.
bool ThreadPool::TakeTask(Task& task) {
    const auto deadline = std::chrono::steady_clock::now() + kPoolIdleTime;
    Sys::MutexLock held(lock);
    ++idleThreads;
    bool inTime = true;
    while (tasks.empty() && !stopping && inTime) {
        inTime = wake.WaitUntil(lock, deadline);
    }
    --idleThreads;
    if (stopping || tasks.empty()) {
        return false;
    }
    task = std::move(tasks.front());
    tasks.pop_front();
    return true;
}

void ThreadPool::Schedule(const Ref<WorkQueue>& queue) {
    try {
        Run([queue] { queue->RunAll(); });
    } catch (const std::exception& exception) {
        Service::LogInternal(Service::Logger::sDefaultLogger, 3,
                             "Cannot start a thread for %1: %2. Its jobs run on the thread that "
                             "submits them; raise the limit of threads",
                             queue->GetName(), exception.what());
        queue->RunAll();
    }
}

ThreadPool& GetThreadPool() {
    static ThreadPool* const sPool = new ThreadPool;
    return *sPool;
}

}  // namespace Pellmar::System
