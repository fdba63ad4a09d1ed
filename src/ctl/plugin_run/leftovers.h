// Kills the processes that a plugin leaves running: its descendants, which this process has
// adopted.
#pragma once

#include "ctl/plugin_run/process.h"

#include <vector>

namespace Ctl {

// Sends SIGTERM to all descendants of this process, and SIGKILL a second later. Returns those
// found, by pid. Gives up after three seconds if they keep forking.
std::vector<LeftProcess> EndDescendants();

}  // namespace Ctl
