// Runs a check that follows the monitoring-plugins convention as a plugin.
#pragma once

#include "checks/wrap/configuration.h"
#include "sentrel_check/report.h"

namespace Wrap {

// Runs the command once and fills in the report: the status by the exit status, the first line as
// the reason, the performance data as metrics, the long text as the member "output". A check that
// hangs, crashes, floods its output or exits with an unmapped status makes the report UNKNOWN.
void RunCheck(const Configuration& configuration, SentrelCheck::Report& report);

}  // namespace Wrap
