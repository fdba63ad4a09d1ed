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

// How long a plugin can run before the daemon sends it SIGTERM: the shortest period of all queues
// with plugins, since the first batch of each queue terminates the plugins of all queues, plus one
// slot in case that batch is late. At most the uptime of `daemon`, which does not terminate the
// plugins of an earlier daemon. Throws what ReadPluginPeriods throws.
std::chrono::seconds LongestRunTime(const std::optional<DaemonProcess>& daemon);

struct Member {
    ProcessStat process;
    std::chrono::milliseconds age;  // its plugin's age if that is in the group, else its own
    bool isOrphan = false;          // its plugin has left the group
};

// The processes in the cgroup `directory` and in its child groups, oldest first; at most
// Kernel::kMaxCountedProcesses. A plugin begins a session, and its children stay in it unless they
// begin another. Throws Pellmar::Exception if the cgroup cannot be opened.
std::vector<Member> ReadMembers(const std::string& directory);

// Whether the member's age exceeds `longest`.
bool IsSurvivor(const Member& member, std::chrono::milliseconds longest);

}  // namespace Ctl
