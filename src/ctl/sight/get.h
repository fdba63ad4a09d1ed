// The sub-commands "get" and "history": one report in full, and the stored ones of a name.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> GetCommands();

}  // namespace Ctl
