// The line that "systemctl status" shows of the daemon.
#pragma once

namespace Sentrel {

// Tells it to the service manager from now on: after a post or a launch, at most once in ten
// seconds. Nothing without a service manager, and no thread wakes while nothing happens. Main
// thread, once, during the start.
void KeepStatusLine();

}  // namespace Sentrel
