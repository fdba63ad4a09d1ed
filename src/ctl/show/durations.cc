#include "ctl/show/durations.h"

#include "ctl/show/words.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <system_error>
#include <vector>

namespace Ctl {

std::string DurationText(std::chrono::seconds duration) {
    struct Unit {
        std::int64_t size;
        const char* name;
    };
    constexpr Unit kUnits[] = {{86400, " d"}, {3600, " h"}, {60, " min"}, {1, " s"}};
    std::int64_t left = duration.count();
    std::vector<std::string> parts;
    int shown = 0;
    for (const Unit& unit : kUnits) {
        if (left >= unit.size && shown < 2) {
            parts.push_back(std::to_string(left / unit.size) + unit.name);
            left %= unit.size;
        }
        shown += parts.empty() ? 0 : 1;
    }
    return parts.empty() ? "0 s" : Joined(parts, " ");
}

std::string MeasuredText(std::chrono::microseconds duration) {
    const double seconds = std::chrono::duration<double>(duration).count();
    if (seconds >= 59.995) {
        return DurationText(std::chrono::round<std::chrono::seconds>(duration));
    }
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%.*f s", seconds < 9.9995 ? 3 : 2, seconds);
    return text.data();
}

std::optional<std::chrono::seconds> ParseLifetime(std::string_view text) {
    constexpr std::string_view kUnits = "smhd";
    constexpr std::int64_t kSeconds[] = {1, 60, 3600, 86400};
    const std::size_t unit = text.empty() ? std::string_view::npos : kUnits.find(text.back());
    if (unit == std::string_view::npos) {
        return std::nullopt;
    }
    std::int32_t count = 0;
    const char* end = text.data() + text.size() - 1;
    const auto [stop, error] = std::from_chars(text.data(), end, count);
    const std::chrono::seconds lifetime(count * kSeconds[unit]);
    if (error != std::errc() || stop != end || lifetime < std::chrono::seconds(1) ||
        lifetime > kMaxLifetime) {
        return std::nullopt;
    }
    return lifetime;
}

}  // namespace Ctl
