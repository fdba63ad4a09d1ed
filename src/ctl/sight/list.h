// The sub-command "list", which shows the newest report of each name as a table, the worst first.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> ListCommands();

}  // namespace Ctl
