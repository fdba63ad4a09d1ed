// A cgroup's files are plain text, so plain files stand for those that this host's hierarchy may
// lack.
#include "platform/kernel/groups/cgroup_directory.h"

#include "platform/kernel/groups/member_processes.h"
#include "support/host_directory.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <unistd.h>

namespace Kernel {
namespace {

class CgroupFiles : public testing::Test {
  protected:
    void Write(const std::string& name, const std::string& text) {
        const std::filesystem::path path = base.Path() + name;
        std::filesystem::create_directories(path.parent_path());
        ::Test::WriteFile(path, text);
    }
    std::string Read(const std::string& name) { return ::Test::ReadFile(base.Path() + name); }
    CgroupDirectory Open() {
        CgroupDirectory directory;
        EXPECT_EQ(CgroupDirectory::Open(base.Path(), directory), 0);
        return directory;
    }

    ::Test::TemporaryDirectory base;
};

TEST_F(CgroupFiles, ProvideTheGroupsPeakAndTheSumOverItsChildren) {
    Write("memory.peak", "41943040\n");
    Write("a/memory.peak", "1048576\n");
    Write("b/memory.peak", "2101248\n");
    Write("b/inner/memory.peak", "999999999\n");  // b's own has it already
    const GroupMemory memory = Open().Memory();
    EXPECT_EQ(memory.peak, 40960U);
    EXPECT_EQ(memory.childrenPeak, 1024U + 2052U);
}

TEST_F(CgroupFiles, LetResidentSizesStandInForAMissingPeak) {
    const std::string self = std::to_string(::getpid()) + "\n";
    Write("cgroup.procs", "0\n");
    Write("a/cgroup.procs", self);
    Write("a/inner/cgroup.procs", self + "999999999\n");
    Write("b/memory.peak", "1048576\n");
    const GroupMemory memory = Open().Memory();
    const std::uint64_t own = SumResidentKB({::getpid()});
    EXPECT_GT(own, 100U);
    EXPECT_NEAR(static_cast<double>(memory.childrenPeak), static_cast<double>(2 * own + 1024),
                static_cast<double>(own) / 2);
    EXPECT_EQ(memory.peak, memory.childrenPeak);
}

TEST_F(CgroupFiles, BoundTheNumberOfProcessesRead) {
    std::string many;
    for (int pid = 1; pid <= 100000; ++pid) {
        many += std::to_string(pid) + "\n";
    }
    Write("cgroup.procs", many);
    Write("a/cgroup.procs", many);
    EXPECT_EQ(Open().Processes().size(), kMaxCountedProcesses);
}

TEST_F(CgroupFiles, ShowWhetherMemoryCanBeEnabled) {
    for (const char* text : {"cpuset cpu memory hugetlb pids\n", "memory\n", "memory"}) {
        Write("cgroup.controllers", text);
        EXPECT_TRUE(Open().OffersMemory()) << text;
    }
    for (const char* text : {"hugetlb\n", "memoryx\n", "\n", ""}) {
        Write("cgroup.controllers", text);
        EXPECT_FALSE(Open().OffersMemory()) << text;
    }
}

TEST_F(CgroupFiles, CountTheProcessesThatTheKernelKilled) {
    EXPECT_EQ(Open().MemoryKills(), 0U);
    Write("memory.events", "low 0\nhigh 7\nmax 81\noom 4\noom_kill 3\noom_group_kill 1\n");
    EXPECT_EQ(Open().MemoryKills(), 3U);
    Write("memory.events", "low 0\noom_kill\n");
    EXPECT_EQ(Open().MemoryKills(), 0U);
}

TEST_F(CgroupFiles, AreWrittenAsTheKernelReadsThem) {
    Write("cgroup.subtree_control", "");
    Write("memory.min", "");
    Write("cgroup.procs", "");
    const CgroupDirectory directory = Open();
    EXPECT_EQ(directory.EnableMemory(), 0);
    EXPECT_EQ(directory.Reserve(41943040), 0);
    EXPECT_EQ(directory.MoveHere(), 0);
    EXPECT_EQ(Read("cgroup.subtree_control"), "+memory");
    EXPECT_EQ(Read("memory.min"), "41943040");
    EXPECT_EQ(Read("cgroup.procs"), "0");
    EXPECT_EQ(directory.ReservationKB(), 40960U);
    Write("memory.max", "");
    Write("pids.max", "");
    EXPECT_EQ(directory.LimitMemory(268435456), 0);
    EXPECT_EQ(directory.LimitProcesses(512), 0);
    EXPECT_EQ(directory.MemoryLimitKB(), 262144U);
    EXPECT_EQ(directory.ProcessLimit(), 512U);
    for (const char* name : {"memory.max", "pids.max"}) {
        Write(name, "");
    }
    EXPECT_EQ(directory.LimitMemory(0), 0);
    EXPECT_EQ(directory.LimitProcesses(0), 0);
    EXPECT_EQ(Read("memory.max") + Read("pids.max"), "maxmax");
    EXPECT_EQ(directory.MemoryLimitKB() + directory.ProcessLimit(), 0U);
    EXPECT_FALSE(directory.IsCgroup2());
}

}  // namespace
}  // namespace Kernel
