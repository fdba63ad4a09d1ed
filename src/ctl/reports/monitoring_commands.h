// The sub-commands for monitoring systems.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

// "check" and "metrics".
std::span<const Command> MonitoringCommands();

}  // namespace Ctl
