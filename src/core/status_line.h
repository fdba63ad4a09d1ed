// Keeps the status line of the daemon in "systemctl status" up to date.
#pragma once

namespace Sentrel {

// From now on sends the line to the service manager after a post or a launch, at most once in ten
// seconds. Does nothing without a service manager, and wakes no thread while the daemon is idle.
// Call it once, on the main thread, during start-up.
void KeepStatusLine();

}  // namespace Sentrel
