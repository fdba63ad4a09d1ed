// Finds the directory of the plugins' resource group: the daemon's, in whatever cgroup the tool
// itself runs.
#pragma once

#include "ctl/host/daemon_process.h"
#include "platform/kernel/groups/cgroup_location.h"

#include <optional>
#include <string>

namespace Ctl {

struct GroupLocation {
    Kernel::GroupRoot root;
    pid_t daemon = 0;  // the daemon whose root this is; 0: chosen as a daemon started here would
};

// The root that SENTREL_CGROUP_ROOT names, else that of `daemon`, else the one that a daemon
// started by this user would choose.
GroupLocation FindGroupLocation(const std::optional<DaemonProcess>& daemon);

// The source of the directory, for a person: "the delegated unit of the daemon, process 123".
std::string OriginOf(const GroupLocation& location);

// Makes Kernel::Groups use that directory. Throws Pellmar::Exception, with what to do, if the
// daemon keeps the groups in its own process table.
void UseGroupLocation(const GroupLocation& location);

// The running daemon; none if its settings cannot be read, since then none starts.
std::optional<DaemonProcess> FindDaemonIfAny();

}  // namespace Ctl
