// The sub-command "silence": marks a known fault for a time.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> SilenceCommands();

}  // namespace Ctl
