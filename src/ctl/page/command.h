// The sub-command "page": writes the host's reports into one HTML file.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> PageCommands();

}  // namespace Ctl
