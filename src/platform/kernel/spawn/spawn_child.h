// The step from the daemon to a plugin: clone3 and what the child does until it executes the
// program. The child shares the daemon's memory in that time, so its code has this file to itself.
#pragma once

#include "platform/sys/pid_fd.h"

#include <chrono>

#include <sys/types.h>

namespace Kernel {

// A program is executed within milliseconds, unless its file system or the processors are at their
// limits.
inline constexpr std::chrono::seconds kLaunchPatience{5};

// All that the child needs, made before the clone; outlives CloneChild.
struct ChildPlan {
    const char* path = "";
    char* const* argv = nullptr;
    char* const* environment = nullptr;
    std::chrono::milliseconds patience = kLaunchPatience;
    // Whether the program starts with no_new_privs and, if `ruleset` is a descriptor, under that
    // Landlock ruleset.
    bool isSandboxed = false;
    int ruleset = -1;
    // The error number of the call that failed; EBUSY when the child's cgroup is frozen, ETIMEDOUT
    // when it has not executed the program before `patience` was over. 0 when the program runs.
    int error = 0;
};

// Starts a child that executes `plan.path`, inside the cgroup whose directory `groupDirectory` is
// (-1: in the caller's own), and returns its pid once it executes or has failed to (see plan.error;
// it has ended then, or is killed). Returns a negated error number when there is no child.
// `process` gets the child's pidfd; none when not even SIGKILL ends the child, which the kernel
// holds then.
//
// The program starts with descriptors 0, 1 and 2 alone, every signal at its default disposition and
// unblocked, the directory "/", in a session of its own: no terminal sends it signals, or takes it
// along when it hangs up. It keeps the caller's user, limits and file mode mask. Real-time signals
// that the caller has come to ignore since the first call stay ignored. Throws std::bad_alloc. Any
// thread.
long CloneChild(ChildPlan& plan, int groupDirectory, Sys::PidFd& process);

}  // namespace Kernel
