// The attributes that a plugin inherits from the process that launches it, besides the user: they
// are to be those of the daemon's unit, not those of the caller's shell.
#pragma once

#include <array>
#include <optional>
#include <string>

#include <sys/resource.h>
#include <sys/types.h>

namespace Ctl {

struct Inheritance {
    std::optional<mode_t> fileMask;
    std::array<std::optional<rlimit>, RLIM_NLIMITS> limits;  // indexed by resource
    std::optional<int> niceness;
    std::string oomScoreAdjust;  // as in /proc; empty: unknown
};

// The attributes of the process that this user may see.
Inheritance InheritanceOf(pid_t process);

// Applies the attributes to this process permanently, except those that this user may not set.
void Inherit(const Inheritance& inheritance);

}  // namespace Ctl
