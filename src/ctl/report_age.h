// How old a report is, for people.
#pragma once

#include <chrono>
#include <string>

namespace Ctl {

// "12 s", "3 min", "5 h", "2 d" from `time`, as the API writes it (UTC, RFC 3339), to `now`; "in
// the future" when it is later than that by more than a second, "unknown" when it is no time.
std::string AgeOf(const std::string& time, std::chrono::system_clock::time_point now);

}  // namespace Ctl
