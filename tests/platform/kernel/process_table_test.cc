#include "platform/kernel/spawn/process_table.h"

#include "platform/kernel/spawn_fixture.h"
#include "platform/sys/pid_fd.h"
#include "support/deadline.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include <linux/sched.h>
#include <sched.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace KernelTest {
namespace {

using ProcessTable = EmbeddedTest;

// The error number of Kill, 0 when it succeeded.
int KillError(pid_t pid, int signal) { return Kernel::Kill(pid, signal) == 0 ? 0 : errno; }

// A process that waits, with /bin/sh to take the group argument that sleep would refuse.
pid_t SpawnWaiting() { return SpawnProgram(ShellCommand("exec sleep 1000")).pid; }

TEST_F(ProcessTable, SignalsLikeKillUntilTheProcessIsGone) {
    const pid_t pid = SpawnWaiting();
    EXPECT_EQ(KillError(pid, 0), 0);
    EXPECT_EQ(KillError(pid, 1000), EINVAL);
    EXPECT_EQ(KillError(pid, SIGTERM), 0);
    WaitUntilGone(pid);
    EXPECT_EQ(KillError(pid, 0), ESRCH);
    EXPECT_EQ(KillError(pid, SIGTERM), ESRCH);
}

TEST_F(ProcessTable, ContainsOnlySpawnedProcesses) {
    for (const pid_t pid : {::getpid(), ::getppid(), pid_t{1}, pid_t{0}, pid_t{-1}}) {
        EXPECT_EQ(KillError(pid, 0), ESRCH) << pid;
    }
}

TEST_F(ProcessTable, ForgetsTheOldestProcessBeyondItsBound) {
    std::vector<pid_t> pids;
    for (std::size_t count = 0; count <= Kernel::kMaxTrackedProcesses; ++count) {
        pids.push_back(SpawnWaiting());
        ASSERT_GT(pids.back(), 0);  // 0 would signal this process and its group
    }
    EXPECT_EQ(KillError(pids.front(), 0), ESRCH);
    EXPECT_EQ(KillError(pids[1], 0), 0);
    EXPECT_EQ(KillError(pids.back(), 0), 0);
    for (const pid_t pid : pids) {
        EXPECT_EQ(::kill(pid, SIGKILL), 0);
    }
    for (const pid_t pid : pids) {
        WaitUntilGone(pid);
    }
}

// Starts a stranger that waits, with a number of the test's choice. Needs to be root of the pid
// namespace. False when the number is still taken.
bool StartStranger(pid_t number) {
    clone_args arguments{};
    arguments.exit_signal = SIGCHLD;
    arguments.set_tid = reinterpret_cast<std::uint64_t>(&number);
    arguments.set_tid_size = 1;
    const long result = ::syscall(SYS_clone3, &arguments, sizeof(arguments));
    if (result == 0) {
        for (;;) {
            ::pause();
        }
    }
    return result == number;
}

// As process 1 of a pid namespace, the end of which ends all in it.
std::string SignalARecycledNumber() {
    const pid_t pid = SpawnWaiting();
    if (KillError(pid, SIGKILL) != 0) {
        return "the plugin could not be killed";
    }
    const ::Test::Deadline deadline;
    while (!StartStranger(pid)) {  // until the plugin's number is free
        if (deadline.MillisecondsLeft() == 0) {
            return "the number could not be taken";
        }
        ::sched_yield();
    }
    const int probe = KillError(pid, 0);
    const int kill = KillError(pid, SIGKILL);
    const bool lives = !Sys::PidFd::Open(pid).HasEnded();
    return std::to_string(probe) + " " + std::to_string(kill) + (lives ? " lives" : " killed");
}

TEST_F(ProcessTable, DoesNotSignalAProcessThatReusesThePid) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root may make a pid namespace and choose numbers in it";
    }
    const std::string answer = AnswerOfChild([]() -> std::string {
        if (::unshare(CLONE_NEWPID) != 0) {
            return "no pid namespace";
        }
        return AnswerOfChild(SignalARecycledNumber);
    });
    EXPECT_EQ(answer, std::to_string(ESRCH) + " " + std::to_string(ESRCH) + " lives");
}

}  // namespace
}  // namespace KernelTest
