// The sub-commands for keys and tokens.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

// "token init", "token issue" and "token inspect".
std::span<const Command> TokenCommands();

}  // namespace Ctl
