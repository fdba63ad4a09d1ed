// Pressure stall information of the kernel (/proc/pressure): the share of time for which tasks had
// to wait.
#pragma once

#include "sentrel_check/report.h"

#include <optional>
#include <string>
#include <string_view>

namespace Checks {

// In percent of the last 10, 60 and 300 seconds.
struct Pressure {
    double average10 = 0;
    double average60 = 0;
    double average300 = 0;
};

enum class Share { Some, Full };  // some task had to wait; all of them had to

// Reads one line of a file such as /proc/pressure/cpu. Returns nothing if the kernel lacks the file
// or the line; nothing, and adds a finding, if the line is malformed.
std::optional<Pressure> ReadPressure(const std::string& path, Share share,
                                     SentrelCheck::Report& report);

// Adds the three averages as NAME_avg10 and so on, and judges the average of 60 seconds.
void JudgePressure(std::string_view subject, const std::string& name, const Pressure& pressure,
                   const SentrelCheck::Limits& limits, SentrelCheck::Report& report);

}  // namespace Checks
