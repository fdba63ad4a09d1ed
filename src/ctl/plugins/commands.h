// The sub-commands that show, check and create plugins. "plugin run" is in plugin_run/command.h.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

// "plugin list", "plugin plan", "plugin check" and "plugin new".
std::span<const Command> PluginCommands();

}  // namespace Ctl
