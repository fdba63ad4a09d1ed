// Locates the directory of this host's resource groups: below the cgroup v2 mount, below the
// daemon's own unit, or the one that SENTREL_CGROUP_ROOT names. Changes nothing.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Kernel {

// A cgroup v2 mount: its directory, and the cgroup that is mounted there.
struct CgroupMount {
    std::string directory;
    std::string root;
};

// The first cgroup v2 mount in the text of /proc/self/mountinfo (proc(5)) that shows the whole
// hierarchy, or else the first one.
std::optional<CgroupMount> FindCgroupMount(std::string_view mountInfo);

// The directory, below the mount, of the cgroup v2 cgroup in the text of /proc/self/cgroup
// (cgroups(7)); empty if there is none or the mount does not show it.
std::string FindOwnCgroup(const CgroupMount& mount, std::string_view ownCgroups);

struct GroupRoot {
    enum class Kind {
        Named,          // SENTREL_CGROUP_ROOT; may not be a cgroup
        DelegatedUnit,  // the daemon's own unit, delegated by the service manager
        Mount,          // the cgroup v2 mount itself
        None            // no writable cgroup v2 hierarchy
    };
    Kind kind = Kind::None;
    std::string directory;  // without a trailing slash
    std::string reason;     // why kind is None
};

// The leaf cgroup that contains the daemon in a delegated unit: a cgroup with controllers enabled
// for its children must not contain processes itself.
inline constexpr std::string_view kDaemonLeaf = "daemon";

// For the calling process. A unit counts as delegated when the service manager has marked its
// cgroup (extended attribute user.delegate or trusted.delegate, systemd.resource-control(5)); a
// process in the leaf kDaemonLeaf of such a unit belongs to the unit.
GroupRoot LocateGroupRoot();

// For another process: the result of LocateGroupRoot when that process started. If its environment
// is not readable, SENTREL_CGROUP_ROOT is assumed to be unset.
GroupRoot LocateGroupRootOf(pid_t process);

}  // namespace Kernel
