// The sub-command "watch", which shows changes of reports as they happen.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> WatchCommands();

}  // namespace Ctl
