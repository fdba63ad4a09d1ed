// Finds the processes of the plugins' resource group that outlived their run: the daemon has sent
// their plugin SIGTERM, or the daemon that would have sent it is gone.
#pragma once

#include "ctl/host/daemon_process.h"
#include "ctl/host/process_stat.h"

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Ctl {

// The longest time that a plugin of this host runs before the daemon sends it SIGTERM. The first
// batch of each queue terminates the plugins of all queues, so this is the shortest period of the
// queues that have plugins, plus a slot for a late batch. Less if `daemon` has been running for
// less, since it terminates no plugin of an earlier daemon. Throws what ReadPluginPeriods throws.
std::chrono::seconds LongestRunTime(const std::optional<DaemonProcess>& daemon);

struct Member {
    ProcessStat process;
    std::chrono::milliseconds age;  // the plugin's if that is still in the group; else its own
    bool isOrphan = false;          // its plugin has left the group
};

// The processes in the cgroup `directory` and in its child groups, oldest first; at most
// Kernel::kMaxCountedProcesses. Throws Pellmar::Exception if it cannot be opened.
std::vector<Member> ReadMembers(const std::string& directory);

// Whether the member has run for longer than `longest`, or its plugin is gone. A plugin begins a
// session, and its children stay in it unless they begin another.
bool IsSurvivor(const Member& member, std::chrono::milliseconds longest);

}  // namespace Ctl
