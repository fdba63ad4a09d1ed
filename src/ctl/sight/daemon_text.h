// Texts for people: the state of the daemon in one line, and the name of the host.
#pragma once

#include "ctl/host/host.h"

#include <string>

namespace Ctl {

// "running for 3 h 12 min as sentrel (process 4127); intake 9996, API 9984", or why no daemon can
// be seen. InspectDaemon has filled `host`.
std::string DaemonText(const Host& host);

// "node7"; "this host" when it has no name.
std::string HostName();

}  // namespace Ctl
