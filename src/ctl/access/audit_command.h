// The sub-command that shows the audit log.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

// "audit".
std::span<const Command> AuditCommands();

}  // namespace Ctl
