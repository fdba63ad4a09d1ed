// Starts a plugin's process: clone3, and what the child does until it executes the program. The
// child shares the daemon's memory meanwhile, so its code has a file of its own.
#pragma once

#include "platform/sys/pid_fd.h"

#include <chrono>

#include <sys/types.h>

namespace Kernel {

// How long an exec may take. It takes milliseconds, unless the file system or the processors are
// overloaded.
inline constexpr std::chrono::seconds kLaunchPatience{5};

// Everything the child needs, built before the clone; outlives CloneChild.
struct ChildPlan {
    const char* path = "";
    char* const* argv = nullptr;
    char* const* environment = nullptr;
    std::chrono::milliseconds patience = kLaunchPatience;
    // Whether the program starts with no_new_privs and, if `ruleset` is a descriptor, under that
    // Landlock ruleset.
    bool isSandboxed = false;
    int ruleset = -1;
    // The error number of the call that failed; EBUSY if the child's cgroup is frozen, ETIMEDOUT if
    // the program was not executed within `patience`. 0 if the program runs.
    int error = 0;
};

// Starts a child that executes `plan.path`, in the cgroup whose directory `groupDirectory` is open
// on (-1: in the caller's own). Returns its pid once the program runs or the child has failed (see
// plan.error; the child has then exited or been killed). Returns a negated error number if no child
// was created. Sets `process` to the child's pidfd, or empty if even SIGKILL does not end the child
// because it is blocked in the kernel.
//
// The program starts with only descriptors 0, 1 and 2 open, every signal at its default disposition
// and unblocked, in the directory "/" and in a new session, so that no terminal can signal it or
// hang it up. It keeps the caller's user, limits and umask. Real-time signals that the caller has
// started to ignore since the first call stay ignored. Throws std::bad_alloc. Any thread.
long CloneChild(ChildPlan& plan, int groupDirectory, Sys::PidFd& process);

}  // namespace Kernel
