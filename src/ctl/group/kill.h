// Ends processes of the plugins' resource group, and tells which.
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
    std::vector<Member> held;  // were sent SIGKILL and still are there
    std::size_t spared = 0;    // may run on
    bool isBeaten = false;     // more are left: they begin faster than they can be ended
};

// Sends SIGKILL to what is older than `longest` (see IsSurvivor) in the cgroup `directory`, and to
// what begins in the sessions of such orphans meanwhile, or to all when there is no `longest`;
// again until none is left, for a few seconds at most. No process outside of the cgroup is
// signalled. Throws Pellmar::Exception, with what to do, when this user may not.
KillOutcome KillMembers(const std::string& directory,
                        std::optional<std::chrono::milliseconds> longest);

}  // namespace Ctl
