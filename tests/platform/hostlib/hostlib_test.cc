// The utility calls, by what the system relies on. Calls that end or reshape the process run in a
// child.
#include "platform/hostlib/hostlib.h"

#include "platform/hostlib/exclusive_lock.h"
#include "support/sanitizers.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using CString = std::unique_ptr<char, decltype(&std::free)>;

bool IsNullDevice(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISCHR(status.st_mode) &&
           status.st_rdev == makedev(1, 3);
}

// In a child: closes the descriptors that `closed` names by digit and prepares the process. The
// status holds a bit for each descriptor of 0 to 2 that is /dev/null afterwards.
[[noreturn]] void PrepareWithout(const std::string& closed) {
    (void)unsetenv("SENTREL_ROOT");
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        const bool close = closed.find(static_cast<char>('0' + descriptor)) != std::string::npos;
        const int other = close ? -1 : open("/dev/zero", O_RDWR | O_CLOEXEC);
        if (close) {
            (void)::close(descriptor);
        } else if (other != descriptor) {
            (void)dup2(other, descriptor);
            (void)::close(other);
        }
    }
    FeatureState_InitSilentMode();
    int status = 0;
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        status |= IsNullDevice(descriptor) ? 1 << descriptor : 0;
    }
    _exit(status);
}

TEST(FeatureState, OpensClosedStandardDescriptorsOnTheNullDevice) {
    struct Row {
        const char* closed;
        int nullDevices;
    };
    for (const Row& row : {Row{"", 0}, Row{"0", 1}, Row{"1", 2}, Row{"02", 5}, Row{"012", 7}}) {
        EXPECT_EXIT(PrepareWithout(row.closed), testing::ExitedWithCode(row.nullDevices), "")
            << row.closed;
    }
}

TEST(FeatureState, RefusesAHostRootThatCannotBeUsed) {
    const auto prepareBelowRelativeRoot = [] {
        (void)setenv("SENTREL_ROOT", "some/where", 1);
        try {
            FeatureState_InitSilentMode();
        } catch (const std::exception& error) {
            (void)std::fputs(error.what(), stderr);
            _exit(3);
        }
        _exit(0);
    };
    EXPECT_EXIT(prepareBelowRelativeRoot(), testing::ExitedWithCode(3),
                "SENTREL_ROOT=some/where is a relative path; set it to");
}

TEST(Unlink, RemovesTheLinkAndNeverItsTarget) {
    const ::Test::TemporaryDirectory directory;
    const std::string target = directory.Path() + "target";
    const std::string link = directory.Path() + "link";
    std::ofstream(target) << "kept";
    fs::create_symlink(target, link);

    EXPECT_EQ(File_UnlinkNoFollow(link), 0);

    EXPECT_FALSE(fs::exists(fs::symlink_status(link)));
    EXPECT_TRUE(fs::exists(target));
}

TEST(Unlink, GivesTheErrorNumber) {
    const ::Test::TemporaryDirectory directory;
    EXPECT_EQ(File_UnlinkNoFollow(directory.Path() + "missing"), ENOENT);
    EXPECT_EQ(File_UnlinkNoFollow(directory.Path()), EISDIR);
    EXPECT_TRUE(fs::is_directory(directory.Path()));
}

TEST(CStrings, AreCopiesOfTheCAllocator) {
    const std::string word(3000, 'w');
    const CString text(Str_SafeAsprintf("--%s=%s %d", "loglevel", word.c_str(), -7), &std::free);
    EXPECT_EQ(text.get(), "--loglevel=" + word + " -7");

    const CString copy(UtilSafeStrdup0(text.get()), &std::free);
    EXPECT_STREQ(copy.get(), text.get());
    EXPECT_NE(copy.get(), text.get());
    EXPECT_EQ(UtilSafeStrdup0(nullptr), nullptr);
}

TEST(PanicCall, WritesItsMessageAndAborts) {
    EXPECT_EXIT(Panic("VERIFY %s:%d\n", "some_file.cc", 12), testing::KilledBySignal(SIGABRT),
                "VERIFY some_file.cc:12\n");
}

TEST(ExclusiveLockTest, LetsOneThreadInAtATime) {
    Hostlib::ExclusiveLock lock("counter-lock");
    EXPECT_EQ(lock.GetName(), "counter-lock");
    constexpr int kRounds = 20000;
    int counter = 0;
    const auto count = [&lock, &counter] {
        for (int i = 0; i < kRounds; ++i) {
            const Hostlib::ExclusiveLockGuard guard(lock);
            ++counter;
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(counter, 2 * kRounds);
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
