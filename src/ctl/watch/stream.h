// A watch for programs: changes as lines of JSON, or the wait for a state.
#pragma once

#include "ctl/watch/host_watch.h"

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

struct StreamOptions {
    bool asJson = false;               // a line a change, and one for each report at the beginning
    std::optional<ReportState> until;  // ends when all watched reports are in it
    std::optional<std::chrono::seconds> timeout;  // for `until`
    std::vector<std::string> names;               // those that must exist for `until`
};

// Ends when `until` is fulfilled, or when nobody reads `output`, which is standard output, any
// more. Throws Failure when the time is over.
void Stream(HostWatch& watch, const StreamOptions& options, std::ostream& output);

}  // namespace Ctl
