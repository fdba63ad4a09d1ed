// The sub-command "plugin plan": the timetable of the plugins, as the daemon lays it out.
#pragma once

#include "ctl/command/command.h"

#include <iosfwd>

namespace Ctl {

void RunPluginPlan(const Arguments& arguments, std::ostream& output);

}  // namespace Ctl
