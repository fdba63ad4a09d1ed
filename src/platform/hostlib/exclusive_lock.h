// The host's named exclusive lock.
#pragma once

#include "platform/sys/mutex.h"

#include <string>
#include <string_view>

#include <pthread.h>

namespace Hostlib {

// A mutex that is not recursive. Acquire it with ExclusiveLockGuard. Misuse and failures stop the
// process (Panic with "VERIFY %s:%d\n"): a failed creation, a second acquisition by the holding
// thread, a release by another thread.
class CAPABILITY("mutex") ExclusiveLock {
  public:
    explicit ExclusiveLock(std::string_view name);
    ~ExclusiveLock();
    ExclusiveLock(const ExclusiveLock&) = delete;
    ExclusiveLock& operator=(const ExclusiveLock&) = delete;

    void Acquire() ACQUIRE();
    void Release() RELEASE();
    const std::string& GetName() const { return name; }

  private:
    const std::string name;
    pthread_mutex_t mutex;
};

// Holds the lock for its scope.
class SCOPED_CAPABILITY ExclusiveLockGuard {
  public:
    explicit ExclusiveLockGuard(ExclusiveLock& lock) ACQUIRE(lock) : lock(lock) { lock.Acquire(); }
    ~ExclusiveLockGuard() RELEASE() { lock.Release(); }
    ExclusiveLockGuard(const ExclusiveLockGuard&) = delete;
    ExclusiveLockGuard& operator=(const ExclusiveLockGuard&) = delete;

  private:
    ExclusiveLock& lock;
};

}  // namespace Hostlib
