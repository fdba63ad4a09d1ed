// The sub-commands "get" and "history", which show a report in full and the stored reports of a
// name.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> GetCommands();

}  // namespace Ctl
