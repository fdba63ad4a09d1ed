// The sub-command "group kill", which kills and lists the processes that outlived their run.
#pragma once

#include "ctl/command/command.h"
#include "ctl/show/json_output.h"

#include <array>
#include <iosfwd>

namespace Ctl {

inline constexpr std::array<Option, 2> kGroupKillOptions = {{
    {"--all", "", "kill every process in the group, including those within their time"},
    kJsonOption,
}};

void RunGroupKill(const Arguments& arguments, std::ostream& output);

}  // namespace Ctl
