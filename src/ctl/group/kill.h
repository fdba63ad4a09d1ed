// Kills processes of the plugins' resource group, and reports which.
#pragma once

#include "ctl/group/survivors.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

struct KillOutcome {
    std::vector<Member> ended;
    std::vector<Member> held;  // were sent SIGKILL and still exist
    std::size_t spared = 0;    // not selected
    bool isOutrun = false;     // processes remain, because they fork faster than they can be killed
};

// Sends SIGKILL to the processes in the cgroup `directory` that are older than `longest` (see
// IsSurvivor), and to those that start in their sessions meanwhile; to all if `longest` is unset.
// Repeats this until none is left, for a few seconds at most. Signals no process outside the
// cgroup. Throws Pellmar::Exception, with what to do, if this user may not.
KillOutcome KillMembers(const std::string& directory,
                        std::optional<std::chrono::milliseconds> longest);

}  // namespace Ctl
