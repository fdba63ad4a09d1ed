// Points in time: as UTC texts, and as ages.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Ctl {

// "2024-03-05T14:07:09Z" (RFC 3339), cut off to the second.
std::string UtcText(std::chrono::system_clock::time_point time);

// "14:07:09Z": the time of the day.
std::string UtcTimeOfDay(std::chrono::system_clock::time_point time);

// `time` (RFC 3339, of any zone) as the API writes it, "2024-03-05T14:07:09.000Z"; empty when it is
// not a time.
std::string NormalTime(const std::string& time);

// From `time` (RFC 3339) to `now`, in whole seconds, negative when it is later; nothing when it is
// not a time.
std::optional<std::chrono::seconds> AgeOf(const std::string& time,
                                          std::chrono::system_clock::time_point now);

// DurationText for an age, "in the future" for a negative one, "unknown" for none.
std::string AgeText(const std::optional<std::chrono::seconds>& age);

}  // namespace Ctl
