// The sub-command "status", which shows the host in at most eight lines.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> StatusCommands();

}  // namespace Ctl
