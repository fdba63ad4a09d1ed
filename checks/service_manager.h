// Queries systemd for its units over D-Bus. Running systemctl instead would cost several megabytes
// of memory and require parsing text that is made for people.
#pragma once

#include "checks/dbus_message.h"

#include <string>
#include <vector>

namespace Checks {

// The names of the service units that have failed. Asks through systemd's own socket below `root`,
// which only root can use, or else through the system bus. Waits at most 5 s for each answer.
// Throws BusError, whose text gives the reason.
std::vector<std::string> ListFailedServices(const std::string& root);

}  // namespace Checks
