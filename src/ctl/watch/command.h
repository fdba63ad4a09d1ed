// The sub-command "watch".
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> WatchCommands();

}  // namespace Ctl
