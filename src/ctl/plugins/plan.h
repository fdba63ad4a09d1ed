// The sub-command "plugin plan", which shows the daemon's schedule of the plugins.
#pragma once

#include "ctl/command/command.h"

#include <iosfwd>

namespace Ctl {

void RunPluginPlan(const Arguments& arguments, std::ostream& output);

}  // namespace Ctl
