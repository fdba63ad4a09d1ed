// The sub-command "call": any operation of the API.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> CallCommands();

}  // namespace Ctl
