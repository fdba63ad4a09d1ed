// The sub-command "plugin run": one run of a plugin as the daemon would do it, and what came of it.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> PluginRunCommands();

}  // namespace Ctl
