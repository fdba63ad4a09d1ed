// How old a report is.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Ctl {

// From `time` (RFC 3339) to `now`, in whole seconds, negative when it is later; nothing when it is
// no time.
std::optional<std::chrono::seconds> AgeOf(const std::string& time,
                                          std::chrono::system_clock::time_point now);

// "12 s", "3 min", "5 h", "2 d"; "in the future" and "unknown" for the others.
std::string AgeText(const std::optional<std::chrono::seconds>& age);

}  // namespace Ctl
