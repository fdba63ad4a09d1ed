// The sub-command "doctor": everything at one look, and what to do about each finding.
#pragma once

#include "ctl/command/command.h"

#include <span>

namespace Ctl {

std::span<const Command> DoctorCommands();

}  // namespace Ctl
