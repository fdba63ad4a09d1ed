// "watch" on a terminal.
#pragma once

#include "ctl/watch/host_watch.h"

namespace Ctl {

// Shows the reports until the user leaves, or a signal ends the process's work. Throws Failure when
// the terminal cannot show a screen.
void ShowLive(HostWatch& watch);

}  // namespace Ctl
