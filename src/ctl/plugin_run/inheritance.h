// What a plugin inherits from the process that launches it, beside the user: how the daemon's unit,
// not the shell of whoever runs the tool, has set it.
#pragma once

#include <array>
#include <optional>
#include <string>

#include <sys/resource.h>
#include <sys/types.h>

namespace Ctl {

struct Inheritance {
    std::optional<mode_t> fileMask;
    std::array<std::optional<rlimit>, RLIM_NLIMITS> limits;  // by the number of the resource
    std::optional<int> niceness;
    std::string oomScoreAdjust;  // as /proc has it; empty: not known
};

// That of the process, without what this user may not see.
Inheritance InheritanceOf(pid_t process);

// Gives it to this process, for good, but for what this user may not set.
void Inherit(const Inheritance& inheritance);

}  // namespace Ctl
