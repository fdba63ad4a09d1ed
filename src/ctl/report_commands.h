// The sub-commands that read reports through the API.
#pragma once

#include "ctl/command.h"

#include <span>

namespace Ctl {

// "list", "get" and "call".
std::span<const Command> ReportCommands();

}  // namespace Ctl
