// Writes reports and the daemon's counters as OpenMetrics text (openmetrics.io, version 1.0.0).
// Uses only features of the older text format of Prometheus too, so that its textfile collector
// reads it: the set of states is a gauge, and counters have no type. docs/metrics.md lists the
// names, which never change.
#pragma once

#include "ctl/reports/state.h"
#include "state/state_reader.h"

#include <optional>
#include <string>
#include <vector>

namespace Ctl {

struct HostMetrics {
    std::vector<JudgedReport> reports;  // names are UTF-8, and no two are the same
    std::optional<bool> isUp;           // whether the daemon runs; unset: unknown
    std::optional<Sentrel::DaemonState> state;
};

// The text ends with "# EOF" and a line feed.
std::string MetricsText(const HostMetrics& host);

}  // namespace Ctl
