#include "platform/kernel/groups/groups.h"

#include "platform/kernel/groups/cgroup_location.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/kernel/spawn_fixture.h"
#include "platform/pellmar/exceptions.h"
#include "support/captured_log.h"
#include "support/host_directory.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace KernelTest {
namespace {

using testing::HasSubstr;

std::string Join(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

std::string OwnCgroup() {
    const std::string all = ::Test::ReadFile("/proc/self/cgroup");
    const std::size_t start = all.find("0::") + 3;
    return all.substr(start, all.find('\n', start) - start);
}

TEST(CgroupLocation, FindsTheMount) {
    const std::string v1 = "32 31 0:29 / /sys/fs/cgroup/cpu rw,relatime - cgroup cgroup rw,cpu\n";
    const std::string hybrid =
        "41 31 0:38 / /sys/fs/cgroup/unified rw,relatime shared:4 - cgroup2 cgroup2 rw\n";
    const std::string part = "50 31 0:38 /user /mnt/user\\040part rw - cgroup2 none rw\n";
    struct Row {
        std::string mountInfo;
        std::string expected;  // "DIRECTORY ROOT"
    };
    const Row rows[] = {
        {v1, "none"},
        {"", "none"},
        {"41 31 0:38 / /x rw - tmpfs cgroup2 rw\n", "none"},
        {"41 31 0:38 / /x rw -\n", "none"},
        {v1 + hybrid, "/sys/fs/cgroup/unified /"},
        {part, "/mnt/user part /user"},
        {part + hybrid, "/sys/fs/cgroup/unified /"},
    };
    for (const Row& row : rows) {
        const auto mount = Kernel::FindCgroupMount(row.mountInfo);
        EXPECT_EQ(mount ? mount->directory + " " + mount->root : "none", row.expected)
            << row.mountInfo;
    }
}

TEST(CgroupLocation, FindsTheCgroupOfTheProcess) {
    struct Row {
        Kernel::CgroupMount mount;
        const char* cgroups;
        const char* expected;
    };
    const Row rows[] = {
        {{"/c", "/"}, "4:memory:/m\n0::/system.slice/s.service\n", "/c/system.slice/s.service"},
        {{"/c", "/"}, "0::/\n", "/c"},
        {{"/c", "/"}, "4:memory:/m\n", ""},
        {{"/c", "/"}, "0::/../other\n", ""},
        {{"/c", "/user"}, "0::/user/1000\n", "/c/1000"},
        {{"/c", "/user"}, "0::/user\n", "/c"},
        {{"/c", "/user"}, "0::/users/1000\n", ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Kernel::FindOwnCgroup(row.mount, row.cgroups), row.expected) << row.cgroups;
    }
}

using CgroupGroups = CgroupTest;

// What PrepareGroups does when a process of that cgroup calls it: the log, the cgroup that it is
// in afterwards, and the error of a launch.
std::string PrepareIn(const std::string& cgroup) {
    return AnswerOfChild([&cgroup] {
        std::ofstream(cgroup + "/cgroup.procs") << "0" << std::flush;
        const ::Test::CapturedLog log;
        Kernel::PrepareGroups(kGroup, 40);
        const int error = SpawnProgram({"/bin/true", kGroupArgument}).result.error;
        return Join(log.Lines()) + OwnCgroup() + " " + std::to_string(error);
    });
}

TEST_F(CgroupGroups, OfADelegatedUnitAreBesideTheDaemonsLeaf) {
    const std::string unit = root.Path() + "/sentrel.service";
    ASSERT_EQ(::mkdir(unit.c_str(), 0755), 0);
    if (::setxattr(unit.c_str(), "user.delegate", "1", 1, 0) != 0) {
        GTEST_SKIP() << "this kernel keeps no mark of a delegated cgroup";
    }
    for (const std::string& start : {unit, unit + "/daemon"}) {  // again, as after a restart
        const std::string answer = PrepareIn(start);
        EXPECT_THAT(answer, HasSubstr("5 Kernel: Resource groups are cgroups below " + unit +
                                      ", the daemon's own delegated unit\n"));
        EXPECT_TRUE(answer.ends_with("/sentrel.service/daemon 0")) << answer;
        EXPECT_TRUE(std::filesystem::is_directory(unit + "/" + kGroup));
    }
}

// Nothing is made, and no process moved, where groups are other people's to make.
TEST_F(CgroupGroups, AreBelowTheNamedRootOrTheMountButNotCreated) {
    const ::Test::TemporaryDirectory plain;
    std::filesystem::create_directories(plain.Path() + kGroup);
    std::filesystem::remove(Directory());
    const std::string unit = root.Path() + "/sentrel.service";
    ASSERT_EQ(::mkdir(unit.c_str(), 0755), 0);
    const std::string mount = root.Path().substr(0, root.Path().rfind('/'));
    const bool mountHasGroup = std::filesystem::exists(mount + "/" + kGroup);  // a daemon's here
    const std::string below = "5 Kernel: Resource groups are cgroups below ";
    const std::string refused =
        " is not a cgroup v2 directory, so every launch is refused; set SENTREL_CGROUP_ROOT to a "
        "cgroup v2 directory, or unset it\n";
    struct Row {
        std::string named;
        std::string line;
    };
    const Row rows[] = {
        {"", below + mount + ", the cgroup v2 mount\n"},
        {root.Path() + "/", below + root.Path() + ", which SENTREL_CGROUP_ROOT names\n"},
        {plain.Path() + ".", "3 Kernel: " + plain.Path() + "." + refused},
        {"/no/such/directory", "3 Kernel: /no/such/directory" + refused},
        {"relative", "3 Kernel: relative" + refused},
    };
    for (const Row& row : rows) {
        (void)::setenv("SENTREL_CGROUP_ROOT", row.named.c_str(), 1);
        const std::string answer = PrepareIn(unit);
        (void)::unsetenv("SENTREL_CGROUP_ROOT");
        EXPECT_THAT(answer, HasSubstr(row.line));
        const int error = row.named.empty() && mountHasGroup ? 0 : -ESRCH;
        EXPECT_TRUE(answer.ends_with("/sentrel.service " + std::to_string(error))) << answer;
    }
    EXPECT_EQ(std::filesystem::exists(mount + "/" + kGroup), mountHasGroup);
    EXPECT_FALSE(std::filesystem::exists(Directory()));
    EXPECT_FALSE(std::filesystem::exists(unit + "/daemon"));
}

TEST(Groups, OfAnUnprivilegedRunAreKeptInTheProcess) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root may become somebody else";
    }
    const ChildrenIgnored ignored;
    const std::string answer = AnswerOfChild([] {
        constexpr uid_t kNobody = 65534;
        if (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) {
            return std::string("still root");
        }
        const ::Test::CapturedLog log;
        Kernel::PrepareGroups(kGroup, 40);
        const Spawned spawned = SpawnProgram(ShellCommand("exec sleep 1000"));
        const Kernel::GroupState state = Kernel::ShowGroup(kGroup);
        const bool shown = state.processes.size() == 1 && state.processes[0].pid == spawned.pid &&
                           state.memory.peak > 0 && state.directory.empty();
        (void)Kernel::Kill(spawned.pid, SIGKILL);
        return Join(log.Lines()) + std::to_string(spawned.result.error) +
               (shown ? " shown" : " not shown");
    });
    EXPECT_THAT(answer, HasSubstr("5 Kernel: Resource groups are kept in the daemon's own process "
                                  "table, without reservation: "));
    EXPECT_TRUE(answer.ends_with("\n0 shown")) << answer;
    EXPECT_EQ(std::count(answer.begin(), answer.end(), '\n'), 1) << answer;
}

TEST_F(CgroupGroups, AreNeitherFoundWithoutACgroupNorCreatedOutsideTheRoot) {
    EXPECT_THROW((void)Kernel::ShowGroup("host/pax/absent"), Pellmar::NotFoundException);
    EXPECT_THROW((void)Kernel::LimitGroup("host/pax/absent", {}), Pellmar::NotFoundException);
    for (const char* path : {"", "/", "..", "host/../..", "host/"}) {
        EXPECT_THROW((void)Kernel::EnsureGroup(path, 40), Pellmar::InvalidArgumentException)
            << path;
    }
}

}  // namespace
}  // namespace KernelTest
