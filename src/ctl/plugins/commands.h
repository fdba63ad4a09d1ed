// The sub-commands that show plugins, judge them and make new ones. "plugin run" stands in
// plugin_run.h.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

// "plugin list", "plugin plan", "plugin check" and "plugin new".
std::span<const Command> PluginCommands();

}  // namespace Ctl
