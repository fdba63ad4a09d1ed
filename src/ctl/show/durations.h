// Durations: their text, and their form on a command line.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace Ctl {

// The two largest units, rounded down: "18 s", "2 min 30 s", "1 h 59 min", "3 d". "0 s" if
// negative.
std::string DurationText(std::chrono::seconds duration);

// The text of a measured time: "0.042 s", "12.34 s", and like DurationText from a minute on.
std::string MeasuredText(std::chrono::microseconds duration);

inline constexpr std::chrono::seconds kMaxLifetime = std::chrono::hours(24 * 3650);

// Parses a whole number and its unit, "90s", "15m", "1h" or "7d", from one second to kMaxLifetime.
// Nothing for any other text.
std::optional<std::chrono::seconds> ParseLifetime(std::string_view text);

}  // namespace Ctl
