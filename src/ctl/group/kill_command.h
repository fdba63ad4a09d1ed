// The sub-command "group kill": ends what outlived its batch, and shows what that was.
#pragma once

#include "ctl/command/command.h"
#include "ctl/show/json_output.h"

#include <array>
#include <iosfwd>

namespace Ctl {

inline constexpr std::array<Option, 2> kGroupKillOptions = {{
    {"--all", "", "end every process in the group, those within their time too"},
    kJsonOption,
}};

void RunGroupKill(const Arguments& arguments, std::ostream& output);

}  // namespace Ctl
