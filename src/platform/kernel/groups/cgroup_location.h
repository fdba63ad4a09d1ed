// Where on this host the resource groups' directories lie: the cgroup v2 mount, the daemon's own
// unit, or what SENTREL_CGROUP_ROOT names. Looks only; changes nothing.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace Kernel {

// A cgroup v2 mount: its directory, and which cgroup of the hierarchy stands there.
struct CgroupMount {
    std::string directory;
    std::string root;
};

// The first cgroup v2 mount in the text of /proc/self/mountinfo (proc(5)) that shows the whole
// hierarchy; else the first of all.
std::optional<CgroupMount> FindCgroupMount(std::string_view mountInfo);

// The directory, below the mount, of the cgroup v2 cgroup in the text of /proc/self/cgroup
// (cgroups(7)); empty when there is none or the mount does not show it.
std::string FindOwnCgroup(const CgroupMount& mount, std::string_view ownCgroups);

struct GroupRoot {
    enum class Kind {
        Named,          // by SENTREL_CGROUP_ROOT; it need not be a cgroup
        DelegatedUnit,  // the daemon's own, which the service manager has delegated
        Mount,          // the cgroup v2 mount itself
        None            // no cgroup v2 hierarchy can be written
    };
    Kind kind = Kind::None;
    std::string directory;  // without a slash at its end
    std::string reason;     // of None, in words
};

// The leaf of a delegated unit that holds the daemon: a cgroup that has enabled controllers for its
// children may hold no process.
inline constexpr std::string_view kDaemonLeaf = "daemon";

// For the process that calls. A unit counts as delegated when the service manager has marked its
// cgroup (extended attribute user.delegate or trusted.delegate, systemd.resource-control(5)); a
// process in the leaf kDaemonLeaf of such a unit belongs to it.
GroupRoot LocateGroupRoot();

// For another process, as LocateGroupRoot has told it when it started. Where its environment may
// not be read by this one, it counts as one without SENTREL_CGROUP_ROOT.
GroupRoot LocateGroupRootOf(pid_t process);

}  // namespace Kernel
