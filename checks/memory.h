// Memory: how long tasks wait for it, how much is available, and how many errors its controllers
// counted.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <string>

namespace Checks {

// Reads /proc and /sys below `root`.
void CheckMemory(const std::string& root, SentrelCheck::Settings& settings,
                 SentrelCheck::Report& report);

}  // namespace Checks
