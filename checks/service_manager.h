// What systemd tells of its units, over D-Bus. The check does not run systemctl for it: that is
// another program of some megabytes, whose text is made for people.
#pragma once

#include "checks/dbus_message.h"

#include <string>
#include <vector>

namespace Checks {

// The names of the service units that have failed. Asks at systemd's own socket below `root`, which
// is for root alone, else by the system bus. Waits 5 s at most for each answer. Throws BusError
// that says what went wrong.
std::vector<std::string> ListFailedServices(const std::string& root);

}  // namespace Checks
