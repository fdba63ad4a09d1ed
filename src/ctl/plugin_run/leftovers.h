// What a plugin leaves running: all processes that descend from it, which this process has adopted.
#pragma once

#include "ctl/plugin_run/process.h"

#include <vector>

namespace Ctl {

// Ends all descendants of this process: SIGTERM, a second later SIGKILL. Gives those that there
// were, by their numbers; what starts new ones without end is given up after three seconds.
std::vector<LeftProcess> EndDescendants();

}  // namespace Ctl
