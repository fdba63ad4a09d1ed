// The misuse of the lock that ends the process, in a child.
#include "platform/hostlib/exclusive_lock.h"

#include "support/sanitizers.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

// What clang's analysis refuses at compile time is what these two are about.
void AcquireTwice(Hostlib::ExclusiveLock& lock) NO_THREAD_SAFETY_ANALYSIS {
    lock.Acquire();
    lock.Acquire();
}
void ReleaseUnheld(Hostlib::ExclusiveLock& lock) NO_THREAD_SAFETY_ANALYSIS { lock.Release(); }

TEST(ExclusiveLockTest, StopsTheProcessOnMisuse) {
    if (kHasThreadSanitizer) {
        GTEST_SKIP() << "the thread sanitizer reports the misuse first";
    }
    Hostlib::ExclusiveLock lock("misused-lock");
    EXPECT_EXIT(AcquireTwice(lock), testing::KilledBySignal(SIGABRT),
                "VERIFY exclusive_lock.cc:[0-9]+\n");
    EXPECT_EXIT(ReleaseUnheld(lock), testing::KilledBySignal(SIGABRT),
                "VERIFY exclusive_lock.cc:[0-9]+\n");
}

}  // namespace
