// The sub-command "plugin run", which runs a plugin once as the daemon would and judges the run.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> PluginRunCommands();

}  // namespace Ctl
