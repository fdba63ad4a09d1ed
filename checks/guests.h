// Virtual machines: how many run, how much memory is promised to them, and how long they wait for
// processors and memory.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <functional>
#include <string>

namespace Checks {

// Reads /proc and /sys/fs/cgroup below `root`. `pause` waits about a second between the two
// readings of the virtual processors' times.
void CheckGuests(const std::string& root, const std::function<void()>& pause,
                 SentrelCheck::Settings& settings, SentrelCheck::Report& report);

}  // namespace Checks
