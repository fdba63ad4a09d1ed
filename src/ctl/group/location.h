// Which directory the plugins' resource group is looked for below: that of the daemon, wherever the
// tool itself runs.
#pragma once

#include "ctl/host/daemon_process.h"
#include "platform/kernel/groups/cgroup_location.h"

#include <optional>
#include <string>

namespace Ctl {

struct GroupLocation {
    Kernel::GroupRoot root;
    pid_t daemon = 0;  // whose root it is; 0: the one that a daemon started here would choose
};

// The root that SENTREL_CGROUP_ROOT names to this program, else that of `daemon`, else the one that
// a daemon started by this user would choose.
GroupLocation FindGroupLocation(const std::optional<DaemonProcess>& daemon);

// Why it is that directory, in words: "the delegated unit of the daemon, process 123".
std::string OriginOf(const GroupLocation& location);

// Has Kernel::Groups work there. Throws Pellmar::Exception, with what to do, when the groups are
// kept in a process, which no other one can see.
void UseGroupLocation(const GroupLocation& location);

// The daemon that runs now; none where its settings cannot be read, with which none starts.
std::optional<DaemonProcess> FindDaemonIfAny();

}  // namespace Ctl
