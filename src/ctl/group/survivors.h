// Which processes of the plugins' resource group have outlived their batch: the daemon has sent
// their plugin SIGTERM, or the daemon that would have is gone.
#pragma once

#include "ctl/host/daemon_process.h"
#include "ctl/host/process_stat.h"

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Ctl {

// The longest that a plugin of this host runs before the daemon sends it SIGTERM: the first batch
// of each queue ends the plugins of all queues, so it is the shortest period of the queues that
// have plugins, and a slot for a batch that is late. Less when `daemon` has been running for less:
// what is older than it nobody ends any more. Throws what ReadPluginPeriods throws.
std::chrono::seconds LongestRunTime(const std::optional<DaemonProcess>& daemon);

struct Member {
    ProcessStat process;
    std::chrono::milliseconds age;  // the plugin's, when it still is in the group; else its own
    bool isOrphan = false;          // its plugin is not in the group any more
};

// The processes that run in the cgroup `directory` and those in it, oldest first; at most
// Kernel::kMaxCountedProcesses. Throws Pellmar::Exception when it cannot be opened.
std::vector<Member> ReadMembers(const std::string& directory);

// A plugin begins a session, and what it starts stays in it unless it begins one itself.
bool IsSurvivor(const Member& member, std::chrono::milliseconds longest);

}  // namespace Ctl
