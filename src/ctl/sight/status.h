// The sub-command "status": the host at a glance, in eight lines at most.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> StatusCommands();

}  // namespace Ctl
