// The sub-command "doctor", which inspects the host and says how to fix each problem.
#pragma once

#include "ctl/command/command.h"
#include "ctl/host/host.h"
#include "ctl/show/finding.h"

#include <span>
#include <vector>

namespace Ctl {

// The findings about `host`, which InspectDaemon has filled.
std::vector<Finding> Inspect(const Host& host);

std::span<const Command> DoctorCommands();

}  // namespace Ctl
