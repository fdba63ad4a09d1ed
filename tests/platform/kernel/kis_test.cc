#include "platform/kernel/interface/kis.h"

#include "platform/kernel/groups/cgroup_backend.h"
#include "platform/kernel/groups/groups.h"
#include "platform/kernel/interface/kernel_signature.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/kernel/spawn/spawn_child.h"
#include "platform/kernel/spawn_fixture.h"
#include "support/deadline.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <string>
#include <utility>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace KernelTest {
namespace {

struct DestroyList {
    void operator()(KIS_ParamList* list) const { KIS_ParamListDestroy(list); }
};
using List = std::unique_ptr<KIS_ParamList, DestroyList>;

List PathList(const char* path) {
    List list(KIS_ParamListCreate(0, 1));
    EXPECT_EQ(KIS_ParamListAddString(list.get(), path), 0);
    return list;
}

List IdList(std::int64_t id) {
    List list(KIS_ParamListCreate(1, 1));
    EXPECT_EQ(KIS_ParamListAddInt(list.get(), id), 0);
    return list;
}

std::int64_t FindGroup() {
    std::int64_t id = -1;
    const List list = PathList(kGroup);
    EXPECT_EQ(KIS_Set(KIS_NODE_sched_groupPathNameToID, 0, list.get(), &id, sizeof(id)), 0);
    return id;
}

using Statistics = std::array<unsigned char, Kernel::kMemoryStatsBytes>;

std::uint64_t NumberAt(const Statistics& statistics, std::size_t offset) {
    std::uint64_t number = 0;
    std::memcpy(&number, statistics.data() + offset, sizeof(number));
    return number;
}

using Kis = CgroupTest;

TEST_F(Kis, DoesNotFindAMissingGroup) {
    const std::int64_t removed = FindGroup();
    ASSERT_EQ(::mkdir((root.Path() + "/other").c_str(), 0755), 0);
    std::filesystem::remove(Directory());
    for (const char* path :
         {kGroup, "", "/", "other/", "/other", "other/.", "other/../other", "other//x"}) {
        std::int64_t id = -1;
        EXPECT_EQ(KIS_Set(KIS_NODE_sched_groupPathNameToID, 0, PathList(path).get(), &id, 8),
                  Kernel::kStatusNotFound)
            << path;
        EXPECT_EQ(id, -1) << path;
    }
    (void)Kernel::EnsureGroup(kGroup, 40);
    Statistics statistics{};
    for (const std::int64_t id : {removed, std::int64_t{-1}, std::int64_t{0}}) {
        KIS_ParamList* members = nullptr;
        EXPECT_EQ(KIS_GetInstanceListAlloc(KIS_NODE_sched_groups_members_groups, IdList(id).get(),
                                           &members),
                  Kernel::kStatusNotFound);
        EXPECT_EQ(members, nullptr);
        EXPECT_EQ(KIS_Get(KIS_NODE_sched_groups_stats_memoryStats, IdList(id).get(),
                          statistics.data(), statistics.size()),
                  Kernel::kStatusNotFound);
    }
}

TEST_F(Kis, RefusesUndefinedCalls) {
    const List path = PathList(kGroup);
    const List id = IdList(FindGroup());
    const List empty(KIS_ParamListCreate(1, 1));
    std::int64_t output = -1;
    Statistics statistics{};
    KIS_ParamList* result = nullptr;
    const auto toId = KIS_NODE_sched_groupPathNameToID;
    const auto stats = KIS_NODE_sched_groups_stats_memoryStats;
    const MSK_ReturnStatus statuses[] = {
        KIS_Set(stats, 0, path.get(), &output, 8),
        KIS_Set(toId, 0, id.get(), &output, 8),
        KIS_Set(toId, 0, path.get(), &output, 4),
        KIS_Get(stats, path.get(), statistics.data(), statistics.size()),
        KIS_Get(stats, empty.get(), statistics.data(), statistics.size()),
        KIS_Get(stats, id.get(), statistics.data(), statistics.size() - 1),
        KIS_GetInstanceListAlloc(toId, id.get(), &result),
    };
    EXPECT_THAT(statuses, testing::Each(Kernel::kStatusBadParameter));
}

TEST_F(Kis, CountsTheMemberGroups) {
    const List list = IdList(FindGroup());
    for (std::size_t count = 0; count < 3; ++count) {
        KIS_ParamList* members = nullptr;
        ASSERT_EQ(
            KIS_GetInstanceListAlloc(KIS_NODE_sched_groups_members_groups, list.get(), &members),
            0);
        EXPECT_EQ(KIS_ParamListNumInstances(members), count);
        KIS_ParamListDestroy(members);
        ASSERT_EQ(::mkdir((Directory() + "/" + std::to_string(count)).c_str(), 0755), 0);
    }
}

// The processes stand still while they are measured.
TEST_F(Kis, LaysTheStatisticsOutAsDocumented) {
    const std::int64_t id = FindGroup();
    ASSERT_EQ(::mkdir((Directory() + "/inner").c_str(), 0755), 0);
    for (const bool moves : {false, true}) {
        const pid_t pid = SpawnProgram(ShellCommand("kill -STOP $$; exec sleep 1000")).pid;
        WaitUntilStopped(pid);
        if (moves) {
            std::ofstream(Directory() + "/inner/cgroup.procs") << pid;
        }
    }
    Statistics statistics;
    statistics.fill(0xee);
    ASSERT_EQ(KIS_Get(KIS_NODE_sched_groups_stats_memoryStats, IdList(id).get(), statistics.data(),
                      statistics.size()),
              0);
    const Kernel::GroupMemory memory = Kernel::ShowGroup(kGroup).memory;
    EXPECT_GT(memory.childrenPeak, 0U);
    EXPECT_GT(memory.peak, memory.childrenPeak);
    EXPECT_EQ(NumberAt(statistics, 309), memory.peak);
    EXPECT_EQ(NumberAt(statistics, 374), memory.childrenPeak);
    std::fill_n(statistics.begin() + 309, 8, static_cast<unsigned char>(0));
    std::fill_n(statistics.begin() + 374, 8, static_cast<unsigned char>(0));
    EXPECT_THAT(statistics, testing::Each(0));
}

// From now on the kernel treats `call` as `action` says, in this process and its children.
void FilterCall(long call, unsigned action, unsigned flags) {
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1),
        BPF_STMT(BPF_RET | BPF_K, action),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    sock_fprog filter{std::size(program), program};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &filter) < 0) {
        throw std::runtime_error("this kernel filters no calls");
    }
}

void TakeCallAway(long call, int error) {
    FilterCall(call, SECCOMP_RET_ERRNO | static_cast<unsigned>(error), 0);
}

// The call waits for an answer of this process, which never gives one.
void HoldCall(long call) {
    FilterCall(call, SECCOMP_RET_USER_NOTIF, SECCOMP_FILTER_FLAG_NEW_LISTENER);
}

// "RESULT DATE DATE"
std::string CheckSignature() {
    std::array<char, Kernel::kSignatureDateBytes> running{};
    const char* program = "";
    const int result = KIS_CheckSig(running.data(), running.size(), &program);
    return std::to_string(result) + " " + running.data() + " " + program;
}

TEST_F(Kis, AcceptsAKernelWithAllNeededCalls) { EXPECT_EQ(CheckSignature(), "0  "); }

TEST_F(Kis, ReportsBothBuildDatesWhenACallIsMissing) {
    const std::regex dates(
        R"([1-9]\d* \d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ \d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)");
    for (const auto& row : {std::pair(SYS_clone3, ENOSYS), std::pair(SYS_clone3, EPERM),
                            std::pair(SYS_clone3, EINVAL), std::pair(SYS_pidfd_send_signal, ENOSYS),
                            std::pair(SYS_close_range, EPERM)}) {
        const std::string answer = AnswerOfChild([&row] {
            TakeCallAway(row.first, row.second);
            return CheckSignature();
        });
        EXPECT_TRUE(std::regex_match(answer, dates)) << row.first << ": " << answer;
    }
}

TEST_F(Kis, SpawnFailsCleanlyWithoutClone3) {
    const std::string answer = AnswerOfChild([] {
        TakeCallAway(SYS_clone3, ENOSYS);
        return std::to_string(SpawnProgram({"/bin/true", kGroupArgument}).result.error);
    });
    EXPECT_EQ(answer, std::to_string(-ENOSYS));
}

// As on a file system that does not answer.
TEST_F(Kis, SpawnKillsAChildThatDoesNotReachItsProgram) {
    const std::string answer = AnswerOfChild([] {
        HoldCall(SYS_execve);
        std::array<char*, 1> none{};
        Kernel::ChildPlan plan{.path = "/bin/true",
                               .argv = none.data(),
                               .environment = none.data(),
                               .patience = std::chrono::milliseconds(1)};
        Sys::PidFd process;
        (void)Kernel::CloneChild(plan, -1, process);
        ::Test::Deadline().Await(process.Get(), POLLIN, "the end of the child");
        return std::to_string(plan.error);
    });
    EXPECT_EQ(answer, std::to_string(ETIMEDOUT));
}

TEST(KernelSignature, ReadsTheBuildDateOfAKernel) {
    struct Row {
        const char* version;
        const char* expected;
    };
    const Row rows[] = {
        {"#1 SMP Thu Sep  7 10:21:30 UTC 2023", "2023-09-07T10:21:30Z"},
        {"#22-Ubuntu SMP PREEMPT_DYNAMIC Tue Dec 31 23:59:59 UTC 2024", "2024-12-31T23:59:59Z"},
        {"#1 SMP PREEMPT_DYNAMIC Debian 6.1.55-1 (2023-09-29)", "2023-09-29T00:00:00Z"},
        {"#1 SMP Thu Sep 7 1:2:3 UTC 2023", "2023-09-07T01:02:03Z"},
        {"#1 SMP PREEMPT_DYNAMIC @0", "0000-00-00T00:00:00Z"},
        {"", "0000-00-00T00:00:00Z"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Kernel::BuildDateOfVersion(row.version), row.expected) << row.version;
    }
}

TEST(Status, FollowsTheSystemsError) {
    EXPECT_EQ(Kernel::StatusOfError(ENOMEM), 0x0BAD0014);
    EXPECT_EQ(Kernel::StatusOfError(0), 0);
    for (int error = 1; error < 134; ++error) {
        EXPECT_STRNE(MSK_ReturnStatusToString(Kernel::StatusOfError(error)),
                     MSK_ReturnStatusToString(12345))
            << error;
        EXPECT_NE(Kernel::StatusOfError(error), 0) << error;
    }
}

}  // namespace
}  // namespace KernelTest
