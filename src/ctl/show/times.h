// Points in time, as UTC texts and as ages.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Ctl {

// "2024-03-05T14:07:09Z" (RFC 3339), rounded down to the second.
std::string UtcText(std::chrono::system_clock::time_point time);

// The time of day: "14:07:09Z".
std::string UtcTimeOfDay(std::chrono::system_clock::time_point time);

// `time` (RFC 3339, in any zone) in the API's form, "2024-03-05T14:07:09.000Z"; empty if it is not
// a time.
std::string NormalTime(const std::string& time);

// Whole seconds from `time` (RFC 3339) to `now`, negative if it is later; nothing if it is not a
// time.
std::optional<std::chrono::seconds> AgeOf(const std::string& time,
                                          std::chrono::system_clock::time_point now);

// An age as DurationText; "in the future" if negative, "unknown" if unset.
std::string AgeText(const std::optional<std::chrono::seconds>& age);

// The same in a sentence: "3 min ago", "in the future".
std::string AgoText(const std::optional<std::chrono::seconds>& age);

}  // namespace Ctl
