// The sub-command that posts a report.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

// "post".
std::span<const Command> PostCommands();

}  // namespace Ctl
