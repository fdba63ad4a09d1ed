// Certificates: the days until those in the named files expire.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <string>

namespace Checks {

// The settings name the files, below `root`; `now` is in seconds since 1970.
void CheckCertificates(const std::string& root, long long now, SentrelCheck::Settings& settings,
                       SentrelCheck::Report& report);

}  // namespace Checks
