// Virtual machines: how many run, how much memory they were promised, and whether they wait for
// processors or memory.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <functional>
#include <string>

namespace Checks {

// Reads /proc and /sys/fs/cgroup below `root`. `pause` waits, about a second, between two looks at
// the virtual processors.
void CheckGuests(const std::string& root, const std::function<void()>& pause,
                 SentrelCheck::Settings& settings, SentrelCheck::Report& report);

}  // namespace Checks
