#include "platform/hostlib/exclusive_lock.h"

#include "platform/hostlib/hostlib.h"

namespace Hostlib {

namespace {

constexpr const char* kSourceName = "exclusive_lock.cc";

// Stops the process if `result`, returned by a pthread call, is an error.
void Verify(int result, int line) {
    if (result != 0) {
        Panic("VERIFY %s:%d\n", kSourceName, line);
    }
}

}  // namespace

ExclusiveLock::ExclusiveLock(std::string_view name) : name(name) {
    pthread_mutexattr_t attributes;
    Verify(pthread_mutexattr_init(&attributes), __LINE__);
    Verify(pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK), __LINE__);
    Verify(pthread_mutex_init(&mutex, &attributes), __LINE__);
    (void)pthread_mutexattr_destroy(&attributes);  // frees nothing that could fail
}

ExclusiveLock::~ExclusiveLock() {
    (void)pthread_mutex_destroy(&mutex);  // fails only if misused: while the lock is held
}

void ExclusiveLock::Acquire() { Verify(pthread_mutex_lock(&mutex), __LINE__); }

void ExclusiveLock::Release() { Verify(pthread_mutex_unlock(&mutex), __LINE__); }

}  // namespace Hostlib
