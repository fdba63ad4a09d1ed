// What the tests of groups and of the spawn call share: a resource group of the test's own to spawn
// into, the call with a command line, and child processes of the test itself.
#pragma once

#include "platform/kernel/groups/groups.h"
#include "platform/kernel/spawn/spawn.h"
#include "support/cgroup_root.h"
#include "support/descriptors.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <signal.h>
#include <sys/types.h>

namespace KernelTest {

inline constexpr const char* kGroup = "host/pax/kolbern/sentrel-plugins";
inline constexpr const char* kGroupArgument = "++group=sentrel-plugins,mem=40";

// Ignores SIGCHLD as the daemon does, so that children are reaped at once.
class ChildrenIgnored {
  public:
    ChildrenIgnored() { previous = ::signal(SIGCHLD, SIG_IGN); }
    ~ChildrenIgnored() { (void)::signal(SIGCHLD, previous); }
    ChildrenIgnored(const ChildrenIgnored&) = delete;
    ChildrenIgnored& operator=(const ChildrenIgnored&) = delete;

  private:
    sighandler_t previous;
};

// The group kGroup in a cgroup root of its own, through the cgroup backend.
class CgroupTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override { Kernel::UseGroups(nullptr); }

    // Of the group.
    std::string Directory() const { return root.Path() + "/" + kGroup; }

    ChildrenIgnored ignored;
    ::Test::CgroupRoot root;
};

// The group kGroup in the table of this process.
class EmbeddedTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override { Kernel::UseGroups(nullptr); }

    ChildrenIgnored ignored;
};

struct Spawned {
    Kernel::SpawnResult result;
    pid_t pid = 0;
};

// The spawn call as the launcher makes it.
Spawned SpawnProgram(const std::vector<std::string>& argv,
                     Kernel::Confinement confinement = Kernel::Confinement::None);

// The command line that runs `script` in the group.
std::vector<std::string> ShellCommand(const std::string& script);

// What a spawned `script` writes to standard output until it, and all that it has started, closed
// that.
std::string OutputOf(const std::string& script,
                     Kernel::Confinement confinement = Kernel::Confinement::None);

using ::Test::AnswerOfChild;

// Blocks until the process has ended and its number is free. SIGCHLD is ignored meanwhile, or
// somebody takes its exit status. Throws std::runtime_error when it stays a zombie.
void WaitUntilGone(pid_t pid);

// Blocks until a spawned process that was sent SIGSTOP stands still.
void WaitUntilStopped(pid_t pid);

}  // namespace KernelTest
