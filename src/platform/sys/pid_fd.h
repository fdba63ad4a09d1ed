// A process named by a descriptor (pidfd_open(2)) instead of a number: the number may be given to
// another process, the descriptor never is.
#pragma once

#include "platform/sys/owned_fd.h"

#include <utility>

#include <sys/types.h>

namespace Sys {

// Move-only; empty by default. Owning one keeps neither the process nor its zombie.
class PidFd {
  public:
    PidFd() = default;
    explicit PidFd(OwnedFd descriptor) : descriptor(std::move(descriptor)) {}

    // The process that has that number now, a zombie too. Empty, with errno set, when it cannot be
    // opened: ESRCH when no process has the number.
    static PidFd Open(pid_t pid);

    bool IsOpen() const { return descriptor.IsOpen(); }
    // For poll: readable once the process has ended.
    int Get() const { return descriptor.Get(); }

    // Sends `signal`; 0 only tests whether the process is there. Returns 0 or the error number:
    // ESRCH once the process is gone (a zombie is still there), EPERM, EINVAL for no signal number,
    // EBADF when empty.
    int Signal(int signal) const;
    // Whether the process has ended, reaped or not. An empty one counts as ended.
    bool HasEnded() const;

  private:
    OwnedFd descriptor;
};

}  // namespace Sys
