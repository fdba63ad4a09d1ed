// The check of disk arrays on hosts of files.
#include "checks/raid.h"

#include "checks/fixture_host.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Checks::CheckRaid;
using SentrelCheck::Status;
using Test::ExpectOutcomes;
using Test::ExpectSurvivesDamage;
using Test::HostFiles;
using Test::With;

const std::string kMd = "/sys/block/md0/md/";
const HostFiles kMirror = {
    {kMd + "array_state", "clean\n"},      {kMd + "degraded", "0\n"},
    {kMd + "raid_disks", "2\n"},           {kMd + "sync_action", "idle\n"},
    {kMd + "sync_completed", "none\n"},    {kMd + "dev-sda1/state", "in_sync\n"},
    {kMd + "dev-sdb1/state", "in_sync\n"}, {"/sys/block/sda/size", "1\n"}};

HostFiles Mirror(const HostFiles& changes) { return With(kMirror, changes); }

HostFiles Pool(const std::string& state) {
    return {{"/proc/spl/kstat/zfs/tank/state", state + "\n"}, {"/proc/spl/kstat/zfs/dbgmsg", "x"}};
}

TEST(CheckRaid, JudgesArrays) {
    const HostFiles degraded = {{kMd + "degraded", "1\n"}, {kMd + "dev-sdb1/state", "faulty\n"}};
    const HostFiles recovering = {{kMd + "sync_action", "recover\n"},
                                  {kMd + "sync_completed", "614 / 1000\n"}};
    ExpectOutcomes(
        CheckRaid,
        {
            {"good", kMirror, Status::Ok, "1 array, none degraded"},
            {"none",
             {{"/sys/block/sda/size", "1\n"}},
             Status::None,
             "this host has no disk arrays"},
            {"degraded", Mirror(degraded), Status::Error,
             "md0 is degraded: 1 of 2 disks, failed: sdb1"},
            {"rebuilding", Mirror(With(degraded, recovering)), Status::Warning,
             "md0 is degraded: 1 of 2 disks, failed: sdb1, rebuilding (61.4 %)"},
            {"resyncing",
             Mirror({{kMd + "sync_action", "resync\n"}, {kMd + "sync_completed", "1 / 4\n"}}),
             Status::Warning, "md0 is resyncing (25 %)"},
            {"the monthly check",
             Mirror({{kMd + "sync_action", "check\n"}, {kMd + "sync_completed", "1 / 4\n"}}),
             Status::Ok, "1 array, none degraded"},
            {"inactive", Mirror({{kMd + "array_state", "inactive\n"}}), Status::Error,
             "md0 is inactive and cannot be used"},
            {"striped, so without spare disks",
             Mirror({{kMd + "degraded", ""}, {kMd + "sync_action", ""}}), Status::Ok,
             "1 array, none degraded"},
            {"ignored", Mirror(degraded), Status::None, "this host has no disk arrays",
             R"({"ignore": ["md*"]})"},
        });
}

TEST(CheckRaid, JudgesPools) {
    ExpectOutcomes(CheckRaid,
                   {
                       {"good", Pool("ONLINE"), Status::Ok, "1 array, none degraded"},
                       {"degraded", Pool("DEGRADED"), Status::Error, "the pool tank is DEGRADED"},
                       {"suspended", With(kMirror, Pool("SUSPENDED")), Status::Error,
                        "the pool tank is SUSPENDED"},
                       {"offline", Pool("OFFLINE"), Status::Warning, "the pool tank is OFFLINE"},
                       {"a state of the future", Pool("DREAMING"), Status::Unknown,
                        "the pool tank is DREAMING"},
                   });
}

TEST(CheckRaid, SurvivesDamage) {
    ExpectSurvivesDamage(CheckRaid, With(kMirror, Pool("ONLINE")),
                         {{{kMd + "degraded", "x"}}, {{kMd + "sync_completed", "1 of 2"}}});
}

}  // namespace
