// The sub-commands "group ...", which create, show and clear the plugins' resource group.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> GroupCommands();

}  // namespace Ctl
