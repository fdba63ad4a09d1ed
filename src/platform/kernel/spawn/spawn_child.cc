// Between clone3 and execve the child shares memory, and this thread's thread-local storage, with
// the daemon (CLONE_VM), whose thread waits until the child executes or exits. So the child has its
// own stack, allocates nothing, takes no lock, and makes system calls directly: the C library's
// functions would set the parent's errno. No sanitizer instruments this code.
#include "platform/kernel/spawn/spawn_child.h"

#include "platform/kernel/groups/cgroup_directory.h"
#include "platform/kernel/spawn/direct_call.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include <linux/futex.h>
#include <linux/sched.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Kernel {

namespace {

constexpr std::size_t kStackBytes = 16384;
constexpr std::size_t kStackAlignment = 16;
// How often to check whether the cgroup is frozen while the child has not executed its program.
constexpr std::chrono::milliseconds kFrozenLook{100};
// How long a killed child may take to exit.
constexpr std::chrono::seconds kEndPatience{1};
constexpr long kLastDescriptor = 0xffffffff;
constexpr int kExecFailedStatus = 127;
constexpr int kLastStandardSignal = 31;
constexpr int kLastSignal = 64;
// The kernel's set of signals, smaller than the C library's: bit N - 1 is signal N.
using SignalSet = std::uint64_t;
constexpr SignalSet kAllSignals = ~SignalSet{0};
constexpr SignalSet kNoSignals = 0;

// The kernel's struct sigaction; all zero is the default action.
struct SignalAction {
    std::uint64_t handler;
    std::uint64_t flags;
    std::uint64_t restorer;
    SignalSet mask;
};
constexpr SignalAction kDefaultAction{};

UNINSTRUMENTED inline long Address(const void* pointer) { return reinterpret_cast<long>(pointer); }

// Sets the mask of blocked signals, including those that the C library reserves for itself.
UNINSTRUMENTED inline void SetBlockedSignals(const SignalSet& blocked, SignalSet* previous) {
    (void)SystemCall(SYS_rt_sigprocmask, SIG_SETMASK, Address(&blocked), Address(previous),
                     sizeof(SignalSet));  // fails for invalid arguments only
}

// The real-time signals that this process ignores. Resetting all of them would double the system
// calls before the exec, each of which delays the launch. So they are queried once; the daemon
// changes none of those it inherits.
SignalSet FindIgnoredRealTimeSignals() {
    SignalSet ignored = 0;
    for (int signal = kLastStandardSignal + 1; signal <= kLastSignal; ++signal) {
        SignalAction action{};
        // Directly, since the C library hides its own signals.
        const long result =
            SystemCall(SYS_rt_sigaction, signal, 0, Address(&action), sizeof(SignalSet));
        if (result == 0 && action.handler == reinterpret_cast<std::uint64_t>(SIG_IGN)) {
            ignored |= SignalSet{1} << (signal - 1);
        }
    }
    return ignored;
}

struct ChildStart {
    ChildPlan* plan;
    SignalSet ignoredRealTimeSignals;
};

UNINSTRUMENTED inline void SetDefault(int signal) {
    // Refused for SIGKILL and SIGSTOP, which have no other disposition.
    (void)SystemCall(SYS_rt_sigaction, signal, Address(&kDefaultAction), 0, sizeof(SignalSet));
}

[[noreturn]] UNINSTRUMENTED void EndChild(ChildPlan* plan, long result) {
    plan->error = static_cast<int>(-result);
    for (;;) {
        (void)SystemCall(SYS_exit_group, kExecFailedStatus);
    }
}

// Returns 0 or a negated error number. Restricts only the child: both restrictions belong to the
// task, not to the shared memory.
UNINSTRUMENTED inline long EnterSandbox(const ChildPlan& plan) {
    const long result = SystemCall(SYS_prctl, PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    return result < 0 || plan.ruleset < 0 ? result
                                          : SystemCall(SYS_landlock_restrict_self, plan.ruleset, 0);
}

// Everything the child does before the program. All signals stay blocked until the dispositions are
// reset: no handler of the daemon may run here. The clone has already removed the handlers, but not
// the ignored dispositions.
[[noreturn]] UNINSTRUMENTED void RunChild(const void* argument) {
    const auto* const start = static_cast<const ChildStart*>(argument);
    ChildPlan* const plan = start->plan;
    for (int signal = 1; signal <= kLastStandardSignal; ++signal) {
        SetDefault(signal);
    }
    for (int signal = kLastStandardSignal + 1; signal <= kLastSignal; ++signal) {
        if ((start->ignoredRealTimeSignals >> (signal - 1) & 1) != 0) {
            SetDefault(signal);
        }
    }
    (void)SystemCall(SYS_setsid, 0);  // cannot fail: a new process leads no group
    long result = SystemCall(SYS_chdir, Address("/"));
    if (result < 0) {
        EndChild(plan, result);
    }
    if (plan->isSandboxed) {
        result = EnterSandbox(*plan);
        if (result < 0) {
            EndChild(plan, result);
        }
    }
    // The descriptor table is the child's copy (no CLONE_FILES), so the daemon's descriptors stay
    // open.
    result = SystemCall(SYS_close_range, 3, kLastDescriptor, 0);
    if (result < 0) {
        EndChild(plan, result);
    }
    SetBlockedSignals(kNoSignals, nullptr);
    EndChild(plan, SystemCall(SYS_execve, Address(plan->path), Address(plan->argv),
                              Address(plan->environment)));
}

// The daemon's memory that the child uses while it shares it.
struct ChildMemory {
    // The kernel sets it to 0 and wakes its waiters once the child executes or exits
    // (CLONE_CHILD_CLEARTID).
    std::atomic<std::uint32_t> isShared{1};
    alignas(kStackAlignment) std::array<std::byte, kStackBytes> stack;
};
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

// Replaces CLONE_VFORK, which waits indefinitely. Returns false if the memory is still shared after
// `patience`.
bool AwaitUnshared(const std::atomic<std::uint32_t>& isShared, std::chrono::nanoseconds patience) {
    using std::chrono::steady_clock;
    const steady_clock::time_point end = steady_clock::now() + patience;
    while (isShared.load(std::memory_order_acquire) != 0) {
        const std::chrono::nanoseconds left = end - steady_clock::now();
        if (left.count() <= 0) {
            return false;
        }
        const timespec timeout{left / std::chrono::seconds(1),
                               (left % std::chrono::seconds(1)).count()};
        (void)::syscall(SYS_futex, &isShared, FUTEX_WAIT, 1, &timeout, nullptr,
                        0);  // checked above
    }
    return true;
}

// Returns 0 once the child has executed or exited; otherwise the reason to stop waiting.
int AwaitProgram(const std::atomic<std::uint32_t>& isShared, int groupDirectory,
                 std::chrono::milliseconds patience) {
    while (!AwaitUnshared(isShared, std::min(patience, kFrozenLook))) {
        if (groupDirectory >= 0 && CgroupDirectory::IsFrozen(groupDirectory)) {
            return EBUSY;
        }
        if (patience <= kFrozenLook) {
            return ETIMEDOUT;
        }
        patience -= kFrozenLook;
    }
    return 0;
}

// A killed child executes no further instruction, so its stack and plan are free even when it is
// blocked in the kernel; the kernel still writes isShared when it exits, whenever that is.
void KillChild(std::unique_ptr<ChildMemory> memory, Sys::PidFd& process) {
    (void)process.Signal(SIGKILL);  // fails only if it has exited
    if (!AwaitUnshared(memory->isShared, kEndPatience)) {
        (void)memory.release();
        process = {};
    }
}

}  // namespace

long CloneChild(ChildPlan& plan, int groupDirectory, Sys::PidFd& process) {
    static const SignalSet sIgnoredRealTimeSignals = FindIgnoredRealTimeSignals();
    auto memory = std::make_unique_for_overwrite<ChildMemory>();
    const ChildStart start{&plan, sIgnoredRealTimeSignals};
    int pidFd = -1;
    clone_args arguments{};
    arguments.flags = CLONE_VM | CLONE_PIDFD | CLONE_CLEAR_SIGHAND | CLONE_CHILD_CLEARTID;
    arguments.pidfd = reinterpret_cast<std::uint64_t>(&pidFd);
    arguments.child_tid = reinterpret_cast<std::uint64_t>(&memory->isShared);
    arguments.exit_signal = SIGCHLD;
    arguments.stack = reinterpret_cast<std::uint64_t>(memory->stack.data());
    arguments.stack_size = kStackBytes;
    if (groupDirectory >= 0) {
        arguments.flags |= CLONE_INTO_CGROUP;
        arguments.cgroup = static_cast<unsigned>(groupDirectory);
    }
    SignalSet previous = 0;
    SetBlockedSignals(kAllSignals, &previous);
    const long result = CloneAndRun(arguments, &RunChild, &start);
    SetBlockedSignals(previous, nullptr);
    if (result < 0) {
        return result;
    }
    process = Sys::PidFd(Sys::OwnedFd(pidFd));
    if (const int problem = AwaitProgram(memory->isShared, groupDirectory, plan.patience)) {
        KillChild(std::move(memory), process);
        plan.error = problem;
    }
    return result;
}

}  // namespace Kernel
