// The live screen of "watch", on a terminal.
#pragma once

#include "ctl/watch/host_watch.h"

namespace Ctl {

// Shows the reports until the user quits or a signal ends the process. Throws Failure if the
// terminal cannot show a screen.
void ShowLive(HostWatch& watch);

}  // namespace Ctl
