#include "support/network_namespace.h"

#include "platform/sys/owned_fd.h"
#include "support/descriptors.h"
#include "support/host_directory.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Test {
namespace {

// A user namespace in which this user is root, since only root may make the others.
void BecomeRootOfUserNamespace() {
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    OrThrow(::unshare(CLONE_NEWUSER),
            "making a user namespace for the test; run it as root, or allow user namespaces");
    WriteFile("/proc/self/setgroups", "deny");
    WriteFile("/proc/self/uid_map", "0 " + user + " 1");
    WriteFile("/proc/self/gid_map", "0 " + group + " 1");
}

void BringLoopbackUp() {
    const Sys::OwnedFd any(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    OrThrow(::ioctl(any.Get(), SIOCGIFFLAGS, &request),
            "reading the state of the loopback interface");
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    OrThrow(::ioctl(any.Get(), SIOCSIFFLAGS, &request), "bringing the loopback interface up");
}

bool EnterNetwork() {
    if (::unshare(CLONE_NEWNET) != 0) {
        OrThrow(errno == EPERM ? 0 : -1, "making a network namespace for the test");
        BecomeRootOfUserNamespace();
        OrThrow(::unshare(CLONE_NEWNET), "making a network namespace for the test; run it as root");
    }
    BringLoopbackUp();
    return true;
}

bool EnterMounts() {
    OrThrow(::unshare(CLONE_NEWNS), "making a mount namespace for the test; run it as root");
    OrThrow(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr),
            "keeping the mounts of the test to itself");
    return true;
}

}  // namespace

void EnterNetworkNamespace() { [[maybe_unused]] static const bool sEntered = EnterNetwork(); }

void EnterMountNamespace() { [[maybe_unused]] static const bool sEntered = EnterMounts(); }

}  // namespace Test
