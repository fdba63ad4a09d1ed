#include "platform/sys/pid_fd.h"

#include <cerrno>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Sys {

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
