#include "platform/sys/pid_fd.h"

#include <cerrno>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Sys {

PidFd PidFd::Open(pid_t pid) {
    return PidFd(OwnedFd(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))));
}

int PidFd::Signal(int signal) const {
    const long result = ::syscall(SYS_pidfd_send_signal, descriptor.Get(), signal, nullptr, 0);
    return result == 0 ? 0 : errno;
}

bool PidFd::HasEnded() const {
    if (!descriptor.IsOpen()) {
        return true;
    }
    pollfd entry{descriptor.Get(), POLLIN, 0};
    return ::poll(&entry, 1, 0) == 1;
}

}  // namespace Sys
