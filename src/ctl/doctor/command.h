// The sub-command "doctor": everything at one look, and what to do about each finding.
#pragma once

#include "ctl/command/command.h"
#include "ctl/host/host.h"
#include "ctl/show/finding.h"

#include <span>
#include <vector>

namespace Ctl {

// What "doctor" finds on `host`, which LookAtDaemon has filled.
std::vector<Finding> Inspect(const Host& host);

std::span<const Command> DoctorCommands();

}  // namespace Ctl
