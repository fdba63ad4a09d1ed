// The sub-command "serve".
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> ServeCommands();

}  // namespace Ctl
