#include "ctl/group/location.h"

#include "ctl/show/failure.h"
#include "platform/kernel/groups/cgroup_backend.h"
#include "platform/kernel/groups/groups.h"

#include <memory>

#include <unistd.h>

namespace Ctl {

using Kind = Kernel::GroupRoot::Kind;

GroupLocation FindGroupLocation(const std::optional<DaemonProcess>& daemon) {
    Kernel::GroupRoot own = Kernel::LocateGroupRoot();
    if (own.kind == Kind::Named || !daemon) {
        return {std::move(own), 0};
    }
    return {Kernel::LocateGroupRootOf(daemon->pid), daemon->pid};
}

std::string OriginOf(const GroupLocation& location) {
    const std::string daemon = "the daemon, process " + std::to_string(location.daemon);
    const bool isDaemons = location.daemon != 0;
    switch (location.root.kind) {
        case Kind::Named:
            return "SENTREL_CGROUP_ROOT" + (isDaemons ? " of " + daemon : "");
        case Kind::DelegatedUnit:
            return "the delegated unit of " + (isDaemons ? daemon : "this program");
        case Kind::Mount:
            return "the cgroup v2 mount" + (isDaemons ? ", as " + daemon + ", uses it" : "");
        case Kind::None:
            break;
    }
    return "the process table of " + (isDaemons ? daemon : "each daemon");
}

void UseGroupLocation(const GroupLocation& location) {
    if (location.root.kind != Kind::None) {
        Kernel::UseGroups(std::make_unique<Kernel::CgroupBackend>(location.root.directory));
        return;
    }
    if (location.daemon != 0) {
        throw Failure("the daemon, process " + std::to_string(location.daemon) +
                          ", keeps its resource group in its own process table, which other "
                          "processes cannot see: " +
                          location.root.reason,
                      "start it as root or in a delegated unit, or give it SENTREL_CGROUP_ROOT");
    }
    throw Failure("cannot find the plugins' resource group: " + location.root.reason,
                  ::geteuid() == 0 ? "mount cgroup v2, or set SENTREL_CGROUP_ROOT to a cgroup"
                                   : "run this as root, or set SENTREL_CGROUP_ROOT to a cgroup "
                                     "that this user can write to");
}

std::optional<DaemonProcess> FindDaemonIfAny() {
    try {
        return FindDaemonOnAnyPort();
    } catch (const Failure&) {
        return std::nullopt;  // the caller that needs the settings reports the fault
    }
}

}  // namespace Ctl
