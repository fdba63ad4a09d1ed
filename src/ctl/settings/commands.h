// The sub-commands "config ...": the settings of this host, shown, changed and checked.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> ConfigCommands();

}  // namespace Ctl
