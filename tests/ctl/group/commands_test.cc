// The commands "group ..." by the real program, in a cgroup root of the test's own.
#include "ctl/group/kill.h"
#include "platform/kernel/groups/cgroup_location.h"
#include "support/cgroup_root.h"
#include "support/descriptors.h"
#include "support/host_directory.h"
#include "support/sanitizers.h"
#include "support/tool_run.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <deque>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace Test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using Json = nlohmann::json;

class GroupCommands : public testing::Test {
  protected:
    void SetUp() override {
        if (!root.Problem().empty()) {
            GTEST_SKIP() << root.Problem();
        }
    }

    ToolResult Run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "group");
        return RunTool(arguments,
                       {"SENTREL_ROOT=" + host.Root(), "SENTREL_CGROUP_ROOT=" + root.Path()});
    }
    std::string Directory() const { return root.Path() + "/host/pax/kolbern/sentrel-plugins"; }
    // Whether the root can reserve memory at all.
    bool HasMemory() const {
        return ReadFile(root.Path() + "/cgroup.controllers").find("memory") != std::string::npos;
    }

    const CgroupRoot root;
    const HostDirectory host;
};

// An idle process in a cgroup.
struct MemberProcess : IdleProcess {
    MemberProcess(const std::string& cgroup, const char* name) : IdleProcess(name) {
        MoveTo(cgroup);
    }
};

TEST_F(GroupCommands, EnsureCreatesTheGroupOnceAndShowsItsReservation) {
    const std::string reserved =
        HasMemory() ? "Reserved   40.0 MiB\n"
                    : "Reserved   nothing of the 40.0 MiB configured: " + root.Path() +
                          " has no memory controller\n";
    const std::string limits = HasMemory()
                                   ? "Limits     256.0 MiB, "
                                   : "Limits     no memory limit, no process limit: cannot write " +
                                         Directory() + "/memory.max: ";
    for (const char* what : {"Created    ", "Exists     "}) {
        const ToolResult result = Run({"ensure"});
        EXPECT_EQ(result.status, 0) << result.error;
        EXPECT_THAT(result.output,
                    testing::StartsWith(what + std::string("host/pax/kolbern/sentrel-plugins\n") +
                                        "Directory  " + Directory() +
                                        "\nFound by   SENTREL_CGROUP_ROOT\n" + reserved + limits));
        EXPECT_EQ(result.error, "");
        EXPECT_TRUE(std::filesystem::is_directory(Directory()));
    }
}

TEST_F(GroupCommands, EnsureReservesTheConfiguredMemory) {
    struct Row {
        const char* settings;
        int poolSizeMB;
    };
    const Row rows[] = {
        {R"({"plugin_resource_pool_size_MB": 64})", 64},
        {R"({"plugin_resource_pool_size_MB": 500})", 500},
        {R"({"plugin_resource_pool_size_MB": 501})", 40},
        {R"({"plugin_resource_pool_size_MB": 1})", 40},
        {R"({"plugin_resource_pool_size_MB": null})", 40},
        {"{}", 40},
    };
    for (const Row& row : rows) {
        host.WriteStoreEntry("sentrel", row.settings);
        const ToolResult result = Run({"ensure", "--json"});
        ASSERT_EQ(result.status, 0) << result.error;
        const Json answer = Json::parse(result.output);
        EXPECT_EQ(answer["poolSizeMB"], row.poolSizeMB) << row.settings;
        EXPECT_EQ(answer["reservationKB"], HasMemory() ? row.poolSizeMB * 1024 : 0);
        EXPECT_EQ(answer.contains("reservationProblem"), !HasMemory());
    }
}

TEST_F(GroupCommands, TheRootOptionOverridesTheEnvironment) {
    const HostDirectory other;
    other.WriteStoreEntry("sentrel", R"({"plugin_resource_pool_size_MB": 77})");
    const ToolResult result = Run({"ensure", "--json", "--root", other.Root()});
    ASSERT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(Json::parse(result.output)["poolSizeMB"], 77);
}

TEST_F(GroupCommands, EnsureCreatesNothingWithABrokenSettingsFile) {
    host.WriteStoreEntry("sentrel", "{\"a\": ");
    const ToolResult result = Run({"ensure"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("/sentrel.json:1:"));
    EXPECT_THAT(result.error, EndsWith("; correct that file, or remove it\n"));
    EXPECT_FALSE(std::filesystem::exists(root.Path() + "/host"));
}

TEST_F(GroupCommands, ShowListsTheProcessesOfTheGroupAndItsChildren) {
    ASSERT_EQ(Run({"ensure"}).status, 0);
    EXPECT_THAT(Run({"show"}).output, EndsWith("\nNo process is in the group.\n"));
    ASSERT_EQ(::mkdir((Directory() + "/member").c_str(), 0755), 0);
    const MemberProcess direct(Directory(), "direct");
    const MemberProcess member(Directory() + "/member", "me\nmber");

    const ToolResult text = Run({"show"});
    const ToolResult json = Run({"show", "--json"});
    ASSERT_EQ(text.status, 0) << text.error;
    ASSERT_EQ(json.status, 0) << json.error;
    const Json answer = Json::parse(json.output);
    struct stat status{};
    ASSERT_EQ(::stat(Directory().c_str(), &status), 0);
    EXPECT_EQ(answer["id"], status.st_ino);
    EXPECT_EQ(answer["directory"], Directory());
    EXPECT_GT(answer["peakKB"], 0);
    EXPECT_GT(answer["memberGroupsPeakKB"], 0);
    ASSERT_EQ(answer["processes"].size(), 2U);
    EXPECT_EQ(answer["processes"][0]["pid"], direct.Pid());
    EXPECT_EQ(answer["processes"][1]["pid"], member.Pid());
    EXPECT_GT(answer["processes"][0]["residentKB"], 0);
    EXPECT_THAT(text.output, HasSubstr("Id                     " + std::to_string(status.st_ino)));
    EXPECT_EQ(answer["processes"][1]["name"], "me\nmber");
    EXPECT_THAT(text.output, HasSubstr(std::to_string(member.Pid()) + "  me\uFFFDmber"));
}

TEST_F(GroupCommands, KillSparesPluginsWithinTheirTimeUnlessAllIsGiven) {
    ASSERT_EQ(Run({"ensure"}).status, 0);
    ASSERT_EQ(::mkdir((Directory() + "/member").c_str(), 0755), 0);
    const MemberProcess direct(Directory(), "direct");
    const MemberProcess member(Directory() + "/member", "member");
    std::ofstream(Directory() + "/cgroup.freeze") << "1" << std::flush;  // which hinders nothing
    EXPECT_EQ(Run({"kill"}).output,
              "No process has outlived its run; 2 processes may run on, for 5 min 30 s at most.\n");
    const Json answer = Json::parse(Run({"kill", "--all", "--json"}).output);
    EXPECT_EQ(answer["ended"].size(), 2U);
    EXPECT_EQ(answer["left"], 0);
    EXPECT_EQ(Run({"kill", "--all"}).output, "No process is in the group.\n");
}

TEST_F(GroupCommands, KillSelectsOnlyProcessesOlderThanTheLongestRun) {
    using std::chrono::milliseconds;
    ASSERT_EQ(Run({"ensure"}).status, 0);
    const MemberProcess first(Directory(), "first");
    const MemberProcess second(Directory(), "second");
    const Ctl::KillOutcome none = Ctl::KillMembers(Directory(), std::chrono::hours(1));
    EXPECT_EQ(none.ended.size() + none.held.size(), 0U);
    EXPECT_EQ(none.spared, 2U);
    const Ctl::KillOutcome both = Ctl::KillMembers(Directory(), milliseconds(-1));
    EXPECT_EQ(both.ended.size(), 2U);
    EXPECT_FALSE(both.isOutrun);
    root.WaitUntilEmpty();
}

// Each process starts the next and ends: only what stands still can be ended.
TEST_F(GroupCommands, KillIsNotOutrunByAPluginThatForksWithoutEnd) {
    ASSERT_EQ(Run({"ensure"}).status, 0);
    const std::string program = host.Base() + "chain";
    WriteFile(program, "#!/bin/sh\n\"$0\" &\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    const pid_t first = ::fork();
    if (first == 0) {
        std::ofstream(Directory() + "/cgroup.procs") << "0" << std::flush;
        (void)::execl(program.c_str(), program.c_str(), nullptr);
        ::_exit(1);
    }
    EXPECT_EQ(::waitpid(first, nullptr, 0), first);
    const ToolResult result = Run({"kill", "--all"});
    EXPECT_EQ(result.status, 0) << result.error;
    root.WaitUntilEmpty();
}

TEST_F(GroupCommands, KillThatFailsLeavesTheGroupThawed) {
    if (kHasAddressSanitizer) {
        GTEST_SKIP() << "the sanitizers need descriptors of their own";
    }
    ASSERT_EQ(Run({"ensure"}).status, 0);
    std::deque<MemberProcess> processes;
    for (int count = 0; count < 20; ++count) {
        processes.emplace_back(Directory(), "idle");
    }
    std::optional<LoweredLimit> few(std::in_place, RLIMIT_NOFILE, 16);
    const ToolResult result = Run({"kill", "--all"});
    few.reset();
    ExpectFailure(result, " of the group: Too many open files");
    EXPECT_EQ(ReadFile(Directory() + "/cgroup.freeze"), "0\n");
}

TEST_F(GroupCommands, UseTheUnitOfTheDaemon) {
    const std::string unit = root.Path() + "/sentrel.service";
    std::filesystem::create_directories(unit + "/daemon");
    const MemberProcess daemon(unit + "/daemon", "daemon");
    const Kernel::GroupRoot before = Kernel::LocateGroupRootOf(daemon.Pid());
    EXPECT_EQ(before.kind, Kernel::GroupRoot::Kind::Mount) << before.directory;
    if (::setxattr(unit.c_str(), "user.delegate", "1", 1, 0) != 0) {
        GTEST_SKIP() << "this kernel keeps no mark of a delegated cgroup";
    }
    EXPECT_EQ(Kernel::LocateGroupRootOf(daemon.Pid()).directory, unit);
}

TEST_F(GroupCommands, ShowExplainsHowToCreateAMissingGroup) {
    ExpectFailure(Run({"show"}), "; create it with \"sentrelctl group ensure\"\n");
}

TEST(GroupCommandsElsewhere, RefuseARootThatIsNotACgroup) {
    const HostDirectory host;
    for (const std::string& root :
         {host.Root(), std::string("/nowhere"), std::string("relative")}) {
        ExpectFailure(
            RunTool({"group", "ensure"}, {"SENTREL_CGROUP_ROOT=" + root}),
            root +
                " is not a cgroup v2 directory; set SENTREL_CGROUP_ROOT to a cgroup v2 directory");
    }
}

TEST(GroupCommandsElsewhere, ReportThatNothingPersistsWithoutAWritableCgroup) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become a user who surely may write no cgroup";
    }
    const ToolResult result = RunTool({"group", "ensure"}, {}, User::Nobody);
    ExpectFailure(result, "cannot find the plugins' resource group: ");
    ExpectFailure(result,
                  "; run this as root, or set SENTREL_CGROUP_ROOT to a cgroup that this user "
                  "can write to\n");
    ExpectFailure(RunTool({"group", "show"}, {}, User::Nobody),
                  "group: no daemon is visible to this user; run this as root, or set ");
}

}  // namespace
}  // namespace Test
