// Processors: how long work waits for one, and how much of them a hypervisor below takes away.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <functional>
#include <string>

namespace Checks {

// Reads /proc below `root`. `pause` lets the time pass over which the steal share is taken, some
// hundred milliseconds.
void CheckCpu(const std::string& root, const std::function<void()>& pause,
              SentrelCheck::Settings& settings, SentrelCheck::Report& report);

}  // namespace Checks
