// The sub-command "forget": removes the stored reports of a name.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> ForgetCommands();

}  // namespace Ctl
