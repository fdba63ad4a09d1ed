#include "platform/pellmar/work/work_queue.h"

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/work/thread_pool.h"

#include <exception>
#include <utility>

namespace Pellmar::System {

namespace {

thread_local DeferredQueue* tDeferral = nullptr;

}  // namespace

WorkQueue::WorkQueue(std::string_view name, ThreadPool& pool) : name(name), pool(pool) {}

void WorkQueue::Submit(Job job) {
    {
        Sys::MutexLock held(lock);
        jobs.push_back(std::move(job));
        if (running) {
            return;
        }
        running = true;
    }
    if (tDeferral == nullptr || !tDeferral->Take(this)) {
        pool.Schedule(Ref<WorkQueue>(this));
    }
}

void WorkQueue::RunAll() {
    while (RunOne()) {
    }
}

bool WorkQueue::RunOne() {
    Job job;
    {
        Sys::MutexLock held(lock);
        job = std::move(jobs.front());
        jobs.erase(jobs.begin());
    }
    try {
        job();
    } catch (const std::exception& exception) {
        Service::LogInternal(Service::Logger::sDefaultLogger, 3, "A job of %1 failed: %2", name,
                             exception.what());
    } catch (...) {
        Service::LogInternal(Service::Logger::sDefaultLogger, 3,
                             "A job of %1 failed with an unknown exception", name);
    }
    job = nullptr;
    Sys::MutexLock held(lock);
    running = !jobs.empty();
    return running;
}

DeferredQueue::DeferredQueue() : outer(std::exchange(tDeferral, this)) {}

DeferredQueue::~DeferredQueue() {
    StopTaking();
    if (queue) {
        queue->pool.Schedule(queue);
    }
}

bool DeferredQueue::Take(WorkQueue* woken) {
    if (queue) {
        return false;
    }
    queue = Ref<WorkQueue>(woken);
    return true;
}

void DeferredQueue::RunDeferred() {
    StopTaking();
    if (const Ref<WorkQueue> next = std::move(queue)) {
        next->RunAll();
    }
}

void DeferredQueue::StopTaking() {
    if (tDeferral == this) {
        tDeferral = outer;
    }
}

}  // namespace Pellmar::System
