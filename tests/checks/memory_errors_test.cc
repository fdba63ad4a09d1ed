// The check of memory errors on hosts of files.
#include "checks/memory_errors.h"

#include "checks/fixture_host.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include <unistd.h>

namespace {

using Checks::CheckMemoryErrors;
using SentrelCheck::Status;
using Test::HostFiles;

const HostFiles kHost = {{"/sys/devices/system/edac/mc/mc0/ce_count", "3\n"},
                         {"/sys/devices/system/edac/mc/mc0/ue_count", "0\n"},
                         {"/proc/interrupts", "MCE: 0 0 Machine check exceptions\n"},
                         {"/proc/vmstat", "pgfault 7\noom_kill 1\n"},
                         {"/proc/sys/kernel/random/boot_id", "first\n"}};

class CheckMemoryErrorsTest : public testing::Test {
  protected:
    const ::Test::TemporaryDirectory directory;
    const std::string history = directory.Path() + "/history";

    // The reason of a run at `now`, which begins with the status unless that is OK.
    std::string Run(long long now, const HostFiles& changes = {}) {
        const auto check = [&](const std::string& root, auto& settings, auto& report) {
            CheckMemoryErrors(root, history, now, settings, report);
        };
        const SentrelCheck::Report report = ::Test::ReportOf(check, ::Test::With(kHost, changes));
        return (report.GetStatus() == Status::Ok ? "" : "not OK: ") + report.Reason();
    }
};

const std::string kQuiet =
    "no memory errors or out-of-memory kills within the last hour, 4 since boot";
const HostFiles kOneMore = {{"/sys/devices/system/edac/mc/mc0/ce_count", "4\n"}};

TEST_F(CheckMemoryErrorsTest, WarnsWhileACountHasRisenWithinTheLastHour) {
    EXPECT_EQ(Run(10000),
              "not OK: memory errors and out-of-memory kills since boot: 4 is at or above 1");
    EXPECT_EQ(Run(10300), kQuiet);
    const std::string risen =
        "not OK: memory errors and out-of-memory kills within the last hour: 1 is at or above 1";
    EXPECT_EQ(Run(10600, kOneMore), risen);
    EXPECT_EQ(Run(10600 + 3000, kOneMore), risen);
    EXPECT_EQ(Run(10600 + 3600, kOneMore),
              "no memory errors or out-of-memory kills within the last hour, 5 since boot");
}

TEST_F(CheckMemoryErrorsTest, BeginsAnewAfterABootOrWithoutItsFile) {
    const std::string sinceBoot =
        "not OK: memory errors and out-of-memory kills since boot: 4 is at or above 1";
    (void)Run(10000);
    EXPECT_EQ(Run(10300, {{"/proc/sys/kernel/random/boot_id", "second\n"}}), sinceBoot);
    ASSERT_EQ(::unlink(history.c_str()), 0);
    EXPECT_EQ(Run(10600), sinceBoot);
    std::ofstream(history) << "first\nrubbish\n99999999 1\n10 999\n";
    EXPECT_EQ(
        Run(10900),
        "not OK: memory errors and out-of-memory kills within the last hour: 4 is at or above 1");
}

TEST_F(CheckMemoryErrorsTest, FollowsNoLinkThatSomebodyPlanted) {
    const std::string target = directory.Path() + "/target";
    std::ofstream(target) << "first\n9000 4\n";
    ASSERT_EQ(::symlink(target.c_str(), history.c_str()), 0);
    EXPECT_EQ(Run(10000),
              "not OK: memory errors and out-of-memory kills since boot: 4 is at or above 1");
    EXPECT_EQ(Run(10300), kQuiet) << "the link was not replaced";
}

TEST_F(CheckMemoryErrorsTest, ReportsNoneOnAHostThatCountsNothing) {
    EXPECT_EQ(Run(10000, {{"/sys/devices/system/edac/mc/mc0/ce_count", ""},
                          {"/sys/devices/system/edac/mc/mc0/ue_count", ""},
                          {"/proc/interrupts", ""},
                          {"/proc/vmstat", ""}}),
              "not OK: this host counts no memory errors");
}

}  // namespace
