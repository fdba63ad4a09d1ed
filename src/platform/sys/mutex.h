// A mutex, scoped lock and condition with clang's thread-safety annotations, which the standard
// ones lack. The lint build turns a violation into an error; other compilers ignore them.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define THREAD_ANNOTATION(x) __attribute__((x))
#else
#define THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(x) THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) THREAD_ANNOTATION(guarded_by(x))
#define REQUIRES(...) THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS THREAD_ANNOTATION(no_thread_safety_analysis)

namespace Sys {

class CAPABILITY("mutex") Mutex {
  public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock() ACQUIRE() { mutex.lock(); }
    void Unlock() RELEASE() { mutex.unlock(); }

  private:
    friend class Condition;
    std::mutex mutex;
};

// Holds a mutex for its scope. Unlock and Lock release it in between, for a call that must not hold
// it.
class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex(mutex) { mutex.Lock(); }
    ~MutexLock() RELEASE() {
        if (held) {
            mutex.Unlock();
        }
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void Unlock() RELEASE() {
        mutex.Unlock();
        held = false;
    }
    void Lock() ACQUIRE() {
        mutex.Lock();
        held = true;
    }

  private:
    Mutex& mutex;
    bool held = true;
};

// A condition variable. The caller of a wait holds the mutex and waits in a loop, since a wait may
// return without a notification.
class Condition {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    void Wait(Mutex& mutex) REQUIRES(mutex) {
        std::unique_lock<std::mutex> adopted(mutex.mutex, std::adopt_lock);
        condition.wait(adopted);
        adopted.release();
    }
    // Returns false once `deadline` has passed.
    bool WaitUntil(Mutex& mutex, TimePoint deadline) REQUIRES(mutex) {
        std::unique_lock<std::mutex> adopted(mutex.mutex, std::adopt_lock);
        const std::cv_status status = condition.wait_until(adopted, deadline);
        adopted.release();
        return status == std::cv_status::no_timeout;
    }
    void NotifyOne() { condition.notify_one(); }
    void NotifyAll() { condition.notify_all(); }

  private:
    std::condition_variable condition;
};

}  // namespace Sys
