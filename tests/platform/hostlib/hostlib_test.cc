// The utility calls, by what the system relies on. Calls that end or reshape the process run in a
// child.
#include "platform/hostlib/hostlib.h"

#include "platform/hostlib/exclusive_lock.h"
#include "support/sanitizers.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>

#include <sys/sysmacros.h>

namespace {

namespace fs = std::filesystem;

TEST(Unlink, ReturnsTheErrorNumber) {
    const ::Test::TemporaryDirectory directory;
    EXPECT_EQ(File_UnlinkNoFollow(directory.Path() + "missing"), ENOENT);
    EXPECT_EQ(File_UnlinkNoFollow(directory.Path()), EISDIR);
    EXPECT_TRUE(fs::is_directory(directory.Path()));
}

TEST(PanicCall, WritesItsMessageAndAborts) {
    EXPECT_EXIT(Panic("VERIFY %s:%d\n", "some_file.cc", 12), testing::KilledBySignal(SIGABRT),
                "VERIFY some_file.cc:12\n");
}

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
