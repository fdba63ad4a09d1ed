// Processors: how long tasks wait for one, and how much processor time a hypervisor below this host
// gives to other machines.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <functional>
#include <string>

namespace Checks {

// Reads /proc below `root`. `pause` waits for the time over which steal is measured, some hundred
// milliseconds.
void CheckCpu(const std::string& root, const std::function<void()>& pause,
              SentrelCheck::Settings& settings, SentrelCheck::Report& report);

}  // namespace Checks
