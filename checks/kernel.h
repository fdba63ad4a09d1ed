// The kernel: what has tainted it (an oops above all), machine checks, whether its clock is
// synchronised, and whether it can run virtual machines.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <functional>
#include <optional>
#include <string>

namespace Checks {

struct ClockState {
    bool isSynchronised = false;
    double maximumErrorSeconds = 0;
};

// Returns nothing if the kernel refuses the query.
using ClockReader = std::function<std::optional<ClockState>()>;

// Reads the state with adjtimex(2) and changes nothing.
std::optional<ClockState> ReadClockState();

// Reads /proc, /sys and /dev below `root`.
void CheckKernel(const std::string& root, const ClockReader& readClock,
                 SentrelCheck::Settings& settings, SentrelCheck::Report& report);

}  // namespace Checks
