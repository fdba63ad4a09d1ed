// Watches for programs: writes changes as lines of JSON, or waits for a state.
#pragma once

#include "ctl/watch/host_watch.h"

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

struct StreamOptions {
    bool asJson = false;               // a line for each report at the start, then one per change
    std::optional<ReportState> until;  // return once all watched reports have this state
    std::optional<std::chrono::seconds> timeout;  // for `until`
    std::vector<std::string> names;               // the reports that must exist for `until`
};

// Returns when `until` is fulfilled, or when the reader of `output`, which is standard output, has
// gone. Throws Failure after the timeout.
void Stream(HostWatch& watch, const StreamOptions& options, std::ostream& output);

}  // namespace Ctl
