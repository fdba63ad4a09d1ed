// The sub-commands "group ...": the resource group that the plugins run in, made, looked at,
// cleared.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> GroupCommands();

}  // namespace Ctl
