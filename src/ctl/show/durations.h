// Spans of time: how they are shown, and how a command line gives them.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace Ctl {

// "18 s", "2 min 30 s", "1 h 59 min", "3 d": its two largest units, cut off. "0 s" when negative.
std::string DurationText(std::chrono::seconds duration);

// What was measured: "0.042 s", "12.34 s", and from a minute on like DurationText.
std::string MeasuredText(std::chrono::microseconds duration);

inline constexpr std::chrono::seconds kMaxLifetime = std::chrono::hours(24 * 3650);

// "90s", "15m", "1h", "7d": a whole number and its unit, from one second to kMaxLifetime. Nothing
// for any other text.
std::optional<std::chrono::seconds> ParseLifetime(std::string_view text);

}  // namespace Ctl
