// Between clone3 and execve the child shares memory, and this thread's thread-local storage, with
// the daemon, whose thread waits until the child executes or ends (CLONE_VM, CLONE_VFORK). So the
// child has a stack of its own, allocates nothing, takes no lock, and makes system calls directly:
// the C library's functions would set the parent's errno. The sanitizers instrument none of it.
#include "platform/kernel/spawn_child.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include <linux/sched.h>
#include <sched.h>
#include <signal.h>
#include <sys/syscall.h>

#if !defined(__x86_64__)
#error "the system calls below are written for x86-64: add this processor's to the three functions"
#endif

// A macro, since an attribute can have no other name.
#define UNINSTRUMENTED __attribute__((no_sanitize("address", "thread", "undefined")))

namespace Kernel {

namespace {

constexpr std::size_t kStackBytes = 16384;
constexpr std::size_t kStackAlignment = 16;
constexpr long kLastDescriptor = 0xffffffff;
constexpr int kExecFailedStatus = 127;
constexpr int kLastStandardSignal = 31;
constexpr int kLastSignal = 64;
// The kernel's own set of signals, which is smaller than the C library's: bit N - 1 is signal N.
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

UNINSTRUMENTED inline long SystemCall(long number, long first, long second = 0, long third = 0,
                                      long fourth = 0) {
    long result = 0;
    register long r10 asm("r10") = fourth;
    asm volatile("syscall"
                 : "=a"(result)
                 : "a"(number), "D"(first), "S"(second), "d"(third), "r"(r10)
                 : "rcx", "r11", "memory");
    return result;
}

UNINSTRUMENTED inline long Address(const void* pointer) { return reinterpret_cast<long>(pointer); }

// Sets the mask of blocked signals; unlike the C library's call, the library's own signals too.
UNINSTRUMENTED inline void SetBlockedSignals(const SignalSet& blocked, SignalSet* previous) {
    (void)SystemCall(SYS_rt_sigprocmask, SIG_SETMASK, Address(&blocked), Address(previous),
                     sizeof(SignalSet));  // fails for bad arguments only
}

// The real-time signals that this process ignores. Each system call before exec makes a launch
// later, and half of them would ask for these, so they are asked for once: what a daemon inherits
// of them from its parent it keeps, for it uses none.
SignalSet FindIgnoredRealTimeSignals() {
    SignalSet ignored = 0;
    for (int signal = kLastStandardSignal + 1; signal <= kLastSignal; ++signal) {
        SignalAction action{};
        // directly, since the C library hides its own signals
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
    // refused for SIGKILL and SIGSTOP, which have no other disposition
    (void)SystemCall(SYS_rt_sigaction, signal, Address(&kDefaultAction), 0, sizeof(SignalSet));
}

[[noreturn]] UNINSTRUMENTED void EndChild(ChildPlan* plan, long result) {
    plan->error = static_cast<int>(-result);
    for (;;) {
        (void)SystemCall(SYS_exit_group, kExecFailedStatus);
    }
}

// The child's whole life before the program. All signals are blocked until the dispositions stand:
// a handler of the daemon must not run here. The clone has taken the handlers away already, but
// what was ignored still is.
[[noreturn]] UNINSTRUMENTED void RunChild(const ChildStart* start) {
    ChildPlan* const plan = start->plan;
    for (int signal = 1; signal <= kLastStandardSignal; ++signal) {
        SetDefault(signal);
    }
    for (int signal = kLastStandardSignal + 1; signal <= kLastSignal; ++signal) {
        if ((start->ignoredRealTimeSignals >> (signal - 1) & 1) != 0) {
            SetDefault(signal);
        }
    }
    (void)SystemCall(SYS_setsid, 0);  // a new process leads no group, so it cannot fail
    long result = SystemCall(SYS_chdir, Address("/"));
    if (result < 0) {
        EndChild(plan, result);
    }
    // The table is the child's copy (no CLONE_FILES): the daemon's descriptors stay open.
    result = SystemCall(SYS_close_range, 3, kLastDescriptor, 0);
    if (result < 0) {
        EndChild(plan, result);
    }
    SetBlockedSignals(kNoSignals, nullptr);
    EndChild(plan, SystemCall(SYS_execve, Address(plan->path), Address(plan->argv),
                              Address(plan->environment)));
}

// clone3, the child of which continues in RunChild at the top of its stack, with no frame of the
// parent's under it. Returns in the parent only: the pid or a negated error number.
UNINSTRUMENTED long Clone(clone_args& arguments, const ChildStart* start) {
    long result = SYS_clone3;
    asm volatile(
        "syscall\n\t"
        "test %%rax, %%rax\n\t"
        "jnz 1f\n\t"
        "mov %[start], %%rdi\n\t"
        "call *%[run]\n\t"
        "ud2\n"
        "1:"
        : "+a"(result)
        : "D"(&arguments), "S"(sizeof(arguments)), [start] "r"(start), [run] "r"(&RunChild)
        : "rcx", "r11", "memory", "cc");
    return result;
}

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

}  // namespace

long CloneChild(ChildPlan& plan, int groupDirectory, Sys::OwnedFd& process) {
    const std::unique_ptr<void, FreeMemory> stack(std::aligned_alloc(kStackAlignment, kStackBytes));
    if (!stack) {
        return -ENOMEM;
    }
    static const SignalSet sIgnoredRealTimeSignals = FindIgnoredRealTimeSignals();
    const ChildStart start{&plan, sIgnoredRealTimeSignals};
    int pidFd = -1;
    clone_args arguments{};
    arguments.flags = CLONE_VM | CLONE_VFORK | CLONE_PIDFD | CLONE_CLEAR_SIGHAND;
    arguments.pidfd = reinterpret_cast<std::uint64_t>(&pidFd);
    arguments.exit_signal = SIGCHLD;
    arguments.stack = reinterpret_cast<std::uint64_t>(stack.get());
    arguments.stack_size = kStackBytes;
    if (groupDirectory >= 0) {
        arguments.flags |= CLONE_INTO_CGROUP;
        arguments.cgroup = static_cast<unsigned>(groupDirectory);
    }
    SignalSet previous = 0;
    SetBlockedSignals(kAllSignals, &previous);
    const long result = Clone(arguments, &start);
    SetBlockedSignals(previous, nullptr);
    if (result > 0) {
        process.Reset(pidFd);
    }
    return result;
}

}  // namespace Kernel
