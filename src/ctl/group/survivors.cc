#include "ctl/group/survivors.h"

#include "ctl/reports/state.h"
#include "platform/kernel/groups/cgroup_directory.h"
#include "platform/pellmar/exceptions.h"
#include "plugins/queue_timing.h"

#include <algorithm>

namespace Ctl {

std::chrono::seconds LongestRunTime(const std::optional<DaemonProcess>& daemon) {
    using std::chrono::seconds;
    std::optional<seconds> shortest;
    for (const PluginPeriod& plugin : ReadPluginPeriods()) {
        shortest = std::min(shortest.value_or(plugin.period), plugin.period);
    }
    const seconds period =
        shortest.value_or(std::chrono::minutes(Sentrel::kDefaultFastPeriodMinutes));
    const seconds longest = period + seconds(Sentrel::kThrottleTimeoutSeconds);
    if (!daemon) {
        return longest;
    }
    const auto age = std::chrono::system_clock::now() - daemon->started;
    return std::clamp(std::chrono::duration_cast<seconds>(age), seconds(0), longest);
}

std::vector<Member> ReadMembers(const std::string& directory) {
    Kernel::CgroupDirectory group;
    if (const int error = Kernel::CgroupDirectory::Open(directory, group); error != 0) {
        throw Pellmar::IOException("opening the cgroup " + directory, error);
    }
    std::vector<Member> members;
    for (const pid_t pid : group.Processes()) {
        if (std::optional<ProcessStat> process = ReadProcessStat(pid)) {  // else it has exited
            const std::chrono::milliseconds age = AgeOf(*process);
            members.push_back({std::move(*process), age, true});
        }
    }
    // a pid is not reused while a session has that id
    for (Member& member : members) {
        const auto leader = std::find_if(members.begin(), members.end(), [&](const Member& other) {
            return other.process.pid == member.process.session;
        });
        if (leader != members.end()) {
            member.isOrphan = false;
            member.age = AgeOf(leader->process);
        }
    }
    std::stable_sort(members.begin(), members.end(),
                     [](const Member& a, const Member& b) { return a.age > b.age; });
    return members;
}

bool IsSurvivor(const Member& member, std::chrono::milliseconds longest) {
    return member.age > longest;
}

}  // namespace Ctl
