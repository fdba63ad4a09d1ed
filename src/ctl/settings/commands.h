// The sub-commands "config ...", which show, change and check the settings of this host.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> ConfigCommands();

}  // namespace Ctl
