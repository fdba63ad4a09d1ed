// Spans of time on the command line.
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace Ctl {

inline constexpr std::chrono::seconds kMaxLifetime = std::chrono::hours(24 * 3650);

// "90s", "15m", "1h", "7d": a whole number and its unit, from one second to kMaxLifetime. Nothing
// for any other text.
std::optional<std::chrono::seconds> ParseLifetime(std::string_view text);

}  // namespace Ctl
