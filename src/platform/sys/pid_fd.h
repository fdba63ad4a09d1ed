// Refers to a process by a descriptor (pidfd_open(2)) instead of its number, which the kernel may
// reuse.
#pragma once

#include "platform/sys/owned_fd.h"

#include <utility>

#include <sys/types.h>

namespace Sys {

// Move-only; empty by default. Does not keep the process or its zombie alive.
class PidFd {
  public:
    PidFd() = default;
    explicit PidFd(OwnedFd descriptor) : descriptor(std::move(descriptor)) {}

    // Opens the process, or zombie, that has this number now. On failure returns an empty object
    // and sets errno: ESRCH when no process has the number.
    static PidFd Open(pid_t pid);

    bool IsOpen() const { return descriptor.IsOpen(); }
    // For poll(2): readable once the process has exited.
    int Get() const { return descriptor.Get(); }

    // Sends `signal`; 0 only tests whether the process exists. Returns 0 or the error number: ESRCH
    // once the process is gone (a zombie still exists), EPERM, EINVAL for an invalid signal number,
    // EBADF when empty.
    int Signal(int signal) const;
    // Whether the process has exited, reaped or not. True when empty.
    bool HasEnded() const;

  private:
    OwnedFd descriptor;
};

}  // namespace Sys
