// The sub-commands that show reports, and the one that calls the API's other operations.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

// "list", "get", "history" and "call".
std::span<const Command> ReportCommands();

}  // namespace Ctl
