// Bonds, bridges and VLANs: whether the links below each of them are up.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <string>

namespace Checks {

// Reads /sys/class/net below `root`.
void CheckBonds(const std::string& root, SentrelCheck::Settings& settings,
                SentrelCheck::Report& report);

}  // namespace Checks
