// Hardware sensors: temperatures, fans and alarms, judged by the limits of the chips themselves.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <string>

namespace Checks {

// Reads /sys/class/hwmon below `root` (the kernel's documentation, hwmon/sysfs-interface).
void CheckSensors(const std::string& root, SentrelCheck::Settings& settings,
                  SentrelCheck::Report& report);

}  // namespace Checks
