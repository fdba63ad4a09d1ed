// Service units that the service manager lists as failed.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <string>

namespace Checks {

// Queries systemd through its sockets below `root`.
void CheckUnits(const std::string& root, SentrelCheck::Settings& settings,
                SentrelCheck::Report& report);

}  // namespace Checks
