// Reports as OpenMetrics text (openmetrics.io, version 1.0.0), kept to what the older text format
// of Prometheus has too, so that its textfile collector reads it: the set of states is a gauge.
#pragma once

#include "ctl/reports/state.h"

#include <string>
#include <vector>

namespace Ctl {

// Ends with "# EOF" and a line feed. Names are UTF-8, and no two
// reports have the same.
std::string MetricsText(const std::vector<JudgedReport>& reports);

}  // namespace Ctl
