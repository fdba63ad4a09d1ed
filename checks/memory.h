// Memory: how long work waits for it, how much is left, and what its controllers had to correct.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <string>

namespace Checks {

// Reads /proc and /sys below `root`.
void CheckMemory(const std::string& root, SentrelCheck::Settings& settings,
                 SentrelCheck::Report& report);

}  // namespace Checks
